#include "vaconverter/repack.h"

#include <optional>
#include <string>

#include "archive/Check.h"
#include "library/ArchiveAccess.h"
#include "library/ResultPlace.h"
#include "library/Translate.h"
#include "patch/NameList.h"
#include "platform/Directories.h"
#include "platform/Files.h"

namespace va {
namespace {

constexpr const char* kHint = "; run 'va repair' to save what is intact";

// Throws for an archive that may lack members: the new one would have lost them.
void JudgeIndex(const Archive& archive) {
    const std::string path = archive.Path().string();
    if (archive.Info().isFolder) {
        throw Error(ErrorCode::Refused, path + " is a folder; 'va create' makes an archive of it",
                    archive.Path());
    }
    const IndexState index = archive.Info().index;
    if (index == IndexState::Whole || index == IndexState::Absent) return;
    throw Error(ErrorCode::Refused, path + ": its index is missing or damaged" + kHint,
                archive.Path());
}

// Throws for an archive with damaged members, and names them.
void JudgeMembers(const Archive& archive, unsigned threads, const ProgressFunction& progress) {
    archive::CheckOptions options{.workers = threads};
    if (progress) {
        options.progress = [&progress](std::uint64_t done, std::uint64_t total) {
            return progress({"testing", done, total});
        };
    }
    const archive::Judgement judgement = Translated(
        archive.Path(), [&] { return archive::Check(*ArchiveAccess::ReaderOf(archive), options); });
    if (judgement.cancelled) throw Error(ErrorCode::Refused, "cancelled");
    patch::NameList damaged;
    std::string first;
    for (const archive::Finding& finding : judgement.findings) {
        if (!IsDamage(finding.fault)) continue;
        if (first.empty()) first = PublicName(finding.member);
        damaged.Add(PublicName(finding.member) + " (" + finding.text + ")");
    }
    if (damaged.IsEmpty()) return;
    throw Error(ErrorCode::Refused,
                archive.Path().string() + " is damaged:" + damaged.Text() + kHint, archive.Path(),
                first);
}

// Keeps other programs from changing an archive that will be replaced.
platform::FileHandle Lock(const std::string& path) {
    platform::FileHandle file;
    if (!file.Open(path.c_str(), platform::Access::ReadWrite, platform::Creation::OpenExisting,
                   platform::Share::DenyNone)) {
        throw Error(ErrorCode::Refused, path + ": it cannot be opened for writing", path);
    }
    if (!file.LockChanges(0)) {
        throw Error(ErrorCode::Refused, path + ": another program is changing it; try again later",
                    path);
    }
    return file;
}

}  // namespace

RepackResult Repack(const RepackOptions& options, const ProgressFunction& progress) {
    CreateOptions create;
    create.result = options.result;
    create.replace = options.replace;
    std::optional<platform::FileHandle> lock;
    if (options.result.empty()) {
        const std::string path = platform::RealPath(SystemPath(options.archive).c_str());
        create.result = path.empty() ? options.archive : std::filesystem::path(path);
        create.replace = true;
        JudgeIndex(Archive(options.archive));
        lock.emplace(Lock(SystemPath(create.result)));
    } else {
        JudgeResultPlace(options.result, options.replace, {options.archive});
    }
    const Archive archive(options.archive);
    JudgeIndex(archive);
    if (options.dryRun) JudgeMembers(archive, options.threads, progress);

    ArchiveWriter writer;
    writer.AddAll(archive);
    create.dryRun = options.dryRun;
    create.compression = options.compression;
    create.buildVersion = archive.Info().buildVersion;
    create.productCode = archive.Info().productCode;
    create.threads = options.threads;
    create.changed = options.written;
    try {
        const CreateResult created = writer.Create(create, progress);
        return {created.members, archive.Info().fileSize, archive.Info().deadBytes,
                created.bytes,   created.replacesLink,    created.abandoned};
    } catch (const Error& error) {
        // One damaged member ends the work; a person wants to know all of them.
        if (error.code() == ErrorCode::Refused && !error.member().empty()) {
            JudgeMembers(archive, options.threads, progress);
        }
        throw;
    }
}

}  // namespace va
