#include "assetdata/ChunkRecords.h"
#include "assetdata/ChunkWriter.h"
#include "assetdata/TBuffer.h"
#include "assetdata/TDBBinaryFile.h"
#include "assetdata/TDBContainerTag.h"
#include "assetdata/TDBDataTag.h"
#include "assetdata/TagDatabase.h"
#include "assetdata/TagLosses.h"
#include "assetdata/TagValues.h"
#include "tests/KernelStandard/FileLayer.h"
#include "tests/assetdata/TagSamples.h"

namespace Vorn::Testing {
namespace {

// Records and files put together by hand; the numbers may lie.
std::string Record(std::string_view name, char type, std::string_view payload) {
    const std::string field = name.data() ? std::string(name) + '\0' : std::string();
    return U32(field.size() + payload.size() + 2) + static_cast<char>(field.size()) + field + type +
           std::string(payload);
}
std::string FileOf(std::string_view body, std::uint32_t version = 1) {
    return "OCS$" + U32(version) + U32(0) + U32(body.size()) + std::string(body);
}

// Of the only child.
std::string ValueIn(std::string_view file) {
    const OCSChunkRef root = ReadChunks(file);
    const OCSChunkRef child = root->ChildAt(0).child;
    const auto bytes = child->DataBytes();
    return std::to_string(child->GetType()) + ':' +
           std::string(reinterpret_cast<const char*>(bytes.data()), bytes.size());
}

TEST(ChunkFiles, ARecordIsWrittenToTheByte) {
    EXPECT_EQ(Record("a", 1, U32(7)), "\x08\0\0\0\x02\x61\0\x01\x07\0\0\0"s);
    const OCSChunkRef box = NewTag(kTagContainer);
    for (const std::uint32_t type : {0, 2, 3, 4, 5, 6, 7, 9}) {
        box->AddChild({}, Leaf(type, "12345678"));
    }
    box->AddChild(Intern(""), NewTag(kTagContainer));
    std::string inside;
    for (const char type : "\5\4\2\3\3\1\xD\5"sv) inside += Record({}, type, "12345678");
    inside += Record("", 0, "");
    const OCSChunkRef outer = NewTag(kTagContainer);
    outer->AddChild(Intern("box"), box);
    EXPECT_EQ(WriteChunks(*outer), FileOf(Record("box", 0, inside)));
}

TEST(ChunkFiles, ValuesAreDecodedByTheirType) {
    const Table<std::string, std::string> rows = {
        {FileOf(Record("a", 1, "1234")), "6:1234"},
        {FileOf(Record("a", 2, "12345")), "3:12345"},
        {FileOf(Record("a", 3, "text\0"s)), "4:text\0"s},
        {FileOf(Record("a", 3, "")), "4:"},
        {FileOf(Record("a", 4, "1")), "2:1"},
        {FileOf(Record("a", 5, "1")), "0:"},
        {FileOf(Record("a", 99, "1")), "0:"},
        {FileOf(Record("a", 13, "12345678")), "7:12345678"},
        // The payload begins at 8: eight bytes of padding.
        {FileOf(Record("a", 12, "paddingsraw")), "2:raw"},
        {FileOf(Record("a", 12, "short")), "2:"},
        {FileOf(Record("ninebytes", 12, "aligned")), "2:aligned"},
        // Texts of version 0 are in the ANSI code page.
        {FileOf(Record("a", 3, "caf\xE9\0"s), 0), "4:caf\xC3\xA9\0"s},
        {FileOf(Record("a", 3, "caf\xE9"), 0), "4:caf\xC3\xA9\0"s},
        {FileOf(Record("a", 3, ""), 0), "4:"},
        {FileOf(Record("a", 4, "\xE9"), 0), "2:\xE9"},
        {FileOf(Record("a", 3, "caf\xE9\0"s), 1), "4:caf\xE9\0"s},
        {FileOf(Record("ninebytes", 12, "aligned") + "12345"), "2:aligned"}};
    for (const auto& [file, expected] : rows) {
        SCOPED_TRACE(testing::PrintToString(file));
        EXPECT_EQ(ValueIn(file), expected);
    }
}

TEST(ChunkFiles, NamesAreComparedByTheirBytes) {
    const OCSChunkRef root = ReadChunks(
        FileOf(Record("a", 1, "1") + Record({}, 1, "2") + Record("a", 1, "3") + Record("", 1, "4") +
                   Record("A\0b"sv, 1, "5") + Record("\xE9", 1, "6"),
               0));
    std::string found;
    for (const InternedString& name :
         {Intern("a"), InternedString(), Intern(""), Intern("A"), Intern("\xE9"), Intern("b")}) {
        const OCSChunkRef child = root->FindChild(name);
        found += child ? static_cast<char>(child->DataBytes()[0]) : '-';
    }
    EXPECT_EQ(found, "12456-");
    EXPECT_FALSE(root->ChildName(1));
    EXPECT_EQ(root->ChildName(3), Intern(""));
    EXPECT_FALSE(root->ChildAt(6).child);
}

TEST(ChunkFiles, WhatIsRefusedAndWhatIsOdd) {
    using enum TagFault;
    const std::string good = Record("a", 1, U32(7));
    const auto with = [](std::string bytes, std::size_t at, std::string_view by) {
        return bytes.replace(at, by.size(), by);
    };
    const auto box = [](std::string_view inside) { return FileOf(Record("b", 0, inside)); };
    const Table<const char*, std::string, bool, std::vector<TagFault>, std::size_t> rows = {
        {"good", FileOf(good), true, {}, 0},
        {"empty", "", false, {NotAChunkFile}, 0},
        {"header cut", FileOf(good).substr(0, 15), false, {NotAChunkFile}, 0},
        {"magic", with(FileOf(good), 3, "!"), false, {NotAChunkFile}, 0},
        {"no body", FileOf(""), false, {NoBody}, 12},
        {"body of 4 GB", with(FileOf(good), 12, "\xFF\xFF\xFF\xFF"), false, {BodyPastEnd}, 12},
        {"body cut", FileOf(good).substr(0, 27), false, {BodyPastEnd}, 12},
        {"1 to 5 bytes", FileOf("12345"), true, {BytesAfterRecords}, 16},
        {"more behind", FileOf(good) + "x", true, {BytesAfterBody}, 28},
        {"size", FileOf(with(good, 0, "\x09")), false, {RecordPastEnd}, 16},
        {"size of 4 GB", FileOf(with(good, 0, "\xFF\xFF\xFF\xFF")), false, {RecordPastEnd}, 16},
        {"second", FileOf(good + with(good, 0, "\x80")), false, {RecordPastEnd}, 28},
        {"inside", box(with(good, 0, "\x09")), false, {RecordPastEnd}, 24},
        {"type outside", FileOf(with(good, 4, "\x07")), false, {TypePastEnd}, 16},
        {"type outside, inside", box(with(good, 4, "\x07")) + good, false, {TypePastEnd}, 24},
        {"name past record", FileOf("\0\0\0\0\4abcd\0"s), false, {TypePastEnd}, 20},
        {"payload below 0",
         FileOf(U32(2) + "\4abcd\1"),
         true,
         {NamePastRecord, NameWithoutZero, BytesAfterRecords},
         16},
        {"no zero in name", FileOf(with(good, 6, "b")), true, {NameWithoutZero}, 16},
        {"bytes behind name", FileOf(Record("a\0b"sv, 1, "1234")), true, {BytesAfterName}, 16},
        {"odd integers", FileOf(Record("a", 1, "12345")), true, {OddPayload}, 16},
        {"odd floats", box(Record("a", 2, "1")), true, {OddPayload}, 24},
        {"odd KUIDs", FileOf(Record("a", 13, "1234")), true, {OddPayload}, 16},
        {"text without zero", FileOf(Record("a", 3, "text")), true, {TextWithoutZero}, 16},
        {"bytes behind text", FileOf(Record("a", 3, "t\0x"sv)), true, {BytesAfterText}, 16},
        {"type", FileOf(Record("a", 6, "")), true, {UnknownRecordType}, 16},
        {"value without type", FileOf(Record("a", 5, "1")), true, {ValueWithoutType}, 16},
        {"rest inside", box(good + "123"), true, {BytesAfterRecords}, 36}};
    for (const auto& [what, file, readable, faults, offset] : rows) {
        SCOPED_TRACE(what);
        Findings findings;
        const OCSChunkRef root = ReadChunks(file, &findings);
        EXPECT_EQ(static_cast<bool>(root), readable);
        EXPECT_EQ(findings.Faults(), faults);
        EXPECT_EQ(findings.list.empty() ? 0 : findings.list[0].place.offset, offset);
    }
    Findings findings;
    EXPECT_FALSE(ReadChunks(FileOf(good, 2), &findings)) << "has a body, but no root";
    EXPECT_THAT(findings.Faults(), ElementsAre(UnknownVersion));
}

TEST(ChunkFiles, DamagedBodiesAreRefusedAsTheLiteralCheckRefusesThem) {
    std::mt19937 random(3);
    int accepted = 0;
    for (int round = 0; round < 4000; ++round) {
        std::string body = WriteChunks(*RandomTree(random, false)).substr(kChunkFileHeaderSize);
        if (body.empty()) continue;
        if (round % 4 == 0) body.resize(1 + random() % body.size());
        for (auto left = random() % 4; left > 0; --left) {
            body[random() % body.size()] =
                static_cast<char>(random() % 2 ? random() : random() % 8);
        }
        const OCSChunkRef root = ReadChunks(FileOf(body, round % 2));
        ASSERT_EQ(static_cast<bool>(root), LiteralCheck(body)) << testing::PrintToString(body);
        if (!root) continue;
        ++accepted;
        // Whatever it holds, it can be walked, and what is walked is written and read again.
        const OCSChunkRef again = ReadChunks(WriteChunks(*root));
        ASSERT_EQ(again ? Describe(*again) : "", Describe(*root));
    }
    EXPECT_GT(accepted, 1000);
}

TEST(ChunkFiles, AMillionRecordsAreWalkedByIndex) {
    std::string body;
    for (int i = 0; i < 1000000; ++i) body += "\2\0\0\0\0\5"sv;
    const OCSChunkRef root = ReadChunks(FileOf(body));
    std::uint32_t walked = 0;
    while (walked < root->ChildCount() && root->ChildAt(walked).child->GetType() == kTagNone) {
        ++walked;
    }
    EXPECT_EQ(walked, 1000000u);
    EXPECT_FALSE(root->FindChild(Intern("a")));
}

TEST(ChunkFiles, TagsOutliveTheFileObject) {
    const std::string bytes = FileOf(Record("a", 3, "first\0"s));
    TBufferBlock block(std::as_bytes(std::span(bytes)));
    TBuffer stream(block);
    auto file = MakeRef<TDBBinaryFile>();
    ASSERT_TRUE(file->Read(stream));
    const OCSChunkRef tag = file->Root()->FindChild(Intern("a"));
    EXPECT_EQ(file->BodySize(), bytes.size() - 16);
    EXPECT_FALSE(file->Read(stream)) << "nothing is left";
    EXPECT_FALSE(file->Root());
    EXPECT_EQ(file->BodySize(), 0u);
    file = {};
    EXPECT_EQ(TextOf(tag->DataBytes()), "first");
}

TEST(ChunkFiles, WhatTheyCannotHoldIsRefusedOrTold) {
    const OCSChunkRef root = NewTag(kTagContainer);
    root->AddChild(Intern(std::string(254, 'n')), NewTag(kTagNone));
    EXPECT_EQ(ReadChunks(WriteChunks(*root))->ChildName(0).Length(), 254u);
    root->AddChild(Intern(std::string(255, 'n')), NewTag(kTagNone));
    Findings findings;
    EXPECT_EQ(WriteChunks(*root, &findings), "");
    EXPECT_THAT(findings.Faults(), ElementsAre(TagFault::NameTooLong));
    const OCSChunkRef large = NewTag(kTagContainer);
    const OCSChunkRef value = Leaf(kTagRaw, std::string(1 << 26, 'x'));
    for (int i = 0; i < 64; ++i) large->AddChild({}, value);
    EXPECT_EQ(WriteChunks(*large, &findings), "") << "4 GiB and 384 bytes";
    FindChunkLosses(*NewTag(kTagContainer), findings);
    root->AddChild(Intern("odd"), Leaf(5, "text"));
    root->AddChild(Intern("lost"), Leaf(kTagNone, "bytes"));
    FindChunkLosses(*root, findings);
    EXPECT_THAT(findings.Faults(),
                ElementsAre(TagFault::NameTooLong, TagFault::TooLarge, TagFault::EmptyTree,
                            TagFault::ReadsAsOtherType, TagFault::ValuesLost));
}

using TagLoading = FileLayer;

TEST_F(TagLoading, TheExtensionChoosesTheForm) {
    Mount("data", "./", true);
    const std::string chunks = FileOf(Record("a", 1, U32(7)));
    const Table<const char*, const char*, FileMode, std::string, const char*> rows = {
        {nullptr, "f.txt", kWritePlain, "a 7\n", "loaded"},
        {"data", "f.TXT", kWritePlain, "a 7\n", "loaded"},
        {"data", "f.chump", kWritePlain, chunks, "loaded"},
        {nullptr, "data:f.Cdp", kWritePlain, chunks, "loaded"},
        {nullptr, "f.cdp2", kWritePlain, chunks, "loaded"},
        {"data", "packed.chump", kWriteCompressed, chunks, "loaded"},
        {nullptr, "packed.chump", kWriteCompressed, chunks, "none"},
        {nullptr, "bad.cdp", kWritePlain, "no", "none"},
        {nullptr, "f.dat", kWritePlain, chunks, "left alone"},
        {nullptr, "f", kWritePlain, chunks, "left alone"},
        {nullptr, "missing.txt", kWritePlain, "", "left alone"},
        {nullptr, "missing.chump", kWritePlain, "", "left alone"}};
    const std::string old = Describe(*ReadText("old 1"));
    const std::map<std::string, std::string> trees = {
        {"loaded", Describe(*ReadText("a 7"))}, {"none", "none"}, {"left alone", old}};
    for (const auto& [subst, path, kind, content, outcome] : rows) {
        SCOPED_TRACE(path);
        ASSERT_TRUE(content.empty() || Store(path, content, kind));
        OCSChunkRef tree = ReadText("old 1");
        EXPECT_EQ(LoadTagDatabase(tree, Intern(subst), path), outcome != "left alone"s);
        EXPECT_EQ(tree ? Describe(*tree) : "none", trees.at(outcome));
    }
    // Compressed, then cut: neither the first half nor nothing is the tags.
    for (const char* path : {"torn.txt", "torn.chump"}) {
        for (const std::size_t kept : {14u, 3000u}) {
            SCOPED_TRACE(path);
            const bool isText = path == "torn.txt"s;
            ASSERT_TRUE(Store(path, isText ? "a 7\nb \"" + Noise(30000) : chunks + Noise(30000),
                              kWriteCompressed));
            fs::resize_file(path, kept);
            OCSChunkRef tree = ReadText("old 1");
            EXPECT_FALSE(LoadTagDatabase(tree, Intern("data"), path));
            EXPECT_EQ(Describe(*tree), old);
        }
    }
    OCSChunkRef none;
    folder.Write("ww:x/f.txt", "a 8");
    folder.Write("x/f.txt", "a 7");
    ASSERT_TRUE(LoadTagDatabase(none, InternedString(), "ww:x/f.txt")) << "a folder, not a mount";
    EXPECT_EQ(Describe(*none), Describe(*ReadText("a 8")));
    none = OCSChunkRef();
    EXPECT_TRUE(LoadTagDatabase(none, InternedString(), "f.txt") && none);
}

}  // namespace
}  // namespace Vorn::Testing
