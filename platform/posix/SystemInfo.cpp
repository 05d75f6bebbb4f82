#include "platform/SystemInfo.h"

#include <pwd.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <fstream>
#include <map>
#include <string_view>
#include <thread>
#include <vector>

namespace platform {
namespace {

constexpr std::uint64_t kKilobyte = 1024;

// Address space of a 64-bit process below the system's half.
constexpr std::uint64_t kAddressSpace = std::uint64_t{1} << 47;

// The numbers of a file of "Name: number unit" lines.
std::map<std::string, std::uint64_t> ReadNumbers(const char* path) {
    std::map<std::string, std::uint64_t> numbers;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        const std::size_t colon = std::min(line.find(':'), line.size());
        const std::size_t digits = std::min(line.find_first_of("0123456789", colon), line.size());
        std::uint64_t number = 0;
        std::from_chars(line.data() + digits, line.data() + line.size(), number);
        numbers[line.substr(0, colon)] = number;
    }
    return numbers;
}

// Takes the number at the front of `text` and the mark behind it.
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
    system.name = names.sysname;
    std::string_view release = names.release;
    system.major = TakeNumber(release);
    system.minor = TakeNumber(release);
    system.build = TakeNumber(release);
    return system;
}

std::uint32_t ProcessorCount() { return std::max(1U, std::thread::hardware_concurrency()); }

MemoryStatus GetMemoryStatus() {
    auto machine = ReadNumbers("/proc/meminfo");
    if (machine["MemTotal"] == 0) {
        return {};
    }
    MemoryStatus status;
    status.physical = machine["MemTotal"] * kKilobyte;
    status.physicalFree = machine["MemAvailable"] * kKilobyte;
    status.paging = machine["SwapTotal"] * kKilobyte;
    status.pagingFree = machine["SwapFree"] * kKilobyte;
    status.address = kAddressSpace;
    const std::uint64_t used = ReadNumbers("/proc/self/status")["VmSize"] * kKilobyte;
    status.addressFree = kAddressSpace - std::min(used, kAddressSpace);
    return status;
}

}  // namespace platform
