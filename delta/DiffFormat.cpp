#include "delta/DiffFormat.h"

#include <lzma.h>

#include "delta/Crc32.h"
#include "delta/Delta.h"

namespace delta {
namespace {

constexpr std::uint8_t kMagic = 'V';
constexpr std::uint8_t kMagicBits = 0xd0;  // upper half of the second byte; the method is the lower
constexpr int kCheckSize = 8;

// Returns a CRC-64 over the result and the diff. The diff is included so that a changed bit in it
// is found even if the result happens to stay the same.
std::uint64_t DiffCheck(ByteView newFile, ByteView beforeCheck, ByteView payload) {
    std::uint64_t check = lzma_crc64(newFile.data(), newFile.size(), 0);
    check = lzma_crc64(beforeCheck.data(), beforeCheck.size(), check);
    return lzma_crc64(payload.data(), payload.size(), check);
}

Method DecodeMethod(std::uint8_t byte) {
    const auto method = static_cast<std::uint8_t>(byte & 0x0fU);
    if ((byte & 0xf0U) != kMagicBits) ThrowDamaged("it has no magic");
    if (method > static_cast<std::uint8_t>(Method::ZstdAfter)) ThrowDamaged("unknown method");
    return static_cast<Method>(method);
}

std::uint64_t CheckedSize(std::uint64_t size) {
    if (size > kMaxSize) ThrowDamaged("it declares a file of 4 GiB or more");
    return size;
}

}  // namespace

std::uint32_t OldCheck(ByteView oldFile) { return Crc32(oldFile); }

ByteBuffer MakeHead(Method method, ByteView oldFile, ByteView newFile, ByteView payload) {
    ByteBuffer head;
    ByteWriter out(head);
    out.Byte(kMagic);
    out.Byte(static_cast<std::uint8_t>(kMagicBits | static_cast<std::uint8_t>(method)));
    out.Number(oldFile.size());
    out.Number(FoldSign(static_cast<std::int64_t>(newFile.size() - oldFile.size())));
    out.Fixed(OldCheck(oldFile), 4);
    out.Fixed(DiffCheck(newFile, head, payload), kCheckSize);
    return head;
}

ParsedDiff Parse(ByteView diff) {
    ByteReader in(diff);
    if (in.Byte() != kMagic) ThrowDamaged("it has no magic");
    ParsedDiff parsed;
    Header& header = parsed.header;
    header.method = DecodeMethod(in.Byte());
    header.oldSize = CheckedSize(in.Number());
    // A hostile difference makes the sum wrap to 2^32 or more, which CheckedSize refuses.
    header.newSize =
        CheckedSize(header.oldSize + static_cast<std::uint64_t>(UnfoldSign(in.Number())));
    header.oldCheck = static_cast<std::uint32_t>(in.Fixed(4));
    header.check = in.Fixed(kCheckSize);
    parsed.payload = in.Rest();
    return parsed;
}

bool CheckHolds(const ParsedDiff& parsed, ByteView diff, ByteView newFile) {
    const ByteView beforeCheck = diff.first(diff.size() - parsed.payload.size() - kCheckSize);
    return DiffCheck(newFile, beforeCheck, parsed.payload) == parsed.header.check;
}

}  // namespace delta
