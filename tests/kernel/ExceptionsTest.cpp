#include "kernel/Exceptions.h"

#include "tests/support/Tests.h"

namespace Vorn::Testing {
namespace {

TEST(Exceptions, CarryPlaceReasonAndClass) {
    const std::string longReason(300, 'r');
    const Exception exception("kernel/File", 72, longReason.c_str());
    EXPECT_STREQ(exception.GetFile(), "kernel/File");
    EXPECT_EQ(exception.GetLine(), 72);
    EXPECT_EQ(exception.GetReason(), longReason.substr(0, 255));
    EXPECT_STREQ(exception.GetClassName(), "Unknown");
    EXPECT_STREQ(exception.GetCallStack(), "No call stack available\r\n");
    const FileEx formatted = FileEx::Formatted("File", 9, "%d %s", 5, longReason.c_str());
    EXPECT_EQ(formatted.GetReason(), "5 " + longReason.substr(0, 253));
    EXPECT_STREQ(formatted.GetClassName(), "File");
}

}  // namespace
}  // namespace Vorn::Testing
