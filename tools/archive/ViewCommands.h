// The commands that only print: l lists members, b shows the blocks of files.
#pragma once

#include "KernelStandard/File.h"
#include "tools/archive/ArchiveCommand.h"

namespace Vorn {

class ListCommand final : public ArchiveCommand {
public:
    using ArchiveCommand::ArchiveCommand;
    void Process(const ToolFileRecord& record) override;
};

// A file of blocks has a header (type, size, identifier), then blocks, each with a four-byte
// identifier and the number of bytes that follow.
class BlocksCommand final : public ArchiveCommand {
public:
    using ArchiveCommand::ArchiveCommand;
    void Process(const ToolFileRecord& record) override;

private:
    void Print(File& file, const char* path);
};

}  // namespace Vorn
