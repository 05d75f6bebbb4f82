#include "archive/Appender.h"
#include "archive/ChunkEdits.h"
#include "archive/Names.h"
#include "archive/Reader.h"
#include "vaconverter/writer.h"

#include "tests/support/Tests.h"

namespace Vorn::Testing {
namespace {

using va::Compression;
using Members = std::map<std::string, std::string>;

std::vector<std::byte> BytesOf(const std::string& text) {
    const auto bytes = std::as_bytes(std::span(text));
    return {bytes.begin(), bytes.end()};
}

// Sizes on both sides of blocks and pieces, contents that pack well, badly and not at all.
Members Samples() {
    std::minstd_rand random(5);
    Members members = {{"empty", ""},
                       {"Marked.bin", "CFIL and more"},
                       {"large/Marked", "cfil" + Noise(1'500'000, 3)},
                       {"large/prose", Prose(3'000'000)},
                       {"large/noise", Noise(2'200'000, 4)},
                       {"large/piece", Prose(1 << 20)},
                       {"large/piece+1", Prose((1 << 20) + 1)},
                       {"a-b", "before a/b, since '-' comes before '/'"},
                       {"A/B", "between"},
                       {"caf\xC3\xA9/\xE2\x82\xAC.txt", "in code page 1252"}};
    for (int i = 0; i < 300; ++i) {
        const std::size_t size = random() % (1U << random() % 17);
        members["many/m" + std::to_string(i)] = random() % 2 == 0 ? Prose(size) : Noise(size, i);
    }
    return members;
}

class WritingArchives : public testing::Test {
protected:
    void Add(va::ArchiveWriter& writer, const Members& members, unsigned order) const {
        std::vector<Members::const_iterator> shuffled;
        for (auto i = members.begin(); i != members.end(); ++i) shuffled.push_back(i);
        std::shuffle(shuffled.begin(), shuffled.end(), std::minstd_rand(order));
        for (const auto& member : shuffled) {
            writer.AddContent(BytesOf(member->second), member->first);
        }
    }

    // The archive as one member after another would be written, both ways tried for each.
    [[nodiscard]] std::string Literal(const Members& members, Compression compression) const {
        std::map<std::string, std::pair<std::string, std::string>> sorted;
        for (const auto& [name, content] : members) {
            const std::string stored =
                name == "caf\xC3\xA9/\xE2\x82\xAC.txt" ? "caf\xE9/\x80.txt" : name;
            sorted[archive::FoldName(stored)] = {stored, content};
        }
        std::map<std::string, bool> wanted;
        for (const auto& [key, member] : sorted) {
            wanted[key] = StreamWanted(member.second, compression);
        }
        return Appended(sorted, wanted);
    }

    [[nodiscard]] std::string Written(const va::ArchiveWriter& writer, Compression compression,
                                      unsigned threads) const {
        (void)writer.Create({.result = folder_.Path("w.va"),
                             .replace = true,
                             .compression = compression,
                             .buildVersion = 7,
                             .productCode = 9,
                             .threads = threads});
        return folder_.Read("w.va");
    }

    // What the error says; "" without one.
    [[nodiscard]] std::string Refusal(const va::ArchiveWriter& writer, va::CreateOptions options,
                                      va::ErrorCode code) const {
        options.result = folder_.Path("refused.va");
        std::string said;
        for (const bool dryRun : {true, false}) {
            options.dryRun = dryRun;
            try {
                (void)writer.Create(options);
                ADD_FAILURE() << "it was written";
            } catch (const va::Error& error) {
                EXPECT_EQ(error.code(), code);
                EXPECT_TRUE(said.empty() || said == error.what()) << "a dry run says the same";
                said = error.what();
            }
        }
        EXPECT_FALSE(folder_.Has("refused.va"));
        return said;
    }

    TempFolder folder_;

private:
    bool StreamWanted(const std::string& content, Compression compression) const {
        if (content.empty()) return false;
        if (content.starts_with("CFIL") || content.starts_with("cfil")) return true;
        if (compression != Compression::WhereItSaves) return compression == Compression::All;
        const std::size_t stream = Appended({{"x", {"x", content}}}, {{"x", true}}).size();
        const std::size_t plain = Appended({{"x", {"x", content}}}, {{"x", false}}).size();
        const std::size_t saved = plain - std::min(plain, stream);
        return saved * 100 >= 2 * content.size();
    }

