// Lists the files that match a path pattern.
//
// "data:sub\*.txt" walks every available backend of the substitution, the most recent mount first;
// each name is returned once, in any letter case, from the first backend that has it.
// "work/*.*" walks a directory of the file system, in byte order of the names. Wildcards stand
// only in the last component.
//
// A mounted folder that leads to another mount is searched there, as its files open there.
//
// A search is used by one thread. It may outlive its mount, whose backends it keeps.
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

    // Starts a search and moves to its first entry; false when there is none, when a folder in the
    // pattern holds wildcards, and when the pattern does not fit a path.
    [[nodiscard]] bool Open(const char* path);
    // The same within a substitution. Throws FileEx when it is not mounted.
    [[nodiscard]] bool Open(const char* path, const InternedString& substName);

    // The same in the file system, where a ':' names no substitution.
    [[nodiscard]] bool OpenOnDisk(const char* path);

    // The next entry; false at the end.
    [[nodiscard]] bool Next();

    // The current entry, its name without the folder. Its name is empty before the first.
    [[nodiscard]] const FindEntry& Entry() const { return entry_; }

    // The pattern's folder joined with the current name. Throws FileEx when that does not fit.
    void GetPath(PathSpan out) const;

    // What was found and not returned so far. In a directory of the file system: its name holds a
    // sign that parts paths here, or an entry before it has the same name in other letter case. In
    // a substitution: a folder of the name of a file before it, or a file of that of a folder.
    [[nodiscard]] const std::vector<FindEntry>& PassedOver() const { return passedOver_; }

    void Close();

private:
    // A backend to search, and where in it.
    struct Place {
        std::shared_ptr<FileSub> backend;
        std::string folder;
        FileSubs through;  // the backends that led here, none of which is searched again from here
    };

    [[nodiscard]] bool SplitPattern(const char* path);
    // Puts the backends of a mount in front of those that are still to search; false when it is
    // not mounted.
    [[nodiscard]] bool Enter(const InternedString& mount, std::string_view folder,
                             const FileSubs& through);
    [[nodiscard]] bool Advance();
    [[nodiscard]] bool NextBackend();
    [[nodiscard]] bool SearchPlace(const Place& place);
    void SearchDirectory(const std::string& folder);
    [[nodiscard]] bool NextInDirectory();
    void EndEnumeration();

    FindEntry entry_;
    PathBuffer directory_;       // up to and including the last component end
    std::string pattern_;        // the last component
    std::vector<Place> places_;  // still to search, the next one last
    // Names returned, in lower case, with the kinds that were found of them.
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
