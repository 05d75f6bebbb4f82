// make_corpora FOLDER SCALE: writes FOLDER/{assets,small,large}/NNN-name/{old,new}; SCALE is 1 for
// a run of a few minutes. make_corpora FOLDER huge: writes FOLDER/{old,new} of 500 MB each.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <fstream>

#include "bench/delta/Corpora.h"
#include "bench/delta/Random.h"

namespace {

namespace fs = std::filesystem;
using delta::ByteBuffer;
using delta::bench::Pair;

void Write(const fs::path& path, const ByteBuffer& bytes) {
    std::ofstream out(path, std::ios::binary);
    out.write(reinterpret_cast<const char*>(bytes.data()),
              static_cast<std::streamsize>(bytes.size()));
    if (!out.flush()) throw std::runtime_error("cannot write " + path.string());
}

void WriteAll(const fs::path& folder, const std::vector<Pair>& pairs) {
    std::size_t number = 100;
    for (const Pair& pair : pairs) {
        const fs::path place = folder / (std::to_string(number++) + "-" + pair.name);
        fs::create_directories(place);
        Write(place / "old", pair.before);
        Write(place / "new", pair.after);
    }
}

// Writes a pair that is half noise and half text-like bytes; the new file has pieces moved and
// inserted, and scattered changes.
void WriteHuge(const fs::path& folder) {
    constexpr std::size_t kSize = 500'000'000;
    delta::bench::Random random(4);
    ByteBuffer bytes(kSize);
    for (std::size_t i = 0; i < kSize; ++i) {
        const bool noise = i / 1'000'000 % 2 == 0;
        bytes[i] = noise ? random.Byte() : static_cast<std::uint8_t>('a' + random.Below(9));
    }
    fs::create_directories(folder);
    Write(folder / "old", bytes);
    for (std::size_t i = 0; i < 20000; ++i) bytes[random.Below(kSize)] ^= 1U;
    for (std::size_t i = 0; i < 20; ++i) {
        const auto at = static_cast<std::ptrdiff_t>(random.Below(kSize - 2'000'000));
        std::swap_ranges(bytes.begin() + at, bytes.begin() + at + 900'000,
                         bytes.begin() + at + 950'000);
    }
    for (std::size_t i = 0; i < 1'000'000; ++i) bytes[250'000'000 + i] = random.Byte();
    Write(folder / "new", bytes);
}

}  // namespace

int main(int argc, char** argv) try {
    if (argc != 3) {
        std::fputs("usage: make_corpora FOLDER SCALE|huge\n", stderr);
        return 1;
    }
    const fs::path folder = argv[1];
    if (std::strcmp(argv[2], "huge") == 0) {
        WriteHuge(folder);
        return 0;
    }
    const double scale = std::atof(argv[2]);
    const auto scaled = [&](double count) { return static_cast<std::size_t>(count * scale) + 1; };
    WriteAll(folder / "assets", delta::bench::MakeAssets(scaled(35)));
    WriteAll(folder / "small", delta::bench::MakeSmallFiles(scaled(299)));
    WriteAll(folder / "large", delta::bench::MakeLarge(scaled(4), scaled(8'000'000)));
    return 0;
} catch (const std::exception& error) {
    std::fprintf(stderr, "make_corpora: %s\n", error.what());
    return 1;
}
