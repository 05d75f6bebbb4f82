// VArchive: builds, lists and unpacks asset archives.
#include <cstdio>
#include <exception>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "kernel/Exceptions.h"
#include "services/Kernel.h"
#include "services/OptionSources.h"
#include "tools/archive/VArchive.h"

namespace {

using Arguments = std::vector<std::string>;

constexpr const char* kName = "VArchive";

// Returns one command line, each argument in double quotes, so that blanks in it and its length do
// not matter. nullopt if an argument is empty or contains a double quote or a line end, which would
// change it.
[[nodiscard]] std::optional<std::string> JoinArguments(const Arguments& arguments) {
    std::string line;
    for (const std::string& argument : arguments) {
        if (argument.empty() || argument.find_first_of("\"\r\n") != std::string::npos) return {};
        if (!line.empty()) line += ' ';
        line.append("\"").append(argument).append("\"");
    }
    return line;
}

// Returns the kernel's options among the arguments as option text: in the quotes of the command
// line they would not be recognised. There is no log file unless these options, or those loaded for
// this program, name one.
[[nodiscard]] std::string OptionText(const Arguments& arguments) {
    Vorn::OptionList loaded;
    Vorn::LoadOptions(loaded, kName, nullptr);
    Vorn::String logFile;
    Vorn::GetOptionString(loaded, "LogFile", logFile, "");
    // Either kind of quote ends a quoted value, and an unquoted empty value takes the next option.
    const bool hasQuote = logFile.View().find_first_of("\"'") != std::string_view::npos;
    const char* quote = hasQuote ? "" : "\"";
    std::string text = std::string("-LogFile=") + quote + logFile.Text() + quote;
    for (const std::string& argument : arguments) {
        if (argument.starts_with('-')) text.append(" ").append(argument);
    }
    return text;
}

int Fail(const char* problem) {
    std::fflush(stdout);
    std::fprintf(stderr, "%s: %s\n", kName, problem);
    return 1;
}

// The lines are the tool's result: a run whose lines were lost has failed.
int Finish(bool good) {
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
        return Fail("cannot write all lines to standard output");
    }
    return good ? 0 : 1;
}

int RunTool(const Arguments& arguments) {
    const auto line = JoinArguments(arguments);
    if (!line) return Fail("an argument is empty, or contains a double quote or a line end");
    Vorn::VArchive tool;
    tool.Init(Vorn::VArchive::kFlags);
    const std::string options = OptionText(arguments);
    bool good = tool.Startup(line->c_str(), kName, options.c_str());
    if (!good) return Fail("the kernel cannot be started");
    good = tool.Run() && !tool.AnyFailed();
    tool.Shutdown();
    return Finish(good);
}

int RunProgram(const Arguments& arguments) {
    const std::string_view first = arguments.empty() ? std::string_view() : arguments.front();
    if (first == "--help") {
        Vorn::VArchive().PrintUsage();
        return Finish(true);
    }
    if (first == "--version") {
        std::printf("%s %s\n", kName, VARCHIVE_VERSION);
        return Finish(true);
    }
    return RunTool(arguments);
}

}  // namespace

int main(int argc, char** argv) {
    try {
        const Vorn::Kernel kernel;
        return RunProgram(Arguments(argv + 1, argv + argc));
    } catch (const Vorn::Exception& exception) {
        return Fail(exception.GetReason());
    } catch (const std::exception& exception) {
        return Fail(exception.what());
    }
}
