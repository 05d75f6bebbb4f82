// Reads contents of an archive or folder one after the other, with errors in the public words.
#pragma once

#include <memory>
#include <span>

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
    // The next piece; empty after the last one.
    [[nodiscard]] std::span<const std::byte> Next() {
        return Translated(archive_.Path(), [&] { return reader_->Next(); });
    }

private:
    const Archive& archive_;
    std::unique_ptr<archive::TreeReader> reader_;
};

}  // namespace va
