#include "KernelStandard/ArchiveChanges.h"

#include <algorithm>

#include "archive/Error.h"
#include "archive/Stream.h"

namespace Vorn {

namespace {

ArchiveChanges::ProgressHook progressHook = nullptr;

// A member that must appear at once is followed by Flush, so that one appender serves both ways.
constexpr auto kPublish = archive::Appender::Publish::InBatches;

}  // namespace

void ArchiveChanges::SetProgressHook(ProgressHook hook) { progressHook = hook; }

std::optional<int> ArchiveChanges::Patience() const {
    constexpr int kMostPatience = 30'000;  // milliseconds
    if (Active() || !archive_.MayChange()) return std::nullopt;
    // A caller that adds many members must not wait for each of them.
    return waitedInVain_ ? 0 : kMostPatience;
}

bool ArchiveChanges::Enter() {
    if (Active()) return true;
    if (archive_.MayChange()) {
        if (!archive_.File().LockChanges(0)) return false;
        if (archive_.HasChanged()) archive_.Read();
    }
    if (archive_.MayChange()) {
        // All members must become known first: a later walk would find a new member and add it
        // twice.
        archive_.WalkRest();
        appender_.emplace(archive_.File(), archive_.Contents(), kPublish);
    } else {
        // Another process has made it an archive that cannot be changed, or no archive at all. The
        // lock may have been taken just now, or by a wait for that process.
        archive_.File().UnlockChanges();
    }
    return true;
}

void ArchiveChanges::Start() {
    archive_.Start();
    appender_.emplace(archive_.File(), archive_.Contents(), kPublish);
}

ArchiveChanges::Result ArchiveChanges::Add(const char* name, std::uint32_t size, bool compress,
                                           const NextPiece& nextPiece) {
    try {
        // A member of the unfinished batch must be in the file before it can be replaced. If the
        // batch could not be written, there is nothing to replace.
        auto replaces = archive_.Find(name);
        if (replaces) {
            appender_->Settle(*replaces);
            replaces = archive_.Find(name);
        }
        appender_->Begin({.name = name, .compress = compress, .size = size, .replaces = replaces});
        Write(size, compress, nextPiece);
        appender_->Finish();
        if (!batches_) appender_->Flush();
    } catch (const archive::Error& error) {
        // What was written of the member is still marked deleted; the next one takes its place.
        appender_->Abandon();
        return error.Code() == archive::ErrorCode::Full ? Result::Full : Result::Failed;
    }
    // In an archive whose index is maintained, the folders of new members become known when it is
    // mounted next. This is fixed.
    if (!archive_.Contents().Maintained()) archive_.Folders().AddDirectoriesOf(name);
    return Result::Done;
}

void ArchiveChanges::Write(std::uint32_t size, bool compress, const NextPiece& nextPiece) {
    for (std::uint32_t done = 0; done < size;) {
        const auto count = std::min(static_cast<std::uint32_t>(archive::kBlockSize), size - done);
        appender_->Write(nextPiece(done, count));
        done += count;
        if (progressHook) progressHook(done, compress ? appender_->StoredSoFar() : 0);
    }
}

bool ArchiveChanges::Flush() {
    try {
        if (appender_) appender_->Flush();
    } catch (const archive::Error&) {
        return false;
    }
    return true;
}

std::vector<std::string> ArchiveChanges::TakeLost() {
    return appender_ ? appender_->TakeLost() : std::vector<std::string>();
}

bool ArchiveChanges::Delete(const char* name) {
    const auto ordinal = archive_.Find(name);
    if (!ordinal) return false;
    try {
        appender_->Delete(*ordinal);
    } catch (const archive::Error&) {
        return false;
    }
    return true;
}

bool ArchiveChanges::Complete() {
    if (!appender_) return true;
    try {
        appender_->Complete();
    } catch (const archive::Error&) {
        return false;
    }
    appender_.reset();
    // The next change must not read the archive again because of what was written here.
    archive_.Contents().footprint = archive::TakeFootprint(archive_.File());
    archive_.File().UnlockChanges();
    return true;
}

}  // namespace Vorn
