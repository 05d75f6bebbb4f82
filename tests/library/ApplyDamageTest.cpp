// Damaged patches and old archives: never a result that is not the maker's.
//
// VA_DAMAGE_ROUNDS in the environment sets how many of each are tried.
#include <cstring>

#include "archive/Crc32.h"
#include "archive/Reader.h"
#include "patch/Sha256.h"
#include "tests/support/Tests.h"
#include "vaconverter/patch.h"

namespace Vorn::Testing {
namespace {

using Content = std::map<std::string, std::string>;

Content ContentOf(const std::string& path) {
    const archive::Reader reader(path);
    Content content;
    for (std::size_t i = 0; i < reader.Count(); ++i) {
        const std::vector<std::byte> bytes = reader.Read(reader[i]);
        content.emplace(reader[i].name,
                        std::string(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
    }
    return content;
}

// Changes bytes of a file as disks and transfers do.
std::string Damaged(std::string bytes, std::minstd_rand& random) {
    const auto place = [&] { return random() % bytes.size(); };
    const auto length = [&](std::size_t at) {
        const std::size_t most = std::min<std::size_t>(bytes.size() - at, 1U << random() % 13);
        return random() % most + 1;
    };
    const std::size_t at = place();
    switch (random() % 6) {
        case 0:
            bytes.resize(at);
            break;
        case 1:
            bytes.replace(at, length(at), std::string(length(at), '\0'));
            break;
        case 2: {
            const std::size_t other = place();
            const std::size_t count = std::min(length(at), length(other));
            for (std::size_t i = 0; i < count; ++i) std::swap(bytes[at + i], bytes[other + i]);
            break;
        }
        case 3:
            bytes.erase(at, length(at));
            break;
        default:
            for (auto flips = random() % 3; flips < 3; ++flips)
                bytes[place()] ^= static_cast<char>(1U << random() % 8);
    }
    return bytes;
}

class ApplyingWhatIsDamaged : public testing::Test {
protected:
    void SetUp() override {
        std::string members;
        for (int i = 0; i < 12; ++i) {
            const std::string name = "d" + std::to_string(i % 3) + "/m" + std::to_string(i);
            const std::string content = i % 2 == 0 ? Prose(800 + i * 700) : Noise(300 + i * 400, i);
            if (i != 3) folder_.Write("old/" + name, content);
            if (i % 5 == 0) {
                folder_.Write("new/" + name, content.substr(0, 200) + "in" + content.substr(200));
            } else if (i != 4) {
                folder_.Write("new/" + name, content);
            }
        }
        folder_.Write("new/moved", Prose(800 + 4 * 700));
        for (const char* side : {"old", "new"}) {
            ASSERT_EQ(InFolder("cd " + std::string(side) + " && " VARCHIVE " -r -P -k -c a ../" +
                               side + ".va './*'"),
                      0);
        }
        new_ = ContentOf(folder_.Path("new.va"));
    }

    [[nodiscard]] int InFolder(const std::string& command) const {
        return Shell("cd " + folder_.Path() + " && { " + command + "; } >/dev/null 2>&1");
    }

    // Applies the two files; whether there was a result. It must be the new side.
    bool Apply(const std::string& old, const std::string& patch) {
        folder_.Write("o.va", old);
        folder_.Write("p.va", patch);
        const std::string result = folder_.Path("r.va");
        fs::remove(result);
        threads_ = threads_ % 3 + 1;
        try {
            const va::ApplyPatchResult applied = va::ApplyPatch({.old = folder_.Path("o.va"),
                                                                 .patch = folder_.Path("p.va"),
                                                                 .result = result,
                                                                 .trust = trusts_ && threads_ == 2,
                                                                 .threads = threads_});
            EXPECT_EQ(applied.result, result);
            EXPECT_EQ(ContentOf(result), new_);
            EXPECT_TRUE(!applied.archive || folder_.Read("r.va") == folder_.Read("new.va"));
            return true;
        } catch (const va::Error&) {
            EXPECT_FALSE(fs::exists(result));
            return false;
        }
    }

    [[nodiscard]] static int Rounds() {
        const char* rounds = std::getenv("VA_DAMAGE_ROUNDS");
        return rounds != nullptr ? std::atoi(rounds) : 300;
    }

    void DamageEach() {
        const int count = Rounds();
        const std::string old = folder_.Read("old.va");
        const std::string patch = folder_.Read("patch.va");
        ASSERT_TRUE(Apply(old, patch));
        int applied = 0;
        for (int seed = 1; seed <= count && !HasFailure(); ++seed) {
            SCOPED_TRACE(seed);
            std::minstd_rand random(seed);
            const std::string hurt = Damaged(patch, random);
            if (hurt != patch && Apply(old, hurt)) ++applied;
            const std::string hurtOld = Damaged(old, random);
            applied += Apply(hurtOld, patch) ? 1 : 0;
        }
        // A few change nothing that counts, such as a name's unused bytes.
        EXPECT_LT(applied, count / 10);
    }

    TempFolder folder_;
    Content new_;
    unsigned threads_ = 0;
    bool trusts_ = true;  // now and then; lists alone promise too little for that
};

TEST_F(ApplyingWhatIsDamaged, PatchesOfTheConverter) {
    ASSERT_EQ(InFolder(VACONVERTER " patchdiff old.va new.va out && mv out/*.va patch.va"), 0);
    trusts_ = false;
    DamageEach();
}

// The bytes of the result are promised: a wrong number in the old archive's header shows, too.
TEST_F(ApplyingWhatIsDamaged, PatchesThatPromiseAnArchive) {
    const va::Archive old(folder_.Path("old.va"));
    const va::Archive fresh(folder_.Path("new.va"));
    const auto made =
        va::MakePatch(old, fresh, {.result = folder_.Path("patch.va"), .note = "of the maker"});
    ASSERT_TRUE(made.newArchive);
    DamageEach();
}

TEST_F(ApplyingWhatIsDamaged, PatchesThatPromiseContents) {
    const va::Archive old(folder_.Path("old.va"));
    const va::Archive fresh(folder_.Path("new"));
    const auto made = va::MakePatch(old, fresh, {.result = folder_.Path("patch.va")});
    ASSERT_FALSE(made.newArchive);
    DamageEach();
}

TEST_F(ApplyingWhatIsDamaged, CompactPatches) {
    const va::Archive old(folder_.Path("old.va"));
    const va::Archive fresh(folder_.Path("new.va"));
    const auto made =
        va::MakePatch(old, fresh, {.result = folder_.Path("patch.va"), .compact = true});
    ASSERT_TRUE(made.newArchive);
    DamageEach();
}

// Sets the check sums of a compact patch's sections, as far as they can be followed, and its digest
// to those of its bytes, as the maker of a hostile patch would.
std::string Sealed(std::string bytes) {
    constexpr std::size_t kDigest = 32;
    if (bytes.size() < kDigest + 5) return bytes;
    const std::size_t end = bytes.size() - kDigest;
    const auto takeNumber = [&](std::size_t& at) {
        std::uint64_t number = 0;
        for (unsigned shift = 0; at < end && shift < 63; shift += 7) {
            const auto byte = static_cast<unsigned char>(bytes[at++]);
            number |= std::uint64_t{byte & 0x7FU} << shift;
            if (byte < 0x80) break;
        }
        return number;
    };
    for (std::size_t at = 5; at + 8 < end;) {
        at += 2;
        (void)takeNumber(at);
        const std::uint64_t size = takeNumber(at);
        if (at + 4 > end || size > end - at - 4) break;
        archive::Crc32 sum;
        sum.Update(std::as_bytes(std::span(bytes)).subspan(at + 4, size));
        for (unsigned i = 0; i < 4; ++i) bytes[at + i] = static_cast<char>(sum.Value() >> 8 * i);
        at += 4 + size;
    }
    const auto digest = patch::Sha256Of(std::string_view(bytes).substr(0, end));
    std::memcpy(bytes.data() + end, digest.data(), digest.size());
    return bytes;
}

TEST_F(ApplyingWhatIsDamaged, CompactPatchesWithSumsMadeToFit) {
    const va::Archive archive(folder_.Path("old.va"));
    const va::Archive fresh(folder_.Path("new.va"));
    (void)va::MakePatch(archive, fresh, {.result = folder_.Path("patch.va"), .compact = true});
    const std::string old = folder_.Read("old.va");
    const std::string patch = folder_.Read("patch.va");
    ASSERT_EQ(Sealed(patch), patch);
    int applied = 0;
    for (int seed = 1; seed <= Rounds() && !HasFailure(); ++seed) {
        SCOPED_TRACE(seed);
        std::minstd_rand random(seed);
        const std::string hurt = Sealed(Damaged(patch, random));
        if (hurt != patch && Apply(old, hurt)) ++applied;
    }
    // The shares are for people alone.
    EXPECT_LT(applied, Rounds() / 10);
}

}  // namespace
}  // namespace Vorn::Testing
