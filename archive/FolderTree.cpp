#include <algorithm>
#include <limits>

#include "archive/Error.h"
#include "archive/FileContent.h"
#include "archive/Names.h"
#include "archive/Tree.h"
#include "kernel/PathBuffer.h"
#include "platform/CodePage.h"
#include "platform/Directories.h"

namespace archive {
namespace {

struct FolderFile {
    std::string name;    // code page 1252
    std::string folded;  // the key of the order and of searches
    std::string path;    // below the folder, as the system has it
    platform::FileStamp stamp;
};

class FolderTree final : public Tree {
public:
    explicit FolderTree(std::string path) : root_(std::move(path)) {
        if (!root_.ends_with('/')) root_ += '/';
        Walk();
        std::ranges::sort(files_, {}, &FolderFile::folded);
    }

    [[nodiscard]] std::size_t Count() const override { return files_.size(); }

    [[nodiscard]] TreeMember operator[](std::size_t number) const override {
        const FolderFile& file = files_[number];
        return {.name = file.name, .size = file.stamp.size, .storedSize = file.stamp.size};
    }

    [[nodiscard]] std::optional<std::size_t> Find(std::string_view name) const override {
        const std::string folded = FoldName(name);
        const auto found = std::ranges::lower_bound(files_, folded, {}, &FolderFile::folded);
        if (found == files_.end() || found->folded != folded) return std::nullopt;
        return static_cast<std::size_t>(found - files_.begin());
    }

    [[nodiscard]] bool HasDoubles() const override {
        return std::ranges::adjacent_find(files_, {}, &FolderFile::folded) != files_.end();
    }

    [[nodiscard]] std::unique_ptr<TreeReader> NewReader() const override;
    [[nodiscard]] const std::vector<Unusable>& LeftOut() const override { return leftOut_; }

    [[nodiscard]] const FolderFile& File(std::size_t number) const { return files_[number]; }
    [[nodiscard]] std::string PathOf(std::size_t number) const {
        return root_ + files_[number].path;
    }

private:
    // The folders to list are kept in a list, not on the stack: their depth is not ours.
    void Walk() {
        std::vector<std::string> folders = {""};
        while (!folders.empty()) {
            const std::string folder = std::move(folders.back());
            folders.pop_back();
            const bool listed = platform::ListDirectory(
                (root_ + folder).c_str(), [&](const platform::DirectoryEntry& entry) {
                    if (entry.name == "." || entry.name == "..") return true;
                    const std::string path = folder + entry.name;
                    if (const char* reason = ReasonToLeaveOut(entry, path)) {
                        const bool isContent =
                            !entry.isLink && (entry.isRegular || entry.status.IsDirectory());
                        leftOut_.push_back({path, reason, isContent});
                    } else if (entry.status.IsDirectory()) {
                        folders.push_back(path + "/");
                    } else {
                        const std::string name = platform::Utf8ToAnsi(path);
                        files_.push_back({name, FoldName(name), path, entry.status.stamp});
                    }
                    return true;
                });
            if (!listed) throw Error(ErrorCode::CannotRead, "the folder cannot be read", 0, folder);
        }
    }

    static const char* ReasonToLeaveOut(const platform::DirectoryEntry& entry,
                                        const std::string& path) {
        if (entry.isLink) return "is a link";
        if (path.size() >= Vorn::kMaxPath) return "has a path longer than 259 bytes";
        // What has no counterpart becomes '?', and does not come back as it was.
        if (platform::AnsiToUtf8(platform::Utf8ToAnsi(path)) != path) {
            return "has a name that code page 1252 cannot hold";
        }
        if (const char* problem = NameProblem(platform::Utf8ToAnsi(entry.name))) return problem;
        if (entry.status.IsDirectory()) return nullptr;
        if (entry.status.size > std::numeric_limits<std::uint32_t>::max()) {
            return "is 4 GiB or larger";
        }
        return entry.isRegular ? nullptr : "is not a regular file";
    }

    std::string root_;
    std::vector<FolderFile> files_;
    std::vector<Unusable> leftOut_;
};

class FolderTreeReader final : public TreeReader {
public:
    explicit FolderTreeReader(const FolderTree& tree) : tree_(tree) {}

    void Begin(std::size_t number) override {
        content_.Begin(tree_.PathOf(number), tree_.File(number).stamp, tree_.File(number).name);
    }
    [[nodiscard]] std::span<const std::byte> Next() override { return content_.Next(); }
    void Read(std::span<std::byte> into, bool /*isLast*/) override { content_.Read(into); }

private:
    const FolderTree& tree_;
    FileContent content_;
};

std::unique_ptr<TreeReader> FolderTree::NewReader() const {
    return std::make_unique<FolderTreeReader>(*this);
}

}  // namespace

std::unique_ptr<Tree> OpenFolder(const std::string& path) {
    if (!platform::Exists(path.c_str())) {
        throw Error(ErrorCode::NotFound, "there is no such folder");
    }
    return std::make_unique<FolderTree>(path);
}

}  // namespace archive
