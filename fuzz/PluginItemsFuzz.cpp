// Arbitrary bytes declare plug-ins. Declared plug-ins are found consistently, and those declared
// later by other files are found as if the bytes had not been there.
#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "KernelResource/PluginDeclarations.h"

using namespace Vorn;

namespace {

constexpr std::size_t kMostIds = 32;

constexpr std::string_view kOwnMark = "A0A0A0A0";
constexpr Guid kOwnGroup = "A0A0A0A0-0000-0000-0000-000000000001"_guid;
constexpr Guid kOwnPlugin = "A0A0A0A0-0000-0000-0000-000000000002"_guid;
constexpr std::string_view kOwnText =
    "+PluginGroup=g:A0A0A0A0-0000-0000-0000-000000000001:A0A0A0A0-0000-0000-0000-000000000003 "
    "+Plugin=own:*:A0A0A0A0-0000-0000-0000-000000000002:A0A0A0A0-0000-0000-0000-000000000001";

void Require(bool holds) {
    if (!holds) std::abort();
}

std::vector<Guid> IdsIn(std::string_view text) {
    std::vector<Guid> ids;
    for (; text.size() >= kGuidTextLength && ids.size() < kMostIds; text.remove_prefix(1)) {
        if (const auto id = ParseGuid(text.substr(0, kGuidTextLength))) ids.push_back(*id);
    }
    return ids;
}

void LookUp(const PluginDeclarations& declarations, const Guid& group, const Guid& plugin) {
    PluginMatch match;
    if (declarations.Find(group, plugin, match) != RES_SUCCESS) return;
    Require(match.plugin->group == match.group->id);
    Require(match.plugin->name.Length() > 0 && match.plugin->library.Length() > 0);

    PluginMatch named;
    Require(declarations.FindByName(group, match.plugin->name, named) == RES_SUCCESS);
    Require(named.group == match.group && named.plugin->name == match.plugin->name);
    Require(named.plugin->id <= match.plugin->id);
}

// Returns whether the value begins with an item: an empty item ends it.
bool BeginsWithAnItem(OptionList& options, const char* name) {
    Option* const option = FindOption(options, name);
    if (!option || option->value.Length() == 0) return true;
    BeginOptionValues(*option, ",");
    String item;
    return NextOptionValue(options, name, item);
}

bool Names(std::string text, std::string_view mark) {
    std::ranges::transform(text, text.begin(),
                           [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return text.find(mark) != std::string::npos;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    OptionList options;
    ParseOptions(options, text);
    const bool open =
        BeginsWithAnItem(options, "PluginGroup") && BeginsWithAnItem(options, "Plugin");
    ParseOptions(options, kOwnText);
    PluginDeclarations declarations;
    declarations.Declare(options);

    const std::vector<Guid> ids = IdsIn(text);
    for (const Guid& group : ids) {
        for (const Guid& plugin : ids) LookUp(declarations, group, plugin);
    }
    if (open && !Names(std::string(text), kOwnMark)) {
        PluginMatch own;
        Require(declarations.Find(kOwnGroup, kOwnPlugin, own) == RES_SUCCESS);
        Require(own.plugin->library.View() == "*");
    }
    return 0;
}
