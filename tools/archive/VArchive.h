// The archive tool: adds files to an archive (a), extracts (e) and lists (l) its members, and shows
// the blocks of files (b). Its command line is Tool's; PrintUsage tells the switches.
//
// What goes wrong with one file is printed as "Error, ...!" and remembered by AnyFailed; the others
// go on and the command succeeds.
//
// Decided here, where it was open:
// - The progress of a member being written is shown by a.
// - A member without content has the ratio 100.
// - A file that begins like a compressed stream is added byte for byte, compressed also without -c:
//   stored plain it would be read as what the stream holds.
// - A file that gives less than its size is reported and not added: a member of its name stays. One
//   of 4 GiB is refused before the archive is touched.
// - e reports content whose check sum is not the member's; the file stays. A sum of 0 is none, for
//   some writers make none.
// - e writes a file beside its place and then renames it: what cannot be written whole leaves what
//   was there, or nothing. Neither a link nor another name of what was there is written through.
// - e writes below the current folder or the one that -p and -n name, and nowhere else. It makes a
//   folder only for a member that it can read.
// - One process at a time adds to an archive: another one waits for it for 30 seconds, and then
//   fails before it adds anything.
// - An archive that cannot be written to is read all the same; only a needs to write it.
//
// One thread, and one tool that runs at a time in a process.
#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "KernelStandard/File.h"
#include "archive/Crc32.h"
#include "tools/archive/Destination.h"
#include "tools/archive/Tool.h"

namespace Vorn {

class TargetMount;

class VArchive final : public Tool {
public:
    // The flags that its command line needs.
    static constexpr std::uint32_t kFlags = kExpectCommand | kExpectTarget | kSearchTarget;

    VArchive();
    ~VArchive() override;

    void Init(std::uint32_t flags) override;
    void Shutdown() override;
    [[nodiscard]] bool Execute(ToolCommand& command) override;
    [[nodiscard]] bool ProcessFile(const ToolCommand& command,
                                   const ToolFileRecord& record) override;
    // Once in a process.
    void PrintUsage() override;
    void ParseSwitches(ToolCommand& command) override;

private:
    enum class Command : std::uint32_t { None = 0, Add = 1, Extract = 2, List = 3, ViewBlocks = 4 };

    class ProgressScope;

    static constexpr std::uint32_t kCopyBuffer = 131072;
    using CopyBuffer = std::array<std::byte, kCopyBuffer>;

    void AddFile(const ToolCommand& command, const ToolFileRecord& record);
    void ExtractFile(const ToolCommand& command, const ToolFileRecord& record);
    void ListFile(const ToolFileRecord& record);
    void ViewBlocks(const ToolFileRecord& record);

    // Each gives null, or what went wrong with the file.
    [[nodiscard]] const char* CopyIn(const ToolFileRecord& record, bool keepPaths, File& source,
                                     File& member);
    [[nodiscard]] const char* CopyOut(const ToolCommand& command, const ToolFileRecord& record,
                                      File& member);
    [[nodiscard]] const char* PrintBlocks(File& file, const char* path);
    // Through the buffer; `report` shows the bytes done.
    template <typename Output, typename Report>
    [[nodiscard]] const char* Copy(File& from, Output& to, std::uint32_t size, archive::Crc32* sum,
                                   const Report& report);

    // Runs `work` and prints as the file's error what it gives or throws. Whether all went well.
    template <typename Work>
    bool Attempt(const char* lineEnd, const Work& work);
    void PrintError(const char* problem, const char* lineEnd);
    void FinishFile();
    // A line that is not ended yet, to somebody who watches.
    static void ShowNow();
    [[nodiscard]] std::vector<std::string> NamedFolders(const ToolCommand& command) const;
    bool ReportProgress(std::uint32_t bytesConsumed, std::uint32_t bytesWritten);

    Command commandIndex_ = Command::None;
    bool compress_ = false;
    bool nameAsPrefix_ = false;
    bool verbose_ = false;
    std::uint32_t startTime_ = 0;   // milliseconds: when the file before was finished
    std::uint32_t lastReport_ = 0;  // milliseconds from then to the last progress line
    bool prefixGiven_ = false;
    String prefixPath_;
    std::uint32_t totalBytes_ = 0;  // of the file being added
    std::unique_ptr<CopyBuffer> copyBuffer_;
    TargetMount* mount_ = nullptr;  // while a command runs
    std::optional<Destination> destination_;
};

}  // namespace Vorn
