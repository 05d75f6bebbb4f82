#include <future>
#include <memory>

#include "library/ApplyPlace.h"
#include "library/PatchCalls.h"
#include "library/PatchChanges.h"
#include "library/PatchVerdict.h"
#include "library/Translate.h"
#include "patch/Applier.h"
#include "patch/Error.h"
#include "patch/OldSide.h"
#include "patch/PatchFile.h"
#include "patch/Proof.h"
#include "patch/compact/Expander.h"
#include "patch/compact/Judge.h"
#include "vaconverter/patch.h"

namespace va {
namespace {

std::unique_ptr<const patch::OldSide> OpenOld(const std::string& path) {
    return std::make_unique<const patch::OldSide>(path);
}

class Application {
public:
    Application(const ApplyPatchOptions& options, const patch::PatchFile& patchFile,
                const patch::OldSide& old, const patch::ProgressFunction& progress)
        : options_(options), progress_(progress), patch_(patchFile), old_(old) {}

    ApplyPatchResult Run() {
        ApplyPatchResult result;
        if (patch_.GetManifest()) result.note = patch_.GetManifest()->note;
        result.changes = ChangesOf(patch_);
        result.counts = CountsOf(result.changes, old_.Reachable().size());
        const bool proves = ResultProves();
        result.alreadyApplied = IsPromised() || (!options_.trust && !proves && Judge());
        if (options_.check || (result.alreadyApplied && options_.result.empty())) return result;

        const ApplyPlace place(options_, patch_);
        result.result = place.Path();
        if (place.IsOld() && result.alreadyApplied) return result;
        if (place.IsTaken()) {
            if (proves && !result.alreadyApplied) (void)Judge();
            if (IsNewSide(place.Path())) {
                result.alreadyApplied = true;
                return result;
            }
        }
        result.replacesLink = place.Check();
        Build(result);
        return result;
    }

private:
    // Whether the digest of the result, which the patch promises, can prove the old side as well:
    // then only the members that change need to be read before. A wrong guess costs time alone.
    [[nodiscard]] bool ResultProves() const {
        const auto& manifest = patch_.GetManifest();
        if (options_.trust || options_.check || options_.dryRun || !manifest ||
            !manifest->archive) {
            return false;
        }
        return old_.JudgeListed(patch_, options_.threads, progress_).kind ==
               patch::Verdict::Kind::Old;
    }

    // Whether the sides of the patch have the same members and contents.
    [[nodiscard]] bool HasEqualSides() const {
        const auto& manifest = patch_.GetManifest();
        return manifest && manifest->old == manifest->fresh;
    }

    // Whether the old side is the promised archive, which only stores equal contents otherwise.
    [[nodiscard]] bool IsPromised() const {
        if (!HasEqualSides() || !patch_.GetManifest()->archive || !old_.Reader()) return false;
        const patch::Manifest::File& promise = *patch_.GetManifest()->archive;
        if (old_.Reader()->All().fileSize != promise.bytes) return false;
        patch::Meter meter(progress_, "judging the old side", promise.bytes);
        return patch::About(old_.Path(), [&] {
            return patch::DigestOfFile(old_.Reader()->File(), promise.bytes, meter) ==
                   promise.sha256;
        });
    }

    // Returns whether the patch has been applied already.
    [[nodiscard]] bool Judge() const {
        const Verdict verdict =
            PublicVerdict(old_.Judge(patch_, options_.threads, progress_), old_.Path());
        if (options_.judged) options_.judged(verdict);
        if (verdict.message.empty()) {
            return verdict.side == Verdict::Side::New ||
                   (HasEqualSides() && !patch_.GetManifest()->archive);
        }
        throw Error(ErrorCode::Refused, verdict.message, options_.old,
                    verdict.members.empty() ? "" : verdict.members.front());
    }

    // Whether an archive is what this patch gives. Lists alone do not say enough for that.
    [[nodiscard]] bool IsNewSide(const std::filesystem::path& path) const {
        if (!patch_.GetManifest()) return false;
        try {
            const patch::OldSide found(SystemPath(path));
            const patch::Verdict verdict = found.Judge(patch_, options_.threads, progress_);
            return verdict.kind == patch::Verdict::Kind::New;
        } catch (const patch::Error&) {
            return false;
        }
    }

    void Build(ApplyPatchResult& result) const {
        patch::BuildOptions build;
        build.result = SystemPath(result.result);
        build.replace = options_.replace;
        build.dryRun = options_.dryRun;
        build.trusted = options_.trust;
        // Refuses an old side whose result is not the promised one; one that only stores its
        // members otherwise is good.
        build.confirm = [this] { (void)Judge(); };
        build.threads = options_.threads;
        build.memoryLimit = options_.memoryLimit;
        const patch::Built built = result.alreadyApplied
                                       ? patch::BuildCopy(old_, patch_, build, progress_)
                                       : patch::BuildResult(old_, patch_, build, progress_);
        result.resultSize = built.bytes;
        result.resultMembers = built.members;
        result.archive = built.archive;
        result.abandoned.assign(built.abandoned.begin(), built.abandoned.end());
        result.storedOtherwise = !options_.dryRun && !result.alreadyApplied &&
                                 patch_.GetManifest() && patch_.GetManifest()->archive &&
                                 !built.archive;
    }

