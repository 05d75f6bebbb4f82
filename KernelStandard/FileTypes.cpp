#include "KernelStandard/FileTypes.h"

#include <array>

namespace Vorn {

namespace {

// Indexed by the code. The texts are fixed.
constexpr std::array<ResultText, 10> kResultTexts{{
    {"RES_OK", ""},
    {"RES_UNKNOWN", "Unknown file error"},
    {"RES_FILENOTFOUND", "File not found"},
    {"RES_ALREADYOPEN", "File is already open"},
    {"RES_MODENOTSUPPORTED", "Open mode not supported"},
    {"RES_CANTWRITECOMPRESSED", "Can't write to a compressed file"},
    {"RES_NOTCOMPRESSED", "Can't open non-compressed as read compressed file"},
    {"RES_SUBSTNOTFOUND", "Subst not found"},
    {"RES_FILEALREADYEXISTS", "File already exists"},
    {"RES_READONLY", "File is read-only"},
}};
static_assert(kResultTexts.size() == RES_READONLY + 1);

}  // namespace

const ResultText& DescribeFileResult(FileResult result) {
    return DescribeResult(kResultTexts, result, RES_UNKNOWN);
}

}  // namespace Vorn
