// A unit of work is a run of whole members, or a piece of a large one. The pieces of one member are
// read in order, whichever workers take them, and packed at the same time.
#include "library/Packing.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <deque>
#include <utility>
#include <vector>

#include "archive/BytePair.h"
#include "archive/Crc32.h"
#include "archive/Stream.h"
#include "kernel/PathBuffer.h"
#include "library/LargeContent.h"
#include "library/PatchCalls.h"
#include "library/Translate.h"
#include "library/Workers.h"
#include "patch/InOrder.h"

namespace va {
namespace {

using archive::kMemberPrefixSize;

constexpr std::uint64_t kPiece = LargeContent::kPiece;
constexpr std::uint64_t kWaitingEach = 4 << 20;  // bytes that may wait to be written, by worker

// The member numbers of a run; or one member, and which of its pieces.
struct Unit {
    ItemRun members;
    std::size_t piece = 0;
    LargeContent* large = nullptr;  // of a piece
    std::uint64_t size = 0;
};

struct Packed {
    Bytes bytes;                        // whole chunks; or stored bytes of a piece
    std::vector<std::size_t> chunks{};  // where each begins in `bytes`
    bool isStream = false;              // of a piece, as the next two
    bool mustBeStream = false;
    std::uint32_t crc = 0;  // of the content up to its end
};

// Expands what was packed and compares it: memory may fail, and a wrong stream would go
// unnoticed until a reader expands it.
void ProveBlock(std::span<const std::byte> block, std::span<const std::byte> piece) {
    if (archive::DecodeBlockHeader(block.first<archive::kBlockHeaderSize>()).stored) return;
    std::array<std::byte, archive::kBlockSize> content;
    const auto size = archive::ExpandBlock(content, block.subspan(archive::kBlockHeaderSize));
    if (size == piece.size() && std::memcmp(content.data(), piece.data(), *size) == 0) return;
    throw archive::Error(
        archive::ErrorCode::CannotWrite,
        "what was packed does not expand to its content; the memory of this machine may be faulty");
}

void AppendBlocks(Bytes& to, std::span<const std::byte> content) {
    archive::BlockBuffer block;
    while (!content.empty()) {
        const auto piece = content.first(std::min(content.size(), archive::kBlockSize));
        const auto packed = archive::EncodeBlock(block, piece);
        ProveBlock(packed, piece);
        Append(to, packed);
        content = content.subspan(piece.size());
    }
}

using Prefix = std::array<std::byte, kMemberPrefixSize>;

Prefix PrefixOf(const NewMember& member, bool isStream, std::uint64_t storedSize,
                std::uint32_t crc) {
    archive::FindEntry entry;
    Vorn::SetPath(entry.name, member.name);
    entry.size = static_cast<std::uint32_t>(member.size);
    entry.storedSize = static_cast<std::uint32_t>(storedSize);
    entry.crc = crc;
    entry.attributes = isStream ? archive::kMemberCompressed : 0;
    Prefix prefix{};
    archive::EncodeChunkHeader(std::span(prefix).first<archive::kChunkHeaderSize>(),
                               archive::kMemberChunk,
                               static_cast<std::uint32_t>(archive::kFindEntrySize + storedSize));
    archive::EncodeEntry(std::span(prefix).last<archive::kFindEntrySize>(), entry);
    return prefix;
}

class Packing {
public:
    Packing(std::span<const NewMember> members, const PackingOptions& options,
            archive::ChunkWriter& chunks, archive::MemberTable& table)
        : members_(members),
          options_(options),
          chunks_(chunks),
          table_(table),
          workers_(std::max(options.threads, 1U)) {
        PlanUnits();
    }

