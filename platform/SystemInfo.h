// What a report says about the machine and its user. Every call asks the system afresh, and but for
// UserName may do so in a fault filter (Faults.h).
#pragma once

#include <cstdint>
#include <string>

namespace platform {

// The name of the user this process runs as; empty when the system cannot tell.
[[nodiscard]] std::string UserName();

struct OperatingSystem {
    std::uint32_t family = 0;  // 1 to 3 where the numbers below are that family's, else 0
    std::uint32_t major = 0;
    std::uint32_t minor = 0;
    std::uint32_t build = 0;
};
[[nodiscard]] OperatingSystem GetOperatingSystem();

// Processors this process may use, at least 1.
[[nodiscard]] std::uint32_t ProcessorCount();

// 8664 for x86-64, else 0.
[[nodiscard]] std::uint32_t ProcessorType();

// Bytes; all zeros when the system cannot tell.
struct MemoryStatus {
    std::uint64_t physical = 0;
    std::uint64_t physicalFree = 0;  // what programs could get without swapping
    std::uint64_t paging = 0;        // swap space
    std::uint64_t pagingFree = 0;
    std::uint64_t address = 0;  // address space of this process
    std::uint64_t addressFree = 0;
};
[[nodiscard]] MemoryStatus GetMemoryStatus();

}  // namespace platform
