#include "tools/va/tag/TagFile.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>

#include "assetdata/TBuffer.h"
#include "assetdata/TDBBinaryFile.h"
#include "assetdata/TDBContainerTag.h"
#include "assetdata/TagText.h"
#include "kernel/Paths.h"
#include "tools/va/ExitCode.h"
#include "tools/va/tag/Input.h"

namespace va::tool {
namespace {

std::optional<TagForm> FormOfEnding(const std::string& name) {
    if (Vorn::HasExtension(name, "txt")) return TagForm::Text;
    for (const char* ending : {"chump", "cdp", "cdp2"}) {
        if (Vorn::HasExtension(name, ending)) return TagForm::Binary;
    }
    return std::nullopt;
}

TagForm FormOfContent(const Bytes& bytes) {
    constexpr std::array kMagic = {std::byte{'O'}, std::byte{'C'}, std::byte{'S'}, std::byte{'$'}};
    const bool binary =
        bytes.size() >= kMagic.size() && std::equal(kMagic.begin(), kMagic.end(), bytes.begin());
    return binary ? TagForm::Binary : TagForm::Text;
}

// An archive begins with the mark and its first chunk. Read as text it would be one long riddle.
void RefuseArchive(const std::string& name, const Bytes& bytes) {
    constexpr std::string_view kStart = "ARCHINFO";
    const auto byteOf = [](char c) { return static_cast<std::byte>(c); };
    if (bytes.size() < kStart.size() ||
        !std::equal(kStart.begin(), kStart.end(), bytes.begin(),
                    [&](char c, std::byte byte) { return byteOf(c) == byte; })) {
        return;
    }
    Refuse("'" + name + "' is an archive; name one of its members" +
           (Vorn::HasExtension(name, "va") ? ": " + name + ":member/path" : ""));
}

Vorn::OCSChunkRef ReadText(Vorn::TStream& stream, Vorn::TagObserver& observer) {
    Vorn::OCSChunkRef root = Vorn::NewTag(Vorn::kTagContainer);
    observer.OnTag(*root, {.offset = 0, .line = 1, .column = 1});
    Vorn::ReadTagText(*root, stream, false, &observer);
    return root;
}

Vorn::OCSChunkRef ReadBinary(Vorn::TStream& stream, Vorn::TagObserver& observer) {
    const auto file = Vorn::MakeRef<Vorn::TDBBinaryFile>();
    (void)file->Read(stream, &observer);
    return file->Root();
}

}  // namespace

TagFile ReadTagFile(const std::string& name, Vorn::TagObserver& observer) {
    const Bytes bytes = ReadInput(name);
    RefuseArchive(name, bytes);
    Vorn::TBufferBlock block{std::span(bytes)};
    Vorn::TBuffer stream(block);
    const TagForm form = FormOfEnding(name).value_or(FormOfContent(bytes));
    TagFile file{form,
                 form == TagForm::Text ? ReadText(stream, observer) : ReadBinary(stream, observer)};
    if (!file.root) Refuse("'" + name + "' holds no tags that can be read");
    return file;
}

void CheckEnding(const std::string& path, TagForm form) {
    if (FormOfEnding(path) == form) return;
    const char* endings = form == TagForm::Text ? ".txt" : ".chump, .cdp or .cdp2";
    throw Failure{ExitCode::Usage, "programs would not take '" + path +
                                       "' for this form: let its name end in " + endings};
}

}  // namespace va::tool