    void Run(const ProgressFunction& progress) {
        std::uint64_t total = 0;
        for (const NewMember& member : members_) total += member.size;
        const patch::ProgressFunction passed = Passed(progress);
        patch::Meter meter(passed, "packing", total);
        patch::InOrder<Packed> work(
            units_.size(), options_.threads, [this](std::size_t unit) { return units_[unit].size; },
            kWaitingEach * workers_.size());
        work.Run(
            meter,
            [this](unsigned worker, std::size_t unit) {
                return units_[unit].large ? PackPiece(units_[unit])
                                          : PackRun(units_[unit], workers_[worker]);
            },
            [&](std::size_t unit, Packed packed) {
                if (units_[unit].large) {
                    TakePiece(units_[unit], packed);
                } else {
                    TakeRun(packed);
                }
                buffers_.Return(std::move(packed.bytes));
                meter.Add(units_[unit].size);
            });
        meter.Report(true);
    }

private:
    struct Worker {
        ContentReaders contents;
        Bytes stream;
    };

    void PlanUnits() {
        for (const ItemRun& run :
             CutRuns(members_.size(), [this](std::size_t i) { return members_[i].size; })) {
            AddUnits(run);
        }
    }

    // A run may end with a large member, which becomes units of its own.
    void AddUnits(ItemRun run) {
        const NewMember& last = members_[run.end - 1];
        const bool isLarge = last.size > kPiece;
        if (isLarge) --run.end;
        if (run.begin < run.end) {
            Unit unit{.members = run};
            for (std::size_t i = run.begin; i < run.end; ++i) unit.size += members_[i].size;
            units_.push_back(unit);
        }
        if (!isLarge) return;
        LargeContent& content = large_.emplace_back(last, buffers_);
        for (std::uint64_t done = 0; done < last.size; done += kPiece) {
            units_.push_back({.members = {run.end, run.end + 1},
                              .piece = done / kPiece,
                              .large = &content,
                              .size = std::min(kPiece, last.size - done)});
        }
    }

    [[nodiscard]] bool TriesStream(bool mustBeStream) const {
        return mustBeStream || options_.compression != Compression::None;
    }
    [[nodiscard]] bool KeepsStream(bool mustBeStream, std::uint64_t size,
                                   std::uint64_t stream) const {
        return mustBeStream || options_.compression == Compression::All ||
               archive::SavesEnough(size, stream);
    }

    Packed PackRun(const Unit& unit, Worker& worker) {
        Packed packed{.bytes = buffers_.Take()};
        packed.bytes.reserve(unit.size + (unit.members.end - unit.members.begin) * 512);
        for (std::size_t i = unit.members.begin; i < unit.members.end; ++i) {
            packed.chunks.push_back(packed.bytes.size());
            AppendChunk(packed.bytes, members_[i], worker);
        }
        return packed;
    }

    // The content is read to where it is written from, since most are not worth a stream.
    void AppendChunk(Bytes& to, const NewMember& member, Worker& worker) const {
        const std::size_t start = to.size();
        const std::size_t data = start + kMemberPrefixSize;
        to.resize(data + member.size);
        const auto content = std::span(to).subspan(data);
        Translated(*member.source, [&] { worker.contents.Begin(member).Read(content, true); });
        archive::Crc32 sum;
        sum.Update(content);
        const bool mustBeStream = MustBeStream(content);
        bool isStream = !content.empty() && TriesStream(mustBeStream);
        if (isStream) {
            Bytes& stream = worker.stream;
            stream.clear();
            Append(stream, archive::EncodeStreamHeader(static_cast<std::uint32_t>(content.size())));
            AppendBlocks(stream, content);
            isStream = KeepsStream(mustBeStream, content.size(), stream.size());
            if (isStream) {
                to.resize(data);
                Append(to, stream);
            }
        }
        const Prefix prefix = PrefixOf(member, isStream, to.size() - data, sum.Value());
        std::ranges::copy(prefix, to.begin() + static_cast<std::ptrdiff_t>(start));
    }

    Packed PackPiece(const Unit& unit) {
        LargeContent::Piece piece = Translated(*members_[unit.members.begin].source,
                                               [&] { return unit.large->Read(unit.piece); });
        Packed packed{.bytes = {},
                      .isStream = TriesStream(piece.mustBeStream),
                      .mustBeStream = piece.mustBeStream,
                      .crc = piece.crc};
        if (!packed.isStream) {
            packed.bytes = std::move(piece.content);
            return packed;
        }
        packed.bytes = buffers_.Take();
        packed.bytes.reserve(piece.content.size() + 2 * (kPiece / archive::kBlockSize));
        AppendBlocks(packed.bytes, piece.content);
        buffers_.Return(std::move(piece.content));
        return packed;
    }

