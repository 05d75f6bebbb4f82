// Measures both forms of a tag tree like those of asset descriptions, in bytes of the form per
// second, and lookups in large containers.
#include <benchmark/benchmark.h>

#include <array>
#include <random>
#include <span>
#include <string>
#include <vector>

#include "assetdata/ChunkFindings.h"
#include "assetdata/ChunkRecords.h"
#include "assetdata/ChunkWriter.h"
#include "assetdata/TBuffer.h"
#include "assetdata/TDBBinaryFile.h"
#include "assetdata/TDBContainerTag.h"
#include "assetdata/TDBDataTag.h"
#include "assetdata/TagText.h"
#include "assetdata/TagValues.h"
#include "assetdata/TagWalk.h"

namespace {

using namespace Vorn;

// Generates asset descriptions: words, a few numbers and identifiers, and small containers.
class Descriptions {
public:
    OCSChunkRef Make(int assets) {
        const OCSChunkRef root = NewTag(kTagContainer);
        for (int i = 0; i < assets; ++i) root->AddChild(Name(), Asset(0));
        return root;
    }

private:
    OCSChunkRef Asset(int depth) {
        const OCSChunkRef container = NewTag(kTagContainer);
        for (auto left = 6 + random_() % 10; left > 0; --left) {
            const bool nested = depth < 3 && random_() % 6 == 0;
            container->AddChild(Name(), nested ? Asset(depth + 1) : Leaf());
        }
        return container;
    }

    OCSChunkRef Leaf() {
        const auto number = static_cast<std::int32_t>(random_() % 100000);
        const float fraction = static_cast<float>(number) / 8;
        const KUID kuid{.userId = number, .contentId = number * 3, .version = 0};
        switch (random_() % 6) {
            case 0:
                return Data(kTagInteger, MakeIntegers({&number, 1}));
            case 1:
                return Data(kTagFloat, MakeFloats({&fraction, 1}));
            case 2:
                return Data(kTagKUID, MakeKUID(kuid));
            default:
                return Data(kTagText, MakeText(Words()));
        }
    }

    static OCSChunkRef Data(std::uint32_t type, const OCSRawData& value) {
        return OCSChunkRef(new TDBDataTag(type, value));
    }

    InternedString Name() {
        return Intern(
            ("trackside-mesh-name-" + std::to_string(random_() % 300)).substr(random_() % 10));
    }

    std::string Words() {
        std::string words;
        for (auto left = 1 + random_() % 8; left > 0; --left) {
            words += "platform "[random_() % 9] + std::string("engine ");
        }
        return words;
    }

    std::mt19937 random_{1};
};

std::span<const std::byte> Kept(const OCSChunkRef& root, bool asText) {
    static std::vector<std::unique_ptr<TBufferBlock>> blocks;
    TBufferBlock& block = *blocks.emplace_back(std::make_unique<TBufferBlock>(1 << 16));
    TBuffer stream(block);
    const bool good = asText ? WriteTagTextFile(*root, stream) : WriteChunkFile(*root, stream);
    return good ? block.Content() : std::span<const std::byte>();
}

const OCSChunkRef& Tree() {
    static const OCSChunkRef tree = Descriptions().Make(4000);
    return tree;
}
std::span<const std::byte> TextForm() {
    static const auto text = Kept(Tree(), true);
    return text;
}
std::span<const std::byte> ChunkForm() {
    static const auto chunks = Kept(Tree(), false);
    return chunks;
}

// Returns the same text with one blank before each value and no indentation, as people write it.
const std::string& DenseText() {
    static const std::string dense = [] {
        std::string text;
        char before = '\n';
        for (const std::byte byte : TextForm()) {
            const char c = static_cast<char>(byte);
            if (c == ' ' && (before == ' ' || before == '\n')) continue;
            if (c != '\r') text += before = c;
        }
        return text;
    }();
    return dense;
}

void CountBytes(benchmark::State& state, std::size_t size) {
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(size));
}

OCSChunkRef ReadTree(std::span<const std::byte> text) {
    TBufferBlock block(text);
    TBuffer stream(block);
    const OCSChunkRef root = NewTag(kTagContainer);
    ReadTagText(*root, stream, false);
    return root;
}

void ReadText(benchmark::State& state) {
    const auto text = state.range(0) == 0 ? TextForm() : std::as_bytes(std::span(DenseText()));
    state.SetLabel(state.range(0) == 0 ? "as written" : "dense");
    while (state.KeepRunning()) {
        OCSChunkRef root = ReadTree(text);
        state.PauseTiming();
        root = {};
        state.ResumeTiming();
    }
    CountBytes(state, text.size());
}
BENCHMARK(ReadText)->DenseRange(0, 1)->Unit(benchmark::kMillisecond);

void EndTree(benchmark::State& state) {
    while (state.KeepRunning()) {
        state.PauseTiming();
        OCSChunkRef root = ReadTree(TextForm());
        state.ResumeTiming();
        root = {};
    }
}
BENCHMARK(EndTree)->Unit(benchmark::kMillisecond);

