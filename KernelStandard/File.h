// The kernel's one way to read and write files.
//
// Opens plain files and members of mounted archives alike, buffers reads and writes, reads
// compressed streams as their content and compresses a file at close when it was opened for that.
// A path "name:rest" goes to the substitution of that name (FileSubstList.h); everything else is a
// path of the file system.
//
// Sizes and positions are in bytes and end at 4 GiB - 1; a larger file has no size (FileEx), and a
// write that would pass the limit stops short.
//
// Reading and writing throw FileEx for misuse (a closed file, the wrong mode) and return outcomes.
// A damaged stream, a block that claims more than 16,384 bytes or expands to the wrong length, and
// a failed read all look like the end of the file: Read returns what came before, and Size is 0
// from then on. ReadFailed tells them from a real end.
//
// A file outlives the mount that it was opened through: it can be read, written and closed after
// that is closed (FileSubstList.h).
//
// Threads: a File is used by one thread at a time. Members of one archive share its descriptor;
// each raw read takes the archive's lock.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string_view>

#include "KernelStandard/CompressedStream.h"
#include "KernelStandard/FileSub.h"
#include "KernelStandard/FileTypes.h"
#include "kernel/InternedString.h"
#include "kernel/PathBuffer.h"
#include "platform/Files.h"

namespace Vorn {

inline constexpr std::uint32_t kFailedSeek = 0xFFFFFFFF;

enum class SeekFrom : int { Start = 0, Current = 1, End = 2 };

// The two text forms of a file. The numbers are the callers' text mode.
inline constexpr int kTextAnsi = 1;
inline constexpr int kTextUtf16 = 2;  // little-endian

class File {
public:
    class Find;

    File();
    // Closes.
    ~File();
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    // Opens `path`; ':' at byte index 2 or later ends a substitution name. A name that is not
    // mounted is dropped and the rest opened as a plain path. A substitution name that does not
    // fit a path buffer gives RES_FILENOTFOUND. `textMode` 0 means 8-bit.
    [[nodiscard]] FileResult Open(const char* path, FileMode mode, int textMode = 0);
    // The same with the substitution named apart. A name that is null, empty or not mounted means
    // the file system, where ':' is a letter like any other: paths that are known to be the
    // system's are opened so.
    [[nodiscard]] FileResult Open(const InternedString& substName, const char* path, FileMode mode,
                                  int textMode = 0);

    // Writes out what is buffered, gives a member back to its archive, compresses. Closing a
    // closed file does nothing. False when not everything written is safely in place: a compressed
    // file then stays uncompressed, and an archive keeps no half-written member.
    bool Close();

    // Closes a new member without adding it to its archive: what had its name stays. Another file
    // is closed as it is.
    void Abandon();

    [[nodiscard]] bool IsOpen() const { return handle_ != nullptr; }

    // Whole elements read or written; `count` of them, `elementSize` bytes each.
    std::uint32_t Read(void* destination, std::uint32_t count, std::uint32_t elementSize = 1);
    std::uint32_t Write(const void* source, std::uint32_t count, std::uint32_t elementSize = 1);

    // The new position; from the end it is the size minus `offset`. kFailedSeek for a position that
    // is not in 0 to 4 GiB - 2, and for a damaged stream. Throws for compressed writing.
    std::uint32_t Seek(std::int64_t offset, SeekFrom origin);
    [[nodiscard]] std::uint32_t Size();
    [[nodiscard]] std::uint32_t Tell() const { return position_; }
    void Flush();

    // Returns whether a read or seek since Open met damage or an error instead of content.
    // WholeFile.h reads a whole file and checks this.
    [[nodiscard]] bool ReadFailed() const { return readFailed_; }

    // Reads up to and including the next line feed, stores at most `size` - 2 bytes of it and a
    // NUL, and discards the rest of the line. `textMode` 0 means the file's own; UTF-16 text is
    // stored in the ANSI code page. Bytes stored.
    std::uint32_t ReadLine(char* buffer, std::uint32_t size, int textMode = 0);
    // Looks for a UTF-16 byte-order mark at the position and passes over it.
    void DetectTextEncoding();
    [[nodiscard]] int TextMode() const { return textMode_; }
    // Writes a text in the file's text mode. Bytes written.
    std::uint32_t WriteText(const char* text);
    // Forces what was written to the storage device. For plain files open for writing.
    void Commit();

    // Operations on paths. A substitution prefix is any text before ':' except a drive letter
    // followed by a separator; a name that is not mounted leaves the path to the file system.
    [[nodiscard]] static FileResult Exists(const char* path);
    // The same with the substitution named apart, as in Open.
    [[nodiscard]] static FileResult Exists(const InternedString& substName, const char* path);
    static bool Delete(const char* path);
    // Never replaces an existing target.
    [[nodiscard]] static bool Rename(const char* from, const char* to);
    [[nodiscard]] static bool ChangeDirectory(const char* path);
    // Creates every missing level. True when all levels exist as directories.
    [[nodiscard]] static bool MakePath(const char* path);
    // Deletes a directory and all below it; links are removed, never followed. Stops deleting at
    // the first failure. True when the directory itself is gone. Under a substitution it works on
    // the directory's real path in a writable mount; an archive has none.
    static bool DeleteDirectory(const char* path);
    // Seconds since 1970-01-01 UTC.
    [[nodiscard]] static bool GetModifiedTime(const char* path, std::uint32_t& time);
    // Of the most recent archive mount of `substName` that has a value other than 0; else 0.
    [[nodiscard]] static std::uint32_t GetArchiveBuildVersion(const InternedString& substName);
    [[nodiscard]] static std::uint32_t GetArchiveProductCode(const InternedString& substName);

