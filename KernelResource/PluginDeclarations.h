// The plug-ins that options have declared (item forms: PluginApi.h).
//
// Items are not trusted: one that does not have exactly the parts of its form, or has a malformed
// id, is skipped. Each option with such items gets one warning in the log, which counts them and
// quotes the first.
//
// Threads: one thread calls Declare; afterwards any number may look up.
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

// The result of a lookup, null where it failed. Valid while the declarations live.
struct PluginMatch {
    const PluginGroup* group = nullptr;
    const Plugin* plugin = nullptr;
};

class PluginDeclarations {
public:
    // Reads "PluginGroup", "Plugin" and "PluginRemap". A later declaration replaces an earlier one.
    void Declare(OptionList& options);

    // Return RES_SUCCESS, or the code of what was not found. Remaps apply to the ids. If several
    // plug-ins of a group share a name, the one with the lowest id is found.
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
