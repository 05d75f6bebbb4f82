// The program and the libraries that are loaded into this process. May be used in a fault filter.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string_view>

namespace platform {

// What a module's file says of itself. All empty where files of programs carry no such record.
struct ModuleVersion {
    std::string_view company;
    std::string_view product;
    std::string_view description;
    std::array<std::uint16_t, 4> fileVersion{};
    std::array<std::uint16_t, 4> productVersion{};
};

struct Module {
    std::uint64_t base = 0;
    std::uint64_t size = 0;      // bytes of address space
    std::uint32_t checksum = 0;  // 0 where the format has none, as is the next
    std::uint32_t timeStamp = 0;
    std::string_view path;
    std::uint64_t fileSize = 0;
    std::int64_t fileTime = 0;  // last write, seconds since 1970-01-01 UTC; 0 when the file is gone
    ModuleVersion version;
    std::span<const std::byte> buildId;  // names the build; empty when it has none
};

// Calls `visit` for every module, by rising address, until it returns false; a module is good
// during its visit. In a fault filter hand over a std::ref of the visitor, which allocates nothing.
void ForEachModule(const std::function<bool(const Module&)>& visit);

}  // namespace platform
