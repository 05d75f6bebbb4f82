// The archive tool: adds files to an archive (a), extracts (e) and lists (l) its members, and shows
// the blocks of files (b). The command line is Tool's; PrintUsage shows the switches.
//
// An error of one file is printed as "Error, ...!" and remembered by AnyFailed; the other files are
// processed and the command succeeds.
//
// Decided here, where it was open:
// - a shows the progress of a member being written.
// - A member without content has the ratio 100.
// - A file that begins like a compressed stream is added byte for byte and compressed, also without
//   -c: stored plain it would be read as the stream's content.
// - A file that gives less than its size is reported and not added: a member of its name stays. One
//   of 4 GiB or more is refused before the archive changes.
// - a makes small members appear in batches. When a batch cannot be written, each of its files that
//   is not in the archive is named on standard error.
// - e reports content whose check sum is not the member's; the file stays. A sum of 0 means that
//   none was recorded.
// - e gives a file its name when it is whole: a member that cannot be written whole leaves what was
//   there, or nothing. It never writes through a link or another name of a file.
// - e writes below the current folder, or the one that -p and -n name, and nowhere else. It makes a
//   folder only for a member that it can read.
// - One process at a time adds to an archive: another one waits for 30 seconds, and then fails
//   before it adds anything.
// - An archive that cannot be written to can be read: only a needs to write it.
//
// One thread, and one tool that runs at a time in a process.
#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <optional>

#include "tools/archive/FileProgress.h"
#include "tools/archive/Tool.h"

namespace Vorn {

class ArchiveCommand;
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
    // Prints once in a process.
    void PrintUsage() override;
    void ParseSwitches(ToolCommand& command) override;

private:
    using CopyBuffer = std::array<std::byte, 131072>;

    // Returns the object for a command's word; null for an unknown one.
    [[nodiscard]] std::unique_ptr<ArchiveCommand> CommandFor(const ToolCommand& line,
                                                             TargetMount& target);

    bool nameAsPrefix_ = false;     // as prefix_, in force for later lines too
    std::optional<String> prefix_;  // of extracted files
    FileProgress progress_;
    std::unique_ptr<CopyBuffer> copyBuffer_;
    std::unique_ptr<ArchiveCommand> running_;
};

}  // namespace Vorn
