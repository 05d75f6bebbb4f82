// Reading asset archives (`.va`), and folders as if they were archives.
//
//     const va::Archive town("Town.va");
//     for (const va::Member& member : town.Members("textures/**")) std::cout << member.Name() <<
//     '\n'; const std::vector<std::byte> config = town.Read("config.txt");   // throws va::Error if
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

// One file of an archive or folder. A value: it stays valid after its archive is gone, but is read
// through that archive only.
class Member {
public:
    // Returns the path in UTF-8, '/' between components. Names in archives are bytes of code page
    // 1252; the five bytes that it does not define appear as U+0081, U+008D, U+008F, U+0090 and
    // U+009D.
    [[nodiscard]] const std::string& Name() const noexcept { return name_; }
    // Returns the bytes of the name as the archive stores them (for a folder: Name() in code page
    // 1252), at most 259.
    [[nodiscard]] const std::string& StoredName() const noexcept { return storedName_; }

    [[nodiscard]] std::uint64_t Size() const noexcept { return size_; }  // of the content, in bytes
    [[nodiscard]] std::uint64_t StoredSize() const noexcept {
        return storedSize_;
    }  // in the archive
    [[nodiscard]] bool IsCompressed() const noexcept { return compressed_; }
    // CRC-32/BZIP2 of the content; nullopt where the writer recorded none, and in folders.
    [[nodiscard]] std::optional<std::uint32_t> Crc() const noexcept { return crc_; }
    // Offset of the stored bytes in the archive file; 0 in folders.
    [[nodiscard]] std::uint64_t Offset() const noexcept { return offset_; }
    // Position in Archive::Members().
    [[nodiscard]] std::size_t Index() const noexcept { return index_; }

private:
    friend class Archive;

    std::string name_;
    std::string storedName_;
    std::uint64_t size_ = 0;
    std::uint64_t storedSize_ = 0;
    std::uint64_t offset_ = 0;
    std::size_t index_ = 0;
    std::optional<std::uint32_t> crc_;
    bool compressed_ = false;
};

// Receives content in pieces, in order.
class Sink {
public:
    virtual ~Sink() = default;
    virtual void Write(std::span<const std::byte> bytes) = 0;
};

enum class IndexState {
    Whole,    // the archive has its index (always so for a folder)
    Absent,   // the header promises none: the members were found by walking the file
    Missing,  // the header promises one that is not there: the archive was cut
    Damaged,  // its records do not fit the file; the members were found by walking the file
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

// Something that is wrong with an archive, or odd.
struct Finding {
    std::string what;    // a clause in UTF-8
    std::string member;  // its name in UTF-8; empty if no member is concerned
    std::uint64_t offset = 0;
};

struct CheckResult {
    std::vector<Finding> findings;  // by offset; at most as many as were asked for
    std::uint64_t found = 0;        // all of them
    std::uint64_t contentSize = 0;  // bytes of content that were judged
};

// A file of a folder that an archive cannot hold: a link, a device, a name that has no counterpart.
struct LeftOut {
    std::string name;        // as the system has it
    std::string reason;      // a clause
    bool isContent = false;  // a file or folder that would be lost, and not a link or device
};

// An archive or a folder that is opened for reading. It does not change after it was opened, and
// any number of threads may use it at once. Nothing else is done to the file: nothing is locked,
// made or changed. A folder's tree is read when it is opened; links are not followed.
class Archive {
public:
    // Throws Error: NotFound if there is neither file nor folder, Refused if the file is not an
    // archive or cannot be read.
    explicit Archive(const std::filesystem::path& path);
    ~Archive();
    Archive(Archive&&) noexcept;
    Archive& operator=(Archive&&) noexcept;

    [[nodiscard]] const std::filesystem::path& Path() const noexcept;
    [[nodiscard]] const ArchiveInfo& Info() const noexcept;
    // Files of a folder that are no members.
    [[nodiscard]] std::span<const LeftOut> Skipped() const noexcept;

    // All members, in the order in which the archive stores them (a folder's in the byte order of
    // their lower-case names).
    [[nodiscard]] std::span<const Member> Members() const noexcept;
    // Those that match; see MatchesPattern.
    [[nodiscard]] std::vector<Member> Members(std::string_view pattern) const;
    // By name, letter case ignored, '\\' for '/' allowed.
    [[nodiscard]] std::optional<Member> Find(std::string_view name) const;

    // Returns the whole content. Compares its check sum where there is one. Throws Error: NotFound,
    // Refused (damaged, or more than `limit` bytes; nothing near the claimed size is allocated
    // before the content is there).
    [[nodiscard]] std::vector<std::byte> Read(std::string_view name,
                                              std::uint64_t limit = UINT32_MAX) const;
    [[nodiscard]] std::vector<std::byte> Read(const Member& member,
                                              std::uint64_t limit = UINT32_MAX) const;
    // Gives it to a sink, in pieces of at most 64 KB. What the sink got counts only when this
    // returns: a damaged member throws at its end at the latest.
    void Read(const Member& member, Sink& sink) const;

    // Judges every byte of an archive: index against members, check sums, sizes, overlaps, names,
    // hidden and double members. Of a folder, reads every file.
    [[nodiscard]] CheckResult Check(unsigned threads = 1, std::size_t most = 1000,
                                    const ProgressFunction& progress = {}) const;

private:
    friend struct ArchiveAccess;
    struct Impl;

    void ListMembers();

    std::unique_ptr<Impl> impl_;
};

// Returns whether `name` matches `pattern`: '*' and '?' stay within a component, "**" matches any
// number of components, a folder's name means all below it
// ("a" reaches "a/b/c", "a/*" does not), letter case is ignored. Both in UTF-8.
[[nodiscard]] bool MatchesPattern(std::string_view name, std::string_view pattern);

struct ExtractOptions {
    std::filesystem::path folder = ".";    // made if it is missing, with its parents
    unsigned strip = 0;                    // leading folders to leave out of each name
    bool flat = false;                     // file names only
    bool replace = false;                  // files that exist
    bool keepGoing = false;                // write the other members when one is damaged
    bool dryRun = false;                   // do all but write
    std::uint64_t mostBytes = UINT64_MAX;  // of content, in all
    unsigned threads = 1;
    // Called for each member that was written, in order.
    std::function<void(const Member&, const std::string& path)> written;
};

struct ExtractResult {
    std::uint64_t files = 0;
    std::uint64_t bytes = 0;
    std::vector<Error> failures;  // with keepGoing
    // Below the folder: links that were replaced, not what they lead to, and unfinished files of
    // killed runs that were to become the same files, which were removed.
    std::vector<std::string> replacedLinks;
    std::vector<std::string> abandoned;
};

// Writes members to files. Every file appears whole or not at all; nothing is written outside the
// folder or through a link. Throws Error (Refused) before the first byte if files exist, if a name
// leads elsewhere, or if two members have one name.
ExtractResult Extract(const Archive& archive, std::span<const Member> members,
                      const ExtractOptions& options, const ProgressFunction& progress = {});

}  // namespace va
