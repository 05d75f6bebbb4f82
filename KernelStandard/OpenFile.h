// The part of a File that its backend works on: the descriptor, where in its file the stored bytes
// lie, and the mode that was asked for.
//
// A backend opens a file by passing its descriptor to this object, and reads the file's name and
// content from it on closing. Callers of File never see this class. Offsets count from the first
// stored byte, wherever that lies in an archive.
//
// Threads: one at a time, as the File. Members of one archive share its descriptor; each read of
// one takes the archive's lock.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string_view>

#include "KernelStandard/FileSub.h"
#include "KernelStandard/FileTypes.h"
#include "kernel/PathBuffer.h"
#include "platform/Files.h"

namespace Vorn {

// What backends see is public; the rest is for File.
class OpenFile {
public:
    // For backends, during OpenRead and OpenWrite. The next three count the file at its owner, and
    // keep the owner alive until the file is closed.
    // Takes over the descriptor.
    void TakeFile(platform::FileHandle handle, FileSub& owner, std::string_view name);
    // The same for a new member of an archive: the temporary file holds what is written until
    // the archive takes it. Bytes that the temporary file already holds do not count.
    void TakeNewMember(platform::FileHandle temporary, FileSub& owner, std::string_view name);
    // Borrows the archive's descriptor for the stored bytes at `dataOffset`; nothing outside them
    // is read. `size` is the content's size unless a stream header gives another one.
    void BorrowMember(platform::FileHandle& shared, FileSub& owner, std::string_view name,
                      std::uint32_t dataOffset, std::uint32_t storedSize, std::uint32_t size);
    // Records that the file would have opened if the backend were not read-only.
    void RefuseAsReadOnly() { refusedReadOnly_ = true; }

    [[nodiscard]] FileMode Mode() const { return mode_; }
    [[nodiscard]] FileMode WriteKind() const { return mode_ & kWriteKindMask; }
    [[nodiscard]] FileMode ReadKind() const { return mode_ & kReadKindMask; }

    // For backends, during CloseFile.
    [[nodiscard]] const char* Name() const { return name_.c_str(); }
    [[nodiscard]] platform::FileHandle& OwnHandle() { return own_; }
    // Returns whether a write has failed since the file was opened: the content is incomplete.
    [[nodiscard]] bool WriteFailed() const { return writeFailed_; }
    // Returns the size of the content. Throws FileEx if the system cannot give it, and for 4 GiB
    // or more.
    [[nodiscard]] std::uint32_t Size() { return size_ ? *size_ : TakeSize(); }

private:
    // File and the two parts of it that move bytes.
    friend class File;
    friend class BlockReader;
    friend class WriteBuffer;

    // Forgets the previous file and keeps the mode of the next one.
    void Begin(FileMode mode);
    // Opens a file of the file system. Sharing follows the mode: a writer shares with no one, a
    // reader with other readers.
    [[nodiscard]] bool OpenPath(const char* path);
    [[nodiscard]] bool IsOpen() const { return handle_ != nullptr; }
    [[nodiscard]] bool IsBorrowed() const { return IsOpen() && handle_ != &own_; }
    // Returns whether this is a member of an archive, being read or written.
    [[nodiscard]] bool IsMember() const { return newMember_ || IsBorrowed(); }
    [[nodiscard]] bool WasRefusedReadOnly() const { return refusedReadOnly_; }
    // Returns whether the mode creates or empties the file.
    [[nodiscard]] bool IsNew() const;
    // Returns the mode as backends take it.
    [[nodiscard]] OpenFlags Flags() const;
    // Returns the length of a stream's header in this file.
    [[nodiscard]] std::size_t StreamHeaderSize() const;
    // Returns whether a member's stored bytes cannot be its content, because the sizes differ.
    [[nodiscard]] bool IsStoredInOtherForm() const { return IsBorrowed() && size_ != storedSize_; }

    void SetSize(std::uint32_t size) { size_ = size; }
    void SetWriteFailed() { writeFailed_ = true; }
    // Clears the mode's write kind. A refused member stays open until Close; a write to it would
    // go straight into the archive.
    void DenyWriting() { mode_ &= ~kWriteKindMask; }

    // Returns the bytes read, fewer only at the end of the stored bytes; -1 if the read fails.
    [[nodiscard]] std::int64_t ReadAt(std::uint64_t offset, std::span<std::byte> into);
    // Returns the bytes written. Fewer than given counts as a failed write (WriteFailed).
    [[nodiscard]] std::uint32_t WriteAt(std::uint64_t offset, std::span<const std::byte> from);
    // Returns the length of the descriptor's whole file; -1 if the system cannot give it.
    [[nodiscard]] std::int64_t Length() const { return handle_->Length(); }
    // Makes the bytes between the size and a later position read as zeros.
    void ClearPastEnd();
    // Forces what was written to the storage device.
    void Commit() { (void)handle_->Commit(); }

    // Returns the file to its backend, or closes it; compresses a file of the file system that was
    // opened for compressed writing. False if not everything written is safely in place.
    bool Close();
    // Closes a file that is refused right after it was opened; its backend sees no CloseFile.
    void Drop();

    [[nodiscard]] std::uint32_t TakeSize();
    void Attach(platform::FileHandle& handle, FileSub& owner, std::string_view name);

    platform::FileHandle own_;
    platform::FileHandle* handle_ = nullptr;  // own_ or the archive's; null when closed
    std::shared_ptr<FileSub> owner_;          // null for a file of the file system
    PathBuffer name_;
    FileMode mode_ = 0;
    std::optional<std::uint32_t> size_;
    std::uint32_t dataOffset_ = 0;  // offset of the first stored byte in the descriptor's file
    std::uint64_t storedSize_ = 0;  // no byte at or after this offset is read
    bool newMember_ = false;
    bool refusedReadOnly_ = false;
    bool writeFailed_ = false;
};

}  // namespace Vorn
