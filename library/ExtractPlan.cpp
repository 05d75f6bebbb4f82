#include "library/ExtractPlan.h"

#include <algorithm>
#include <filesystem>
#include <unordered_set>

#include "archive/Names.h"
#include "library/ArchiveAccess.h"
#include "library/ResultPlace.h"
#include "library/Translate.h"
#include "platform/Error.h"

namespace va {
namespace {

constexpr std::size_t kListedAtMost = 10;  // names in one refusal

// Collects up to ten names for one message.
class NameList {
public:
    void Add(std::string_view name) {
        if (count_++ < kListedAtMost) names_.append(names_.empty() ? " " : ", ").append(name);
    }
    [[nodiscard]] bool IsEmpty() const { return count_ == 0; }
    [[nodiscard]] std::string Text() const {
        return names_ + (count_ > kListedAtMost
                             ? " and " + std::to_string(count_ - kListedAtMost) + " more"
                             : "");
    }

private:
    std::size_t count_ = 0;
    std::string names_;
};

// The path of a member below the folder; empty when stripping leaves nothing of it.
std::string_view PathOf(const Member& member, const ExtractOptions& options) {
    std::string_view path = member.Name();
    if (options.flat) return path.substr(path.rfind('/') + 1);
    for (unsigned i = 0; i < options.strip; ++i) {
        const std::size_t slash = path.find('/');
        if (slash == path.npos) return {};
        path.remove_prefix(slash + 1);
    }
    return path;
}

// Returns whether no two of the members can become one file: each is there once, keeps its name,
// and no other one has that.
bool HaveOwnNames(const Archive& archive, std::span<const Member> members,
                  const ExtractOptions& options) {
    if (options.flat || options.strip > 0 || ArchiveAccess::TreeOf(archive).HasDoubles()) {
        return false;
    }
    return std::ranges::adjacent_find(members, std::ranges::greater_equal{}, &Member::Index) ==
           members.end();
}

// The file of a member, for messages.
std::string TargetOf(const Planned& planned, const ExtractOptions& options) {
    return (options.folder / planned.path).string();
}

[[noreturn]] void RefuseFor(const platform::Error& error, const char* what, const Planned& planned,
                            const ExtractOptions& options) {
    const std::string target = TargetOf(planned, options);
    const bool full =
        error.kind == platform::ErrorKind::NoSpace || error.kind == platform::ErrorKind::TooLarge;
    throw Error(full ? ErrorCode::DiskFull : ErrorCode::Refused,
                std::string(what) + " '" + target + "': " + error.Message() +
                    "; make room or look at the folder's permissions, or name another folder",
                target);
}

// Opens the nearest folder that is there on the way into one.
bool OpenNearest(const ExtractOptions& options, platform::FolderHandle& folder,
                 platform::FilePlace& place) {
    place = {SystemPath(options.folder) + "/", {}};
    if (options.folder.empty()) place.folder.clear();
    return folder.OpenNearest(place);
}

}  // namespace

std::vector<Planned> PlanPaths(const Archive& archive, std::span<const Member> members,
                               const ExtractOptions& options) {
    std::vector<Planned> plan;
    NameList odd;
    NameList twice;
    std::unordered_set<std::string> taken;
    const bool haveOwnNames = HaveOwnNames(archive, members, options);
    std::uint64_t bytes = 0;
    plan.reserve(members.size());
    for (const Member& member : members) {
        const std::string_view path = PathOf(member, options);
        if (path.empty()) continue;
        // The stored name is judged with '/' for '\\', as it would be written.
        const std::string stored = StoredBytes(path);
        if (const char* problem = archive::NameProblem(stored)) {
            odd.Add(member.Name() + ": " + problem);
        }
        if (!haveOwnNames && !taken.insert(archive::FoldName(stored)).second) twice.Add(path);
        plan.push_back({&member, path});
        bytes += member.Size();
    }
    const std::string where = archive.Path().string();
    if (!odd.IsEmpty()) {
        throw Error(ErrorCode::Refused, where + ": names that are no safe paths:" + odd.Text(),
                    archive.Path());
    }
    if (!twice.IsEmpty()) {
        throw Error(ErrorCode::Refused,
                    where + ": several members would become one file:" + twice.Text(),
                    archive.Path());
    }
    if (bytes > options.mostBytes) {
        throw Error(ErrorCode::Refused,
                    where + ": the " + std::to_string(bytes) +
                        " bytes of content are more than the " + std::to_string(options.mostBytes) +
                        " that are allowed",
                    archive.Path());
    }
    return plan;
}

const platform::FolderHandle* FolderChain::FolderOf(std::string_view path) {
    // Neighbours lack the same folder: mostly the whole tree is new.
    if (!missing_.empty() && path.starts_with(missing_)) return nullptr;
    missing_.clear();
    const std::string_view whole = path;
    std::size_t depth = 0;
    const platform::FolderHandle* folder = &root_;
    for (std::size_t slash = path.find('/'); slash != path.npos; slash = path.find('/')) {
        const std::string_view name = path.substr(0, slash);
        path.remove_prefix(slash + 1);
        if (depth == levels_.size() || levels_[depth].name != name) {
            levels_.resize(depth);
            Level level{std::string(name), {}};
            if (!level.folder.OpenIn(*folder, level.name, make_)) {
                error_ = platform::LastError();
                nearest_ = folder;
                found_ = folder->KindOf(level.name);
                // What cannot be made now is tried again for the next file.
                if (!make_) missing_ = whole.substr(0, whole.size() - path.size());
                return nullptr;
            }
            levels_.push_back(std::move(level));
        }
        folder = &levels_[depth++].folder;
    }
    nearest_ = folder;
    return folder;
}

void OpenRoot(const ExtractOptions& options, platform::FolderHandle& root) {
    const std::string folder = options.folder.empty() ? "." : SystemPath(options.folder);
    if (root.Open(folder.c_str())) return;
    bool good = false;
    if (options.dryRun) {
        platform::FolderHandle nearest;
        platform::FilePlace place;
        good = OpenNearest(options, nearest, place) && nearest.CanTake(place.name);
    } else {
        good = platform::MakeDirectories(folder.c_str()) && root.Open(folder.c_str());
    }
    if (good) return;
    throw Error(ErrorCode::Refused,
                "cannot make the folder '" + folder + "': " + platform::LastError().Message(),
                folder);
}

// Each file that replaces another frees that one's bytes, so that then only the largest is certain
// to need its room.
void JudgeRoom(const std::vector<Planned>& plan, const ExtractOptions& options) {
    std::uint64_t bytes = 0;
    for (const Planned& planned : plan) {
        const std::uint64_t size = planned.member->Size();
        bytes = options.replace ? std::max(bytes, size) : bytes + size;
    }
    platform::FolderHandle nearest;
    platform::FilePlace place;
    if (OpenNearest(options, nearest, place)) JudgeSpace(place.folder, options.folder, bytes);
}

std::vector<std::string> JudgePlaces(const std::vector<Planned>& plan,
                                     const platform::FolderHandle& root,
                                     const ExtractOptions& options) {
    std::vector<std::string> links;
    NameList exists;
    NameList unfit;
    FolderChain chain(root, false);
    for (const Planned& planned : plan) {
        const platform::FolderHandle* folder = chain.FolderOf(planned.path);
        if (!folder && chain.Found() != platform::EntryKind::None) {
            RefuseFolderOf(planned, chain, options);
        }
        if (!folder && !options.dryRun) continue;
        const std::string name = platform::PlaceOf(planned.path).name;
        // What a real run finds when it writes.
        if (options.dryRun && !chain.Nearest().CanTake(name)) {
            RefuseFile("cannot create", planned, options);
        }
        if (!folder) continue;
        const platform::EntryKind kind = folder->KindOf(name);
        if (kind == platform::EntryKind::None) continue;
        const bool replaceable =
            kind == platform::EntryKind::File || kind == platform::EntryKind::Link;
        if (!replaceable) unfit.Add(planned.path);
        if (replaceable && !options.replace) exists.Add(planned.path);
        if (kind == platform::EntryKind::Link) links.emplace_back(planned.path);
    }
    if (!unfit.IsEmpty()) {
        throw Error(ErrorCode::Refused,
                    "folders or devices have the names of files:" + unfit.Text(), options.folder);
    }
    if (!exists.IsEmpty()) {
        throw Error(ErrorCode::Refused, "files exist (-f replaces them):" + exists.Text(),
                    options.folder);
    }
    return links;
}

std::vector<std::string> RemoveAbandoned(const std::vector<Planned>& plan,
                                         const platform::FolderHandle& root) {
    std::vector<std::string> removed;
    std::unordered_set<std::string> seen;
    FolderChain chain(root, false);
    std::string_view last;  // the folder of the member before, mostly the same
    for (const Planned& planned : plan) {
        const std::string_view own = planned.path.substr(0, planned.path.rfind('/') + 1);
        if (own == last && !seen.empty()) continue;
        last = own;
        const platform::FilePlace place = platform::PlaceOf(planned.path);
        if (!seen.insert(place.folder).second) continue;
        const platform::FolderHandle* folder = chain.FolderOf(planned.path);
        if (!folder) continue;
        // Hidden files are rare, so that looking through the plan for each is cheap.
        const auto isPlanned = [&](std::string_view stem) {
            return std::ranges::any_of(plan, [&](const Planned& other) {
                const platform::FilePlace file = platform::PlaceOf(other.path);
                return file.folder == place.folder && platform::HiddenStem(file.name) == stem;
            });
        };
        for (const std::string& name : folder->RemoveAbandoned(isPlanned)) {
            removed.push_back(place.folder + name);
        }
    }
    return removed;
}

void RefuseFile(const char* what, const Planned& planned, const ExtractOptions& options) {
    RefuseFor(platform::LastError(), what, planned, options);
}

void RefuseFolderOf(const Planned& planned, const FolderChain& chain,
                    const ExtractOptions& options) {
    const platform::EntryKind found = chain.Found();
    // The same words as for a file that its folder does not take, which is what a dry run finds.
    if (found == platform::EntryKind::None || found == platform::EntryKind::Directory) {
        RefuseFor(chain.Reason(), "cannot create", planned, options);
    }
    const std::string target = TargetOf(planned, options);
    throw Error(ErrorCode::Refused,
                "cannot open the folder of '" + target + "'; a file or a link is in the way",
                target);
}

}  // namespace va
