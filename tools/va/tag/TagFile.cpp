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
#include "tools/va/ShownText.h"
#include "tools/va/tag/ContentKind.h"

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

TagFile ReadTags(const Bytes& content, const std::string& name, Vorn::TagObserver& observer) {
    const std::optional<TagForm> named = FormOfEnding(name);
    // Nearly any bytes can be read as a text, so a picture would give nonsense tags, not an error.
    if (FormOfContent(content) == TagForm::Text) {
        const std::string kind = KindOfContent(content, named == TagForm::Text);
        const bool isArchive = kind == "an archive";
        if (!kind.empty()) {
            RefuseInput("'" + Shown(name) + "' is " + kind + ", not a description" +
                        (isArchive ? "; " + Shown(name) + ":** names those in it" : ""));
        }
    }
    Vorn::TBufferBlock block{std::span(content)};
    Vorn::TBuffer stream(block);
    const TagForm form = named.value_or(FormOfContent(content));
    TagFile file{form,
                 form == TagForm::Text ? ReadText(stream, observer) : ReadBinary(stream, observer)};
    if (!file.root) RefuseInput("'" + Shown(name) + "' holds no tags that can be read");
    return file;
}

void CheckEnding(const std::string& path, TagForm form) {
    if (path == "-" || FormOfEnding(path) == form) return;
    const char* endings = form == TagForm::Text ? ".txt" : ".chump, .cdp or .cdp2";
    throw Failure{ExitCode::Usage, "programs would not read '" + Shown(path) +
                                       "' in this form; its name must end in " + endings};
}

}  // namespace va::tool
