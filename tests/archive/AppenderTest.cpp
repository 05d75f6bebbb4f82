#include "archive/Appender.h"

#include <sys/resource.h>

#include "archive/Check.h"
#include "archive/ChunkEdits.h"
#include "archive/Error.h"
#include "archive/PackedMember.h"
#include "tests/support/RawArchive.h"

namespace Vorn::Testing {
namespace {

using archive::Appender;
using archive::Contents;
using archive::ErrorCode;
using archive::NewMember;
using archive::Reader;
using Publish = Appender::Publish;

std::span<const std::byte> Bytes(std::string_view text) { return std::as_bytes(std::span(text)); }

platform::FileHandle OpenFile(const std::string& path, platform::Creation creation) {
    platform::FileHandle file;
    EXPECT_TRUE(
        file.Open(path.c_str(), platform::Access::ReadWrite, creation, platform::Share::DenyNone));
    return file;
}

// An archive that is changed: what a caller of the appender owns.
struct Archive {
    platform::FileHandle file;
    Contents contents;
    std::optional<Appender> appender;

    explicit Archive(const std::string& path, Publish publish = Publish::EachMember)
        : file(OpenFile(path, platform::Creation::OpenOrCreate)) {
        if (file.Length() == 0) {
            contents = archive::StartArchive(file, 0, 0);
        } else {
            contents = archive::ReadContents(file);
            archive::WalkRest(file, contents);
        }
        appender.emplace(file, contents, publish);
    }
    void Add(std::string_view name, std::string_view content, bool compress = false) {
        appender->Add(
            {name, compress, static_cast<std::uint32_t>(content.size()), appender->Find(name)},
            Bytes(content));
    }
    void Delete(std::string_view name) { appender->Delete(appender->Find(name).value()); }
};

std::map<std::string, std::string> MembersOf(const std::string& path) {
    const Reader reader(path);
    std::map<std::string, std::string> all;
    for (std::size_t i = 0; i < reader.Count(); ++i) {
        const auto content = reader.Read(reader[i]);
        all[std::string(reader[i].name)].assign(reinterpret_cast<const char*>(content.data()),
                                                content.size());
    }
    return all;
}

class ArchiveAppending : public InFolder {
protected:
    const std::string path_ = folder.Path("a.va");
};

TEST_F(ArchiveAppending, WritesTheDocumentedExample) {
    Archive archive(path_);
    archive.Add("a.txt", "hi");
    archive.appender->Complete();
    EXPECT_EQ(folder.Read("a.va"), ExampleOf("archive.md"));
}

TEST_F(ArchiveAppending, AnEmptyArchiveHas52Bytes) {
    Archive(path_).appender->Complete();
    EXPECT_EQ(folder.Read("a.va").size(), 52u);
    EXPECT_TRUE(archive::Check(Reader(path_)).findings.empty());
}

// The same members give the same bytes in whichever way they are passed in.
TEST_F(ArchiveAppending, BytesDoNotDependOnHowContentComesIn) {
    std::vector<std::pair<std::string, std::string>> members;
    for (unsigned i = 0; i < 60; ++i) {
        members.emplace_back("m" + std::to_string(i), i % 3 == 0 ? Prose(i * 997) : Noise(i * 31));
    }
    members.emplace_back("large", Prose(700000));
    members.emplace_back("last", "");
    const auto compress = [](const std::string& name) { return name.size() % 2 == 0; };
    {
        Archive archive(path_);
        for (const auto& [name, content] : members) archive.Add(name, content, compress(name));
        archive.appender->Complete();
    }
    const std::string expected = folder.Read("a.va");
    {
        Archive batches(folder.Path("batches"), Publish::InBatches);
        for (const auto& [name, content] : members) batches.Add(name, content, compress(name));
        batches.appender->Complete();
    }
    EXPECT_EQ(folder.Read("batches"), expected);
    {
        Archive streamed(folder.Path("streamed"), Publish::InBatches);
        for (const auto& [name, content] : members) {
            streamed.appender->Begin({name, compress(name)});  // of unknown size
            for (std::size_t at = 0; at < content.size(); at += 1234) {
                streamed.appender->Write(Bytes(std::string_view(content).substr(at, 1234)));
            }
            streamed.appender->Finish();
        }
        streamed.appender->Complete();
    }
    EXPECT_EQ(folder.Read("streamed"), expected);
    {
        Archive apart(folder.Path("packed"), Publish::InBatches);
        archive::PackedMember packed;
        for (const auto& [name, content] : members) {
            archive::Pack(Bytes(content), compress(name), packed);
            archive::AddPacked(*apart.appender, name, packed);
        }
        apart.appender->Complete();
    }
    EXPECT_EQ(folder.Read("packed"), expected);
    {
        Archive stored(folder.Path("stored"), Publish::InBatches);
        const Reader source(path_);
        for (std::size_t i = 0; i < source.Count(); ++i) {
            stored.appender->BeginStored({source[i].name}, source[i]);
            stored.appender->Write(source.ReadStored(source[i]));
            stored.appender->Finish();
        }
        stored.appender->Complete();
    }
    EXPECT_EQ(folder.Read("stored"), expected);
    EXPECT_TRUE(archive::Check(Reader(path_)).findings.empty());
}

TEST_F(ArchiveAppending, ReplacesAndDeletes) {
    for (const Publish publish : {Publish::EachMember, Publish::InBatches}) {
        folder.Write("a.va", RawArchive({{"a", "1"}, {"b", "2"}, {"c", "3"}}));
        Archive archive(path_, publish);
        archive.Add("B", "second");
        archive.Add("b", "third");  // replaces one of the same batch
        archive.Delete("a");
        archive.Add("d", "4");
        archive.appender->Complete();
        EXPECT_EQ(MembersOf(path_),
                  (std::map<std::string, std::string>{{"c", "3"}, {"b", "third"}, {"d", "4"}}));
        const auto judgement = archive::Check(Reader(path_));
        EXPECT_TRUE(judgement.findings.empty());
        EXPECT_EQ(judgement.deadBytes, 3u * 296 + 1 + 1 + 6);
    }
}

TEST_F(ArchiveAppending, AnArchiveWithoutIndexStaysOne) {
    const std::string chunk = RawChunk({"a", "1"});
    const std::string begun = "FIL!" + U32(9000) + "begun";
    for (const std::string& bytes :
         {RawArchive({{"a", "1"}}, false), RawArchive({{"a", "1"}}, false) + begun,
          RawArchive({{"a", "1"}}, false) + "rest",
          RawArchive({{"a", "1"}}).substr(0, 44 + chunk.size() + 20)}) {
        folder.Write("a.va", bytes);
        Archive archive(path_);
        archive.Add("b", "2");
        archive.appender->Complete();
        const Reader reader(path_);
        EXPECT_EQ(reader.Index(), archive::IndexState::Absent);
        EXPECT_TRUE(archive::Check(reader).findings.empty());
        EXPECT_EQ(MembersOf(path_), (std::map<std::string, std::string>{{"a", "1"}, {"b", "2"}}));
    }
}

TEST_F(ArchiveAppending, WhatCannotBeWrittenIsRefusedAndChangesNothing) {
    const std::string good = RawArchive({{"a", "1"}});
    const auto errorOf = [this](const std::string& bytes, const NewMember& member) {
        folder.Write("a.va", bytes);
        try {
            Archive archive(path_);
            archive.appender->Begin(member);
            return std::optional<ErrorCode>();
        } catch (const archive::Error& error) {
            EXPECT_EQ(folder.Read("a.va"), bytes);
            return std::optional(error.Code());
        }
    };
    EXPECT_EQ(errorOf(good, {std::string(260, 'n')}), ErrorCode::BadName);
    EXPECT_EQ(errorOf(std::string(good).replace(kVersionAt, 1, "\x01"), {"b"}), ErrorCode::Refused);
    EXPECT_EQ(errorOf(std::string(good).replace(8, 1, "\x24"), {"b"}), ErrorCode::Refused);
    EXPECT_EQ(errorOf(RawArchive({{"a", "12345"}}, false).substr(0, 343), {"b"}),
              ErrorCode::Damaged);
    EXPECT_EQ(errorOf(good, {"b", true, 0xFFFFFFFF}), std::nullopt) << "it may compress";
}

TEST_F(ArchiveAppending, NothingPassesFourGigabytes) {
    folder.Write("a.va", RawArchive({{"a", ""}}, false));
    Archive archive(path_);
    try {
        archive.Add("b", "1");
        archive.appender->Begin({"c", false, 0xFFFFFF00});
        ADD_FAILURE();
    } catch (const archive::Error& error) {
        EXPECT_EQ(error.Code(), ErrorCode::Full);
    }
    archive.appender->Complete();
    EXPECT_EQ(MembersOf(path_), (std::map<std::string, std::string>{{"a", ""}, {"b", "1"}}));
}

TEST_F(ArchiveAppending, AnAbandonedMemberLeavesNoTrace) {
    for (const std::size_t size : {100u, 500000u}) {
        folder.Write("a.va", "");
        Archive archive(path_, Publish::InBatches);
        archive.Add("a", "1");
        archive.appender->Begin({"gone", size > 1000});
        archive.appender->Write(Bytes(Noise(size)));
        archive.appender->Abandon();
        archive.Add("b", "2");
        archive.appender->Complete();
        EXPECT_EQ(folder.Read("a.va"),
                  RawArchive({{"a", "1", 1, "FIL ", Get32(folder.Read("a.va"), 52 + 268)},
                              {"b", "2", 1, "FIL ", Get32(folder.Read("a.va"), 52 + 297 + 268)}}));
    }
}

TEST_F(ArchiveAppending, AnAnnouncedSizeMustBeKept) {
    for (const std::string& content : {"four"s, "fourteen and"s}) {
        folder.Write("a.va", RawArchive({{"a", "1"}}));
        Archive archive(path_, Publish::InBatches);
        try {
            archive.appender->Begin({.name = "b", .size = 5});
            archive.appender->Write(Bytes(content));
            archive.appender->Finish();
            ADD_FAILURE() << content;
        } catch (const archive::Error& error) {
            EXPECT_EQ(error.Code(), ErrorCode::CannotRead);
            EXPECT_EQ(error.Member(), "b");
        }
        archive.Add("c", "3");
        archive.appender->Complete();
        EXPECT_EQ(MembersOf(path_), (std::map<std::string, std::string>{{"a", "1"}, {"c", "3"}}));
    }
}

// The file may not grow past `limit`; the number of members that were added until then, the index
// not written.
int AddUntil(const std::string& path, rlim_t limit, Publish publish, bool complete) {
    const rlimit most{limit, limit};
    setrlimit(RLIMIT_FSIZE, &most);
    Archive archive(path, publish);
    try {
        for (int i = 0; i < 40; ++i) {
            archive.Add("m" + std::to_string(i), Noise(static_cast<std::size_t>(i) * 40),
                        i % 2 != 0);
        }
        archive.Add("m5", "replaced");
        if (complete) archive.appender->Complete();
    } catch (const archive::Error& error) {
        return error.Code() == ErrorCode::CannotWrite ? 1 : 2;
    }
    return 0;
}

TEST_F(ArchiveAppending, AFullDiskLeavesWholeMembers) {
    for (const Publish publish : {Publish::EachMember, Publish::InBatches}) {
        int failed = 0;
        for (rlim_t limit = 100; limit < 60000; limit += 1777) {
            fs::remove(path_);
            const int result = InChild([&] { return AddUntil(path_, limit, publish, true); });
            ASSERT_NE(result, 2);
            failed += result;
            const auto judgement = archive::Check(Reader(path_));
            for (const auto& finding : judgement.findings) {
                EXPECT_TRUE(finding.fault == archive::Fault::IndexMissing ||
                            finding.fault == archive::Fault::Unfinished)
                    << finding.text;
            }
            for (const auto& [name, content] : MembersOf(path_)) {
                const auto number = std::stoul(name.substr(1));
                EXPECT_EQ(content, content == "replaced" ? content : Noise(number * 40)) << name;
            }
        }
        EXPECT_GT(failed, 10);
    }
}

}  // namespace
}  // namespace Vorn::Testing
