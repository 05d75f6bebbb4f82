// The members are taken in the order of their data. A worker takes a run of them that lies close
// together, so that its reads are large and move forwards; the gap before a member is judged with
// it. A member that reaches past the start of the next one is not read, so no byte is read twice.
#include "archive/Check.h"

#include <algorithm>
#include <array>
#include <deque>
#include <exception>
#include <functional>
#include <iterator>
#include <mutex>
#include <numeric>
#include <span>
#include <thread>
#include <tuple>
#include <utility>

#include "archive/CheckMeter.h"
#include "archive/Error.h"
#include "archive/Names.h"

namespace archive {

namespace {

constexpr std::size_t kWindow = 262144;
constexpr std::uint64_t kRunBytes = 1048576;  // that a worker takes at a time
constexpr std::uint64_t kReportStep = 2097152;

// The findings of one worker. Their offsets rise, so that the first findings of all workers
// together are among the first of each: no worker needs to keep more.
class Findings {
public:
    explicit Findings(std::size_t most) : most_(most) {}

    void Add(Fault fault, std::uint64_t offset, std::string_view member, std::string text) {
        ++(IsDamage(fault) ? damages_ : oddities_);
        if (kept_.size() < most_) {
            kept_.push_back({fault, offset, std::string(member), std::move(text)});
        }
    }
    void MoveInto(Judgement& judgement) {
        judgement.damages += damages_;
        judgement.oddities += oddities_;
        std::ranges::move(kept_, std::back_inserter(judgement.findings));
    }

private:
    std::size_t most_;
    std::vector<Finding> kept_;
    std::uint64_t damages_ = 0;
    std::uint64_t oddities_ = 0;
};

// The members in the order of their data.
class Order {
public:
    explicit Order(const Contents& contents) : contents_(contents) {
        const MemberTable& members = contents.members;
        ordinals_.resize(members.End());
        std::iota(ordinals_.begin(), ordinals_.end(), 0U);
        const auto byPlace = [&members](std::uint32_t a, std::uint32_t b) {
            return members[a].dataOffset < members[b].dataOffset;
        };
        if (!std::ranges::is_sorted(ordinals_, byPlace)) {
            std::ranges::stable_sort(ordinals_, byPlace);
        }
    }

    [[nodiscard]] std::size_t Count() const { return ordinals_.size(); }
    [[nodiscard]] std::uint32_t Ordinal(std::size_t i) const { return ordinals_[i]; }
    [[nodiscard]] Member operator[](std::size_t i) const { return contents_.members[ordinals_[i]]; }
    // Where the chunk of a member begins; 0 when it would begin before the file.
    [[nodiscard]] std::uint64_t Start(std::size_t i) const {
        const std::uint64_t data = (*this)[i].dataOffset;
        return data < kMemberPrefixSize ? 0 : data - kMemberPrefixSize;
    }
    // Returns where member i must end at the latest: at the next member, the index or the end of
    // the file.
    [[nodiscard]] std::uint64_t Limit(std::size_t i) const {
        std::uint64_t limit = contents_.fileSize;
        if (i + 1 < Count()) limit = std::min(limit, Start(i + 1));
        const std::uint64_t index = contents_.header.indexOffset;
        if (contents_.indexEnd != 0 && index >= Start(i)) limit = std::min(limit, index);
        return limit;
    }
    // Whether the member's chunk begins where header or index lie.
    [[nodiscard]] bool BeginsInside(std::size_t i) const {
        const std::uint64_t start = Start(i);
        return start < contents_.headerEnd ||
               (start >= contents_.header.indexOffset && start < contents_.indexEnd);
    }
    // Returns where the gap before member `next` starts: the end of the member before it, or of the
    // header. If that end cannot be trusted, returns the start of `next`: there is no gap to judge.
    [[nodiscard]] std::uint64_t GapStart(std::size_t next) const {
        const std::uint64_t end = next < Count() ? Start(next) : contents_.fileSize;
        if (next == 0) return std::min(contents_.headerEnd, end);
        const std::uint64_t dataEnd = (*this)[next - 1].DataEnd();
        return dataEnd <= end && !BeginsInside(next - 1) ? dataEnd : end;
    }

private:
    const Contents& contents_;
    std::vector<std::uint32_t> ordinals_;
};

// Hands out runs of neighbouring members.
class Runs {
public:
    explicit Runs(const Order& order) : order_(order) {}

