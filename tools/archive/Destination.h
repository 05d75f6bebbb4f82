// Where extracted files may go: only into the folders that the command names.
#pragma once

#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace Vorn {

// Remembers the folders that it has found safe or made; nobody else may change links below the
// named folders meanwhile. Paths take both separators.
class Destination {
public:
    // "" names the current folder. Nothing is to be written over `source`, be there such a file.
    Destination(const std::vector<std::string>& namedFolders, std::string source);

    // Makes the folders on the way to `path`, and gives the path to write to. Null, or why not: the
    // path leads out of every named folder, be it by "..", from the root of the file system, by a
    // drive or mount prefix, or through a link on the way; nothing is made for it then.
    [[nodiscard]] const char* Prepare(std::string_view path, std::string& prepared);

    // Whether what stands at a prepared path may be replaced. Null, or why not: it is a folder, a
    // device, a link that leads out, or the source. A path at which nothing stands needs no such
    // question.
    [[nodiscard]] const char* CheckExisting(const std::string& prepared) const;

private:
    // A folded path: no ".", and ".." at the front only.
    struct Folded {
        bool fromRoot = false;
        std::vector<std::string> components;

        explicit Folded(std::string_view path);
        [[nodiscard]] std::string Text(std::size_t count) const;
        // Whether this stands below `folder` under names that are safe to write.
        [[nodiscard]] bool IsBelow(const Folded& folder) const;
    };

    [[nodiscard]] const char* EnterFolder(const std::string& named, const std::string& folder);
    // The named folder that the path is below; null for none.
    [[nodiscard]] const Folded* NamedAbove(const Folded& path) const;
    [[nodiscard]] bool LeadsOut(const std::string& named, const std::string& link) const;

    std::vector<Folded> named_;
    std::string source_;
    std::set<std::string, std::less<>> entered_;
};

}  // namespace Vorn
