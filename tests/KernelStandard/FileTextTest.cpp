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
    EXPECT_THAT(Lines("abcdefgh\nxy", 5), ElementsAre("abc", "xy"));
    EXPECT_THAT(Lines("one\r\n\n\0two\n"s, 100), ElementsAre("one\r\n", "\n", "\0two\n"s));
    EXPECT_THAT(Lines("a\nb\n", 2), ElementsAre("", ""));
    const std::string across = std::string(16384, 'x') + "\nlast";  // the end of the buffer
    EXPECT_THAT(Lines(across, 20000), ElementsAre(across.substr(0, 16385), "last"));
}

TEST_F(FileText, Utf16LinesAreStoredInTheAnsiCodePage) {
    EXPECT_THAT(Lines("a\0\xAC\x20\xE4\0\n\0x\0\x05\x03!"s, 100, kTextUtf16),
                ElementsAre("a\x80\xE4\n", "x?"));
    EXPECT_THAT(Lines("a\0b\0c\0d\0\n\0e\0"s, 5, kTextUtf16), ElementsAre("abc", "e"));
}

TEST_F(FileText, TheByteOrderMarkChoosesTheMode) {
    for (const auto& [bytes, mode, position] :
         Table<std::string, int, std::uint32_t>{{"\xFF\xFE"s + "a\0"s, kTextUtf16, 2},
                                                {"\xFE\xFF", kTextAnsi, 0},
                                                {"\xFF", kTextAnsi, 0},
                                                {"", kTextAnsi, 0},
                                                {"ab", kTextAnsi, 0}}) {
        folder.Write("t", bytes);
        File file;
        ASSERT_EQ(file.Open("t", kReadDetect, mode == kTextAnsi ? kTextUtf16 : 0), RES_OK);
        file.DetectTextEncoding();
        EXPECT_EQ(file.TextMode(), mode);
        EXPECT_EQ(file.Tell(), position);
    }
}

TEST_F(FileText, TextIsWrittenInTheFilesMode) {
    for (const auto& [mode, bytes] :
         Table<int, std::string>{{kTextUtf16, "a\0\xAC\x20"s}, {0, "a\x80"}}) {
        File file;
        ASSERT_EQ(file.Open("t", kWritePlain | kCreateOrTruncate, mode), RES_OK);
        EXPECT_EQ(file.WriteText("a\x80"), bytes.size());
        EXPECT_EQ(file.WriteText(""), 0u);
        file.Commit();
        EXPECT_EQ(folder.Read("t"), bytes);
    }
}

}  // namespace
}  // namespace Vorn::Testing
