// Serves the files below a directory.
//
// Every operation joins the root with the relative name and passes the result to File's own path
// operations, so that a root may itself lead to another mount. A read-only mount refuses every mode
// that can change a file, also if the mode reads as well.
#pragma once

#include "KernelStandard/FileSub.h"

namespace Vorn {

class FileSubPath final : public FileSub {
public:
    // `path` ends with a separator and is kept unchanged. A missing directory leaves the backend
    // unavailable until a file is first written into it. Throws FileEx for a path that is too long.
    FileSubPath(const char* path, bool writable);

    [[nodiscard]] bool IsReadOnly() const override { return readOnly_; }
    [[nodiscard]] bool IsAvailable() const override { return available_; }
    [[nodiscard]] std::uint32_t GetStorageKind() const override;
    [[nodiscard]] bool IsKind(int kind) const override { return kind == kKindDirectory; }
    // Creates missing parent directories. Denies all other openers.
    [[nodiscard]] bool OpenWrite(OpenFile& file, const char* name, OpenFlags flags) override;
    // Lets others read but not write. Records in `file` if it was refused only because the mount
    // is read-only (OpenFile::RefuseAsReadOnly).
    [[nodiscard]] bool OpenRead(OpenFile& file, const char* name, OpenFlags flags) override;
    // Compresses a file that was opened for compressed writing.
    bool CloseFile(OpenFile& file) override;
    [[nodiscard]] bool Exists(InternedString& substName, const char* name) override;
    [[nodiscard]] bool Delete(const char* name) override;
    [[nodiscard]] bool Rename(const char* oldName, const char* newName) override;
    [[nodiscard]] bool MakeDirectory(const char* name) override;
    [[nodiscard]] bool GetRealPath(PathSpan name) override;
    [[nodiscard]] bool Stat(std::uint32_t& writeTime, const char* name) override;
    void SetReadOnly(const char* name, bool readOnly) override;
    void CollectInto(FileSubs& list) override { list.push_back(shared_from_this()); }
    void CollectToDelete(const char* name, FileSubs& list) override;
    [[nodiscard]] bool IsRoot(const char* text) const override { return root_.View() == text; }

    [[nodiscard]] const char* Root() const { return root_.c_str(); }

private:
    // Joins root and name. False if that does not fit a path.
    [[nodiscard]] bool Join(const char* name, PathBuffer& path) const;
    // Opens a path of the file system into `file`.
    [[nodiscard]] bool OpenJoined(OpenFile& file, const PathBuffer& path, OpenFlags flags,
                                  platform::Share share);

    PathBuffer root_;
    bool readOnly_;
    bool available_;
};

}  // namespace Vorn
