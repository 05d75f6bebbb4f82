#include "patch/NewLayout.h"

#include <algorithm>
#include <array>

#include "archive/Names.h"
#include "archive/PackedMember.h"
#include "archive/Window.h"
#include "patch/Layout.h"

namespace patch {
namespace {

using archive::Member;

constexpr std::size_t kWindow = 1U << 20;

// Returns for each member of the new side its pair, if the old side has it unchanged.
std::vector<const Pair*> UnchangedOf(const Input& fresh, const Pairs& pairs) {
    std::vector<const Pair*> unchanged(fresh.tree.Count());
    for (const Pair& pair : pairs.both) {
        if (pair.same) unchanged[pair.fresh] = &pair;
    }
    return unchanged;
}

// Returns whether the result takes an unchanged member as the old side stores it, rather than
// packing its content again.
bool TakesStoredBytes(const Input& old, const Input& fresh, const Pair& pair) {
    if (!old.reader) return false;
    const archive::TreeMember source = old.tree[pair.old];
    const bool sameKind = source.compressed == fresh.tree[pair.fresh].compressed;
    // Streams in archives of the earlier format have another header.
    const bool fits =
        !source.compressed || old.reader->Header().version == archive::kArchiveVersion102;
    return sameKind && fits;
}

// Returns how the new archive stores its members, where one rule holds for all of them.
std::optional<Storage> UniformStorage(const Input& fresh) {
    bool plain = true;
    bool compressed = true;
    bool large = true;
    for (Number number = 0; number < fresh.tree.Count(); ++number) {
        const archive::TreeMember member = fresh.tree[number];
        if (member.size == 0) continue;
        plain = plain && !member.compressed;
        compressed = compressed && member.compressed;
        large = large && member.compressed == (member.size > archive::kLargestPlain);
    }
    if (plain) return Storage{Storage::Base::Plain, {}};
    if (compressed) return Storage{Storage::Base::Compressed, {}};
    if (large) return Storage{Storage::Base::Large, {}};
    return std::nullopt;
}

// Compares what lies outside the members' data with what the appender writes, and digests all.
class FilePass {
public:
    FilePass(const Input& old, const Input& fresh, const Pairs& pairs,
             const std::atomic<bool>& stop)
        : old_(old),
          fresh_(fresh),
          pairs_(pairs),
          reader_(*fresh.reader),
          stop_(stop),
          window_(reader_.File(), kWindow) {}

    std::optional<Manifest::File> Run() {
        const std::vector<const Pair*> unchanged = UnchangedOf(fresh_, pairs_);
        const std::size_t count = reader_.Count();
        std::vector<std::byte> index(archive::kChunkHeaderSize + count * archive::kIndexRecordSize);
        archive::EncodeChunkHeader(std::span(index).first<archive::kChunkHeaderSize>(),
                                   archive::kIndexChunk,
                                   static_cast<std::uint32_t>(count * archive::kIndexRecordSize));
        if (!TakePreamble()) return std::nullopt;
        for (std::size_t number = 0; number < count; ++number) {
            const Member member = reader_[number];
            const archive::FindEntry entry = EntryFor(member, unchanged[number]);
            const auto record =
                std::span(index)
                    .subspan(archive::kChunkHeaderSize + number * archive::kIndexRecordSize)
                    .first<archive::kIndexRecordSize>();
            archive::EncodeIndexRecord(
                record,
                {.dataOffset = member.dataOffset, .storedSize = member.storedSize, .entry = entry});
            if (!TakePrefix(member, entry) || !TakeData(member.storedSize)) return std::nullopt;
        }
        if (!Take(index) || position_ != reader_.All().fileSize) return std::nullopt;
        return Manifest::File{position_, digest_.Finish()};
    }

private:
    // Returns the entry that the result has of that member. Copied members keep what the old side
    // records of them; those that are packed again get no times.
    [[nodiscard]] archive::FindEntry EntryFor(const Member& member, const Pair* unchanged) const {
        archive::FindEntry entry;
        const bool copied = unchanged != nullptr && TakesStoredBytes(old_, fresh_, *unchanged);
        Vorn::SetPath(entry.name, unchanged != nullptr ? std::string(old_.tree[unchanged->old].name)
                                                       : PatchName(member.name));
        entry.size = member.size;
        entry.storedSize = member.storedSize;
        entry.crc = member.crc;
        if (copied) {
            const Member source = (*old_.reader)[unchanged->old];
            entry.crc = source.crc;
            entry.creationTime = source.creationTime;
            entry.accessTime = source.accessTime;
            entry.writeTime = source.writeTime;
            entry.attributes = source.attributes;
        } else if ((member.attributes & archive::kMemberCompressed) != 0) {
            entry.attributes = archive::kMemberCompressed;
        }
        return entry;
    }

    bool TakePreamble() {
        archive::ArchiveHeader header;
        header.magic = archive::kArchiveMagic;
        header.version = archive::kArchiveVersion102;
        header.memberCount = static_cast<std::uint32_t>(reader_.Count());
        // These may be any: the manifest carries the versions, and the rest of the pass shows
        // whether the index is at its place.
        header.indexOffset = reader_.Header().indexOffset;
        header.buildVersion = reader_.Header().buildVersion;
        header.productCode = reader_.Header().productCode;
        return Take(archive::EncodePreamble(header));
    }

