#include "assetdata/TDBBinaryFile.h"

#include <algorithm>
#include <array>
#include <memory>
#include <utility>

#include "assetdata/ChunkFindings.h"
#include "assetdata/ChunkRecords.h"

namespace Vorn {
namespace {

// Aligned raw values must be aligned in memory as they are in the file.
static_assert(__STDCPP_DEFAULT_NEW_ALIGNMENT__ >= 16);

// Bodies are read in steps of this size: a header's claim alone must not allocate 4 GiB.
constexpr std::uint32_t kFirstPiece = 1 << 20;

using Bytes = std::unique_ptr<std::byte[]>;

// Returns null if the stream ends before `size` bytes.
Bytes ReadBytes(TStream& stream, std::uint32_t size) {
    Bytes bytes;
    std::uint32_t done = 0;
    while (done < size) {
        const auto wanted = static_cast<std::uint32_t>(
            std::min<std::uint64_t>(size, std::max(kFirstPiece, done) * std::uint64_t{4}));
        auto larger = std::make_unique_for_overwrite<std::byte[]>(wanted);
        std::copy_n(bytes.get(), done, larger.get());
        bytes = std::move(larger);
        if (stream.Read(bytes.get() + done, wanted - done) != wanted - done) return nullptr;
        done = wanted;
    }
    return bytes;
}

void Report(TagObserver* observer, TagFault fault, std::uint64_t offset) {
    if (observer) observer->OnFinding({fault, {offset}, {}});
}

}  // namespace

bool TDBBinaryFile::Read(TStream& stream, TagObserver* observer) {
    body_ = {};
    version_ = 0;
    std::array<std::byte, kChunkFileHeaderSize> header{};
    const std::uint32_t got = stream.Read(header.data(), kChunkFileHeaderSize);
    const std::span fields(std::as_const(header));
    const std::uint32_t size = LoadU32<12>(fields);
    if (got != kChunkFileHeaderSize || LoadU32<0>(fields) != kChunkMagic) {
        Report(observer, TagFault::NotAChunkFile, 0);
        return false;
    }
    if (size == 0) {
        Report(observer, TagFault::NoBody, 12);
        return false;
    }
    const std::uint64_t end = std::uint64_t{stream.Tell()} + size;
    const std::uint32_t length = stream.Length();
    if (end > length) {
        Report(observer, TagFault::BodyPastEnd, 12);
        return false;
    }
    Bytes bytes = ReadBytes(stream, size);
    if (!bytes) {
        Report(observer, TagFault::BodyCutShort, kChunkFileHeaderSize);
        return false;
    }
    ChunkFault fault{};
    if (!CheckChunkRecords({bytes.get(), size}, fault)) {
        Report(observer, fault.fault, kChunkFileHeaderSize + std::uint64_t{fault.offset});
        return false;
    }
    version_ = LoadU32<4>(fields);
    body_ = MakeRef<ChunkBody>(version_, std::move(bytes), size);
    if (!observer) return true;
    if (version_ > kChunkVersionUtf8) Report(observer, TagFault::UnknownVersion, 4);
    FindChunkOddities(body_->Bytes(), *observer);
    if (end < length) {
        Report(observer, TagFault::BytesAfterBody, kChunkFileHeaderSize + std::uint64_t{size});
    }
    return true;
}

OCSChunkRef TDBBinaryFile::Root() {
    return body_ && version_ <= kChunkVersionUtf8 ? body_->Root() : OCSChunkRef();
}

std::uint32_t TDBBinaryFile::BodySize() const {
    return body_ ? static_cast<std::uint32_t>(body_->Bytes().size()) : 0;
}

}  // namespace Vorn
