#include <random>

#include "library/PatchCalls.h"
#include "library/ResultPlace.h"
#include "library/Translate.h"
#include "patch/Applier.h"
#include "patch/Error.h"
#include "patch/Maker.h"
#include "patch/compact/Expander.h"
#include "patch/compact/Judge.h"
#include "platform/Directories.h"
#include "vaconverter/patch.h"

namespace va {
namespace {

// The new side while the patch archive is made of it: a hidden file beside that, removed at the
// end.
class NewSideFile {
public:
    explicit NewSideFile(const std::filesystem::path& beside) {
        constexpr std::string_view kLetters = "abcdefghijklmnopqrstuvwxyz0123456789";
        std::string name = "." + beside.filename().string() + ".new-";
        std::random_device random;
        for (int i = 0; i < 8; ++i) name += kLetters[random() % kLetters.size()];
        path_ = SystemPath(beside.parent_path() / name);
    }
    ~NewSideFile() { (void)platform::RemoveFile(path_.c_str()); }
    NewSideFile(const NewSideFile&) = delete;
    NewSideFile& operator=(const NewSideFile&) = delete;

    [[nodiscard]] const std::string& Path() const { return path_; }

private:
    std::string path_;
};

class Expansion {
public:
    Expansion(const ExpandPatchOptions& options, const patch::ProgressFunction& progress)
        : options_(options),
          progress_(progress),
          patch_(SystemPath(options.patch), progress),
          old_(SystemPath(options.old)) {}

    ExpandPatchResult Run() {
        RequireOld();
        JudgeResultPlace(options_.result, options_.replace, {options_.old, options_.patch});
        const NewSideFile file(options_.result);
        BuildNewSide(file.Path());
        auto reader = std::make_unique<archive::Reader>(file.Path());
        const archive::Reader* const laidOut = patch_.Facts().archive ? reader.get() : nullptr;
        const auto tree = archive::TreeOf(std::move(reader));
        const patch::MakeOptions make{.result = SystemPath(options_.result),
                                      .replace = options_.replace,
                                      .dryRun = options_.dryRun,
                                      .expected = patch_.ManifestEnd(),
                                      .name = patch_.Facts().name,
                                      .note = patch_.Facts().note,
                                      .threads = options_.threads};
        const patch::MakeResult made =
            patch::MakePatch({old_.Path(), old_.Members(), old_.Reader()},
                             {patch_.Path(), *tree, laidOut}, make, progress_);
        return {.patchSize = made.patchBytes};
    }

private:
    void RequireOld() const {
        const patch::Verdict verdict =
            patch::compact::JudgeSide(old_, patch_, options_.threads, progress_);
        if (verdict.kind == patch::Verdict::Kind::Old) return;
        throw patch::Error(patch::ErrorCode::Refused, old_.Path(),
                           "is not the old side of this patch; run 'va verify' for details");
    }

    void BuildNewSide(const std::string& path) const {
        const std::string folder = SystemPath(options_.result.parent_path());
        const patch::PatchFile forUse(patch_.Path(),
                                      patch::compact::ExpandForUse(patch_, old_, folder, true,
                                                                   options_.memoryLimit, progress_),
                                      options_.threads, progress_);
        const patch::BuildOptions build{.result = path,
                                        .trusted = true,
                                        .threads = options_.threads,
                                        .memoryLimit = options_.memoryLimit};
        (void)patch::BuildResult(old_, forUse, build, progress_);
    }

    const ExpandPatchOptions& options_;
    const patch::ProgressFunction& progress_;
    const patch::compact::CompactFile patch_;
    const patch::OldSide old_;
};

}  // namespace

ExpandPatchResult ExpandPatch(const ExpandPatchOptions& options, const ProgressFunction& progress) {
    return OfPatches([&] {
        const patch::ProgressFunction inner = Passed(progress);
        return Expansion(options, inner).Run();
    });
}

}  // namespace va
