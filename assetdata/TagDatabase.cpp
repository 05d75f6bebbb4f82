#include "assetdata/TagDatabase.h"

#include <algorithm>
#include <array>
#include <span>
#include <string_view>

#include "KernelStandard/File.h"
#include "KernelStandard/FileSubstList.h"
#include "KernelStandard/WholeFile.h"
#include "assetdata/TBuffer.h"
#include "assetdata/TDBBinaryFile.h"
#include "assetdata/TDBContainerTag.h"
#include "assetdata/TagText.h"
#include "kernel/Paths.h"

namespace Vorn {
namespace {

enum class Form { None, Text, Chunk };

Form FormOf(const char* path) {
    if (HasExtension(path, "txt")) return Form::Text;
    constexpr std::array kChunkExtensions = {"chump", "cdp", "cdp2"};
    const bool chunk = std::ranges::any_of(
        kChunkExtensions, [path](const char* extension) { return HasExtension(path, extension); });
    return chunk ? Form::Chunk : Form::None;
}

FileResult Open(File& file, const InternedString& substName, const char* path) {
    if (substName.Length() != 0) return file.Open(substName, path, kReadDetect);
    // File would drop a name that is not mounted and open another file.
    return FileSubstList::Instance().NamesMount(path)
               ? file.Open(path, kReadPlain)
               : file.Open(InternedString(), path, kReadPlain);
}

}  // namespace

bool LoadTagDatabase(OCSChunkRef& container, const InternedString& substName, const char* path,
                     TagObserver* observer) {
    const Form form = FormOf(path);
    File file;
    if (form == Form::None || Open(file, substName, path) != RES_OK) return false;
    const auto bytes = ReadToEnd(file);
    if (!bytes) return false;
    TBufferBlock block{std::span(*bytes)};
    TBuffer stream(block);
    if (form == Form::Chunk) {
        const auto chunks = MakeRef<TDBBinaryFile>();
        (void)chunks->Read(stream, observer);
        container = chunks->Root();
        return true;
    }
    if (!container) container = NewTag(kTagContainer);
    container->Clear();
    ReadTagText(*container, stream, false, observer);
    return true;
}

}  // namespace Vorn
