#include "patch/PatchFile.h"

#include <algorithm>
#include <array>
#include <limits>
#include <span>

#include "archive/Check.h"
#include "archive/Names.h"
#include "patch/Contents.h"
#include "patch/Error.h"
#include "patch/Runs.h"

namespace patch {
namespace {

// Lists are read into memory whole. This bounds what a hostile patch can make us hold; the list of
// a million members takes a tenth of it.
constexpr std::uint64_t kMostListBytes = std::uint64_t{1} << 30;

// "1,700,000"
std::string WithCommas(std::uint64_t number) {
    std::string text = std::to_string(number);
    for (std::size_t i = text.size(); i > 3; i -= 3) text.insert(i - 3, 1, ',');
    return text;
}

// Bytes of the file that the header promises; 0 if it names no index.
std::uint64_t PromisedSize(const archive::Contents& contents) {
    const archive::ArchiveHeader& header = contents.header;
    if (header.indexOffset == 0) return 0;
    return header.indexOffset + archive::kChunkHeaderSize +
           std::uint64_t{header.memberCount} * archive::kIndexRecordSize;
}

std::unique_ptr<archive::Reader> Open(const std::string& path) try {
    return std::make_unique<archive::Reader>(path);
} catch (const archive::Error& error) {
    if (error.Code() != archive::ErrorCode::NotAnArchive) throw Error(path, error);
    throw Error(ErrorCode::Refused, path, "is not a patch, or is damaged; download it again");
}

bool IsReserved(std::string_view name) {
    return IsListName(name) || archive::FoldName(name).starts_with(kOwnFolder);
}

}  // namespace

PatchFile::PatchFile(std::string path, unsigned threads, const ProgressFunction& progress)
    : PatchFile(path, Open(path), threads, progress) {}

PatchFile::PatchFile(std::string path, std::unique_ptr<archive::Reader> patch, unsigned threads,
                     const ProgressFunction& progress)
    : path_(std::move(path)), reader_(patch.get()), tree_(archive::TreeOf(std::move(patch))) {
    About(path_, [&] {
        JudgeStructure(threads, progress);
        if (tree_->Find(kManifestName)) TakeManifest();
        TakeLists();
        JudgeAdded(threads, progress);
    });
}

bool PatchFile::IsMeant(const archive::Reader& reader) {
    return std::ranges::any_of(std::array{kAddedList, kDeletedList, kPatchedList, kManifestName},
                               [&](const char* name) { return reader.Find(name).has_value(); });
}

const Change* PatchFile::OfOld(std::string_view name) const {
    const auto found = ofOld_.find(archive::FoldName(name));
    return found == ofOld_.end() ? nullptr : &changes_[found->second];
}

const Change* PatchFile::OfNew(std::string_view name) const {
    const auto found = ofNew_.find(archive::FoldName(name));
    return found == ofNew_.end() ? nullptr : &changes_[found->second];
}

void PatchFile::FailDamaged(const std::string& reason, std::string_view member) const {
    throw Error(ErrorCode::Refused, path_,
                "damaged: " + (member.empty() ? "" : ShownName(member) + ": ") + reason +
                    "; download it again");
}

void PatchFile::JudgeStructure(unsigned threads, const ProgressFunction& progress) const {
    // First, since most damaged patches are downloads that were cut off: the message then says how
    // much is missing.
    const std::uint64_t size = reader_->All().fileSize;
    const std::uint64_t promised = PromisedSize(reader_->All());
    if (promised > size) {
        throw Error(ErrorCode::Refused, path_,
                    "damaged or cut off (" + WithCommas(size) + " of " + WithCommas(promised) +
                        " bytes); download it again");
    }
    archive::CheckOptions options{.workers = threads,
                                  .findings = std::numeric_limits<std::size_t>::max()};
    if (progress) {
        options.progress = [&](std::uint64_t done, std::uint64_t total) {
            return progress("judging the patch", done, total);
        };
    }
    const archive::Judgement judgement = archive::Check(*reader_, options);
    if (judgement.cancelled) throw Cancelled();
    // A patch is never changed in place: what would be odd in an archive is damage here. The names
    // are those of the two sides, which may be odd.
    for (const archive::Finding& finding : judgement.findings) {
        if (finding.fault != archive::Fault::OddName) FailDamaged(finding.text, finding.member);
    }
    if (IsMeant(*reader_)) return;
    throw Error(ErrorCode::Refused, path_,
                "is an archive and not a patch; 'va diff OLD NEW' makes patches");
}

std::string PatchFile::ReadText(const char* member, std::uint64_t most) const {
    const auto number = tree_->Find(member);
    if (!number) FailDamaged("it is missing", member);
    if ((*tree_)[*number].size > most) FailDamaged("it is too long", member);
    const std::vector<std::byte> bytes = ReadContent(*tree_->NewReader(), *tree_, *number);
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

void PatchFile::TakeManifest() {
    try {
        manifest_ = ParseManifest(ReadText(kManifestName, kMostManifestBytes));
    } catch (const ManifestError& error) {
        FailDamaged(error.what(), kManifestName);
    }
    using enum Change::Kind;
    for (const auto& [name, bytes, sha256] : manifest_->added) {
        Add({.kind = Added, .name = name, .newDigest = sha256, .newBytes = bytes});
    }
    for (const auto& [name, oldName, bytes, sha256] : manifest_->moved) {
        Add({.kind = Added,
             .name = name,
             .newDigest = sha256,
             .newBytes = bytes,
             .movedFrom = oldName});
    }
    for (const std::string& name : manifest_->empty) {
        Add({.kind = Added, .name = name, .newDigest = Sha256Of(std::string_view())});
    }
    for (const auto& [name, oldBytes, oldSha256, newBytes, newSha256] : manifest_->changed) {
        Add({.kind = Changed,
             .name = name,
             .oldDigest = oldSha256,
             .newDigest = newSha256,
             .oldBytes = oldBytes,
             .newBytes = newBytes});
    }
    for (const auto& [name, bytes, sha256] : manifest_->removed) {
        Add({.kind = Removed, .name = name, .oldDigest = sha256, .oldBytes = bytes});
    }
}

// Without a manifest the lists are all there is; with one they must name the same members.
void PatchFile::TakeLists() {
    const List added = ParseList(ReadText(kAddedList, kMostListBytes), 1);
    const List patched = ParseList(ReadText(kPatchedList, kMostListBytes), 2);
    const List deleted = ParseList(ReadText(kDeletedList, kMostListBytes), 1);
    if (manifest_) {
        CompareWithList(added, Change::Kind::Added, manifest_->empty.size());
        CompareWithList(patched, Change::Kind::Changed, 0);
        CompareWithList(deleted, Change::Kind::Removed, 0);
        return;
    }
    using enum Change::Kind;
    for (const auto& [name, digest] : added) {
        Add({.kind = Added, .name = name, .newDigest = Md5FromHex(digest)});
    }
    for (const auto& [name, digests] : patched) {
        const std::string_view old = OldDigest(digests);
        Add({.kind = Changed,
             .name = name,
             .oldDigest = Md5FromHex(old),
             .newDigest = Md5FromHex(std::string_view(digests).substr(old.size() + 1))});
    }
    for (const auto& [name, digest] : deleted) {
        Add({.kind = Removed, .name = name, .oldDigest = Md5FromHex(digest)});
    }
}

// The fixed converter applies the lists and ignores the manifest, so both must say the same, or the
// two programs would make different results. `unlisted` changes of that kind are in no list.
void PatchFile::CompareWithList(const List& list, Change::Kind kind, std::size_t unlisted) const {
    const auto isOfKind = [kind](const Change& change) { return change.kind == kind; };
    const auto count = static_cast<std::size_t>(std::ranges::count_if(changes_, isOfKind));
    const bool same =
        count == list.size() + unlisted && std::ranges::all_of(list, [&](const auto& record) {
            const Change* change =
                kind == Change::Kind::Removed ? OfOld(record.first) : OfNew(record.first);
            return change != nullptr && change->kind == kind;
        });
    if (!same) FailDamaged("its lists and its manifest disagree");
}

void PatchFile::Add(Change change) {
    if (change.name.empty() || IsReserved(change.name)) {
        FailDamaged("a list has a name that a patch cannot hold");
    }
    if (change.kind != Change::Kind::Removed) {
        change.held = tree_->Find(change.name);
        // An empty content need not be stored: its digest says all of it.
        const bool mayLack =
            change.kind == Change::Kind::Added && change.newDigest == DigestOf(Digests(), {});
        if (!change.held && !mayLack) FailDamaged("it is listed and missing", change.name);
    }
    const std::string folded = archive::FoldName(change.name);
    const std::size_t number = changes_.size();
    const bool isNew =
        (change.kind == Change::Kind::Added || ofOld_.emplace(folded, number).second) &&
        (change.kind == Change::Kind::Removed || ofNew_.emplace(folded, number).second);
    if (!isNew) FailDamaged("it is listed twice", change.name);
    changes_.push_back(std::move(change));
}

// Added members are copied as they are stored, so their contents are compared here. A diff is
// judged by what it gives, when it is applied.
void PatchFile::JudgeAdded(unsigned threads, const ProgressFunction& progress) const {
    std::vector<const Change*> held;
    std::uint64_t bytes = 0;
    for (const Change& change : changes_) {
        if (change.kind != Change::Kind::Added || !change.held) continue;
        held.push_back(&change);
        bytes += (*tree_)[*change.held].size;
    }
    Meter meter(progress, "judging the patch", bytes);
    const auto readers = NewReaders(*tree_, threads);
    const auto runs =
        CutRuns(held.size(), [&](std::size_t i) { return (*tree_)[*held[i]->held].size; });
    // An item that fails ends its run, so that the first one in the order of the lists is named.
    ForEachItem(runs, threads, meter, [&](unsigned worker, std::size_t i) {
        const Change& change = *held[i];
        if (DigestContent(*readers[worker], *change.held, Digests(), meter) != change.newDigest) {
            FailDamaged("its content is not the one that is listed", change.name);
        }
    });
}

}  // namespace patch
