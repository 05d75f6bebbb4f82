// Reading asset archives (`.va`), and folders as if they were archives.
//
//     const va::Archive town("Town.va");
//     for (const va::Member& member : town.Members("textures/**")) {
//         std::cout << member.Name() << '\n';
//     }
//     const std::vector<std::byte> config = town.Read("config.txt");  // throws va::Error if
//     damaged
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "vaconverter/error.h"
#include "vaconverter/progress.h"

namespace va {

// One file of an archive or folder. A value type: it stays valid after its Archive is destroyed,
// but its content can only be read through that Archive.
class Member {
public:
    // Returns the path in UTF-8, with '/' between components. Archives store names in code page
    // 1252; the five bytes that it does not define appear as U+0081, U+008D, U+008F, U+0090 and
    // U+009D.
    [[nodiscard]] const std::string& Name() const noexcept { return name_; }
    // Returns the name as the archive stores it, at most 259 bytes; for a folder, Name() in code
    // page 1252.
    [[nodiscard]] const std::string& StoredName() const noexcept {
        return storedName_.empty() ? name_ : storedName_;
    }

    [[nodiscard]] std::uint64_t Size() const noexcept { return size_; }  // of the content, in bytes
    [[nodiscard]] std::uint64_t StoredSize() const noexcept {
        return storedSize_;
    }  // in the archive
    [[nodiscard]] bool IsCompressed() const noexcept { return compressed_; }
    // Returns the CRC-32/BZIP2 of the content; nullopt if none is recorded, and for folders.
    [[nodiscard]] std::optional<std::uint32_t> Crc() const noexcept { return crc_; }
    // Returns the offset of the stored bytes in the archive file; 0 for folders.
    [[nodiscard]] std::uint64_t Offset() const noexcept { return offset_; }
    // Returns the index in Archive::Members().
    [[nodiscard]] std::size_t Index() const noexcept { return index_; }

private:
    friend class Archive;

    std::string name_;
    std::string storedName_;  // empty if it is the same as name_
    std::uint64_t size_ = 0;
    std::uint64_t storedSize_ = 0;
    std::uint64_t offset_ = 0;
    std::size_t index_ = 0;
    std::optional<std::uint32_t> crc_;
    bool compressed_ = false;
};

// Receives content in order, in pieces.
class Sink {
public:
    virtual ~Sink() = default;
    virtual void Write(std::span<const std::byte> bytes) = 0;
};

enum class IndexState {
    Whole,    // the index is valid; always so for a folder
    Absent,   // the header names no index: the members were found by scanning the file
    Missing,  // the header names an index past the end of the file: the archive was truncated
    Damaged,  // the records do not fit the file: the members were found by scanning the file
};

struct ArchiveInfo {
    bool isFolder = false;
    std::uint32_t formatVersion = 0;  // 0x101 or 0x102
    std::uint32_t buildVersion = 0;
    std::uint32_t productCode = 0;
    IndexState index = IndexState::Whole;
    std::uint64_t fileSize = 0;  // of the archive file; the sum of the contents for a folder
    std::uint64_t deadBytes =
        0;  // of replaced and deleted members and of an old index, which `va repack` frees
    std::uint64_t contentSize = 0;
    std::uint64_t storedSize = 0;
};

// An error or oddity that a check found in an archive.
struct Finding {
    std::string what;    // a clause in UTF-8
    std::string member;  // the member's name in UTF-8; empty if no member is concerned
    std::uint64_t offset = 0;
};

struct CheckResult {
    std::vector<Finding> findings;  // by offset; at most `most` of them
    std::uint64_t found = 0;        // the number of all findings
    std::uint64_t contentSize = 0;  // bytes of content that were checked
};

// A file of a folder that is not a member: a link, a device, or a file whose name no archive can
// store.
struct LeftOut {
    std::string name;        // in the file system
    std::string reason;      // a clause
    bool isContent = false;  // a file or folder whose content would be lost; not a link or device
};

// An archive or a folder that is open for reading. Immutable after construction, so any number of
// threads may use it at once. Reading never locks, creates or changes a file. The tree of a folder
// is read by the constructor; links are not followed.
class Archive {
public:
    // Opens the archive or folder. Throws Error: NotFound if `path` does not exist, Refused if the
    // file is not an archive or cannot be read.
    explicit Archive(const std::filesystem::path& path);
    ~Archive();
    Archive(Archive&&) noexcept;
    Archive& operator=(Archive&&) noexcept;

