#include "platform/SystemInfo.h"

#include <pwd.h>
#include <sched.h>
#include <sys/statvfs.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <string_view>
#include <vector>

#include "platform/posix/RawFiles.h"

namespace platform {
namespace {

constexpr std::uint64_t kKilobyte = 1024;

// Address space of a 64-bit process below the system's half.
constexpr std::uint64_t kAddressSpace = std::uint64_t{1} << 47;

// Takes the number at the front of `text` and the character after it.
std::uint32_t TakeNumber(std::string_view& text) {
    std::uint32_t number = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
    const auto used = static_cast<std::size_t>(result.ptr - text.data());
    text.remove_prefix(std::min(used + 1, text.size()));
    return number;
}

}  // namespace

std::string UserName() {
    constexpr std::size_t kLongestEntry = 65536;
    std::vector<char> buffer(kLongestEntry);
    passwd entry{};
    passwd* found = nullptr;
    if (getpwuid_r(geteuid(), &entry, buffer.data(), buffer.size(), &found) != 0 ||
        found == nullptr) {
        return {};
    }
    return found->pw_name;
}

OperatingSystem GetOperatingSystem() {
    utsname names{};
    if (uname(&names) != 0) {
        return {};
    }
    OperatingSystem system;
    std::string_view release = names.release;
    system.major = TakeNumber(release);
    system.minor = TakeNumber(release);
    system.build = TakeNumber(release);
    return system;
}

std::uint32_t ProcessorCount() {
    std::array<cpu_set_t, 8> allowed{};  // 8,192 processors
    if (sched_getaffinity(0, sizeof(allowed), allowed.data()) != 0) {
        return 1;
    }
    return static_cast<std::uint32_t>(CPU_COUNT_S(sizeof(allowed), allowed.data()));
}

std::uint32_t ProcessorType() {
#if defined(__x86_64__)
    return 8664;
#else
    return 0;
#endif
}

MemoryStatus GetMemoryStatus() {
    std::array<char, 8192> buffer;
    const std::string_view machine = posix::ReadText("/proc/meminfo", buffer);
    const auto bytes = [](std::string_view text, std::string_view label) {
        return posix::NumberAfter(text, label) * kKilobyte;
    };
    MemoryStatus status;
    status.physical = bytes(machine, "MemTotal:");
    if (status.physical == 0) {
        return {};
    }
    status.physicalFree = bytes(machine, "MemAvailable:");
    status.paging = bytes(machine, "SwapTotal:");
    status.pagingFree = bytes(machine, "SwapFree:");
    status.address = kAddressSpace;
    const std::uint64_t used = bytes(posix::ReadText("/proc/self/status", buffer), "VmSize:");
    status.addressFree = kAddressSpace - std::min(used, kAddressSpace);
    return status;
}

std::optional<std::uint64_t> FreeSpace(const char* path) {
    struct statvfs device {};
    if (statvfs(path, &device) != 0) return std::nullopt;
    return std::uint64_t{device.f_bavail} * device.f_frsize;
}

}  // namespace platform
