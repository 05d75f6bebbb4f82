// The archive tool: adds files to an archive (a), extracts (e) and lists (l) its members, and shows
// the blocks of files (b). The command line is Tool's; PrintUsage shows the switches.
//
// An error of one file is printed as "Error, ...!" and remembered by AnyFailed; the other files are
// processed and the command succeeds.
//
// Decided here, where it was open:
// - a shows the progress of a member being written.
// - A member without content has the ratio 100.
// - A file that begins like a compressed stream is added as content and compressed, even without
// -c:
//   stored plain, it would be read as the stream's content.
// - A file that yields fewer bytes than its size is reported and not added; an existing member of
// its
//   name stays. A file of 4 GiB or more is refused before the archive changes.
// - a adds small members in batches. If a batch cannot be written, each of its files that is not in
//   the archive is named on standard error.
// - e reports content that does not match the member's check sum, and keeps the file. A sum of 0
//   means that none was recorded.
// - e gives a file its name once it is whole. A member that cannot be written whole leaves what was
//   there before, or nothing. It never writes through a link or another name of a file.
// - e names small files in batches, on a second thread; their lines appear in the same batches.
// - e writes only below the current folder, or the one that -p and -n name. It creates a folder
// only
//   for a member that it can read.
// - One process at a time adds to an archive. Another one waits for up to 30 seconds, and then
// fails
//   before it adds anything.
// - An archive that cannot be written to can be read: only a needs to write it.
//
// Used from one thread; only one tool may run in a process at a time.
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
    // The flags that its command line needs, for Init.
    static constexpr std::uint32_t kFlags = kExpectCommand | kExpectTarget | kSearchTarget;

    VArchive();
    ~VArchive() override;

    void Init(std::uint32_t flags) override;
    void Shutdown() override;
    [[nodiscard]] bool Execute(ToolCommand& command) override;
    [[nodiscard]] bool ProcessFile(const ToolCommand& command,
                                   const ToolFileRecord& record) override;
    // Prints only once in a process.
    void PrintUsage() override;
    void ParseSwitches(ToolCommand& command) override;

private:
    using CopyBuffer = std::array<std::byte, 131072>;

    // Returns the object for a command's word; null for an unknown one.
    [[nodiscard]] std::unique_ptr<ArchiveCommand> CommandFor(const ToolCommand& line,
                                                             TargetMount& target);

    // Both stay in force for later lines of an argument file.
    bool nameAsPrefix_ = false;
    std::optional<String> prefix_;  // of extracted files
    FileProgress progress_;
    std::unique_ptr<CopyBuffer> copyBuffer_;
    std::unique_ptr<ArchiveCommand> running_;
};

}  // namespace Vorn
