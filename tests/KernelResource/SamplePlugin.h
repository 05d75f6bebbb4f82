// What the sample plug-in library and its hosts share.
#pragma once

#include "KernelResource/PluginApi.h"

namespace Vorn::Testing {

class Greeter : public ReferenceCount {
public:
    // Set to true by the destructor, if not null.
    bool* ended = nullptr;

    ~Greeter() override {
        if (ended) *ended = true;
    }
    [[nodiscard]] virtual const char* Greeting() const = 0;
    // Returns how often the library's entry point was called.
    [[nodiscard]] virtual int EntryCalls() const { return 0; }
};

inline constexpr Guid kGreeterInterface = "00000000-0000-0000-0000-00000000000f"_guid;
inline constexpr Guid kGroup = "10000000-0000-0000-0000-000000000000"_guid;
inline constexpr Guid kPlugin = "20000000-0000-0000-0000-000000000000"_guid;
inline constexpr Guid kOldPlugin = "2FFFFFFF-0000-0000-0000-000000000000"_guid;

// The items that declare them.
#define SAMPLE_GROUP \
    "Greeters:10000000-0000-0000-0000-000000000000:00000000-0000-0000-0000-00000000000F"
#define SAMPLE_IDS "20000000-0000-0000-0000-000000000000:10000000-0000-0000-0000-000000000000"
#define SAMPLE_REMAP "2fffffff-0000-0000-0000-000000000000:20000000-0000-0000-0000-000000000000"

}  // namespace Vorn::Testing
