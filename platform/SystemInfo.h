// Facts about the machine and its user, for reports. Every call queries the system again. All but
// UserName may be called in a fault filter (Faults.h).
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace platform {

// Returns the name of the user this process runs as; empty if it is unknown.
[[nodiscard]] std::string UserName();

struct OperatingSystem {
    std::uint32_t family = 0;  // 1 to 3 for the systems that number their versions so; else 0
    std::uint32_t major = 0;
    std::uint32_t minor = 0;
    std::uint32_t build = 0;
};
[[nodiscard]] OperatingSystem GetOperatingSystem();

// Returns the number of processors this process may use, at least 1.
[[nodiscard]] std::uint32_t ProcessorCount();

// Returns 8664 for x86-64, else 0.
[[nodiscard]] std::uint32_t ProcessorType();

// In bytes; all zeros if unknown.
struct MemoryStatus {
    std::uint64_t physical = 0;
    std::uint64_t physicalFree = 0;  // available without swapping
    std::uint64_t paging = 0;        // swap space
    std::uint64_t pagingFree = 0;
    std::uint64_t address = 0;  // address space of this process
    std::uint64_t addressFree = 0;
};
[[nodiscard]] MemoryStatus GetMemoryStatus();

// Returns the bytes that this user may still write to the device of `path`, which must exist;
// nullopt if they are unknown.
[[nodiscard]] std::optional<std::uint64_t> FreeSpace(const char* path);

}  // namespace platform
