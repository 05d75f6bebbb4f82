#include "tools/archive/CommandLine.h"

#include "services/OptionSources.h"

namespace Vorn {

std::optional<std::string> JoinArguments(const Arguments& arguments) {
    std::string line;
    for (const std::string& argument : arguments) {
        if (argument.empty() || argument.find_first_of("\"\r\n") != std::string::npos) return {};
        if (!line.empty()) line += ' ';
        line.append("\"").append(argument).append("\"");
    }
    return line;
}

std::string OptionText(const Arguments& arguments, const char* appName) {
    OptionList loaded;
    LoadOptions(loaded, appName, nullptr);
    String logFile;
    GetOptionString(loaded, "LogFile", logFile, "");
    // Either quote ends a quoted value, and without one an empty value takes the next option.
    const bool hasQuote = logFile.View().find_first_of("\"'") != std::string_view::npos;
    const char* quote = hasQuote ? "" : "\"";
    std::string text = std::string("-LogFile=") + quote + logFile.Text() + quote;
    for (const std::string& argument : arguments) {
        if (argument.starts_with('-')) text.append(" ").append(argument);
    }
    return text;
}

}  // namespace Vorn
