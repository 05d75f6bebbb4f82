#include "patch/compact/Judge.h"

#include "patch/Contents.h"
#include "patch/Error.h"
#include "patch/InOrder.h"
#include "patch/Sums.h"

namespace patch::compact {
namespace {

using Kind = Verdict::Kind;

constexpr std::size_t kRunMembers = 64;

class SideJudge {
public:
    SideJudge(const OldSide& side, const CompactFile& patch) : side_(side), patch_(patch) {}

    Verdict Judge(unsigned threads, const ProgressFunction& progress) {
        Verdict verdict = side_.JudgeStructure();
        if (verdict.kind == Kind::Damaged) return verdict;
        Read(threads, progress);
        for (std::size_t i = 0; i < contents_.size(); ++i) {
            if (contents_[i].failure.empty()) continue;
            if (verdict.reason.empty()) verdict.reason = contents_[i].failure;
            verdict.kind = Kind::Damaged;
            verdict.members.emplace_back(NameOf(i));
        }
        return verdict.kind == Kind::Damaged ? verdict : Compare();
    }

private:
    [[nodiscard]] std::string_view NameOf(std::size_t i) const {
        return side_.Members()[side_.Reachable()[i]].name;
    }

    void Read(unsigned threads, const ProgressFunction& progress) {
        const std::vector<std::size_t>& members = side_.Reachable();
        contents_.resize(members.size());
        std::uint64_t bytes = 0;
        for (const std::size_t member : members) bytes += side_.Members()[member].size;
        Meter meter(progress, "judging the old side", bytes);
        const auto readers = NewReaders(side_.Members(), threads);
        InOrder<bool> work((members.size() + kRunMembers - 1) / kRunMembers, threads,
                           [](std::size_t) { return 0; }, 0);
        work.Run(
            meter,
            [&](unsigned worker, std::size_t run) {
                const std::size_t end = std::min((run + 1) * kRunMembers, members.size());
                for (std::size_t i = run * kRunMembers; i < end; ++i) {
                    ReadOne(*readers[worker], i, meter);
                }
                return true;
            },
            [](std::size_t, bool) {});
        meter.Report(true);
    }

    void ReadOne(archive::TreeReader& reader, std::size_t i, Meter& meter) {
        try {
            contents_[i].digest =
                DigestContent(reader, side_.Reachable()[i], DigestKind::Sha256, meter);
        } catch (const archive::Error& error) {
            // A file that cannot be read says nothing about which side this is.
            if (error.Code() == archive::ErrorCode::CannotRead) throw Error(side_.Path(), error);
            contents_[i].failure = error.Reason();
        }
    }

    [[nodiscard]] Verdict Compare() const {
        std::vector<Sum> sums;
        Spots spots;
        for (std::size_t i = 0; i < contents_.size(); ++i) {
            sums.push_back({ShownName(NameOf(i)), *contents_[i].digest});
            spots.Add(NameOf(i), *contents_[i].digest);
        }
        const Sha256Digest digest = DigestOfSide(std::move(sums));
        if (digest == patch_.Facts().old.sha256) return {.kind = Kind::Old};
        if (digest == patch_.Facts().fresh.sha256) return {.kind = Kind::New};
        return FindSuspects(spots);
    }

    [[nodiscard]] Verdict FindSuspects(const Spots& spots) const {
        Spots wanted = patch_.Facts().spots;
        wanted.Join(patch_.Members().spots);
        std::vector<std::size_t> membersAt(Spots::kCount);
        std::size_t used = 0;
        std::size_t differ = 0;
        for (std::size_t spot = 0; spot < Spots::kCount; ++spot) {
            used += wanted[spot] != 0 ? 1 : 0;
            differ += spots[spot] != wanted[spot] ? 1 : 0;
        }
        Verdict verdict{.kind = Kind::Neither};
        for (std::size_t i = 0; i < contents_.size(); ++i) {
            const std::size_t spot = Spots::SpotOf(NameOf(i));
            if (spots[spot] == wanted[spot]) continue;
            if (++membersAt[spot] > 1) verdict.certain = false;
            verdict.members.emplace_back(NameOf(i));
        }
        verdict.another = used > 2 && differ * 2 > used;
        return verdict;
    }

    const OldSide& side_;
    const CompactFile& patch_;
    std::vector<Content> contents_;
};

}  // namespace

Verdict JudgeSide(const OldSide& side, const CompactFile& patch, unsigned threads,
                  const ProgressFunction& progress) {
    return SideJudge(side, patch).Judge(threads, progress);
}

}  // namespace patch::compact
