#include "KernelResource/PluginSources.h"

#include <algorithm>
#include <string_view>

#include "KernelResource/PluginApi.h"
#include "KernelResource/PluginLibrary.h"
#include "KernelStandard/FileFind.h"
#include "KernelStandard/FileSubstList.h"
#include "kernel/Exceptions.h"
#include "kernel/Paths.h"
#include "platform/Directories.h"
#include "platform/Libraries.h"
#include "platform/Processes.h"
#include "services/OptionSources.h"

namespace Vorn {
namespace {

// Fixed names.
constexpr const char* kKernelLibrary = "Kernel_7s.dll";
constexpr std::string_view kFile = "/plugins.ini";
constexpr std::string_view kBuiltIn = "\r\n\r\n";  // this program declares nothing
constexpr std::string_view kLibraries = "*.dll";

// Returns the folder of a path; the root of a file system keeps its separator.
std::string FolderOf(std::string_view path) {
    const std::size_t end = path.find_last_of("\\/:");
    if (end == std::string_view::npos) return {};
    return std::string(path.substr(0, std::max<std::size_t>(end, 1)));
}

class Loader {
public:
    explicit Loader(OptionList& list) : list_(list) {}

    // The kernel, the program and the current directory may share a folder, under any names.
    void ReadFile(const std::string& folder) {
        if (folder.empty()) return;
        const std::string path = std::string(folder).append(kFile);
        const auto isRead = [&](const std::string& read) {
            return platform::IsSameFile(read.c_str(), path.c_str());
        };
        if (std::ranges::any_of(files_, isRead)) return;
        if (ParseOptionFile(list_, InternedString(), path.c_str())) files_.push_back(path);
    }

    void AddFolder(const std::string& folder) {
        if (!folder.empty() && std::ranges::find(folders_, folder) == folders_.end()) {
            folders_.push_back(folder);
        }
    }

    // Reads the libraries of a folder of the file system.
    void ScanDisk(const std::string& folder) {
        const std::string start = folder.empty() ? folder : folder + '/';
        File::Find find;
        bool more = find.OpenOnDisk(std::string(start).append(kLibraries).c_str());
        for (; more; more = find.Next()) ReadLibrary(start + std::string(find.Entry().Name()));
    }

    // Reads the libraries of a folder of the file system or of a mount.
    void ScanFolder(const std::string& folder) {
        if (!FileSubstList::Instance().NamesMount(folder.c_str())) return ScanDisk(folder);
        File::Find find;
        bool more = find.Open(std::string(folder).append("/").append(kLibraries).c_str());
        for (; more; more = find.Next()) {
            ReadMounted(folder + '/' + std::string(find.Entry().Name()));
        }
    }

    std::vector<std::string> TakeFolders() { return std::move(folders_); }

private:
    void ReadLibrary(const std::string& path) {
        DynamicLibrary library;
        void* symbol = nullptr;
        if (!library.Load(path.c_str()) || !library.GetSymbol("PluginList", symbol)) return;
        const char* text = reinterpret_cast<decltype(&PluginList)>(symbol)();
        if (!text) return;
        ParseOptions(list_, text);
        AddFolder(FolderOf(path));
    }

    // Reads a library of a mounted directory by its real path, which the system needs to load it. A
    // member of an archive has none and is skipped.
    void ReadMounted(const std::string& path) try {
        FileSubstList& substs = FileSubstList::Instance();
        const MountPath member = SplitMountPath(path.c_str());
        PathBuffer real{std::string_view(member.rest)};
        const auto found = substs.GetRealPath(member.mount, real);
        if (found && *found) ReadLibrary(std::string(real.View()));
    } catch (const FileEx&) {
        // The name, or the path that it expands to, does not fit.
    }

    OptionList& list_;
    std::vector<std::string> files_;
    std::vector<std::string> folders_;
};

}  // namespace

PluginPlaces FindPluginPlaces() {
    PluginPlaces places;
    places.program = FolderOf(platform::ProgramPath());
    const std::string kernel = platform::LoadedLibraryPath(kKernelLibrary);
    places.kernel = kernel.empty() ? places.program : FolderOf(kernel);
    places.current = platform::CurrentDirectory();
    return places;
}

std::vector<std::string> LoadPluginOptions(OptionList& list, const PluginPlaces& places,
                                           OptionList* kernelOptions) {
    Loader loader(list);
    for (const std::string& folder : {places.kernel, places.program, places.current}) {
        loader.ReadFile(folder);
    }
    ParseOptions(list, kBuiltIn);

    loader.AddFolder(places.program);
    loader.AddFolder(places.kernel);
    if (!kernelOptions) return loader.TakeFolders();
    if (FindOption(*kernelOptions, "AutoPlugin")) loader.ScanDisk(places.kernel);
    if (Option* folders = FindOption(*kernelOptions, "PluginDir")) {
        BeginOptionValues(*folders, ",");
        for (String folder; NextOptionValue(*kernelOptions, "PluginDir", folder);) {
            loader.ScanFolder(folder.Text());
        }
    }
    return loader.TakeFolders();
}

}  // namespace Vorn
