// Members to files. The plan (ExtractPlan.h) is made and judged before the first byte is written;
// workers then take runs of members in the order of the archive.
#include <algorithm>
#include <string>
#include <vector>

#include "library/ArchiveAccess.h"
#include "library/ExtractPlan.h"
#include "library/Translate.h"
#include "library/Workers.h"
#include "platform/NewFile.h"
#include "vaconverter/archive.h"

namespace va {
namespace {

class Extraction {
public:
    Extraction(const Archive& archive, std::vector<Planned> plan,
               const platform::FolderHandle& root, const ExtractOptions& options,
               WorkProgress& progress)
        : archive_(archive),
          plan_(std::move(plan)),
          root_(root),
          options_(options),
          progress_(progress) {
        failures_.resize(plan_.size());
    }

    ExtractResult Run() {
        std::vector<Worker> workers;
        for (unsigned i = 0; i < std::max(options_.threads, 1U); ++i) {
            workers.push_back(
                Worker{ArchiveAccess::TreeOf(archive_).NewReader(), FolderChain(root_, true)});
        }
        const auto runs =
            CutRuns(plan_.size(), [&](std::size_t i) { return plan_[i].member->Size(); });
        RunPieces(runs.size(), options_.threads, progress_, [&](unsigned worker, std::size_t run) {
            for (std::size_t i = runs[run].begin; i < runs[run].end; ++i) {
                ExtractOne(workers[worker], i);
            }
        });
        ExtractResult result;
        for (std::size_t i = 0; i < plan_.size(); ++i) {
            if (failures_[i]) {
                result.failures.push_back(std::move(*failures_[i]));
                continue;
            }
            ++result.files;
            result.bytes += plan_[i].member->Size();
            if (options_.written) options_.written(*plan_[i].member, std::string(plan_[i].path));
        }
        return result;
    }

private:
    struct Worker {
        std::unique_ptr<archive::TreeReader> reader;
        FolderChain chain;
    };

    void ExtractOne(Worker& worker, std::size_t number) try {
        WriteFile(worker, plan_[number]);
    } catch (const archive::Error& error) {
        Error failure = Translate(error, archive_.Path());
        if (!options_.keepGoing) throw failure;
        failures_[number] = std::move(failure);
    }

    void WriteFile(Worker& worker, const Planned& planned) {
        worker.reader->Begin(planned.member->Index());
        const platform::FolderHandle* folder =
            options_.dryRun ? nullptr : worker.chain.FolderOf(planned.path);
        if (!options_.dryRun && !folder) RefuseFolderOf(planned, worker.chain, options_);
        platform::NewFile file;
        const std::string name(planned.path.substr(planned.path.rfind('/') + 1));
        if (folder && !file.Begin(*folder, name)) RefuseFile("cannot create", planned, options_);
        for (auto piece = worker.reader->Next(); !piece.empty(); piece = worker.reader->Next()) {
            if (folder && file.Write(piece) != piece.size()) {
                RefuseFile("cannot write", planned, options_);
            }
            progress_.Add(piece.size());
        }
        if (folder && !file.Publish(options_.replace)) {
            RefuseFile("cannot put a file in the place of", planned, options_);
        }
    }

    const Archive& archive_;
    const std::vector<Planned> plan_;
    const platform::FolderHandle& root_;
    const ExtractOptions& options_;
    WorkProgress& progress_;
    std::vector<std::optional<Error>>
        failures_;  // one for each member; each is written by one worker
};

}  // namespace

ExtractResult Extract(const Archive& archive, std::span<const Member> members,
                      const ExtractOptions& options, const ProgressFunction& progress) {
    std::vector<Planned> plan = PlanPaths(archive, members, options);
    std::uint64_t total = 0;
    for (const Planned& planned : plan) total += planned.member->Size();
    JudgeRoom(plan, options);
    platform::FolderHandle root;
    OpenRoot(options, root);
    std::vector<std::string> links;
    std::vector<std::string> abandoned;
    if (root.IsOpen()) {
        links = JudgePlaces(plan, root, options);
        if (!options.dryRun) abandoned = RemoveAbandoned(plan, root);
    }
    WorkProgress work(progress, "extracting", total);
    ExtractResult result = Extraction(archive, std::move(plan), root, options, work).Run();
    result.replacedLinks = std::move(links);
    result.abandoned = std::move(abandoned);
    return result;
}

}  // namespace va
