#include "KernelStandard/ArchiveMembers.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "archive/ChunkEdits.h"
#include "archive/Error.h"
#include "kernel/PathBuffer.h"
#include "kernel/Paths.h"

namespace Vorn {

namespace {

// Returns the name that a lookup compares; nothing for one that no member can have.
[[nodiscard]] std::optional<std::string_view> LookedUp(const char* name) {
    if (IsSeparator(*name)) ++name;
    const std::string_view text(name);
    return text.size() < kMaxPath ? std::optional(text) : std::nullopt;
}

}  // namespace

ArchiveMembers::ArchiveMembers(bool writable, const archive::ArchiveHeader& defaults)
    : writable_(writable), defaults_(defaults) {
    contents_.header = defaults;
}

void ArchiveMembers::Read() {
    ++timesRead_;
    folders_ = ArchiveFolders();
    walkedFrom_ = walkedSize_ = 0;
    // Taken before anything is read, so that a change made meanwhile is noticed later.
    const archive::Footprint footprint = archive::TakeFootprint(file_);
    const std::int64_t length = footprint.length;
    contents_ = archive::Contents();
    contents_.header = defaults_;
    // What a killed process leaves if it had created the file, but not yet written to it.
    if (length == 0 && writable_) {
        contents_ = archive::NewContents(defaults_.buildVersion, defaults_.productCode);
    }
    contents_.footprint = footprint;
    // A file without a mark stays open: no members are found, and none are added.
    if (length >= 0 && static_cast<std::size_t>(length) < archive::kArchiveMark.size()) return;
    try {
        contents_ = archive::ReadContents(file_, defaults_);
    } catch (const archive::Error& error) {
        readFailed_ = error.Code() == archive::ErrorCode::CannotRead;
        isArchive_ = false;
        return;
    }
    // An index without records is not maintained: new members go after it, and none is written.
    // This is fixed.
    if (Table().End() == 0 && contents_.Maintained()) contents_.index = archive::IndexState::Absent;
    for (Ordinal ordinal = 0; ordinal < Table().End(); ++ordinal) {
        folders_.AddDirectoriesOf(Table().Name(ordinal));
    }
}

bool ArchiveMembers::HasChanged() const {
    return archive::TakeFootprint(file_) != contents_.footprint;
}

void ArchiveMembers::Start() {
    contents_ = archive::StartArchive(file_, defaults_.buildVersion, defaults_.productCode);
}

bool ArchiveMembers::MayChange() const {
    return writable_ && IsUsable() && contents_.headerInPlace;
}

archive::FindEntry ArchiveMembers::EntryOf(Ordinal ordinal) const {
    std::array<std::byte, archive::kFindEntrySize> bytes{};
    Table().EncodeEntry(ordinal, bytes);
    return archive::DecodeEntry(bytes);
}

std::optional<ArchiveMembers::Ordinal> ArchiveMembers::Find(const char* name) const {
    const auto wanted = LookedUp(name);
    if (!wanted || !IsUsable() || Table().Count() == 0) return std::nullopt;
    PathBuffer normal{*wanted};
    NormalisePath(normal);
    for (auto found = Table().Find(normal.View()); found; found = Table().NextOfSameName(*found)) {
        // The names compare with '/' and '\' as equal, but this must not find a name that is
        // stored with '\': such members are reached by searching only.
        if (Table().Name(*found).find('\\') == std::string_view::npos) return found;
    }
    return std::nullopt;
}

std::optional<ArchiveMembers::Ordinal> ArchiveMembers::FindOrWalk(const char* name) {
    const auto known = Find(name);
    return known ? known : WalkFor(name);
}

// The walk treats the name as a pattern, which is fixed.
std::optional<ArchiveMembers::Ordinal> ArchiveMembers::WalkFor(const char* name) {
    const auto wanted = LookedUp(name);
    if (!wanted || !IsUsable()) return std::nullopt;
    const std::int64_t length = file_.Length();
    if (length < 0) return std::nullopt;
    // A file that has not grown is walked once, not once for every name that is missing.
    const auto size = static_cast<std::uint64_t>(length);
    if (walkedFrom_ == WalkStart() && walkedSize_ == size) return std::nullopt;

    archive::Cursor cursor(file_, WalkStart());
    while (const auto ordinal = Walk(cursor)) {
        if (MatchWildcards(Table().Name(*ordinal), *wanted)) return ordinal;
    }
    walkedFrom_ = WalkStart();
    walkedSize_ = size;
    return std::nullopt;
}

std::uint64_t ArchiveMembers::WalkStart() const {
    return std::max<std::uint64_t>(Table().EndOfData(), archive::kFirstChunkOffset);
}

std::optional<ArchiveMembers::Ordinal> ArchiveMembers::Walk(archive::Cursor& cursor) {
    try {
        const auto chunk = cursor.NextMember();
        if (!chunk) return std::nullopt;
        const Ordinal ordinal = contents_.members.Add(
            static_cast<std::uint32_t>(chunk->DataOffset()), chunk->StoredSize(), chunk->entry);
        folders_.AddDirectoriesOf(Table().Name(ordinal));
        return ordinal;
    } catch (const archive::Error&) {
        // As at the end of the file: members after a place that cannot be read are out of reach.
        return std::nullopt;
    }
}

void ArchiveMembers::WalkRest() {
    archive::Cursor cursor(file_, WalkStart());
    while (Walk(cursor)) {
    }
}

}  // namespace Vorn
