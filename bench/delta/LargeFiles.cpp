#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>
#include <map>
#include <optional>

#include "bench/delta/Corpora.h"
#include "bench/delta/Random.h"

namespace delta::bench {
namespace {

namespace fs = std::filesystem;

ByteBuffer ReadFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

template <typename Number>
Number Load(const ByteBuffer& bytes, std::size_t at) {
    Number value{};
    if (at + sizeof value <= bytes.size()) std::memcpy(&value, bytes.data() + at, sizeof value);
    return value;
}

template <typename Number>
void Store(ByteBuffer& bytes, std::size_t at, Number value) {
    if (at + sizeof value <= bytes.size()) std::memcpy(bytes.data() + at, &value, sizeof value);
}

void AppendRange(ByteBuffer& out, const ByteBuffer& from, std::size_t begin, std::size_t end) {
    out.insert(out.end(), from.begin() + static_cast<std::ptrdiff_t>(begin),
               from.begin() + static_cast<std::ptrdiff_t>(end));
}

struct Range {
    std::size_t begin = 0;
    std::size_t end = 0;
};

// Returns the range of machine code in a 64-bit ELF program or library; nullopt for other files.
std::optional<Range> CodeOf(const ByteBuffer& file) {
    constexpr std::uint32_t kElfMagic = 0x464c457fU;
    constexpr std::uint32_t kLoadable = 1;
    if (Load<std::uint32_t>(file, 0) != kElfMagic) return std::nullopt;
    const auto table = Load<std::uint64_t>(file, 32);
    for (std::size_t i = 0; i < Load<std::uint16_t>(file, 56); ++i) {
        const std::size_t entry = table + i * 56;
        if (Load<std::uint32_t>(file, entry) != kLoadable) continue;
        if ((Load<std::uint32_t>(file, entry + 4) & 1U) == 0) continue;
        const auto begin = Load<std::uint64_t>(file, entry + 8);
        return Range{begin, std::min(file.size(), begin + Load<std::uint64_t>(file, entry + 32))};
    }
    return std::nullopt;
}

// A 32-bit distance inside the code, relative to the end of its field.
struct Reference {
    std::size_t at;
    std::size_t target;
};

// Returns the calls, jumps and addresses relative to the next instruction, which a linker would
// relocate.
std::vector<Reference> FindReferences(const ByteBuffer& file, Range code) {
    std::vector<Reference> found;
    for (std::size_t i = code.begin; i + 8 < code.end; ++i) {
        const std::uint8_t first = file[i];
        std::size_t at = 0;
        if (first == 0xe8 || first == 0xe9) at = i + 1;
        if (first == 0x0f && (file[i + 1] & 0xf0U) == 0x80) at = i + 2;
        if ((first & 0xf8U) == 0x48 && (file[i + 2] & 0xc7U) == 0x05) at = i + 3;
        if (at == 0) continue;
        const auto target = static_cast<std::size_t>(static_cast<std::int64_t>(at + 4) +
                                                     Load<std::int32_t>(file, at));
        if (target < code.begin || target >= file.size()) continue;
        found.push_back({at, target});
        i = at + 3;
    }
    return found;
}

// Maps offsets of a file to those after pieces were removed and inserted.
class Layout {
public:
    // Copies `before` with `count` changes inside `code`, each the size of a function.
    ByteBuffer Change(Random& random, const ByteBuffer& before, Range code, std::size_t count) {
        std::vector<std::size_t> places(count);
        for (std::size_t& place : places) {
            place = code.begin + (random.Below(code.end - code.begin) & ~std::size_t{15});
        }
        std::ranges::sort(places);
        ByteBuffer after;
        std::size_t done = 0;
        for (const std::size_t place : places) {
            if (place < done) continue;
            AppendRange(after, before, done, place);
            const std::size_t removed = random.Below(3) == 0 ? 16 * random.Below(12) : 0;
            const std::size_t added = 16 * random.Between(1, 24);
            const std::size_t model = code.begin + random.Below(code.end - code.begin - added);
            AppendRange(after, before, model, model + added);
            done = place + removed;
            moves_[done] = after.size();
        }
        AppendRange(after, before, done, before.size());
        return after;
    }

