#include "archive/SalvageScan.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "archive/Error.h"
#include "archive/TolerantWindow.h"

namespace archive {
namespace {

constexpr std::size_t kJudgeWindow = 65536;
constexpr std::uint64_t kReportStep = 2097152;
constexpr std::uint64_t kMostJudgings = 8;  // of a byte, on average
constexpr std::uint64_t kMostListings = 4;  // the same, as a record of an index
constexpr std::size_t kMostParts = 100;     // headers and indexes each: none has more joined
constexpr std::size_t kMarkSize = 4;

// Whether a record or entry can be one: damage leaves zeros or noise, in which two copies of a
// 32-bit length do not agree.
[[nodiscard]] bool IsWellFormed(const FindEntry& entry, std::uint64_t storedSize) {
    return entry.storedSize == storedSize && entry.name.front() != '\0';
}

class Scanner {
public:
    Scanner(const platform::FileHandle& file, const ScanProgress& progress)
        : progress_(progress), window_(file), ahead_(file), judge_(file, LengthOf(file)) {
        scanned_.size = LengthOf(file);
        mayJudge_ = kMostJudgings * scanned_.size;
        mayList_ = kMostListings * scanned_.size;
    }

    ScannedFile Scan() {
        ReadFirstHeader();
        for (std::uint64_t at = 0; at < scanned_.size;) {
            const std::uint64_t end = Visit(at);
            if (end > at) lastEnd_ = end;
            at = end > at ? end : NextMark(at + 1);
            Report(at);
        }
        for (const FoundHeader& found : scanned_.headers) ReadNamedIndex(found);
        std::ranges::sort(scanned_.indexes, {}, &FoundIndex::place);
        scanned_.unreadable = window_.Unreadable();
        return std::move(scanned_);
    }

private:
    [[nodiscard]] static std::uint64_t LengthOf(const platform::FileHandle& file) {
        const std::int64_t length = file.Length();
        if (length < 0) throw Error(ErrorCode::CannotRead, "its length cannot be read");
        return static_cast<std::uint64_t>(length);
    }

    void Report(std::uint64_t done) {
        if (done - reported_ < kReportStep) return;
        reported_ = done;
        if (progress_ && !progress_(std::min(done, scanned_.size), scanned_.size)) {
            throw Error(ErrorCode::Refused, "cancelled");
        }
    }

    // Takes note of what begins at `at`. Returns its end; `at` if nothing does, or nothing whose
    // length is believed.
    [[nodiscard]] std::uint64_t Visit(std::uint64_t at) {
        const auto bytes = window_.At(at, kChunkHeaderSize);
        if (bytes.size() < kChunkHeaderSize) return at;
        const ChunkHeader chunk = DecodeChunkHeader(bytes.first<kChunkHeaderSize>());
        if (chunk.Is(kMemberChunk) || chunk.Is(kDeletedChunk)) return VisitMember(at, chunk);
        if (chunk.Is(kIndexChunk)) return VisitIndex(at, chunk);
        if (chunk.Is(kInfoChunk)) return VisitHeader(at, chunk);
        return at;
    }

    [[nodiscard]] std::uint64_t VisitMember(std::uint64_t at, const ChunkHeader& chunk) {
        if (chunk.length < kFindEntrySize) return at;
        const std::uint64_t stored = chunk.length - kFindEntrySize;
        const auto prefix = window_.At(at, kMemberPrefixSize);
        if (prefix.size() < kMemberPrefixSize) return at;
        const auto entry = prefix.last<kFindEntrySize>();
        if (!IsWellFormed(DecodeEntry(entry), stored)) return at;

        FoundChunk found{.place = at + kMemberPrefixSize, .version = version_};
        found.live = chunk.Is(kMemberChunk);
        found.inner = at < innerEnd_;
        found.mayBeInner = mayBeInner_;
        const auto ordinal = scanned_.entries.Add(static_cast<std::uint32_t>(found.place),
                                                  static_cast<std::uint32_t>(stored), entry);
        const std::uint64_t end = found.place + stored;
        const bool believed = Continues(end);
        if (!believed) JudgeNow(scanned_.entries[ordinal], found);
        const bool whole = found.state == Wholeness::Whole;
        scanned_.chunks.push_back(std::move(found));
        if (believed || whole) return end;
        // Headers in the content are those of the member, and so is what they head.
        if (BeginsArchive(at + kMemberPrefixSize)) innerEnd_ = std::max(innerEnd_, end);
        return at;
    }

