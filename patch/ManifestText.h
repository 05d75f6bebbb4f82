// The fixed words of a manifest, for its writer and its reader.
#pragma once

#include <array>
#include <string_view>

namespace patch {

inline constexpr std::string_view kManifestMark = "va-manifest ";
inline constexpr char kManifestVersion = '1';
inline constexpr std::string_view kManifestEnd = "end ";

// In the order of the enumerators of Order::Base and Storage::Base.
inline constexpr std::array<std::string_view, 3> kOrderNames = {"canonical", "old", "updated"};
inline constexpr std::array<std::string_view, 5> kStorageNames = {"canonical", "old", "plain",
                                                                  "compressed", "large"};

inline constexpr std::string_view kBase64Digits =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

}  // namespace patch
