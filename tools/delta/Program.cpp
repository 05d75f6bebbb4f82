#include "tools/delta/Program.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <new>
#include <string_view>

#include "delta/Error.h"
#include "tools/delta/Files.h"
#include "tools/delta/ProgramError.h"

namespace delta {
namespace {

void PrintHelp(const Program& program) {
    std::printf(
        "usage: %s %s\n\n%s\n\n"
        "OUT appears only when it is complete; on failure it stays as it was.\n\n"
        "exit codes:\n"
        "  0  success\n"
        "  1  wrong arguments\n"
        "  2  an input cannot be read\n"
        "  3  OUT cannot be written\n"
        "  4  the diff is damaged, or is not a diff\n"
        "  5  OLD is not the file that the diff was made from\n"
        "  6  out of memory\n"
        "  7  a file has 4 GiB or more\n",
        program.name, program.operands, program.purpose);
}

int Fail(const Program& program, ExitCode code, std::string line) {
    // File names may contain line ends, but callers expect one line.
    std::ranges::replace_if(
        line, [](char c) { return c == '\n' || c == '\r'; }, '?');
    std::fprintf(stderr, "%s: %s\n", program.name, line.c_str());
    return static_cast<int>(code);
}

}  // namespace

int RunProgram(const Program& program, int argc, char** argv) {
    const std::string_view option = argc == 2 ? argv[1] : "";
    if (option == "--help") {
        PrintHelp(program);
        return 0;
    }
    if (option == "--version") {
        std::printf("%s %s\n", program.name, DELTA_VERSION);
        return 0;
    }
    if (argc != 4) {
        return Fail(program, ExitCode::BadUsage,
                    std::string("expected ") + program.operands + "; --help explains");
    }
    try {
        HandleSignals(program.faultLine);
        program.action(argv[1], argv[2], argv[3]);
        return 0;
    } catch (const ProgramError& error) {
        return Fail(program, error.Code(), error.what());
    } catch (const Error& error) {
        return Fail(program, ExitCodeOf(error.Kind()), error.what());
    } catch (const std::bad_alloc&) {
        return Fail(program, ExitCode::OutOfMemory, "out of memory");
    }
}

}  // namespace delta
