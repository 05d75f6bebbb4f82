// The base of VArchive's commands: an object for each command line, which processes its files one
// by one.
#pragma once

#include <cstddef>
#include <cstdio>
#include <span>

#include "kernel/Exceptions.h"
#include "tools/archive/FileProgress.h"
#include "tools/archive/TargetMount.h"
#include "tools/archive/Tool.h"

namespace Vorn {

class ArchiveCommand {
public:
    // What a command borrows while it runs.
    struct Context {
        Tool& tool;
        const ToolCommand& line;
        TargetMount& target;
        FileProgress& progress;
        std::span<std::byte> buffer;  // for content; one for the whole run
    };

    explicit ArchiveCommand(const Context& context) : context_(context) {}
    virtual ~ArchiveCommand() = default;
    ArchiveCommand(const ArchiveCommand&) = delete;
    ArchiveCommand& operator=(const ArchiveCommand&) = delete;

    // Prepares the command. Returns false, with the reason reported, if no file can be processed.
    [[nodiscard]] virtual bool Begin() { return true; }
    // Processes one file. Errors are printed and noted, and the command continues.
    virtual void Process(const ToolFileRecord& record) = 0;
    // Completes what Process left for later.
    virtual void End() {}

protected:
    // Runs `work`, which returns null or the reason of its failure. Prints that, or the FileEx that
    // it throws, as the file's error.
    template <typename Work>
    void Attempt(const char* lineEnd, const Work& work) {
        try {
            if (const char* problem = work()) PrintError(problem, lineEnd);
        } catch (const FileEx& exception) {
            PrintError(exception.GetReason(), lineEnd);
        }
    }

    // Prints and notes the file's error.
    void PrintError(const char* problem, const char* lineEnd) {
        context_.tool.NoteFailure();
        std::printf("Error, %s!%s", problem, lineEnd);
    }

    [[nodiscard]] Tool& Reporter() const { return context_.tool; }
    [[nodiscard]] const ToolCommand& Line() const { return context_.line; }
    [[nodiscard]] TargetMount& Target() const { return context_.target; }
    [[nodiscard]] FileProgress& Progress() const { return context_.progress; }
    [[nodiscard]] std::span<std::byte> Buffer() const { return context_.buffer; }

private:
    const Context context_;
};

}  // namespace Vorn
