// Serves objects of plug-ins by their ids. PluginApi.h describes plug-ins and how they are declared
// and found.
//
// The first request makes and configures the system, on its own thread. The kernel's options count
// if the tasks of the TaskManager were started by then; later declarations are ignored. The system
// ends with the teardown functions at the exit of the process, and frees the libraries.
//
// Threads: any thread may request. One lock guards the first use, the lookup and the loading of a
// library; factories run outside of it. A library's initialisers run inside it, and do not find the
// plug-ins of their own library yet.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "KernelResource/PluginDeclarations.h"
#include "KernelResource/PluginLibrary.h"
#include "KernelResource/PluginSources.h"
#include "KernelResource/ResourceCodes.h"
#include "kernel/ReferenceCount.h"

namespace Vorn {

class PluginSystem final : public ReferenceCount {
public:
    // Set `object` to an object of the plug-in. On failure `object` is unchanged and the code is:
    //
    //   RES_PLUGINGROUPIDNOTFOUND   no such group is declared
    //   RES_PLUGINIDNOTFOUND        the group has no such plug-in, or its library has none with
    //   that
    //                               id, or it refuses the group's interface
    //   RES_PLUGINNAMENOTFOUND      the group has no plug-in of that name (letter case counts)
    //   RES_PLUGINLIBRARYNOTFOUND   the library is missing or has no entry point. It is tried once:
    //                               later requests fail too
    [[nodiscard]] static PluginResult Request(const Guid& group, const Guid& plugin,
                                              RefPtr<ReferenceCount>& object);
    [[nodiscard]] static PluginResult Request(const Guid& group, const InternedString& name,
                                              RefPtr<ReferenceCount>& object);

    PluginSystem() = default;

    // Reads all declarations. Called once, before any lookup.
    void Configure(const PluginPlaces& places, OptionList* kernelOptions);

    // A plug-in's factory; callable while the system lives.
    struct Factory {
        PluginCreate create = nullptr;
        Guid interfaceId;
    };
    [[nodiscard]] PluginResult FindFactory(const Guid& group, const Guid& plugin, Factory& factory);
    [[nodiscard]] PluginResult FindFactory(const Guid& group, const InternedString& name,
                                           Factory& factory);

private:
    [[nodiscard]] PluginResult FactoryOf(const PluginMatch& match, Factory& factory);
    [[nodiscard]] PluginLibrary& LibraryOf(const Plugin& plugin);

    PluginDeclarations declarations_;
    std::vector<std::string> folders_;
    std::map<const StringPoolEntry*, PluginLibrary> libraries_;  // by name; made on demand
};

}  // namespace Vorn
