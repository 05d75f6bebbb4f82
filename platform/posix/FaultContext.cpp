#include "platform/posix/FaultContext.h"

#if defined(__x86_64__)

#include <cpuid.h>
#include <ucontext.h>

#include <string_view>

#include "platform/FaultTools.h"
#include "platform/posix/Record.h"

namespace platform::posix {
namespace {

// The processor's trap numbers, and a bit of a page fault's error code.
constexpr greg_t kProtectionFault = 13;
constexpr greg_t kPageFault = 14;
constexpr greg_t kPageWrite = 2;

const gregset_t& General(const void* systemContext) {
    return static_cast<const ucontext_t*>(systemContext)->uc_mcontext.gregs;
}

constexpr std::size_t kContextSize = 1232;
constexpr std::uint32_t kControl = 0x100001;  // the context tells stack pointer and instruction

// The register set keeps four segment registers in one number.
enum class Segment { Cs, Gs, Fs, Ss };

std::uint16_t SegmentOf(const gregset_t& registers, Segment segment) {
    constexpr int kBits = 16;
    return static_cast<std::uint16_t>(static_cast<std::uint64_t>(registers[REG_CSGSFS]) >>
                                      (static_cast<int>(segment) * kBits));
}

}  // namespace

ThreadPlace PlaceOf(const void* systemContext) noexcept {
    const gregset_t& saved = General(systemContext);
    return {.stackPointer = static_cast<std::uint64_t>(saved[REG_RSP]),
            .instruction = static_cast<std::uint64_t>(saved[REG_RIP])};
}

RegisterSet RegistersOf(const void* systemContext) noexcept {
    constexpr std::uint64_t kFlagsMask = 0xFFFFFFFF;
    const gregset_t& saved = General(systemContext);
    const auto value = [&saved](int which) { return static_cast<std::uint64_t>(saved[which]); };
    return {.all = {{{"rax", value(REG_RAX)},
                     {"rbx", value(REG_RBX)},
                     {"rcx", value(REG_RCX)},
                     {"rdx", value(REG_RDX)},
                     {"rsi", value(REG_RSI)},
                     {"rdi", value(REG_RDI)},
                     {"rbp", value(REG_RBP)},
                     {"rsp", value(REG_RSP)},
                     {"rip", value(REG_RIP)},
                     {"flags", value(REG_EFL) & kFlagsMask},
                     {"cs", SegmentOf(saved, Segment::Cs)},
                     {"ss", SegmentOf(saved, Segment::Ss)}}},
            .count = 12};
}

MemoryUse MemoryUseOf(const siginfo_t& signal, const void* systemContext) noexcept {
    const gregset_t& saved = General(systemContext);
    if (saved[REG_TRAPNO] != kPageFault) {
        // A non-canonical address raises another trap, which does not report the address.
        return {.isWrite = false, .address = ~std::uint64_t{0}};
    }
    return {.isWrite = (saved[REG_ERR] & kPageWrite) != 0,
            .address = reinterpret_cast<std::uintptr_t>(signal.si_addr)};
}

bool IsAtPrivilegedInstruction(const void* systemContext) noexcept {
    constexpr std::string_view kAlone =
        "\x6C\x6D\x6E\x6F\xE4\xE5\xE6\xE7\xEC\xED\xEE\xEF\xF4\xFA\xFB";
    constexpr std::string_view kBehind0F = "\x01\x06\x08\x09\x20\x21\x22\x23\x30\x32\x33";
    const gregset_t& saved = General(systemContext);
    std::array<char, 2> code{};
    return saved[REG_TRAPNO] == kProtectionFault &&
           ReadMemory(static_cast<std::uint64_t>(saved[REG_RIP]),
                      std::as_writable_bytes(std::span(code))) != 0 &&
           (kAlone.find(code[0]) != kAlone.npos ||
            (code[0] == '\x0F' && kBehind0F.find(code[1]) != kBehind0F.npos));
}

std::span<const std::byte> ThreadContext(std::uint64_t stackPointer,
                                         std::uint64_t instruction) noexcept {
    static Record<kContextSize> record;
    record = {};
    return record.Zeros(48)
        .U32(kControl)
        .Zeros(100)  // other registers
        .U64(stackPointer)
        .Zeros(88)
        .U64(instruction)
        .Zeros(976)
        .Bytes();
}

std::span<const std::byte> ThreadContext(const void* systemContext) noexcept {
    constexpr std::uint32_t kInteger = 0x100002;
    constexpr std::uint32_t kSegments = 0x100004;
    constexpr std::uint32_t kFloats = 0x100008;
    static Record<kContextSize> record;

    const gregset_t& saved = General(systemContext);
    const auto* floats = static_cast<const ucontext_t*>(systemContext)->uc_mcontext.fpregs;
    record = {};
    record
        .Zeros(48)  // homes of parameters
        .U32(kControl | kInteger | kSegments | (floats ? kFloats : 0))
        .U32(floats ? floats->mxcsr : 0)
        .U16(SegmentOf(saved, Segment::Cs))
        .U16(0)  // ds and es: not saved, nor used
        .U16(0)
        .U16(SegmentOf(saved, Segment::Fs))
        .U16(SegmentOf(saved, Segment::Gs))
        .U16(SegmentOf(saved, Segment::Ss))
        .U32(static_cast<std::uint64_t>(saved[REG_EFL]))
        .Zeros(48);  // debug registers
    for (const int which :
         {REG_RAX, REG_RCX, REG_RDX, REG_RBX, REG_RSP, REG_RBP, REG_RSI, REG_RDI, REG_R8, REG_R9,
          REG_R10, REG_R11, REG_R12, REG_R13, REG_R14, REG_R15, REG_RIP}) {
        record.U64(static_cast<std::uint64_t>(saved[which]));
    }
    static_assert(sizeof(*floats) == 512);  // both use the processor's own layout
    if (floats) {
        record.Copy(std::as_bytes(std::span(floats, 1)));
    } else {
        record.Zeros(sizeof(*floats));
    }
    // Upper halves of the vector registers, and debug controls.
    return record.Zeros(464).Bytes();
}

Processor ThisProcessor() noexcept {
    Processor processor;
    unsigned eax = 0;
    unsigned ebx = 0;
    unsigned ecx = 0;
    unsigned edx = 0;
    processor.architecture = 9;
    if (__get_cpuid(0, &eax, &ebx, &ecx, &edx) != 0) {
        processor.vendor[0] = ebx;
        processor.vendor[1] = edx;
        processor.vendor[2] = ecx;
    }
    if (__get_cpuid(1, &eax, &ebx, &ecx, &edx) != 0) {
        processor.signature = eax;
        processor.features = edx;
        const unsigned family = eax >> 8U & 0xFU;
        const unsigned model = eax >> 4U & 0xFU;
        const unsigned modelHigh = family == 6 || family == 15 ? eax >> 12U & 0xF0U : 0;
        const unsigned familyMore = family == 15 ? eax >> 20U & 0xFFU : 0;
        processor.level = static_cast<std::uint16_t>(family + familyMore);
        processor.revision = static_cast<std::uint16_t>((modelHigh | model) << 8U | (eax & 0xFU));
    }
    if (__get_cpuid(0x80000001, &eax, &ebx, &ecx, &edx) != 0) processor.extendedFeatures = edx;
    return processor;
}

}  // namespace platform::posix

#else

namespace platform::posix {

ThreadPlace PlaceOf(const void*) noexcept { return {}; }

RegisterSet RegistersOf(const void*) noexcept { return {}; }

MemoryUse MemoryUseOf(const siginfo_t& signal, const void*) noexcept {
    return {.isWrite = false, .address = reinterpret_cast<std::uintptr_t>(signal.si_addr)};
}

bool IsAtPrivilegedInstruction(const void*) noexcept { return false; }

std::span<const std::byte> ThreadContext(const void*) noexcept { return {}; }

std::span<const std::byte> ThreadContext(std::uint64_t, std::uint64_t) noexcept { return {}; }

Processor ThisProcessor() noexcept { return {}; }

}  // namespace platform::posix

#endif
