#include "converter/MemberCopy.h"

#include <new>
#include <string>

#include "archive/Stream.h"
#include "converter/Console.h"
#include "platform/Directories.h"

namespace converter {

using namespace Vorn;

namespace {

constexpr FileMode kWritePlainMember = kCreateOrTruncate | kWritePlain;
constexpr FileMode kWriteCompressedMember = kCreateOrTruncate | kWriteCompressed;

[[nodiscard]] bool FailOn(const char* what, std::string_view name) {
    PrintProblem(what + (" \"" + std::string(name) + "\""));
    return false;
}

}  // namespace

bool MemberContent::ReadAll(File& file) {
    size_ = file.Size();
    try {
        bytes_ = std::make_unique_for_overwrite<std::byte[]>(size_);
    } catch (const std::bad_alloc&) {
        PrintProblem("out of memory for \"" + std::string(file.Name()) + "\"; " +
                     std::string(kMoreMemory));
        return false;
    }
    const bool whole =
        file.Seek(0, SeekFrom::Start) == 0 && file.Read(bytes_.get(), size_) == size_;
    return whole || FailOn("cannot read all of", file.Name());
}

bool WriteWhole(const InternedString& mount, const char* name, FileMode mode,
                std::span<const std::byte> content) {
    File file;
    if (file.Open(mount, name, mode) != RES_OK) return FailOn("cannot create", name);
    const auto size = static_cast<std::uint32_t>(content.size());
    const bool written = file.Write(content.data(), size) == size;
    return (file.Close() && written) || FailOn("cannot write", name);
}

bool StoreMember(const InternedString& mount, const char* name,
                 std::span<const std::byte> content) {
    if (content.empty()) return true;
    const bool compress = content.size() > archive::kLargestPlain || archive::IsStreamMark(content);
    return WriteWhole(mount, name, compress ? kWriteCompressedMember : kWritePlainMember, content);
}

bool ReadFile(const char* path, MemberContent& content) {
    // The file system is searched without regard to letter case: another file would be read in
    // place of a missing one.
    if (platform::GetEntryKind(path) == platform::EntryKind::None) return false;
    File file;
    return file.Open(InternedString(), path, kReadPlain) == RES_OK && content.ReadAll(file);
}

}  // namespace converter
