#include "KernelResource/PluginSystem.h"

#include <array>
#include <cstddef>
#include <new>
#include <utility>

#include "kernel/StartUp.h"
#include "kernel/SyncObject.h"
#include "services/KernelOptions.h"
#include "services/TaskManager.h"

namespace Vorn {
namespace {

struct Shared {
    CriticalSection lock{"PluginSystem"};
    RefPtr<PluginSystem> system VORN_GUARDED_BY(lock);
};

// Never destroyed: teardown functions run after static destructors, and one of them uses this.
Shared& GetShared() {
    alignas(Shared) static std::array<std::byte, sizeof(Shared)> storage;
    static auto* const shared = new (storage.data()) Shared;
    return *shared;
}

void DropSystem() {
    Shared& shared = GetShared();
    const ScopedLock hold(shared.lock);
    shared.system = {};
}

// The manager has the options only once its tasks were started.
OptionList* KernelOptionsIfStarted() {
    const TaskManager* manager = FindTaskManager();
    KernelOptions* options = manager ? manager->GetOptions() : nullptr;
    return options ? &options->GetOptionList() : nullptr;
}

RefPtr<PluginSystem> FirstUse(Shared& shared) VORN_REQUIRES(shared.lock) {
    if (!shared.system) {
        RegisterTeardown(DropSystem);
        shared.system = MakeRef<PluginSystem>();
        shared.system->Configure(FindPluginPlaces(), KernelOptionsIfStarted());
    }
    return shared.system;
}

// Serves a request; `id` is a Guid or a name.
PluginResult Serve(const Guid& group, const auto& id, RefPtr<ReferenceCount>& object) {
    PluginSystem::Factory factory;
    RefPtr<PluginSystem> system;  // keeps the library loaded while its factory runs
    {
        Shared& shared = GetShared();
        const ScopedLock hold(shared.lock);
        system = FirstUse(shared);
        const PluginResult result = system->FindFactory(group, id, factory);
        if (result != RES_SUCCESS) return result;
    }
    // Outside of the lock: a factory may request other plug-ins.
    RefPtr<ReferenceCount> made(factory.create(factory.interfaceId));
    if (!made) return RES_PLUGINIDNOTFOUND;
    object = std::move(made);
    return RES_SUCCESS;
}

}  // namespace

PluginResult PluginSystem::Request(const Guid& group, const Guid& plugin,
                                   RefPtr<ReferenceCount>& object) {
    return Serve(group, plugin, object);
}

PluginResult PluginSystem::Request(const Guid& group, const InternedString& name,
                                   RefPtr<ReferenceCount>& object) {
    return Serve(group, name, object);
}

void PluginSystem::Configure(const PluginPlaces& places, OptionList* kernelOptions) {
    OptionList options;
    folders_ = LoadPluginOptions(options, places, kernelOptions);
    declarations_.Declare(options);
}

PluginResult PluginSystem::FindFactory(const Guid& group, const Guid& plugin, Factory& factory) {
    PluginMatch match;
    const PluginResult result = declarations_.Find(group, plugin, match);
    return result == RES_SUCCESS ? FactoryOf(match, factory) : result;
}

PluginResult PluginSystem::FindFactory(const Guid& group, const InternedString& name,
                                       Factory& factory) {
    PluginMatch match;
    const PluginResult result = declarations_.FindByName(group, name, match);
    return result == RES_SUCCESS ? FactoryOf(match, factory) : result;
}

PluginResult PluginSystem::FactoryOf(const PluginMatch& match, Factory& factory) {
    PluginLibrary& library = LibraryOf(*match.plugin);
    // Tried once, so the log has one warning however often its plug-ins are requested.
    if (!library.IsLoaded() && !library.HasFailed()) {
        const PluginResult result = library.Load();
        if (result != RES_SUCCESS) {
            WarnOfPlugin(match.plugin->library.View(), DescribePluginResult(result).text);
        }
    }
    if (!library.IsLoaded()) return RES_PLUGINLIBRARYNOTFOUND;
    const PluginFactory* found = library.FindFactory(match.plugin->id);
    if (!found) return RES_PLUGINIDNOTFOUND;
    factory = {found->create, match.group->interfaceId};
    return RES_SUCCESS;
}

PluginLibrary& PluginSystem::LibraryOf(const Plugin& plugin) {
    const auto [place, isNew] =
        libraries_.try_emplace(plugin.library.Entry(), plugin.library, folders_);
    return place->second;
}

}  // namespace Vorn
