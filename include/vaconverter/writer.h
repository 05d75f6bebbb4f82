// Writing asset archives (`.va`).
//
//     const va::Archive work("town-work");
//     va::ArchiveWriter writer;
//     writer.AddAll(work);
//     writer.Create({.result = "Town.va", .threads = 4});
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "vaconverter/archive.h"

namespace va {

enum class Compression {
    WhereItSaves,  // members whose compressed stream is at least 2 % smaller than their content
    All,           // every member that has content
    None,          // only content that looks like a stream, because some readers would expand it
};

// A change of one member of an archive; with dryRun, a change that would be made.
struct Change {
    enum class Kind { Added, Replaced, Deleted, Renamed };

    Kind kind = Kind::Added;
    std::string name;        // in UTF-8; the new name of a renamed member
    std::string storedName;  // its stored bytes
    std::string from;        // the old name of a renamed member
    std::uint64_t size = 0;  // of the content; for a deleted member, of its last content
};

struct CreateOptions {
    std::filesystem::path result;
    bool replace = false;  // replace an existing file or link
    bool dryRun = false;   // do everything except writing
    Compression compression = Compression::WhereItSaves;
    std::uint32_t buildVersion = 0;
    std::uint32_t productCode = 0;
    unsigned threads = 1;  // does not affect the result
    // Called for each member in the order of the archive, after the archive was written.
    std::function<void(const Change&)> changed{};
};

struct CreateResult {
    std::uint64_t members = 0;
    std::uint64_t contentSize = 0;
    std::uint64_t bytes = 0;    // size of the file; 0 with dryRun
    bool replacesLink = false;  // `result` was a link, which was replaced; its target is unchanged
    // Removed temporary files that killed runs had left for the same result.
    std::vector<std::filesystem::path> abandoned;
};

struct AddOptions {
    // Leave members unchanged whose content is the same.
    bool update = false;
    // Like `update`, and delete the members that are not among those to add: all such members, or
    // those below the folder `syncUnder`.
    bool sync = false;
    std::string syncUnder{};
    bool dryRun = false;  // do everything except writing
    Compression compression = Compression::WhereItSaves;
    unsigned threads = 1;
    // Called for each changed member, after the change was written.
    std::function<void(const Change&)> changed{};
};

struct ChangeResult {
    std::uint64_t added = 0;
    std::uint64_t replaced = 0;
    std::uint64_t deleted = 0;
    std::uint64_t renamed = 0;
    std::uint64_t same = 0;     // left unchanged because of `update`
    std::uint64_t members = 0;  // in the archive after the change
    // Sizes in the file after the change; with `dryRun`, before it.
    std::uint64_t bytes = 0;
    std::uint64_t deadBytes = 0;
};

// Collects members and writes an archive of them. Contents are read when the archive is written, so
// their sources must exist until then. May be used by one thread at a time.
class ArchiveWriter {
public:
    ArchiveWriter();
    ~ArchiveWriter();
    ArchiveWriter(ArchiveWriter&&) noexcept;
    ArchiveWriter& operator=(ArchiveWriter&&) noexcept;

    // Adds a member of `source` under its stored name.
    void Add(const Archive& source, const Member& member);
    // Adds a member of `source` under a name in UTF-8.
    void Add(const Archive& source, const Member& member, std::string_view name);
    // Adds all members of `source`, below the folder `under` if one is given. With `wanted`, skips
    // the members for which it returns false. If a folder has files that cannot be members
    // (LeftOut::isContent), writing the archive is refused.
    void AddAll(const Archive& source, std::string_view under = {},
                const std::function<bool(const Member&)>& wanted = {});
    // Adds a file under a name in UTF-8. Throws Error (NotFound) if the file does not exist.
    void AddFile(const std::filesystem::path& file, std::string_view name);
    // Adds a content in memory under a name in UTF-8.
    void AddContent(std::vector<std::byte> content, std::string_view name);

    // Writes a new archive with the members in the byte order of their lower-case names. Its bytes
    // depend only on members and options. The result appears after it was written and every byte of
    // it checked, or not at all.
    //
    // Throws Error. Before the first byte is written: Refused for members that no archive can hold
    // and for members with the same name, ignoring letter case (the message names all of them), and
    // for a result that exists and is not to be replaced, or lies below a folder that is read;
    // DiskFull if the space on the disk, or the 4 GiB of an archive, are known to be too small.
    CreateResult Create(const CreateOptions& options, const ProgressFunction& progress = {}) const;

    // Adds the members to an existing archive in place (see change.h), and replaces members of the
    // same names. Throws Error as Create does; NotFound if the archive does not exist.
    ChangeResult AddTo(const std::filesystem::path& path, const AddOptions& options = {},
                       const ProgressFunction& progress = {}) const;

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace va
