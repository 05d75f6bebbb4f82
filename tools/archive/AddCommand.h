// The command a: adds files to the archive.
#pragma once

#include <cstdint>
#include <string_view>

#include "platform/Files.h"
#include "tools/archive/ArchiveCommand.h"

namespace Vorn {

// Members appear in the archive in batches. One object at a time: the archive writer's progress
// hook is process-wide.
class AddCommand final : public ArchiveCommand {
public:
    explicit AddCommand(const Context& context);
    ~AddCommand() override;

    [[nodiscard]] bool Begin() override;
    void Process(const ToolFileRecord& record) override;
    void End() override;

private:
    // Each returns null, or the reason why the file was not added.
    [[nodiscard]] const char* Add(const ToolFileRecord& record);
    // Adds a file whose whole content is in the buffer.
    [[nodiscard]] const char* AddAtOnce(const char* name, std::uint32_t size, bool compress);
    // Adds a larger file, whose beginning is in the buffer.
    [[nodiscard]] const char* AddInPieces(platform::FileHandle& source, const char* name,
                                          std::uint32_t size, bool compress);
    [[nodiscard]] const char* WriteProblem() const;
    void ShowCopied(std::uint32_t bytes) const;
    // Reports members of earlier files that could not be written, except `name`, whose own line has
    // the error.
    void ReportLost(std::string_view name) const;

    const bool compress_;
    const bool verbose_;
};

}  // namespace Vorn
