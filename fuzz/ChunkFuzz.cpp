// Arbitrary bytes are read as a chunk file. It is refused exactly when the literal check refuses
// it; otherwise it is walked, searched, changed and walked again.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "assetdata/ChunkRecords.h"
#include "assetdata/OCSConverter.h"
#include "assetdata/TagWalk.h"
#include "tests/assetdata/TagSamples.h"

namespace {

using namespace Vorn;

void Require(bool holds) {
    if (!holds) std::abort();
}

void LookUp(const OCSChunk& container) {
    for (std::uint32_t i = 0; i < container.ChildCount(); ++i) {
        Require(static_cast<bool>(container.FindChild(container.ChildName(i))));
    }
}

std::size_t Walk(const OCSChunk& root) {
    std::size_t seen = 0;
    for (TagWalk walk(root); walk.Next();) {
        if (walk.IsLeaving()) continue;
        LookUp(walk.Tag());
        seen += 1 + TextOfTag(walk.Tag()).size() + walk.Path().size();
    }
    return seen;
}

// Removes every third child, duplicates the first one, and swaps the first and the last.
void Change(OCSChunk& container) {
    for (std::uint32_t i = 0; i < container.ChildCount(); i += 2) {
        container.RemoveChild(container.ChildAt(i).child);
    }
    const std::uint32_t count = container.ChildCount();
    if (count == 0) return;
    container.SwapChildren(container.ChildAt(0).child, container.ChildAt(count - 1).child);
    container.AddChild(container.ChildName(0), container.ChildAt(count / 2).child);
    Require(container.ChildCount() == count + 1);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    Testing::Findings findings;
    const OCSChunkRef root = Testing::ReadChunks(bytes, &findings);
    if (!root) {
        Require(!findings.list.empty());
        return 0;
    }
    const std::string_view body = std::string_view(bytes).substr(kChunkFileHeaderSize);
    const auto claimed = LoadU32<12>(std::as_bytes(std::span(bytes)).first<kChunkFileHeaderSize>());
    Require(Testing::LiteralCheck(body.substr(0, claimed)));
    (void)Walk(*root);
    Change(*root);
    if (root->ChildCount() > 0) Change(*root->ChildAt(0).child);
    (void)Walk(*root);
    return 0;
}
