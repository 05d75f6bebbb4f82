#include "archive/Reader.h"

#include <utility>

#include "archive/Error.h"
#include "platform/Directories.h"

namespace archive {

namespace {

[[nodiscard]] platform::FileHandle OpenForReading(const std::string& path) {
    platform::FileHandle file;
    if (!file.Open(path.c_str(), platform::Access::Read, platform::Creation::OpenExisting,
                   platform::Share::DenyNone)) {
        if (!platform::Exists(path.c_str())) {
            throw Error(ErrorCode::NotFound, "there is no such file");
        }
        throw Error(ErrorCode::CannotOpen, "the file cannot be opened for reading");
    }
    return file;
}

}  // namespace

Reader::Reader(const std::string& path) : Reader(OpenForReading(path)) {}

Reader::Reader(platform::FileHandle file) : file_(std::move(file)) {
    constexpr int kTries = 10;
    for (int tries = 0; tries < kTries; ++tries) {
        contents_ = ReadContents(file_);
        const MemberTable::Ordinal indexed = contents_.members.End();
        WalkRest(file_, contents_);
        // Members that appeared after the index was read may belong to a newer one.
        if (contents_.members.End() == indexed || StillNamesIndex(file_, contents_)) return;
    }
}

std::optional<Member> Reader::Find(std::string_view name) const {
    const auto ordinal = contents_.members.Find(name);
    if (!ordinal) return std::nullopt;
    return contents_.members[*ordinal];
}

std::vector<std::byte> Reader::Read(const Member& member) const {
    ContentReader content = NewContentReader();
    content.Begin(member);
    std::vector<std::byte> bytes;
    // A plain member's size has been compared with the file's; a stream's is only a claim.
    if (!content.IsStream()) bytes.reserve(member.size);
    for (auto piece = content.Next(); !piece.empty(); piece = content.Next()) {
        bytes.insert(bytes.end(), piece.begin(), piece.end());
    }
    return bytes;
}

std::vector<std::byte> Reader::ReadStored(const Member& member) const {
    if (member.DataEnd() > contents_.fileSize) {
        throw Error(ErrorCode::Damaged, "its data reaches past the end of the file",
                    member.dataOffset, member.name);
    }
    std::vector<std::byte> bytes(member.storedSize);
    if (file_.ReadAt(member.dataOffset, bytes) != static_cast<std::int64_t>(bytes.size())) {
        throw Error(ErrorCode::CannotRead, "its data cannot be read", member.dataOffset,
                    member.name);
    }
    return bytes;
}

ContentReader Reader::NewContentReader(std::size_t window) const {
    return {file_, contents_.fileSize, contents_.header.version, window};
}

}  // namespace archive