    bool TakePrefix(const Member& member, const archive::FindEntry& entry) {
        std::array<std::byte, archive::kMemberPrefixSize> prefix{};
        archive::EncodeChunkHeader(
            std::span(prefix).first<archive::kChunkHeaderSize>(), archive::kMemberChunk,
            static_cast<std::uint32_t>(archive::kFindEntrySize + member.storedSize));
        archive::EncodeEntry(std::span(prefix).last<archive::kFindEntrySize>(), entry);
        return Take(prefix) && position_ == member.dataOffset;
    }

    // Digests the next bytes of the file. Returns whether they are these.
    bool Take(std::span<const std::byte> expected) {
        while (!expected.empty()) {
            const auto piece = window_.Some(position_, expected.size());
            if (piece.empty() || !std::ranges::equal(piece, expected.first(piece.size()))) {
                return false;
            }
            digest_.Update(piece);
            position_ += piece.size();
            expected = expected.subspan(piece.size());
        }
        return true;
    }

    bool TakeData(std::uint64_t bytes) {
        while (bytes > 0) {
            const auto piece = window_.Some(position_, bytes);
            if (piece.empty() || stop_) return false;
            digest_.Update(piece);
            position_ += piece.size();
            bytes -= piece.size();
        }
        return true;
    }

    const Input& old_;
    const Input& fresh_;
    const Pairs& pairs_;
    const archive::Reader& reader_;
    const std::atomic<bool>& stop_;
    archive::Window window_;
    std::uint64_t position_ = 0;
    Sha256 digest_;
};

}  // namespace

LayoutPlan PlanLayout(const Difference& difference) {
    const Input& old = difference.old;
    const Input& fresh = difference.fresh;
    LayoutPlan plan;
    if (!fresh.reader) return plan;
    plan.asksSaves = !UniformStorage(fresh);
    for (Number number = 0; number < fresh.tree.Count(); ++number) {
        const archive::TreeMember member = fresh.tree[number];
        if (member.size == 0 && (member.compressed || member.storedSize > 0)) return plan;
    }
    for (const Pair& pair : difference.pairs.both) {
        if (!pair.same) continue;
        if (!TakesStoredBytes(old, fresh, pair)) {
            plan.unpacksStreams = plan.unpacksStreams || old.tree[pair.old].compressed;
            plan.remade.push_back(pair.fresh);
        } else if (!pair.storedAlike) {
            return plan;
        }
    }
    plan.possible = true;
    return plan;
}

std::optional<Manifest::File> DigestIfLaidOutAsWritten(const Input& old, const Input& fresh,
                                                       const Pairs& pairs,
                                                       const std::atomic<bool>& stop) {
    return About(fresh.path, [&] { return FilePass(old, fresh, pairs, stop).Run(); });
}

void DescribeLayout(const Difference& difference, const std::vector<std::optional<bool>>& saves,
                    Manifest& manifest) {
    const Input& old = difference.old;
    const Input& fresh = difference.fresh;
    const std::vector<const Pair*> unchanged = UnchangedOf(fresh, difference.pairs);
    std::vector<std::string_view> names;
    names.reserve(fresh.tree.Count());
    for (Number number = 0; number < fresh.tree.Count(); ++number) {
        names.push_back(fresh.tree[number].name);
    }
    const std::vector<std::uint32_t> canonical = archive::CanonicalOrder(names);
    std::vector<LaidMember> laid;
    std::vector<bool> compressed;
    std::vector<std::uint32_t> order(canonical.size());
    for (std::uint32_t place = 0; place < canonical.size(); ++place) {
        const Number number = canonical[place];
        const archive::TreeMember member = fresh.tree[number];
        order[number] = place;
        compressed.push_back(member.compressed);
        LaidMember& described = laid.emplace_back();
        described.bytes = member.size;
        described.unchanged = unchanged[number] != nullptr;
        if (described.unchanged) {
            described.oldPlace = unchanged[number]->old;
        } else if (const auto found = old.tree.Find(member.name)) {
            described.oldPlace = static_cast<std::uint32_t>(*found);
        }
        if (described.unchanged && old.reader) {
            described.oldCompressed = old.tree[unchanged[number]->old].compressed;
        }
    }
    manifest.order = DescribeOrder(order, laid);
    const auto savesEnough = [&](std::uint32_t place) {
        const Number number = canonical[place];
        // Mostly known from making the patch; packing a member for this answer alone is costly.
        if (saves[number]) return *saves[number];
        const archive::TreeMember member = fresh.tree[number];
        if (member.compressed) return SavesEnough(member.size, member.storedSize);
        archive::PackedMember packed;
        archive::Pack(fresh.reader->Read((*fresh.reader)[number]), true, packed);
        return SavesEnough(member.size, packed.data.size());
    };
    const std::optional<Storage> uniform = UniformStorage(fresh);
    manifest.storage =
        uniform ? *uniform
                : About(fresh.path, [&] { return DescribeStorage(compressed, laid, savesEnough); });
    const archive::ArchiveHeader& header = fresh.reader->Header();
    const archive::ArchiveHeader before =
        old.reader != nullptr ? old.reader->Header() : archive::ArchiveHeader{};
    if (header.buildVersion != before.buildVersion || header.productCode != before.productCode) {
        manifest.versions = {.build = header.buildVersion, .product = header.productCode};
    }
}

}  // namespace patch
