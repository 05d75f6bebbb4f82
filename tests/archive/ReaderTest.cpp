#include "archive/Reader.h"

#include <fstream>
#include <variant>

#include "archive/Contents.h"
#include "archive/Crc32.h"
#include "archive/Error.h"
#include "archive/Names.h"
#include "tests/support/RawArchive.h"

namespace Vorn::Testing {
namespace {

using archive::ErrorCode;
using archive::IndexState;
using archive::Member;
using archive::Reader;

class ArchiveReader : public InFolder {
protected:
    std::string Write(std::string_view bytes) { return folder.Write("a.va", bytes); }
};

std::string TextOf(std::span<const std::byte> bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

std::vector<std::string> NamesIn(const Reader& reader) {
    std::vector<std::string> names;
    for (std::size_t i = 0; i < reader.Count(); ++i) names.emplace_back(reader[i].name);
    return names;
}

// The content of a member, or the kind of the error.
std::variant<std::string, ErrorCode> ContentOf(const Reader& reader, std::string_view name) {
    try {
        return TextOf(reader.Read(reader.Find(name).value()));
    } catch (const archive::Error& error) {
        EXPECT_EQ(error.Member(), name);
        return error.Code();
    }
}

std::optional<ErrorCode> ErrorOfOpening(const std::string& path) {
    try {
        const Reader reader(path);
        return std::nullopt;
    } catch (const archive::Error& error) {
        return error.Code();
    }
}

TEST_F(ArchiveReader, ReadsTheDocumentedExample) {
    const Reader reader(Write(ExampleOf("archive.md")));
    EXPECT_EQ(reader.Index(), IndexState::Whole);
    EXPECT_EQ(reader.Header().version, 0x102u);
    ASSERT_THAT(NamesIn(reader), ElementsAre("a.txt"));
    const Member member = reader[0];
    EXPECT_EQ(std::tuple(member.dataOffset, member.storedSize, member.size, member.crc),
              std::tuple(340u, 2u, 2u, 0x9A89B422u));
    EXPECT_EQ(TextOf(reader.Read(member)), "hi");
    EXPECT_EQ(TextOf(reader.ReadStored(member)), "hi");
}

TEST_F(ArchiveReader, FindsNamesInAnyLetterCaseWithEitherSeparator) {
    const Reader reader(Write(
        RawArchive({{"Textures\\Bark.tga", "1"}, {"b\xC4", "2"}, {"B\xE4", "3"}, {"", "4"}})));
    const Table<std::string, std::optional<std::size_t>> rows = {
        {"textures/BARK.tga", 0}, {"Textures\\bark.TGA", 0}, {"B\xC4", 1}, {"", 3},
        {"textures", {}},         {"textures/bark.tg", {}}};
    for (const auto& [name, number] : rows) {
        SCOPED_TRACE(name);
        const auto found = reader.Find(name);
        ASSERT_EQ(found.has_value(), number.has_value());
        if (!number) continue;
        EXPECT_EQ(found->dataOffset, reader[*number].dataOffset);
    }
}

TEST_F(ArchiveReader, MembersAreFoundWhateverTheIndexIs) {
    const std::string good =
        RawArchive({{"a", "1"}, {"gone", "xx", 2, "FIL!"}, {"b", "22"}, {"c", "333", 3, "fil "}});
    const std::size_t index = Get32(good, kIndexOffsetAt);
    const auto with = [&good](std::size_t at, std::size_t value) {
        return std::string(good).replace(at, 4, U32(value));
    };
    const std::string chunks = good.substr(44, index - 44);
    const std::string bare = with(kIndexOffsetAt, 0).substr(0, 44);
    const std::string longInfo = std::string(bare).replace(8, 1, "\x24") + "more" + chunks;
    const std::string old = std::string(good).replace(kVersionAt, 1, "\x01");
    const Table<const char*, std::string, IndexState, std::size_t> rows = {
        {"whole, which lists what is marked deleted too", good, IndexState::Whole, 4},
        {"whole, a member after it", good + RawChunk({"d", "4"}), IndexState::Whole, 5},
        {"version 0x101", old, IndexState::Whole, 4},
        {"none", bare + chunks, IndexState::Absent, 3},
        {"none, a longer header", longInfo, IndexState::Absent, 3},
        {"after the end", good.substr(0, index), IndexState::Missing, 3},
        {"cut in its mark", good.substr(0, index + 3), IndexState::Missing, 3},
        {"elsewhere", with(kIndexOffsetAt, 44), IndexState::Missing, 3},
        {"another length", with(index + 4, 7), IndexState::OddLength, 4},
        {"too large a count", with(kCountAt, 5), IndexState::CutShort, 4},
        {"a count of 4 billion", with(kCountAt, 0xFFFFFFFF), IndexState::CutShort, 4},
        {"one record cut", good.substr(0, good.size() - 1), IndexState::CutShort, 4},
        {"all records cut", good.substr(0, index + 8), IndexState::CutShort, 3}};
    for (const auto& [what, bytes, state, count] : rows) {
        SCOPED_TRACE(what);
        const Reader reader(Write(bytes));
        EXPECT_EQ(reader.Index(), state);
        EXPECT_EQ(reader.Count(), count);
        EXPECT_EQ(std::get<0>(ContentOf(reader, "b")), "22");
    }
}

TEST_F(ArchiveReader, TheWalkAfterTheIndexEndsWhereTheFileEnded) {
    const std::string path = Write(RawArchive({{"a", "1"}}));
    platform::FileHandle file;
    ASSERT_TRUE(file.Open(path.c_str(), platform::Access::Read, platform::Creation::OpenExisting,
                          platform::Share::DenyNone));
    archive::Contents contents = archive::ReadContents(file);
    // What a change in place has written so far may look like a member.
    std::ofstream(path, std::ios::binary | std::ios::app) << RawChunk({"half", "4", 4});
    archive::WalkRest(file, contents);
    EXPECT_EQ(contents.members.Count(), 1u);
}

TEST_F(ArchiveReader, WhatDoesNotOpenSaysWhy) {
    const std::string good = RawArchive({{"a", "1"}});
    const auto with = [&good](std::size_t at, std::string_view bytes) {
        return std::string(good).replace(at, bytes.size(), bytes);
    };
    for (const std::string& bytes : {""s, "ARC"s, good.substr(0, 43), with(0, "ARCX"),
                                     with(4, "JNFO"), with(kVersionAt, "\x03"), with(12, "1")}) {
        EXPECT_EQ(ErrorOfOpening(Write(bytes)), ErrorCode::NotAnArchive) << bytes.size();
    }
    EXPECT_EQ(ErrorOfOpening(folder.Path("missing")), ErrorCode::NotFound);
    EXPECT_EQ(ErrorOfOpening(folder.Path()), ErrorCode::CannotOpen);
    EXPECT_EQ(ErrorOfOpening(Write(with(0, "archinfo"))), std::nullopt);
}

// A stream of blocks that are stored.
std::string StoredStream(std::string_view content, bool shortHeader = false) {
    std::string stream = "CFIL";
    if (!shortHeader) stream += U32(0x101) + U32(content.size());
    for (; !content.empty(); content.remove_prefix(std::min<std::size_t>(16384, content.size()))) {
        const std::string_view piece = content.substr(0, 16384);
        stream += U32(piece.size() | 0x8000).substr(0, 2) + std::string(piece);
    }
    return stream;
}

TEST_F(ArchiveReader, ReadsEveryFormOfMember) {
    const std::string content = Prose(40000);
    const std::string stream = StoredStream(content);
    std::string bytes = RawArchive({{"plain", content},
                                    {"stream", stream, 40000},
                                    {"unmarked", stream, 40000},
                                    {"file", stream},
                                    {"marked", "plain all the same", 18},
                                    {"empty", "", 0},
                                    {"cut", stream.substr(0, 30000), 40000},
                                    {"longer", stream, 40001},
                                    {"after", stream + "x", 40000},
                                    {"sizes", "12345", 4},
                                    {"sum", "123456789", 9, "FIL ", 0xFC891918},
                                    {"wrong sum", "123456780", 9, "FIL ", 0xFC891918}});
    const std::size_t records = Get32(bytes, kIndexOffsetAt) + 8;
    const auto attributes = [&](std::size_t number, char value) {
        bytes[records + number * 296 + 8 + 284] = value;
    };
    attributes(2, '\0');
    attributes(3, '\0');
    attributes(4, '\x80');
    const Reader reader(Write(bytes));
    const Table<const char*, std::variant<std::string, ErrorCode>> rows = {
        {"plain", content},
        {"stream", content},
        {"unmarked", content},
        {"file", stream},  // a plain member whose content is a stream
        {"marked", "plain all the same"s},
        {"empty", ""s},
        {"cut", ErrorCode::Damaged},
        {"longer", ErrorCode::Damaged},
        {"after", ErrorCode::Damaged},
        {"sizes", ErrorCode::Damaged},
        {"sum", "123456789"s},
        {"wrong sum", ErrorCode::SumDiffers}};
    ASSERT_EQ(rows.size(), reader.Count());
    for (const auto& [name, expected] : rows) EXPECT_EQ(ContentOf(reader, name), expected) << name;

    const Reader old(Write(
        RawArchive({{"s", StoredStream(content, true), 40000}}).replace(kVersionAt, 1, "\x01")));
    EXPECT_EQ(std::get<0>(ContentOf(old, "s")), content);
}

TEST_F(ArchiveReader, EveryPrefixEndsInMembersOrAnError) {
    const std::string good = RawArchive(
        {{"a", "hello"}, {"dir/c", StoredStream("abc"), 3, "FIL ", 0x9B41BBB6}, {"e", ""}});
    const std::string path = Write(good);
    for (std::size_t size = good.size(); size-- > 44;) {
        fs::resize_file(path, size);
        const Reader reader(path);
        EXPECT_NE(reader.Index(), IndexState::Whole);
        EXPECT_LE(reader.Count(), 3u);
        for (std::size_t i = 0; i < reader.Count(); ++i) {
            const auto content = ContentOf(reader, reader[i].name);
            if (content.index() != 0) continue;
            EXPECT_EQ(std::get<0>(content).size(), reader[i].size) << size;
        }
    }
    for (std::size_t size = 44; size-- > 0;) {
        fs::resize_file(path, size);
        EXPECT_EQ(ErrorOfOpening(path), ErrorCode::NotAnArchive);
    }
}

TEST_F(ArchiveReader, ManyThreadsReadAtOnce) {
    std::vector<RawMember> members;
    for (unsigned i = 0; i < 50; ++i) {
        members.push_back({"m" + std::to_string(i),
                           i % 2 == 0 ? Noise(5000 + i, i) : StoredStream(Prose(30000 + i))});
        if (i % 2 != 0) members.back().size = 30000 + i;
    }
    const Reader reader(Write(RawArchive(members)));
    std::atomic<int> right = 0;
    InThreads(8, [&](std::size_t thread) {
        for (unsigned i = 0; i < 50; ++i) {
            const unsigned number = (i + static_cast<unsigned>(thread) * 7) % 50;
            const auto content =
                TextOf(reader.Read(reader.Find("M" + std::to_string(number)).value()));
            right +=
                content == (number % 2 == 0 ? Noise(5000 + number, number) : Prose(30000 + number));
        }
    });
    EXPECT_EQ(right, 400);
}

TEST_F(ArchiveReader, FiftyThousandMembersStaySmallInMemory) {
    constexpr std::size_t kCount = 50000;
    const auto nameOf = [](std::size_t i) {
        return "data/folder" + std::to_string(i % 100) + "/texture number " + std::to_string(i);
    };
    std::vector<RawMember> members;
    for (std::size_t i = 0; i < kCount; ++i) members.push_back({nameOf(i), ""});
    const Reader reader(Write(RawArchive(members)));
    ASSERT_EQ(reader.Count(), kCount);
    EXPECT_LE(reader.All().members.MemoryHeld() / kCount, 200u);
    for (std::size_t i = 0; i < kCount; ++i) {
        ASSERT_EQ(reader.Find(nameOf(i)).value().dataOffset, reader[i].dataOffset);
    }
    EXPECT_EQ(reader.Find("data"), std::nullopt);
}

// Each look-up would walk all of them if they were not linked.
TEST_F(ArchiveReader, MembersOfOneNameCostNoMoreThanOthers) {
    const Reader reader(Write(RawArchive(std::vector<RawMember>(200000, RawMember{"same", ""}))));
    EXPECT_EQ(reader.Count(), 200000u);
    EXPECT_EQ(reader.Find("SAME").value().dataOffset, 340u);
}

TEST_F(ArchiveReader, LargeMembersComeInPieces) {
    constexpr std::uint32_t kFirst = 3000000000;
    constexpr std::uint32_t kSecond = 40000000;
    std::string front = RawArchive({{"large", "", kFirst}}, false);
    Put32(front, kFirstMember + 4, 288 + kFirst);
    std::string back = RawChunk({"at the end", "", kSecond});
    Put32(back, 4, 288 + kSecond);
    const std::string path = Write(front);
    fs::resize_file(path, front.size() + kFirst);
    std::ofstream(path, std::ios::binary | std::ios::app) << back;
    fs::resize_file(path, front.size() + kFirst + back.size() + kSecond);

    const Reader reader(path);
    archive::ContentReader content = reader.NewContentReader();
    content.Begin(reader.Find("large").value());
    EXPECT_LE(content.Next().size(), 65536u);
    content.Begin(reader.Find("at the end").value());
    std::uint64_t total = 0;
    for (auto piece = content.Next(); !piece.empty(); piece = content.Next()) {
        total += piece.size();
        ASSERT_LE(piece.size(), 65536u);
    }
    EXPECT_EQ(total, kSecond);
}

TEST(ArchiveNames, OrderAndValidity) {
    EXPECT_LT(archive::CompareNames("a/B", "A\\c"), 0);
    EXPECT_EQ(archive::CompareNames("\xC4/x", "\xE4\\X"), 0);
    EXPECT_GT(archive::CompareNames("ab", "A"), 0);
    EXPECT_GT(archive::CompareNames("\xE4", "z"), 0);
    for (const std::string& name : {"a"s, "a b/c.txt"s, ".x/..y"s, std::string(259, 'n')}) {
        EXPECT_EQ(archive::NameProblem(name), nullptr) << name;
    }
    for (const std::string& name : {""s, std::string(260, 'n'), "/a"s, "a/"s, "a//b"s, "./a"s,
                                    "a/.."s, "a\\b"s, "c:x"s, "a\nb"s, "\x7F"s}) {
        EXPECT_NE(archive::NameProblem(name), nullptr) << name;
    }
}

}  // namespace
}  // namespace Vorn::Testing
