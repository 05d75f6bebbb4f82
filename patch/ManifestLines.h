// The lines of a manifest, from which its reader takes the fields one by one.
#pragma once

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include "patch/Manifest.h"

namespace patch {

// Borrows the text. What does not have its form throws ManifestError with the number of the line.
class ManifestLines {
public:
    explicit ManifestLines(std::string_view text) : text_(text) { Advance(); }

    // Takes that word and the blank after it, if the line begins with them.
    bool Take(std::string_view word) {
        if (!line_.starts_with(word) || line_.substr(word.size()).substr(0, 1) != " ") return false;
        line_.remove_prefix(word.size() + 1);
        return true;
    }
    void Expect(std::string_view word) {
        if (!Take(word)) Fail("'" + std::string(word) + "' is missing");
    }
    // Takes up to the next blank, and the blank.
    [[nodiscard]] std::string_view Word() {
        const std::string_view word = line_.substr(0, line_.find(' '));
        if (word.size() + 1 == line_.size()) Fail("the line ends with a blank");
        line_.remove_prefix(std::min(line_.size(), word.size() + 1));
        return word;
    }
    [[nodiscard]] std::string_view Rest() { return std::exchange(line_, {}); }

    template <typename Number = std::uint64_t>
    [[nodiscard]] Number TakeNumber() {
        return NumberOf<Number>(Word());
    }
    // Numbers have one spelling, so that a manifest has one: no leading zeros, no signs.
    template <typename Number>
    [[nodiscard]] Number NumberOf(std::string_view word) const {
        Number number = 0;
        const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number);
        if (error != std::errc() || end != word.data() + word.size() ||
            (word.size() > 1 && word.front() == '0')) {
            Fail("a number is missing, or too large");
        }
        return number;
    }
    [[nodiscard]] Sha256Digest TakeDigest() {
        const auto digest = Sha256FromHex(Word());
        if (!digest) Fail("a digest of 64 hexadecimal digits is missing");
        return *digest;
    }

    // Moves to the next line. All of this one must have been taken: what a reader skips, a later
    // version could not give a meaning to.
    void Advance() {
        if (!line_.empty()) Fail("there is more on the line than belongs there");
        ended_ = text_.empty();
        line_ = text_.substr(0, text_.find('\n'));
        text_.remove_prefix(std::min(text_.size(), line_.size() + 1));
        ++number_;
    }
    [[nodiscard]] std::string_view Line() const { return line_; }
    [[nodiscard]] bool AtEnd() const { return ended_; }

    [[noreturn]] void Fail(const std::string& reason) const {
        throw ManifestError(number_, reason);
    }

private:
    std::string_view text_;
    std::string_view line_;
    std::size_t number_ = 0;
    bool ended_ = false;
};

}  // namespace patch
