#include "converter/PatchTools.h"

#include <algorithm>
#include <iterator>
#include <string>

#include "converter/Console.h"
#include "platform/Clock.h"
#include "platform/Directories.h"
#include "platform/Processes.h"
#include "platform/Threads.h"

namespace {

constexpr std::string_view kDiffProgram = "\\..\\..\\tools\\NorvanePatch\\bin\\vdiffl-w32.exe";
constexpr std::string_view kPatchProgram = "\\vpatchl-w32.exe";
constexpr std::uint32_t kPollMilliseconds = 200;

[[nodiscard]] std::string CommandLine(std::string_view programDir, std::string_view program,
                                      std::initializer_list<std::string_view> arguments) {
    std::string line(programDir);
    line += program;
    for (const std::string_view argument : arguments) {
        line += " \"";
        std::ranges::replace_copy(argument, std::back_inserter(line), '\\', '/');
        line += '"';
    }
    return line;
}

}  // namespace

bool DeleteEarlierOutput(const std::string& path) {
    const char* const name = path.c_str();
    const bool deleted =
        platform::RemoveFile(name) || platform::GetEntryKind(name) == platform::EntryKind::None;
    // A name that differs in letter case only would be opened in place of a missing output.
    if (deleted && !platform::Exists(name)) return true;
    PrintProblem("cannot delete \"" + path + "\", which an earlier run left; delete it");
    return false;
}

bool FitsCommandLine(std::string_view path) { return path.find('"') == std::string_view::npos; }

bool RunDiffProgram(std::string_view programDir, std::string_view oldFile, std::string_view newFile,
                    std::string_view diffFile) {
    platform::Process process;
    const std::string line = CommandLine(programDir, kDiffProgram, {oldFile, newFile, diffFile});
    if (!process.Start(line.c_str(), platform::Console::None)) return false;
    (void)process.Wait(platform::kWaitForever);
    return true;
}

bool RunPatchProgram(std::string_view programDir, std::string_view oldFile,
                     std::string_view diffFile, std::string_view outFile, std::uint32_t& exitCode) {
    platform::Process process;
    const std::string line = CommandLine(programDir, kPatchProgram, {oldFile, diffFile, outFile});
    if (!process.Start(line.c_str(), platform::Console::Shared)) return false;
    (void)process.Wait(platform::kWaitForever);
    exitCode = 0;
    while (process.GetExitCode(exitCode) && exitCode == platform::Process::kStillRunning) {
        platform::SleepMilliseconds(kPollMilliseconds);
    }
    return true;
}
