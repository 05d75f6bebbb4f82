// Mounts an archive; finds and reads its members.
#include "KernelStandard/FileSubArchive.h"

#include <algorithm>
#include <array>
#include <utility>

#include "KernelStandard/OpenFile.h"
#include "archive/Cursor.h"
#include "archive/Error.h"
#include "kernel/Exceptions.h"
#include "kernel/Paths.h"
#include "platform/Directories.h"

namespace Vorn {

namespace {

std::uint32_t defaultBuildVersion = 0;
std::uint32_t defaultProductCode = 0;

// Returns the offset where a walk over the chunks after the known members begins.
[[nodiscard]] std::uint64_t WalkStart(const archive::MemberTable& members) {
    return std::max<std::uint64_t>(members.EndOfData(), archive::kFirstChunkOffset);
}

}  // namespace

void FileSubArchive::SetDefaultBuildVersion(std::uint32_t value) { defaultBuildVersion = value; }

void FileSubArchive::SetDefaultProductCode(std::uint32_t value) { defaultProductCode = value; }

FileSubArchive::FileSubArchive(const char* path, bool writable)
    : path_(std::string_view(path)), readOnly_(!writable) {
    using namespace platform;
    const ScopedLock hold(lock_);
    contents_.header.buildVersion = defaultBuildVersion;
    contents_.header.productCode = defaultProductCode;
    const Access access = readOnly_ ? Access::Read : Access::ReadWrite;
    if (handle_.Open(path, access, Creation::OpenExisting, Share::DenyNone)) {
        ReadArchive();
    } else if (!readOnly_) {
        CreateArchive();
    } else {
        readFailed_ = true;
    }
}

void FileSubArchive::CreateArchive() {
    using namespace platform;
    const bool created =
        handle_.Open(path_.c_str(), Access::ReadWrite, Creation::CreateNew, Share::DenyNone);
    // Another process may have created the file first, or may already be changing the one that was
    // created here.
    changing_ = created && handle_.LockChanges(0);
    if (!changing_ && (created || handle_.Open(path_.c_str(), Access::ReadWrite,
                                               Creation::OpenExisting, Share::DenyNone))) {
        return ReadArchive();
    }
    contents_ = archive::NewContents(defaultBuildVersion, defaultProductCode);
    const auto preamble = archive::EncodePreamble(contents_.header);
    if (!created || handle_.WriteAt(0, preamble) != preamble.size()) {
        handle_.Close();
        // Half a header would be a file that no one can mount.
        if (created) (void)RemoveFile(path_.c_str());
        throw FileEx("KernelStandard/FileSubArchive", __LINE__,
                     "Substitute() Open new archive failed");
    }
    contents_.indexStale = true;  // an archive without members gets an index too
    appender_.emplace(handle_, contents_, archive::Appender::Publish::InBatches);
}

void FileSubArchive::ReadArchive() {
    const archive::ArchiveHeader defaults{.buildVersion = defaultBuildVersion,
                                          .productCode = defaultProductCode};
    // Taken before anything is read, so that a change made meanwhile is noticed later.
    const archive::Footprint footprint = archive::TakeFootprint(handle_);
    const std::int64_t length = footprint.length;
    contents_ = archive::Contents();
    contents_.header = defaults;
    if (length == 0 && !readOnly_) {
        contents_ = archive::NewContents(defaultBuildVersion, defaultProductCode);
    }
    contents_.footprint = footprint;
    // A file without a mark stays open: no members are found, and none are added.
    if (length >= 0 && static_cast<std::size_t>(length) < archive::kArchiveMark.size()) return;
    try {
        contents_ = archive::ReadContents(handle_, defaults);
    } catch (const archive::Error& error) {
        readFailed_ = error.Code() == archive::ErrorCode::CannotRead;
        handle_.Close();
        return;
    }
    // An index without records is not maintained: new members go after it, and none is written.
    // This is fixed.
    if (contents_.members.End() == 0 && contents_.Maintained()) {
        contents_.index = archive::IndexState::Absent;
    }
    for (Ordinal ordinal = 0; ordinal < contents_.members.End(); ++ordinal) {
        folders_.AddDirectoriesOf(contents_.members.Name(ordinal));
    }
}

void FileSubArchive::ReadAnew() {
    folders_ = ArchiveFolders();
    walkedFrom_ = walkedSize_ = 0;
    ReadArchive();
    // Ordinals and offsets now mean other members: searches that are under way end.
    for (Search& search : searches_) {
        search.candidates.clear();
        search.prepared = true;
        search.next = contents_.members.End();
        search.position = archive::kMaxArchiveSize;
    }
}

bool FileSubArchive::IsAvailable() const {
    const ScopedLock hold(lock_);
    return handle_.IsOpen();
}

archive::ArchiveHeader FileSubArchive::Header() const {
    const ScopedLock hold(lock_);
    return contents_.header;
}

bool FileSubArchive::LacksIndex() {
    const ScopedLock hold(lock_);
    while (contents_.index == archive::IndexState::Missing ||
           contents_.index == archive::IndexState::CutShort) {
        if (handle_.OthersChange()) return false;
        // Another process may have written the index since it was looked for.
        if (archive::TakeFootprint(handle_) == contents_.footprint) return true;
        ReadAnew();
    }
    return false;
}

bool FileSubArchive::OpenRead(OpenFile& file, const char* name, OpenFlags /*flags*/) {
    const ScopedLock hold(lock_);
    (void)FlushBatch();  // a member can be read only from the file; one that is lost is not found
    const auto ordinal = LookUp(name);
    if (!ordinal) return false;
    const archive::Member member = contents_.members[*ordinal];
    const bool raw = file.ReadKind() == kReadPlain;
    file.BorrowMember(handle_, *this, name, member.dataOffset, member.storedSize,
                      raw ? member.storedSize : member.size);
    return true;
}

bool FileSubArchive::Exists(InternedString& /*substName*/, const char* name) {
    const ScopedLock hold(lock_);
    if (LookUp(name)) return true;
    const std::string_view last(FileNamePart(name));
    return *name != '\0' && last.find_first_of(".*?") == std::string_view::npos &&
           folders_.IsDirectory(name, true);
}

bool FileSubArchive::Stat(std::uint32_t& writeTime, const char* name) {
    const ScopedLock hold(lock_);
    const auto ordinal = LookUp(name);
    if (ordinal) writeTime = contents_.members[*ordinal].writeTime;
    return ordinal.has_value();
}

std::optional<FileSubArchive::Ordinal> FileSubArchive::LookUp(const char* name) {
    if (IsSeparator(*name)) ++name;
    if (!IsAvailable() || std::string_view(name).size() >= kMaxPath) return std::nullopt;
    const archive::MemberTable& members = contents_.members;
    if (members.Count() > 0) {
        PathBuffer normal{std::string_view(name)};
        NormalisePath(normal);
        for (auto found = members.Find(normal.View()); found;
             found = members.NextOfSameName(*found)) {
            // The names compare with '/' and '\' as equal, but this must not find a name that is
            // stored with '\': such members are reached by searching only.
            if (members.Name(*found).find('\\') == std::string_view::npos) return found;
        }
    }
    return WalkFor(name);
}

// Finds members after the known ones by walking the file; the walk treats the name as a pattern,
// which is fixed.
std::optional<FileSubArchive::Ordinal> FileSubArchive::WalkFor(const char* name) {
    // While there is an appender, all members are known.
    if (appender_) return std::nullopt;
    const std::int64_t length = handle_.Length();
    if (length < 0) return std::nullopt;
    const auto size = static_cast<std::uint64_t>(length);
    std::uint64_t position = WalkStart(contents_.members);
    // A file that has not grown is walked once, not once for every name that is missing.
    if (walkedFrom_ == position && walkedSize_ == size) return std::nullopt;

    while (const auto ordinal = NextChunk(position)) {
        if (MatchWildcards(contents_.members.Name(*ordinal), name)) return ordinal;
    }
    walkedFrom_ = WalkStart(contents_.members);
    walkedSize_ = size;
    return std::nullopt;
}

std::optional<FileSubArchive::Ordinal> FileSubArchive::NextChunk(std::uint64_t& position) {
    try {
        archive::Cursor cursor(handle_, position);
        const auto chunk = cursor.NextMember();
        position = cursor.Position();
        if (!chunk) return std::nullopt;
        const Ordinal ordinal = contents_.members.Add(
            static_cast<std::uint32_t>(chunk->DataOffset()), chunk->StoredSize(), chunk->entry);
        folders_.AddDirectoriesOf(contents_.members.Name(ordinal));
        return ordinal;
    } catch (const archive::Error&) {
        return std::nullopt;
    }
}

archive::FindEntry FileSubArchive::EntryOf(Ordinal ordinal) const {
    std::array<std::byte, archive::kIndexRecordSize> record{};
    contents_.members.Encode(ordinal, record);
    return archive::DecodeIndexRecord(record).entry;
}

int FileSubArchive::BeginFind() {
    const ScopedLock hold(lock_);
    // Handles are reused, so that the list is as long as the most searches at one time.
    auto free = std::ranges::find(searches_, false, &Search::used);
    if (free == searches_.end()) free = searches_.emplace(free);
    *free = Search{};
    free->used = true;
    free->position = archive::kFirstChunkOffset;
    return static_cast<int>(free - searches_.begin());
}

void FileSubArchive::EndFind(int search) {
    const ScopedLock hold(lock_);
    if (search >= 0 && static_cast<std::size_t>(search) < searches_.size()) {
        searches_[static_cast<std::size_t>(search)] = Search{};
    }
}

bool FileSubArchive::FindNext(const char* pattern, int search, archive::FindEntry& entry,
                              bool advance, bool exact) {
    const ScopedLock hold(lock_);
    if (search < 0 || static_cast<std::size_t>(search) >= searches_.size()) return false;
    Search& state = searches_[static_cast<std::size_t>(search)];
    if (!state.used || !IsAvailable()) return false;
    if (!exact) return FindByPattern(pattern, state, entry, advance);

    const auto ordinal = LookUp(pattern);
    if (!ordinal) return false;
    const archive::Member member = contents_.members[*ordinal];
    entry = EntryOf(*ordinal);
    state.position = advance ? member.DataEnd() : member.dataOffset;
    return true;
}

bool FileSubArchive::FindByPattern(std::string_view pattern, Search& search,
                                   archive::FindEntry& entry, bool advance) {
    if (!search.prepared) PrepareSearch(pattern, search);
    while (const auto ordinal = NextMember(search)) {
        const std::string_view name = contents_.members.Name(*ordinal);
        std::size_t dirEnd = std::string_view::npos;
        // If only the name's beginning up to a separator matches, that is a folder.
        const bool matched = MatchWildcards(name, pattern, &dirEnd);
        if (!matched && dirEnd >= name.size()) continue;

        entry = EntryOf(*ordinal);
        if (!matched) {
            std::fill(entry.name.begin() + static_cast<std::ptrdiff_t>(dirEnd), entry.name.end(),
                      '\0');
            entry.attributes |= archive::kEntryDirectory | archive::kEntryReadOnly;
        }
        if (!advance) search.position = contents_.members[*ordinal].dataOffset;
        return true;
    }
    return false;
}

void FileSubArchive::PrepareSearch(std::string_view pattern, Search& search) {
    search.prepared = true;
    // With a folder that holds no wildcards, only the members below it can match.
    const std::size_t separator = pattern.find_last_of("/\\");
    if (separator == std::string_view::npos) return;
    const std::string_view folders = pattern.substr(0, separator + 1);
    if (folders.find_first_of("*?") != std::string_view::npos) return;
    search.candidates = folders_.MembersBelow(contents_.members, folders);
    search.next = contents_.members.End();
}

std::optional<FileSubArchive::Ordinal> FileSubArchive::NextMember(Search& search) {
    const archive::MemberTable& members = contents_.members;
    std::optional<Ordinal> found;
    while (!found && search.nextCandidate < search.candidates.size()) {
        const Ordinal candidate = search.candidates[search.nextCandidate++];
        if (members.Has(candidate)) found = candidate;
    }
    while (!found && search.next < members.End()) {
        const Ordinal candidate = search.next++;
        if (members.Has(candidate)) found = candidate;
    }
    if (found) {
        search.position = members[*found].DataEnd();
        return found;
    }
    // All known members were returned: the rest of the file may have more of them.
    search.position = std::max(search.position, members.EndOfData());
    found = NextChunk(search.position);
    search.next = members.End();
    return found;
}

}  // namespace Vorn