    // Files open now in the whole process.
    [[nodiscard]] static int OpenFileCount();

    // For backends, during their OpenRead and OpenWrite. Each counts the file at its owner, which
    // lives at least until the file is closed.
    // The File takes the descriptor over.
    void AttachOwned(platform::FileHandle handle, FileSub& owner, std::string_view name);
    // The same for a new member of an archive: a temporary file holds what is written until the
    // archive takes it.
    void AttachNewMember(platform::FileHandle temporary, FileSub& owner, std::string_view name);
    // The File borrows the archive's descriptor for the stored bytes at `dataOffset`; it never
    // reads outside them. `size` is what Size gives unless a stream header says otherwise.
    void AttachMember(platform::FileHandle& shared, FileSub& owner, std::string_view name,
                      std::uint32_t dataOffset, std::uint32_t storedSize, std::uint32_t size);

    // The file would open if the backend were not read-only.
    void NoteReadOnly() { refusedReadOnly_ = true; }

    // For backends, during their CloseFile.
    [[nodiscard]] FileMode WriteKind() const { return mode_ & kWriteKindMask; }
    [[nodiscard]] FileMode ReadKind() const { return mode_ & kReadKindMask; }
    [[nodiscard]] const char* Name() const { return name_.c_str(); }
    [[nodiscard]] platform::FileHandle& OwnHandle() { return own_; }
    // A member of an archive, being read or written: its name means nothing to the file system.
    [[nodiscard]] bool IsMember() const { return newMember_ || handle_ != &own_; }
    // A write has failed since the file was opened: what it holds is not complete.
    [[nodiscard]] bool WriteFailed() const { return writeFailed_; }

private:
    // Open, in steps.
    void Reset(FileMode mode);
    // Nothing when the name is not mounted.
    [[nodiscard]] std::optional<bool> OpenThroughSubst(const InternedString& substName,
                                                       const char* path);
    [[nodiscard]] bool OpenPlain(const char* path);
    [[nodiscard]] OpenFlags FlagsOfMode() const;
    [[nodiscard]] FileResult ProbeCompression();
    [[nodiscard]] FileResult AcceptStream(std::size_t probed);
    // Gives `result` and closes; a member that can be read stays attached until Close.
    FileResult Refuse(FileResult result);

    // Reading.
    [[nodiscard]] std::int64_t RawRead(std::span<std::byte> into);
    [[nodiscard]] bool RawReadAll(std::span<std::byte> into);
    [[nodiscard]] std::uint32_t Unread() const { return buffered_ - cursor_; }
    [[nodiscard]] std::uint32_t ReadStep(std::span<std::byte> into);
    [[nodiscard]] std::uint32_t TakeBuffered(std::span<std::byte> into);
    [[nodiscard]] bool Refill();
    [[nodiscard]] std::uint32_t FillPlain(std::span<std::byte> into);
    [[nodiscard]] std::uint32_t FillBlock(std::span<std::byte, archive::kBlockSize> into);
    [[nodiscard]] bool ReadBlockHeader(archive::BlockHeader& header);
    [[nodiscard]] std::uint32_t ReadBlockContent(archive::BlockHeader header,
                                                 std::span<std::byte, archive::kBlockSize> into);
    void EndAtDamage();
    [[nodiscard]] bool IsStream() const { return ReadKind() == kReadCompressed; }
    [[nodiscard]] bool NextByte(unsigned char& byte);
    std::uint32_t ReadAnsiLine(std::span<char> into);
    std::uint32_t ReadUtf16Line(std::span<char> into);

    // Writing.
    [[nodiscard]] std::uint32_t WriteBuffered(std::span<const std::byte> from);
    [[nodiscard]] std::uint32_t WriteDirect(std::span<const std::byte> from);
    void AdvanceWritten(std::uint32_t count);
    // Forgets what is buffered; the next raw read is at the position.
    void EmptyBuffer();

    // Seeking.
    [[nodiscard]] bool SeekStream(std::uint32_t target);
    [[nodiscard]] bool SkipToBlockOf(std::uint32_t target);
    void RewindStream();

    using Buffer = std::array<std::byte, archive::kBlockSize>;

    platform::FileHandle own_;
    platform::FileHandle* handle_ = nullptr;  // own_ or the archive's; null when closed
    std::unique_ptr<Buffer> buffer_;
    std::unique_ptr<Buffer> packed_;  // a compressed block's data; made at the first one
    std::uint32_t cursor_ = 0;        // offset of the next byte in the buffer
    std::uint32_t buffered_ = 0;      // valid bytes in the buffer
    FileMode mode_ = 0;
    std::optional<std::uint32_t> size_;
    std::uint32_t headerLength_ = 0;  // raw bytes before the content
    std::uint32_t position_ = 0;
    std::uint64_t rawPosition_ = 0;
    std::uint64_t rawEnd_ = 0;     // end of the raw bytes that may be read
    std::uint32_t nextBlock_ = 0;  // content offset of the stream's block at rawPosition_
    std::uint32_t unwritten_ = 0;
    bool writeFailed_ = false;
    bool readFailed_ = false;
    bool counted_ = false;
    bool refusedReadOnly_ = false;
    std::shared_ptr<FileSub> owner_;
    int textMode_ = kTextAnsi;
    PathBuffer name_;
    bool newMember_ = false;
};

}  // namespace Vorn
