// Mounting an archive and reading its members.
#include "KernelStandard/FileSubArchive.h"

#include <algorithm>
#include <array>
#include <memory>

#include "KernelStandard/File.h"
#include "KernelStandard/ReadAhead.h"
#include "kernel/Exceptions.h"
#include "kernel/Paths.h"

namespace Vorn {

namespace {

constexpr std::uint32_t kIndexBatch = 4096;  // records read at a time

std::uint32_t defaultBuildVersion = 0;
std::uint32_t defaultProductCode = 0;

}  // namespace

void FileSubArchive::SetDefaultBuildVersion(std::uint32_t value) { defaultBuildVersion = value; }

void FileSubArchive::SetDefaultProductCode(std::uint32_t value) { defaultProductCode = value; }

FileSubArchive::FileSubArchive(const char* path, bool writable)
    : path_(std::string_view(path)), readOnly_(!writable) {
    using namespace platform;
    const ScopedLock hold(lock_);
    header_.buildVersion = defaultBuildVersion;
    header_.productCode = defaultProductCode;
    const Access access = readOnly_ ? Access::Read : Access::ReadWrite;
    if (handle_.Open(path, access, Creation::OpenExisting, Share::DenyNone)) {
        ReadArchive();
    } else if (!readOnly_) {
        CreateArchive();
    } else {
        readFailed_ = true;
    }
}

FileSubArchive::Footprint FileSubArchive::TakeFootprint() {
    Footprint footprint;
    footprint.length = handle_.Length();
    if (!ReadExactly(0, footprint.header)) return footprint;
    const auto fields = std::span(footprint.header).last<kArchiveHeaderSize>();
    const std::uint32_t indexOffset = DecodeHeader(fields).indexOffset;
    if (indexOffset != 0) (void)handle_.ReadAt(indexOffset, footprint.index);
    return footprint;
}

void FileSubArchive::ReadAnew() {
    headerInPlace_ = indexValid_ = indexDirty_ = indexLeft_ = false;
    index_ = ArchiveIndex();
    walkedFrom_ = walkedSize_ = 0;
    ReadArchive();
    for (Search& search : searches_) {
        search.candidates.clear();
        search.prepared = true;
        search.next = index_.End();
        search.position = kMaxArchiveSize;
    }
}

void FileSubArchive::ReadArchive() {
    footprint_ = TakeFootprint();
    std::array<std::byte, 4> mark{};
    const std::int64_t got = handle_.ReadAt(0, mark);
    readFailed_ = got < 0;
    if (got == 0 && !readOnly_) return BeginArchive();
    if (got >= 0 && static_cast<std::size_t>(got) < mark.size()) return;  // open without a header
    if (readFailed_ || !MarkEquals(mark, kArchiveMark) || !ReadHeader()) return CloseArchive();
    if (!header_.IsValid()) return CloseArchive();
    indexValid_ = LoadIndex();
    if (indexValid_ && TakeFootprint() != footprint_) {
        index_ = ArchiveIndex();
        indexValid_ = false;
        indexLeft_ = true;
    }
    if (!indexValid_) header_.indexOffset = 0;
}

bool FileSubArchive::ReadHeader() {
    std::array<std::byte, kChunkHeaderSize> unit{};
    std::uint64_t offset = kFirstChunkOffset;
    ReadAhead ahead(handle_);
    const auto read = [&](std::span<std::byte> into) {
        const bool whole = ahead.Read(offset, into);
        readFailed_ = ahead.Failed();
        return whole;
    };
    ChunkHeader chunk;
    do {
        if (!read(unit)) return false;
        chunk = DecodeChunkHeader(unit);
        offset += unit.size();
    } while (!chunk.Is(kInfoChunk));

    // A short chunk fills only the fields it holds.
    const auto preamble = EncodePreamble(header_);
    std::array<std::byte, kArchiveHeaderSize> fields{};
    std::copy(preamble.end() - kArchiveHeaderSize, preamble.end(), fields.begin());
    const std::size_t held = std::min<std::size_t>(chunk.length, fields.size());
    if (!read(std::span(fields).first(held))) return false;
    header_ = DecodeHeader(fields);
    headerInPlace_ =
        offset + fields.size() == kArchivePreambleSize && chunk.length == fields.size();
    return true;
}

bool FileSubArchive::LoadIndex() {
    if (header_.indexOffset == 0 || header_.memberCount == 0) return false;
    indexLeft_ = true;
    std::array<std::byte, kChunkHeaderSize> chunk{};
    if (!ReadExactly(header_.indexOffset, chunk)) return false;
    if (!DecodeChunkHeader(chunk).Is(kIndexChunk)) return false;

    const std::int64_t length = handle_.Length();
    std::uint64_t offset = std::uint64_t{header_.indexOffset} + kChunkHeaderSize;
    std::uint32_t left = header_.memberCount;
    const std::int64_t held =
        (length - static_cast<std::int64_t>(offset)) / static_cast<std::int64_t>(kIndexRecordSize);
    index_.Reserve(static_cast<std::size_t>(std::clamp<std::int64_t>(held, 0, left)));
    std::vector<std::byte> batch(std::size_t{std::min(left, kIndexBatch)} * kIndexRecordSize);
    while (left > 0) {
        const std::uint32_t wanted = std::min(left, kIndexBatch);
        const auto available = static_cast<std::uint32_t>(std::min<std::uint64_t>(
            wanted, (static_cast<std::uint64_t>(length) - offset) / kIndexRecordSize));
        const auto bytes = std::span(batch).first(std::size_t{available} * kIndexRecordSize);
        if (!ReadExactly(offset, bytes)) return false;
        for (std::size_t at = 0; at < bytes.size(); at += kIndexRecordSize) {
            const IndexRecord record =
                DecodeIndexRecord(bytes.subspan(at).first<kIndexRecordSize>());
            index_.Add(record.dataOffset, record.storedSize, record.entry);
            index_.AddDirectoriesOf(record.entry.Name());
        }
        if (available < wanted) return false;
        offset += bytes.size();
        left -= wanted;
    }
    indexLeft_ = false;
    return true;
}

void FileSubArchive::CloseArchive() {
    handle_.Close();
    header_.version = 0;
}

bool FileSubArchive::ReadExactly(std::uint64_t offset, std::span<std::byte> into) {
    return handle_.ReadAt(offset, into) == static_cast<std::int64_t>(into.size());
}

bool FileSubArchive::OpenRead(File& file, const char* name, OpenFlags /*flags*/) {
    const ScopedLock hold(lock_);
    const MemberRecord* member = LookUp(name);
    if (member == nullptr) return false;
    const bool raw = file.ReadKind() == kReadPlain;
    file.AttachMember(handle_, *this, name, member->dataOffset, member->storedSize,
                      raw ? member->storedSize : member->entry.size);
    return true;
}

bool FileSubArchive::Exists(InternedString& /*substName*/, const char* name) {
    const ScopedLock hold(lock_);
    if (LookUp(name) != nullptr) return true;
    const std::string_view last(FileNamePart(name));
    return *name != '\0' && last.find_first_of(".*?") == std::string_view::npos &&
           index_.IsDirectory(name, true);
}

bool FileSubArchive::Stat(std::uint32_t& writeTime, const char* name) {
    const ScopedLock hold(lock_);
    const MemberRecord* member = LookUp(name);
    if (member != nullptr) writeTime = member->entry.writeTime;
    return member != nullptr;
}

}  // namespace Vorn
