// Making asset archives (`.va`).
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
    WhereItSaves,  // where a member's stream is 2 % smaller than its content, or more
    All,           // every member that has content
    None,          // only content that begins as a stream does: some readers expand it in any case
};

// What happened to one member of an archive, or would happen.
struct Change {
    enum class Kind { Added, Replaced, Deleted, Renamed };

    Kind kind = Kind::Added;
    std::string name;        // in UTF-8; the new one of a renamed member
    std::string storedName;  // its bytes
    std::string from;        // the old name of a renamed member
    std::uint64_t size = 0;  // of the content that the member has now, or had
};

struct CreateOptions {
    std::filesystem::path result;
    bool replace = false;  // a file or link of that name
    bool dryRun = false;   // do all but write
    Compression compression = Compression::WhereItSaves;
    std::uint32_t buildVersion = 0;
    std::uint32_t productCode = 0;
    unsigned threads = 1;  // the result does not depend on it
    // Called for each member, in the order of the archive, when the archive is there.
    std::function<void(const Change&)> changed{};
};

struct CreateResult {
    std::uint64_t members = 0;
    std::uint64_t contentSize = 0;
    std::uint64_t bytes = 0;    // of the file; 0 with dryRun
    bool replacesLink = false;  // `result` was a link, which is replaced, not what it leads to
    // Unfinished files of killed runs that were to give the same result, which were removed.
    std::vector<std::filesystem::path> abandoned;
};

struct AddOptions {
    // Members whose content the archive has already are left as they are.
    bool update = false;
    // Does that, and deletes the members that are not among those to add: all of them, or those
    // below the folder `syncUnder`.
    bool sync = false;
    std::string syncUnder{};
    bool dryRun = false;
    Compression compression = Compression::WhereItSaves;
    unsigned threads = 1;
    // Called for each member that was changed, when the change is made.
    std::function<void(const Change&)> changed{};
};

struct ChangeResult {
    std::uint64_t added = 0;
    std::uint64_t replaced = 0;
    std::uint64_t deleted = 0;
    std::uint64_t renamed = 0;
    std::uint64_t same = 0;     // left as they are, with `update`
    std::uint64_t members = 0;  // that the archive has now
    // Of the file now; with `dryRun` as it is.
    std::uint64_t bytes = 0;
    std::uint64_t deadBytes = 0;
};

// Collects members and writes an archive of them. Their contents are read when it is written: what
// they come from must stay until then. One thread at a time.
class ArchiveWriter {
public:
    ArchiveWriter();
    ~ArchiveWriter();
    ArchiveWriter(ArchiveWriter&&) noexcept;
    ArchiveWriter& operator=(ArchiveWriter&&) noexcept;

    // Adds a member of `source`, with the bytes of its stored name.
    void Add(const Archive& source, const Member& member);
    // The same, under a name in UTF-8.
    void Add(const Archive& source, const Member& member, std::string_view name);
    // Adds all members of `source`, below the folder `under` if one is named. Files of a folder
    // that cannot be members (LeftOut::isContent) are refused when the archive is written. With
    // `wanted`, leaves out the members for which it returns false.
    void AddAll(const Archive& source, std::string_view under = {},
                const std::function<bool(const Member&)>& wanted = {});
    // Adds a file under a name in UTF-8. Throws Error (NotFound) if there is none.
    void AddFile(const std::filesystem::path& file, std::string_view name);
    // Adds a content in memory.
    void AddContent(std::vector<std::byte> content, std::string_view name);

    // Writes a new archive: its bytes depend on members and options alone. The members lie in the
    // byte order of their lower-case names. The result appears when it was written and every byte
    // of it judged, or not at all.
    //
    // Throws Error. Before the first byte is written: Refused for members that no archive can hold,
    // for two members of one name (letter case ignored), all of them named; for a result that
    // exists and is not to be replaced, or lies below a folder that is read; DiskFull where the
    // room on the disk, or the 4 GiB of an archive, are known to be too small.
    CreateResult Create(const CreateOptions& options, const ProgressFunction& progress = {}) const;

    // Adds the members to an archive that is there, in place (see change.h), and replaces those of
    // the same names. Throws Error as Create does; NotFound if there is no such archive.
    ChangeResult AddTo(const std::filesystem::path& archive, const AddOptions& options = {},
                       const ProgressFunction& progress = {}) const;

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace va
