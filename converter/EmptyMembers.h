// Counts the members without content that an operation met: no archive that it writes holds them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace converter {

class EmptyMembers {
public:
    void Note(std::string_view member) {
        if (count_++ == 0) first_ = member;
    }

    [[nodiscard]] bool Any() const { return count_ > 0; }
    [[nodiscard]] bool One() const { return count_ == 1; }

    // Returns "N members without content (the first is "NAME")".
    [[nodiscard]] std::string Text() const {
        return std::to_string(count_) + (One() ? " member" : " members") + " without content (" +
               (One() ? "" : "the first is ") + "\"" + first_ + "\")";
    }

private:
    std::uint32_t count_ = 0;
    std::string first_;
};

}  // namespace converter
