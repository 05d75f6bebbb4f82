#include "patch/Maker.h"

#include <algorithm>
#include <atomic>
#include <functional>
#include <future>
#include <numeric>

#include "patch/InOrder.h"
#include "patch/MD5.h"
#include "patch/MemberMaker.h"
#include "patch/MemberMemory.h"
#include "patch/NewLayout.h"
#include "patch/PatchWriter.h"
#include "patch/compact/CompactFile.h"
#include "patch/compact/Writer.h"

namespace patch {
namespace {

// The bound of docs/ci.md for what does not depend on the members that are being made: windows and
// programs, and for each member of a side its indexes, pair, digest and texts in the lists.
constexpr std::uint64_t kBaseMemory = 64U << 20;
constexpr std::uint64_t kMemoryOfMember = 400;

// Digests the new archive while the patch is made. Reads the sides and the pairs alone, which no
// longer change; the rest of the difference is still being written.
class FreshFile {
public:
    FreshFile(const Difference& difference, bool wanted, unsigned threads) {
        if (!wanted) return;
        const auto policy = threads > 1 ? std::launch::async : std::launch::deferred;
        digest_ = std::async(policy, [this, &old = difference.old, &fresh = difference.fresh,
                                      &pairs = difference.pairs] {
            return DigestIfLaidOutAsWritten(old, fresh, pairs, stop_);
        });
    }
    FreshFile(const FreshFile&) = delete;
    FreshFile& operator=(const FreshFile&) = delete;
    // The digest is not waited for if the patch is not made.
    ~FreshFile() { stop_ = true; }

    [[nodiscard]] std::optional<Manifest::File> Get() {
        return digest_.valid() ? digest_.get() : std::nullopt;
    }

private:
    std::atomic<bool> stop_ = false;
    std::future<std::optional<Manifest::File>> digest_;
};

std::string TextOf(const Manifest& manifest, const Input& fresh) {
    try {
        return FormatManifest(manifest);
    } catch (const ManifestError& error) {
        throw Error(ErrorCode::Refused, fresh.path,
                    std::string("no manifest can be made of it: ") + error.what());
    }
}

class Maker {
public:
    Maker(const Input& old, const Input& fresh, const MakeOptions& options,
          const ProgressFunction& progress)
        : options_(options),
          progress_(progress),
          difference_(FindDifference(old, fresh, options.manifest, options.threads, progress)),
          saves_(fresh.tree.Count()) {}

    MakeResult Run() {
        RefuseUncarried(difference_, !options_.manifest && !options_.allowLossy);
        if (options_.manifest) layout_ = PlanLayout(difference_);
        PlanMemory();
        std::optional<PatchWriter> writer;
        if (!options_.compact) writer.emplace(options_);
        DigestRemoved();
        FreshFile file(difference_, layout_.possible, options_.threads);
        MakeCarried(writer);
        RemakeUnchanged();
        file_ = file.Get();
        if (options_.manifest) FindMoved(difference_);
        MakeResult result;
        if (writer) {
            writer->StoreText(kAddedList, FormatList(AddedList(difference_)));
            writer->StoreText(kDeletedList, FormatList(DeletedList(difference_)));
            writer->StoreText(kPatchedList, FormatList(PatchedList(difference_)));
            if (options_.manifest) WriteManifest(*writer, TakeManifest(result));
            result.abandoned = writer->Abandoned();
            result.patchBytes = writer->Finish();
        } else {
            WriteCompact(TakeManifest(result), result);
        }
        result.changes = ChangesOf(difference_);
        if (!options_.manifest) result.leftOut = WithoutContent(difference_);
        result.same = static_cast<std::uint64_t>(
            std::ranges::count(difference_.pairs.both, true, &Pair::same));
        return result;
    }

private:
    void PlanMemory();
    void DigestRemoved();
    void MakeCarried(std::optional<PatchWriter>& writer);
    void RemakeUnchanged();
    void TakeRemade(Number fresh, const Remade& remade);
    [[nodiscard]] Manifest TakeManifest(MakeResult& result);
    void WriteManifest(PatchWriter& writer, const Manifest& manifest) const;
    void WriteCompact(const Manifest& manifest, MakeResult& result);

