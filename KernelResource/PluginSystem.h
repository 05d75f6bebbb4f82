// Serves objects of plug-ins by their ids. PluginApi.h tells what plug-ins are and how they are
// declared and found.
//
// The system is made and configured by the first request, on the thread that makes it, from the
// options of the kernel's TaskManager if its tasks were started by then; what is declared later is
// not seen. It ends with the teardown functions at the process's exit, and takes the libraries with
// it.
//
// Threads: any thread may request. One lock guards the first use, the lookup and the loading of a
// library; factories run outside it. The initialisers of a library run inside it: what they request
// of their own library is not found yet.
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
    // Gives an object of the plug-in. Otherwise `object` stays as it was, and the code tells why:
    //
    //   RES_PLUGINGROUPIDNOTFOUND   no such group is declared
    //   RES_PLUGINIDNOTFOUND        the group has no such plug-in; or its library has none of that
    //                               id, or refuses the group's interface
    //   RES_PLUGINNAMENOTFOUND      the group has no plug-in of that name (letter case counts)
    //   RES_PLUGINLIBRARYNOTFOUND   the library is missing or has no entry point, now or at an
    //                               earlier request: it is tried once
    [[nodiscard]] static PluginResult Request(const Guid& group, const Guid& plugin,
                                              RefPtr<ReferenceCount>& object);
    [[nodiscard]] static PluginResult Request(const Guid& group, const InternedString& name,
                                              RefPtr<ReferenceCount>& object);

    PluginSystem() = default;

    // Reads all declarations; once, before any lookup.
    void Configure(const PluginPlaces& places, OptionList* kernelOptions);

    // A plug-in's factory, ready to be called as long as the system lives.
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
