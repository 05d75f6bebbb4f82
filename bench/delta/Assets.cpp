#include <algorithm>
#include <cmath>
#include <cstring>

#include "bench/delta/Corpora.h"
#include "bench/delta/Random.h"

namespace delta::bench {
namespace {

template <typename Number>
void Put(ByteBuffer& out, Number value) {
    const std::size_t at = out.size();
    out.resize(at + sizeof value);
    std::memcpy(out.data() + at, &value, sizeof value);
}

std::uint8_t ToByte(double value) {
    return static_cast<std::uint8_t>(std::clamp(value, 0.0, 255.0));
}

// Returns a texture of four channels: waves of a few lengths, a tiled pattern, a little noise.
ByteBuffer Texture(Random& random, std::size_t side) {
    ByteBuffer pixels(18, 0);
    const double tilt = random.Signed();
    const double scale = 0.02 + 0.05 * std::abs(random.Signed());
    const std::size_t tile = random.Between(12, 60);
    for (std::size_t i = 0; i < side * side; ++i) {
        const auto x = static_cast<double>(i % side);
        const std::size_t row = i / side;
        const auto y = static_cast<double>(row);
        const double wave = std::sin(x * scale + y * tilt * scale) + std::cos(y * scale * 1.7);
        const double line = (i % side) % tile == 0 || row % tile == 0 ? 40.0 : 0.0;
        const double grain = 6 * random.Signed();
        for (const double channel : {60.0, 90.0, 120.0}) {
            pixels.push_back(ToByte(channel + 40 * wave - line + grain));
        }
        pixels.push_back(255);
    }
    return pixels;
}

// Edits a texture: repaints a disc lighter, and adds an area of new noise.
ByteBuffer EditTexture(Random& random, ByteBuffer pixels, std::size_t side) {
    const std::size_t radius = random.Between(side / 20, side / 6);
    const std::size_t cx = random.Below(side);
    const std::size_t cy = random.Below(side);
    const int light = static_cast<int>(random.Between(4, 30));
    const bool repaint = random.Below(2) == 0;
    for (std::size_t y = cy; y < std::min(side, cy + radius); ++y) {
        for (std::size_t x = cx; x < std::min(side, cx + radius); ++x) {
            for (std::size_t c = 0; c < 3; ++c) {
                std::uint8_t& pixel = pixels[18 + (y * side + x) * 4 + c];
                pixel = repaint ? ToByte(100 + 10 * random.Signed()) : ToByte(pixel + light);
            }
        }
    }
    return pixels;
}

// Returns blocks of two end colours and sixteen indices, as graphics cards use them.
ByteBuffer BlockTexture(Random& random, std::size_t blocks) {
    ByteBuffer out(128, 0);
    double level = 0.5;
    for (std::size_t i = 0; i < blocks; ++i) {
        level = std::clamp(level + 0.03 * random.Signed(), 0.0, 1.0);
        const auto colour = static_cast<std::uint16_t>(level * 31) * 0x0841U;
        Put(out, static_cast<std::uint16_t>(colour));
        Put(out, static_cast<std::uint16_t>(colour - 0x0841U * random.Below(4)));
        Put(out, random.Below(3) == 0 ? 0U : static_cast<std::uint32_t>(random.Next() >> 32));
    }
    return out;
}

ByteBuffer EditBlocks(Random& random, ByteBuffer blocks) {
    for (std::size_t edits = random.Between(3, 12); edits > 0; --edits) {
        const std::size_t run = random.Between(4, 100);
        const std::size_t first = random.Below((blocks.size() - 128) / 8 - run);
        for (std::size_t i = 0; i < run * 8; ++i) {
            if (i % 8 >= 4) blocks[128 + first * 8 + i] = random.Byte();
        }
    }
    return blocks;
}

// Returns positions, normals and texture coordinates of a bent grid, then its triangles.
ByteBuffer Mesh(Random& random, std::size_t side, std::size_t extraRow) {
    ByteBuffer out;
    const double bend = 0.01 + 0.01 * std::abs(random.Signed());
    const std::size_t rows = side + (extraRow != 0 ? 1 : 0);
    Put(out, static_cast<std::uint32_t>(rows * side));
    for (std::size_t row = 0; row < rows; ++row) {
        const double y = static_cast<double>(row) - (extraRow != 0 && row >= extraRow ? 0.5 : 0.0);
        for (std::size_t column = 0; column < side; ++column) {
            const auto x = static_cast<double>(column);
            const double z = std::sin(x * bend) * std::cos(y * bend * 2) * 10;
            const double normal = std::cos(x * bend);
            for (const double value : {x * 0.25, y * 0.25, z, normal, 1 - normal, 0.0,
                                       x / static_cast<double>(side), y / 64}) {
                Put(out, static_cast<float>(value));
            }
        }
    }
    for (std::size_t i = 0; i + side + 1 < rows * side; ++i) {
        for (const std::size_t corner : {i, i + 1, i + side, i + 1, i + side + 1, i + side}) {
            Put(out, static_cast<std::uint16_t>(corner));
        }
    }
    return out;
}

ByteBuffer EditMesh(Random& random, ByteBuffer mesh) {
    std::uint32_t vertices = 0;
    std::memcpy(&vertices, mesh.data(), sizeof vertices);
    const std::size_t run = random.Between(20, 300);
    const std::size_t first = random.Below(vertices - std::min<std::size_t>(run, vertices - 1));
    for (std::size_t i = first; i < std::min<std::size_t>(first + run, vertices); ++i) {
        float height = 0;
        std::memcpy(&height, mesh.data() + 4 + i * 32 + 8, sizeof height);
        height += 0.125F;
        std::memcpy(mesh.data() + 4 + i * 32 + 8, &height, sizeof height);
    }
    return mesh;
}

ByteBuffer Sound(Random& random, std::size_t samples) {
    ByteBuffer out(44, 0);
    double noise = 0;
    const double pitch = 0.01 + 0.05 * std::abs(random.Signed());
    for (std::size_t i = 0; i < samples; ++i) {
        noise = 0.9 * noise + 400 * random.Signed();
        const double tone = 6000 * std::sin(static_cast<double>(i) * pitch);
        Put(out, static_cast<std::int16_t>(tone + noise));
    }
    return out;
}

// Edits a sound: makes a cut, inserts a few hundred samples of silence, and softens a passage.
ByteBuffer EditSound(Random& random, ByteBuffer sound) {
    const auto at = [&] { return 44 + 2 * random.Below(sound.size() / 4); };
    const auto cut = static_cast<std::ptrdiff_t>(at());
    sound.erase(sound.begin() + cut,
                sound.begin() + cut + 2 * static_cast<std::ptrdiff_t>(random.Below(900)));
    sound.insert(sound.begin() + static_cast<std::ptrdiff_t>(at()), 2 * random.Below(500), 0);
    const std::size_t from = at();
    const std::size_t length = 2 * random.Between(200, 4000);
    for (std::size_t i = from; i + 1 < std::min(sound.size(), from + length); i += 2) {
        std::int16_t sample = 0;
        std::memcpy(&sample, sound.data() + i, sizeof sample);
        sample = static_cast<std::int16_t>(sample - sample / 16);
        std::memcpy(sound.data() + i, &sample, sizeof sample);
    }
    return sound;
}

// Returns a directory of offsets followed by the members, so an edit that changes a length changes
// all later offsets.
ByteBuffer Bundle(const std::vector<ByteBuffer>& members) {
    ByteBuffer out;
    std::size_t offset = 8 + 16 * members.size();
    Put(out, std::uint64_t{members.size()});
    for (const ByteBuffer& member : members) {
        Put(out, std::uint64_t{offset});
        Put(out, std::uint64_t{member.size()});
        offset += member.size();
    }
    for (const ByteBuffer& member : members) out.insert(out.end(), member.begin(), member.end());
    return out;
}

Pair BundlePair(Random& random) {
    std::vector<ByteBuffer> before;
    std::vector<ByteBuffer> after;
    for (std::size_t i = 0; i < 24; ++i) {
        before.push_back(i % 2 == 0 ? Sound(random, random.Between(2000, 20000))
                                    : BlockTexture(random, random.Between(500, 4000)));
        if (i % 7 == 3) after.push_back(Sound(random, 3000));
        after.push_back(i % 6 == 0 ? EditSound(random, before.back()) : before.back());
    }
    std::swap(after[2], after[9]);
    return {"bundle", Bundle(before), Bundle(after)};
}

Pair AssetPair(Random& random, std::size_t kind) {
    switch (kind) {
        case 0: {
            const std::size_t side = std::size_t{64} << random.Below(4);
            const ByteBuffer texture = Texture(random, side);
            return {"texture.tga", texture, EditTexture(random, texture, side)};
        }
        case 1: {
            const ByteBuffer blocks = BlockTexture(random, random.Between(4000, 60000));
            return {"texture.dds", blocks, EditBlocks(random, blocks)};
        }
        case 2: {
            const ByteBuffer mesh = Mesh(random, random.Between(40, 160), 0);
            return {"mesh.im", mesh, EditMesh(random, mesh)};
        }
        case 3: {
            const std::uint64_t seed = random.Next();
            const std::size_t side = random.Between(40, 120);
            Random twice(seed);
            Random again(seed);
            return {"rows.im", Mesh(twice, side, 0), Mesh(again, side, side / 2)};
        }
        case 4: {
            const ByteBuffer sound = Sound(random, random.Between(10000, 400000));
            return {"sound.wav", sound, EditSound(random, sound)};
        }
        default:
            return BundlePair(random);
    }
}

}  // namespace

std::vector<Pair> MakeAssets(std::size_t count) {
    Random random(1);
    std::vector<Pair> pairs;
    for (std::size_t i = 0; i < count; ++i) pairs.push_back(AssetPair(random, i % 6));
    return pairs;
}

}  // namespace delta::bench
