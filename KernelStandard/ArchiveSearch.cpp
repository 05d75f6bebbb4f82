// Finding members of an archive: by name, by pattern, and by walking the chunks of the file.
#include <algorithm>

#include "KernelStandard/FileSubArchive.h"
#include "KernelStandard/ReadAhead.h"
#include "kernel/Paths.h"

namespace Vorn {

const MemberRecord* FileSubArchive::LookUp(const char* name) {
    const auto ordinal = LookUpOrdinal(name);
    return ordinal ? &index_[*ordinal] : nullptr;
}

std::optional<FileSubArchive::Ordinal> FileSubArchive::LookUpOrdinal(const char* name) {
    if (IsSeparator(*name)) ++name;
    if (!IsAvailable() || std::string_view(name).size() >= kMaxPath) return std::nullopt;
    if (!index_.Empty()) {
        PathBuffer normal{std::string_view(name)};
        NormalisePath(normal);
        if (const auto found = index_.Find(ArchiveIndex::KeyOf(normal.View()))) return found;
    }
    return WalkFor(name);
}

// Members may stand behind those that are known: they are found in the file, the name then being a
// pattern.
std::optional<FileSubArchive::Ordinal> FileSubArchive::WalkFor(const char* name) {
    // Whoever changes an archive knows all of it.
    if (indexDirty_) return std::nullopt;
    const std::uint64_t start = std::max<std::uint64_t>(index_.EndOfData(), kFirstChunkOffset);
    const std::int64_t length = handle_.Length();
    if (length < 0) return std::nullopt;
    const auto size = static_cast<std::uint64_t>(length);
    if (walkedFrom_ == start && walkedSize_ == size) return std::nullopt;

    std::uint64_t position = start;
    while (const auto ordinal = NextChunk(position)) {
        if (MatchWildcards(index_[*ordinal].entry.Name(), name)) return ordinal;
    }
    walkedFrom_ = std::max<std::uint64_t>(index_.EndOfData(), kFirstChunkOffset);
    walkedSize_ = size;
    return std::nullopt;
}

void FileSubArchive::LearnAllMembers() {
    if (indexDirty_) return;
    std::uint64_t position = std::max<std::uint64_t>(index_.EndOfData(), kFirstChunkOffset);
    while (NextChunk(position)) {
    }
}

std::optional<FileSubArchive::Ordinal> FileSubArchive::NextChunk(std::uint64_t& position) {
    ReadAhead ahead(handle_);
    std::array<std::byte, kChunkHeaderSize> bytes{};
    while (ahead.Read(position, bytes)) {
        const ChunkHeader chunk = DecodeChunkHeader(bytes);
        if (!chunk.Is(kMemberChunk)) {
            position += kChunkHeaderSize + chunk.length;
            continue;
        }
        std::array<std::byte, kFindEntrySize> entry{};
        if (chunk.length < kFindEntrySize || !ahead.Read(position + kChunkHeaderSize, entry)) break;
        const std::uint64_t dataOffset = position + kMemberPrefixSize;
        if (dataOffset > kMaxArchiveSize) break;
        const auto storedSize = static_cast<std::uint32_t>(chunk.length - kFindEntrySize);
        position = dataOffset + storedSize;
        const FindEntry found = DecodeEntry(entry);
        index_.AddDirectoriesOf(found.Name());
        return index_.Add(static_cast<std::uint32_t>(dataOffset), storedSize, found);
    }
    return std::nullopt;
}

int FileSubArchive::BeginFind() {
    const ScopedLock hold(lock_);
    auto free = std::ranges::find(searches_, false, &Search::used);
    if (free == searches_.end()) free = searches_.emplace(free);
    *free = Search{};
    free->used = true;
    free->position = kFirstChunkOffset;
    return static_cast<int>(free - searches_.begin());
}

void FileSubArchive::EndFind(int search) {
    const ScopedLock hold(lock_);
    if (search >= 0 && static_cast<std::size_t>(search) < searches_.size()) {
        searches_[static_cast<std::size_t>(search)] = Search{};
    }
}

bool FileSubArchive::FindNext(const char* pattern, int search, FindEntry& entry, bool advance,
                              bool exact) {
    const ScopedLock hold(lock_);
    if (search < 0 || static_cast<std::size_t>(search) >= searches_.size()) return false;
    Search& state = searches_[static_cast<std::size_t>(search)];
    if (!state.used || !IsAvailable()) return false;
    if (!exact) return FindByPattern(pattern, state, entry, advance);

    const MemberRecord* member = LookUp(pattern);
    if (member == nullptr) return false;
    entry = member->entry;
    state.position = advance ? member->DataEnd() : member->dataOffset;
    return true;
}

bool FileSubArchive::FindByPattern(std::string_view pattern, Search& search, FindEntry& entry,
                                   bool advance) {
    if (!search.prepared) PrepareSearch(pattern, search);
    while (const auto ordinal = NextMember(search)) {
        const MemberRecord& member = index_[*ordinal];
        const std::string_view name = member.entry.Name();
        std::size_t dirEnd = std::string_view::npos;
        const bool matched = MatchWildcards(name, pattern, &dirEnd);
        if (!matched && dirEnd >= name.size()) continue;

        entry = member.entry;
        if (!matched) {
            std::fill(entry.name.begin() + static_cast<std::ptrdiff_t>(dirEnd), entry.name.end(),
                      '\0');
            entry.attributes |= kEntryDirectory | kEntryReadOnly;
        }
        if (!advance) search.position = member.dataOffset;
        return true;
    }
    return false;
}

void FileSubArchive::PrepareSearch(std::string_view pattern, Search& search) {
    search.prepared = true;
    const std::size_t separator = pattern.find_last_of("/\\");
    if (separator == std::string_view::npos) return;
    const std::string_view folders = pattern.substr(0, separator + 1);
    if (folders.find_first_of("*?") != std::string_view::npos) return;
    search.candidates = index_.MembersBelow(folders);
    search.next = index_.End();
}

std::optional<FileSubArchive::Ordinal> FileSubArchive::NextMember(Search& search) {
    std::optional<Ordinal> found;
    while (!found && search.nextCandidate < search.candidates.size()) {
        const Ordinal candidate = search.candidates[search.nextCandidate++];
        if (!index_[candidate].removed) found = candidate;
    }
    while (!found && search.next < index_.End()) {
        const Ordinal candidate = search.next++;
        if (!index_[candidate].removed) found = candidate;
    }
    if (found) {
        search.position = index_[*found].DataEnd();
        return found;
    }
    search.position = std::max(search.position, index_.EndOfData());
    found = NextChunk(search.position);
    search.next = index_.End();
    return found;
}

}  // namespace Vorn
