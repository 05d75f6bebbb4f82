// The command a: adds files to the archive.
#pragma once

#include <cstdint>
#include <string_view>

#include "platform/Files.h"
#include "tools/archive/ArchiveCommand.h"

namespace Vorn {

// Members appear in the archive in batches. At most one object at a time: the archive writer's
// progress hook is process-wide.
class AddCommand final : public ArchiveCommand {
public:
    explicit AddCommand(const Context& context);
    ~AddCommand() override;

    [[nodiscard]] bool Begin() override;
    void Process(const ToolFileRecord& record) override;
    void End() override;

private:
    // Each returns null, or what went wrong with the file.
    [[nodiscard]] const char* Add(const ToolFileRecord& record);
    // Adds a file that fits the buffer, where all of its content is.
    [[nodiscard]] const char* AddAtOnce(const char* name, std::uint32_t size, bool compress);
    // Adds a larger file, of which the buffer has the beginning.
    [[nodiscard]] const char* AddInPieces(platform::FileHandle& source, const char* name,
                                          std::uint32_t size, bool compress);
    [[nodiscard]] const char* WriteProblem() const;
    void ShowCopied(std::uint32_t bytes) const;
    // Reports members of earlier files that could not be written; `name` has been reported.
    void ReportLost(std::string_view name) const;

    const bool compress_;
    const bool verbose_;
};

}  // namespace Vorn
