#include "vaconverter/compare.h"

#include <algorithm>
#include <map>
#include <unordered_map>
#include <unordered_set>

#include "archive/Names.h"
#include "library/Doubles.h"
#include "library/SameContent.h"
#include "library/SideReader.h"
#include "library/Workers.h"

namespace va {
namespace {

struct Pair {
    std::string key;  // the folded name
    const Member* a = nullptr;
    const Member* b = nullptr;
    bool differs = false;
};

bool SameMember(SideReader& a, const Member& memberA, SideReader& b, const Member& memberB,
                WorkProgress& progress) {
    if (memberA.Size() != memberB.Size()) return false;
    a.Begin(memberA);
    b.Begin(memberB);
    return SameContent([&a] { return a.Next(); }, [&b] { return b.Next(); },
                       [&progress](std::size_t bytes) { progress.Add(bytes); });
}

std::vector<Pair> PairByName(const Archive& a, const Archive& b) {
    std::vector<Pair> pairs;
    std::unordered_map<std::string, std::size_t> places;
    const auto add = [&](const Archive& side, const Member* Pair::*field) {
        for (const Member& member : side.Members()) {
            std::string key = archive::FoldName(member.StoredName());
            const auto [place, isNew] = places.emplace(key, pairs.size());
            if (isNew) pairs.push_back({std::move(key)});
            pairs[place->second].*field = &member;
        }
    };
    add(a, &Pair::a);
    add(b, &Pair::b);
    std::ranges::sort(pairs, {}, &Pair::key);
    return pairs;
}

}  // namespace

Comparison Compare(const Archive& a, const Archive& b, unsigned threads,
                   const ProgressFunction& progress) {
    RefuseDoubles(a);
    RefuseDoubles(b);
    std::vector<Pair> pairs = PairByName(a, b);
    std::vector<std::size_t> toRead;
    std::uint64_t total = 0;
    for (std::size_t i = 0; i < pairs.size(); ++i) {
        Pair& pair = pairs[i];
        if (!pair.a || !pair.b) continue;
        // The indexes can prove a difference; only the contents prove equality.
        pair.differs = pair.a->Size() != pair.b->Size() ||
                       (pair.a->Crc() && pair.b->Crc() && *pair.a->Crc() != *pair.b->Crc());
        if (pair.differs) continue;
        toRead.push_back(i);
        total += pair.a->Size();
    }
    WorkProgress work(progress, "comparing", total);
    struct Sides {
        SideReader a;
        SideReader b;
    };
    std::vector<Sides> workers;
    for (unsigned i = 0; i < std::max(threads, 1U); ++i) {
        workers.push_back({SideReader(a), SideReader(b)});
    }
    const auto runs =
        CutRuns(toRead.size(), [&](std::size_t i) { return pairs[toRead[i]].a->Size(); });
    RunPieces(runs.size(), threads, work, [&](unsigned worker, std::size_t run) {
        Sides& sides = workers[worker];
        for (std::size_t i = runs[run].begin; i < runs[run].end; ++i) {
            Pair& pair = pairs[toRead[i]];
            pair.differs = !SameMember(sides.a, *pair.a, sides.b, *pair.b, work);
        }
    });

    Comparison result;
    // Members that may have been renamed, by size and check sum. Contents are compared only where
    // both are equal, and check sums of a folder's files, which cost a read, only taken if any can
    // match.
    std::multimap<std::pair<std::uint64_t, std::uint32_t>, const Member*> removed;
    std::unordered_set<std::uint64_t> removedSizes;
    SideReader sideA(a);
    SideReader sideB(b);
    const bool anyAdded =
        std::ranges::any_of(pairs, [](const Pair& pair) { return pair.a == nullptr; });
    for (const Pair& pair : pairs) {
        // Empty members are all equal, so that nothing shows which one was renamed.
        if (pair.b || pair.a->Size() == 0 || !anyAdded) continue;
        removed.emplace(std::pair{pair.a->Size(), CheckSumOf(sideA, *pair.a)}, pair.a);
        removedSizes.insert(pair.a->Size());
    }
    std::unordered_set<const Member*> renamed;
    for (const Pair& pair : pairs) {
        if (pair.a && pair.b) {
            result.same += pair.differs ? 0 : 1;
            if (pair.differs) {
                result.differences.push_back({Difference::Kind::Changed,
                                              pair.b->Name(),
                                              {},
                                              pair.a->Size(),
                                              pair.b->Size()});
            }
        } else if (!pair.a) {
            Difference difference{Difference::Kind::Added, pair.b->Name(), {}, 0, pair.b->Size()};
            if (removedSizes.contains(pair.b->Size())) {
                auto [from, end] =
                    removed.equal_range({pair.b->Size(), CheckSumOf(sideB, *pair.b)});
                while (from != end && !SameMember(sideA, *from->second, sideB, *pair.b, work)) {
                    ++from;
                }
                if (from != end) {
                    difference = {Difference::Kind::Renamed, pair.b->Name(), from->second->Name(),
                                  pair.b->Size(), pair.b->Size()};
                    renamed.insert(from->second);
                    removed.erase(from);  // one removed member explains one added member
                }
            }
            result.differences.push_back(std::move(difference));
        }
    }
    for (const Pair& pair : pairs) {
        if (!pair.b && !renamed.contains(pair.a)) {
            result.differences.push_back(
                {Difference::Kind::Removed, pair.a->Name(), {}, pair.a->Size(), 0});
        }
    }
    std::ranges::sort(result.differences, {},
                      [](const Difference& d) { return archive::FoldName(StoredBytes(d.name)); });
    return result;
}

}  // namespace va
