// What the option "Log" makes of the modules.
#include "tests/kernel/services/LogFixture.h"

namespace Vorn::Testing {
namespace {

using LogOptions = LogFixture;

TEST_F(LogOptions, ConfigureTheModulesTheyName) {
    constexpr std::uint32_t kBoth = kLogToFile | kLogToDebugger;
    constexpr std::uint32_t kAll = kLogNewlines | kLogPrefix;
    const Table<const char*, LogLevel, std::uint32_t, std::uint32_t> rows = {
        {"-Log=Foo:None", LogLevel::None, kBoth, kAll},
        {"-Log=Foo:Err:WARN", LogLevel::Warn, kBoth, kAll},
        {"-Log=fOO::diag:", LogLevel::Diag, kBoth, kAll},
        {"-Log=Foo:Prog,Foo:file=OFF", LogLevel::Prog, kLogToDebugger, kAll},
        {"-Log=Foo:file=off:FILE=yes:mono=off", LogLevel::Warn, kLogToFile, kAll},
        {"-Log=Foo:mono=off:file=off:window", LogLevel::Warn, kLogToWindow, kAll},
        {"-Log=Foo:newlines=off:displaymodulename=on", LogLevel::Warn, kBoth, kLogPrefix},
        {"-Log=Foo:displaymodulename -LogDisplayModuleName-", LogLevel::Warn, kBoth, kAll},
        {"-LogDisplayModuleName-", LogLevel::Warn, kBoth, kLogNewlines},
        {"-Log=:Err,Foo:Err=off:mon=off,FooBar:Err,Fo:Err", LogLevel::Warn, kBoth, kAll},
    };
    for (const bool existing : {true, false}) {
        for (const auto& [options, level, sinks, format] : rows) {
            SCOPED_TRACE(options);
            if (existing) RegisterLogModule("Foo");
            Init(options);
            const LogModule& module = *RegisterLogModule("Foo");
            EXPECT_EQ(std::tuple(module.Level(), module.Sinks(), module.Format()),
                      std::tuple(level, sinks, format));
            EXPECT_EQ(RegisterLogModule("")->Level(), LogLevel::Warn);
            CloseLog();
        }
    }
}

}  // namespace
}  // namespace Vorn::Testing
