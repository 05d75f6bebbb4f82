#include "assetdata/RandomGenerator.h"
#include "assetdata/TemporaryFilePath.h"
#include "kernel/Exceptions.h"
#include "services/Log.h"
#include "tests/support/Tests.h"

namespace Vorn::Testing {
namespace {

using TemporaryPaths = InFolder;

TEST_F(TemporaryPaths, AreFreeAndShaped) {
    const auto first = CreateTemporaryFilePath(folder.Path(), "pre", "txt");
    const auto second = CreateTemporaryFilePath(folder.Path() + "/", "pre", "");
    ASSERT_TRUE(first && second);
    EXPECT_THAT(*first, testing::MatchesRegex(folder.Path() + "/pre[0-9a-z]{8}[0-9]+\\.txt"));
    EXPECT_THAT(*second, testing::MatchesRegex(folder.Path() + "/pre[0-9a-z]{8}[0-9]+"));

    EXPECT_EQ(CreateTemporaryFilePath(folder.Path(), "pre", "txt", "mine"), folder.Path("mine"));
    folder.Write("mine", "");
    EXPECT_THAT(*CreateTemporaryFilePath(folder.Path(), "pre", "txt", "mine"), HasSubstr("/pre"));
    EXPECT_THROW((void)CreateTemporaryFilePath(folder.Path(), std::string(300, 'x'), ""), FileEx);
}

TEST_F(TemporaryPaths, EndAfterAHundredTakenOnes) {
    std::FILE* console = std::tmpfile();
    SetLogConsoleStream(console);
    // A zero byte ends every candidate at the folder, which is there.
    EXPECT_EQ(CreateTemporaryFilePath(folder.Path(), "\0"sv, ""), std::nullopt);
    SetLogConsoleStream(nullptr);
    std::rewind(console);
    std::string line(500, '\0');
    line.resize(std::fread(line.data(), 1, line.size(), console));
    std::fclose(console);
    EXPECT_THAT(line, HasSubstr("CreateTemporaryFilePath> unable to form valid temp path in 100 "
                                "tries, at path '" +
                                folder.Path() + "' with prefix ''"));
}

TEST(RandomCharacters, CoverDigitsAndLetters) {
    const Table<std::uint32_t, char> rows = {
        {0, '0'}, {122713350, '0'}, {122713352, '1'}, {1227133513, 'a'}, {4294967295, 'z'}};
    for (const auto& [random, character] : rows)
        EXPECT_EQ(TemporaryNameCharacter(random), character);

    RandomGenerator generator(1);
    std::vector<std::uint32_t> numbers(2000);
    for (std::uint32_t& number : numbers) number = generator.Next();
    for (std::size_t i = 250; i < numbers.size(); ++i) {
        ASSERT_EQ(numbers[i], numbers[i - 250] ^ numbers[i - 103]);
    }
    EXPECT_NE(RandomGenerator(2).Next(), numbers[0]);
}

}  // namespace
}  // namespace Vorn::Testing
