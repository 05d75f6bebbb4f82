// Changes one archive file: adds members, deletes members, writes the index.
//
// A member is whole before it counts: while its chunk is written it is a deleted one that reaches
// past the end of the file, and one write of its chunk header makes it a member. A batch of small
// members is written behind one such header, so that all of them appear at once. A process that is
// killed at any point leaves whole members only, in a file whose index, if it was begun to be
// overwritten, is missing until the next Complete. A replaced member is marked deleted after its
// successor has appeared.
//
// Bytes do not depend on how content comes in or how members are batched.
//
// One thread at a time. Borrows file and contents; while it lives nothing else changes either.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "archive/Contents.h"
#include "archive/Crc32.h"
#include "archive/Stream.h"

namespace archive {

struct NewMember {
    std::string_view name;  // stored as given; at most 259 bytes
    bool compress = false;
    // Bytes of content, if known: what cannot fit is then refused before anything is written.
    std::optional<std::uint32_t> size = std::nullopt;
    // The member that goes when this one has come (Appender::Find).
    std::optional<MemberTable::Ordinal> replaces = std::nullopt;
};

class Appender {
public:
    enum class Publish { EachMember, InBatches };

    // `contents` are all of the file's (WalkRest included). Throws Error (Refused) for an archive
    // that cannot be written: a format version other than 0x102, or a header that is longer or not
    // at the front.
    Appender(platform::FileHandle& file, Contents& contents, Publish publish);
    Appender(const Appender&) = delete;
    Appender& operator=(const Appender&) = delete;

    // A member with content in pieces: Begin, Write as often as needed, Finish. Each throws Error:
    // BadName, Full when the archive would pass 4 GiB, CannotWrite. The member then is not added,
    // and the one that it would have replaced stays. In batches, Finish may throw for members
    // finished before: those of the batch, which are not added either.
    void Begin(const NewMember& member);
    void Write(std::span<const std::byte> content);
    void Finish();
    // Gives up the member that was begun.
    void Abandon();
    // A member whose content is at hand.
    void Add(const NewMember& member, std::span<const std::byte> content);

    // A member whose data is copied as it is stored: Begin with its entry's numbers, Write with
    // `member.storedSize` bytes, Finish. Its place and name in `member` do not matter.
    void BeginStored(const NewMember& as, const Member& member);

    // The member of that name (SameName), for NewMember::replaces and Delete; a batch in which it
    // is replaced is flushed first.
    [[nodiscard]] std::optional<MemberTable::Ordinal> Find(std::string_view name);

    // Bytes of data that the member under way has so far.
    [[nodiscard]] std::uint32_t StoredSoFar() const;

    // Marks a member as deleted. Throws Error (CannotWrite, Damaged when no member is at its
    // place).
    void Delete(MemberTable::Ordinal ordinal);

    // Makes the members of an unfinished batch appear.
    void Flush();
    // The same, then writes index and header if they must be written. Archives that came without a
    // usable index stay without one. When it throws the header is as it was.
    void Complete();

private:
    struct Pending {
        MemberTable::Ordinal ordinal;
        std::uint64_t chunkOffset;
        std::optional<MemberTable::Ordinal> replaces;
    };

    void Prepare();
    void BeginChunk(const NewMember& member);
    [[nodiscard]] std::uint64_t WriteOffset();
    void LeaveIndex();
    [[nodiscard]] std::uint64_t SealEnd(std::uint64_t size);
    void EncodePiece();
    void Append(std::span<const std::byte> bytes);
    void WriteOut();
    void FinishChunk();
    void PublishPending();
    void DropFrom(std::size_t pending);
    void MarkDeleted(MemberTable::Ordinal ordinal);
    void WriteIndex();
    void WriteAt(std::uint64_t offset, std::span<const std::byte> bytes);
    [[nodiscard]] std::uint64_t End() const { return written_ + buffer_.size(); }

    platform::FileHandle& file_;
    Contents& contents_;
    const Publish publish_;

    // The batch: chunks from `batchStart_` on, of which the file has those before `written_`.
    bool prepared_ = false;
    std::uint64_t batchStart_ = 0;
    std::uint64_t written_ = 0;
    std::vector<std::byte> buffer_;
    std::vector<Pending> pending_;

    // The member under way.
    bool begun_ = false;
    NewMember new_;
    FindEntry entry_;
    bool asStored_ = false;
    std::uint64_t chunkOffset_ = 0;
    std::uint64_t limit_ = 0;  // no byte of it lies here or after
    std::uint64_t taken_ = 0;  // bytes given to Write
    Crc32 sum_;
    std::vector<std::byte> piece_;  // content of a block that is not full yet
    std::unique_ptr<BlockBuffer> block_;
};

// An archive without members: writes the header to the start of an empty file. Its index must be
// written yet. Throws Error (CannotWrite).
[[nodiscard]] Contents StartArchive(platform::FileHandle& file, std::uint32_t buildVersion,
                                    std::uint32_t productCode);

}  // namespace archive
