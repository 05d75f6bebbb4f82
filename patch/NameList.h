// Names of members in the text of an error, cut where they are many.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace patch {

// Names for one message: all are counted, ten are shown.
class NameList {
public:
    void Add(std::string_view name) {
        constexpr std::size_t kShown = 10;
        if (++count_ > kShown) return;
        names_ += count_ == 1 ? " " : ", ";
        names_ += name;
        shown_ = count_;
    }
    [[nodiscard]] bool IsEmpty() const { return count_ == 0; }
    // Returns " a, b and 3 more".
    [[nodiscard]] std::string Text() const {
        return names_ +
               (count_ > shown_ ? " and " + std::to_string(count_ - shown_) + " more" : "");
    }

private:
    std::size_t count_ = 0;
    std::size_t shown_ = 0;
    std::string names_;
};

}  // namespace patch
