// The operations of File on text: lines and whole texts, in 8-bit and UTF-16 form.
#include <algorithm>
#include <array>
#include <cstring>
#include <span>
#include <string>
#include <string_view>

#include "KernelStandard/File.h"
#include "platform/CodePage.h"

namespace Vorn {

namespace {

// Both read from `position`, which they move after the line feed or to the end, and store as much
// of the line as fits. Return the bytes stored.
std::uint32_t ReadAnsiLine(BlockReader& reader, std::uint32_t& position, std::span<char> into) {
    std::size_t stored = 0;
    for (bool ended = false; !ended;) {
        const auto content = reader.Peek(position);
        if (content.empty()) break;
        const auto feed = std::ranges::find(content, std::byte{'\n'});
        ended = feed != content.end();
        const auto length = static_cast<std::size_t>(feed - content.begin()) + (ended ? 1 : 0);
        // The rest of a long line is skipped, so that the next call starts at a line's beginning.
        const std::size_t kept = std::min(length, into.size() - stored);
        std::memcpy(into.data() + stored, content.data(), kept);
        stored += kept;
        position += static_cast<std::uint32_t>(length);
    }
    return static_cast<std::uint32_t>(stored);
}

std::uint32_t ReadUtf16Line(BlockReader& reader, std::uint32_t& position, std::span<char> into) {
    const auto nextByte = [&](unsigned char& byte) {
        const auto content = reader.Peek(position);
        if (content.empty()) return false;
        byte = std::to_integer<unsigned char>(content.front());
        ++position;
        return true;
    };
    std::uint32_t stored = 0;
    for (char16_t unit = 0; unit != u'\n';) {
        unsigned char low = 0;
        unsigned char high = 0;
        if (!nextByte(low) || !nextByte(high)) break;
        unit = static_cast<char16_t>(low | high << 8);
        if (stored == into.size()) continue;
        unsigned char ansi = '?';  // stays for a unit that the code page does not have
        (void)platform::Utf16ToAnsi(unit, ansi);
        into[stored++] = static_cast<char>(ansi);
    }
    return stored;
}

}  // namespace

std::uint32_t File::ReadLine(char* buffer, std::uint32_t size, int textMode) {
    RequireReading();
    if (size <= 1) return 0;
    Flush();
    // One byte holds the NUL and one stays unused: the limit is fixed.
    const std::span into(buffer, size - 2);
    const int mode = textMode == 0 ? textMode_ : textMode;
    const auto readLine = mode == kTextUtf16 ? ReadUtf16Line : ReadAnsiLine;
    const std::uint32_t stored = readLine(reader_, position_, into);
    buffer[stored] = '\0';
    return stored;
}

void File::DetectTextEncoding() {
    const std::uint32_t start = position_;
    std::array<unsigned char, 2> mark{};
    // Only the little-endian mark counts: WriteText writes no other 16-bit form.
    const bool found = Read(mark.data(), 2) == 2 && mark[0] == 0xFF && mark[1] == 0xFE;
    textMode_ = found ? kTextUtf16 : kTextAnsi;
    if (!found) Seek(start, SeekFrom::Start);
}

std::uint32_t File::WriteText(const char* text) {
    const std::string_view ansi(text);
    if (textMode_ != kTextUtf16) {
        return Write(ansi.data(), static_cast<std::uint32_t>(ansi.size()));
    }
    // Encoded whole, so that one write shows whether all of it was accepted.
    std::string units;
    units.reserve(2 * ansi.size());
    for (const char c : ansi) {
        const char16_t unit = platform::AnsiToUtf16(static_cast<unsigned char>(c));
        units += static_cast<char>(unit & 0xFF);
        units += static_cast<char>(unit >> 8);
    }
    return Write(units.data(), static_cast<std::uint32_t>(units.size()));
}

}  // namespace Vorn
