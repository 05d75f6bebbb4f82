#include "converter/PatchTools.h"

#include <algorithm>
#include <iterator>
#include <string>

#include "converter/Console.h"
#include "converter/Guarded.h"
#include "platform/Clock.h"
#include "platform/Directories.h"
#include "platform/Processes.h"
#include "platform/Threads.h"

namespace converter {

namespace {

// Fixed: where the programs are, from the converter's folder.
constexpr std::string_view kDiffProgram = "\\..\\..\\tools\\NorvanePatch\\bin\\vdiffl-w32.exe";
constexpr std::string_view kPatchProgram = "\\vpatchl-w32.exe";
constexpr std::uint32_t kPollMilliseconds = 200;

// Starts the program at `program` with arguments in quotes; a line names one that cannot be
// started. The format of the command line is fixed.
[[nodiscard]] bool StartProgram(platform::Process& process, const char* which, std::string program,
                                std::initializer_list<std::string_view> arguments,
                                platform::Console console) {
    // The path has no quotes: without the program, one whose name ends at a blank would be run.
    if (platform::Exists(program.c_str())) {
        std::string line = program;
        for (const std::string_view argument : arguments) {
            line += " \"";
            std::ranges::replace_copy(argument, std::back_inserter(line), '\\', '/');
            line += '"';
        }
        if (process.Start(line.c_str(), console)) return true;
    }
    std::ranges::replace(program, '\\', '/');
    PrintProblem(std::string("cannot start the ") + which + " program; expected at \"" + program +
                 '"');
    return false;
}

// Waits for a program to end. A run that is stopped ends it first.
void WaitForEnd(platform::Process& process) {
    while (!process.Wait(kPollMilliseconds)) {
        if (!platform::InterruptionAsked()) continue;
        process.RequestEnd();
        (void)process.Wait(platform::kWaitForever);
    }
    StopIfAsked();
}

}  // namespace

bool DeleteEarlierOutput(const std::string& path) {
    const char* const name = path.c_str();
    if (platform::RemoveFile(name) || platform::GetEntryKind(name) == platform::EntryKind::None) {
        return true;
    }
    PrintProblem("cannot delete \"" + path + "\", which an earlier run left; delete it");
    return false;
}

bool IsDiffProgramTemporary(std::string_view fileName) {
    constexpr std::string_view kStart = ".vpatch-";
    constexpr std::string_view kEnd = ".tmp";
    if (!fileName.starts_with(kStart) || !fileName.ends_with(kEnd)) return false;
    fileName.remove_prefix(kStart.size());
    return fileName.find_first_not_of("0123456789") == fileName.size() - kEnd.size();
}

bool FitsCommandLine(std::string_view path) { return path.find('"') == std::string_view::npos; }

bool RunDiffProgram(std::string_view programDir, std::string_view oldFile, std::string_view newFile,
                    std::string_view diffFile) {
    platform::Process process;
    if (!StartProgram(process, "diff", std::string(programDir).append(kDiffProgram),
                      {oldFile, newFile, diffFile}, platform::Console::None)) {
        return false;
    }
    WaitForEnd(process);
    return true;
}

bool RunPatchProgram(std::string_view programDir, std::string_view oldFile,
                     std::string_view diffFile, std::string_view outFile, std::uint32_t& exitCode) {
    platform::Process process;
    if (!StartProgram(process, "patch", std::string(programDir).append(kPatchProgram),
                      {oldFile, diffFile, outFile}, platform::Console::Shared)) {
        return false;
    }
    WaitForEnd(process);
    exitCode = 0;
    while (process.GetExitCode(exitCode) && exitCode == platform::Process::kStillRunning) {
        platform::SleepMilliseconds(kPollMilliseconds);
    }
    return true;
}

}  // namespace converter
