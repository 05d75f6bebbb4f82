// Open modes and result codes of the File object.
#pragma once

#include <cstdint>

#include "kernel/ResultText.h"

namespace Vorn {

// A bit field of three nibbles that combine: write kind, read kind, creation. Open refuses a fourth
// nibble of exactly 1; all other high bits are ignored. The numbers are fixed.
using FileMode = std::uint32_t;

inline constexpr FileMode kWriteKindMask = 0x00F;
inline constexpr FileMode kWritePlain = 0x001;
inline constexpr FileMode kWriteCompressed = 0x002;  // compressed when the file is closed

inline constexpr FileMode kReadKindMask = 0x0F0;
// A file that begins with a stream's header reads as the stream's content, any other file as its
// bytes. A file that is created or truncated always reads as its bytes.
inline constexpr FileMode kReadDetect = 0x010;
inline constexpr FileMode kReadPlain = 0x020;  // the bytes as they are stored
// As kReadDetect, but opening gives RES_NOTCOMPRESSED for a file that is at least as long as a
// stream's header and does not begin with one. A shorter file reads as its bytes.
inline constexpr FileMode kReadCompressed = 0x030;

inline constexpr FileMode kCreationMask = 0xF00;
inline constexpr FileMode kOpenExisting = 0x000;
inline constexpr FileMode kCreateOrTruncate = 0x100;
inline constexpr FileMode kAppend = 0x200;     // open or create, positioned at the end
inline constexpr FileMode kCreateNew = 0x300;  // fails when the file exists

inline constexpr FileMode kUnsupportedMask = 0xF000;
inline constexpr FileMode kUnsupported = 0x1000;

// Sizes and positions of a File have 32 bits.
inline constexpr std::uint64_t kMaxFileSize = 0xFFFFFFFF;

// The numbers are fixed: they appear in messages and in callers' tables.
enum FileResult : int {
    RES_OK = 0,
    RES_UNKNOWN = 1,
    RES_FILENOTFOUND = 2,
    RES_ALREADYOPEN = 3,
    RES_MODENOTSUPPORTED = 4,
    RES_CANTWRITECOMPRESSED = 5,
    RES_NOTCOMPRESSED = 6,
    RES_SUBSTNOTFOUND = 7,
    RES_FILEALREADYEXISTS = 8,
    RES_READONLY = 9,
};

// Returns the name and text of a code; those of RES_UNKNOWN for a code outside the table.
[[nodiscard]] const ResultText& DescribeFileResult(FileResult result);

}  // namespace Vorn
