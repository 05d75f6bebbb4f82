// Lists the files that match a path pattern.
//
// "data:sub\*.txt" searches every available backend of the mount, the most recent one first. Each
// name is returned once, letter case ignored, from the first backend that has it.
// "work/*.*" searches a directory of the file system, in byte order of the names. Wildcards are
// allowed only in the last component.
//
// If a mounted folder itself leads to another mount, that mount is searched, because files open
// there too.
//
// One thread at a time uses a search. It keeps its backends alive, so it may outlive the mount.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "KernelStandard/File.h"
#include "archive/ArchiveFormat.h"
#include "kernel/InternedString.h"
#include "kernel/PathBuffer.h"
#include "platform/Directories.h"

namespace Vorn {

// Part of the interface of a search; the record itself belongs to the format of archives.
using archive::FindEntry;

class FileSubArchive;

class File::Find {
public:
    Find() = default;
    ~Find() { Close(); }
    Find(const Find&) = delete;
    Find& operator=(const Find&) = delete;

    // Starts a search and moves to its first entry. False if there is none, if a folder in the
    // pattern holds wildcards, or if the pattern does not fit a path.
    [[nodiscard]] bool Open(const char* path);
    // The same within a mount. Throws FileEx if it is not mounted.
    [[nodiscard]] bool Open(const char* path, const InternedString& substName);

    // The same in the file system, where a ':' names no mount.
    [[nodiscard]] bool OpenOnDisk(const char* path);

    // Moves to the next entry. False at the end.
    [[nodiscard]] bool Next();

    // Returns the current entry, its name without the folder. The name is empty before the first.
    [[nodiscard]] const FindEntry& Entry() const { return entry_; }

    // Joins the pattern's folder with the current name. Throws FileEx if that does not fit.
    void GetPath(PathSpan out) const;

    // Returns the entries skipped so far. On disk: names containing ':' or '\', and names that
    // differ from an earlier one only in letter case. In a mount: a file and a folder of one name;
    // the later is skipped.
    [[nodiscard]] const std::vector<FindEntry>& PassedOver() const { return passedOver_; }

    void Close();

private:
    // A folder of a backend that is still to be searched.
    struct Place {
        std::shared_ptr<FileSub> backend;
        std::string folder;
        FileSubs through;  // the backends that led here; from here none of them is searched again
    };

    // Splits the pattern into folder and last component. False for wildcards in the folder, and for
    // a pattern that is too long.
    [[nodiscard]] bool SplitPattern(const char* path);
    // Puts a mount's backends before the places that are still to be searched. False if the name
    // is not mounted.
    [[nodiscard]] bool Enter(const InternedString& mount, std::string_view folder,
                             const FileSubs& through);
    // Moves to the next entry of any backend, names that were returned before included.
    [[nodiscard]] bool Advance();
    [[nodiscard]] bool NextBackend();
    // Begins the search of a place. False if there is nothing to search itself.
    [[nodiscard]] bool SearchPlace(const Place& place);
    void SearchDirectory(const std::string& folder);
    [[nodiscard]] bool NextInDirectory();
    void EndEnumeration();

    FindEntry entry_;
    PathBuffer directory_;       // the pattern's folder, with its separator or colon
    std::string pattern_;        // the last component
    std::vector<Place> places_;  // still to be searched, the next one last
    // Names found so far, in lower case, and the kinds (KindOf) of their entries.
    std::unordered_map<std::string, unsigned> seen_;
    std::shared_ptr<FileSubArchive> archive_;
    std::string archivePattern_;
    int archiveSearch_ = -1;
    std::vector<platform::DirectoryEntry> listing_;
    std::size_t nextListed_ = 0;
    bool mounted_ = false;
    std::vector<FindEntry> passedOver_;
};

}  // namespace Vorn
