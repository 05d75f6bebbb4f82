// Damaged archives: every member whose bytes are whole comes back byte for byte, and no other bytes
// under its name.
//
// VA_DAMAGE_ROUNDS in the environment sets how many random damages are tried.
#include "vaconverter/repair.h"

#include "archive/Check.h"
#include "archive/Crc32.h"
#include "archive/PackedMember.h"
#include "archive/Reader.h"
#include "tests/support/RawArchive.h"
#include "vaconverter/error.h"

namespace Vorn::Testing {
namespace {

using Fate = va::RepairedMember::Fate;

std::span<const std::byte> BytesOf(std::string_view text) { return std::as_bytes(std::span(text)); }

RawMember Stored(const std::string& name, const std::string& content, bool compress = false,
                 const std::string& chunkId = "FIL ") {
    archive::PackedMember packed;
    archive::Pack(BytesOf(content), compress, packed);
    return {name,
            {reinterpret_cast<const char*>(packed.data.data()), packed.data.size()},
            packed.entry.size,
            chunkId,
            packed.entry.crc};
}

// A hand-made archive: compressed members are marked as such, and an index lists the live ones.
std::string ArchiveOf(const std::vector<RawMember>& members, bool withIndex = true) {
    constexpr std::size_t kAttributes = 8 + 284;
    std::string bytes = RawArchive({}, false);
    std::string records;
    std::size_t count = 0;
    for (const RawMember& member : members) {
        std::string chunk = RawChunk(member);
        if (member.data.starts_with("CFIL")) chunk[kAttributes] = '\x80';
        if (member.chunkId == "FIL ") {
            records += U32(bytes.size() + 296) + U32(member.data.size()) + chunk.substr(8, 288);
            ++count;
        }
        bytes += chunk;
    }
    if (!withIndex) return bytes;
    Put32(bytes, kCountAt, static_cast<std::uint32_t>(count));
    Put32(bytes, kIndexOffsetAt, static_cast<std::uint32_t>(bytes.size()));
    return bytes + "IDX " + U32(records.size()) + records;
}

class SavingWhatIsWhole : public InFolder {
protected:
    SavingWhatIsWhole() {
        const std::string inner = ArchiveOf(
            {Stored("m1", "not the m1 of the archive outside"), Stored("x", Noise(700, 99))});
        for (int i = 0; i < 12; ++i) {
            const std::string name = "d" + std::to_string(i % 3) + "/m" + std::to_string(i);
            contents_[name] = i % 2 == 0 ? Prose(800 + i * 700) : Noise(300 + i * 400, i);
        }
        contents_["m1"] = Noise(900, 77);
        contents_["inner.va"] = inner;
        contents_["no content"] = "";
        std::vector<RawMember> members;
        for (const auto& [name, content] : contents_) {
            members.push_back(Stored(name, content, name.ends_with('0') || name.ends_with('4')));
            chunks_[name] = "";
        }
        members.insert(members.begin() + 3, Stored("d0/m9", "an older d0/m9", false, "FIL!"));
        members.insert(members.begin() + 9, Stored("gone", Noise(400, 5), false, "FIL!"));
        good_ = ArchiveOf(members);
        index_ = Get32(good_, kIndexOffsetAt);
        std::size_t at = kFirstMember;
        for (const RawMember& member : members) {
            const std::size_t size = 296 + member.data.size();
            if (member.chunkId == "FIL ") {
                chunks_[member.name] = good_.substr(at, size);
                places_[member.name] = at;
            }
            at += size;
        }
    }

    struct Saved {
        va::RepairResult result;
        std::map<std::string, std::string> contents;
        std::map<std::string, std::string> lost;      // names, and why
        std::map<std::string, std::string> doubtful;  // names, and why
        bool any = true;
    };
    Saved Repair(const std::string& bytes, const std::string& from = {}) {
        folder.Write("bad.va", bytes);
        fs::remove("out.va");
        Saved saved;
        threads_ = threads_ % 3 + 1;
        const auto judged = [&](const va::RepairedMember& member) {
            if (member.fate == Fate::Lost) saved.lost[member.name] = member.what;
            if (member.fate == Fate::Doubtful) saved.doubtful[member.name] = member.what;
        };
        try {
            saved.result = va::Repair({.archive = "bad.va",
                                       .result = "out.va",
                                       .from = from,
                                       .threads = threads_,
                                       .judged = judged});
        } catch (const va::Error& error) {
            EXPECT_THAT(error.what(), HasSubstr("there is nothing to save"));
            EXPECT_FALSE(fs::exists("out.va"));
            saved.any = false;
            return saved;
        }
        const archive::Reader reader("out.va");
        const archive::Judgement judgement = archive::Check(reader);
        EXPECT_EQ(judgement.damages + judgement.oddities, 0u)
            << judgement.findings.front().member << " " << judgement.findings.front().text;
        for (std::size_t i = 0; i < reader.Count(); ++i) {
            const auto content = reader.Read(reader[i]);
            saved.contents[std::string(reader[i].name)] = {
                reinterpret_cast<const char*>(content.data()), content.size()};
        }
        EXPECT_EQ(saved.contents.size(),
                  saved.result.saved + saved.result.copied + saved.result.doubtful);
        return saved;
    }

