#include "tools/demo/FolderFiles.h"

#include <algorithm>
#include <array>
#include <set>
#include <stdexcept>
#include <string_view>

#include "kernel/Paths.h"
#include "platform/Directories.h"

namespace demo {
namespace {

// The converter builds "<working folder>/<name>.diff" in a path of at most 259 bytes.
constexpr std::size_t kLongestName = 200;

// The lists that every patch stores beside the members.
constexpr std::array<std::string_view, 3> kListNames = {"addedfiles.txt", "deletedfiles.txt",
                                                        "patchedfiles.txt"};

std::string_view WhyUnfit(const std::string& name) {
    if (name.size() > kLongestName) return "the name is longer than 200 bytes";
    if (name.find_first_of("\\:*?\"\n") != std::string::npos) {
        return "the name holds one of \\ : * ? \" or a line feed";
    }
    if (std::ranges::find(kListNames, FoldedName(name)) != kListNames.end()) {
        return "patches use this name themselves";
    }
    return {};
}

class Lister {
public:
    explicit Lister(const std::string& folder) : folder_(folder) {}

    FolderFiles List() {
        ListBelow("");
        return std::move(result_);
    }

private:
    void ListBelow(const std::string& prefix) {
        const std::string path = folder_ + "/" + prefix;
        std::vector<std::string> folders;
        const bool listed =
            platform::ListDirectory(path.c_str(), [&](const platform::DirectoryEntry& entry) {
                Visit(prefix, entry, folders);
                return true;
            });
        if (!listed) throw std::runtime_error("cannot read the folder " + path);
        for (const std::string& name : folders) ListBelow(name + "/");
    }

    void Visit(const std::string& prefix, const platform::DirectoryEntry& entry,
               std::vector<std::string>& folders) {
        const std::string name = prefix + entry.name;
        if (entry.name == "." || entry.name == "..") return;
        if (entry.isLink) {
            ++result_.links;
        } else if (entry.status.IsDirectory()) {
            folders.push_back(name);
        } else if (entry.status.size == 0) {
            ++result_.emptyFiles;
        } else {
            AddFile(name, entry.status.size);
        }
    }

    void AddFile(const std::string& name, std::uint64_t size) {
        std::string_view unfit = WhyUnfit(name);
        if (unfit.empty() && !taken_.insert(FoldedName(name)).second) {
            unfit = "another name differs only in letter case";
        }
        if (unfit.empty()) {
            result_.files.push_back({.name = name, .size = size});
            return;
        }
        result_.unfit.push_back(name + ": " + std::string(unfit));
    }

    const std::string& folder_;
    FolderFiles result_;
    std::set<std::string> taken_;
};

}  // namespace

FolderFiles ListFolder(const std::string& folder) { return Lister(folder).List(); }

std::string FoldedName(std::string name) {
    Vorn::AnsiLower(name.data());
    return name;
}

}  // namespace demo
