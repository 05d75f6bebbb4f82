// Which plug-ins there are, as options have declared them (item forms: PluginApi.h).
//
// Items are hostile until read: one that does not have exactly the parts of its form, or has a
// malformed id, declares nothing. Each option with such items gets one warning in the log, which
// counts them and quotes the first.
//
// Threads: Declare belongs to one thread; then any number may look up.
#pragma once

#include <map>
#include <string_view>
#include <utility>

#include "KernelResource/Guid.h"
#include "KernelResource/ResourceCodes.h"
#include "kernel/InternedString.h"
#include "services/OptionList.h"

namespace Vorn {

struct PluginGroup {
    InternedString name;
    Guid id;
    Guid interfaceId;
};

struct Plugin {
    InternedString name;
    InternedString library;
    Guid id;
    Guid group;
};

// What a lookup has found; valid while the declarations live. Null where it failed.
struct PluginMatch {
    const PluginGroup* group = nullptr;
    const Plugin* plugin = nullptr;
};

class PluginDeclarations {
public:
    // Reads "PluginGroup", "Plugin" and "PluginRemap". What is declared again replaces the former.
    void Declare(OptionList& options);

    // RES_SUCCESS, or the code of what was not found. Remaps apply to the ids; the plug-in with the
    // lowest id of a group has a name that several bear.
    [[nodiscard]] PluginResult Find(const Guid& group, const Guid& plugin,
                                    PluginMatch& match) const;
    [[nodiscard]] PluginResult FindByName(const Guid& group, const InternedString& name,
                                          PluginMatch& match) const;

private:
    void NamePlugins();
    [[nodiscard]] const Guid& Remapped(const Guid& id) const;
    [[nodiscard]] bool FindGroup(const Guid& group, PluginMatch& match) const;

    std::map<Guid, PluginGroup> groups_;
    std::map<std::pair<Guid, Guid>, Plugin> plugins_;  // by group and own id
    std::map<std::pair<Guid, const StringPoolEntry*>, const Plugin*> names_;
    std::map<Guid, Guid> remaps_;
};

// Writes one warning to the log, "quoted: complaint". The quoted text comes from a file: its first
// 200 bytes are written, with dots for control characters.
void WarnOfPlugin(std::string_view quoted, const char* complaint);

}  // namespace Vorn