    const ApplyPatchOptions& options_;
    const patch::ProgressFunction& progress_;
    const patch::PatchFile& patch_;
    const patch::OldSide& old_;
};

// Turns a compact patch into one for use, and applies that. The old side is judged before: nothing
// can be made of another one.
class CompactApplication {
public:
    CompactApplication(const ApplyPatchOptions& options, const patch::ProgressFunction& progress)
        : options_(options),
          progress_(progress),
          patch_(SystemPath(options.patch), progress),
          old_(SystemPath(options.old)) {}

    ApplyPatchResult Run() {
        const bool isNew = !options_.trust && Judge();
        if (isNew && (options_.check || options_.result.empty())) return NothingToDo();
        ApplyPatchOptions apply = options_;
        apply.trust = true;
        if (isNew && IsFolder(apply.result)) apply.result /= NameOfResult();
        if (isNew && !options_.replace && IsNewSide(apply.result)) {
            ApplyPatchResult result = NothingToDo();
            result.result = apply.result;
            return result;
        }
        const std::string folder = WorkingFolder();
        const patch::PatchFile forUse(
            SystemPath(options_.patch),
            isNew ? patch::compact::NothingForUse(folder)
                  : patch::compact::ExpandForUse(patch_, old_, folder, !options_.trust,
                                                 options_.memoryLimit, progress_),
            options_.threads, progress_);
        ApplyPatchResult result = Application(apply, forUse, old_, progress_).Run();
        if (isNew) {
            result.note = patch_.Facts().note;
            result.alreadyApplied = true;
        }
        return result;
    }

private:
    // Returns whether the old side is the new one already.
    [[nodiscard]] bool Judge() const {
        const Verdict verdict = PublicVerdict(
            patch::compact::JudgeSide(old_, patch_, options_.threads, progress_), old_.Path());
        if (options_.judged) options_.judged(verdict);
        if (verdict.message.empty()) return verdict.side == Verdict::Side::New;
        throw Error(ErrorCode::Refused, verdict.message, options_.old,
                    verdict.members.empty() ? "" : verdict.members.front());
    }

    [[nodiscard]] bool IsNewSide(const std::filesystem::path& path) const {
        try {
            const patch::OldSide found(SystemPath(path));
            return patch::compact::JudgeSide(found, patch_, options_.threads, progress_).kind ==
                   patch::Verdict::Kind::New;
        } catch (const patch::Error&) {
            return false;
        }
    }

    [[nodiscard]] ApplyPatchResult NothingToDo() const {
        ApplyPatchResult result;
        result.note = patch_.Facts().note;
        result.alreadyApplied = true;
        result.counts.same = old_.Reachable().size();
        return result;
    }

    [[nodiscard]] std::string NameOfResult() const {
        const std::string& name = patch_.Facts().name;
        return name.empty() ? NameBesideOld(options_) : name;
    }

    // Where the result goes, there is room for what it is made of.
    [[nodiscard]] std::string WorkingFolder() const {
        if (options_.check || options_.dryRun) {
            return SystemPath(std::filesystem::temp_directory_path());
        }
        if (IsFolder(options_.result)) return SystemPath(options_.result);
        const std::filesystem::path& beside =
            options_.result.empty() ? options_.old : options_.result;
        return SystemPath(beside.parent_path());
    }

    const ApplyPatchOptions& options_;
    const patch::ProgressFunction& progress_;
    const patch::compact::CompactFile patch_;
    const patch::OldSide old_;
};

}  // namespace

ApplyPatchResult ApplyPatch(const ApplyPatchOptions& options, const ProgressFunction& progress) {
    return OfPatches([&] {
        const patch::ProgressFunction inner = Passed(progress);
        if (patch::compact::CompactFile::IsMeant(SystemPath(options.patch))) {
            return CompactApplication(options, inner).Run();
        }
        // The old side is opened while the patch is judged; what is wrong with the patch is said
        // first.
        auto opening = std::async(options.threads > 1 ? std::launch::async : std::launch::deferred,
                                  OpenOld, SystemPath(options.old));
        const patch::PatchFile patchFile(SystemPath(options.patch), options.threads, inner);
        const std::unique_ptr<const patch::OldSide> old = opening.get();
        return Application(options, patchFile, *old, inner).Run();
    });
}

}  // namespace va