void WriteText(benchmark::State& state) {
    TBufferBlock block(1 << 16);
    while (state.KeepRunning()) {
        TBuffer stream(block);
        (void)stream.Truncate();
        benchmark::DoNotOptimize(WriteTagTextFile(*Tree(), stream));
    }
    CountBytes(state, TextForm().size());
}
BENCHMARK(WriteText)->Unit(benchmark::kMillisecond);

void WriteChunks(benchmark::State& state) {
    TBufferBlock block(1 << 16);
    while (state.KeepRunning()) {
        TBuffer stream(block);
        (void)stream.Truncate();
        benchmark::DoNotOptimize(WriteChunkFile(*Tree(), stream));
    }
    CountBytes(state, ChunkForm().size());
}
BENCHMARK(WriteChunks)->Unit(benchmark::kMillisecond);

// Reads from a stream into separate memory, and checks the result.
void ReadChunks(benchmark::State& state) {
    while (state.KeepRunning()) {
        TBufferBlock block(ChunkForm());
        TBuffer stream(block);
        const auto file = MakeRef<TDBBinaryFile>();
        benchmark::DoNotOptimize(file->Read(stream));
    }
    CountBytes(state, ChunkForm().size());
}
BENCHMARK(ReadChunks)->Unit(benchmark::kMillisecond);

class Counter final : public TagObserver {
public:
    void OnFinding(const TagFinding& /*finding*/) override { ++count; }
    std::size_t count = 0;
};

// Checks the file in memory, then visits every record: its name, type and payload.
void CheckAndVisitChunks(benchmark::State& state) {
    const auto body = ChunkForm().subspan(kChunkFileHeaderSize);
    while (state.KeepRunning()) {
        ChunkFault fault{};
        Counter counter;
        if (!CheckChunkRecords(body, fault)) return state.SkipWithError("refused");
        FindChunkOddities(body, counter);
        benchmark::DoNotOptimize(counter.count);
    }
    CountBytes(state, ChunkForm().size());
}
BENCHMARK(CheckAndVisitChunks)->Unit(benchmark::kMillisecond);

// Checks the file, then walks it as a tree, which makes a tag for every record.
void CheckAndWalkChunks(benchmark::State& state) {
    const auto body = ChunkForm().subspan(kChunkFileHeaderSize);
    TBufferBlock block(ChunkForm());
    TBuffer stream(block);
    const auto file = MakeRef<TDBBinaryFile>();
    if (!file->Read(stream)) return state.SkipWithError("refused");
    while (state.KeepRunning()) {
        ChunkFault fault{};
        if (!CheckChunkRecords(body, fault)) return state.SkipWithError("refused");
        const OCSChunkRef root = file->Root();
        std::size_t sum = 0;
        for (TagWalk walk(*root); walk.Next();) {
            if (!walk.IsLeaving()) sum += walk.Name().size() + walk.Tag().DataSize();
        }
        benchmark::DoNotOptimize(sum);
    }
    CountBytes(state, ChunkForm().size());
}
BENCHMARK(CheckAndWalkChunks)->Unit(benchmark::kMillisecond);

OCSChunkRef Wide(std::int32_t children, std::vector<InternedString>& names) {
    const OCSChunkRef root = NewTag(kTagContainer);
    for (std::int32_t i = 0; i < children; ++i) {
        names.push_back(Intern("child-" + std::to_string(i)));
        root->AddChild(names.back(),
                       OCSChunkRef(new TDBDataTag(kTagInteger, MakeIntegers({&i, 1}))));
    }
    return root;
}

OCSChunkRef Loaded(const OCSChunkRef& tree) {
    TBufferBlock block(Kept(tree, false));
    TBuffer stream(block);
    const auto file = MakeRef<TDBBinaryFile>();
    return file->Read(stream) ? file->Root() : OCSChunkRef();
}

// Visits every record of a container by its index, name and value.
void WalkMillionByIndex(benchmark::State& state) {
    std::vector<InternedString> names;
    const OCSChunkRef tree = Wide(1'000'000, names);
    const OCSChunkRef root = state.range(0) == 0 ? tree : Loaded(tree);
    state.SetLabel(state.range(0) == 0 ? "tags" : "chunks");
    while (state.KeepRunning()) {
        std::size_t sum = 0;
        for (std::uint32_t i = 0; i < root->ChildCount(); ++i) {
            sum += root->ChildName(i).Length() + root->ChildAt(i).child->DataSize();
        }
        benchmark::DoNotOptimize(sum);
    }
}
BENCHMARK(WalkMillionByIndex)->DenseRange(0, 1)->Unit(benchmark::kMillisecond);

void FindAmong100000(benchmark::State& state) {
    std::vector<InternedString> names;
    const OCSChunkRef tree = Wide(100'000, names);
    const OCSChunkRef root = state.range(0) == 0 ? tree : Loaded(tree);
    state.SetLabel(state.range(0) == 0 ? "tags" : "chunks");
    std::size_t next = 0;
    while (state.KeepRunning()) {
        next = (next + 7919) % names.size();
        benchmark::DoNotOptimize(root->FindChild(names[next]));
    }
}
BENCHMARK(FindAmong100000)->DenseRange(0, 1);

}  // namespace

BENCHMARK_MAIN();
