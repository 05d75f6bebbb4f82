#include "library/NewMembers.h"

#include <algorithm>
#include <limits>

#include "archive/Names.h"
#include "library/ArchiveAccess.h"
#include "library/Translate.h"
#include "platform/CodePage.h"
#include "platform/Directories.h"

namespace va {
namespace {

// Sizes in an archive have 32 bits.
constexpr std::uint64_t kMostContent = std::numeric_limits<std::uint32_t>::max();

}  // namespace

const char* NameProblemOf(std::string_view name, std::string_view stored) {
    if (platform::AnsiToUtf8(stored) != name) return "has a name that code page 1252 cannot hold";
    return archive::NameProblem(stored);
}

void NewMembers::Add(const Archive& source, const Member& member, std::string storedName) {
    // Mostly many members of one source follow each other: they share its path.
    const bool isNew = paths_.empty() || paths_.back() != source.Path();
    if (isNew) {
        paths_.push_back(source.Path());
        if (source.Info().isFolder) folders_.push_back(source.Path());
    }
    AddMember(std::move(storedName), ArchiveAccess::TreeOf(source), member.Index(), paths_.back());
}

void NewMembers::AddNamed(const Archive& source, const Member& member, std::string_view name) {
    std::string stored = StoredNameOf(name);
    if (!stored.empty()) Add(source, member, std::move(stored));
}

void NewMembers::AddAll(const Archive& source, std::string_view under,
                        const std::function<bool(const Member&)>& wanted) {
    const std::string before =
        under.empty() || under.ends_with('/') ? std::string(under) : std::string(under) + "/";
    for (const LeftOut& file : source.Skipped()) {
        // Links and devices are skipped everywhere; a file whose content would be missing is
        // refused.
        if (!file.isContent) continue;
        unusable_.Add((source.Path() / file.name).string() + " " + file.reason);
    }
    for (const Member& member : source.Members()) {
        if (wanted && !wanted(member)) continue;
        if (before.empty()) {
            Add(source, member, member.StoredName());
        } else {
            AddNamed(source, member, before + member.Name());
        }
    }
}

void NewMembers::AddFile(const std::filesystem::path& file, std::string_view name) {
    const std::string path = SystemPath(file);
    platform::FileStatus status;
    if (!platform::GetStatus(path.c_str(), status)) {
        throw Error(ErrorCode::NotFound, path + ": there is no such file", file);
    }
    if (status.IsDirectory()) throw Error(ErrorCode::Refused, path + " is a folder", file);
    if (status.size > kMostContent) return unusable_.Add(path + " is 4 GiB or larger");
    std::string stored = StoredNameOf(name);
    if (stored.empty()) return;
    paths_.push_back(file);
    const std::size_t number = loose_.AddFile(stored, path, status.stamp);
    AddMember(std::move(stored), loose_, number, paths_.back());
}

void NewMembers::AddContent(std::vector<std::byte> content, std::string_view name) {
    if (content.size() > kMostContent) {
        return unusable_.Add(std::string(name) + " is 4 GiB or larger");
    }
    std::string stored = StoredNameOf(name);
    if (stored.empty()) return;
    paths_.emplace_back(name);
    const std::size_t number = loose_.AddContent(stored, std::move(content));
    AddMember(std::move(stored), loose_, number, paths_.back());
}

std::string NewMembers::StoredNameOf(std::string_view name) {
    std::string stored = StoredBytes(name);
    const char* problem = NameProblemOf(name, stored);
    if (!problem) return stored;
    // Collected, so that one run names all that has to be renamed.
    unusable_.Add("'" + std::string(name) + "' " + problem);
    return {};
}

void NewMembers::AddMember(std::string name, const archive::Tree& tree, std::size_t number,
                           const std::filesystem::path& source) {
    NewMember& member = members_.emplace_back();
    // Folded once: the sort compares each name many times.
    member.folded = archive::FoldName(name);
    member.name = std::move(name);
    member.size = tree[number].size;
    member.tree = &tree;
    member.number = number;
    member.source = &source;
}

std::vector<NewMember> NewMembers::Judged() const {
    if (!unusable_.IsEmpty()) {
        throw Error(ErrorCode::Refused,
                    "no archive can hold these; rename or split them:" + unusable_.Text());
    }
    std::vector<NewMember> members = members_;
    // Stable, so that of equal names the message has the one first that was added first.
    std::ranges::stable_sort(members, {}, &NewMember::folded);
    patch::NameList doubles;
    for (std::size_t i = 1; i < members.size(); ++i) {
        if (members[i].folded != members[i - 1].folded) continue;
        doubles.Add(PublicName(members[i - 1].name) + " and " + PublicName(members[i].name));
    }
    if (!doubles.IsEmpty()) {
        throw Error(ErrorCode::Refused,
                    "several members would have one name, letter case ignored; rename or leave out "
                    "all but one of each:" +
                        doubles.Text());
    }
    return members;
}

}  // namespace va
