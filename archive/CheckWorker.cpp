#include "archive/CheckWorker.h"

#include <algorithm>
#include <array>
#include <span>
#include <tuple>

#include "archive/Error.h"
#include "archive/Names.h"

namespace archive {

namespace {

constexpr std::size_t kWindow = 262144;
constexpr std::uint64_t kReportStep = 2097152;

}  // namespace

CheckWorker::CheckWorker(const Reader& reader, const CheckOrder& order, const CheckOptions& options,
                         CheckMeter& meter, bool reports)
    : contents_(reader.All()),
      order_(order),
      content_(reader.NewContentReader(kWindow)),
      judgesContent_(options.content),
      meter_(meter),
      reports_(reports),
      found_(options.findings) {}

void CheckWorker::Work(CheckRuns& runs) {
    for (auto [i, end] = runs.Take(); i < end; std::tie(i, end) = runs.Take()) {
        for (; i < end && !meter_.Stopped(); ++i) {
            JudgeGap(order_.GapStart(i), order_.Start(i));
            JudgeMember(i);
        }
    }
}

// The work decides when to report: a small stream can expand to a thousand times its size, and a
// member whose content is not judged is no work however large it is.
void CheckWorker::Count(std::uint64_t fileBytes, std::uint64_t work) {
    uncounted_ += fileBytes;
    work_ += work;
    if (work_ < kReportStep) return;
    meter_.Add(uncounted_);
    uncounted_ = work_ = 0;
    if (reports_) meter_.Report();
}

void CheckWorker::JudgeIndex() {
    const std::uint64_t place = contents_.header.indexOffset;
    if (contents_.index == IndexState::Missing) {
        found_.Add(Fault::IndexMissing, place, {},
                   place >= contents_.fileSize
                       ? "the index that the header promises lies after the end of the file"
                       : "the index that the header promises is not there");
    } else if (contents_.index == IndexState::CutShort) {
        found_.Add(Fault::IndexDamaged, place, {}, "the index is cut short");
    } else if (contents_.index == IndexState::OddLength) {
        found_.Add(Fault::IndexDamaged, place, {}, "the index has another length than its records");
    } else if (contents_.indexEnd != 0 && place < contents_.headerEnd) {
        found_.Add(Fault::Overlap, place, {}, "the index lies in the header");
    }
}

void CheckWorker::JudgeMember(std::size_t i) {
    const std::uint32_t ordinal = order_.Ordinal(i);
    const Member member = order_[i];
    const std::uint64_t start = order_.Start(i);
    JudgeName(ordinal, member, start);
    Count(kMemberPrefixSize, kMemberPrefixSize);
    // Only what lies in the file and overlaps with nothing is read: members with false claims must
    // not make a check read the same bytes again and again.
    if (member.dataOffset < kMemberPrefixSize || member.DataEnd() > contents_.fileSize) {
        found_.Add(Fault::OutsideFile, start, member.name, "it does not lie in the file");
    } else if (order_.BeginsInside(i) || member.DataEnd() > order_.Limit(i)) {
        found_.Add(Fault::Overlap, start, member.name,
                   "it overlaps with the header, the index or the next member");
    } else {
        try {
            const bool agrees = ChunkAgrees(ordinal, member, start);
            if (agrees && judgesContent_) {
                JudgeContent(member);
            } else {
                Count(member.storedSize, 0);
            }
        } catch (const Error& error) {
            found_.Add(Fault::CannotRead, error.Offset(), member.name, "it cannot be read");
        }
    }
}

bool CheckWorker::ChunkAgrees(std::uint32_t ordinal, const Member& member, std::uint64_t start) {
    const auto bytes =
        content_.Raw().At(start, kMemberPrefixSize, kMemberPrefixSize + member.storedSize);
    const auto differs = [&](const char* text) {
        found_.Add(Fault::EntryDiffers, start, member.name, text);
        return false;
    };
    if (bytes.size() < kMemberPrefixSize) return differs("the file ends in its entry");
    const ChunkHeader chunk = DecodeChunkHeader(bytes.first<kChunkHeaderSize>());
    if (!chunk.Is(kMemberChunk)) return differs("there is no live member at its place");
    if (chunk.length != kFindEntrySize + std::uint64_t{member.storedSize}) {
        return differs("its chunk has another length");
    }
    std::array<std::byte, kFindEntrySize> listed;
    contents_.members.EncodeEntry(ordinal, listed);
    const auto entry = bytes.last<kFindEntrySize>();
    if (!std::ranges::equal(entry, listed)) {
        return differs("its entry in the index and the one in its chunk disagree");
    }
    if (DecodeEntry(entry).storedSize != member.storedSize) {
        return differs("its entry has another stored size");
    }
    return true;
}

void CheckWorker::JudgeContent(const Member& member) {
    try {
        content_.Begin(member);
        std::uint64_t counted = member.dataOffset;
        for (auto piece = content_.Next(); !piece.empty() && !meter_.Stopped();
             piece = content_.Next()) {
            const std::uint64_t position = content_.Position();
            Count(position - counted, piece.size());
            counted = position;
        }
    } catch (const Error& error) {
        if (error.Code() == ErrorCode::CannotRead) throw;  // the disk's fault, not the content's
        const bool sum = error.Code() == ErrorCode::SumDiffers;
        found_.Add(sum ? Fault::SumDiffers : Fault::ContentDamaged, error.Offset(), member.name,
                   error.Reason());
    }
}

void CheckWorker::JudgeName(std::uint32_t ordinal, const Member& member, std::uint64_t start) {
    if (contents_.members.Find(member.name) != ordinal) {
        found_.Add(Fault::DoubleName, start, member.name, "an earlier member has the same name");
    }
    if (const char* problem = NameProblem(member.name)) {
        found_.Add(Fault::OddName, start, member.name, std::string("its name ") + problem);
    }
}

void CheckWorker::JudgeGap(std::uint64_t from, std::uint64_t to) {
    try {
        while (from < to && !meter_.Stopped()) {
            const std::uint64_t end = JudgeGapChunk(from, to);
            if (end == from) return;
            Count(end - from, kChunkHeaderSize);
            from = end;
        }
    } catch (const Error& error) {
        found_.Add(Fault::CannotRead, error.Offset(), {}, "it cannot be read");
    }
}

std::uint64_t CheckWorker::JudgeGapChunk(std::uint64_t from, std::uint64_t to) {
    // The index was judged as a whole; its length may lie.
    if (contents_.indexEnd != 0 && from == contents_.header.indexOffset) return contents_.indexEnd;
    const auto stray = [&] {
        found_.Add(Fault::StrayBytes, from, {}, "these bytes belong to no chunk");
        return from;
    };
    const auto bytes = content_.Raw().At(from, kChunkHeaderSize);
    if (bytes.size() < kChunkHeaderSize) return stray();
    const ChunkHeader chunk = DecodeChunkHeader(bytes.first<kChunkHeaderSize>());
    const std::uint64_t end = from + kChunkHeaderSize + chunk.length;
    if (end > to) {
        const bool begun = chunk.Is(kMemberChunk) || chunk.Is(kDeletedChunk);
        if (!begun || to != contents_.fileSize) return stray();
        found_.Add(Fault::Unfinished, from, {}, "a member was begun here and not finished");
        return from;
    }
    if (chunk.Is(kMemberChunk)) {
        const auto prefix = content_.Raw().At(from, kMemberPrefixSize);
        if (chunk.length < kFindEntrySize || prefix.size() < kMemberPrefixSize) return stray();
        const FindEntry entry = DecodeEntry(prefix.last<kFindEntrySize>());
        found_.Add(Fault::Hidden, from, entry.Name(), "the index does not list it");
    }
    return end;
}

// Bytes after the index are not judged: they are the rest of a longer index that it replaced.
void CheckWorker::JudgeEnd() {
    std::uint64_t from = order_.GapStart(order_.Count());
    const std::uint64_t index = contents_.header.indexOffset;
    if (contents_.indexEnd == 0) return JudgeGap(from, contents_.fileSize);
    if (from <= index) JudgeGap(from, index);
}

}  // namespace archive