    [[nodiscard]] std::size_t Map(std::size_t at) const {
        const auto next = moves_.upper_bound(at);
        if (next == moves_.begin()) return at;
        const auto [from, to] = *std::prev(next);
        return to + (at - from);
    }

private:
    std::map<std::size_t, std::size_t> moves_;
};

// Returns the next build of a program: some functions changed, and every distance and address
// across them adjusted.
ByteBuffer Rebuild(Random& random, const ByteBuffer& before, Range code) {
    const std::vector<Reference> references = FindReferences(before, code);
    Layout layout;
    ByteBuffer after = layout.Change(random, before, code, 12 + before.size() / 100000);
    for (const Reference& reference : references) {
        const std::size_t at = layout.Map(reference.at);
        Store(after, at, static_cast<std::int32_t>(layout.Map(reference.target) - (at + 4)));
    }
    for (std::size_t i = 0; i + 8 <= before.size(); i += 8) {
        if (i >= code.begin && i < code.end) continue;
        const auto address = Load<std::uint64_t>(before, i);
        if (address < code.begin || address >= before.size()) continue;
        Store(after, layout.Map(i), std::uint64_t{layout.Map(address)});
    }
    return after;
}

// Returns the largest programs and libraries below `maxSize`, one of each size.
std::vector<fs::path> LargestPrograms(std::size_t count, std::size_t maxSize) {
    std::map<std::uintmax_t, fs::path, std::greater<>> bySize;
    for (const char* folder : {"/usr/bin", "/usr/lib/x86_64-linux-gnu"}) {
        for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
            if (entry.is_symlink() || !entry.is_regular_file()) continue;
            const std::uintmax_t size = entry.file_size();
            if (size > maxSize) continue;
            const auto known = bySize.find(size);
            if (known == bySize.end() || entry.path() < known->second) bySize[size] = entry.path();
        }
    }
    std::vector<fs::path> paths;
    for (const auto& [size, path] : bySize) {
        if (paths.size() < count && CodeOf(ReadFile(path))) paths.push_back(path);
    }
    return paths;
}

// Returns a bundle of the headers of this machine; in the new bundle some have lines of others.
Pair HeaderBundle(Random& random, std::size_t maxSize) {
    std::vector<fs::path> paths;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator("/usr/include")) {
        if (entry.is_regular_file()) paths.push_back(entry.path());
    }
    std::ranges::sort(paths);
    Pair pair{"headers.tar", {}, {}};
    for (const fs::path& path : paths) {
        const ByteBuffer header = ReadFile(path);
        if (pair.before.size() + header.size() > maxSize) break;
        AppendRange(pair.before, header, 0, header.size());
        if (random.Below(50) == 0) continue;
        const std::size_t cut = header.empty() ? 0 : random.Below(header.size());
        AppendRange(pair.after, header, 0, cut);
        if (random.Below(6) == 0 && pair.before.size() > 4000) {
            const std::size_t model = random.Below(pair.before.size() - 400);
            AppendRange(pair.after, pair.before, model, model + random.Below(400));
        }
        AppendRange(pair.after, header, cut, header.size());
    }
    return pair;
}

}  // namespace

std::vector<Pair> MakeLarge(std::size_t count, std::size_t maxSize) {
    Random random(3);
    std::vector<Pair> pairs;
    for (const fs::path& path : LargestPrograms(count, maxSize)) {
        const ByteBuffer before = ReadFile(path);
        pairs.push_back({path.filename(), before, Rebuild(random, before, *CodeOf(before))});
    }
    pairs.push_back(HeaderBundle(random, maxSize));
    return pairs;
}

}  // namespace delta::bench
