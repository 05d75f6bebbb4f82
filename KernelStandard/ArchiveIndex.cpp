#include "KernelStandard/ArchiveIndex.h"

#include <algorithm>
#include <array>

#include "kernel/Paths.h"
#include "platform/CodePage.h"

namespace Vorn {

namespace {

[[nodiscard]] unsigned char FoldByte(char c) {
    return c == '\\' ? '/' : static_cast<unsigned char>(c);
}

[[nodiscard]] std::string_view WithoutDotSlash(std::string_view name) {
    return name.size() >= 2 && name[0] == '.' && IsSeparator(name[1]) ? name.substr(2) : name;
}

// A member's name as names are sorted: in lower case, as the wildcard matcher compares them.
[[nodiscard]] std::string_view SortedName(const MemberRecord& member) {
    return WithoutDotSlash(member.key.View());
}

// Order of names in lower case, with either separator; below 0, 0 or above 0.
[[nodiscard]] int CompareFolded(std::string_view a, std::string_view b) {
    const std::size_t shared = std::min(a.size(), b.size());
    for (std::size_t i = 0; i < shared; ++i) {
        const int difference = FoldByte(a[i]) - FoldByte(b[i]);
        if (difference != 0) return difference;
    }
    return a.size() < b.size() ? -1 : static_cast<int>(a.size() > b.size());
}

// A directory name as IsDirectory keeps it.
[[nodiscard]] std::string NormaliseDirectory(std::string_view name) {
    std::string normal(name);
    for (char& c : normal) c = c == '\\' ? '/' : AsciiToLower(c);
    if (normal.ends_with('/')) normal.pop_back();
    return normal;
}

}  // namespace

InternedString ArchiveIndex::KeyOf(std::string_view name) {
    std::array<char, kMaxPath> lower{};
    const std::size_t length = std::min(name.size(), lower.size() - 1);
    for (std::size_t i = 0; i < length; ++i) {
        lower[i] = static_cast<char>(platform::AnsiToLower(static_cast<unsigned char>(name[i])));
    }
    return Intern(lower.data(), length);
}

void ArchiveIndex::Reserve(std::size_t count) {
    members_.reserve(count);
    byKey_.reserve(count);
}

ArchiveIndex::Ordinal ArchiveIndex::Add(std::uint32_t dataOffset, std::uint32_t storedSize,
                                        const FindEntry& entry) {
    const Ordinal ordinal = End();
    members_.push_back({.dataOffset = dataOffset,
                        .storedSize = storedSize,
                        .key = KeyOf(entry.Name()),
                        .entry = entry});
    ++count_;
    endOfData_ = std::max(endOfData_, members_.back().DataEnd());
    const auto [found, isNew] = byKey_.try_emplace(members_.back().key, SameKey{ordinal, {}});
    if (!isNew) found->second.later.push_back(ordinal);
    return ordinal;
}

void ArchiveIndex::Remove(Ordinal ordinal) {
    MemberRecord& member = members_[ordinal];
    if (member.removed) return;
    member.removed = true;
    --count_;
    const auto found = byKey_.find(member.key);
    SameKey& same = found->second;
    if (same.first != ordinal) {
        std::erase(same.later, ordinal);
    } else if (same.later.empty()) {
        byKey_.erase(found);
    } else {
        same.first = same.later.front();
        same.later.erase(same.later.begin());
    }
}

void ArchiveIndex::AddDirectoriesOf(std::string_view name) {
    std::string folder = NormaliseDirectory(name);
    for (;;) {
        const std::size_t cut = folder.rfind('/');
        if (cut == std::string::npos || cut == 0) return;
        folder.resize(cut);
        if (!directories_.insert(Intern(folder)).second) return;
    }
}

bool ArchiveIndex::IsDirectory(std::string_view name, bool normalise) {
    const std::string wanted = normalise ? NormaliseDirectory(name) : std::string(name);
    if (!lastDirectory_.empty() && wanted == lastDirectory_) return true;
    if (!directories_.contains(Intern(wanted))) return false;
    lastDirectory_ = wanted;
    return true;
}

std::optional<ArchiveIndex::Ordinal> ArchiveIndex::Find(const InternedString& key) const {
    const auto found = byKey_.find(key);
    if (found == byKey_.end()) return std::nullopt;
    return found->second.first;
}

void ArchiveIndex::SortNewNames() {
    const auto byFoldedName = [this](Ordinal a, Ordinal b) {
        return CompareFolded(SortedName(members_[a]), SortedName(members_[b])) < 0;
    };
    const auto sortedCount = static_cast<std::ptrdiff_t>(byName_.size());
    for (auto ordinal = static_cast<Ordinal>(byName_.size()); ordinal < End(); ++ordinal) {
        byName_.push_back(ordinal);
    }
    // Archives are mostly written in the order of the names.
    const auto middle = byName_.begin() + sortedCount;
    if (!std::is_sorted(middle, byName_.end(), byFoldedName)) {
        std::sort(middle, byName_.end(), byFoldedName);
    }
    std::inplace_merge(byName_.begin(), middle, byName_.end(), byFoldedName);
}

std::vector<ArchiveIndex::Ordinal> ArchiveIndex::MembersBelow(std::string_view prefix) {
    SortNewNames();
    const InternedString folded = KeyOf(prefix);
    const std::string_view wanted = WithoutDotSlash(folded.View());
    // Where in the order of names a member's beginning stands against the prefix.
    const auto beginning = [this, &wanted](Ordinal ordinal) {
        return CompareFolded(SortedName(members_[ordinal]).substr(0, wanted.size()), wanted);
    };
    const auto first = std::partition_point(byName_.begin(), byName_.end(),
                                            [&](Ordinal o) { return beginning(o) < 0; });
    const auto last =
        std::partition_point(first, byName_.end(), [&](Ordinal o) { return beginning(o) == 0; });
    std::vector<Ordinal> below(first, last);
    std::erase_if(below, [this](Ordinal ordinal) { return members_[ordinal].removed; });
    std::sort(below.begin(), below.end());
    return below;
}

}  // namespace Vorn