    // Repairs and compares with what `whole` says of each member's bytes.
    void ExpectAllWholeSaved(const std::string& bytes,
                             const std::function<bool(const std::string& name)>& whole) {
        const Saved saved = Repair(bytes);
        for (const auto& [name, content] : contents_) {
            SCOPED_TRACE(name);
            const auto found = saved.contents.find(name);
            if (found != saved.contents.end() && !saved.doubtful.contains(name)) {
                EXPECT_TRUE(found->second == content) << "other bytes under its name";
            }
            const bool renamed =
                found == saved.contents.end() &&
                std::ranges::any_of(saved.contents, [&, &own = content](const auto& item) {
                    return item.second == own && !contents_.contains(item.first);
                });
            if (whole(name)) {
                EXPECT_TRUE(found != saved.contents.end() || renamed) << "not saved";
                ++wholes_;
            }
        }
        EXPECT_FALSE(saved.contents.contains("gone"));
        // Without its own index, the archive inside may be taken for a part of the one outside.
        if (saved.result.indexWhole || Has(bytes, "inner.va")) {
            EXPECT_FALSE(saved.contents.contains("x")) << "a member of the archive inside";
        }
    }
    void ExpectAllWholeSaved(const std::string& bytes) {
        ExpectAllWholeSaved(bytes, [&](const std::string& name) {
            // What follows a member that is an archive, and lost bytes, may pass for a part of it.
            const bool follows = places_.at(name) > places_.at("inner.va");
            if (follows && bytes.size() != good_.size() && !Has(bytes, "inner.va")) return false;
            return Has(bytes, name);
        });
    }
    [[nodiscard]] bool Has(const std::string& bytes, const std::string& name) const {
        return bytes.find(chunks_.at(name)) != std::string::npos;
    }
    [[nodiscard]] std::string With(std::size_t at, std::string_view bytes) const {
        return std::string(good_).replace(at, bytes.size(), bytes);
    }

