#include "archive/Pattern.h"

#include <algorithm>

#include "archive/Names.h"

namespace archive {
namespace {

constexpr std::size_t kNone = std::string_view::npos;

bool IsSeparator(char c) { return c == '/' || c == '\\'; }

// Takes the first component of `path`.
std::string_view TakeComponent(std::string_view& path) {
    std::size_t end = 0;
    while (end < path.size() && !IsSeparator(path[end])) ++end;
    const std::string_view component = path.substr(0, end);
    path.remove_prefix(std::min(end + 1, path.size()));
    return component;
}

// One component against one with '*' and '?': only the last star is ever tried again, since an
// earlier one could not take more.
bool ComponentMatches(std::string_view text, std::string_view pattern) {
    std::size_t at = 0;
    std::size_t wanted = 0;
    std::size_t star = kNone;
    std::size_t starAt = 0;
    while (at < text.size()) {
        if (wanted < pattern.size() && pattern[wanted] == '*') {
            star = wanted++;
            starAt = at;
        } else if (wanted < pattern.size() &&
                   (pattern[wanted] == '?' || FoldByte(pattern[wanted]) == FoldByte(text[at]))) {
            ++at;
            ++wanted;
        } else if (star != kNone) {
            wanted = star + 1;
            at = ++starAt;
        } else {
            return false;
        }
    }
    while (wanted < pattern.size() && pattern[wanted] == '*') ++wanted;
    return wanted == pattern.size();
}

}  // namespace

// Like ComponentMatches with components for bytes and "**" for the star: the cost is at most the
// product of the lengths.
bool MatchesPattern(std::string_view name, std::string_view pattern) {
    while (!pattern.empty() && IsSeparator(pattern.back())) pattern.remove_suffix(1);
    const std::size_t last = pattern.find_last_of("/\\");
    const bool coversFolder =
        pattern.substr(last == kNone ? 0 : last + 1).find_first_of("*?") == kNone;
    std::string_view retryName;
    std::string_view retryPattern;
    bool canRetry = false;
    for (;;) {
        if (pattern.empty() && (name.empty() || coversFolder)) return true;
        std::string_view rest = pattern;
        if (!pattern.empty() && TakeComponent(rest) == "**") {
            pattern = rest;
            if (pattern.empty()) return true;
            retryName = name;
            retryPattern = pattern;
            canRetry = true;
            continue;
        }
        if (!pattern.empty() && !name.empty()) {
            std::string_view nameRest = name;
            std::string_view patternRest = pattern;
            if (ComponentMatches(TakeComponent(nameRest), TakeComponent(patternRest))) {
                name = nameRest;
                pattern = patternRest;
                continue;
            }
        }
        if (!canRetry || retryName.empty()) return false;
        (void)TakeComponent(retryName);
        name = retryName;
        pattern = retryPattern;
    }
}

}  // namespace archive
