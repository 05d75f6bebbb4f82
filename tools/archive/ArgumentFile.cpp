#include "tools/archive/ArgumentFile.h"

#include <string_view>

#include "kernel/Exceptions.h"
#include "platform/CodePage.h"

namespace Vorn {

bool ArgumentFile::Open(const char* name) try {
    if (file_.Open(InternedString(), name, kReadDetect) != RES_OK) return false;
    (void)file_.Size();  // throws for a file of 4 GiB or more
    DetectEncoding();
    return true;
} catch (const FileEx&) {
    return false;
}

void ArgumentFile::DetectEncoding() {
    file_.DetectTextEncoding();
    if (file_.TextMode() == kTextUtf16) return;
    const std::uint32_t got = file_.Read(line_.data(), 3);
    const std::string_view start(line_.data(), got);
    swapped_ = start.starts_with("\xFE\xFF");
    const bool marked = start == "\xEF\xBB\xBF";
    file_.Seek(swapped_ ? 2 : marked ? 3 : 0, SeekFrom::Start);
}

const char* ArgumentFile::NextLine() {
    const std::uint32_t unit = swapped_ || file_.TextMode() == kTextUtf16 ? 2 : 1;
    const std::uint32_t start = file_.Tell();
    const std::uint32_t stored =
        swapped_ ? ReadSwappedLine() : file_.ReadLine(line_.data(), kLineSize);
    // The line in memory shows what was kept, and the position what was read.
    cut_ = file_.Tell() - start >= (stored + 1) * unit;
    return stored == 0 ? nullptr : line_.data();
}

// Does the same as File::ReadLine, which reads UTF-16 with the low byte first, for the other order.
std::uint32_t ArgumentFile::ReadSwappedLine() {
    std::uint32_t stored = 0;
    std::array<unsigned char, 2> bytes{};
    for (char16_t unit = 0; unit != u'\n' && file_.Read(bytes.data(), 2) == 2;) {
        unit = static_cast<char16_t>(bytes[0] << 8 | bytes[1]);
        if (stored == kLineSize - 2) continue;
        unsigned char ansi = '?';
        (void)platform::Utf16ToAnsi(unit, ansi);
        line_[stored++] = static_cast<char>(ansi);
    }
    line_[stored] = '\0';
    return stored;
}

}  // namespace Vorn
