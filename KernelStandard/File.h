// The kernel's one way to read and write files.
//
// Opens plain files and members of mounted archives alike, buffers reads and writes, reads
// compressed streams as their content, and compresses a file at close if it was opened for that.
// A path "name:rest" leads to the mount of that name (FileSubstList.h); every other path belongs to
// the file system.
//
// A File joins three parts: OpenFile (what the backend provides), BlockReader and WriteBuffer.
//
// Sizes and positions are in bytes, at most 4 GiB - 1. Size throws FileEx for a larger file, and a
// write that would pass the limit is cut short.
//
// Reading and writing throw FileEx for misuse (a closed file, the wrong mode), and report other
// failures by their result. Damage and a failed read both look like the end of the file: Read
// returns what came before, and Size is 0 from then on. ReadFailed distinguishes them from a real
// end.
//
// A file outlives the mount that it was opened through: it can be read, written and closed after
// the mount is closed.
//
// Threads: one thread at a time uses a File. Members of one archive share its descriptor; each read
// of one takes the archive's lock.
#pragma once

#include <cstdint>

#include "KernelStandard/BlockReader.h"
#include "KernelStandard/FileTypes.h"
#include "KernelStandard/OpenFile.h"
#include "KernelStandard/WriteBuffer.h"
#include "kernel/InternedString.h"

namespace Vorn {

inline constexpr std::uint32_t kFailedSeek = 0xFFFFFFFF;

// The numbers are fixed.
enum class SeekFrom : int { Start = 0, Current = 1, End = 2 };

// The two text forms of a file. The numbers are fixed: callers pass them as the text mode.
inline constexpr int kTextAnsi = 1;
inline constexpr int kTextUtf16 = 2;  // little-endian

class File {
public:
    class Find;

    File() = default;
    // Closes the file; its result is lost.
    ~File();
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    // Opens `path`. A ':' at byte index 2 or later ends the name of a mount; a name that is not
    // mounted is dropped, and the rest is opened as a path of the file system. RES_FILENOTFOUND for
    // a name or path of 260 bytes or more. `textMode` 0 means 8-bit.
    [[nodiscard]] FileResult Open(const char* path, FileMode mode, int textMode = 0);
    // Opens `path` in the mount `substName`. A name that is null, empty or not mounted means the
    // file system, where ':' has no meaning: use a null name for paths that belong to the system.
    [[nodiscard]] FileResult Open(const InternedString& substName, const char* path, FileMode mode,
                                  int textMode = 0);

    // Writes out what is buffered, adds a new member to its archive, compresses if the mode says
    // so. Does nothing if the file is closed. False if not everything written is safely in place:
    // a file then stays uncompressed, and an archive keeps no half-written member.
    bool Close();

    // Closes a new member without adding it to its archive; an older member of its name stays. Any
    // other file is closed with what it holds.
    void Abandon();

    [[nodiscard]] bool IsOpen() const { return file_.IsOpen(); }
    // Returns whether this is a member of an archive: its name means nothing to the file system.
    [[nodiscard]] bool IsMember() const { return file_.IsMember(); }
    // Returns whether Read expands a compressed stream.
    [[nodiscard]] bool IsStream() const { return reader_.IsStream(); }
    // Returns the path in the file system, or the name in the mount.
    [[nodiscard]] const char* Name() const { return file_.Name(); }

    // Read or write `count` elements of `elementSize` bytes. Return the number of whole elements.
    std::uint32_t Read(void* destination, std::uint32_t count, std::uint32_t elementSize = 1);
    std::uint32_t Write(const void* source, std::uint32_t count, std::uint32_t elementSize = 1);

    // Returns the new position; from the end it is the size minus `offset`. kFailedSeek for a
    // position that is not in 0 to 4 GiB - 2, and for a damaged stream. Throws FileEx for a file
    // that is open for compressed writing.
    std::uint32_t Seek(std::int64_t offset, SeekFrom origin);
    // Returns the size of the content. Throws FileEx if the system cannot give it.
    [[nodiscard]] std::uint32_t Size() { return file_.Size(); }
    // Returns the position of the next read or write.
    [[nodiscard]] std::uint32_t Tell() const { return position_; }
    // Writes out what is buffered.
    void Flush();

    // Returns whether a read or seek since Open met damage or an error instead of content.
    // WholeFile.h reads a whole file and checks this.
    [[nodiscard]] bool ReadFailed() const { return reader_.Failed(); }

    // Reads up to and including the next line feed, stores at most `size` - 2 bytes of the line and
    // a NUL, and discards the rest of the line. `textMode` 0 means the file's own; UTF-16 text is
    // stored in the ANSI code page. Returns the bytes stored.
    std::uint32_t ReadLine(char* buffer, std::uint32_t size, int textMode = 0);
    // Sets the text mode: UTF-16 if a byte-order mark is at the position, which it skips; else
    // 8-bit.
    void DetectTextEncoding();
    [[nodiscard]] int TextMode() const { return textMode_; }
    // Writes a text in the file's text mode. Returns the bytes written.
    std::uint32_t WriteText(const char* text);
    // Forces what was written to the storage device. Does nothing if nothing is buffered.
    void Commit();

    // Operations on paths; none needs an open file. The text before the first ':' names a mount,
    // unless it is a drive letter followed by a separator. If nothing is mounted under that name,
    // the whole path belongs to the file system.
    // Returns RES_OK or RES_FILENOTFOUND.
    [[nodiscard]] static FileResult Exists(const char* path);
    // The same with the mount named separately, as in Open.
    [[nodiscard]] static FileResult Exists(const InternedString& substName, const char* path);
    // Returns whether the file existed and was deleted.
    static bool Delete(const char* path);
    // Renames within one mount or within the file system; never replaces an existing target.
    [[nodiscard]] static bool Rename(const char* from, const char* to);
    [[nodiscard]] static bool ChangeDirectory(const char* path);
    // Creates every missing level. True if all levels exist as directories.
    [[nodiscard]] static bool MakePath(const char* path);
    // Deletes a directory and all below it; links are removed, never followed. Stops deleting at
    // the first failure. True if the directory itself is gone. In a mount it works on the
    // directory's real path, which archives and read-only mounts do not give.
    static bool DeleteDirectory(const char* path);
    // Sets `time` to the modification time, in seconds since 1970-01-01 UTC. False if there is no
    // such file or member.
    [[nodiscard]] static bool GetModifiedTime(const char* path, std::uint32_t& time);
    // Return the value of the most recently mounted archive under `substName` that has one; else 0.
    [[nodiscard]] static std::uint32_t GetArchiveBuildVersion(const InternedString& substName);
    [[nodiscard]] static std::uint32_t GetArchiveProductCode(const InternedString& substName);

    // Returns the number of Files open in the process.
    [[nodiscard]] static int OpenFileCount();

private:
    // Opens the path through its mount, or in the file system.
    [[nodiscard]] FileResult OpenStorage(const InternedString& substName, const char* path);
    // Looks for a stream if the mode asks for that, and refuses what the mode cannot read.
    [[nodiscard]] FileResult JudgeForm();
    // Returns `result` and closes; a member that can be read stays open until Close.
    FileResult Refuse(FileResult result);
    void RequireReading() const;

    OpenFile file_;
    BlockReader reader_{file_};
    WriteBuffer writer_{file_};
    std::uint32_t position_ = 0;
    int textMode_ = kTextAnsi;
    bool counted_ = false;  // in OpenFileCount
};

}  // namespace Vorn
