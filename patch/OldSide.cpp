#include "patch/OldSide.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "archive/Check.h"
#include "archive/Names.h"
#include "patch/Contents.h"
#include "patch/Error.h"
#include "patch/Runs.h"
#include "patch/Sums.h"
#include "platform/Directories.h"

namespace patch {
namespace {

using Kind = Verdict::Kind;

// Reads members of an archive without comparing their check sums, where a digest says more.
class UnsummedReader final : public archive::TreeReader {
public:
    explicit UnsummedReader(const archive::Reader& reader)
        : reader_(reader), content_(reader.NewContentReader(kWindow)) {}

    void Begin(std::size_t number) override {
        archive::Member member = reader_[number];
        member.crc = 0;
        content_.Begin(member);
    }
    [[nodiscard]] std::span<const std::byte> Next() override { return content_.Next(); }

private:
    static constexpr std::size_t kWindow = 1 << 18;

    const archive::Reader& reader_;
    archive::ContentReader content_;
};

// Compares the contents of a side with what a patch says about it.
class Comparison {
public:
    Comparison(const OldSide& side, const PatchFile& patch, const std::vector<Content>& contents)
        : side_(side), patch_(patch), contents_(contents) {}

    [[nodiscard]] Verdict Compare() const {
        return patch_.GetManifest() ? ByManifest(*patch_.GetManifest()) : ByLists();
    }

    [[nodiscard]] Verdict ByLists() const {
        Listed listed = CompareListed();
        if (!listed.verdict.likeNew && listed.verdict.members.empty()) return {.kind = Kind::Old};
        if (listed.verdict.members.empty()) return {.kind = Kind::New};
        // An edited copy keeps most members. One or two members are too few to judge by.
        listed.verdict.another = listed.all > 2 && listed.same * 2 < listed.all;
        return std::move(listed.verdict);
    }

private:
    [[nodiscard]] const Content* ContentOf(std::string_view name) const {
        const auto number = side_.Members().Find(name);
        return number ? &contents_[*number] : nullptr;
    }
    [[nodiscard]] bool HasOld(const Change& change) const {
        const Content* content = ContentOf(change.name);
        if (change.kind == Change::Kind::Added) {
            return content == nullptr || patch_.OfOld(change.name) != nullptr;
        }
        return content != nullptr && content->digest == change.oldDigest;
    }
    [[nodiscard]] bool HasNew(const Change& change) const {
        const Content* content = ContentOf(change.name);
        if (change.kind == Change::Kind::Removed) {
            return content == nullptr || patch_.OfNew(change.name) != nullptr;
        }
        return content != nullptr && content->digest == change.newDigest;
    }

    // The side that the listed members resemble more, those of its members that differ, and how
    // many it has.
    struct Listed {
        Verdict verdict{.kind = Kind::Neither};
        std::size_t all = 0;
        std::size_t same = 0;
    };
    [[nodiscard]] Listed CompareListed() const {
        Listed old;
        Listed fresh{.verdict = {.kind = Kind::Neither, .likeNew = true}};
        const auto take = [](Listed& side, const Change& change, bool isMember, bool same) {
            if (!same) side.verdict.members.push_back(change.name);
            side.all += isMember ? 1 : 0;
            side.same += isMember && same ? 1 : 0;
        };
        for (const Change& change : patch_.Changes()) {
            take(old, change, change.kind != Change::Kind::Added, HasOld(change));
            take(fresh, change, change.kind != Change::Kind::Removed, HasNew(change));
        }
        return fresh.verdict.members.size() < old.verdict.members.size() ? fresh : old;
    }

    [[nodiscard]] Verdict ByManifest(const Manifest& manifest) const {
        std::vector<Sum> sums;
        sums.reserve(side_.Reachable().size());
        for (const std::size_t member : side_.Reachable()) {
            sums.push_back({ShownName(side_.Members()[member].name), *contents_[member].digest});
        }
        const Sha256Digest digest = DigestOfSide(std::move(sums));
        if (digest == manifest.old.sha256) return {.kind = Kind::Old};
        if (digest == manifest.fresh.sha256) return {.kind = Kind::New};
        return FindSuspects(manifest);
    }

    // Members that are in no list have no separate digest in the manifest, but share one for each
    // spot.
    [[nodiscard]] Verdict FindSuspects(const Manifest& manifest) const {
        Spots spots;
        std::vector<std::vector<std::size_t>> members(Spots::kCount);
        for (const std::size_t member : side_.Reachable()) {
            const std::string_view name = side_.Members()[member].name;
            if (patch_.OfOld(name) || patch_.OfNew(name)) continue;
            spots.Add(name, *contents_[member].digest);
            members[Spots::SpotOf(name)].push_back(member);
        }
        Listed listed = CompareListed();
        Verdict& verdict = listed.verdict;
        std::size_t used = 0;
        std::size_t differ = 0;
        for (std::size_t spot = 0; spot < Spots::kCount; ++spot) {
            used += manifest.spots[spot] != 0 ? 1 : 0;
            if (spots[spot] == manifest.spots[spot]) continue;
            ++differ;
            // One of them differs at least, or one is missing or too many.
            if (members[spot].size() > 1) verdict.certain = false;
            for (const std::size_t member : members[spot]) {
                verdict.members.emplace_back(side_.Members()[member].name);
            }
        }
        const std::size_t all = used + listed.all;
        const std::size_t wrong = differ + listed.all - listed.same;
        verdict.another = all > 2 && wrong * 2 > all;
        return std::move(verdict);
    }

