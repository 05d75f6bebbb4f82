// Common to the tests of the file layer: an empty current directory, mounts that end with the test,
// and whole files by path.
#pragma once

#include "KernelStandard/File.h"
#include "KernelStandard/FileSubstList.h"
#include "kernel/Exceptions.h"
#include "tests/support/RawArchive.h"
#include "tests/support/Tests.h"

namespace Vorn::Testing {

class FileLayer : public InFolder {
protected:
    void TearDown() override;

    void Mount(const char* name, const std::string& path, bool writable = false);
    void Unmount(const char* name);

private:
    std::vector<std::string> mounted_;
};

// The tests of one archive, "a.va", mounted as "arc".
class ArchiveLayer : public FileLayer {
protected:
    void MountWritable() { Mount("arc", "a.va", true); }
    void MountBytes(std::string_view bytes, bool writable = false);
    // Ends the mount and returns the archive's bytes.
    [[nodiscard]] std::string CloseAndRead();
    // The same, and the archive is mounted again for reading.
    std::string Reopen();
};

// Writes a whole file or member. Returns whether all succeeded, closing included.
bool Store(const std::string& path, std::string_view content, FileMode writeKind = kWritePlain);

// Returns a whole file or member; nothing if it does not open.
[[nodiscard]] std::optional<std::string> Contents(const std::string& path,
                                                  FileMode readKind = kReadDetect);

// Expects that each path has its content, or does not open.
using PathsAndContents = std::vector<std::pair<std::string, std::optional<std::string>>>;
void ExpectContents(const PathsAndContents& rows);

// Returns the names that a search finds, in its order.
[[nodiscard]] std::vector<std::string> NamesOf(const std::string& pattern);

// Returns the time of the last modification of a file or member.
[[nodiscard]] std::optional<std::uint32_t> TimeOf(const char* path);

}  // namespace Vorn::Testing
