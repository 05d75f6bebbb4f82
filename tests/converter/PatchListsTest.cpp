#include "converter/PatchLists.h"

#include <gmock/gmock.h>

namespace {

using Records = std::vector<std::pair<std::string, std::string>>;

Records RecordsOf(std::string_view text, int digestLines) {
    MemberMap members;
    ParseList(text, digestLines, members);
    Records records;
    for (const auto& [name, digests] : members) records.emplace_back(name.View(), digests.View());
    return records;
}

TEST(PatchLists, TextIsCutIntoRecordsOfLines) {
    const struct {
        std::string_view text;
        int digestLines;
        Records records;
    } rows[] = {
        {"", 1, {}},
        {"a\n1\n", 1, {{"a", "1"}}},
        {"a\n1", 1, {{"a", "1"}}},
        {"a\n1\nb\n", 1, {{"a", "1"}}},       // the second line is missing
        {"a\n\nb\n2\n", 1, {{"b", "2"}}},     // or empty
        {"\n1\nb\n2\n", 1, {{"b", "2"}}},     // no name
        {"a\r\n1\r\n", 1, {{"a\r", "1\r"}}},  // only the line feed is special
        {"b\n1\nB\n2\na\n3\n", 1, {{"B", "2"}, {"a", "3"}, {"b", "1"}}},  // byte order
        {"a\n1\na\n2\n", 1, {{"a", "2"}}},                                // the later one counts
        {"a\n1\n2\nb\n3\n4\n", 2, {{"a", "1\n2\n"}, {"b", "3\n4\n"}}},
        {"a\n1\n\nb\n3\n4\n", 2, {{"b", "3\n4\n"}}},
        {"a\n1\n", 2, {}},
        {std::string_view("\xFF\n1\na\0b\n2\n", 10),
         1,
         {{std::string("a\0b", 3), "2"}, {"\xFF", "1"}}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(RecordsOf(row.text, row.digestLines), row.records);
    }
}

TEST(PatchLists, RecordsAreWrittenInByteOrderOfTheirNames) {
    MemberMap members;
    members[Vorn::Intern("b")] = Vorn::Intern("2");
    members[Vorn::Intern("a.txt")] = Vorn::Intern("1\n3");
    members[Vorn::Intern("B")] = Vorn::Intern("4");
    EXPECT_EQ(FormatList(members), "B\n4\na.txt\n1\n3\nb\n2\n");
    EXPECT_EQ(FormatList({}), "");
}

TEST(PatchLists, FirstDigestEndsAtItsLine) {
    EXPECT_EQ(FirstDigest(Vorn::Intern("1\n2\n")), Vorn::Intern("1"));
    EXPECT_EQ(FirstDigest(Vorn::Intern("\n\n1\n2\n")), Vorn::Intern("1"));
    EXPECT_EQ(FirstDigest(Vorn::Intern("1")), Vorn::Intern("1"));
}

}  // namespace
