#include "kernel/Exceptions.h"

#include <gtest/gtest.h>

#include <string>

namespace Vorn {
namespace {

TEST(Exceptions, CarryPlaceReasonAndClass) {
    const std::string longReason(300, 'r');
    try {
        throw Exception("kernel/File", 72, longReason.c_str());
    } catch (const Exception& exception) {
        EXPECT_STREQ(exception.GetFile(), "kernel/File");
        EXPECT_EQ(exception.GetLine(), 72);
        EXPECT_EQ(exception.GetReason(), longReason.substr(0, 255));
        EXPECT_STREQ(exception.GetClassName(), "Unknown");
        EXPECT_STREQ(exception.GetCallStack(), "No call stack available\r\n");
    }
    try {
        throw FileEx::Formatted("KernelStandard/File", 9, "%d %s", 5, longReason.c_str());
    } catch (const Exception& exception) {
        EXPECT_EQ(exception.GetReason(), "5 " + longReason.substr(0, 253));
        EXPECT_STREQ(exception.GetClassName(), "File");
    }
}

}  // namespace
}  // namespace Vorn
