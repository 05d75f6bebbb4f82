#include "converter/MemberCheck.h"

#include <optional>

#include "KernelStandard/FileSubArchive.h"
#include "KernelStandard/FileSubstList.h"
#include "archive/Crc32.h"
#include "converter/Console.h"
#include "converter/MemberCopy.h"

namespace converter {

using namespace Vorn;

namespace {

[[nodiscard]] std::optional<archive::FindEntry> EntryOf(const InternedString& mount,
                                                        const char* member) {
    const auto backends = FileSubstList::Instance().Collect(mount);
    for (const auto& backend : backends.value_or(FileSubs())) {
        if (!backend->IsKind(kKindArchive)) continue;
        auto& archive = static_cast<FileSubArchive&>(*backend);
        archive::FindEntry entry;
        const int search = archive.BeginFind();
        const bool found = archive.FindNext(member, search, entry, false, true);
        archive.EndFind(search);
        if (found) return entry;
    }
    return std::nullopt;
}

[[nodiscard]] std::uint32_t SumOf(std::span<const std::byte> content) {
    archive::Crc32 sum;
    sum.Update(content);
    return sum.Value();
}

[[nodiscard]] bool AgreesWithCheckSum(const InternedString& mount, const char* member,
                                      const File& file, std::span<const std::byte> content) {
    const auto entry = EntryOf(mount, member);
    if (!entry || entry->crc == 0 || entry->crc == SumOf(content)) return true;
    const bool storedPlain = (entry->attributes & archive::kMemberCompressed) == 0;
    if (!storedPlain || !file.IsStream()) return false;

    // The content of a plain member may begin like a stream. It was expanded, but the sum is that
    // of the bytes as they are stored.
    File stored;
    MemberContent bytes;
    return stored.Open(mount, member, kReadPlain) == RES_OK && bytes.ReadAll(stored) &&
           entry->crc == SumOf(bytes.Bytes());
}

}  // namespace

bool CheckContent(const InputArchive& input, const char* member, const File& file,
                  std::span<const std::byte> content) {
    if (AgreesWithCheckSum(input.mount, member, file, content)) return true;
    PrintProblem('"' + input.path + "\" is damaged: the content of \"" + member +
                 "\" does not match its check sum; fetch the archive again");
    return false;
}

}  // namespace converter
