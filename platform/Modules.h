// The program and the libraries that are loaded into this process. May be used in a fault filter.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string_view>

namespace platform {

// Returns the version record in a module's file. Empty on systems whose program files have none.
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
    std::uint32_t checksum = 0;  // 0 if the file format has none; so is the next
    std::uint32_t timeStamp = 0;
    std::string_view path;
    std::uint64_t fileSize = 0;
    std::int64_t fileTime = 0;  // last write, seconds since 1970-01-01 UTC; 0 if the file is gone
    ModuleVersion version;
    std::span<const std::byte> buildId;  // identifies the build; empty if there is none
};

// Calls `visit` for every module, by rising address, until it returns false. The module is valid
// during the call only. In a fault filter pass a std::ref of the visitor, which allocates nothing.
void ForEachModule(const std::function<bool(const Module&)>& visit);

}  // namespace platform
