// The working folder of patchdiff: what earlier runs left in it, and what this run makes.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "kernel/PathBuffer.h"

namespace converter {

// Folders that a run makes. Those that are empty at the end are deleted with the object; what was
// there before stays.
class MadeFolders {
public:
    MadeFolders() = default;
    MadeFolders(const MadeFolders&) = delete;
    MadeFolders& operator=(const MadeFolders&) = delete;
    ~MadeFolders() { DeleteEmpty(); }

    // Makes a folder and its missing parents. False if it is not there afterwards.
    [[nodiscard]] bool Make(const std::string& path);
    void DeleteEmpty();

private:
    std::vector<std::string> made_;  // each after its parents
};

class WorkFolder {
public:
    // Returns whether a file may be deleted. Its path is relative to the folder, '/' between
    // components.
    using IsLeftover = std::function<bool(std::string_view file)>;

    // Call before the others.
    void SetPath(const Vorn::PathBuffer& path) { path_ = path; }
    void SetLeftovers(IsLeftover isLeftover) { isLeftover_ = std::move(isLeftover); }

    // Returns the path of something in the folder. Throws FileEx if that does not fit.
    [[nodiscard]] Vorn::PathBuffer PathOf(std::string_view name) const;

    // Deletes what a killed run left. False, after a line, if the folder holds something else.
    [[nodiscard]] bool Clear() const;
    // Makes a folder below it, or itself for an empty name. False after a line.
    [[nodiscard]] bool MakeFolder(std::string_view folder);
    // Deletes the folder, unless something else is in it.
    void Delete();

private:
    Vorn::PathBuffer path_;
    IsLeftover isLeftover_;
    MadeFolders made_;
};

}  // namespace converter
