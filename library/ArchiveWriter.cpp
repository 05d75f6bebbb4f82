#include <algorithm>
#include <string>

#include "archive/ChunkWriter.h"
#include "archive/NewArchive.h"
#include "library/NewMembers.h"
#include "library/Packing.h"
#include "library/PatchCalls.h"
#include "library/ResultPlace.h"
#include "library/Translate.h"
#include "library/WriterData.h"
#include "vaconverter/writer.h"

namespace va {
namespace {

// Only sizes that are certain before the work: streams may turn out smaller than contents.
void JudgeRoom(const CreateOptions& options, std::span<const NewMember> members) {
    constexpr std::uint64_t kOverhead = archive::kArchivePreambleSize + archive::kChunkHeaderSize;
    const std::uint64_t plain = kOverhead + PlainBytesOf(members);
    const std::uint64_t records =
        kOverhead + members.size() * (archive::kMemberPrefixSize + archive::kIndexRecordSize);
    const std::uint64_t least = options.compression == Compression::None ? plain : records;
    if (least > archive::kMaxArchiveSize) {
        throw Error(ErrorCode::DiskFull,
                    options.result.string() + " would have " + std::to_string(least) +
                        " bytes, and an archive has less than 4 GiB; make several",
                    options.result);
    }
    JudgeSpace(options.result, least);
}

void Write(std::span<const NewMember> members, const CreateOptions& options,
           const ProgressFunction& progress, CreateResult& created) {
    OfPatches([&] {
        Translated(options.result, [&] {
            archive::NewArchive result(SystemPath(options.result), options.buildVersion,
                                       options.productCode);
            archive::ChunkWriter chunks(result.WriteWithoutMembers(),
                                        archive::kArchivePreambleSize);
            archive::Contents contents =
                archive::NewContents(options.buildVersion, options.productCode);
            PackMembers(members, {options.compression, options.threads}, chunks, contents.members,
                        progress);
            contents.header.memberCount = contents.members.Count();
            contents.header.indexOffset = static_cast<std::uint32_t>(chunks.End());
            chunks.AppendIndex(contents.members);
            chunks.Replace(0, EncodePreamble(contents.header));
            created.bytes = chunks.End();
            chunks.Flush();
            result.Finish();
            result.Publish(options.replace);
            created.abandoned.assign(result.Abandoned().begin(), result.Abandoned().end());
        });
    });
}

}  // namespace

ArchiveWriter::ArchiveWriter() : impl_(std::make_unique<Impl>()) {}
ArchiveWriter::~ArchiveWriter() = default;
ArchiveWriter::ArchiveWriter(ArchiveWriter&&) noexcept = default;
ArchiveWriter& ArchiveWriter::operator=(ArchiveWriter&&) noexcept = default;

void ArchiveWriter::Add(const Archive& source, const Member& member) {
    impl_->members.Add(source, member, member.StoredName());
}

void ArchiveWriter::Add(const Archive& source, const Member& member, std::string_view name) {
    impl_->members.AddNamed(source, member, name);
}

void ArchiveWriter::AddAll(const Archive& source, std::string_view under,
                           const std::function<bool(const Member&)>& wanted) {
    impl_->members.AddAll(source, under, wanted);
}

void ArchiveWriter::AddFile(const std::filesystem::path& file, std::string_view name) {
    impl_->members.AddFile(file, name);
}

void ArchiveWriter::AddContent(std::vector<std::byte> content, std::string_view name) {
    impl_->members.AddContent(std::move(content), name);
}

CreateResult ArchiveWriter::Create(const CreateOptions& options,
                                   const ProgressFunction& progress) const {
    CreateResult created;
    created.replacesLink =
        JudgeResultPlace(options.result, options.replace, impl_->members.Folders());
    const std::vector<NewMember> members = impl_->members.Judged();
    JudgeRoom(options, members);
    created.members = members.size();
    for (const NewMember& member : members) created.contentSize += member.size;
    if (!options.dryRun) Write(members, options, progress, created);
    if (!options.changed) return created;
    for (const NewMember& member : members) {
        options.changed(
            {Change::Kind::Added, PublicName(member.name), member.name, {}, member.size});
    }
    return created;
}

}  // namespace va
