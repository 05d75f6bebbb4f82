// A chunk file ("chump", "cdp", "cdp2") in memory (docs/formats/chunk.md).
//
// Reading checks the whole structure once, so walking the tree is safe for any content. Tags keep
// the body alive, so they stay valid after the file object is destroyed or reads again.
#pragma once

#include <cstdint>

#include "assetdata/ChunkBody.h"
#include "assetdata/OCSChunk.h"
#include "assetdata/TStream.h"
#include "assetdata/TagObserver.h"

namespace Vorn {

// A file that holds a tag tree. The order of the virtual operations is fixed.
class OCSFile : public ReferenceCountMP {
public:
    // Returns false if the stream holds no such file.
    virtual bool Read(TStream& stream) = 0;
    // Does nothing; it keeps the fixed order of the virtual operations.
    virtual void Reserved() {}
    // Returns null if nothing is loaded.
    [[nodiscard]] virtual OCSChunkRef Root() = 0;
};

class TDBBinaryFile final : public OCSFile {
public:
    // Reads from the stream's position. Returns false, with nothing loaded, if this is not a chunk
    // file, is cut short, or has a record that exceeds the one that contains it.
    bool Read(TStream& stream) override { return Read(stream, nullptr); }
    // Also returns null if the version is neither 0 (ANSI) nor 1 (UTF-8).
    [[nodiscard]] OCSChunkRef Root() override;

    // Reads, and reports to the observer why a file is refused, and every oddity of one that is
    // read.
    bool Read(TStream& stream, TagObserver* observer);

    [[nodiscard]] std::uint32_t Version() const { return version_; }
    [[nodiscard]] std::uint32_t BodySize() const;  // 0 when nothing is loaded

private:
    std::uint32_t version_ = 0;
    RefPtr<ChunkBody> body_;
};

}  // namespace Vorn
