#include "KernelStandard/ArchiveFolders.h"

#include <algorithm>

#include "archive/Names.h"
#include "kernel/LetterCase.h"
#include "kernel/Paths.h"

namespace Vorn {

namespace {

[[nodiscard]] std::string_view WithoutDotSlash(std::string_view name) {
    return name.size() >= 2 && name[0] == '.' && IsSeparator(name[1]) ? name.substr(2) : name;
}

// Returns a directory's name in the form in which `directories_` holds it.
[[nodiscard]] std::string NormaliseDirectory(std::string_view name) {
    std::string normal(name);
    for (char& c : normal) c = c == '\\' ? '/' : AsciiToLower(c);
    if (normal.ends_with('/')) normal.pop_back();
    return normal;
}

}  // namespace

void ArchiveFolders::AddDirectoriesOf(std::string_view name) {
    std::string folder = NormaliseDirectory(name);
    for (;;) {
        const std::size_t cut = folder.rfind('/');
        if (cut == std::string::npos || cut == 0) return;
        folder.resize(cut);
        // A known directory's parents are known too.
        if (!directories_.insert(Intern(folder)).second) return;
    }
}

bool ArchiveFolders::IsDirectory(std::string_view name, bool normalise) {
    const std::string wanted = normalise ? NormaliseDirectory(name) : std::string(name);
    // Asking for the same folder again, as most callers do, must not cost a string pool look-up.
    if (!lastDirectory_.empty() && wanted == lastDirectory_) return true;
    if (!directories_.contains(Intern(wanted))) return false;
    lastDirectory_ = wanted;
    return true;
}

void ArchiveFolders::SortNewNames(const archive::MemberTable& members) {
    const auto byCanonicalName = [&members](Ordinal a, Ordinal b) {
        return archive::CompareNames(WithoutDotSlash(members.Name(a)),
                                     WithoutDotSlash(members.Name(b))) < 0;
    };
    const auto sortedCount = static_cast<std::ptrdiff_t>(byName_.size());
    for (auto ordinal = static_cast<Ordinal>(byName_.size()); ordinal < members.End(); ++ordinal) {
        byName_.push_back(ordinal);
    }
    // Most archives are written in the order of the names, so that there is nothing to sort.
    const auto middle = byName_.begin() + sortedCount;
    if (!std::is_sorted(middle, byName_.end(), byCanonicalName)) {
        std::sort(middle, byName_.end(), byCanonicalName);
    }
    std::inplace_merge(byName_.begin(), middle, byName_.end(), byCanonicalName);
}

std::vector<ArchiveFolders::Ordinal> ArchiveFolders::MembersBelow(
    const archive::MemberTable& members, std::string_view prefix) {
    SortNewNames(members);
    const std::string_view wanted = WithoutDotSlash(prefix);
    // Compares as many bytes of a member's name as the prefix has with the prefix. The members
    // below the prefix, for which this is 0, are neighbours in `byName_`.
    const auto beginning = [&members, &wanted](Ordinal ordinal) {
        return archive::CompareNames(
            WithoutDotSlash(members.Name(ordinal)).substr(0, wanted.size()), wanted);
    };
    const auto first = std::partition_point(byName_.begin(), byName_.end(),
                                            [&](Ordinal o) { return beginning(o) < 0; });
    const auto last =
        std::partition_point(first, byName_.end(), [&](Ordinal o) { return beginning(o) == 0; });
    std::vector<Ordinal> below(first, last);
    // `byName_` keeps removed members: dropping them there would cost a pass over all for each.
    std::erase_if(below, [&members](Ordinal ordinal) { return !members.Has(ordinal); });
    std::sort(below.begin(), below.end());
    return below;
}

}  // namespace Vorn
