// A leaf of a chunk file, whose value stays in the file's body.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "assetdata/ChunkBody.h"
#include "assetdata/OCSChunk.h"

namespace Vorn {

class TDBDataChunk : public ChunkTag {
public:
    // Makes the tag of a record. `value` lies in the body.
    TDBDataChunk(ChunkBody& body, std::uint32_t record, std::span<const std::byte> value,
                 std::uint32_t type)
        : ChunkTag(body, record), value_(value), type_(type) {}

    [[nodiscard]] const std::byte* Data() const override { return value_.data(); }
    [[nodiscard]] std::uint32_t DataSize() const override {
        return static_cast<std::uint32_t>(value_.size());
    }
    [[nodiscard]] std::uint32_t GetType() const override { return type_; }

private:
    std::span<const std::byte> value_;
    std::uint32_t type_;
};

// A text whose value differs from its bytes in the file: converted, or with a zero byte appended.
class TDBTextChunk final : public TDBDataChunk {
public:
    TDBTextChunk(ChunkBody& body, std::uint32_t record, const OCSRawData& text)
        : TDBDataChunk(body, record, text->Bytes(), kTagText), text_(text) {}

private:
    OCSRawData text_;
};

}  // namespace Vorn