    const MakeOptions& options_;
    const ProgressFunction& progress_;
    Difference difference_;
    MakerLimits limits_;
    LayoutPlan layout_;  // impossible as soon as a member is not stored as packing it gives
    std::vector<std::optional<bool>> saves_;  // by numbers of the new side; see DescribeLayout
    std::optional<Manifest::File> file_;      // the new archive, if it is laid out as written
    std::vector<MemberMaker> workers_;
    std::vector<std::uint64_t> memory_;  // that each carried member takes to make
    std::uint64_t budget_ = 0;           // for all that are made at a time
};

// Finds out what each member takes. What one may take must not depend on how many are made at a
// time, for under a limit the bytes of its diff depend on it.
void Maker::PlanMemory() {
    limits_ = {.diffs = !options_.compact,
               .prove = options_.prove,
               .digests = options_.manifest,
               .remake = layout_.possible,
               .saves = layout_.asksSaves};
    const Input& old = difference_.old;
    const Input& fresh = difference_.fresh;
    const bool limited = options_.memory != delta::kNoLimit;
    const std::uint64_t base =
        kBaseMemory + kMemoryOfMember * (old.tree.Count() + fresh.tree.Count());
    if (limited) limits_.memory = options_.memory > base ? options_.memory - base : 0;
    const MemberMemory memory(old, fresh, limits_);
    for (const Carried& member : difference_.carried) {
        std::uint64_t least = memory.Least(member);
        if (options_.compact) {
            const std::uint64_t oldBytes = member.old ? old.tree[*member.old].size : 0;
            least = std::max(least,
                             compact::LeastMemoryToWrite(oldBytes, fresh.tree[member.fresh].size));
        }
        if (least > limits_.memory) {
            throw Error(ErrorCode::NoMemory, fresh.path,
                        "its diff needs a memory limit of " +
                            std::to_string(((base + least) >> 20) + 1) + "M or more",
                        fresh.tree[member.fresh].name);
        }
        memory_.push_back(memory.ToMake(member));
    }
    if (limited) {
        budget_ = limits_.memory;
        return;
    }
    std::vector<std::uint64_t> most = memory_;
    std::ranges::sort(most, std::greater<>());
    most.resize(std::min<std::size_t>(most.size(), options_.threads));
    budget_ = std::accumulate(most.begin(), most.end(), kBaseMemory);
}

void Maker::DigestRemoved() {
    const Input& old = difference_.old;
    std::uint64_t total = 0;
    for (const Removed& member : difference_.removed) total += old.tree[member.old].size;
    Meter meter(progress_, "digesting removed members", total);
    const auto reader = old.tree.NewReader();
    for (Removed& member : difference_.removed) {
        MD5 md5;
        Sha256 sha256;
        About(old.path, [&] {
            reader->Begin(member.old);
            for (auto piece = reader->Next(); !piece.empty(); piece = reader->Next()) {
                md5.update(piece.data(), piece.size());
                if (options_.manifest) sha256.Update(piece);
                meter.Add(piece.size());
            }
        });
        md5.finalize();
        member.md5 = md5.hex_digest().get();
        difference_.digests.old[member.old] = sha256.Finish();
    }
}

void Maker::MakeCarried(std::optional<PatchWriter>& writer) {
    const Input& old = difference_.old;
    const Input& fresh = difference_.fresh;
    std::vector<Carried>& carried = difference_.carried;
    std::uint64_t total = 0;
    for (const Carried& member : carried) total += fresh.tree[member.fresh].size;
    Meter meter(progress_, "making the patch", total);
    workers_.reserve(options_.threads);
    for (unsigned i = 0; i < options_.threads; ++i) workers_.emplace_back(old, fresh, limits_);
    InOrder<MadeMember> work(
        carried.size(), options_.threads, [this](std::size_t unit) { return memory_[unit]; },
        budget_);
    work.Run(
        meter,
        [&](unsigned worker, std::size_t unit) {
            MadeMember made = workers_[worker].Make(carried[unit]);
            meter.Add(fresh.tree[carried[unit].fresh].size);
            return made;
        },
        [&](std::size_t unit, MadeMember made) {
            Carried& member = carried[unit];
            difference_.digests.fresh[member.fresh] = made.newDigest;
            if (member.old) difference_.digests.old[*member.old] = made.oldDigest;
            member.oldMd5 = std::move(made.oldMd5);
            member.newMd5 = std::move(made.newMd5);
            member.patchBytes = made.packed.data.size();
            TakeRemade(member.fresh, made.remade);
            if (writer) writer->Store(PatchName(fresh.tree[member.fresh].name), made.packed);
        });
    meter.Report(true);
}

void Maker::RemakeUnchanged() {
    if (!layout_.possible) return;
    const Input& fresh = difference_.fresh;
    std::uint64_t total = 0;
    for (const Number number : layout_.remade) total += fresh.tree[number].size;
    Meter meter(progress_, "comparing the storage", total);
    InOrder<Remade> work(
        layout_.remade.size(), options_.threads, [](std::size_t) { return 0; }, 0);
    work.Run(
        meter,
        [&](unsigned worker, std::size_t unit) {
            const Number number = layout_.remade[unit];
            meter.Add(fresh.tree[number].size);
            return workers_[worker].Remake(number);
        },
        [&](std::size_t unit, const Remade& remade) { TakeRemade(layout_.remade[unit], remade); });
}

void Maker::TakeRemade(Number fresh, const Remade& remade) {
    saves_[fresh] = remade.saves;
    layout_.possible = layout_.possible && remade.same;
}

Manifest Maker::TakeManifest(MakeResult& result) {
    Manifest manifest = ManifestOf(difference_, options_.threads);
    manifest.name = options_.name;
    manifest.note = options_.note;
    manifest.storage.base = Storage::Base::Old;
    if (layout_.possible && file_) {
        DescribeLayout(difference_, saves_, manifest);
        const bool bySize = manifest.storage.base == Storage::Base::Canonical;
        if (!bySize || !layout_.unpacksStreams) manifest.archive = file_;
    }
    result.old = manifest.old;
    result.fresh = manifest.fresh;
    result.archive = manifest.archive;
    return manifest;
}

void Maker::WriteManifest(PatchWriter& writer, const Manifest& manifest) const {
    const std::string text = TextOf(manifest, difference_.fresh);
    if (options_.expected && compact::HeadOf(text).end != *options_.expected) {
        throw Error(ErrorCode::Refused, options_.result,
                    "it would not be the patch archive that the maker's sides give: a later "
                    "version of this program made the compact patch");
    }
    writer.StoreText(kManifestName, text);
}

void Maker::WriteCompact(const Manifest& manifest, MakeResult& result) {
    result.patchBytes = compact::WriteCompact(difference_, TextOf(manifest, difference_.fresh),
                                              {.result = options_.result,
                                               .replace = options_.replace,
                                               .dryRun = options_.dryRun,
                                               .prove = options_.prove,
                                               .threads = options_.threads,
                                               .memory = limits_.memory},
                                              progress_);
}

// Finds out before the work whether a manifest can hold the texts.
void JudgeTexts(const MakeOptions& options) {
    Manifest manifest;
    manifest.name = options.name;
    manifest.note = options.note;
    try {
        (void)FormatManifest(manifest);
    } catch (const ManifestError& error) {
        throw Error(ErrorCode::Refused, options.result,
                    std::string("its manifest cannot hold the note or the name: ") + error.what());
    }
}

}  // namespace

MakeResult MakePatch(const Input& old, const Input& fresh, const MakeOptions& options,
                     const ProgressFunction& progress) {
    if (options.manifest) JudgeTexts(options);
    MakeOptions valid = options;
    valid.threads = std::max(valid.threads, 1U);
    return Maker(old, fresh, valid, progress).Run();
}

}  // namespace patch
