#include "platform/shared/HiddenName.h"

#include <random>

#include "platform/FolderHandle.h"

namespace platform {
namespace {

constexpr std::string_view kLetters = "abcdefghijklmnopqrstuvwxyz0123456789";
constexpr std::size_t kRandomLetters = 6;

}  // namespace

FilePlace PlaceOf(std::string_view path) {
    const std::size_t name = path.find_last_of("/\\") + 1;
    return {std::string(path.substr(0, name)), std::string(path.substr(name))};
}

std::string HiddenStem(std::string_view name) {
    // A name may be as long as the system allows; the hidden one must not be longer.
    constexpr std::size_t kMostOfName = 200;
    return "." + std::string(name.substr(0, kMostOfName)) + ".va-";
}

std::string HiddenName(std::string_view name) {
    std::string hidden = HiddenStem(name);
    std::random_device random;
    for (std::size_t i = 0; i < kRandomLetters; ++i) hidden += kLetters[random() % kLetters.size()];
    return hidden;
}

std::string_view shared::StemOfHidden(std::string_view name) {
    if (name.size() <= kRandomLetters || !name.starts_with('.')) return {};
    const std::string_view stem = name.substr(0, name.size() - kRandomLetters);
    const bool isHidden =
        stem.ends_with(".va-") && name.find_first_not_of(kLetters, stem.size()) == name.npos;
    return isHidden ? stem : std::string_view();
}

}  // namespace platform
