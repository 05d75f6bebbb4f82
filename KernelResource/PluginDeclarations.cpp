#include "KernelResource/PluginDeclarations.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
#include <string>

#include "kernel/String.h"
#include "services/Log.h"

namespace Vorn {
namespace {

constexpr std::size_t kMostQuoted = 200;  // bytes

bool IsControl(char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; }

// Returns the parts of an item, if there are exactly N.
template <std::size_t N>
std::optional<std::array<String, N>> SplitItem(String item) {
    std::array<String, N> parts;
    for (String& part : parts) item.NextToken(":", part);
    String further;
    item.NextToken(":", further);
    if (parts.back().IsNull() || !further.IsNull()) return {};
    return parts;
}

// Passes each item of an option, split into N parts, to `declare`, which returns false for a
// malformed one. One warning covers all: a file with many bad items must not flood the log.
template <std::size_t N>
void ReadItems(OptionList& options, const char* name, auto declare) {
    Option* const option = FindOption(options, name);
    if (!option) return;
    std::size_t malformed = 0;
    String first;
    BeginOptionValues(*option, ",");
    for (String item; NextOptionValue(options, name, item);) {
        const auto parts = SplitItem<N>(item);
        if (parts && declare(*parts)) continue;
        if (malformed++ == 0) first = item;
    }
    if (malformed == 0) return;
    String complaint;
    complaint.Format("malformed item of %s skipped, %zu in all", name, malformed);
    WarnOfPlugin(first.View(), complaint.Text());
}

}  // namespace

void WarnOfPlugin(std::string_view quoted, const char* complaint) {
    std::string shown(quoted.substr(0, kMostQuoted));
    std::ranges::replace_if(shown, IsControl, '.');
    LogWrite(RegisterLogModule("Plugin"), LogLevel::Warn, "%s: %s", shown.c_str(), complaint);
}

void PluginDeclarations::Declare(OptionList& options) {
    ReadItems<3>(options, "PluginGroup", [this](const std::array<String, 3>& parts) {
        const auto id = ParseGuid(parts[1].View());
        const auto interfaceId = ParseGuid(parts[2].View());
        if (!id || !interfaceId) return false;
        groups_[*id] = {Intern(parts[0].View()), *id, *interfaceId};
        return true;
    });
    ReadItems<4>(options, "Plugin", [this](const std::array<String, 4>& parts) {
        const auto id = ParseGuid(parts[2].View());
        const auto group = ParseGuid(parts[3].View());
        if (!id || !group) return false;
        plugins_[{*group, *id}] = {Intern(parts[0].View()), Intern(parts[1].View()), *id, *group};
        return true;
    });
    NamePlugins();
    ReadItems<2>(options, "PluginRemap", [this](const std::array<String, 2>& parts) {
        const auto requested = ParseGuid(parts[0].View());
        const auto serving = ParseGuid(parts[1].View());
        if (!requested || !serving) return false;
        remaps_[*requested] = *serving;
        return true;
    });
}

// The plug-ins are in order of their ids, so the lowest id gets a name first and keeps it.
void PluginDeclarations::NamePlugins() {
    names_.clear();
    for (const auto& [ids, plugin] : plugins_) {
        names_.try_emplace({plugin.group, plugin.name.Entry()}, &plugin);
    }
}

PluginResult PluginDeclarations::Find(const Guid& group, const Guid& plugin,
                                      PluginMatch& match) const {
    if (!FindGroup(group, match)) return RES_PLUGINGROUPIDNOTFOUND;
    const auto found = plugins_.find({match.group->id, Remapped(plugin)});
    if (found == plugins_.end()) return RES_PLUGINIDNOTFOUND;
    match.plugin = &found->second;
    return RES_SUCCESS;
}

PluginResult PluginDeclarations::FindByName(const Guid& group, const InternedString& name,
                                            PluginMatch& match) const {
    if (!FindGroup(group, match)) return RES_PLUGINGROUPIDNOTFOUND;
    const auto found = names_.find({match.group->id, name.Entry()});
    if (found == names_.end()) return RES_PLUGINNAMENOTFOUND;
    match.plugin = found->second;
    return RES_SUCCESS;
}

bool PluginDeclarations::FindGroup(const Guid& group, PluginMatch& match) const {
    match = {};
    const auto found = groups_.find(Remapped(group));
    if (found == groups_.end()) return false;
    match.group = &found->second;
    return true;
}

const Guid& PluginDeclarations::Remapped(const Guid& id) const {
    const auto remap = remaps_.find(id);
    return remap == remaps_.end() ? id : remap->second;
}

}  // namespace Vorn
