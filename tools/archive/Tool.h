// The base of the kernel's console tools: parses one command line, finds the files that it names,
// on disk or in an archive, and hands them to the derived tool one by one.
//
//   {-switches} command target {paths}      a path: {folder}wildcards{;wildcards}
//
// "@file" before the command runs each line of a file as a separate command line, with the switches
// given so far. All lines run, whether or not an earlier one failed.
//
// Use: construct, Init, Startup, Run, Shutdown. A tool's fixed lines go to standard output.
// Problems that none of them can report go to standard error and make AnyFailed true.
//
// Decided here, where it was open:
// - A separator comes between the value of -p and the first folder kept after it.
// - An argument file that names itself, directly or through others, cannot be opened, nor can one
//   that is nested in 64 others.
// - A folder that leads back into one above it (a link) is not searched again.
// - Of names in one folder that differ only in letter case, the first in byte order is taken and
// the
//   others are reported. So is a name on disk that contains '\' or ':', which no path can name.
// - Of a member and a folder of the same name in an archive, the search finds one and reports the
//   other.
// - If the archive is missing when its members are searched, or the target is not an archive, this
//   is reported.
// - An archive whose header names an index that is missing, as after a cut, is reported when its
//   members are searched. All members that can be found are found.
// - A line without a target finds no members.
// - Folders named "." and ".." in an archive are not searched, as on disk, but reported.
//
// Run passes on the FileEx of a target that cannot be mounted. One thread.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Directories.h"
#include "services/KernelOptions.h"
#include "tools/archive/ToolCommand.h"

namespace Vorn {

class ArgumentFile;
class ResourceSystem;
class TargetMount;

class Tool {
public:
    static constexpr std::uint32_t kExpectCommand = 1;
    static constexpr std::uint32_t kExpectTarget = 2;
    static constexpr std::uint32_t kSearchTarget = 4;  // not for the command word "a"

    // `switches` are the letters that the derived tool takes beside those of this class. Others are
    // reported on standard error and change nothing.
    explicit Tool(std::string_view switches = {});
    Tool(const Tool&) = delete;
    Tool& operator=(const Tool&) = delete;

    // The operations of a tool, in slot order.
    virtual void Init(std::uint32_t flags);
    virtual void Shutdown();
    // Loads the options and starts the resource system and the log, which writes to standard output
    // as well. Borrows `commandLine`. `extraOptions`, which may be null, are read last.
    [[nodiscard]] virtual bool Startup(const char* commandLine, const char* appName,
                                       const char* extraOptions);
    [[nodiscard]] virtual bool Run();
    [[nodiscard]] virtual bool Execute(ToolCommand& command);
    [[nodiscard]] virtual bool ProcessFile(const ToolCommand& command,
                                           const ToolFileRecord& record);
    virtual void PrintUsage();
    virtual void ParseSwitches(ToolCommand& command);
    virtual ~Tool();

    // Returns whether any file, folder or argument of a command line could not be processed
    // completely; that can be so although Run returned true.
    [[nodiscard]] bool AnyFailed() const { return anyFailed_; }

    // For the commands of a tool: makes AnyFailed true.
    void NoteFailure() { anyFailed_ = true; }
    // Makes AnyFailed true and prints a line on standard error.
    void ReportProblem(const std::string& text);
    // Reports a target that is not an archive or cannot be read.
    void CheckReadable(const TargetMount& mount, const String& target);

private:
    // Prints a line on standard error.
    void Warn(const std::string& text) const;
    [[nodiscard]] bool ProcessCommandLine(ToolCommand& command, const char* line);
    [[nodiscard]] bool ParseCommandLine(ToolCommand& command, const char* line);
    [[nodiscard]] bool ProcessArgumentFile(ToolCommand& command, const char* fileName);
    [[nodiscard]] bool RunLines(ToolCommand& command, ArgumentFile& file, const char* fileName);
    [[nodiscard]] bool MayNest(const char* fileName) const;
    void RequestUsage();

    void BuildFileList(ToolCommand& command);
    class Wanted;
    struct Listing;

    void SearchOperand(ToolCommand& command, const String& path);
    void SearchFiles(ToolCommand& command, const std::string& folder, const std::string& wildcards,
                     const std::string& base);
    void SearchChild(ToolCommand& command, const std::string& folder, const std::string& wildcards,
                     const std::string& base);
    void SearchBelow(ToolCommand& command, const std::string& folder, const std::string& wildcards,
                     const std::string& base);
    [[nodiscard]] bool EnterFolder(const ToolCommand& command, const std::string& folder);
    [[nodiscard]] std::shared_ptr<const Listing> List(const ToolCommand& command,
                                                      const std::string& folder);
    void ReportPassedOver(const Wanted& wanted, const Listing& listing);

    [[nodiscard]] bool KnowsSwitch(std::string_view token) const;

    const std::string switches_;
    const char* commandLine_ = nullptr;
    bool usageShown_ = false;
    std::unique_ptr<KernelOptions> options_;
    std::unique_ptr<ResourceSystem> resourceSystem_;
    ToolCommand command_;
    String appName_;
    bool anyFailed_ = false;
    std::vector<std::string> argumentFiles_;  // open now, the outermost first
    std::shared_ptr<const Listing> listing_;  // of the folder listed last: paths often share one
    std::vector<platform::FileIdentity> searchedFolders_;  // on disk, the outermost first
};

}  // namespace Vorn
