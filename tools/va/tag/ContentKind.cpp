#include "tools/va/tag/ContentKind.h"

#include <algorithm>
#include <string_view>

namespace va::tool {
namespace {

using namespace std::string_view_literals;

struct Mark {
    std::string_view bytes;  // at the start of the file
    std::string_view kind;
    std::size_t secondAt = 0;
    std::string_view second{};  // at `secondAt`; needed where a text could begin with `bytes`
};

constexpr Mark kMarks[] = {
    {"ARCHINFO"sv, "an archive"},
    {"CFIL"sv, "a compressed file", 5, "\x01\0\0"sv},
    {"\x89PNG\r\n\x1A\n"sv, "a picture (PNG)"},
    {"\xFF\xD8\xFF"sv, "a picture (JPEG)"},
    {"GIF87a"sv, "a picture (GIF)"},
    {"GIF89a"sv, "a picture (GIF)"},
    {"BM"sv, "a picture (BMP)", 6, "\0\0\0\0"sv},
    {"DDS "sv, "a picture (DDS)", 4, "\x7C\0\0\0"sv},
    {"II*\0"sv, "a picture (TIFF)"},
    {"MM\0*"sv, "a picture (TIFF)"},
    {"RIFF"sv, "a picture (WebP)", 8, "WEBP"sv},
    {"RIFF"sv, "a sound (WAV)", 8, "WAVE"sv},
    {"OggS\0"sv, "a sound (Ogg)"},
    {"ID3"sv, "a sound (MP3)", 4, "\0"sv},
    {"PK\x03\x04"sv, "a ZIP archive"},
    {"7z\xBC\xAF\x27\x1C"sv, "a 7-Zip archive"},
    {"Rar!\x1A\x07"sv, "a RAR archive"},
    {"\x1F\x8B"sv, "a compressed file (gzip)"},
    {"\xFD"
     "7zXZ\0"sv,
     "a compressed file (xz)"},
    {"\x28\xB5\x2F\xFD"sv, "a compressed file (zstd)"},
    {"%PDF-"sv, "a document (PDF)"},
    {"\x7F"
     "ELF"sv,
     "a program"},
    {"MZ\x90\0"sv, "a program"},
    {"\xFF\xFE"sv, "a text in UTF-16, which has to be saved as UTF-8"},
    {"\xFE\xFF"sv, "a text in UTF-16, which has to be saved as UTF-8"},
};

}  // namespace

std::string KindOfContent(std::span<const std::byte> content, bool namedText) {
    const std::string_view bytes(reinterpret_cast<const char*>(content.data()), content.size());
    for (const Mark& mark : kMarks) {
        if (!bytes.starts_with(mark.bytes)) continue;
        if (bytes.substr(std::min(mark.secondAt, bytes.size())).starts_with(mark.second)) {
            return std::string(mark.kind);
        }
    }
    // A TGA picture has no mark at its start, and since version 2 one at its end.
    if (bytes.ends_with("TRUEVISION-XFILE.\0"sv)) return "a picture (TGA)";
    constexpr std::size_t kLooked = 512;
    const bool hasZero = bytes.substr(0, kLooked).find('\0') != bytes.npos;
    return hasZero && !namedText ? "neither a text nor in the binary form" : "";
}

}  // namespace va::tool
