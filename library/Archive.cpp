#include "vaconverter/archive.h"

#include <algorithm>
#include <utility>

#include "archive/Check.h"
#include "archive/Names.h"
#include "archive/Pattern.h"
#include "archive/Reader.h"
#include "archive/Tree.h"
#include "library/ArchiveAccess.h"
#include "library/Translate.h"
#include "library/Workers.h"
#include "platform/Directories.h"

namespace va {
namespace {

IndexState StateOf(archive::IndexState state) {
    switch (state) {
        case archive::IndexState::Whole:
            return IndexState::Whole;
        case archive::IndexState::Absent:
            return IndexState::Absent;
        case archive::IndexState::Missing:
            return IndexState::Missing;
        default:  // callers need not know in which way
            return IndexState::Damaged;
    }
}

bool IsFolder(const std::string& path) {
    platform::FileStatus status;
    return platform::GetStatus(path.c_str(), status) && status.IsDirectory();
}

}  // namespace

Archive::Archive(const std::filesystem::path& path) : impl_(std::make_unique<Impl>()) {
    impl_->path = path;
    Translated(path, [&] {
        const std::string name = SystemPath(path);
        impl_->info.isFolder = IsFolder(name);
        if (impl_->info.isFolder) {
            impl_->tree = archive::OpenFolder(name);
        } else {
            auto reader = std::make_unique<archive::Reader>(name);
            impl_->reader = reader.get();  // the tree owns it; Check and Info need more than a tree
            const archive::Contents& contents = reader->All();
            impl_->info.formatVersion = contents.header.version;
            impl_->info.buildVersion = contents.header.buildVersion;
            impl_->info.productCode = contents.header.productCode;
            impl_->info.index = StateOf(contents.index);
            impl_->info.fileSize = contents.fileSize;
            impl_->tree = archive::TreeOf(std::move(reader));
        }
    });
    ListMembers();
}

Archive::~Archive() = default;
Archive::Archive(Archive&&) noexcept = default;
Archive& Archive::operator=(Archive&&) noexcept = default;

void Archive::ListMembers() {
    const archive::Tree& tree = *impl_->tree;
    std::uint64_t used = 0;
    impl_->members.reserve(tree.Count());
    for (std::size_t i = 0; i < tree.Count(); ++i) {
        const archive::TreeMember from = tree[i];
        Member& to = impl_->members.emplace_back();
        to.name_ = PublicName(from.name);
        // Mostly equal: one string then serves as both.
        if (to.name_ != from.name) to.storedName_ = from.name;
        to.size_ = from.size;
        to.storedSize_ = from.storedSize;
        to.offset_ = from.dataOffset;
        to.index_ = i;
        // An index has 0 for a check sum that it does not record.
        if (from.crc != 0) to.crc_ = from.crc;
        to.compressed_ = from.compressed;
        impl_->info.contentSize += from.size;
        impl_->info.storedSize += from.storedSize;
        used += from.storedSize;
    }
    if (impl_->info.isFolder) {
        impl_->info.fileSize = impl_->info.contentSize;
        for (const archive::Unusable& file : tree.LeftOut()) {
            impl_->skipped.push_back({file.name, file.reason, file.isContent});
        }
        return;
    }
    // A member has 296 bytes before its data (a chunk header and its entry) and a record of as many
    // in the index. What is neither that, nor header, nor data is dead.
    constexpr std::uint64_t kChunkOverhead = 296;
    const archive::Contents& contents = impl_->reader->All();
    used += contents.headerEnd + tree.Count() * kChunkOverhead;
    if (contents.Maintained()) used += 8 + tree.Count() * kChunkOverhead;
    // A damaged index may count bytes twice.
    impl_->info.deadBytes = contents.fileSize > used ? contents.fileSize - used : 0;
}

const std::filesystem::path& Archive::Path() const noexcept { return impl_->path; }
const ArchiveInfo& Archive::Info() const noexcept { return impl_->info; }
std::span<const LeftOut> Archive::Skipped() const noexcept { return impl_->skipped; }
std::span<const Member> Archive::Members() const noexcept { return impl_->members; }

std::vector<Member> Archive::Members(std::string_view pattern) const {
    const std::string stored = StoredBytes(pattern);
    std::vector<Member> found;
    std::ranges::copy_if(impl_->members, std::back_inserter(found), [&](const Member& member) {
        return archive::MatchesPattern(member.StoredName(), stored);
    });
    return found;
}

std::optional<Member> Archive::Find(std::string_view name) const {
    const std::string stored = StoredBytes(name);
    const auto number = impl_->tree->Find(stored);
    if (!number) return std::nullopt;
    const Member& first = impl_->members[*number];
    if (!impl_->info.isFolder || first.StoredName() == stored) return first;
    // Names that differ in letter case only follow each other.
    for (std::size_t i = *number + 1; i < impl_->members.size(); ++i) {
        const Member& twin = impl_->members[i];
        if (!archive::SameName(twin.StoredName(), stored)) break;
        if (twin.StoredName() == stored) return twin;
    }
    return first;
}

std::vector<std::byte> Archive::Read(std::string_view name, std::uint64_t limit) const {
    const std::optional<Member> member = Find(name);
    if (!member) {
        throw Error(ErrorCode::NotFound,
                    impl_->path.string() + ": there is no member '" + std::string(name) + "'",
                    impl_->path, std::string(name));
    }
    return Read(*member, limit);
}

std::vector<std::byte> Archive::Read(const Member& member, std::uint64_t limit) const {
    // Before anything is read: the size is what the file claims.
    if (member.Size() > limit) {
        throw Error(ErrorCode::Refused,
                    impl_->path.string() + ": " + member.Name() + ": its " +
                        std::to_string(member.Size()) + " bytes are more than the " +
                        std::to_string(limit) + " that are allowed",
                    impl_->path, member.Name());
    }
    class Collector final : public Sink {
    public:
        void Write(std::span<const std::byte> bytes) override {
            // Grows with what is read: a claimed size reserves no memory.
            content.insert(content.end(), bytes.begin(), bytes.end());
        }
        std::vector<std::byte> content;
    } collector;
    Read(member, collector);
    return std::move(collector.content);
}

void Archive::Read(const Member& member, Sink& sink) const {
    Translated(impl_->path, [&] {
        const auto reader = impl_->tree->NewReader();
        reader->Begin(member.Index());
        for (auto piece = reader->Next(); !piece.empty(); piece = reader->Next()) sink.Write(piece);
    });
}

CheckResult Archive::Check(unsigned threads, std::size_t most,
                           const ProgressFunction& progress) const {
    CheckResult result;
    // Files have no check sums, so the only findings are files that cannot be read or that have
    // changed, and names that differ in letter case only.
    if (impl_->info.isFolder) {
        const auto find = [&](std::string what, const Member& member) {
            if (result.findings.size() < most) {
                result.findings.push_back({std::move(what), member.Name()});
            }
            ++result.found;
        };
        const Member* before = nullptr;
        WorkProgress work(progress, "reading", impl_->info.contentSize);
        const auto reader = impl_->tree->NewReader();
        for (const Member& member : impl_->members) {
            if (before && archive::SameName(before->StoredName(), member.StoredName())) {
                find("its name is that of '" + before->Name() +
                         "', letter case ignored; rename one of them",
                     member);
            }
            before = &member;
            try {
                reader->Begin(member.Index());
                for (auto piece = reader->Next(); !piece.empty(); piece = reader->Next()) {
                    work.Add(piece.size());
                }
                result.contentSize += member.Size();
            } catch (const archive::Error& error) {
                find(error.Reason(), member);
            }
        }
        return result;
    }
    archive::CheckOptions options{.workers = threads, .findings = most};
    if (progress) {
        options.progress = [&progress](std::uint64_t done, std::uint64_t total) {
            return progress({"testing", done, total});
        };
    }
    const archive::Judgement judgement =
        Translated(impl_->path, [&] { return archive::Check(*impl_->reader, options); });
    if (judgement.cancelled) throw Error(ErrorCode::Refused, "cancelled");
    for (const archive::Finding& finding : judgement.findings) {
        result.findings.push_back({finding.text, PublicName(finding.member), finding.offset});
    }
    result.found = judgement.damages + judgement.oddities;
    result.contentSize = judgement.contentBytes;
    return result;
}

bool MatchesPattern(std::string_view name, std::string_view pattern) {
    return archive::MatchesPattern(StoredBytes(name), StoredBytes(pattern));
}

}  // namespace va
