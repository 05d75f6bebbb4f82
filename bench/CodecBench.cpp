// Measures the codec and the digests on several kinds of data, in bytes of content per second. The
// literal codec runs over the same blocks as the fast one, for the ratio.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <optional>
#include <random>
#include <span>
#include <string>
#include <vector>

#include "archive/BytePair.h"
#include "archive/Crc32.h"
#include "patch/MD5.h"
#include "tests/archive/LiteralBytePair.h"

namespace {

using Bytes = std::vector<std::byte>;

constexpr std::size_t kBlock = 16384;
constexpr std::size_t kContent = 32 * kBlock;

// Returns sentences of words of which some are common and most are rare, as in prose.
Bytes Text() {
    std::mt19937 random(1);
    std::vector<std::string> words(2000);
    for (std::string& word : words) {
        for (std::size_t n = 2 + random() % 8; n > 0; --n)
            word += "eeettaaoinshrdlu"[random() % 16];
    }
    Bytes text;
    while (text.size() < kContent) {
        const std::size_t rank = (random() % 45) * (random() % 45);
        for (const char c : words[rank] + ' ') text.push_back(static_cast<std::byte>(c));
    }
    return text;
}

// Returns the middle of a program: code, tables and strings.
Bytes Program() {
    std::ifstream file("/bin/bash", std::ios::binary);
    const std::string all((std::istreambuf_iterator<char>(file)), {});
    const auto rest = std::as_bytes(std::span(all)).subspan(std::min(all.size() / 4, kContent));
    const auto bytes = rest.first(std::min(rest.size(), kContent));
    return {bytes.begin(), bytes.end()};
}

// Returns vertex positions that lie near each other, as text with two decimals.
Bytes Mesh() {
    std::mt19937 random(3);
    std::vector<float> numbers(kContent / sizeof(float));
    int hundredths = 0;
    for (float& number : numbers) {
        hundredths += static_cast<int>(random() % 51) - 25;
        number = static_cast<float>(hundredths) / 100;
    }
    const auto bytes = std::as_bytes(std::span(numbers));
    return {bytes.begin(), bytes.end()};
}

// Returns pixels of four channels in runs and small steps.
Bytes Image() {
    std::mt19937 random(4);
    Bytes bytes;
    for (unsigned level = 128; bytes.size() < kContent;
         level += static_cast<unsigned>(random() % 5) - 2) {
        for (auto run = 1 + random() % 3; run > 0; --run) {
            for (const unsigned channel : {level, level + 3, level + 7, 255U})
                bytes.push_back(static_cast<std::byte>(channel));
        }
    }
    return bytes;
}

// Returns a mix of the kinds above, as typical assets have it.
Bytes Assets() {
    Bytes all;
    for (const Bytes& kind : {Text(), Program(), Mesh(), Image()})
        all.insert(all.end(), kind.begin(), kind.end());
    return all;
}

Bytes Noise() {
    std::mt19937 random(2);
    Bytes bytes(kContent);
    for (std::byte& byte : bytes) byte = static_cast<std::byte>(random());
    return bytes;
}

const struct {
    const char* name;
    Bytes bytes;
} kData[] = {{"text", Text()},          {"program", Program()}, {"mesh", Mesh()},
             {"image", Image()},        {"assets", Assets()},   {"random", Noise()},
             {"zeros", Bytes(kContent)}};

// Returns content of whole blocks; the state's first argument selects the kind.
std::span<const std::byte> ContentOf(benchmark::State& state) {
    const auto& data = kData[static_cast<std::size_t>(state.range(0))];
    state.SetLabel(data.name);
    return std::span(data.bytes).first(data.bytes.size() / kBlock * kBlock);
}

void CountBytes(benchmark::State& state, std::size_t size) {
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(size));
}

using Compressor = std::size_t(std::span<std::byte>, std::span<const std::byte>);
using Expander = std::optional<std::size_t>(std::span<std::byte>, std::span<const std::byte>);

void Compress(benchmark::State& state, Compressor* compress) {
    const auto content = ContentOf(state);
    Bytes packed(kBlock);
    while (state.KeepRunning()) {
        for (std::size_t done = 0; done < content.size(); done += kBlock) {
            benchmark::DoNotOptimize(compress(packed, content.subspan(done, kBlock)));
        }
    }
    CountBytes(state, content.size());
}

void Expand(benchmark::State& state, Expander* expand) {
    const auto content = ContentOf(state);
    std::vector<Bytes> blocks;
    for (std::size_t done = 0; done < content.size(); done += kBlock) {
        Bytes packed(kBlock);
        packed.resize(archive::CompressBlock(packed, content.subspan(done, kBlock)));
        if (packed.size() < kBlock) blocks.push_back(packed);
    }
    if (blocks.empty()) return state.SkipWithError("every block is stored");
    Bytes back(kBlock);
    while (state.KeepRunning()) {
        for (const Bytes& packed : blocks) benchmark::DoNotOptimize(expand(back, packed));
    }
    CountBytes(state, blocks.size() * kBlock);
}

void Crc(benchmark::State& state) {
    const auto content = ContentOf(state);
    while (state.KeepRunning()) {
        archive::Crc32 crc;
        crc.Update(content);
        benchmark::DoNotOptimize(crc.Value());
    }
    CountBytes(state, content.size());
}

void Md5(benchmark::State& state) {
    const auto content = ContentOf(state);
    while (state.KeepRunning()) {
        benchmark::DoNotOptimize(patch::DigestOf(content));
    }
    CountBytes(state, content.size());
}

BENCHMARK_CAPTURE(Compress, fast, archive::CompressBlock)->DenseRange(0, 6);
BENCHMARK_CAPTURE(Compress, literal, Vorn::Literal::CompressBlock)->DenseRange(0, 6);
BENCHMARK_CAPTURE(Expand, fast, archive::ExpandBlock)->DenseRange(0, 6);
BENCHMARK_CAPTURE(Expand, literal, Vorn::Literal::ExpandBlock)->DenseRange(0, 6);
BENCHMARK(Crc)->Arg(5);
BENCHMARK(Md5)->Arg(5);

}  // namespace

BENCHMARK_MAIN();
