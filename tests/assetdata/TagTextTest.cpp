#include "assetdata/TagText.h"

#include "assetdata/OCSConverter.h"
#include "assetdata/TBuffer.h"
#include "assetdata/TDBContainerTag.h"
#include "assetdata/TDBDataTag.h"
#include "assetdata/TagLosses.h"
#include "assetdata/TagTextRules.h"
#include "assetdata/TagValues.h"
#include "tests/assetdata/TagSamples.h"
#include "tests/support/Tests.h"

namespace Vorn::Testing {
namespace {

// "name=type:value" for each tag, containers with their children in braces.
std::string Tell(const OCSChunk& container) {
    std::string told;
    for (std::uint32_t i = 0; i < container.ChildCount(); ++i) {
        const auto [name, child] = container.ChildAt(i);
        if (!told.empty()) told += ' ';
        told += std::string(name) + '=' + std::to_string(child->GetType());
        if (child->GetType() == kTagContainer) {
            told += '{' + Tell(*child) + '}';
        } else if (child->GetType() != kTagNone) {
            told += ':' + TextOfTag(*child);
        }
    }
    return told;
}

TEST(TagTexts, AreRead) {
    const Table<std::string, std::string> rows = {
        {"name 12", "name=6:12"},
        {"name -1.5 \t\n", "name=3:-1.5"},
        {"name 1, 2, 3.5", "name=3:1,2,3.5"},
        {"name 12 apples", "name=4:12 apples"},
        {"Name 1\nNAME 2", "name=6:1 name=6:2"},
        {"kuid <kuid:12:34>", "kuid=7:<kuid:12:34>"},
        {"kuid \"<KUID2:1:2:3>\"", "kuid=7:<kuid2:1:2:3>"},
        {"kuid <Null>", "kuid=7:<NULL>"},
        {"list <kuid:1:2> <kuid:3:4>", "list=4:<kuid:1:2> <kuid:3:4>"},
        {"list <null> <KUID:3:4> <kuid2:3:4:5>", "list=4:<null> <KUID:3:4> <kuid2:3:4:5>"},
        {"n in front <kuid:1:2>", "n=4:in front <kuid:1:2>"},
        {"n a\\nb\\\\nc", "n=4:a\r\nb\\\r\nc"},
        {"n \"a\\nb\"", "n=4:a\\nb"},
        {"n \"a\nb\rc\r\nd\n\re\n\nf\"", "n=4:a\r\nb\r\nc\r\nd\r\ne\r\n\r\nf"},
        {"n \"a{}\" m x}", "n=4:a{} m=4:x"},
        {"a\nb\t\r\n\r\nc\n", "a=0 b=0 c=0"},
        {"a\n\n {b 1\n}\nc", "a=1{b=6:1} c=0"},
        {"a {b{ 1}}c", "a=1{b{=4:1}"},
        {"a { }b {\nc {\n}\n", "a=1{} b=1{c=1{}}"},
        {"a 1}b 2", "a=4:1"},
        {"a \"\"\nb \"x", "a=4: b=4:x"},
        {"a -\nb .\nc 1.2.3\nd -.5-\ne ,\nf --", "a=6:0 b=3:0 c=3:1.2 d=3:-0.5 e=3:0 f=3:0"},
        {"a 99999999999\nb -99999999999\nc 1" + std::string(50, '0') + ".\nd 0." +
             std::string(60, '0') + "1",
         "a=6:2147483647 b=6:-2147483648 c=3:inf d=3:0"},
        {"a 1,,2 ,\t3\t4 5", "a=3:1,2,3,5"},
        {"a +1\nb 1e5\nc 0x10", "a=4:+1 b=4:1e5 c=4:0x10"},
        {"a caf\xE9 \x80\nb caf\xC3\xA9", "a=4:caf\xC3\xA9 \xE2\x82\xAC b=4:caf\xC3\x83\xC2\xA9"},
        {"\xEF\xBB\xBF"
         "a caf\xC3\xA9",
         "a=4:caf\xC3\xA9"},
        {"\xEF\xBB"
         "a 1",
         "\xEF\xBB"
         "a=6:1"},
        {"a 1\0b 2"s, "a=6:1"},
        {std::string(600, 'N') + " 1", std::string(511, 'n') + "=6:1"},
        {"a 1," + std::string(252, ' ') + "23", "a=3:1,2"},
        {"", ""},
        {" \n\t ", ""}};
    for (const auto& [text, expected] : rows) {
        SCOPED_TRACE(text);
        EXPECT_EQ(Tell(*ReadText(text)), expected);
    }
}

// Editors change a text by these places; every tag has one, and containers enclose theirs.
TEST(TagTexts, PlacesOfNamesAndValuesAreTold) {
    const std::string text =
        "\xEF\xBB\xBF"
        "Mass  1.5 \nbox\n{ q \"x y\" n }\nnone \nopen { t a b";
    class Places final : public TagObserver {
    public:
        explicit Places(const std::string& text) : text_(text) {}
        void OnFinding(const TagFinding& /*finding*/) override {}
        void OnTagEnd(const OCSChunk& /*tag*/, const TagExtent& extent) override {
            told.push_back(Piece(extent.name, extent.nameEnd) + '|' +
                           Piece(extent.value, extent.end));
        }
        std::vector<std::string> told;

    private:
        [[nodiscard]] std::string Piece(std::uint64_t begin, std::uint64_t end) const {
            return text_.substr(begin, end - begin);
        }
        const std::string& text_;
    };
    Places places(text);
    const OCSChunkRef root = ReadText(text, &places);
    EXPECT_THAT(places.told, ElementsAre("Mass|1.5 ", "q|\"x y\"", "n|", "box|{ q \"x y\" n }",
                                         "none|", "t|a b", "open|{ t a b"));
}

TEST(TagTexts, EndWhereTheirContainerEnds) {
    TBufferBlock block(std::as_bytes(std::span("a caf\xC3\xA9\n}rest"sv)));
    TBuffer stream(block);
    TDBContainerTag container;
    ReadTagText(container, stream, true);
    EXPECT_EQ(Tell(container), "a=4:caf\xC3\xA9");
    EXPECT_EQ(stream.ReadByte(), '}');
    ReadTagText(container, stream, true);
    EXPECT_EQ(Tell(container), "a=4:caf\xC3\xA9 rest=0") << "what is read is appended";
}

TEST(TagTexts, AreWritten) {
    const OCSChunkRef root =
        ReadText("name 12\nlong-" + std::string(50, 'x') +
                 " 1\nv 0.1,1000000.5\nk <kuid:1:2>\n"
                 "s \"say hi\"\ne\nz \"\"\nbox {\nin \"a\nb\"\nc {}\nd {}\n}\n");
    root->AddChild(Intern("Dark Red\xE9"), Leaf(kTagText, "say \"hi\"\0"s));
    root->AddChild(Intern("raw"), Leaf(kTagRaw, "\1\2"));
    root->AddChild(Intern("tab"), Leaf(kTagText, "a\tb\0"s));
    const std::string shown = "name|12\nlong-" + std::string(50, 'x') +
                              " 1\nv|0.1,1e+06\nk|<kuid:1:2>\ns|\"say hi\"\ne|\nz|\n"
                              "\nbox\n{\n  in|\"a\nb\"\n"
                              "  \n  c\n  {\n  }\n  \n  d\n  {\n  }\n}\n"
                              "dark_red_|\"say 'hi'\"\nraw|\ntab|\"a\tb\"\n";
    // '|' stands for blanks up to column 40.
    std::string expected;
    std::size_t line = 0;
    for (const char c : shown) {
        if (c == '|') expected.resize(line + 40, ' ');
        if (c == '\n') expected += '\r';
        if (c != '|') expected += c;
        if (c == '\n') line = expected.size();
    }
    EXPECT_EQ(WriteText(*root), expected);

    TBufferBlock block(64);
    TBuffer stream(block);
    EXPECT_TRUE(WriteTagText(*root->ChildAt(0).child, "Deep", stream, 3));
    EXPECT_TRUE(WriteTagText(*NewTag(kTagContainer), "c", stream, 1));
    EXPECT_EQ(TextOf(block.Content()), "      deep" + std::string(30, ' ') + "12  c\r\n  {\r\n  }");
    EXPECT_EQ(WriteText(*ReadText("a caf\xE9")).substr(0, 4),
              "\xEF\xBB\xBF"
              "a");

    const std::string full = "full";
    TBufferBlock fixed(std::as_bytes(std::span(full)));
    TBuffer nowhere(fixed);
    EXPECT_FALSE(WriteTagTextFile(*root, nowhere));
}

TEST(TagTexts, TellWhatTheyFindAndWhere) {
    using enum TagFault;
    const Table<std::string, TagFault, std::string> rows = {
        {"a 1\n} b", StrayBrace, "2:1 @4 "},
        {"a {\r\n b {\r\n\r\n}", MissingBrace, "4:2 @14 "},
        {"a \"x\n\ny", MissingQuote, "1:1 @0 a"},
        {"a \"x\" y 1", AfterQuote, "1:7 @6 a"},
        {"\n\r\r\na\0b"s, ZeroByte, "3:2 @5 "},
        {"\xEF\xBB\xBF" + std::string(512, 'a'), NameCut, "1:1 @3 " + std::string(80, 'a') + "..."},
        {"aa \t-", NoNumber, "1:5 @4 aa"},
        {"a 1\nb ,", NoNumber, "2:3 @6 b"},
        {"a 2147483648", NumberOutOfRange, "1:3 @2 a"},
        {"a 1.2.3", NumberCut, "1:3 @2 a"},
        {"a 1-2,3", NumberCut, "1:3 @2 a"},
        {"a 1," + std::string(300, '2'), NumberOutOfRange, "1:5 @4 a"},
        {"a 0.123456789", NumberRounded, "1:3 @2 a"},
        {"a 1\nb 1, \t-16777217", NumberRounded, "2:7 @10 b"},
        {"a 0." + std::string(39, '0') + "1234567", NumberRounded, "1:3 @2 a"},
        {"a 1." + std::string(200, '0') + "1", NumberRounded, "1:3 @2 a"},
        {"a\n{\n bIG 1", NameLowered, "3:2 @5 bIG"},
        {"a <kuid:16777216:1>", KUIDWraps, "1:1 @0 a"},
        {"a <kuid:-16777217:1>", KUIDWraps, "1:1 @0 a"},
        {"a " + std::string(300, '.') + ",2", NoNumber, "1:3 @2 a"},
        {"a <kuid:x>", BadKUID, "1:1 @0 a"},
        {"a <kuid2:1:2:200>", BadKUID, "1:1 @0 a"},
        {"a <kuid:1:2> and", KUIDNotExact, "1:1 @0 a"}};
    for (const auto& [text, fault, place] : rows) {
        SCOPED_TRACE(text);
        Findings findings;
        (void)ReadText(text, &findings);
        ASSERT_FALSE(findings.list.empty());
        const TagFinding& first = findings.list.front();
        EXPECT_EQ(first.fault, fault);
        EXPECT_EQ(std::to_string(first.place.line) + ':' + std::to_string(first.place.column) +
                      " @" + std::to_string(first.place.offset) + ' ' + first.about,
                  place);
    }
    Findings findings;
    (void)ReadText(
        "a 1\nb {\n c \"x\"\n d <kuid:1:2>\n e 1, 2 ,3\t\n f <NULL> \n}\n"
        "g 0.1,-3.1415927,0.300000012,16777216,000.00,14300.12500000000\n"
        "h 0.1" +
            std::string(200, '0') + "\n",
        &findings);
    EXPECT_THAT(findings.Faults(), IsEmpty());
    Findings cut;
    (void)ReadText("a 1," + std::string(253, ' ') + "2", &cut);
    EXPECT_THAT(cut.Faults(), ElementsAre(ListCut));
}

TEST(TagTexts, LossesAreTold) {
    using enum TagFault;
    const auto numbers = [](std::uint32_t type, std::vector<float> values) {
        return OCSChunkRef(new TDBDataTag(type, MakeFloats(values)));
    };
    const auto kuid = [](const KUID& value) {
        return OCSChunkRef(new TDBDataTag(kTagKUID, MakeKUID(value)));
    };
    const float many[] = {100000.5F};
    const Table<const char*, OCSChunkRef, std::vector<TagFault>> rows = {
        {"a", Leaf(kTagText, "fine\r\n\0"s), {}},
        {"a", numbers(kTagFloat, {1.5F, 2}), {}},
        {"a", Leaf(kTagNone, ""), {}},
        {"a", Leaf(kTagRaw, "\1"), {RawBytesLost}},
        {"A", Leaf(kTagNone, ""), {NameFolded}},
        {"", Leaf(kTagNone, ""), {NameUnreadable}},
        {"a}", Leaf(kTagNone, ""), {NameUnreadable}},
        {"a", numbers(kTagFloat, {1.2345678F}), {FloatRounded}},
        {"a", numbers(kTagFloat, {2}), {ReadsAsOtherType}},
        {"a", numbers(kTagFloat, {many[0] * 1000}), {ReadsAsOtherType, FloatRounded}},
        {"a", numbers(kTagFloat, {1e10F, 1}), {ReadsAsOtherType}},
        {"a", numbers(kTagFloat, std::vector<float>(40, many[0])), {ValuesLost, FloatRounded}},
        {"a", numbers(kTagInteger, {1, 2}), {ReadsAsOtherType}},
        {"a", Leaf(kTagInteger, "\1\0\0\0\1"s), {ValuesLost}},
        {"a", Leaf(kTagInteger, ""), {EmptyValueLost}},
        {"a", kuid({-3, 7, 1}), {KUIDChanged}},
        {"a", Leaf(kTagKUID, "\1\0\0\0\1\0\0\0\1"s), {ValuesLost}},
        {"a", Leaf(kTagText, "\0"s), {EmptyValueLost}},
        {"a", Leaf(kTagText, "a\0b\0"s), {ValuesLost}},
        {"a", Leaf(kTagText, "a\"\n\0"s), {QuoteReplaced, LineEndReplaced}},
        {"a", Leaf(kTagText, "<kuid:1:2> x\0"s), {ReadsAsOtherType}},
        {"a", Leaf(9, ""), {ReadsAsOtherType}}};
    for (const auto& [name, tag, expected] : rows) {
        const OCSChunkRef root = NewTag(kTagContainer);
        root->AddChild(Intern(name), tag);
        SCOPED_TRACE(Describe(*root));
        Findings findings;
        FindTextLosses(*root, findings);
        EXPECT_EQ(findings.Faults(), expected);
        EXPECT_EQ(Describe(*ReadText(WriteText(*root))) == Describe(*root), expected.empty());
    }
}

TEST(TagTexts, NamesThatFoldAlikeAreTold) {
    const OCSChunkRef root = NewTag(kTagContainer);
    const OCSChunkRef box = NewTag(kTagContainer);
    root->AddChild(Intern("box"), box);
    for (const char* name : {"a_b", "c d", "C d", "a b", "e f", "e f"}) {
        box->AddChild(Intern(name), NewTag(kTagNone));
    }
    Findings findings;
    FindTextLosses(*root, findings);
    std::vector<std::string> alike;
    for (const TagFinding& finding : findings.list) {
        if (finding.fault == TagFault::NamesFoldAlike) alike.push_back(finding.about);
    }
    EXPECT_THAT(alike, ElementsAre("box/C d", "box/a b"));
    EXPECT_EQ(FoldTagName("A\x1F \x80z" + std::string(2000, 'B')),
              "a___z" + std::string(1019, 'b'));
}

TEST(TagValues, AreConverted) {
    const float floats[] = {0.1F, 1e10F, -0.0F};
    const std::int32_t integers[] = {1, -2147483647 - 1};
    const Table<OCSRawData, std::uint32_t, std::uint32_t, const char*> rows = {
        {MakeText(" 12 apples"), kTagText, kTagInteger, "12"},
        {MakeText("apples"), kTagText, kTagInteger, "none"},
        {MakeText("-1.5e2x"), kTagText, kTagFloat, "-150"},
        {MakeText("apples"), kTagText, kTagFloat, "0"},
        {MakeText("1:2"), kTagText, kTagKUID, "<kuid:1:2>"},
        {MakeIntegers(integers), kTagInteger, kTagText, "1,-2147483648"},
        {MakeFloats(floats), kTagFloat, kTagText, "0.1,1e+10,-0"},
        {MakeKUID({5, 6, 7}), kTagKUID, kTagText, "<kuid2:5:6:7>"},
        {MakeFloats({floats, 1}), kTagFloat, kTagInteger, "0"},  // through text
        {MakeIntegers({integers, 1}), kTagInteger, kTagKUID, "<kuid:-1:1>"},
        {MakeText("x"), kTagText, kTagRaw, "none"},
        {OCSRawDataCore::Make({}), kTagKUID, kTagText, "none"}};
    for (const auto& [value, from, to, expected] : rows) {
        const OCSRawData converted = ConvertValue(value, from, to);
        EXPECT_EQ(converted ? TextOfTag(TDBDataTag(to, converted)) : "none", expected);
        EXPECT_EQ(ConvertValue(value, from, from), value) << "shared";
    }
}

}  // namespace
}  // namespace Vorn::Testing
