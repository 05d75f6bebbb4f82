#include "tests/KernelStandard/FileLayer.h"

namespace Vorn::Testing {
namespace {

class FileText : public FileLayer {
protected:
    // All lines of a file with these bytes, read into a buffer of `size` bytes.
    std::vector<std::string> Lines(const std::string& bytes, std::uint32_t size, int textMode = 0) {
        folder.Write("t", bytes);
        File file;
        EXPECT_EQ(file.Open("t", kReadDetect, textMode), RES_OK);
        std::vector<std::string> lines;
        std::string buffer(size + 4, '#');
        while (file.Tell() < bytes.size()) {
            const std::uint32_t stored = file.ReadLine(buffer.data(), size);
            EXPECT_EQ(buffer[stored], '\0');
            EXPECT_EQ(buffer.substr(size), "####");
            lines.push_back(buffer.substr(0, stored));
        }
        return lines;
    }
};

TEST_F(FileText, LinesEndWithTheirLineFeedOrAreCut) {
    const std::string across(16384, 'x');  // the end of the buffer
    const Table<std::string, std::uint32_t, int, std::vector<std::string>> rows = {
        {"abcdefgh\nxy", 5, 0, {"abc", "xy"}},
        {"one\r\n\n\0two\n"s, 100, 0, {"one\r\n", "\n", "\0two\n"s}},
        {"a\nb\n", 2, 0, {"", ""}},
        {across + "\nlast", 20000, kTextAnsi, {across + "\n", "last"}},
        // Stored in the ANSI code page.
        {"a\0\xAC\x20\xE4\0\n\0x\0\x05\x03!"s, 100, kTextUtf16, {"a\x80\xE4\n", "x?"}},
        {"a\0b\0c\0d\0\n\0e\0"s, 5, kTextUtf16, {"abc", "e"}}};
    for (const auto& [bytes, size, mode, lines] : rows) EXPECT_EQ(Lines(bytes, size, mode), lines);
}

TEST_F(FileText, TheByteOrderMarkChoosesTheMode) {
    for (const std::string& bytes : {"\xFF\xFE"s + "a\0"s, "\xFE\xFF"s, "\xFF"s, ""s, "ab"s}) {
        const bool marked = bytes.starts_with("\xFF\xFE");
        folder.Write("t", bytes);
        File file;
        ASSERT_EQ(file.Open("t", kReadDetect, marked ? 0 : kTextUtf16), RES_OK);
        file.DetectTextEncoding();
        EXPECT_EQ(file.TextMode(), marked ? kTextUtf16 : kTextAnsi);
        EXPECT_EQ(file.Tell(), marked ? 2u : 0u);
    }
}

TEST_F(FileText, TextIsWrittenInTheFilesMode) {
    for (const auto& [mode, bytes] :
         Table<int, std::string>{{kTextUtf16, "a\0\xAC\x20"s}, {0, "a\x80"}}) {
        File file;
        ASSERT_EQ(file.Open("t", kWritePlain | kCreateOrTruncate, mode), RES_OK);
        EXPECT_EQ(file.WriteText("a\x80") + file.WriteText(""), bytes.size());
        file.Commit();
        EXPECT_EQ(folder.Read("t"), bytes);
    }
}

}  // namespace
}  // namespace Vorn::Testing
