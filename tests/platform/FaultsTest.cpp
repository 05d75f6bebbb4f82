// The faults that a filter receives, and the tools it works with.
#include <fenv.h>
#include <sys/mman.h>

#include <cstdio>
#include <cstring>

#include "platform/FaultTools.h"
#include "platform/Faults.h"
#include "platform/Modules.h"
#include "tests/support/Tests.h"

namespace platform {
namespace {

using namespace Vorn::Testing;

class Faults : public testing::Test {
protected:
    void SetUp() override {
#if VORN_SANITIZED
        GTEST_SKIP() << "the sanitizer handles these signals";
#endif
    }
};

constexpr std::uint64_t kNowhere = std::uint64_t{1} << 63U;
int report = -1;

char Read(std::uint64_t address) { return *reinterpret_cast<volatile char*>(address); }
void Write(std::uint64_t address) { *reinterpret_cast<volatile char*>(address) = 1; }

std::uint64_t MapPage(int protection, int file = -1) {
    const int flags = MAP_PRIVATE | (file < 0 ? MAP_ANONYMOUS : 0);
    return reinterpret_cast<std::uint64_t>(mmap(nullptr, 4096, protection, flags, file, 0));
}

// Returns the fault that ends `work` in a child process.
Fault FaultOf(void (*work)()) {
    std::array<int, 2> ends{};
    EXPECT_EQ(pipe(ends.data()), 0);
    report = ends[1];
    const auto tell = [](const Fault& fault) {
        return write(report, &fault, sizeof(fault)) > 0 ? FaultAnswer::EndProcess
                                                        : FaultAnswer::PassOn;
    };
    const auto run = [&] {
        return static_cast<int>(CallGuarded(tell, [work] { return work(), 0U; }));
    };
    EXPECT_EQ(InChild(run), 1);
    close(ends[1]);
    Fault fault;
    EXPECT_EQ(read(ends[0], &fault, sizeof(fault)), static_cast<ssize_t>(sizeof(fault)));
    close(ends[0]);
    return fault;
}

TEST_F(Faults, AreToldByTheirCodes) {
    const Table<const char*, void (*)(), FaultCode> faults = {
        {"breakpoint", [] { asm volatile("int3"); }, kFaultBreakpoint},
        {"step", [] { asm volatile("pushfq; orl $0x100, (%rsp); popfq; nop"); }, kFaultSingleStep},
        {"halt", [] { asm volatile("hlt"); }, kFaultPrivilegedInstruction},
        {"float",
         [] {
             feenableexcept(FE_DIVBYZERO);
             volatile double zero = 0;
             zero = 1 / zero;
         },
         kFaultFloatDivide},
        {"raised", [] { RaiseFault(kFaultUncaughtException); }, kFaultUncaughtException}};
    for (const auto& [name, work, code] : faults) {
        SCOPED_TRACE(name);
        const Fault fault = FaultOf(work);
        EXPECT_EQ(fault.code, code);
        EXPECT_EQ(fault.parameterCount, 0u);
        EXPECT_EQ(fault.stackBegin, fault.stackPointer);
        EXPECT_LT(fault.stackBegin, fault.stackEnd);
    }
}

TEST_F(Faults, OfMemoryTellTheirUseAndAddress) {
    static std::uint64_t page;
    const int empty = fileno(std::tmpfile());
    const Table<const char*, int, int, void (*)(), FaultCode, std::uint64_t> faults = {
        {"read-only", PROT_READ, -1, [] { Write(page + 5); }, kFaultAccessViolation, 1},
        {"forbidden", PROT_NONE, -1, [] { Read(page + 5); }, kFaultAccessViolation, 0},
        {"no code", PROT_READ, -1, [] { reinterpret_cast<void (*)()>(page + 5)(); },
         kFaultAccessViolation, 0},
        {"end of file", PROT_READ, empty, [] { Read(page + 5); }, kFaultInPageError, 0}};
    for (const auto& [what, protection, file, work, code, use] : faults) {
        SCOPED_TRACE(what);
        page = MapPage(protection, file);
        const Fault fault = FaultOf(work);
        EXPECT_EQ(fault.code, code);
        EXPECT_EQ(fault.parameterCount, 2u);
        EXPECT_THAT(fault.parameters, ElementsAre(use, page + 5));
    }

    const Fault nowhere = FaultOf([] { Read(kNowhere); });
    EXPECT_EQ(nowhere.code, kFaultAccessViolation);
    EXPECT_THAT(nowhere.parameters, ElementsAre(0u, ~std::uint64_t{0}));
    const Fault lostStack = FaultOf([] { asm volatile("mov %0, %%rsp; push %0" ::"r"(kNowhere)); });
    EXPECT_EQ(lostStack.code, kFaultAccessViolation);
    EXPECT_EQ(lostStack.stackBegin, lostStack.stackEnd);
}

TEST_F(Faults, GoToTheInnermostGuard) {
    static std::vector<std::uint32_t> outer, inner;
    const auto countOuter = [](const Fault& fault) {
        outer.push_back(fault.code);
        return FaultAnswer::PassOn;
    };
    const auto countInner = [](const Fault& fault) {
        inner.push_back(fault.code);
        return FaultAnswer::PassOn;
    };
    EXPECT_FALSE(IsGuarded());
    const auto work = [&] {
        RaiseFault(1);
        EXPECT_EQ(CallGuarded(countInner, [] { return RaiseFault(2), 7U; }), 7u);
        try {
            CallGuarded(countInner, []() -> std::uint32_t { throw 1; });
        } catch (int) {
            RaiseFault(3);
        }
        return 9U;
    };
    EXPECT_EQ(CallGuarded(countOuter, work), 9u);
    EXPECT_FALSE(IsGuarded());
    EXPECT_THAT(outer, ElementsAre(1u, 3u));
    EXPECT_THAT(inner, ElementsAre(2u));
}

TEST(FaultTools, ReadMemoryUpToWhatCannotBeRead) {
    constexpr std::size_t kEnd = 100 * 4096;
    void* const pages =
        mmap(nullptr, kEnd + 4096, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    const std::string text = Noise(kEnd);
    std::memcpy(pages, text.data(), kEnd);
    mprotect(static_cast<char*>(pages) + kEnd, 4096, PROT_NONE);
    const auto address = reinterpret_cast<std::uint64_t>(pages);
    for (const std::size_t begin : {std::size_t{0}, std::size_t{4095}, kEnd - 5, kEnd}) {
        SCOPED_TRACE(begin);
        std::string copy(kEnd + 10, ' ');
        const auto into = std::as_writable_bytes(std::span(copy));
        EXPECT_EQ(ReadMemory(address + begin, into), kEnd - begin);
        EXPECT_EQ(copy.substr(0, kEnd - begin), text.substr(begin));
    }
    std::array<std::byte, 9> some;
    EXPECT_EQ(ReadMemory(0, some), 0u);
    EXPECT_EQ(ReadMemory(~std::uint64_t{0} - 2, some), 0u);
    munmap(pages, kEnd + 4096);
}

TEST(FaultTools, ListTheModulesByRisingAddress) {
    const auto here = reinterpret_cast<std::uint64_t>(&FaultOf);
    std::uint64_t end = 0;
    int found = 0;
    ForEachModule([&](const Module& module) {
        EXPECT_LE(end, module.base);
        end = module.base + module.size;
        if (here < module.base || here >= end) return true;
        EXPECT_EQ(module.path, fs::read_symlink("/proc/self/exe").string());
        EXPECT_EQ(module.fileSize, fs::file_size("/proc/self/exe"));
        EXPECT_EQ(module.buildId.size(), 20u);
        return ++found > 0;
    });
    EXPECT_EQ(found, 1);
}

}  // namespace
}  // namespace platform
