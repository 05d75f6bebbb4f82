// Changes one archive file: adds members, deletes members, writes the index.
//
// A member counts only when all of it is written: until then its chunk is marked deleted and
// reaches past the end of the file; one write of the chunk header then makes it a member. A batch
// of small members follows one such header, so that all of them appear at once. A replaced member
// is marked deleted after its successor has appeared. A process that is killed at any point
// therefore leaves whole members only. If it had begun to overwrite the index, the archive has none
// from then on.
//
// The bytes written do not depend on how content is passed in or how members are batched.
//
// One thread at a time. Borrows file and contents, which nothing else may change meanwhile.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "archive/Contents.h"
#include "archive/Crc32.h"
#include "archive/Error.h"
#include "archive/Stream.h"

namespace archive {

struct NewMember {
    std::string_view name;  // stored as given; at most 259 bytes
    bool compress = false;
    // Bytes of content, if known: a member that cannot fit is then refused before any write.
    std::optional<std::uint32_t> size = std::nullopt;
    // The member to delete once this one has appeared (Appender::Find).
    std::optional<MemberTable::Ordinal> replaces = std::nullopt;
};

class Appender {
public:
    enum class Publish { EachMember, InBatches };

    // `contents` must be complete (WalkRest included). Throws Error (Refused) if the header is
    // longer than 32 bytes or not at the front. In an archive of version 0x101, Begin throws
    // Refused; Delete works.
    //
    // Destroying it drops the members of an unfinished batch; call Flush or Complete before.
    Appender(platform::FileHandle& file, Contents& contents, Publish publish);
    Appender(const Appender&) = delete;
    Appender& operator=(const Appender&) = delete;

    // Adds a member whose content comes in pieces: Begin, Write as often as needed, Finish. Each
    // throws Error: BadName; Full when the archive would pass 4 GiB; Refused; CannotWrite and
    // NoSpace; Damaged when the old members cannot be followed by a new one; CannotRead for more or
    // less content than was announced. The member is then not added, and the one that it would have
    // replaced stays. In batches, each may also throw for earlier members of the batch: those that
    // do not fit are not added (TakeLost).
    void Begin(const NewMember& member);
    void Write(std::span<const std::byte> content);
    void Finish();
    // Discards the member that was begun.
    void Abandon();
    // Adds a member whose content is in memory.
    void Add(const NewMember& member, std::span<const std::byte> content);

    // Begins a member whose stored data is copied unchanged; takes the numbers of its entry from
    // `member`, but not place and name. Write then takes `member.storedSize` bytes in all.
    void BeginStored(const NewMember& as, const Member& member);

    // Returns the member of that name (SameName), for NewMember::replaces and Delete. Flushes first
    // if the unfinished batch adds or replaces it.
    [[nodiscard]] std::optional<MemberTable::Ordinal> Find(std::string_view name);

    // Flushes if the unfinished batch adds or replaces that member, so that it can be replaced.
    void Settle(MemberTable::Ordinal ordinal);

    // Returns the names of finished members that could not be written since the last call.
    [[nodiscard]] std::vector<std::string> TakeLost() { return std::exchange(lost_, {}); }

    // Returns the bytes of stored data of the begun member so far.
    [[nodiscard]] std::uint32_t StoredSoFar() const {
        return static_cast<std::uint32_t>(End() - begun_->chunkOffset - kMemberPrefixSize);
    }

    // Returns the end of the members that have appeared; of a new archive, nothing before it is
    // written again but the header.
    [[nodiscard]] std::uint64_t Appeared() const { return prepared_ ? batchStart_ : 0; }

    // Marks a member as deleted. Throws Error (CannotWrite, Damaged when no member is at its
    // place).
    void Delete(MemberTable::Ordinal ordinal);

    // Makes the members of an unfinished batch appear.
    void Flush();
    // Flushes, then writes index and header if members have changed. Archives that were opened
    // without a usable index stay without one. When it throws, the header is unchanged.
    void Complete();

private:
    // The member that was begun.
    struct Begun {
        NewMember as;  // its name is the entry's
        FindEntry entry;
        bool asStored;
        std::uint64_t chunkOffset;
        std::uint64_t taken = 0;  // bytes given to Write
        Crc32 sum;
    };
    // A finished member of the batch.
    struct Pending {
        MemberTable::Ordinal ordinal;
        std::uint64_t chunkOffset;
        std::optional<MemberTable::Ordinal> replaces;
    };

    void BeginChunk(const NewMember& as, const FindEntry& entry, bool asStored);
    void Prepare();
    void EncodePiece();
    void WriteLate(std::span<const std::byte, kFindEntrySize> encoded);
    void Append(std::span<const std::byte> bytes);
    void WriteOut();
    void WriteBegun(std::uint64_t offset, std::span<const std::byte> bytes);
    [[noreturn]] void AbandonAndThrow(ErrorCode code, const char* reason);
    void PublishPending();
    void PublishFirst(std::size_t count);
    void DeleteReplaced(std::size_t count);
    void DropFrom(std::size_t pending);
    [[nodiscard]] std::uint64_t End() const { return written_ + buffer_.size(); }

    platform::FileHandle& file_;
    Contents& contents_;
    const Publish publish_;

    // The batch: chunks from `batchStart_` on, of which the file has those before `written_`.
    bool prepared_ = false;
    std::uint64_t batchStart_ = 0;
    std::uint64_t written_ = 0;
    std::uint64_t limit_ = 0;  // no chunk may pass it: what is left is for the index
    std::vector<std::byte> buffer_;
    std::vector<Pending> pending_;
    std::vector<std::string> lost_;

    std::optional<Begun> begun_;
    std::vector<std::byte> piece_;  // content of a block that is not full yet
    std::unique_ptr<BlockBuffer> block_;
};

}  // namespace archive
