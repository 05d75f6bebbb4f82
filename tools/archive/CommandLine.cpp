#include "tools/archive/CommandLine.h"

#include "kernel/services/OptionSources.h"

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
    OptionList list;
    LoadOptions(list, appName, nullptr);
    for (const std::string& argument : arguments) {
        if (argument.starts_with('-')) ParseOptions(list, argument);
    }
    String logFile;
    GetOptionString(list, "LogFile", logFile, "");
    return std::string("-LogFile=") + logFile.Text();
}

}  // namespace Vorn
