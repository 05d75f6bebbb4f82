// Tag trees for tests and fuzz targets: made at random, described as texts that can be
// compared, and carried through both forms.
#pragma once

#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "assetdata/OCSChunk.h"
#include "assetdata/TagObserver.h"

namespace Vorn::Testing {

class Findings final : public TagObserver {
public:
    void OnFinding(const TagFinding& finding) override { list.push_back(finding); }
    [[nodiscard]] std::vector<TagFault> Faults() const;

    std::vector<TagFinding> list;
};

// Returns every name, type and value in order. Equal for equal trees, whatever form they came from.
[[nodiscard]] std::string Describe(const OCSChunk& root);

[[nodiscard]] OCSChunkRef ReadText(std::string_view text, TagObserver* observer = nullptr);
[[nodiscard]] std::string WriteText(const OCSChunk& root);
// Return null and an empty text when refused.
[[nodiscard]] OCSChunkRef ReadChunks(std::string_view bytes, TagObserver* observer = nullptr);
[[nodiscard]] std::string WriteChunks(const OCSChunk& root, TagObserver* observer = nullptr);

[[nodiscard]] OCSChunkRef Leaf(std::uint32_t type, std::string_view bytes);
// All types, duplicates, empty values, any bytes, KUIDs at their limits, long names and deep
// nesting; a plain tree holds only what both forms can.
[[nodiscard]] OCSChunkRef RandomTree(std::mt19937& random, bool plain);

// Checks a chunk file's body, step by step as it is described.
[[nodiscard]] bool LiteralCheck(std::string_view body);

}  // namespace Vorn::Testing
