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

// The example of the page.
std::string Example() {
    const std::string page = TempFolder().Read(VORN_SOURCE_DIR "/docs/formats/manifest.md");
    const std::string_view kFence = "```text\n";
    const std::size_t begin = page.find(kFence) + kFence.size();
    return page.substr(begin, page.find("```", begin) - begin);
}

TEST(Manifest, TheExampleOfThePageIsWhatItSays) {
    const auto content = [](std::string_view name, std::string_view text) {
        return Manifest::Content{std::string(name), text.size(), patch::Sha256Of(text)};
    };
    const auto sum = [](std::string_view name, std::string_view text) {
        return patch::Sum{std::string(name), patch::Sha256Of(text)};
    };
    Manifest manifest;
    manifest.old = {
        3, 11,
        patch::DigestOfSide({sum("f.txt", "gone"), sum("b.txt", "old"), sum("a.txt", "same")})};
    manifest.fresh = {
        3, 11,
        patch::DigestOfSide({sum("c d.txt", "more"), sum("b.txt", "new"), sum("a.txt", "same")})};
    manifest.name = "Town-1.1.va";
    manifest.note = "One sign was repainted.";
    manifest.spots.Add("a.txt", patch::Sha256Of("same"));
    manifest.added = {content("c d.txt", "more")};
    manifest.changed = {{"b.txt", 3, patch::Sha256Of("old"), 3, patch::Sha256Of("new")}};
    manifest.removed = {content("f.txt", "gone")};
    EXPECT_EQ(patch::FormatManifest(manifest), Example());
    EXPECT_EQ(patch::ParseManifest(Example()), manifest);
}

// The example, with `from` replaced and the digest at its end put right.
std::string Edited(std::string_view from, const std::string& to) {
    std::string text = Example();
    text.erase(text.rfind("end "));
    text.replace(text.find(from), from.size(), to);
    return text + "end " + patch::ToHex(patch::Sha256Of(text)) + "\n";
}

TEST(Manifest, WhatItMustNotSayIsRefusedWithTheLine) {
    const std::string digest = " " + std::string(64, '0') + " ";
    const auto added = [&](const std::string& name) { return "A 4" + digest + name + "\nC 3"; };
    const Table<std::string, std::string, std::string> rows = {
        {"va-manifest 1", "va-manifest 2", "line 1: version '2'"},
        {"va-manifest 1", "manifest", "line 1: this is not"},
        {"old 3", "old  3", "line 2: a number"},
        {"old 3", "old 03", "line 2: a number"},
        {"old 3", "old 4294967296", "line 2: a number"},
        {"11 bytes", "-1 bytes", "line 2: a number"},
        {"11 bytes sha256 ", "11 bytes sha256 0", "line 2: a digest"},
        {"name Town-1.1.va", "name ../Town.va", "line 4: it is not a plain file name"},
        {"name Town-1.1.va", "name ..", "line 4: it is not a plain file name"},
        {"name Town-1.1.va", "name C:Town.va", "line 4: it is not a plain file name"},
        {"note One", "note \x1b[31mOne", "line 5: the note is not plain"},
        {"note One", "note \xFF", "line 5: the note is not plain"},
        {"note One", "note \xED\xA0\x80", "line 5: the note is not plain"},
        {"note One sign", "note " + std::string(70000, 'x'), "line 5: the note is too long"},
        {"order canonical", "order random", "line 6: it says none"},
        {"order canonical", "order old 0-1", "line 6: the order does not"},
        {"order canonical", "order old 1-2", "line 6: the order does not"},
        {"order canonical", "order old 1-2,0-1", "line 6: the order does not"},
        {"order canonical", "order old 0-2", "line 6: the order is the base"},
        {"order canonical", "order old 2,1,0,", "line 6: a number is missing"},
        {"order canonical", "order old 2-4294967295", "line 6: a number is not"},
        {"stored canonical", "stored plain 1,0", "line 7: the numbers are not"},
        {"stored canonical", "stored plain 0,1", "line 7: two ranges"},
        {"stored canonical", "stored plain 3", "line 7: a number is not"},
        {"spots A", "spots ", "line 8: the spots do not"},
        {"spots A", "spots *", "line 8: the spots are not"},
        {"C 3", added("../x"), "line 10: the member name '../x' has a '..'"},
        {"C 3", added("x\\..\\y"), "has a '..'"},
        {"C 3", added("/etc/passwd"), "has an empty component"},
        {"C 3", added("d/\xE2\x98\x83"), "line 10: a member name is not UTF-8"},
        {"C 3", added("d/\xE4"), "line 10: a member name is not UTF-8"},
        {"C 3", added("d/" + std::string(258, 'x')), "line 10: a member name is empty"},
        {"C 3", added("d/\r"), "line 10: the member name 'd/\r' has a control byte"},
        {"C 3", added(".VA/manifest"), "is reserved"},
        {"C 3", added("addedfiles.txt"), "is reserved"},
        {"C 3", added("C D.txt"), "line 10: the members are not sorted, or"},
        {"C 3", added("b.txt"), "line 10: the members are not sorted, or"},
        {"C 3", added("d\nd"), "line 11: this is not a line"},
        {"A 4", "A 0", "line 9: a member without content"},
        {"A 4", "A 4 4", "line 9: a digest"},
        {"c d.txt", "B.txt", "'B.txt' is listed twice"},
        {"c d.txt", "f.txt", "'f.txt' is removed and added"},
        {"D 4", "E x\nD 4", "line 12: this is not a line"},
        {"f.txt\n", "f.txt\nE x\n", "line 13: the members that change do not fit"},
        {"f.txt\n", "f.txt\nM 1" + digest + "x\n", "line 12: the old name is missing"},
        {"f.txt\n", "f.txt\n\n", "line 12: this is not a line"},
        {"f.txt\n", "f.txt", "it has no end"},
    };
    for (const auto& [from, to, message] : rows) {
        try {
            (void)patch::ParseManifest(Edited(from, to));
            ADD_FAILURE() << to;
        } catch (const ManifestError& error) {
            EXPECT_THAT(error.what(), HasSubstr(message)) << to;
        }
    }
    // The same with a name that is good.
    EXPECT_EQ(patch::ParseManifest(Edited("c d.txt", "F.txt")).added.front().name, "F.txt");
}

TEST(Manifest, WhatCouldNotBeReadIsNotWritten) {
    Manifest manifest = patch::ParseManifest(Example());
    manifest.name = "a/b";
    EXPECT_THROW((void)patch::FormatManifest(manifest), ManifestError);
    manifest.name.clear();
    manifest.added.front().name = "two\nlines";
    EXPECT_THROW((void)patch::FormatManifest(manifest), ManifestError);
}

}  // namespace
}  // namespace Vorn::Testing
