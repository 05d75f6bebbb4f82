#include "kernel/Exceptions.h"

#include <gtest/gtest.h>

#include <string>

namespace Vorn {
namespace {

TEST(Exceptions, CarryPlaceReasonAndClass) {
    try {
        throw Exception("kernel/File", 72, std::string(300, 'r').c_str());
    } catch (const Exception& exception) {
        EXPECT_STREQ(exception.GetFile(), "kernel/File");
        EXPECT_EQ(exception.GetLine(), 72);
        EXPECT_EQ(exception.GetReason(), std::string(255, 'r'));
        EXPECT_STREQ(exception.GetClassName(), "Unknown");
        EXPECT_STREQ(exception.GetCallStack(), "No call stack available\r\n");
        EXPECT_FALSE(exception.IsFlagged());
    }
}

TEST(Exceptions, FormatTheirReason) {
    try {
        throw FileEx::Formatted("KernelStandard/FileSubstList", 9, "Subst(%s) %d", "tex", 5);
    } catch (const Exception& exception) {
        EXPECT_STREQ(exception.GetReason(), "Subst(tex) 5");
        EXPECT_STREQ(exception.GetClassName(), "File");
        EXPECT_EQ(exception.GetLine(), 9);
    }
    const FileEx cut = FileEx::Formatted("f", 1, "%s", std::string(300, 'r').c_str());
    EXPECT_EQ(cut.GetReason(), std::string(255, 'r'));
}

}  // namespace
}  // namespace Vorn
