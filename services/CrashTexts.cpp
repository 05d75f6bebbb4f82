#include "services/CrashTexts.h"

#include <algorithm>
#include <array>

namespace Vorn {
namespace {

struct NamedCode {
    std::uint32_t code;
    const char* name;
};

// "a Array" is part of the fixed text.
constexpr std::array<NamedCode, 24> kExceptions = {{
    {0x40010005, "a Control-C"},
    {0x40010008, "a Control-Break"},
    {0x80000002, "a Datatype Misalignment"},
    {0x80000003, "a Breakpoint"},
    {0xC0000005, "an Access Violation"},
    {0xC0000006, "an In Page Error"},
    {0xC0000017, "a No Memory"},
    {0xC000001D, "an Illegal Instruction"},
    {0xC0000025, "a Noncontinuable Exception"},
    {0xC0000026, "an Invalid Disposition"},
    {0xC000008C, "a Array Bounds Exceeded"},
    {0xC000008D, "a Float Denormal Operand"},
    {0xC000008E, "a Float Divide by Zero"},
    {0xC000008F, "a Float Inexact Result"},
    {0xC0000090, "a Float Invalid Operation"},
    {0xC0000091, "a Float Overflow"},
    {0xC0000092, "a Float Stack Check"},
    {0xC0000093, "a Float Underflow"},
    {0xC0000094, "an Integer Divide by Zero"},
    {0xC0000095, "an Integer Overflow"},
    {0xC0000096, "a Privileged Instruction"},
    {0xC00000FD, "a Stack Overflow"},
    {0xC0000142, "a DLL Initialization Failed"},
    {0xE06D7363, "a Microsoft C++ Exception"},
}};

constexpr std::uint32_t kAny = 0xFFFFFFFF;

struct Range {
    std::uint32_t from;
    std::uint32_t to;
    [[nodiscard]] bool Has(std::uint32_t number) const { return number >= from && number <= to; }
};

struct Release {
    std::uint32_t family;
    Range major;
    Range minor;
    Range build;
    const char* name;
};

constexpr std::array<Release, 13> kReleases = {{
    {1, {4, 4}, {0, 9}, {950, 950}, "Windows 95"},
    {1, {4, 4}, {0, 9}, {951, 1080}, "Windows 95 SP1"},
    {1, {4, 4}, {0, 9}, {1081, kAny}, "Windows 95 OSR2"},
    {1, {4, 4}, {10, 10}, {1998, 1998}, "Windows 98"},
    {1, {4, 4}, {10, 10}, {1999, 2182}, "Windows 98 SP1"},
    {1, {4, 4}, {10, 10}, {2183, kAny}, "Windows 98 SE"},
    {1, {4, 4}, {90, 90}, {0, kAny}, "Windows ME"},
    {2, {3, 3}, {51, 51}, {0, kAny}, "Windows NT 3.51"},
    {2, {4, 4}, {0, 0}, {0, kAny}, "Windows NT 4"},
    {2, {5, 5}, {0, 0}, {0, kAny}, "Windows 2000"},
    {2, {5, 5}, {1, 1}, {0, kAny}, "Windows XP"},
    {2, {5, 5}, {2, 2}, {0, kAny}, "Windows 2003 Server"},
    {3, {0, kAny}, {0, kAny}, {0, kAny}, "Windows CE"},
}};

}  // namespace

const char* ExceptionName(std::uint32_t code) {
    const auto* const found =
        std::find_if(kExceptions.begin(), kExceptions.end(),
                     [code](const NamedCode& row) { return row.code == code; });
    return found == kExceptions.end() ? "an Unknown exception type" : found->name;
}

const char* OperatingSystemName(const platform::OperatingSystem& system) {
    const auto* const found =
        std::find_if(kReleases.begin(), kReleases.end(), [&system](const Release& row) {
            return row.family == system.family && row.major.Has(system.major) &&
                   row.minor.Has(system.minor) && row.build.Has(system.build);
        });
    return found == kReleases.end() ? "unknown Windows version" : found->name;
}

}  // namespace Vorn
