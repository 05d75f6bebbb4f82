// Reads contents of an archive or folder one after the other, with errors in the public words.
#pragma once

#include <memory>
#include <span>

#include "archive/Crc32.h"
#include "library/ArchiveAccess.h"
#include "library/Translate.h"

namespace va {

// Borrows the archive. One thread at a time.
class SideReader {
public:
    explicit SideReader(const Archive& archive)
        : archive_(archive), reader_(ArchiveAccess::TreeOf(archive).NewReader()) {}

    void Begin(const Member& member) {
        Translated(archive_.Path(), [&] { reader_->Begin(member.Index()); });
    }
    // Returns the next piece; empty after the last one.
    [[nodiscard]] std::span<const std::byte> Next() {
        return Translated(archive_.Path(), [&] { return reader_->Next(); });
    }

private:
    const Archive& archive_;
    std::unique_ptr<archive::TreeReader> reader_;
};

// Returns the member's check sum, which is computed if none is recorded.
[[nodiscard]] inline std::uint32_t CheckSumOf(SideReader& side, const Member& member) {
    if (member.Crc()) return *member.Crc();
    archive::Crc32 sum;
    side.Begin(member);
    for (auto piece = side.Next(); !piece.empty(); piece = side.Next()) sum.Update(piece);
    return sum.Value();
}

}  // namespace va
