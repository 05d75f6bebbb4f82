#include "tools/archive/ArgumentFile.h"

#include "kernel/Exceptions.h"

namespace Vorn {

bool ArgumentFile::Open(const char* name) try {
    if (file_.Open(name, kReadDetect) != RES_OK) return false;
    size_ = file_.Size();
    file_.DetectTextEncoding();
    return true;
} catch (const FileEx&) {
    return false;
}

const char* ArgumentFile::NextLine() {
    const std::uint32_t unit = file_.TextMode() == kTextUtf16 ? 2 : 1;
    const std::uint32_t start = file_.Tell();
    const std::uint32_t stored = file_.ReadLine(line_.data(), kLineSize);
    cut_ = file_.Tell() - start >= (stored + 1) * unit;
    return stored == 0 ? nullptr : line_.data();
}

}  // namespace Vorn