    [[nodiscard]] std::string Appended(
        const std::map<std::string, std::pair<std::string, std::string>>& members,
        const std::map<std::string, bool>& streams) const {
        platform::FileHandle file;
        EXPECT_TRUE(file.Open(folder_.Path("l.va").c_str(), platform::Access::ReadWrite,
                              platform::Creation::CreateOrTruncate, platform::Share::DenyNone));
        archive::Contents contents = archive::StartArchive(file, 7, 9);
        archive::Appender appender(file, contents, archive::Appender::Publish::InBatches);
        for (const auto& [key, member] : members) {
            appender.Add({.name = member.first, .compress = streams.at(key)},
                         std::as_bytes(std::span(member.second)));
        }
        appender.Complete();
        return folder_.Read("l.va");
    }
};

TEST_F(WritingArchives, BytesDependOnMembersAndCompressionOnly) {
    const Members members = Samples();
    for (const Compression compression :
         {Compression::WhereItSaves, Compression::All, Compression::None}) {
        const std::string literal = Literal(members, compression);
        for (const unsigned threads : {1U, 2U, 5U}) {
            SCOPED_TRACE(threads);
            va::ArchiveWriter writer;
            Add(writer, members, threads);
            EXPECT_TRUE(Written(writer, compression, threads) == literal);
        }
    }
}

TEST_F(WritingArchives, WhatIsWrittenReadsBack) {
    const Members members = Samples();
    va::ArchiveWriter writer;
    Add(writer, members, 1);
    (void)Written(writer, Compression::WhereItSaves, 2);
    const va::Archive archive(folder_.Path("w.va"));
    EXPECT_EQ(archive.Info().buildVersion, 7u);
    EXPECT_EQ(archive.Info().productCode, 9u);
    EXPECT_EQ(archive.Info().deadBytes, 0u);
    EXPECT_EQ(archive.Check(2).found, 0u);
    ASSERT_EQ(archive.Members().size(), members.size());
    for (const va::Member& member : archive.Members()) {
        EXPECT_TRUE(archive.Read(member) == BytesOf(members.at(member.Name()))) << member.Name();
    }
    // The members of an archive give the same archive again.
    va::ArchiveWriter again;
    again.AddAll(archive);
    const std::string first = folder_.Read("w.va");
    EXPECT_TRUE(Written(again, Compression::WhereItSaves, 3) == first);
}

TEST_F(WritingArchives, RefusesBeforeTheFirstByte) {
    using va::ErrorCode;
    va::ArchiveWriter letters;
    letters.AddContent({}, "Textures/Wood.tga");
    letters.AddContent({}, "textures/wood.TGA");
    EXPECT_THAT(Refusal(letters, {}, ErrorCode::Refused),
                HasSubstr("Textures/Wood.tga and textures/wood.TGA"));

    va::ArchiveWriter names;
    names.AddContent({}, "\xD0\xB6.txt");
    names.AddContent({}, "a/../b");
    names.AddContent({}, "cafe\xCC\x81");
    names.AddContent({}, std::string(260, 'n'));
    const std::string named = Refusal(names, {}, ErrorCode::Refused);
    for (const char* part : {"'\xD0\xB6.txt' has a name that code page 1252 cannot hold",
                             "'a/../b' has a '..' component", "'cafe\xCC\x81' has a name",
                             "is longer than 259 bytes"}) {
        EXPECT_THAT(named, HasSubstr(part));
    }

    va::ArchiveWriter sizes;
    for (const char* name : {"a", "b"}) {
        const std::string path = folder_.Write(name, "");
        fs::resize_file(path, std::uint64_t{5} << 29);  // 2.5 GiB, without blocks on the disk
        sizes.AddFile(path, name);
    }
    EXPECT_THAT(
        Refusal(sizes, {.result = {}, .compression = Compression::None}, ErrorCode::DiskFull),
        HasSubstr(" would have 5368710356 bytes"));
    va::ArchiveWriter size;
    const std::string path = folder_.Write("huge", "");
    fs::resize_file(path, std::uint64_t{1} << 32);
    size.AddFile(path, "huge");
    EXPECT_THAT(Refusal(size, {}, ErrorCode::Refused), HasSubstr("huge is 4 GiB or larger"));
    EXPECT_THROW(size.AddFile(folder_.Path("nowhere"), "x"), va::Error);
}

TEST_F(WritingArchives, FilesThatChangeAndCancelledWorkLeaveNothing) {
    for (const std::size_t size : {std::size_t{5000}, std::size_t{3'000'000}}) {
        for (const unsigned threads : {1U, 3U}) {
            va::ArchiveWriter writer;
            const std::string path = folder_.Write("grows", Noise(size));
            const auto earlier = fs::last_write_time(path) - std::chrono::seconds(1);
            fs::last_write_time(path, earlier);
            writer.AddFile(path, "grows");
            for (const std::size_t other : {size - 1, size + 1, size}) {
                fs::resize_file(path, other);
                if (other == size) folder_.Write("grows", Noise(size, 2));
                try {
                    (void)writer.Create({.result = folder_.Path("c.va"), .threads = threads});
                    ADD_FAILURE();
                } catch (const va::Error& error) {
                    EXPECT_THAT(error.what(), HasSubstr("the file changed while it was read"));
                }
            }
            folder_.Write("grows", Noise(size));
            fs::last_write_time(path, earlier);
            EXPECT_THROW((void)writer.Create({.result = folder_.Path("c.va"), .threads = threads},
                                             [](const va::Progress&) { return false; }),
                         va::Error);
        }
    }
    EXPECT_FALSE(folder_.Has("c.va"));
    EXPECT_EQ(std::distance(fs::directory_iterator(folder_.Path()), {}), 1);
}

}  // namespace
}  // namespace Vorn::Testing