    // First and past-the-last; empty when all are taken.
    [[nodiscard]] std::pair<std::size_t, std::size_t> Take() {
        const std::scoped_lock hold(lock_);
        const std::size_t first = next_;
        std::uint64_t bytes = 0;
        while (next_ < order_.Count() && bytes < kRunBytes) {
            bytes += kMemberPrefixSize + order_[next_++].storedSize;
        }
        return {first, next_};
    }

private:
    const Order& order_;
    std::mutex lock_;
    std::size_t next_ = 0;
};

class Worker {
public:
    // A worker that `reports` runs on the caller's thread.
    Worker(const Reader& reader, const Order& order, const CheckOptions& options, CheckMeter& meter,
           bool reports)
        : contents_(reader.All()),
          order_(order),
          content_(reader.NewContentReader(kWindow)),
          judgesContent_(options.content),
          meter_(meter),
          reports_(reports),
          found_(options.findings) {}

    void Work(Runs& runs) {
        for (auto [i, end] = runs.Take(); i < end; std::tie(i, end) = runs.Take()) {
            for (; i < end && !meter_.Stopped(); ++i) {
                JudgeGap(order_.GapStart(i), order_.Start(i));
                JudgeMember(i);
            }
        }
    }
    void JudgeIndex();
    void JudgeEnd();

    [[nodiscard]] Findings& Found() { return found_; }

private:
    void JudgeMember(std::size_t i);
    [[nodiscard]] bool ChunkAgrees(std::uint32_t ordinal, const Member& member,
                                   std::uint64_t start);
    void JudgeContent(const Member& member);
    void JudgeName(std::uint32_t ordinal, const Member& member, std::uint64_t start);
    void JudgeGap(std::uint64_t from, std::uint64_t to);
    // Judges one chunk of a gap and returns its end; `from` if no chunk that can be skipped starts
    // there.
    [[nodiscard]] std::uint64_t JudgeGapChunk(std::uint64_t from, std::uint64_t to);

    // Counts what was judged: bytes of the file, and the work that they were, in bytes too.
    void Count(std::uint64_t fileBytes, std::uint64_t work);

