// A separate log for one test: closed before and after, its files in a temporary folder.
#pragma once

#include "services/Log.h"
#include "tests/support/Tests.h"

namespace Vorn {

class LogFixture : public testing::Test {
protected:
    LogFixture() {
        CloseLog();
        folder_.Enter();
    }
    ~LogFixture() override { CloseLog(); }

    static void Init(const std::string& options) {
        OptionList list;
        ParseOptions(list, options);
        InitLog(list);
    }

    // Returns what the file holds after the banner; empty without one.
    [[nodiscard]] std::string Body(const char* file = "VornLog.txt") const {
        const std::string text = folder_.Read(file);
        const std::size_t end = text.find("\r\n\r\n");
        return end == std::string::npos ? "" : text.substr(end + 4);
    }

    Testing::TempFolder folder_;
};

}  // namespace Vorn