    // Returns whether what lies at `at` shows that the chunk before it ends there.
    [[nodiscard]] bool Continues(std::uint64_t at) {
        if (at >= scanned_.size) return at == scanned_.size;
        const auto bytes = ahead_.At(at, kChunkHeaderSize);
        if (bytes.size() < kChunkHeaderSize) return false;
        const ChunkHeader next = DecodeChunkHeader(bytes.first<kChunkHeaderSize>());
        // Text such as "archive" begins like a header.
        if (next.Is(kArchiveMark)) return MarkEquals(bytes.last<kMarkSize>(), kInfoChunk);
        if (at + kChunkHeaderSize + next.length > scanned_.size) return false;
        if (next.Is(kIndexChunk)) return next.length % kIndexRecordSize == 0;
        const bool member = next.Is(kMemberChunk) || next.Is(kDeletedChunk);
        return member && next.length >= kFindEntrySize;
    }

    // Returns whether a content begins as an archive does; a few bytes may have been inserted.
    [[nodiscard]] bool BeginsArchive(std::uint64_t at) {
        const auto bytes = window_.At(at, 2 * kArchivePreambleSize);
        const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
        return text.find(kInfoChunk) != text.npos || text.starts_with(kArchiveMark);
    }

    void JudgeNow(const Member& member, FoundChunk& found) {
        if (mayJudge_ < member.storedSize) {
            found.state = Wholeness::Damaged;
            found.reason = "it overlaps with too many others to be judged";
            return;
        }
        mayJudge_ -= std::min(mayJudge_, member.storedSize + kMemberPrefixSize);
        judge_.Judge(member, found.place, found.version, found.state, found.reason);
    }

    // Returns the end of the records that are well formed: the length may be damaged.
    [[nodiscard]] std::uint64_t VisitIndex(std::uint64_t at, const ChunkHeader& chunk) {
        FoundIndex found = ReadIndex(at, chunk.length / kIndexRecordSize);
        if (chunk.length % kIndexRecordSize != 0) found.intact = false;
        const std::uint64_t end =
            at + kChunkHeaderSize + std::uint64_t{found.leading} * kIndexRecordSize;
        const bool fits = scanned_.indexes.size() < kMostParts;
        if (at >= innerEnd_ && fits && found.records.Count() > 0) {
            scanned_.indexes.push_back(std::move(found));
        }
        return end;
    }

    [[nodiscard]] FoundIndex ReadIndex(std::uint64_t at, std::uint64_t count) {
        FoundIndex found{.place = at};
        std::uint64_t place = at + kChunkHeaderSize;
        for (std::uint64_t i = 0; i < count; ++i, place += kIndexRecordSize) {
            const auto bytes = ahead_.At(place, kIndexRecordSize);
            if (bytes.size() < kIndexRecordSize || mayList_ < kIndexRecordSize) {
                found.intact = false;
                break;
            }
            mayList_ -= kIndexRecordSize;
            const IndexRecord record = DecodeIndexRecord(bytes.first<kIndexRecordSize>());
            if (!IsWellFormed(record.entry, record.storedSize)) {
                found.intact = false;
                continue;
            }
            found.records.Add(record.dataOffset, record.storedSize, bytes.last<kFindEntrySize>());
            if (found.intact) ++found.leading;
        }
        return found;
    }

    [[nodiscard]] std::uint64_t VisitHeader(std::uint64_t at, const ChunkHeader& chunk) {
        const auto bytes = window_.At(at, kChunkHeaderSize + kArchiveHeaderSize);
        if (chunk.length < kArchiveHeaderSize || at < kMarkSize ||
            bytes.size() < kChunkHeaderSize + kArchiveHeaderSize) {
            return at;
        }
        AddHeader(at - kMarkSize, DecodeHeader(bytes.last<kArchiveHeaderSize>()));
        return at;
    }

    // The fields may have survived the marks before them.
    void ReadFirstHeader() {
        const auto bytes = window_.At(0, kArchivePreambleSize);
        if (bytes.size() < kArchivePreambleSize) return;
        AddHeader(0, DecodeHeader(bytes.last<kArchiveHeaderSize>()));
    }

    void AddHeader(std::uint64_t base, const ArchiveHeader& header) {
        const bool known = !scanned_.headers.empty() && scanned_.headers.back().base == base;
        const bool fits = scanned_.headers.size() < kMostParts;
        if (known || !fits || !header.IsValid() || base < innerEnd_) return;
        scanned_.headers.push_back({base, header});
        version_ = header.version;
        // An archive that was joined begins where the one before it ends.
        mayBeInner_ = base != lastEnd_ && !scanned_.chunks.empty();
    }

