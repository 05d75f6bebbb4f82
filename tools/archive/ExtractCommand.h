// The command e: extracts members to disk.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "KernelStandard/File.h"
#include "tools/archive/ArchiveCommand.h"
#include "tools/archive/Destination.h"
#include "tools/archive/PlacingQueue.h"

namespace Vorn {

// The lines of small members appear in batches, unless the display is verbose.
class ExtractCommand final : public ArchiveCommand {
public:
    // `prefix` is the path before each member's, of which the extension is dropped; nullopt if
    // there is none.
    ExtractCommand(const Context& context, std::optional<String> prefix);

    void Process(const ToolFileRecord& record) override;

private:
    // Each returns null, or the reason why the member was not extracted.
    [[nodiscard]] const char* Extract(const ToolFileRecord& record, ExtractedFile& file);
    [[nodiscard]] const char* Create(std::string_view path, ExtractedFile& file);
    // Reads a small member; Place writes it.
    [[nodiscard]] const char* Load(File& member, ExtractedFile& file) const;
    [[nodiscard]] const char* Copy(File& member, ExtractedFile& file) const;
    // Runs on the queue's thread too.
    [[nodiscard]] const char* Place(ExtractedFile& file) const;

    static void CheckSum(ExtractedFile& file, std::uint32_t sum);
    static void Warn(ExtractedFile& file, const char* what);
    [[nodiscard]] bool MayWait(const ToolFileRecord& record) const;
    void ShowCopied(std::uint32_t bytes, std::uint32_t size) const;
    void Report(const ExtractedFile& file);
    [[nodiscard]] PathBuffer PathOnDisk(const ToolFileRecord& record) const;
    [[nodiscard]] std::vector<std::string> NamedFolders() const;

    const std::optional<String> prefix_;
    Destination destination_;
    PlacingQueue queue_;
    // False if each file must exist before the next is read, as when the target is a folder, which
    // may be the one that is written to.
    const bool mayWait_;
};

}  // namespace Vorn
