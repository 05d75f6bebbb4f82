// A chunk file ("chump", "cdp", "cdp2") in memory (docs/formats/chunk.md).
//
// Reading checks the whole structure once; the tree may then be walked whatever it holds. Tags
// keep what they need of the file, so they stay good when the file object goes or reads again.
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
    // False when the stream holds no such file.
    virtual bool Read(TStream& stream) = 0;
    // A place in the order of operations that nothing uses.
    virtual void Reserved() {}
    // Null when nothing is loaded.
    [[nodiscard]] virtual OCSChunkRef Root() = 0;
};

class TDBBinaryFile final : public OCSFile {
public:
    // Reads from the stream's position. False, with nothing loaded, for what is no chunk file, is
    // cut short, or has records that do not lie inside of one another.
    bool Read(TStream& stream) override { return Read(stream, nullptr); }
    // Null too when the version is neither 0 (ANSI) nor 1 (UTF-8).
    [[nodiscard]] OCSChunkRef Root() override;

    // With an observer, which is told the reason of a refusal, and everything odd in a file that
    // is read all the same.
    bool Read(TStream& stream, TagObserver* observer);

    [[nodiscard]] std::uint32_t Version() const { return version_; }
    [[nodiscard]] std::uint32_t BodySize() const;  // 0 when nothing is loaded

private:
    std::uint32_t version_ = 0;
    RefPtr<ChunkBody> body_;
};

}  // namespace Vorn
