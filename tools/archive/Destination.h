// Where extracted files may go: only into the folders that the command names.
#pragma once

#include <functional>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "platform/FolderHandle.h"

namespace Vorn {

// Remembers the folders that it found safe or made; no other process may change links below the
// named folders meanwhile. Paths take both separators. CheckExisting may run on another thread; all
// else is for one.
class Destination {
public:
    // A folder that may be written to.
    struct Folder {
        platform::FolderHandle handle;
        std::string named;  // the named folder that it is, or is below
    };

    // Where one file goes.
    struct Place {
        std::shared_ptr<const Folder> folder;
        std::string name;  // in the folder
        std::string path;  // folded: with '/', without "."
    };

    // "" names the current folder. `source`, which need not exist, is never overwritten.
    // `beforeEntering` is called with the folded path of each folder before it is first examined.
    Destination(const std::vector<std::string>& namedFolders, std::string source,
                std::function<void(const std::string&)> beforeEntering);

    // Creates the parent folders of `path` and sets `place`. Returns null, or the reason for
    // refusing: `path` leaves every named folder by "..", an absolute path, a drive or mount prefix
    // or a link on the way; then nothing is created.
    [[nodiscard]] const char* Prepare(std::string_view path, Place& place);

    // Returns null if what exists at a prepared place may be replaced, or the reason for refusing:
    // it is a folder, a device, read-only, a link that leads out, or the source. Not needed where
    // nothing exists.
    [[nodiscard]] const char* CheckExisting(const Place& place) const;

private:
    // A folded path: no ".", and ".." at the front only.
    struct Folded {
        bool fromRoot = false;
        std::vector<std::string> components;

        explicit Folded(std::string_view path);
        [[nodiscard]] std::string Text(std::size_t count) const;
        [[nodiscard]] std::string Text() const { return Text(components.size()); }
        // Returns whether this is `folder`, or lies below it under names that are safe to write.
        [[nodiscard]] bool IsWithin(const Folded& folder) const;
    };

    // Makes current the folder of a path's text up to its last separator.
    [[nodiscard]] const char* Enter(std::string_view folderText);
    [[nodiscard]] const char* EnterLevel(const std::string& named, const std::string& folder);
    [[nodiscard]] bool LeadsOut(const std::string& named, const std::string& link) const;

    std::vector<Folded> named_;
    std::string source_;
    std::function<void(const std::string&)> beforeEntering_;
    std::set<std::string, std::less<>> entered_;
    // The folder of the last file: neighbours mostly share it.
    std::string currentText_;    // as it was given
    std::string currentPrefix_;  // folded, with '/' at the end; "" for the current folder
    std::shared_ptr<const Folder> current_;
};

}  // namespace Vorn
