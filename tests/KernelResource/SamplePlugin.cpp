// A library with one plug-in.
#include "tests/KernelResource/SamplePlugin.h"

namespace {

using namespace Vorn;
using namespace Vorn::Testing;

int entryCalls = 0;

class SampleGreeter final : public Greeter {
public:
    [[nodiscard]] const char* Greeting() const override { return "hello from the library"; }
    [[nodiscard]] int EntryCalls() const override { return entryCalls; }
};

ReferenceCount* CreateGreeter(const Guid& interfaceId) noexcept {
    return interfaceId == kGreeterInterface ? new SampleGreeter : nullptr;
}

constexpr PluginFactory kFactories[] = {{kPlugin, CreateGreeter}};
constexpr PluginFactories kExported = {kPluginApiVersion, 1, kFactories};

}  // namespace

const Vorn::PluginFactories* VornGetPlugins() {
    ++entryCalls;
    return &kExported;
}

// Tests copy the library under other names and replace the '#' of the plug-in's name in the copy.
const char* PluginList() {
    return "+PluginGroup=" SAMPLE_GROUP " +Plugin=Sample#:Sample:" SAMPLE_IDS
           " +PluginRemap=" SAMPLE_REMAP;
}
