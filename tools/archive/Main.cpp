// VArchive: builds, lists and unpacks asset archives.
#include <cstdio>
#include <exception>
#include <string_view>

#include "kernel/Exceptions.h"
#include "services/Kernel.h"
#include "tools/archive/CommandLine.h"
#include "tools/archive/VArchive.h"

namespace {

constexpr const char* kName = "VArchive";

int Fail(const char* problem) {
    std::fflush(stdout);
    std::fprintf(stderr, "%s: %s\n", kName, problem);
    return 1;
}

// The tool's lines are its result: they must have got out.
int Finish(bool good) {
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) return Fail("cannot print all lines");
    return good ? 0 : 1;
}

int RunTool(const Vorn::Arguments& arguments) {
    const auto line = Vorn::JoinArguments(arguments);
    if (!line) return Fail("an argument is empty, or holds a double quote or a line end");
    Vorn::VArchive tool;
    tool.Init(Vorn::VArchive::kFlags);
    const std::string options = Vorn::OptionText(arguments, kName);
    bool good = tool.Startup(line->c_str(), kName, options.c_str());
    if (!good) return Fail("the kernel cannot be started");
    good = tool.Run() && !tool.AnyFailed();
    tool.Shutdown();
    return Finish(good);
}

int RunProgram(const Vorn::Arguments& arguments) {
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
        return RunProgram(Vorn::Arguments(argv + 1, argv + argc));
    } catch (const Vorn::Exception& exception) {
        return Fail(exception.GetReason());
    } catch (const std::exception& exception) {
        return Fail(exception.what());
    }
}