    const OldSide& side_;
    const PatchFile& patch_;
    const std::vector<Content>& contents_;
};

bool IsFolder(const std::string& path) {
    platform::FileStatus status;
    return platform::GetStatus(path.c_str(), status) && status.IsDirectory();
}

}  // namespace

OldSide::OldSide(std::string path) : path_(std::move(path)) {
    About(path_, [&] {
        if (IsFolder(path_)) {
            tree_ = archive::OpenFolder(path_);
        } else {
            auto reader = std::make_unique<archive::Reader>(path_);
            reader_ = reader.get();
            tree_ = archive::TreeOf(std::move(reader));
        }
    });
    const bool hasDoubles = tree_->HasDoubles();
    reachable_.reserve(tree_->Count());
    for (std::size_t i = 0; i < tree_->Count(); ++i) {
        if (!hasDoubles || tree_->Find((*tree_)[i].name) == i) reachable_.push_back(i);
    }
}

Verdict OldSide::JudgeStructure() const {
    Verdict verdict;
    if (!reader_) return verdict;
    const archive::Judgement judgement = archive::Check(*reader_, {.content = false});
    for (const archive::Finding& finding : judgement.findings) {
        if (!archive::IsDamage(finding.fault)) continue;
        if (verdict.reason.empty()) verdict.reason = finding.text;
        if (!finding.member.empty()) verdict.members.push_back(finding.member);
    }
    if (judgement.damages > 0) verdict.kind = Kind::Damaged;
    return verdict;
}

bool OldSide::HoldsItsMembers() const {
    if (!reader_) return true;
    const archive::Contents& contents = reader_->All();
    return contents.index == archive::IndexState::Whole &&
           contents.members.EndOfData() <= contents.fileSize;
}

std::unique_ptr<archive::TreeReader> OldSide::NewReader(Sums sums) const {
    if (!reader_ || sums == Sums::Compared) return tree_->NewReader();
    return std::make_unique<UnsummedReader>(*reader_);
}

std::vector<Content> OldSide::Read(const std::vector<std::size_t>& members, Sums sums,
                                   const PatchFile& patch, unsigned threads,
                                   const ProgressFunction& progress) const {
    std::uint64_t bytes = 0;
    for (const std::size_t member : members) bytes += (*tree_)[member].size;
    Meter meter(progress, "judging the old side", bytes);
    std::vector<std::unique_ptr<archive::TreeReader>> readers(std::max(threads, 1U));
    for (auto& reader : readers) reader = NewReader(sums);
    // Lists say nothing about a member that they do not name; only its check sum can be compared.
    const auto isDigested = [&patch](std::string_view name) {
        return patch.GetManifest() || patch.OfOld(name) != nullptr || patch.OfNew(name) != nullptr;
    };
    std::vector<Content> contents(tree_->Count());
    const auto readOne = [&](archive::TreeReader& reader, std::size_t member) {
        try {
            if (isDigested((*tree_)[member].name)) {
                contents[member].digest = DigestContent(reader, member, patch.Digests(), meter);
            } else {
                ReadThrough(reader, member, meter);
            }
        } catch (const archive::Error& error) {
            // A file that cannot be read says nothing about which side this is.
            if (error.Code() == archive::ErrorCode::CannotRead) throw Error(path_, error);
            contents[member].failure = error.Reason();
        }
    };
    const auto runs =
        CutRuns(members.size(), [&](std::size_t i) { return (*tree_)[members[i]].size; });
    ForEachItem(runs, threads, meter,
                [&](unsigned worker, std::size_t i) { readOne(*readers[worker], members[i]); });
    return contents;
}

Verdict OldSide::FindDamage(const std::vector<Content>& contents) const {
    Verdict verdict;
    for (const std::size_t member : reachable_) {
        if (contents[member].failure.empty()) continue;
        if (verdict.reason.empty()) verdict.reason = contents[member].failure;
        verdict.kind = Kind::Damaged;
        verdict.members.emplace_back((*tree_)[member].name);
    }
    return verdict;
}

Verdict OldSide::Judge(const PatchFile& patch, unsigned threads,
                       const ProgressFunction& progress) const {
    Verdict verdict = JudgeStructure();
    if (verdict.kind == Kind::Damaged) return verdict;
    const auto judge = [&](Sums sums) {
        const std::vector<Content> contents = Read(reachable_, sums, patch, threads, progress);
        Verdict found = FindDamage(contents);
        return found.kind == Kind::Damaged ? found : Comparison(*this, patch, contents).Compare();
    };
    // Digests of all contents show whether this is one of the sides; if it is not, the check sums
    // show whether it is damaged or was altered. Most runs meet the right side and skip the sums.
    verdict = judge(patch.GetManifest() ? Sums::Ignored : Sums::Compared);
    if (verdict.kind == Kind::Neither && patch.GetManifest()) verdict = judge(Sums::Compared);
    return verdict;
}

Verdict OldSide::JudgeListed(const PatchFile& patch, unsigned threads,
                             const ProgressFunction& progress) const {
    if (!HoldsItsMembers()) return {.kind = Kind::Damaged};
    if (patch.GetManifest() && patch.GetManifest()->old.members != reachable_.size()) {
        return {.kind = Kind::Neither};
    }
    std::vector<std::size_t> listed;
    for (const Change& change : patch.Changes()) {
        if (const auto member = tree_->Find(change.name)) listed.push_back(*member);
    }
    // A member can be removed and added in other letter case: it is listed twice and read once.
    std::ranges::sort(listed);
    listed.erase(std::unique(listed.begin(), listed.end()), listed.end());
    const std::vector<Content> contents = Read(listed, Sums::Ignored, patch, threads, progress);
    Verdict verdict = FindDamage(contents);
    if (verdict.kind == Kind::Damaged) return verdict;
    return Comparison(*this, patch, contents).ByLists();
}

}  // namespace patch
