// MatchWildcards walks forward over name and pattern once and remembers the last star of the
// current component. A star never matches past its component, so earlier stars need no second try,
// and the cost is at most the product of both lengths.
#include <algorithm>

#include "kernel/LetterCase.h"
#include "kernel/Paths.h"

namespace Vorn {
namespace {

constexpr std::size_t kNone = std::string_view::npos;

std::string_view WithoutCurrentDirectory(std::string_view text) {
    if (text.size() >= 2 && text[0] == '.' && IsSeparator(text[1])) text.remove_prefix(2);
    return text;
}

class Matcher {
public:
    Matcher(std::string_view name, std::string_view patterns, std::size_t& dirEnd)
        : whole_(name),
          name_(WithoutCurrentDirectory(name)),
          patterns_(WithoutCurrentDirectory(patterns)),
          dirEnd_(dirEnd) {}

    bool Match() { return MatchDirectories() && MatchFile(); }

private:
    [[nodiscard]] bool AtNameEnd() const { return at_ == name_.size(); }
    [[nodiscard]] bool AtAlternativeEnd() const {
        return pattern_ >= patterns_.size() || Wanted() == ';';
    }
    [[nodiscard]] char Wanted() const { return patterns_[pattern_]; }

    // Matches everything up to the last separator of the list.
    bool MatchDirectories() {
        const std::size_t end = patterns_.find_last_of("\\/") + 1;
        while (pattern_ < end) {
            if (!AtNameEnd() && Step()) continue;
            if (!Backtrack()) return false;
        }
        if (end > 0 && pattern_ == patterns_.size()) NoteDirectory(at_ - 1);
        fileStart_ = at_;
        return true;
    }

    bool MatchFile() {
        for (;;) {
            if (AtNameEnd()) {
                if (AcceptsNameEnd()) return true;
            } else if (AtAlternativeEnd()) {
                if (IsSeparator(name_[at_])) NoteDirectory(at_);
            } else if (Step()) {
                continue;
            }
            if (!Backtrack() && !NextAlternative()) return false;
        }
    }

    // Takes one step forward; false on a mismatch.
    bool Step() {
        const char c = name_[at_];
        if (Wanted() == '*') return AtNoExtension() ? StepNoExtension(c) : StepStar(c);
        if (Wanted() == '?') {
            if (!IsSeparator(c)) ++at_;
        } else if (Equals(c, Wanted())) {
            if (IsSeparator(c)) star_ = kNone;
            ++at_;
        } else {
            return false;
        }
        ++pattern_;
        return true;
    }

    // True if the rest of the alternative is "*.".
    [[nodiscard]] bool AtNoExtension() const {
        const std::string_view rest = patterns_.substr(pattern_);
        return rest == "*." || rest.starts_with("*.;");
    }

    // The star of "*." matches no '.', and its '.' matches only the last byte of a name.
    bool StepNoExtension(char c) {
        if (c == '.' && at_ + 1 < name_.size()) return false;
        if (c == '.') pattern_ += 2;
        if (IsSeparator(c)) return StepStar(c);
        ++at_;
        return true;
    }

    // Continues after the star if the next pattern byte may match here; else the star takes `c`.
    bool StepStar(char c) {
        const char next = pattern_ + 1 < patterns_.size() ? patterns_[pattern_ + 1] : '\0';
        const bool last = pattern_ + 1 == patterns_.size();
        if (next == '*') {
            ++pattern_;
        } else if (IsSeparator(c)) {
            star_ = kNone;
            ++pattern_;
        } else if (!last && (next == '?' || Equals(c, next))) {
            star_ = pattern_++;
            starAt_ = at_;
        } else {
            ++at_;
        }
        return true;
    }

    bool Backtrack() {
        // A star that matched up to the end of the name leaves nothing for earlier positions.
        const bool vain = AtNameEnd() && pattern_ < patterns_.size() && Wanted() == '*';
        if (vain || star_ == kNone) return false;
        pattern_ = star_;
        at_ = starAt_ + 1;
        star_ = kNone;
        return true;
    }

    bool NextAlternative() {
        const std::size_t end = patterns_.find(';', pattern_);
        if (end == kNone) return false;
        pattern_ = end + 1;
        at_ = fileStart_;
        star_ = kNone;
        return true;
    }

    [[nodiscard]] bool AcceptsNameEnd() const {
        std::size_t end = pattern_;
        while (end < patterns_.size() && patterns_[end] == '*') ++end;
        if (end > pattern_ && end < patterns_.size() && patterns_[end] == '.') ++end;
        return end == patterns_.size() || patterns_[end] == ';';
    }

    static bool Equals(char c, char wanted) {
        return IsSeparator(wanted) ? IsSeparator(c) : AnsiToLower(c) == AnsiToLower(wanted);
    }

    void NoteDirectory(std::size_t at) {
        if (dirEnd_ == kNone) dirEnd_ = at + (whole_.size() - name_.size());
    }

    std::string_view whole_;
    std::string_view name_;
    std::string_view patterns_;
    std::size_t& dirEnd_;
    std::size_t at_ = 0;         // in the name
    std::size_t pattern_ = 0;    // in the patterns
    std::size_t fileStart_ = 0;  // where the name's file part begins
    std::size_t star_ = kNone;   // the star to return to
    std::size_t starAt_ = 0;     // and the name position at which it was left
};

}  // namespace

bool MatchWildcards(std::string_view name, std::string_view patterns, std::size_t* dirEnd) {
    std::size_t ignored = kNone;
    std::size_t& end = dirEnd ? *dirEnd : ignored;
    end = kNone;
    return Matcher(name, patterns, end).Match();
}

}  // namespace Vorn
