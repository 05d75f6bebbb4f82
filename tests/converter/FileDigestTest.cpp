#include "converter/FileDigest.h"

#include "tests/support/Tests.h"

namespace Vorn::Testing {
namespace {

TEST(FileDigest, FileIsFoundByEverySeparatorAndReadWhole) {
    const TempFolder folder;
    folder.Write("in/some", std::string(100'000, 'x'));
    EXPECT_EQ(converter::FileDigest(folder.Path("in\\some").c_str()),
              Intern("d5816f35916d1d9482fb0f1ec201101d"));
    EXPECT_FALSE(converter::FileDigest(folder.Path("in/none").c_str()));
    EXPECT_FALSE(converter::FileDigest(folder.Path("in").c_str()));
}

}  // namespace
}  // namespace Vorn::Testing
