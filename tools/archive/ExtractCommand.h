// The command e: extracts members to disk.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "KernelStandard/File.h"
#include "tools/archive/ArchiveCommand.h"
#include "tools/archive/Destination.h"
#include "tools/archive/OutputFile.h"

namespace Vorn {

class ExtractCommand final : public ArchiveCommand {
public:
    // `prefix` is the path before each member's, whose extension does not count; nullopt if there
    // is none.
    ExtractCommand(const Context& context, std::optional<String> prefix);

    void Process(const ToolFileRecord& record) override;

private:
    // Each returns null, or what went wrong with the member.
    [[nodiscard]] const char* Extract(const ToolFileRecord& record);
    [[nodiscard]] const char* Write(File& member, const ToolFileRecord& record,
                                    const std::string& to);
    [[nodiscard]] const char* Copy(File& member, const archive::FindEntry& entry, OutputFile& file,
                                   const char* memberPath);
    [[nodiscard]] PathBuffer PathOnDisk(const ToolFileRecord& record) const;
    [[nodiscard]] std::vector<std::string> NamedFolders() const;

    const std::optional<String> prefix_;
    Destination destination_;
};

}  // namespace Vorn