    // The header knows place and length of the index even if the index has lost its own.
    void ReadNamedIndex(const FoundHeader& found) {
        if (found.header.indexOffset == 0) return;
        const std::uint64_t place = found.base + found.header.indexOffset;
        const auto known = std::ranges::find(scanned_.indexes, place, &FoundIndex::place);
        const bool isKnown = known != scanned_.indexes.end();
        if (isKnown && known->intact) return;
        FoundIndex named = ReadIndex(place, found.header.memberCount);
        if (!isKnown) {
            // One without a record is that of an empty archive.
            const bool empty = named.intact && place + kChunkHeaderSize == scanned_.size;
            if (empty || named.records.Count() > 0) scanned_.indexes.push_back(std::move(named));
        } else if (named.records.Count() > known->records.Count()) {
            *known = std::move(named);
        }
    }

    // Returns the place of the next mark of a chunk, or the end of the file. All marks have an 'I'
    // at their first or second byte.
    [[nodiscard]] std::uint64_t NextMark(std::uint64_t from) {
        while (from + kMarkSize <= scanned_.size) {
            const auto bytes = window_.Ahead(from, kMarkSize);
            if (bytes.size() < kMarkSize) break;
            const auto* const text = reinterpret_cast<const char*>(bytes.data());
            for (std::size_t at = 0; at + kMarkSize <= bytes.size(); ++at) {
                const void* const hit = std::memchr(text + at, 'I', bytes.size() - at);
                if (!hit) break;
                at = static_cast<std::size_t>(static_cast<const char*>(hit) - text);
                if (at > 0 &&
                    IsMark({text + at - 1, kMarkSize}, at - 1 + kMarkSize, bytes.size())) {
                    return from + at - 1;
                }
                if (IsMark({text + at, kMarkSize}, at + kMarkSize, bytes.size())) return from + at;
            }
            // A mark may begin in the last three bytes.
            from += bytes.size() - kMarkSize + 1;
            Report(from);
        }
        return scanned_.size;
    }
    [[nodiscard]] static bool IsMark(std::string_view text, std::size_t end, std::size_t held) {
        return end <= held && (text == kMemberChunk || text == kDeletedChunk ||
                               text == kIndexChunk || text == kInfoChunk);
    }

    const ScanProgress& progress_;
    TolerantWindow window_;  // moves forwards
    TolerantWindow ahead_;   // for what chunks and headers refer to
    WholenessJudge judge_;
    ScannedFile scanned_;
    std::uint64_t mayJudge_ = 0;  // bytes that are left, as for the next one
    std::uint64_t mayList_ = 0;
    std::uint64_t reported_ = 0;
    std::uint64_t lastEnd_ = 0;   // of the last part that was passed over
    std::uint64_t innerEnd_ = 0;  // of damaged members that are archives
    bool mayBeInner_ = false;
    std::uint32_t version_ = kArchiveVersion102;
};

}  // namespace

WholenessJudge::WholenessJudge(const platform::FileHandle& file, std::uint64_t size)
    : now_(file, size, kArchiveVersion102, kJudgeWindow),
      earlier_(file, size, kArchiveVersion101, kJudgeWindow) {}

void WholenessJudge::Judge(const Member& member, std::uint64_t place, std::uint32_t& version,
                           Wholeness& state, std::string& reason) {
    state = Wholeness::Whole;
    if (TryVersion(member, place, version, reason)) return;
    const std::uint32_t other =
        version == kArchiveVersion102 ? kArchiveVersion101 : kArchiveVersion102;
    std::string ignored;
    const bool stream = (member.attributes & kMemberCompressed) != 0;
    if (stream && TryVersion(member, place, other, ignored)) {
        version = other;
        return;
    }
    state = Wholeness::Damaged;
}

bool WholenessJudge::TryVersion(const Member& member, std::uint64_t place, std::uint32_t version,
                                std::string& reason) {
    ContentReader& reader = version == kArchiveVersion101 ? earlier_ : now_;
    try {
        Member there = member;
        there.dataOffset = 0;
        reader.Begin(there, place);
        while (!reader.Next().empty()) {
        }
        return true;
    } catch (const Error& error) {
        reason = error.Reason();
        return false;
    }
}

ScannedFile ScanForSalvage(const platform::FileHandle& file, const ScanProgress& progress) {
    return Scanner(file, progress).Scan();
}

}  // namespace archive