    const Contents& contents_;
    const Order& order_;
    ContentReader content_;
    const bool judgesContent_;
    CheckMeter& meter_;
    const bool reports_;
    std::uint64_t uncounted_ = 0;  // bytes of the file, and work, since the meter was told
    std::uint64_t work_ = 0;
    Findings found_;
};

// The work decides when to report: a small stream can expand to a thousand times its size, and a
// member whose content is not judged is no work however large it is.
void Worker::Count(std::uint64_t fileBytes, std::uint64_t work) {
    uncounted_ += fileBytes;
    work_ += work;
    if (work_ < kReportStep) return;
    meter_.Add(uncounted_);
    uncounted_ = work_ = 0;
    if (reports_) meter_.Report();
}

void Worker::JudgeIndex() {
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

void Worker::JudgeMember(std::size_t i) {
    const std::uint32_t ordinal = order_.Ordinal(i);
    const Member member = order_[i];
    const std::uint64_t start = order_.Start(i);
    JudgeName(ordinal, member, start);
    Count(kMemberPrefixSize, kMemberPrefixSize);
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

bool Worker::ChunkAgrees(std::uint32_t ordinal, const Member& member, std::uint64_t start) {
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

void Worker::JudgeContent(const Member& member) {
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
        if (error.Code() == ErrorCode::CannotRead) throw;
        const bool sum = error.Code() == ErrorCode::SumDiffers;
        found_.Add(sum ? Fault::SumDiffers : Fault::ContentDamaged, error.Offset(), member.name,
                   error.Reason());
    }
}

void Worker::JudgeName(std::uint32_t ordinal, const Member& member, std::uint64_t start) {
    if (contents_.members.Find(member.name) != ordinal) {
        found_.Add(Fault::DoubleName, start, member.name, "an earlier member has the same name");
    }
    if (const char* problem = NameProblem(member.name)) {
        found_.Add(Fault::OddName, start, member.name, std::string("its name ") + problem);
    }
}

void Worker::JudgeGap(std::uint64_t from, std::uint64_t to) {
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

std::uint64_t Worker::JudgeGapChunk(std::uint64_t from, std::uint64_t to) {
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
void Worker::JudgeEnd() {
    std::uint64_t from = order_.GapStart(order_.Count());
    const std::uint64_t index = contents_.header.indexOffset;
    if (contents_.indexEnd == 0) return JudgeGap(from, contents_.fileSize);
    if (from <= index) JudgeGap(from, index);
}

// Runs `work(0)` on this thread and the others up to `work(count - 1)` beside it; throws what one
// of them threw, which stops the others.
void InThreads(unsigned count, CheckMeter& meter, const std::function<void(unsigned)>& work) {
    std::vector<std::exception_ptr> thrown(count);
    const auto guarded = [&](unsigned i, const auto& run) {
        try {
            run();
        } catch (...) {
            thrown[i] = std::current_exception();
            meter.Stop();
        }
    };
    meter.Start(count - 1);
    {
        std::vector<std::jthread> threads;
        for (unsigned i = 1; i < count; ++i) {
            threads.emplace_back([&, i] {
                guarded(i, [&] { work(i); });
                meter.Finish();
            });
        }
        guarded(0, [&] {
            work(0);
            meter.ReportUntilFinished();
        });
    }
    for (const std::exception_ptr& exception : thrown) {
        if (exception) std::rethrow_exception(exception);
    }
}

void CountBytes(const Contents& contents, Judgement& judgement) {
    for (MemberTable::Ordinal i = 0; i < contents.members.End(); ++i) {
        const Member member = contents.members[i];
        ++judgement.members;
        judgement.contentBytes += member.size;
        judgement.storedBytes += member.storedSize;
    }
    const std::uint64_t index =
        contents.indexEnd == 0 ? 0 : contents.indexEnd - contents.header.indexOffset;
    const std::uint64_t live =
        contents.headerEnd + judgement.members * kMemberPrefixSize + judgement.storedBytes + index;
    judgement.deadBytes = contents.fileSize - std::min(contents.fileSize, live);
}

}  // namespace

Judgement Check(const Reader& reader, const CheckOptions& options) {
    const unsigned count = std::max(options.workers, 1U);
    const Order order(reader.All());
    Runs runs(order);
    CheckMeter meter(options.progress, reader.All().fileSize);
    std::deque<Worker> workers;
    for (unsigned i = 0; i < count; ++i) {
        workers.emplace_back(reader, order, options, meter, i == 0);
    }
    InThreads(count, meter, [&](unsigned i) { workers[i].Work(runs); });
    // What belongs to no member is judged by one more, so that its findings rise too.
    workers.emplace_back(reader, order, options, meter, true);
    workers.back().JudgeIndex();
    workers.back().JudgeEnd();
    meter.ReportAll();

    Judgement judgement;
    judgement.cancelled = meter.Stopped();
    for (Worker& worker : workers) worker.Found().MoveInto(judgement);
    std::ranges::stable_sort(judgement.findings, {}, &Finding::offset);
    if (judgement.findings.size() > options.findings) judgement.findings.resize(options.findings);
    CountBytes(reader.All(), judgement);
    return judgement;
}

}  // namespace archive
