#include "services/CrashReportText.h"

#include <algorithm>
#include <chrono>
#include <climits>
#include <cstdio>
#include <cstring>
#include <functional>
#include <span>

#include "platform/Clock.h"
#include "platform/Modules.h"
#include "platform/Processes.h"
#include "platform/SystemInfo.h"
#include "services/CrashTexts.h"

namespace Vorn {
namespace {

using platform::Fault;
using platform::Module;

// All texts are fixed.

std::uint32_t Low(std::uint64_t value) { return static_cast<std::uint32_t>(value); }

// Converts for a signed format; larger numbers print as INT_MAX.
int Signed(std::uint64_t value) {
    return static_cast<int>(std::min<std::uint64_t>(value, INT_MAX));
}

// Local time with even seconds: the report's format has the two-second steps of file times.
struct DateText {
    DateText(std::int64_t secondsSince1970, std::int64_t utcOffset) {
        using namespace std::chrono;
        const sys_seconds time{seconds(secondsSince1970 + utcOffset)};
        const auto day = floor<days>(time);
        const year_month_day date(day);
        const hh_mm_ss clock(time - day);
        std::snprintf(text.data(), text.size(), "%d/%d/%d %02d:%02d:%02d",
                      static_cast<int>(static_cast<unsigned>(date.month())),
                      static_cast<int>(static_cast<unsigned>(date.day())),
                      static_cast<int>(date.year()), static_cast<int>(clock.hours().count()),
                      static_cast<int>(clock.minutes().count()),
                      static_cast<int>(clock.seconds().count() / 2 * 2));
    }
    std::array<char, 48> text;
};

void PrintCause(CrashReportFile& report, const Fault& fault, const CrashedProgram& program) {
    const std::uint64_t instruction = fault.instruction;
    FixedText<255> moduleName;
    moduleName.Set("Unknown");
    auto compare = [&](const Module& module) {
        const bool holds = instruction >= module.base && instruction - module.base < module.size;
        if (holds) moduleName.Set(FileNameOf(module.path));
        return !holds;
    };
    platform::ForEachModule(std::ref(compare));
    report.Print("%s caused %s (0x%08x) \r\nin module %s at %04x:%08x.\r\n\r\n", program.name.Get(),
                 ExceptionName(fault.code), fault.code, moduleName.Get(), Low(fault.ValueOf("cs")),
                 Low(instruction));
    report.Print("Exception handler called in %s.\r\n", "main thread");
}

void PrintMemory(CrashReportFile& report) {
    const platform::MemoryStatus memory = platform::GetMemoryStatus();
    const auto megabytes = [](std::uint64_t bytes) { return Signed((bytes + 0xFFFFF) >> 20U); };
    const std::uint64_t used = memory.physical - std::min(memory.physicalFree, memory.physical);
    report.Print("%d%% memory in use.\r\n",
                 Signed(used * 100 / std::max<std::uint64_t>(memory.physical, 1)));
    report.Print("%d MBytes physical memory.\r\n", megabytes(memory.physical));
    report.Print("%d MBytes physical memory free.\r\n", megabytes(memory.physicalFree));
    report.Print("%d MBytes paging file.\r\n", megabytes(memory.paging));
    report.Print("%d MBytes paging file free.\r\n", megabytes(memory.pagingFree));
    report.Print("%d MBytes user address space.\r\n", megabytes(memory.address));
    report.Print("%d MBytes user address space free.\r\n", megabytes(memory.addressFree));
}

void PrintSystem(CrashReportFile& report, const CrashedProgram& program) {
    const DateText now(platform::WallClockSeconds(), program.utcOffset);
    const platform::OperatingSystem system = platform::GetOperatingSystem();
    report.Print("Error occurred at %s.\r\n", now.text.data());
    report.Print("%s, run by %s.\r\n", program.path.Get(), program.user.Get());
    report.Print("Operating system:  %s (%u.%u.%u).\r\n", OperatingSystemName(system), system.major,
                 system.minor, system.build);
    report.Print("%d processor(s), type %d.\r\n", Signed(platform::ProcessorCount()),
                 Signed(platform::ProcessorType()));
    PrintMemory(report);
}

void PrintAccess(CrashReportFile& report, const Fault& fault) {
    if (fault.code != platform::kFaultAccessViolation || fault.parameterCount < 2) return;
    report.Print("%s location %08x caused an access violation.\r\n",
                 fault.parameters[0] == 0 ? "Read from" : "Write to", Low(fault.parameters[1]));
}

// The names at the front of each value are fixed, whatever the processor calls its registers.
void PrintRegisters(CrashReportFile& report, const Fault& fault) {
    const auto low = [&fault](std::string_view name) { return Low(fault.ValueOf(name)); };
    report.Print("\r\n");
    report.Print("Context:\r\n");
    report.Print("EDI:    0x%08x  ESI: 0x%08x  EAX:   0x%08x\r\n", low("rdi"), low("rsi"),
                 low("rax"));
    report.Print("EBX:    0x%08x  ECX: 0x%08x  EDX:   0x%08x\r\n", low("rbx"), low("rcx"),
                 low("rdx"));
    report.Print("EIP:    0x%08x  EBP: 0x%08x  SegCs: 0x%08x\r\n", Low(fault.instruction),
                 low("rbp"), low("cs"));
    report.Print("EFlags: 0x%08x  ESP: 0x%08x  SegSs: 0x%08x\r\n", low("flags"),
                 Low(fault.stackPointer), low("ss"));
}

void PrintCode(CrashReportFile& report, std::uint64_t instruction) {
    constexpr std::uint64_t kCodeBytes = 16;
    report.Print("\r\nBytes at CS:EIP:\r\n");
    for (std::uint64_t i = 0; i < kCodeBytes; ++i) {
        std::array<std::byte, 1> code;
        if (platform::ReadMemory(instruction + i, code) == 1) {
            report.Print("%02x ", std::to_integer<unsigned>(code[0]));
        } else {
            report.Print("?? ");
        }
    }
}

void PrintStackLine(CrashReportFile& report, std::uint64_t address,
                    std::span<const std::byte> bytes) {
    constexpr std::size_t kWordsInLine = 4;
    report.Print("0x%08x: ", Low(address));
    for (std::size_t i = 0; i < kWordsInLine; ++i) {
        std::uint32_t word = 0;
        if ((i + 1) * sizeof(word) > bytes.size()) {
            report.Print("         ");
            continue;
        }
        std::memcpy(&word, bytes.data() + i * sizeof(word), sizeof(word));
        report.Print("%08x ", word);
    }
    for (const std::byte byte : bytes) {
        const char character = static_cast<char>(byte);
        report.Print("%c", character >= ' ' && character <= '~' ? character : '.');
    }
    report.Print("\r\n");
}

void PrintStack(CrashReportFile& report, const Fault& fault) {
    constexpr std::size_t kLineSize = 16;
    constexpr std::size_t kWordSize = 4;
    static std::array<std::byte, 0x3000> stack;  // static: the faulted stack may be almost full
    report.Print("\r\n\r\nStack:\r\n");
    const std::size_t wanted =
        std::min<std::uint64_t>(fault.stackEnd - fault.stackBegin, stack.size());
    const std::size_t size =
        platform::ReadMemory(fault.stackBegin, std::span(stack).first(wanted)) / kWordSize *
        kWordSize;
    for (std::size_t at = 0; at < size; at += kLineSize) {
        PrintStackLine(report, fault.stackBegin + at,
                       std::span(stack).subspan(at, std::min(size - at, kLineSize)));
    }
}

void PrintVersion(CrashReportFile& report, const platform::ModuleVersion& version) {
    report.Print("Version Information:\r\n");
    report.Print("   Company:    %.*s\r\n", Signed(version.company.size()), version.company.data());
    report.Print("   Product:    %.*s\r\n", Signed(version.product.size()), version.product.data());
    report.Print("   FileDesc:   %.*s\r\n", Signed(version.description.size()),
                 version.description.data());
    const auto& file = version.fileVersion;
    const auto& product = version.productVersion;
    report.Print("   FileVer:    %d.%d.%d.%d\r\n", file[0], file[1], file[2], file[3]);
    report.Print("   ProdVer:    %d.%d.%d.%d\r\n", product[0], product[1], product[2], product[3]);
}

void PrintModules(CrashReportFile& report, std::int64_t utcOffset) {
    int number = 0;
    auto print = [&](const Module& module) {
        const DateText fileTime(module.fileTime, utcOffset);
        report.Print("Module %d\r\n", ++number);
        report.Print("%.*s\r\n", Signed(module.path.size()), module.path.data());
        report.Print("Image Base: 0x%08x  Image Size: 0x%08x\r\n", Low(module.base),
                     Low(module.size));
        report.Print("Checksum:   0x%08x  Time Stamp: 0x%08x\r\n", module.checksum,
                     module.timeStamp);
        report.Print("File Size:  %-10d  File Time:  %s\r\n", Signed(module.fileSize),
                     fileTime.text.data());
        PrintVersion(report, module.version);
        report.Print("\r\n");
        return true;
    };
    platform::ForEachModule(std::ref(print));
}

}  // namespace

void PrintCrashReport(CrashReportFile& report, const Fault& fault, const CrashedProgram& program) {
    PrintCause(report, fault, program);
    PrintSystem(report, program);
    PrintAccess(report, fault);
    PrintRegisters(report, fault);
    PrintCode(report, fault.instruction);
    PrintStack(report, fault);
    PrintModules(report, program.utcOffset);
}

std::string_view FileNameOf(std::string_view path) {
    return path.substr(path.find_last_of("/\\") + 1);
}

}  // namespace Vorn
