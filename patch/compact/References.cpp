#include "patch/compact/References.h"

#include <algorithm>
#include <array>
#include <map>
#include <unordered_map>
#include <utility>

#include "archive/Names.h"
#include "patch/Contents.h"
#include "patch/InOrder.h"

namespace patch::compact {
namespace {

// A place is sampled when the upper bits of the hash of the bytes before it are 0: equal stretches
// have equal samples wherever they lie. One in 128 bytes unless memory is short; the hash reaches
// back over 64.
constexpr int kSampleBits = 7;

// Samples that a source must have in common, for each that it alone explains.
constexpr std::size_t kLeastShared = 2;
constexpr std::size_t kRunMembers = 64;

constexpr std::array<std::uint64_t, 256> MakeGear() {
    std::array<std::uint64_t, 256> gear{};
    std::uint64_t state = 0;
    for (std::uint64_t& value : gear) {
        state += 0x9e3779b97f4a7c15U;
        std::uint64_t mixed = (state ^ (state >> 30)) * 0xbf58476d1ce4e5b9U;
        mixed = (mixed ^ (mixed >> 27)) * 0x94d049bb133111ebU;
        value = mixed ^ (mixed >> 31);
    }
    return gear;
}
constexpr auto kGear = MakeGear();

// Calls `visit(hash)` for the samples of a content that comes in pieces.
class Sampler {
public:
    // Samples one place in 2^`bits`.
    explicit Sampler(int bits) : sampled_(~std::uint64_t{0} << (64 - bits)) {}

    template <typename Visit>
    void Update(std::span<const std::byte> piece, Visit visit) {
        std::uint64_t hash = hash_;
        for (const std::byte byte : piece) {
            hash = (hash << 1) + kGear[static_cast<std::uint8_t>(byte)];
            if ((hash & sampled_) == 0) visit(hash);
        }
        hash_ = hash;
    }

private:
    std::uint64_t sampled_;
    std::uint64_t hash_ = 0;
};

// That some content has a sample of an added member.
struct Hit {
    std::uint32_t number = 0;  // a Place, or a number of a carried member
    std::uint32_t sample = 0;
    bool operator==(const Hit&) const = default;
};

class SourceFinder {
public:
    SourceFinder(const Difference& difference, const OldMembers& old,
                 const std::vector<Number>& fresh, const Budget& budget, Directory& directory,
                 unsigned threads, const ProgressFunction& progress)
        : difference_(difference),
          old_(old),
          fresh_(fresh),
          budget_(budget),
          directory_(directory),
          threads_(threads),
          progress_(progress),
          first_(directory.changed.size()) {
        std::uint64_t added = 0;
        for (const Directory::Added& member : directory.added) added += member.bytes;
        while (sampleBits_ < 32 && added >> sampleBits_ > budget.Samples()) ++sampleBits_;
    }

    void Run() {
        if (directory_.added.empty()) return;
        SampleAdded();
        ReadOld();
        ReadCarried();
        IndexNames();
        for (std::size_t i = 0; i < directory_.added.size(); ++i) Choose(i);
    }

private:
    void SampleAdded();
    void ReadOld();
    void ReadCarried();
    void IndexNames();
    void Choose(std::size_t number);
    [[nodiscard]] std::uint64_t BytesOf(const Source& source) const;

    const Difference& difference_;
    const OldMembers& old_;
    const std::vector<Number>& fresh_;
    const Budget& budget_;
    Directory& directory_;
    const unsigned threads_;
    const ProgressFunction& progress_;
    int sampleBits_ = kSampleBits;
    const std::size_t first_;  // carried number of the first added member