    std::map<std::string, std::string> contents_;
    std::map<std::string, std::string> chunks_;
    std::map<std::string, std::size_t> places_;
    std::string good_;
    std::size_t index_ = 0;
    unsigned threads_ = 0;
    int wholes_ = 0;
};

TEST_F(SavingWhatIsWhole, AllOfAWholeArchive) {
    const Saved saved = Repair(good_);
    EXPECT_TRUE(saved.contents == contents_);
    EXPECT_TRUE(saved.result.AllSaved());
    EXPECT_TRUE(saved.result.headerFound && saved.result.indexWhole);
    EXPECT_EQ(saved.result.older + saved.result.unlisted + saved.result.unreadable, 0u);
}

TEST_F(SavingWhatIsWhole, WithoutHeaderIndexOrBoth) {
    const std::string noise = Noise(60000, 9);
    const std::string indexGone =
        With(index_, std::string_view(noise).substr(0, good_.size() - index_));
    const Table<const char*, std::string, bool, bool> rows = {
        {"header", With(0, std::string_view(noise).substr(0, 44)), false, false},
        {"marks of the header", With(0, "xxxx").replace(4, 4, "yyyy"), true, true},
        {"mark of the index", With(index_, "XXXX"), true, true},
        {"count in the header", With(kCountAt, U32(999999)), true, true},
        {"index", indexGone, true, false},
        {"index cut off", good_.substr(0, index_), true, false},
        {"first half of the index",
         With(index_, std::string_view(noise).substr(0, (good_.size() - index_) / 2)), true, false},
        {"header and index", std::string(indexGone).replace(0, 44, noise, 0, 44), false, false},
        {"first bytes gone", good_.substr(20), false, false},
        {"bytes before it", noise.substr(0, 5000) + good_, true, true},
        {"bytes within it", With(places_["d1/m1"], "").insert(places_["d1/m1"], noise, 0, 777),
         true, false}};
    for (const auto& [what, bytes, header, index] : rows) {
        SCOPED_TRACE(what);
        const Saved saved = Repair(bytes);
        EXPECT_TRUE(saved.contents == contents_);
        EXPECT_TRUE(saved.result.AllSaved());
        EXPECT_EQ(saved.result.headerFound, header);
        EXPECT_EQ(saved.result.indexWhole, index);
    }
}

TEST_F(SavingWhatIsWhole, EveryCutOffTail) {
    int cuts = 0;
    for (std::size_t length = 0; length < good_.size(); length += length % 1000 < 4 ? 1 : 331) {
        SCOPED_TRACE(length);
        ExpectAllWholeSaved(good_.substr(0, length));
        ++cuts;
        if (HasFailure()) return;
    }
    EXPECT_GT(cuts, 100);
    EXPECT_GT(wholes_, 500);
}

TEST_F(SavingWhatIsWhole, WhereARunWasOverwritten) {
    const std::string noise = Noise(9000, 3);
    int runs = 0;
    for (const std::string& fill : {std::string(9000, '\0'), noise}) {
        for (std::size_t at = 0; at < good_.size(); at += 457) {
            const std::size_t length = std::min<std::size_t>(100 + at % 8000, good_.size() - at);
            SCOPED_TRACE(std::to_string(at) + " " + std::to_string(length));
            ExpectAllWholeSaved(With(at, fill.substr(0, length)));
            ++runs;
            if (HasFailure()) return;
        }
    }
    EXPECT_GT(runs, 150);
}

TEST_F(SavingWhatIsWhole, LostMembersAreNamedWithTheReason) {
    const auto hurt = [this](const std::string& name, std::size_t at) {
        return With(places_[name] + at, "\x01\x02\x03");
    };
    const Saved plain = Repair(hurt("d1/m1", 400));
    EXPECT_THAT(plain.lost,
                ElementsAre(std::pair("d1/m1", "its content disagrees with its check sum")));
    EXPECT_EQ(plain.result.unnamed, 0u);
    const Saved stream = Repair(hurt("d1/m10", 296 + 13));
    ASSERT_EQ(stream.lost.size(), 1u);
    EXPECT_THAT(stream.lost.at("d1/m10"), HasSubstr("block of its compressed stream"));
    const Saved cut = Repair(good_.substr(0, places_["no content"] - 10));
    EXPECT_EQ(cut.lost.size(), 1u);
    EXPECT_EQ(cut.result.unnamed, 1u) << "the header promises one more";
    const Saved none = Repair(Noise(5000));
    EXPECT_FALSE(none.any);
    EXPECT_FALSE(Repair("").any);
}

TEST_F(SavingWhatIsWhole, TakesTheLostFromAGoodCopy) {
    folder.Write("good.va", good_);
    std::string bytes = With(places_["d1/m1"] + 400, "\x01\x02\x03");
    bytes.replace(places_["d1/m10"] + 330, 3, "xyz");
    for (const auto& [name, content] : contents_) folder.Write("good/" + name, content);
    folder.Write("good/d1/m10", "another version");
    const Saved saved = Repair(bytes, "good.va");
    EXPECT_TRUE(saved.contents == contents_);
    EXPECT_TRUE(saved.result.AllSaved());
    EXPECT_EQ(saved.result.copied, 2u);
    const Saved half = Repair(bytes, "good");
    EXPECT_EQ(half.result.copied, 1u);
    EXPECT_THAT(half.lost.at("d1/m10"), HasSubstr("; the good copy has another version of it"));
    folder.Write("good.va", bytes);
    EXPECT_THAT(Repair(bytes, "good.va").lost["d1/m1"],
                HasSubstr("; the good copy of it is damaged as well"));
}

TEST_F(SavingWhatIsWhole, JoinedArchives) {
    const std::string other =
        ArchiveOf({Stored("d1/m1", "of the second archive"), Stored("new", Prose(5000), true),
                   Stored("old", "deleted", false, "FIL!")});
    auto expected = contents_;
    expected["d1/m1"] = "of the second archive";
    expected["new"] = Prose(5000);
    for (const bool secondHasIndex : {true, false}) {
        const std::string joined =
            good_ + other.substr(0, secondHasIndex ? other.size() : Get32(other, kIndexOffsetAt));
        const Saved saved = Repair(joined);
        EXPECT_TRUE(saved.contents == expected);
        EXPECT_EQ(saved.result.older, 1u);
        EXPECT_TRUE(saved.result.AllSaved());
    }
    EXPECT_TRUE(Repair(good_.substr(0, index_) + other).contents == expected);
}

TEST_F(SavingWhatIsWhole, OfSeveralVersionsTheLastWithoutAnIndex) {
    const std::vector<RawMember> members = {Stored("a", "first"), Stored("A", "second"),
                                            Stored("a", "third", false, "FIL!")};
    EXPECT_THAT(Repair(ArchiveOf(members, false)).contents, ElementsAre(std::pair("A", "second")));
    // Readers find the first of those that an index lists.
    EXPECT_THAT(Repair(ArchiveOf(members)).contents, ElementsAre(std::pair("a", "first")));
    // A whole index leaves out what was deleted, whatever the mark of its chunk.
    std::string bytes = ArchiveOf(members);
    bytes.at(bytes.rfind("FIL!") + 3) = ' ';
    EXPECT_EQ(Repair(bytes).result.unlisted, 1u);
    // The last one is damaged.
    bytes = ArchiveOf(members, false);
    bytes.at(bytes.find("second")) = 'S';
    const Saved saved = Repair(bytes);
    EXPECT_THAT(saved.contents, ElementsAre(std::pair("a", "first")));
    EXPECT_EQ(saved.doubtful.size() + saved.lost.size(), 2u);
}

TEST_F(SavingWhatIsWhole, NamesThatNotEveryReaderFinds) {
    const Saved saved = Repair(
        ArchiveOf({Stored("a\\b", "1"), Stored("..\\c", "2"), Stored("x\ny", "3"),
                   Stored("x_y", "4"), Stored("//", "5"), Stored(std::string(259, ':'), "6")}));
    EXPECT_EQ(saved.contents.at("a/b"), "1");
    EXPECT_EQ(saved.contents.at("__/c"), "2");
    EXPECT_EQ(saved.contents.at("x_y-2"), "3");
    EXPECT_EQ(saved.contents.at("x_y"), "4");
    EXPECT_EQ(saved.contents.size(), 6u);
    EXPECT_EQ(saved.result.doubtful, 5u);
}

TEST_F(SavingWhatIsWhole, MembersWithoutACheckSum) {
    std::vector<RawMember> members = {Stored("a", "first"), Stored("b", "second")};
    members[0].crc = members[1].crc = 0;
    for (const bool withIndex : {true, false}) {
        const Saved saved = Repair(ArchiveOf(members, withIndex));
        EXPECT_EQ(saved.contents.size(), 2u) << "no member of this writer has one";
        EXPECT_EQ(saved.result.doubtful, 2u);
    }
    members.push_back(Stored("c", "third"));
    EXPECT_EQ(Repair(ArchiveOf(members)).contents.size(), 3u) << "index and chunk agree on it";
    const Saved saved = Repair(ArchiveOf(members, false));
    EXPECT_THAT(saved.contents, ElementsAre(std::pair("c", "third")));
    EXPECT_EQ(saved.lost.size(), 2u);
}

// The check sum is lost with the content, and nothing but the index tells that there was one.
TEST_F(SavingWhatIsWhole, ZerosOverCheckSumAndContentAreNoMember) {
    const std::size_t sum = places_["d1/m1"] + 8 + 268;
    const Saved saved = Repair(With(sum, std::string(500, '\0')));
    EXPECT_EQ(saved.lost.count("d1/m1"), 1u);
    EXPECT_EQ(saved.contents.size(), contents_.size() - 1);
}

TEST_F(SavingWhatIsWhole, StreamsOfTheEarlierFormat) {
    RawMember member = Stored("old.txt", Prose(40000), true);
    member.data.erase(4, 8);
    std::string bytes = ArchiveOf({member, Stored("plain", "content")});
    Put32(bytes, kVersionAt, 0x101);
    for (const std::string& damaged : {bytes, bytes.substr(44)}) {
        const Saved saved = Repair(damaged);
        EXPECT_EQ(saved.contents.at("old.txt"), Prose(40000));
        EXPECT_EQ(saved.contents.size(), 2u);
    }
}

TEST_F(SavingWhatIsWhole, AfterRandomDamage) {
    const char* rounds = std::getenv("VA_DAMAGE_ROUNDS");
    const int count = rounds != nullptr ? std::atoi(rounds) : 300;
    int damaged = 0;
    for (int seed = 1; seed <= count; ++seed) {
        SCOPED_TRACE(seed);
        std::minstd_rand random(seed);
        std::string bytes = good_;
        for (auto hits = random() % 3; hits < 3 && !bytes.empty(); ++hits) {
            const std::size_t at = random() % bytes.size();
            const std::size_t most = std::min<std::size_t>(bytes.size() - at, 1U << random() % 14);
            const std::size_t length = random() % most + 1;
            switch (random() % 6) {
                case 0:
                    bytes.resize(at + (bytes.size() - at) / 2);
                    break;
                case 1:
                    bytes.replace(at, length, std::string(length, '\0'));
                    break;
                case 2:
                    bytes.erase(at, length);
                    break;
                case 3:
                    bytes.insert(at, Noise(length, seed));
                    break;
                case 4:
                    bytes.replace(at, length, Noise(length, seed));
                    break;
                default:
                    bytes[at] ^= static_cast<char>(1U << random() % 8);
            }
        }
        damaged += bytes != good_ ? 1 : 0;
        ExpectAllWholeSaved(bytes);
        if (HasFailure()) return;
    }
    EXPECT_GT(damaged, count * 9 / 10);
    EXPECT_GT(wholes_, count * 5);
}

}  // namespace
}  // namespace Vorn::Testing
