#include "assetdata/NorvaneLog.h"

#include <cstdarg>
#include <string>

#include "kernel/FormatText.h"
#include "services/Log.h"

namespace Vorn {
namespace {

constexpr const char* kLogModule = "Norvane";

// Registered before main, so that the log's options find the module.
[[maybe_unused]] const LogModule* const registered = RegisterLogModule(kLogModule);

}  // namespace

void NorvaneLog(const char* format, ...) noexcept {
    std::va_list arguments;
    va_start(arguments, format);
    try {
        const std::string line(FormattedText(format, arguments).View());
        LogWriteRaw(*RegisterLogModule(kLogModule), LogLevel::Warn, "%s", line.c_str());
    } catch (...) {
        // A lost line is no reason to end its writer.
    }
    va_end(arguments);
}

}  // namespace Vorn
