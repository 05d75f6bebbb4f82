#include "patch/Manifest.h"

#include <random>

#include "archive/Names.h"
#include "tests/support/Tests.h"

namespace Vorn::Testing {
namespace {

using patch::Manifest;
using patch::ManifestError;

using Random = std::mt19937;

std::uint32_t Below(Random& random, std::uint32_t end) {
    return std::uniform_int_distribution<std::uint32_t>(0, end - 1)(random);
}

patch::Sha256Digest AnyDigest(Random& random) { return patch::Sha256Of(std::to_string(random())); }

// Names that no two calls share: with blanks, and with bytes that are not ASCII.
std::string AnyName(Random& random, int number) {
    constexpr std::string_view kLetters = "aZ \xE4\x80\x81-/'\"#%\xFF";
    std::string name = std::to_string(number);
    for (std::uint32_t i = Below(random, 12); i > 0; --i)
        name += kLetters[Below(random, kLetters.size())];
    return archive::NameProblem(name) == nullptr ? name : std::to_string(number);
}

template <typename Entries>
void Sort(Entries& entries) {
    std::ranges::sort(entries, [](const auto& a, const auto& b) {
        return archive::CompareNames(a.name, b.name) < 0;
    });
}

Manifest AnyManifest(Random& random) {
    Manifest manifest;
    int names = 0;
    const auto count = [&] { return Below(random, 4); };
    for (auto i = count(); i > 0; --i)
        manifest.added.push_back({AnyName(random, ++names), 1 + random(), AnyDigest(random)});
    for (auto i = count(); i > 0; --i)
        manifest.changed.push_back(
            {AnyName(random, ++names), random(), AnyDigest(random), random(), AnyDigest(random)});
    for (auto i = count(); i > 0; --i)
        manifest.removed.push_back({AnyName(random, ++names), random(), AnyDigest(random)});
    for (auto i = count(); i > 0; --i)
        manifest.moved.push_back({AnyName(random, ++names), "old\tname\r" + AnyName(random, names),
                                  1 + random(), AnyDigest(random)});
    for (auto i = count(); i > 0; --i) manifest.empty.push_back(AnyName(random, ++names));
    Sort(manifest.added);
    Sort(manifest.changed);
    Sort(manifest.removed);
    Sort(manifest.moved);
    std::ranges::sort(manifest.empty,
                      [](const auto& a, const auto& b) { return archive::CompareNames(a, b) < 0; });

    const std::uint64_t unchanged = Below(random, 50);
    manifest.old = {unchanged + manifest.changed.size() + manifest.removed.size(), random(),
                    AnyDigest(random)};
    manifest.fresh = {unchanged + manifest.changed.size() + manifest.added.size() +
                          manifest.moved.size() + manifest.empty.size(),
                      random(), AnyDigest(random)};
    if (Below(random, 2) == 0) manifest.archive = {random(), AnyDigest(random)};
    if (Below(random, 2) == 0)
        manifest.versions = {static_cast<std::uint32_t>(random()),
                             static_cast<std::uint32_t>(random())};
    if (Below(random, 2) == 0) manifest.name = "Town \xC3\xA4.va";
    if (Below(random, 2) == 0) manifest.note = "\n first\n\tsecond \xE2\x82\xAC\n";
    manifest.order.base = static_cast<patch::Order::Base>(Below(random, 3));
    const auto members = static_cast<std::uint32_t>(manifest.fresh.members);
    if (members > 3) {
        const std::uint32_t cut = 1 + Below(random, members - 1);
        if (Below(random, 2) == 0) manifest.order.runs = {{cut, members - 1}, {0, cut - 1}};
        if (Below(random, 2) == 0) manifest.storage.exceptions = {{0, cut / 2}};
        if (Below(random, 2) == 0)
            manifest.storage.exceptions.push_back({members - 1, members - 1});
        if (cut / 2 + 1 == members - 1) manifest.storage.exceptions.clear();
    }
    manifest.storage.base = static_cast<patch::Storage::Base>(Below(random, 5));
    for (int i = 0; i < 10; ++i) manifest.spots.Add(std::to_string(i), AnyDigest(random));
    return manifest;
}

TEST(Manifest, WhatIsWrittenIsReadBack) {
    for (unsigned seed = 0; seed < 300; ++seed) {
        Random random(seed);
        const Manifest manifest = AnyManifest(random);
        const std::string text = patch::FormatManifest(manifest);
        ASSERT_EQ(patch::ParseManifest(text), manifest) << text;
        ASSERT_EQ(patch::FormatManifest(patch::ParseManifest(text)), text);
    }
}

TEST(Manifest, DamageAtAnyByteIsReportedAsDamage) {
    Random random(7);
    const std::string text = patch::FormatManifest(AnyManifest(random));
    const auto isDamaged = [](std::string_view damaged) {
        try {
            (void)patch::ParseManifest(damaged);
        } catch (const ManifestError& error) {
            return std::string_view(error.what()).ends_with("damaged");
        }
        return false;
    };
    for (std::size_t i = 0; i < text.size(); ++i) {
        std::string damaged = text;
        for (const char change : {'\x01', '\x20', '\x80'}) {
            damaged[i] = static_cast<char>(text[i] ^ change);
            ASSERT_TRUE(isDamaged(damaged)) << i;
        }
        ASSERT_TRUE(isDamaged(text.substr(0, i))) << i;
        ASSERT_TRUE(isDamaged(text.substr(i + 1))) << i;
    }
}

}  // namespace
}  // namespace Vorn::Testing