    std::unordered_map<std::uint64_t, std::uint32_t> samples_;  // numbers by hash
    std::vector<std::vector<std::uint32_t>> ofAdded_;           // samples of each, sorted
    std::vector<std::vector<std::uint32_t>> inOld_;             // places by sample
    std::vector<std::vector<std::uint32_t>> inCarried_;         // carried numbers by sample
    std::unordered_map<std::string, Place> byFileName_;
};

void SourceFinder::SampleAdded() {
    const auto reader = difference_.fresh.tree.NewReader();
    ofAdded_.resize(directory_.added.size());
    for (std::size_t i = 0; i < ofAdded_.size(); ++i) {
        std::vector<std::uint32_t>& own = ofAdded_[i];
        Sampler sampler(sampleBits_);
        About(difference_.fresh.path, [&] {
            reader->Begin(fresh_[first_ + i]);
            for (auto piece = reader->Next(); !piece.empty(); piece = reader->Next()) {
                sampler.Update(piece, [&](std::uint64_t hash) {
                    const auto number = static_cast<std::uint32_t>(samples_.size());
                    own.push_back(samples_.try_emplace(hash, number).first->second);
                });
            }
        });
        const std::size_t all = own.size();
        std::ranges::sort(own);
        own.erase(std::unique(own.begin(), own.end()), own.end());
        directory_.added[i].repeats =
            all > 256 && own.size() + all / 8 < all &&
            directory_.added[i].bytes < budget_.MostSources(directory_.added[i].bytes);
    }
    inOld_.resize(samples_.size());
    inCarried_.resize(samples_.size());
}

// Of contents that many have, such as headers, a few holders are enough.
constexpr std::size_t kMostHolders = 16;

void SourceFinder::ReadOld() {
    if (samples_.empty()) return;
    std::uint64_t total = 0;
    for (Place place = 0; place < old_.numbers.size(); ++place) total += old_[place].size;
    Meter meter(progress_, "looking for similar members", total);
    const auto readers = NewReaders(old_.tree, threads_);
    const std::size_t runs = (old_.numbers.size() + kRunMembers - 1) / kRunMembers;
    InOrder<std::vector<Hit>> work(
        runs, threads_, [](std::size_t) { return 0; }, 0);
    work.Run(
        meter,
        [&](unsigned worker, std::size_t run) {
            std::vector<Hit> hits;
            const std::size_t end = std::min((run + 1) * kRunMembers, old_.numbers.size());
            for (std::size_t place = run * kRunMembers; place < end; ++place) {
                Sampler sampler(sampleBits_);
                archive::TreeReader& reader = *readers[worker];
                About(difference_.old.path, [&] {
                    reader.Begin(old_.numbers[place]);
                    for (auto piece = reader.Next(); !piece.empty(); piece = reader.Next()) {
                        sampler.Update(piece, [&](std::uint64_t hash) {
                            const auto found = samples_.find(hash);
                            if (found == samples_.end()) return;
                            hits.push_back({static_cast<std::uint32_t>(place), found->second});
                        });
                        meter.Add(piece.size());
                    }
                });
            }
            std::ranges::sort(hits, {},
                              [](const Hit& hit) { return std::pair(hit.number, hit.sample); });
            hits.erase(std::unique(hits.begin(), hits.end()), hits.end());
            return hits;
        },
        [&](std::size_t, const std::vector<Hit>& hits) {
            for (const Hit& hit : hits) {
                if (inOld_[hit.sample].size() < kMostHolders) {
                    inOld_[hit.sample].push_back(hit.number);
                }
            }
        });
    meter.Report(true);
}

void SourceFinder::ReadCarried() {
    const auto reader = difference_.fresh.tree.NewReader();
    for (std::size_t carried = 0; carried < first_ && !samples_.empty(); ++carried) {
        Sampler sampler(sampleBits_);
        About(difference_.fresh.path, [&] {
            reader->Begin(fresh_[carried]);
            for (auto piece = reader->Next(); !piece.empty(); piece = reader->Next()) {
                sampler.Update(piece, [&](std::uint64_t hash) {
                    const auto found = samples_.find(hash);
                    if (found == samples_.end()) return;
                    auto& holders = inCarried_[found->second];
                    const auto number = static_cast<std::uint32_t>(carried);
                    if (holders.empty() || holders.back() != number) holders.push_back(number);
                });
            }
        });
    }
    for (std::size_t i = 0; i < ofAdded_.size(); ++i) {
        for (const std::uint32_t sample : ofAdded_[i]) {
            inCarried_[sample].push_back(static_cast<std::uint32_t>(first_ + i));
        }
    }
}

std::string FileNameOf(std::string_view name) {
    const std::size_t start = name.find_last_of("/\\") + 1;
    return archive::FoldName(name.substr(start));
}

void SourceFinder::IndexNames() {
    for (Place place = 0; place < old_.numbers.size(); ++place) {
        byFileName_.try_emplace(FileNameOf(old_[place].name), place);
    }
}

std::uint64_t SourceFinder::BytesOf(const Source& source) const {
    return source.kind == Source::Kind::Old ? old_[source.number].size
                                            : difference_.fresh.tree[fresh_[source.number]].size;
}

// Takes the content that has the most of the samples that are left, then the next one. Where no
// content has any, an old member of the same file name may still be of the same kind.
void SourceFinder::Choose(std::size_t number) {
    Directory::Added& added = directory_.added[number];
    const auto self = static_cast<std::uint32_t>(first_ + number);
    // Carried contents are kept only so long.
    std::uint32_t reach = self;
    for (std::uint64_t bytes = 0; budget_.KeepsCarried() && reach > 0; --reach) {
        bytes += BytesOf({Source::Kind::Carried, reach - 1});
        if (bytes > kMostKept) break;
    }
    std::vector<std::uint32_t> left = ofAdded_[number];
    const std::uint64_t mostBytes = budget_.MostSources(added.bytes);
    std::uint64_t bytes = added.repeats ? added.bytes : 0;
    while (added.sources.size() < kMostSources && left.size() >= kLeastShared) {
        std::map<std::pair<Source::Kind, std::uint32_t>, std::size_t> shared;
        for (const std::uint32_t sample : left) {
            for (const auto place : inOld_[sample]) ++shared[{Source::Kind::Old, place}];
            for (const auto carried : inCarried_[sample]) {
                if (carried >= reach && carried < self) {
                    ++shared[{Source::Kind::Carried, carried}];
                }
            }
        }
        Source best;
        std::size_t most = std::max(kLeastShared, ofAdded_[number].size() / 256) - 1;
        for (const auto& [source, count] : shared) {
            const Source candidate{source.first, source.second};
            if (count > most && bytes + BytesOf(candidate) <= mostBytes) {
                most = count;
                best = candidate;
            }
        }
        if (most < kLeastShared || !shared.contains({best.kind, best.number}) ||
            shared[{best.kind, best.number}] != most) {
            break;
        }
        bytes += BytesOf(best);
        added.sources.push_back(best);
        const auto& holders = best.kind == Source::Kind::Old ? inOld_ : inCarried_;
        std::erase_if(left, [&](std::uint32_t sample) {
            return std::ranges::find(holders[sample], best.number) != holders[sample].end();
        });
    }
    if (!added.sources.empty()) return;
    const auto named = byFileName_.find(FileNameOf(added.name));
    if (named == byFileName_.end()) return;
    const Source source{Source::Kind::Old, named->second};
    if (BytesOf(source) <=
        std::min(16 * added.bytes + 65536, mostBytes - std::min(mostBytes, bytes))) {
        added.sources.push_back(source);
    }
}

}  // namespace

void FindSources(const Difference& difference, const OldMembers& old,
                 const std::vector<Number>& fresh, const Budget& budget, Directory& directory,
                 unsigned threads, const ProgressFunction& progress) {
    SourceFinder(difference, old, fresh, budget, directory, threads, progress).Run();
}

}  // namespace patch::compact
