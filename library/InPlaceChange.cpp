#include "library/InPlaceChange.h"

#include <algorithm>
#include <array>
#include <map>
#include <span>

#include "archive/Cursor.h"
#include "archive/Error.h"
#include "kernel/LittleEndian.h"
#include "library/Translate.h"
#include "platform/Directories.h"
#include "platform/Error.h"
#include "platform/SystemInfo.h"

namespace va {
namespace {

using namespace archive;

using ChunkBytes = std::array<std::byte, kChunkHeaderSize>;
using EntryBytes = std::array<std::byte, kFindEntrySize>;

constexpr std::uint64_t kCountOffset = 20;  // in the file, of the header's member count
constexpr int kPatience = 30'000;           // milliseconds

ChunkBytes DeletedChunk(std::uint64_t length) {
    ChunkBytes bytes{};
    EncodeChunkHeader(bytes, kDeletedChunk, static_cast<std::uint32_t>(length));
    return bytes;
}
const ChunkBytes kClosedGuard = DeletedChunk(kMaxArchiveSize);
const ChunkBytes kEmptyChunk = DeletedChunk(0);

std::uint64_t IndexSize(std::uint64_t count) { return kChunkHeaderSize + count * kIndexRecordSize; }

EntryBytes EntryOf(const MemberTable& members, MemberTable::Ordinal ordinal) {
    EntryBytes entry{};
    members.EncodeEntry(ordinal, entry);
    return entry;
}

void SetName(EntryBytes& entry, const std::string& name) {
    const auto field = std::span(entry).first<Vorn::kMaxPath>();
    std::ranges::fill(field, std::byte{0});
    std::ranges::copy(std::as_bytes(std::span(name)), field.begin());
}

}  // namespace

InPlaceChange::InPlaceChange(const std::filesystem::path& path, bool dryRun)
    : path_(path), dryRun_(dryRun) {
    Open();
    Translated(path_, [&] {
        contents_ = ReadContents(file_);
        WalkRest(file_, contents_);
        JudgeLayout();
        FindEnd();
    });
    dropped_.resize(contents_.members.End());
}

InPlaceChange::~InPlaceChange() {
    if (!chunks_ || committed_) return;
    // While marks are wrong, what was written stays, so that the next change mends them.
    if (!markedFirst_ || MarkDropped(kMemberChunk)) chunks_->Discard();
}

void InPlaceChange::Open() {
    const std::string path = SystemPath(path_);
    if (!platform::Exists(path.c_str())) {
        throw Error(va::ErrorCode::NotFound,
                    path + ": there is no such archive; 'va create' makes one", path_);
    }
    // A dry run, which writes nothing, finds out as well whether it could.
    if (!file_.Open(path.c_str(), platform::Access::ReadWrite, platform::Creation::OpenExisting,
                    platform::Share::DenyNone)) {
        Refuse("it cannot be opened for writing: " + platform::LastError().Message());
    }
    if (!dryRun_ && !file_.LockChanges(kPatience)) {
        Refuse("another program is changing it; try again when that has ended");
    }
}

// Places that overlap would let a change of one member write into another one.
void InPlaceChange::JudgeLayout() const {
    constexpr const char* kDamaged =
        "run 'va test' to see all problems, and 'va repair' to save the rest";
    if (!contents_.headerInPlace) Refuse("its header is not the first 44 bytes of the file");
    if (contents_.index != archive::IndexState::Whole &&
        contents_.index != archive::IndexState::Absent) {
        Refuse(std::string("its index is missing or damaged; ") + kDamaged);
    }
    std::vector<std::pair<std::uint64_t, std::uint64_t>> places;
    for (Ordinal i = 0; i < contents_.members.End(); ++i) {
        const archive::Member member = contents_.members[i];
        if (member.dataOffset < kMemberPrefixSize) Refuse(std::string("damaged; ") + kDamaged);
        places.emplace_back(member.dataOffset - kMemberPrefixSize, member.DataEnd());
    }
    if (contents_.indexEnd != 0) {
        places.emplace_back(contents_.header.indexOffset, contents_.indexEnd);
    }
    if (!std::ranges::is_sorted(places)) std::ranges::sort(places);
    std::uint64_t end = kArchivePreambleSize;
    for (const auto& [begin, after] : places) {
        if (begin < end) Refuse(std::string("its members overlap; ") + kDamaged);
        end = after;
    }
    if (end > contents_.fileSize) {
        Refuse(std::string("a member reaches past the end of the file; ") + kDamaged);
    }
}

// What lies after the end is the rest of a killed change, or unknown.
void InPlaceChange::FindEnd() {
    end_ = std::max<std::uint64_t>(
        {kArchivePreambleSize, contents_.indexEnd, contents_.members.EndOfData()});
    if (contents_.index == archive::IndexState::Absent) {
        Cursor cursor(file_, end_);
        while (cursor.Next() && cursor.Position() <= contents_.fileSize) end_ = cursor.Position();
    }
    if (contents_.fileSize == end_) return;
    ChunkBytes bytes{};
    const std::int64_t got = file_.ReadAt(end_, bytes);
    const bool isCut = got >= 0 && got < std::int64_t{kChunkHeaderSize};
    const bool isMark = bytes == kEmptyChunk && contents_.fileSize == end_ + kChunkHeaderSize;
    if (!isCut && !isMark && bytes != kClosedGuard) {
        Refuse("it has " + std::to_string(contents_.fileSize - end_) +
               " bytes after its last member and index that belong to nothing; 'va repack' drops "
               "them");
    }
    if (dryRun_) return;
    FinishEarlierChange();
    if (!file_.Truncate(end_)) Refuse("it cannot be written: " + platform::LastError().Message());
    contents_.fileSize = end_;
}

// Goes through all chunks: what the index says of them is true.
void InPlaceChange::FinishEarlierChange() {
    std::map<std::uint64_t, Ordinal> indexed;
    for (Ordinal i = 0; i < contents_.members.End(); ++i) {
        indexed.emplace(contents_.members[i].dataOffset, i);
    }
    std::optional<Cursor> cursor(std::in_place, file_);
    while (const auto chunk = cursor->Next()) {
        if (chunk->header.Is(kDeletedChunk) && chunk->header.length == kMaxArchiveSize) {
            if (chunk->offset >= end_) return;
            (void)file_.WriteAt(chunk->offset, kEmptyChunk);
            cursor.emplace(file_, chunk->offset + kChunkHeaderSize);
        }
        const auto found = indexed.find(chunk->DataOffset());
        if (found == indexed.end()) {
            if (chunk->IsMember()) {
                (void)file_.WriteAt(chunk->offset, std::as_bytes(std::span(kDeletedChunk)));
            }
        } else if (!chunk->IsMember()) {
            (void)file_.WriteAt(chunk->offset, std::as_bytes(std::span(kMemberChunk)));
        } else if (const EntryBytes entry = EntryOf(contents_.members, found->second);
                   chunk->entry != entry) {
            (void)file_.WriteAt(chunk->offset + kChunkHeaderSize, entry);
        }
    }
}

void InPlaceChange::JudgeChunk(const archive::Member& member) const {
    std::array<std::byte, kMemberPrefixSize> prefix{};
    const std::int64_t got = file_.ReadAt(member.dataOffset - kMemberPrefixSize, prefix);
    const ChunkHeader chunk = DecodeChunkHeader(std::span(prefix).first<kChunkHeaderSize>());
    if (got != std::int64_t{kMemberPrefixSize} ||
        !(chunk.Is(kMemberChunk) || chunk.Is(kDeletedChunk)) ||
        chunk.length != kFindEntrySize + std::uint64_t{member.storedSize}) {
        Refuse(PublicName(member.name) +
               ": there is no member at its place; run 'va test' to see all problems");
    }
}

void InPlaceChange::Drop(Ordinal ordinal) {
    JudgeChunk(contents_.members[ordinal]);
    dropped_[ordinal] = true;
}

void InPlaceChange::Rename(Ordinal ordinal, std::string name) {
    JudgeChunk(contents_.members[ordinal]);
    renamed_.push_back({ordinal, std::move(name)});
}

void InPlaceChange::JudgeRoom(std::uint64_t least, std::uint64_t count) const {
    const auto left = static_cast<std::uint64_t>(std::ranges::count(dropped_, false));
    const std::uint64_t needed = least + IndexSize(left + count) + 2 * kChunkHeaderSize;
    if (end_ + needed > kMaxArchiveSize) {
        ChangeResult now;
        Describe(now);
        throw Error(va::ErrorCode::DiskFull,
                    path_.string() + " would have " + std::to_string(end_ + needed) +
                        " bytes, and an archive has less than 4 GiB; 'va repack' would free " +
                        std::to_string(now.deadBytes),
                    path_);
    }
    const std::filesystem::path folder = path_.has_parent_path() ? path_.parent_path() : ".";
    const auto free = platform::FreeSpace(SystemPath(folder).c_str());
    if (free && *free < needed) {
        throw Error(va::ErrorCode::DiskFull,
                    path_.string() + ": it needs " + std::to_string(needed) +
                        " bytes, and the disk has " + std::to_string(*free) + " free; make room",
                    path_);
    }
}

// Puts the members that stay into the new table, renamed ones under their new names.
void InPlaceChange::TakeOver() {
    const MemberTable& members = contents_.members;
    next_.Reserve(members.Count());
    std::ranges::sort(renamed_, {}, &Renamed::ordinal);
    auto renamed = renamed_.begin();
    for (Ordinal i = 0; i < members.End(); ++i) {
        if (dropped_[i]) continue;
        EntryBytes entry = EntryOf(members, i);
        if (renamed != renamed_.end() && renamed->ordinal == i) SetName(entry, (renamed++)->name);
        const archive::Member member = members[i];
        next_.Add(member.dataOffset, member.storedSize, entry);
    }
    firstNew_ = next_.End();
}

std::pair<ChunkWriter&, MemberTable&> InPlaceChange::Begin() {
    TakeOver();
    chunks_.emplace(file_, end_);
    chunks_->Append(kClosedGuard);
    // It must be in the file before anything that it hides.
    chunks_->Flush();
    return {*chunks_, next_};
}

void InPlaceChange::Commit() {
    const std::uint64_t place = chunks_->End();
    chunks_->AppendIndex(next_);
    const std::uint64_t after = chunks_->End();
    chunks_->Append(kEmptyChunk);
    chunks_->Flush();
    markedFirst_ = firstNew_ == next_.End();
    if (markedFirst_ && !MarkDropped(kDeletedChunk)) {
        throw archive::Error(archive::ErrorCode::CannotWrite, "the archive cannot be written");
    }
    const auto flush = [this] {
        if (file_.Commit()) return;
        throw archive::Error(archive::ErrorCode::CannotWrite,
                             "it cannot be flushed to the storage device");
    };
    flush();
    std::array<std::byte, 8> named{};
    Vorn::StoreU32<0>(std::span<std::byte, 8>(named), next_.Count());
    Vorn::StoreU32<4>(std::span<std::byte, 8>(named), static_cast<std::uint32_t>(place));
    if (file_.WriteAt(kCountOffset, named) != named.size()) {
        throw archive::Error(archive::ErrorCode::CannotWrite, "its header cannot be written");
    }
    committed_ = true;
    flush();
    // Otherwise the mark stays, and the next change does it.
    const bool done = BringChunksInLine() && file_.Truncate(after);
    contents_.fileSize = done ? after : after + kChunkHeaderSize;
}

bool InPlaceChange::MarkDropped(std::string_view mark) {
    bool all = true;
    for (Ordinal i = 0; i < contents_.members.End(); ++i) {
        if (!dropped_[i]) continue;
        const std::uint64_t place = contents_.members[i].dataOffset - kMemberPrefixSize;
        all = file_.WriteAt(place, std::as_bytes(std::span(mark))) == mark.size() && all;
    }
    return all;
}

// Returns whether all of them are.
bool InPlaceChange::BringChunksInLine() {
    const MemberTable& members = contents_.members;
    // First, so that a walk finds a new member before it misses the one that it replaced.
    bool all = file_.WriteAt(end_, kEmptyChunk) == kChunkHeaderSize;
    if (!markedFirst_) all = MarkDropped(kDeletedChunk) && all;
    for (const Renamed& renamed : renamed_) {
        EntryBytes entry = EntryOf(members, renamed.ordinal);
        SetName(entry, renamed.name);
        const std::uint64_t place = members[renamed.ordinal].dataOffset - kFindEntrySize;
        all = file_.WriteAt(place, entry) == entry.size() && all;
    }
    return all;
}

void InPlaceChange::Describe(ChangeResult& result) const {
    const MemberTable& members = committed_ ? next_ : contents_.members;
    std::uint64_t used = kArchivePreambleSize;
    const bool hasIndex = committed_ || contents_.indexEnd != 0;
    if (hasIndex) used += IndexSize(members.Count());
    for (Ordinal i = 0; i < members.End(); ++i) used += kMemberPrefixSize + members[i].storedSize;
    result.members = members.Count();
    result.bytes = contents_.fileSize;
    result.deadBytes = result.bytes > used ? result.bytes - used : 0;
}

void InPlaceChange::Refuse(const std::string& reason) const {
    throw Error(va::ErrorCode::Refused, path_.string() + ": " + reason, path_);
}

}  // namespace va
