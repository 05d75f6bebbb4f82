// Members to files. The plan (which member becomes which path, and what is in the way) is made
// before the first byte is written; workers then take runs of members in the order of the archive.
#include <algorithm>
#include <string>
#include <unordered_map>
#include <vector>

#include "archive/Names.h"
#include "library/ArchiveAccess.h"
#include "library/Translate.h"
#include "library/Workers.h"
#include "platform/CodePage.h"
#include "platform/Error.h"
#include "platform/FolderHandle.h"
#include "vaconverter/archive.h"

namespace va {
namespace {

constexpr std::size_t kListedAtMost = 10;  // names in one refusal

struct Planned {
    const Member* member;
    std::string path;  // below the folder, in the system's bytes
};

// Collects up to ten names for one message.
class NameList {
public:
    void Add(const std::string& name) {
        if (count_++ < kListedAtMost) names_ += (names_.empty() ? " " : ", ") + name;
    }
    [[nodiscard]] bool IsEmpty() const { return count_ == 0; }
    [[nodiscard]] std::string Text() const {
        return names_ + (count_ > kListedAtMost
                             ? " and " + std::to_string(count_ - kListedAtMost) + " more"
                             : "");
    }

private:
    std::size_t count_ = 0;
    std::string names_;
};

// The path of a member below the folder; empty when stripping leaves nothing of it.
std::string PathOf(const Member& member, const ExtractOptions& options) {
    std::string_view path = member.Name();
    if (options.flat) return std::string(path.substr(path.rfind('/') + 1));
    for (unsigned i = 0; i < options.strip; ++i) {
        const std::size_t slash = path.find('/');
        if (slash == path.npos) return {};
        path.remove_prefix(slash + 1);
    }
    return std::string(path);
}

// The open folders on the way to the last file: neighbours mostly share them.
class FolderChain {
public:
    FolderChain(const platform::FolderHandle& root, bool make) : root_(root), make_(make) {}

    // The folder of the file at `path`, or null when it is not there (or, with make, cannot be
    // made: a file or a link is in the way).
    [[nodiscard]] const platform::FolderHandle* FolderOf(std::string_view path) {
        std::size_t depth = 0;
        const platform::FolderHandle* folder = &root_;
        for (std::size_t slash = path.find('/'); slash != path.npos; slash = path.find('/')) {
            const std::string_view name = path.substr(0, slash);
            path.remove_prefix(slash + 1);
            if (depth == levels_.size() || levels_[depth].name != name) {
                levels_.resize(depth);
                Level level{std::string(name), {}};
                if (!level.folder.OpenIn(*folder, level.name, make_)) return nullptr;
                levels_.push_back(std::move(level));
            }
            folder = &levels_[depth++].folder;
        }
        return folder;
    }

private:
    struct Level {
        std::string name;
        platform::FolderHandle folder;
    };

    const platform::FolderHandle& root_;
    const bool make_;
    std::vector<Level> levels_;
};

std::string FileName(std::string_view path) {
    return std::string(path.substr(path.rfind('/') + 1));
}

std::vector<Planned> PlanPaths(const Archive& archive, std::span<const Member> members,
                               const ExtractOptions& options) {
    std::vector<Planned> plan;
    NameList odd;
    NameList twice;
    std::unordered_map<std::string, const Member*> taken;
    std::uint64_t bytes = 0;
    for (const Member& member : members) {
        std::string path = PathOf(member, options);
        if (path.empty()) continue;
        // The stored name is judged with '/' for '\\', as it would be written.
        if (const char* problem = archive::NameProblem(StoredBytes(path))) {
            odd.Add(member.Name() + ": " + problem);
        }
        if (!taken.emplace(archive::FoldName(StoredBytes(path)), &member).second) twice.Add(path);
        plan.push_back({&member, std::move(path)});
        bytes += member.Size();
    }
    const std::string where = archive.Path().string();
    if (!odd.IsEmpty()) {
        throw Error(ErrorCode::Refused, where + ": names that are no safe paths:" + odd.Text(),
                    archive.Path());
    }
    if (!twice.IsEmpty()) {
        throw Error(ErrorCode::Refused,
                    where + ": several members would become one file:" + twice.Text(),
                    archive.Path());
    }
    if (bytes > options.mostBytes) {
        throw Error(ErrorCode::Refused,
                    where + ": the " + std::to_string(bytes) +
                        " bytes of content are more than the " + std::to_string(options.mostBytes) +
                        " that are allowed",
                    archive.Path());
    }
    return plan;
}

// Nothing is looked up below a folder that is not there.
void RefuseWhatExists(const std::vector<Planned>& plan, const platform::FolderHandle& root,
                      const ExtractOptions& options) {
    NameList exists;
    NameList unfit;
    FolderChain chain(root, false);
    for (const Planned& planned : plan) {
        const platform::FolderHandle* folder = chain.FolderOf(planned.path);
        if (!folder) continue;
        const platform::EntryKind kind = folder->KindOf(FileName(planned.path));
        if (kind == platform::EntryKind::None) continue;
        const bool replaceable =
            kind == platform::EntryKind::File || kind == platform::EntryKind::Link;
        if (!replaceable) unfit.Add(planned.path);
        if (replaceable && !options.replace) exists.Add(planned.path);
    }
    if (!unfit.IsEmpty()) {
        throw Error(ErrorCode::Refused,
                    "folders or devices have the names of files:" + unfit.Text(), options.folder);
    }
    if (!exists.IsEmpty()) {
        throw Error(ErrorCode::Refused, "files exist (-f replaces them):" + exists.Text(),
                    options.folder);
    }
}

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
            if (options_.written) options_.written(*plan_[i].member, plan_[i].path);
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
        const std::string target = (options_.folder / planned.path).string();
        const platform::FolderHandle* folder =
            options_.dryRun ? nullptr : worker.chain.FolderOf(planned.path);
        if (!options_.dryRun && !folder) {
            throw Error(
                ErrorCode::Refused,
                "cannot open the folder of '" + target + "'; a file or a link is in the way",
                target);
        }
        platform::NewFile file;
        const auto refuse = [&](const char* what) {
            const platform::Error error = platform::LastError();
            const bool full = error.kind == platform::ErrorKind::NoSpace ||
                              error.kind == platform::ErrorKind::TooLarge;
            throw Error(full ? ErrorCode::DiskFull : ErrorCode::Refused,
                        std::string(what) + " '" + target + "': " + error.Message() +
                            "; make room or look at the folder's permissions, or name another "
                            "folder",
                        target);
        };
        if (folder && !file.Begin(*folder, FileName(planned.path))) refuse("cannot create");
        for (auto piece = worker.reader->Next(); !piece.empty(); piece = worker.reader->Next()) {
            if (folder && file.Write(piece) != piece.size()) refuse("cannot write");
            progress_.Add(piece.size());
        }
        if (folder && !file.Publish(options_.replace)) refuse("cannot put a file in the place of");
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
    const std::string folder = options.folder.empty() ? "." : SystemPath(options.folder);
    platform::FolderHandle root;
    if (root.Open(folder.c_str())) {
        RefuseWhatExists(plan, root, options);
    } else if (!options.dryRun &&
               (!platform::MakeDirectories(folder.c_str()) || !root.Open(folder.c_str()))) {
        throw Error(ErrorCode::Refused, "cannot make the folder '" + folder + "'", folder);
    }
    WorkProgress work(progress, "extracting", total);
    return Extraction(archive, std::move(plan), root, options, work).Run();
}

}  // namespace va
