#include "services/OptionSources.h"

#include <cstddef>
#include <optional>
#include <span>

#include "KernelStandard/File.h"
#include "KernelStandard/WholeFile.h"
#include "kernel/Exceptions.h"
#include "kernel/LetterCase.h"
#include "kernel/LittleEndian.h"
#include "kernel/Paths.h"
#include "platform/CodePage.h"
#include "platform/Directories.h"
#include "platform/Processes.h"

namespace Vorn {
namespace {

constexpr std::size_t kMaxProgramPath = 256;
constexpr std::uint32_t kMaxOptionFile = 16 * 1024 * 1024;
constexpr std::string_view kSuffix = "Options";

// Returns the path up to its last separator, or up to and with a ':' after that.
std::string DirectoryOf(std::string_view path) {
    const std::size_t end = path.find_last_of("/\\:");
    if (end == std::string_view::npos) return {};
    return std::string(path.substr(0, path[end] == ':' ? end + 1 : end));
}

std::string ProgramNameOf(const std::string& path) {
    std::string_view name = FileNamePart(path.c_str());
    name = name.substr(0, name.rfind('.'));
    // The suffix of one kind of build, as in PluginLibraryFile: all builds have the same options.
    if (name.ends_with("_7s")) name.remove_suffix(3);
    return std::string(name);
}

std::string FromUtf16(std::span<const std::byte> bytes) {
    std::u16string text;
    text.reserve(bytes.size() / 2);
    for (; bytes.size() >= 2; bytes = bytes.subspan(2)) {
        text += static_cast<char16_t>(LoadU16<0>(bytes.first<2>()));
    }
    return platform::Utf16ToAnsi(text);
}

std::optional<std::string> ReadText(File& file) try {
    if (file.Size() > kMaxOptionFile) return {};
    file.DetectTextEncoding();
    const auto bytes = ReadToEnd(file);
    if (!bytes) return {};
    if (file.TextMode() == kTextUtf16) return FromUtf16(*bytes);
    return std::string(reinterpret_cast<const char*>(bytes->data()), bytes->size());
} catch (const FileEx&) {
    return {};
}

bool ParseOpened(OptionList& list, File& file, FileResult opened) {
    if (opened != RES_OK) return false;
    const auto text = ReadText(file);
    if (text) ParseOptions(list, *text);
    return text.has_value();
}

}  // namespace

bool ParseOptionFile(OptionList& list, const char* path) {
    File file;
    return ParseOpened(list, file, file.Open(path, kReadDetect));
}

bool ParseOptionFile(OptionList& list, const InternedString& substName, const char* path) {
    File file;
    return ParseOpened(list, file, file.Open(substName, path, kReadDetect));
}

std::vector<OptionSource> ListOptionSources(std::string_view appName, std::string_view programPath,
                                            std::string_view currentDirectory) {
    using enum OptionSource::Kind;
    const bool programKnown = !programPath.empty() && programPath.size() <= kMaxProgramPath;
    const std::string program(programKnown ? programPath : std::string_view());
    const std::string directory = DirectoryOf(program);
    const std::string current(currentDirectory);

    std::vector<std::string> names = {std::string(appName).append(kSuffix)};
    if (programKnown) {
        const std::string programName = ProgramNameOf(program).append(kSuffix);
        if (!EqualAnsiNoCase(programName, names[0])) names.push_back(programName);
    }

    std::vector<OptionSource> sources = {{Variable, std::string(kSuffix)}};
    for (const std::string& name : names) sources.push_back({Variable, name});
    const auto addFiles = [&](const std::string& folder) {
        for (const std::string& name : names) {
            sources.push_back({File, std::string(folder).append("/").append(name).append(".txt")});
        }
    };
    if (programKnown) addFiles(directory);
    const bool currentKnown = !current.empty() && current.size() < kMaxPath;
    const bool differs = !programKnown || !PathsShareStart(directory.c_str(), current.c_str());
    if (currentKnown && differs) addFiles(current);
    return sources;
}

void LoadOptions(OptionList& list, const char* appName, const char* commandText) {
    for (const OptionSource& source :
         ListOptionSources(appName, platform::ProgramPath(), platform::CurrentDirectory())) {
        std::string value;
        if (source.kind == OptionSource::Kind::File) {
            (void)ParseOptionFile(list, InternedString(), source.name.c_str());
        } else if (platform::GetEnvironment(source.name.c_str(), value)) {
            ParseOptions(list, value);
        }
    }
    ParseOptions(list, commandText ? commandText : "");
}

}  // namespace Vorn
