#include "archive/Check.h"

#include <thread>

#include "archive/Crc32.h"
#include "archive/Error.h"
#include "archive/Stream.h"
#include "tests/support/RawArchive.h"

namespace Vorn::Testing {
namespace {

using archive::Check;
using archive::Fault;
using archive::Judgement;
using archive::Reader;

std::uint32_t SumOf(std::string_view content) {
    archive::Crc32 sum;
    sum.Update(std::as_bytes(std::span(content)));
    return sum.Value();
}

RawMember Plain(const std::string& name, const std::string& content) {
    return {name, content, static_cast<std::uint32_t>(content.size()), "FIL ", SumOf(content)};
}

RawMember Packed(const std::string& name, const std::string& content) {
    const auto size = static_cast<std::uint32_t>(content.size());
    std::string stream;
    const auto append = [&stream](std::span<const std::byte> bytes) {
        stream.append(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    };
    append(archive::EncodeStreamHeader(size));
    for (std::size_t at = 0; at < content.size(); at += archive::kBlockSize) {
        archive::BlockBuffer block;
        const std::string_view piece = std::string_view(content).substr(at, archive::kBlockSize);
        append(archive::EncodeBlock(block, std::as_bytes(std::span(piece))));
    }
    return {name, stream, size, "FIL ", SumOf(content)};
}

class ArchiveCheck : public InFolder {
protected:
    Judgement Judge(std::string_view bytes, const archive::CheckOptions& options = {}) {
        return Check(Reader(folder.Write("a.va", bytes)), options);
    }

    const std::string good_ = RawArchive(
        {Plain("a", "hello"), Packed("dir/b", Prose(500)), Plain("c", ""), Packed("d", "")});
    const std::size_t index_ = Get32(good_, kIndexOffsetAt);
};

TEST_F(ArchiveCheck, AWholeArchiveHasNoFindings) {
    for (const std::string& bytes :
         {good_, ExampleOf("archive.md"), RawArchive({}), RawArchive({}, false),
          RawArchive({Plain("a", "1"), {"x", "gone", 4, "FIL!"}, Plain("b", "2")}, false),
          good_ + std::string(296, 'o')}) {  // the rest of a longer index
        const Judgement judgement = Judge(bytes);
        EXPECT_TRUE(judgement.findings.empty()) << judgement.findings.front().text;
        EXPECT_EQ(judgement.damages + judgement.oddities, 0u);
    }
    const Judgement judgement = Judge(good_ + "dead");
    EXPECT_EQ(std::tuple(judgement.members, judgement.contentBytes, judgement.deadBytes),
              std::tuple(4u, 505u, 4u));
    EXPECT_EQ(judgement.storedBytes, index_ - 44 - 4 * 296);
}

TEST_F(ArchiveCheck, NamesTheFaultThePlaceAndTheMember) {
    const auto with = [this](std::size_t at, std::string_view bytes) {
        return std::string(good_).replace(at, bytes.size(), bytes);
    };
    const std::string first = good_.substr(0, 44 + 296 + 5);
    const std::size_t second = first.size();
    const std::string unsummed =
        with(44 + 8 + 268, U32(0)).replace(index_ + 8 + 8 + 268, 4, U32(0));
    const Table<const char*, std::string, Fault, std::size_t, std::string> rows = {
        {"index after the end", good_.substr(0, index_), Fault::IndexMissing, index_, ""},
        {"no index there", with(index_, "IDY"), Fault::IndexMissing, index_, ""},
        {"index cut", good_.substr(0, good_.size() - 1), Fault::IndexDamaged, index_, ""},
        {"index length", with(index_ + 4, U32(7)), Fault::IndexDamaged, index_, ""},
        {"fewer records than the length says", with(kCountAt, U32(3)), Fault::IndexDamaged, index_,
         ""},
        {"place in the record", with(index_ + 8, U32(341)), Fault::Overlap, 45, "a"},
        {"place before the file", with(index_ + 8, U32(2)), Fault::OutsideFile, 0, "a"},
        {"place after the file", with(index_ + 8, U32(999999)), Fault::OutsideFile, 999703, "a"},
        {"place in the index", with(index_ + 8, U32(index_ + 300)), Fault::Overlap, index_ + 4,
         "a"},
        {"another member's place", with(index_ + 8, U32(second + 296)), Fault::Overlap, second,
         "a"},
        {"size in the record", with(index_ + 12, U32(4)), Fault::EntryDiffers, 44, "a"},
        {"name in the record", with(index_ + 16, "x"), Fault::EntryDiffers, 44, "x"},
        {"after the name", with(44 + 8 + 200, "x"), Fault::EntryDiffers, 44, "a"},
        {"marked deleted", with(44, "FIL!"), Fault::EntryDiffers, 44, "a"},
        {"plain content", with(340, "j"), Fault::SumDiffers, 340, "a"},
        {"packed content", with(second + 296 + 14, "\x01"), Fault::ContentDamaged,
         second + 296 + 12, "dir/b"},
        {"content without a sum, sizes that differ",
         std::string(unsummed)
             .replace(44 + 8 + 260, 4, U32(4))
             .replace(index_ + 16 + 260, 4, U32(4)),
         Fault::ContentDamaged, 340, "a"}};
    for (const auto& [what, bytes, fault, offset, member] : rows) {
        SCOPED_TRACE(what);
        const Judgement judgement = Judge(bytes);
        EXPECT_FALSE(judgement.Whole());
        const auto found = std::ranges::find(judgement.findings, fault, &archive::Finding::fault);
        ASSERT_NE(found, judgement.findings.end());
        EXPECT_EQ(found->offset, offset);
        EXPECT_EQ(found->member, member);
        EXPECT_FALSE(found->text.empty());
    }
    EXPECT_TRUE(Judge(std::string(unsummed).replace(340, 1, "j")).Whole()) << "a sum of 0 is none";
}

// The archive of members "a", one of 20 bytes that the index does not list, and "c".
std::string WithUnlisted(const std::string& chunkId) {
    std::string bytes =
        RawArchive({Plain("a", "1"), {"x", std::string(20, 'x'), 20, chunkId}, Plain("c", "3")});
    const std::size_t index = Get32(bytes, kIndexOffsetAt);
    Put32(bytes, kCountAt, 2);
    Put32(bytes, index + 4, 2 * 296);
    return bytes.erase(index + 8 + 296, 296);
}

TEST_F(ArchiveCheck, OdditiesAreNoDamage) {
    constexpr std::size_t kUnlisted = 44 + 296 + 1;
    const auto with = [](std::size_t at, std::string_view bytes) {
        return WithUnlisted("FIL!").replace(at, bytes.size(), bytes);
    };
    const std::string begun = "FIL!" + U32(5000) + "cut";
    const Table<const char*, std::string, Fault> rows = {
        {"not in the index", WithUnlisted("FIL "), Fault::Hidden},
        {"too long a chunk", with(kUnlisted + 4, U32(5000)), Fault::StrayBytes},
        {"no room for a chunk", with(kUnlisted + 4, U32(305)), Fault::StrayBytes},
        {"two of a name", RawArchive({Plain("a", "1"), Plain("A", "2")}), Fault::DoubleName},
        {"a name that leaves the folder", RawArchive({Plain("../a", "1")}), Fault::OddName},
        {"begun", RawArchive({Plain("a", "1")}, false) + begun, Fault::Unfinished}};
    for (const auto& [what, bytes, fault] : rows) {
        SCOPED_TRACE(what);
        const Judgement judgement = Judge(bytes);
        EXPECT_TRUE(judgement.Whole());
        ASSERT_EQ(judgement.findings.size(), 1u);
        EXPECT_EQ(judgement.findings[0].fault, fault);
    }
    EXPECT_TRUE(Judge(WithUnlisted("FIL!")).findings.empty());
}

// Names and contents of all members.
std::map<std::string, std::string> Everything(const Reader& reader) {
    std::map<std::string, std::string> all;
    for (std::size_t i = 0; i < reader.Count(); ++i) {
        const auto content = reader.Read(reader[i]);
        all[std::string(reader[i].name)].assign(reinterpret_cast<const char*>(content.data()),
                                                content.size());
    }
    return all;
}

TEST_F(ArchiveCheck, NoChangedByteOfAnArchiveChangesWhatIsReadUnseen) {
    const auto expected = Everything(Reader(folder.Write("a.va", good_)));
    ASSERT_EQ(expected.size(), 4u);
    platform::FileHandle changed;
    ASSERT_TRUE(changed.Open(folder.Write("b.va", good_).c_str(), platform::Access::ReadWrite,
                             platform::Creation::OpenExisting, platform::Share::DenyNone));
    const std::string path = folder.Path("b.va");
    std::size_t seen = 0;
    for (std::size_t at = 0; at < good_.size(); ++at) {
        for (const char flip : {'\x01', '\x20', '\x80', '\0'}) {
            const char byte = static_cast<char>(good_[at] ^ flip);
            ASSERT_EQ(changed.WriteAt(at, std::as_bytes(std::span(&byte, 1))), 1u);
            try {
                const Reader reader(path);
                if (Check(reader).findings.empty()) {
                    EXPECT_EQ(Everything(reader), expected) << at << " ^ " << int{flip};
                    continue;
                }
            } catch (const archive::Error& error) {
                EXPECT_EQ(error.Code(), archive::ErrorCode::NotAnArchive);
            }
            ++seen;
        }
    }
    // Not seen: letter case of marks, and numbers that only a program knows.
    EXPECT_GT(seen, good_.size() * 3 - 120);
    EXPECT_LE(seen, good_.size() * 3);
}

TEST_F(ArchiveCheck, EveryCutIsSeen) {
    const std::string path = folder.Write("a.va", good_);
    for (std::size_t size = good_.size(); size-- > 44;) {
        fs::resize_file(path, size);
        EXPECT_FALSE(Check(Reader(path)).Whole()) << size;
    }
}

TEST_F(ArchiveCheck, WorkersDoNotChangeTheResult) {
    std::vector<RawMember> members;
    for (unsigned i = 0; i < 400; ++i) {
        members.push_back(Plain("m" + std::to_string(i), Noise(20000, i)));
        if (i % 3 == 0) members.back().crc ^= 1;
        if (i % 5 == 0) members.back().name = "twice";
    }
    const std::string bytes = RawArchive(members);
    const auto key = [](const Judgement& judgement) {
        std::vector<std::tuple<Fault, std::uint64_t, std::string>> all;
        for (const auto& finding : judgement.findings) {
            all.emplace_back(finding.fault, finding.offset, finding.member);
        }
        return all;
    };
    const Judgement one = Judge(bytes);
    EXPECT_EQ(one.findings.size(), 100u);
    EXPECT_EQ(std::pair(one.damages, one.oddities), std::pair(134ul, 79ul));
    for (const unsigned workers : {2u, 3u, 8u}) {
        const Judgement more = Judge(bytes, {.workers = workers});
        EXPECT_EQ(key(more), key(one));
        EXPECT_EQ(std::pair(more.damages, more.oddities), std::pair(one.damages, one.oddities));
    }
}

TEST_F(ArchiveCheck, ReportsAllBytesToTheCallingThreadOften) {
    const std::string large(6000000, 'x');
    const std::string bytes = RawArchive({Plain("large", Noise(9000000)), Packed("packed", large),
                                          Plain("noise", Noise(9000000)), Plain("last", "x")});
    for (const unsigned workers : {1u, 2u, 4u}) {
        const auto caller = std::this_thread::get_id();
        std::vector<std::uint64_t> calls;
        const Judgement judgement =
            Judge(bytes, {.workers = workers, .progress = [&](auto done, auto total) {
                              EXPECT_EQ(std::this_thread::get_id(), caller);
                              EXPECT_EQ(total, bytes.size());
                              calls.push_back(done);
                              return true;
                          }});
        EXPECT_TRUE(judgement.Whole());
        EXPECT_TRUE(std::ranges::is_sorted(calls));
        EXPECT_EQ(calls.back(), bytes.size());
        if (workers == 1) {
            EXPECT_GE(calls.size(), 24000000u / 2400000);
        }
    }
}

TEST_F(ArchiveCheck, IsCancelledByItsProgress) {
    const std::string bytes =
        RawArchive({Plain("large", Noise(9000000)), Plain("b", Noise(9000000))});
    for (const unsigned workers : {1u, 2u}) {
        int calls = 0;
        const auto cancel = [&](std::uint64_t, std::uint64_t) { return ++calls < 1; };
        const Judgement judgement = Judge(bytes, {.workers = workers, .progress = cancel});
        EXPECT_EQ(calls, 1);
        EXPECT_TRUE(judgement.cancelled);
        EXPECT_FALSE(judgement.Whole());
        const auto fail = [](std::uint64_t, std::uint64_t) -> bool {
            throw std::runtime_error("no");
        };
        EXPECT_THROW(Judge(bytes, {.workers = workers, .progress = fail}), std::runtime_error);
    }
}

// Each claims the same four gigabytes.
TEST_F(ArchiveCheck, MembersThatOverlapAreNotReadAgainAndAgain) {
    std::string bytes = RawArchive(std::vector<RawMember>(3000, RawMember{"x", ""}));
    const std::size_t index = Get32(bytes, kIndexOffsetAt);
    for (std::size_t i = 0; i < 3000; ++i) {
        Put32(bytes, index + 8 + i * 296, 340);
        Put32(bytes, index + 12 + i * 296, 0xF0000000);
    }
    const std::string path = folder.Write("a.va", bytes);
    fs::resize_file(path, 0xF0100000);
    const Judgement judgement = Check(Reader(path));
    EXPECT_GE(judgement.damages, 3000u);
    EXPECT_EQ(judgement.findings.size(), 100u);
}

}  // namespace
}  // namespace Vorn::Testing