    void TakeRun(const Packed& packed) {
        const std::uint64_t base = chunks_.End();
        chunks_.Append(packed.bytes);
        for (std::size_t i = 0; i < packed.chunks.size(); ++i) {
            const std::size_t end =
                i + 1 < packed.chunks.size() ? packed.chunks[i + 1] : packed.bytes.size();
            const std::size_t data = packed.chunks[i] + kMemberPrefixSize;
            AddToTable(base + data, end - data,
                       std::span(packed.bytes)
                           .subspan(data - archive::kFindEntrySize)
                           .first<archive::kFindEntrySize>());
        }
    }

    void TakePiece(const Unit& unit, const Packed& packed) {
        const NewMember& member = members_[unit.members.begin];
        if (unit.piece == 0) {
            chunkAt_ = chunks_.End();
            chunks_.Append(Prefix{});
            if (packed.isStream) {
                chunks_.Append(
                    archive::EncodeStreamHeader(static_cast<std::uint32_t>(member.size)));
            }
        }
        chunks_.Append(packed.bytes);
        if ((unit.piece + 1) * kPiece < member.size) return;
        const std::uint64_t data = chunkAt_ + kMemberPrefixSize;
        bool isStream = packed.isStream;
        if (isStream && !KeepsStream(packed.mustBeStream, member.size, chunks_.End() - data)) {
            isStream = false;
            chunks_.CutBack(data);
            AppendPlain(member, packed.crc);
        }
        const std::uint64_t stored = chunks_.End() - data;
        const Prefix prefix = PrefixOf(member, isStream, stored, packed.crc);
        chunks_.Replace(chunkAt_, prefix);
        AddToTable(data, stored, std::span(prefix).last<archive::kFindEntrySize>());
    }

    // The stream of a large member was no gain; only its whole length tells that.
    void AppendPlain(const NewMember& member, std::uint32_t crc) {
        archive::Crc32 sum;
        const std::uint64_t data = chunks_.End();
        const auto ofSource = [&](const auto& work) -> decltype(auto) {
            return Translated(*member.source, work);
        };
        archive::TreeReader& reader =
            ofSource([&]() -> archive::TreeReader& { return again_.Begin(member); });
        const auto next = [&] { return ofSource([&] { return reader.Next(); }); };
        for (auto piece = next(); !piece.empty(); piece = next()) {
            sum.Update(piece);
            chunks_.Append(piece);
        }
        if (sum.Value() != crc || chunks_.End() - data != member.size) {
            ofSource([&] { ThrowChanged(member); });
        }
    }

    void AddToTable(std::uint64_t data, std::uint64_t stored,
                    archive::MemberTable::EntryBytes entry) {
        table_.Add(static_cast<std::uint32_t>(data), static_cast<std::uint32_t>(stored), entry);
    }

    const std::span<const NewMember> members_;
    const PackingOptions& options_;
    archive::ChunkWriter& chunks_;
    archive::MemberTable& table_;
    std::vector<Unit> units_;
    Buffers buffers_;
    std::deque<LargeContent> large_;
    std::vector<Worker> workers_;
    ContentReaders again_;       // of large members whose stream was no gain
    std::uint64_t chunkAt_ = 0;  // of the large member that is being written
};

}  // namespace

void PackMembers(std::span<const NewMember> members, const PackingOptions& options,
                 archive::ChunkWriter& chunks, archive::MemberTable& table,
                 const ProgressFunction& progress) {
    Packing(members, options, chunks, table).Run(progress);
}

std::uint64_t PlainBytesOf(std::span<const NewMember> members) {
    std::uint64_t bytes = 0;
    for (const NewMember& member : members) {
        bytes += kMemberPrefixSize + member.size + archive::kIndexRecordSize;
    }
    return bytes;
}

}  // namespace va
