// A tree read from a chunk file or a text is the same after a round trip through the chunk form,
// and through the text form unless a loss is reported.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "assetdata/TagLosses.h"
#include "tests/assetdata/TagSamples.h"

namespace {

using namespace Vorn;
using namespace Vorn::Testing;

void Require(bool holds) {
    if (!holds) std::abort();
}

void ThroughChunks(const OCSChunk& tree) {
    Findings findings;
    FindChunkLosses(tree, findings);
    const std::string bytes = WriteChunks(tree, &findings);
    if (!findings.list.empty()) return;
    Findings odd;
    const OCSChunkRef again = ReadChunks(bytes, &odd);
    Require(again && Describe(*again) == Describe(tree) && WriteChunks(*again) == bytes);
}

// Returns whether all findings are notes. Notes are about legal input, so text that was written
// without losses may have them.
bool AreNotes(const std::vector<TagFinding>& findings) {
    return std::ranges::all_of(findings, [](const TagFinding& finding) {
        return DescribeTagFault(finding.fault).weight == TagWeight::Note;
    });
}

void ThroughText(const OCSChunk& tree) {
    Findings losses;
    FindTextLosses(tree, losses);
    const std::string text = WriteText(tree);
    Findings odd;
    const OCSChunkRef again = ReadText(text, &odd);
    if (losses.list.empty()) Require(Describe(*again) == Describe(tree) && AreNotes(odd.list));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    OCSChunkRef tree = ReadChunks(bytes);
    if (!tree) tree = ReadText(bytes);
    ThroughChunks(*tree);
    ThroughText(*tree);
    return 0;
}
