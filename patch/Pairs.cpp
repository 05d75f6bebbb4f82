#include "patch/Pairs.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <optional>
#include <utility>

#include "archive/Window.h"
#include "patch/NameList.h"
#include "patch/Runs.h"

namespace patch {
namespace {

using archive::TreeMember;

constexpr std::size_t kWindow = 256U << 10;

bool SameSpelling(std::string_view a, std::string_view b) {
    const auto plain = [](char c) { return c == '\\' ? '/' : c; };
    return std::ranges::equal(a, b, {}, plain, plain);
}

void RefuseDoubles(const Input& side) {
    if (!side.tree.HasDoubles()) return;
    NameList doubles;
    for (std::size_t i = 0; i < side.tree.Count(); ++i) {
        const std::string_view name = side.tree[i].name;
        // Find returns the first member of a name.
        if (side.tree.Find(name) != i) doubles.Add(ShownName(name));
    }
    if (!doubles.IsEmpty()) {
        throw Error(ErrorCode::Refused, side.path,
                    "several members have one name, letter case ignored; rename or delete all but "
                    "one of each:" +
                        doubles.Text());
    }
}

// Compares and digests pairs on one thread.
class PairComparer {
public:
    PairComparer(const Input& old, const Input& fresh, SideDigests* digests)
        : old_(old),
          fresh_(fresh),
          digests_(digests),
          oldReader_(old.tree.NewReader()),
          freshReader_(fresh.tree.NewReader()) {
        if (!old.reader || !fresh.reader) return;
        oldWindow_.emplace(old.reader->File(), kWindow);
        freshWindow_.emplace(fresh.reader->File(), kWindow);
    }

    void Compare(Pair& pair) {
        const TreeMember a = old_.tree[pair.old];
        const TreeMember b = fresh_.tree[pair.fresh];
        // Most pairs that differ are found without reading. A check sum of 0 is not recorded.
        if (a.size != b.size || (a.crc != 0 && b.crc != 0 && a.crc != b.crc)) return;
        pair.storedAlike = IsStoredAlike(a, b);
        pair.same = pair.storedAlike;
        if (pair.same && !digests_) return;
        // Contents that are stored alike are expanded once, for both sides.
        const Sha256Digest digest = DigestOf(old_, *oldReader_, pair.old);
        pair.same = pair.same || DigestOf(fresh_, *freshReader_, pair.fresh) == digest;
        if (pair.same && digests_) {
            digests_->old[pair.old] = digests_->fresh[pair.fresh] = digest;
        }
    }

private:
    static Sha256Digest DigestOf(const Input& side, archive::TreeReader& reader, Number number) {
        return About(side.path, [&] {
            Sha256 digest;
            reader.Begin(number);
            for (auto piece = reader.Next(); !piece.empty(); piece = reader.Next()) {
                digest.Update(piece);
            }
            return digest.Finish();
        });
    }

    // Equal bytes give equal contents only if both are read in the same way: streams of the two
    // versions have different headers.
    bool IsStoredAlike(const TreeMember& a, const TreeMember& b) {
        if (!oldWindow_ || a.storedSize != b.storedSize || a.compressed != b.compressed ||
            a.crc != b.crc || old_.reader->Header().version != fresh_.reader->Header().version) {
            return false;
        }
        for (std::uint64_t done = 0; done < a.storedSize;) {
            const auto pieceA = About(old_.path, [&] {
                return oldWindow_->Some(a.dataOffset + done, a.storedSize - done);
            });
            const auto pieceB = About(fresh_.path, [&] {
                return freshWindow_->Some(b.dataOffset + done, b.storedSize - done);
            });
            const std::size_t count = std::min(pieceA.size(), pieceB.size());
            // A member that is cut off is named when its content is read.
            if (count == 0 || std::memcmp(pieceA.data(), pieceB.data(), count) != 0) return false;
            done += count;
        }
        return true;
    }

    const Input& old_;
    const Input& fresh_;
    SideDigests* digests_;
    std::unique_ptr<archive::TreeReader> oldReader_;
    std::unique_ptr<archive::TreeReader> freshReader_;
    std::optional<archive::Window> oldWindow_;  // both, or neither
    std::optional<archive::Window> freshWindow_;
};

}  // namespace

Pairs PairMembers(const Input& old, const Input& fresh) {
    RefuseDoubles(old);
    RefuseDoubles(fresh);
    Pairs pairs;
    std::vector<bool> taken(old.tree.Count());
    for (Number number = 0; number < fresh.tree.Count(); ++number) {
        const std::string_view name = fresh.tree[number].name;
        const std::optional<std::size_t> found = old.tree.Find(name);
        if (found && SameSpelling(old.tree[*found].name, name)) {
            taken[*found] = true;
            pairs.both.push_back({static_cast<Number>(*found), number});
        } else {
            pairs.added.push_back(number);
        }
    }
    for (Number number = 0; number < old.tree.Count(); ++number) {
        if (!taken[number]) pairs.removed.push_back(number);
    }
    return pairs;
}

void ComparePairs(const Input& old, const Input& fresh, Pairs& pairs, SideDigests* digests,
                  unsigned threads, const ProgressFunction& progress) {
    const auto sizeOf = [&](std::size_t i) { return fresh.tree[pairs.both[i].fresh].size; };
    std::uint64_t total = 0;
    for (std::size_t i = 0; i < pairs.both.size(); ++i) total += sizeOf(i);
    std::vector<PairComparer> workers;
    workers.reserve(std::max(threads, 1U));
    for (unsigned i = 0; i < std::max(threads, 1U); ++i) workers.emplace_back(old, fresh, digests);
    Meter meter(progress, "comparing", total);
    ForEachItem(CutRuns(pairs.both.size(), sizeOf), threads, meter,
                [&](unsigned worker, std::size_t i) {
                    workers[worker].Compare(pairs.both[i]);
                    meter.Add(sizeOf(i));
                });
}

}  // namespace patch