    [[nodiscard]] const std::filesystem::path& Path() const noexcept;
    [[nodiscard]] const ArchiveInfo& Info() const noexcept;
    // Returns the files of a folder that are not members.
    [[nodiscard]] std::span<const LeftOut> Skipped() const noexcept;

    // Returns all members in the order of the archive; those of a folder in the byte order of their
    // lower-case names.
    [[nodiscard]] std::span<const Member> Members() const noexcept;
    // Returns the members that match; see MatchesPattern.
    [[nodiscard]] std::vector<Member> Members(std::string_view pattern) const;
    // Returns the member of that name, or nullopt. Ignores letter case, and accepts
    // '\\' for '/'. Of files of a folder that differ in letter case only, the one that is spelt so.
    [[nodiscard]] std::optional<Member> Find(std::string_view name) const;

    // Returns the whole content, after comparing its check sum if one is recorded. Throws Error:
    // NotFound; Refused if the member is damaged or has more than `limit` bytes. Memory grows with
    // the decoded content, so a false size in the archive costs nothing.
    [[nodiscard]] std::vector<std::byte> Read(std::string_view name,
                                              std::uint64_t limit = UINT32_MAX) const;
    [[nodiscard]] std::vector<std::byte> Read(const Member& member,
                                              std::uint64_t limit = UINT32_MAX) const;
    // Writes the content to `sink` in pieces of at most 64 KB. Trust the pieces only after this has
    // returned: damage may be found as late as the last byte, and throws Error then.
    void Read(const Member& member, Sink& sink) const;

    // Checks every byte of an archive: index against members, check sums, sizes, overlaps, names,
    // hidden and duplicate members. For a folder, reads every file
    // and finds names that differ in letter case only. Returns at most `most`
    // findings.
    [[nodiscard]] CheckResult Check(unsigned threads = 1, std::size_t most = 1000,
                                    const ProgressFunction& progress = {}) const;

private:
    friend struct ArchiveAccess;
    struct Impl;

    void ListMembers();

    std::unique_ptr<Impl> impl_;
};

// Returns whether `name` matches `pattern`, ignoring letter case. Both are in UTF-8. '*' and '?'
// match within one component, "**" matches any number of components. The name of a folder matches
// all members below it: "a" matches "a/b/c", but "a/*" does not.
[[nodiscard]] bool MatchesPattern(std::string_view name, std::string_view pattern);

struct ExtractOptions {
    std::filesystem::path folder = ".";    // created if missing, with its parents
    unsigned strip = 0;                    // number of leading folders to drop from each name
    bool flat = false;                     // drop all folders from each name
    bool replace = false;                  // replace existing files
    bool keepGoing = false;                // write the other members when one is damaged
    bool dryRun = false;                   // do everything except writing
    std::uint64_t mostBytes = UINT64_MAX;  // the largest total size of the contents
    unsigned threads = 1;
    // Called in order for each member that was written.
    std::function<void(const Member&, const std::string& path)> written;
};

struct ExtractResult {
    std::uint64_t files = 0;
    std::uint64_t bytes = 0;
    std::vector<Error> failures;  // with keepGoing
    // Paths below the folder: links that were replaced by files (their targets are unchanged), and
    // removed temporary files that killed runs had left for the same members.
    std::vector<std::string> replacedLinks;
    std::vector<std::string> abandoned;
};

// Writes members to files. Every file appears complete or not at all; nothing is written outside
// the folder or through a link. Throws Error (Refused) before the first byte is written if a file
// exists and is not to be replaced, if a name leads out of the folder, or if two members have one
// name.
ExtractResult Extract(const Archive& archive, std::span<const Member> members,
                      const ExtractOptions& options, const ProgressFunction& progress = {});

}  // namespace va
