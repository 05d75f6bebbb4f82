// The layout is the public one of minidumps: a header, a directory of streams, and records that
// refer to others by size and offset in the file.
//
// Debuggers expect a dump from this system to describe a fault by signal number, reason and
// address. The fault's own code and parameters come after these.
#include "platform/Dumps.h"

#include <sys/utsname.h>
#include <unistd.h>

#include <algorithm>
#include <ctime>
#include <functional>
#include <string_view>

#include "platform/Modules.h"
#include "platform/SystemInfo.h"
#include "platform/posix/FaultContext.h"
#include "platform/posix/Mappings.h"
#include "platform/posix/OtherThreads.h"
#include "platform/posix/Record.h"

namespace platform {
namespace {

using posix::OtherThread;
using posix::Record;

enum StreamType : std::uint32_t {
    kThreadList = 3,
    kModuleList = 4,
    kMemoryList = 5,
    kException = 6,
    kSystemInfo = 7,
    kMiscInfo = 15,
};
constexpr std::size_t kStreamCount = 6;

constexpr std::size_t kHeaderSize = 32;
constexpr std::size_t kDirectoryEntrySize = 12;
constexpr std::size_t kModuleSize = 108;

struct Place {
    std::uint32_t size = 0;
    std::uint32_t offset = 0;
};

struct Memory {
    std::uint64_t address = 0;
    Place place;
};

class DumpWriter {
public:
    explicit DumpWriter(FaultFile& file) : file_(file) {}

    // Reserves space for a record that is written later.
    Place Reserve(std::size_t size) {
        const Place place{static_cast<std::uint32_t>(size), end_};
        end_ += static_cast<std::uint32_t>((size + 3) / 4 * 4);
        return place;
    }
    void Write(std::uint64_t offset, std::span<const std::byte> bytes) {
        complete_ &= file_.WriteAt(offset, bytes);
    }
    Place Append(std::span<const std::byte> bytes) {
        const Place place = Reserve(bytes.size());
        Write(place.offset, bytes);
        return place;
    }
    // Appends the memory from `begin` up to the first byte that cannot be read.
    Memory AppendMemory(std::uint64_t begin, std::uint64_t end);
    // Appends the text in UTF-16 with its length in front.
    Place AppendText(std::string_view utf8);

    void AddStream(StreamType type, Place place) {
        directory_.U32(type).U32(place.size).U32(place.offset);
    }
    // Returns whether every write succeeded.
    bool Finish();

private:
    FaultFile& file_;
    std::uint32_t end_ = kHeaderSize + kStreamCount * kDirectoryEntrySize;
    Record<kStreamCount * kDirectoryEntrySize> directory_;
    bool complete_ = true;
};

Memory DumpWriter::AppendMemory(std::uint64_t begin, std::uint64_t end) {
    static std::array<std::byte, 4096> piece;
    Memory memory{.address = begin, .place = {.size = 0, .offset = end_}};
    while (begin < end) {
        const std::size_t wanted = std::min<std::uint64_t>(end - begin, piece.size());
        const std::size_t got = ReadMemory(begin, std::span(piece).first(wanted));
        Write(memory.place.offset + memory.place.size, std::span(piece).first(got));
        memory.place.size += static_cast<std::uint32_t>(got);
        if (got < wanted) break;
        begin += got;
    }
    Reserve(memory.place.size);
    return memory;
}

// Removes the character at the front of `utf8` and returns it. A malformed byte counts as a
// character: file names are arbitrary bytes.
char32_t TakeCharacter(std::string_view& utf8) {
    const auto byte = [&utf8](std::size_t i) -> char32_t {
        return i < utf8.size() ? static_cast<unsigned char>(utf8[i]) : 0;
    };
    const char32_t first = byte(0);
    const std::size_t more = first >= 0xF0 ? 3 : first >= 0xE0 ? 2 : first >= 0xC0 ? 1 : 0;
    char32_t character = more == 0 ? first : first & (0x3FU >> more);
    for (std::size_t i = 1; i <= more; ++i) {
        if ((byte(i) & 0xC0U) != 0x80) {
            utf8.remove_prefix(1);
            return first;
        }
        character = character << 6U | (byte(i) & 0x3FU);
    }
    utf8.remove_prefix(more + 1);
    return character;
}

Place DumpWriter::AppendText(std::string_view utf8) {
    static std::array<std::byte, 8200> bytes;
    const auto put = [](std::size_t at, char32_t unit) {
        bytes[at] = static_cast<std::byte>(unit);
        bytes[at + 1] = static_cast<std::byte>(unit >> 8U);
    };
    std::size_t end = 4;
    while (!utf8.empty() && end + 6 <= bytes.size()) {
        const char32_t character = TakeCharacter(utf8);
        if (character >= 0x10000) {
            put(end, 0xD800 + ((character - 0x10000) >> 10U));
            end += 2;
            put(end, 0xDC00 + ((character - 0x10000) & 0x3FFU));
        } else {
            put(end, character);
        }
        end += 2;
    }
    put(0, static_cast<char32_t>(end - 4));
    put(2, 0);
    put(end, 0);
    return Append(std::span(bytes).first(end + 2));
}

bool DumpWriter::Finish() {
    constexpr std::uint32_t kSignature = 0x504D444D;  // "MDMP"
    constexpr std::uint32_t kVersion = 0xA793;
    Record<kHeaderSize> header;
    header.U32(kSignature)
        .U32(kVersion)
        .U32(kStreamCount)
        .U32(kHeaderSize)
        .U32(0)  // checksum: none
        .U32(static_cast<std::uint64_t>(std::time(nullptr)))
        .U64(0);  // dump type: normal
    Write(0, header.Bytes());
    Write(kHeaderSize, directory_.Bytes());
    return complete_;
}

Place SystemRecord(DumpWriter& dump) {
    constexpr std::uint32_t kLinux = 0x8201;
    const posix::Processor processor = posix::ThisProcessor();
    const OperatingSystem system = GetOperatingSystem();
    utsname names{};
    uname(&names);
    const Place release = dump.AppendText(names.release);
    // The low byte is the processor count; the high byte, the product type, is unknown here.
    const std::uint32_t processors = std::min(ProcessorCount(), std::uint32_t{0xFF});
    Record<56> record;
    record.U16(processor.architecture)
        .U16(processor.level)
        .U16(processor.revision)
        .U16(processors)
        .U32(system.major)
        .U32(system.minor)
        .U32(system.build)
        .U32(kLinux)
        .U32(release.offset)
        .U32(0);  // product suites
    for (const std::uint32_t part : processor.vendor) record.U32(part);
    record.U32(processor.signature).U32(processor.features).U32(processor.extendedFeatures);
    return dump.Append(record.Bytes());
}

Place MiscRecord(DumpWriter& dump) {
    constexpr std::uint32_t kSize = 24;
    constexpr std::uint32_t kHasProcessId = 1;
    Record<kSize> record;
    record.U32(kSize).U32(kHasProcessId).U32(static_cast<std::uint64_t>(getpid())).Zeros(12);
    return dump.Append(record.Bytes());
}

// Collects the lists of threads and of memory, which grow together.
class ThreadsAndMemory {
public:
    ThreadsAndMemory(DumpWriter& dump, std::size_t mostThreads)
        : dump_(dump),
          threads_(dump.Reserve(4 + mostThreads * kThreadSize)),
          memory_(dump.Reserve(4 + (mostThreads + 1) * kMemorySize)) {}

    void AddMemory(const Memory& memory) {
        Record<kMemorySize> record;
        record.U64(memory.address).U32(memory.place.size).U32(memory.place.offset);
        dump_.Write(memory_.offset + 4 + memoryCount_ * kMemorySize, record.Bytes());
        ++memoryCount_;
    }
    void AddThread(std::uint32_t id, Place context, const Memory& stack) {
        Record<kThreadSize> record;
        record.U32(id)
            .Zeros(20)  // suspensions, priorities, environment block
            .U64(stack.address)
            .U32(stack.place.size)
            .U32(stack.place.offset)
            .U32(context.size)
            .U32(context.offset);
        dump_.Write(threads_.offset + 4 + threadCount_ * kThreadSize, record.Bytes());
        ++threadCount_;
        if (stack.place.size != 0) AddMemory(stack);
    }
    void Finish() {
        Record<4> threads;
        Record<4> memory;
        dump_.Write(threads_.offset, threads.U32(threadCount_).Bytes());
        dump_.Write(memory_.offset, memory.U32(memoryCount_).Bytes());
        dump_.AddStream(kThreadList, {Size(threadCount_ * kThreadSize), threads_.offset});
        dump_.AddStream(kMemoryList, {Size(memoryCount_ * kMemorySize), memory_.offset});
    }

private:
    static constexpr std::size_t kThreadSize = 48;
    static constexpr std::size_t kMemorySize = 16;
    [[nodiscard]] static std::uint32_t Size(std::size_t records) {
        return static_cast<std::uint32_t>(4 + records);
    }

    DumpWriter& dump_;
    const Place threads_;
    const Place memory_;
    std::size_t threadCount_ = 0;
    std::size_t memoryCount_ = 0;
};

// Returns for each thread the end of the mapping that its stack pointer is in; 0 if there is none.
std::span<const std::uint64_t> FindStackEnds(std::span<const OtherThread> threads) {
    static std::array<std::uint64_t, posix::OtherThreads::kMost> ends;
    std::ranges::fill(ends, 0);
    posix::MappingList mappings;
    for (posix::Mapping mapping; mappings.Next(mapping);) {
        for (std::size_t i = 0; i < threads.size(); ++i) {
            const std::uint64_t pointer = threads[i].stackPointer;
            if (pointer >= mapping.start && pointer < mapping.end) ends[i] = mapping.end;
        }
    }
    return std::span(ends).first(threads.size());
}

void AddOtherThreads(DumpWriter& dump, ThreadsAndMemory& lists,
                     std::span<const OtherThread> threads) {
    constexpr std::uint64_t kMostStack = std::uint64_t{1} << 20U;
    const std::span<const std::uint64_t> ends = FindStackEnds(threads);
    for (std::size_t i = 0; i < threads.size(); ++i) {
        const OtherThread& thread = threads[i];
        const Place context =
            dump.Append(thread.context != nullptr
                            ? posix::ThreadContext(thread.context)
                            : posix::ThreadContext(thread.stackPointer, thread.instruction));
        const std::uint64_t end = std::min(ends[i], thread.stackPointer + kMostStack);
        lists.AddThread(thread.id, context, dump.AppendMemory(thread.stackPointer, end));
    }
}

Place ExceptionRecord(DumpWriter& dump, const Fault& fault, Place context) {
    constexpr std::size_t kMostParameters = 15;
    const siginfo_t& signal = fault.system->signal;
    const bool isRaised = signal.si_code <= 0;
    const std::uint64_t address =
        isRaised ? fault.instruction : reinterpret_cast<std::uintptr_t>(signal.si_addr);
    Record<168> record;
    record.U32(fault.threadId)
        .U32(0)
        .U32(static_cast<std::uint32_t>(fault.system->number))
        .U32(isRaised ? 0 : static_cast<std::uint32_t>(signal.si_code))
        .U64(0)  // no nested exception
        .U64(address)
        .U32(1 + fault.parameterCount)
        .U32(0)
        .U64(fault.code);
    for (const std::uint64_t parameter : fault.parameters) record.U64(parameter);
    record.Zeros((kMostParameters - 1 - fault.parameters.size()) * 8)
        .U32(context.size)
        .U32(context.offset);
    return dump.Append(record.Bytes());
}

// Appends the build identifier in the form that debuggers look for.
Place BuildIdRecord(DumpWriter& dump, const Module& module) {
    constexpr std::uint32_t kSignature = 0x4270454C;
    if (module.buildId.empty()) return {};
    Record<4> signature;
    const Place first = dump.Reserve(4 + module.buildId.size());
    dump.Write(first.offset, signature.U32(kSignature).Bytes());
    dump.Write(first.offset + 4, module.buildId);
    return first;
}

void WriteModule(DumpWriter& dump, std::uint64_t offset, const Module& module) {
    const Place name = dump.AppendText(module.path);
    const Place buildId = BuildIdRecord(dump, module);
    Record<kModuleSize> record;
    record.U64(module.base)
        .U32(module.size)
        .U32(module.checksum)
        .U32(module.timeStamp)
        .U32(name.offset)
        .Zeros(52)  // version: none in the files of this system
        .U32(buildId.size)
        .U32(buildId.offset)
        .Zeros(24);  // other debug records, reserved
    dump.Write(offset, record.Bytes());
}

Place ModuleRecords(DumpWriter& dump) {
    std::size_t count = 0;
    auto countModule = [&count](const Module&) {
        ++count;
        return true;
    };
    ForEachModule(std::ref(countModule));

    const Place list = dump.Reserve(4 + count * kModuleSize);
    std::size_t written = 0;
    auto writeModule = [&](const Module& module) {
        if (written == count) return false;  // another thread has just loaded one
        WriteModule(dump, list.offset + 4 + written * kModuleSize, module);
        ++written;
        return true;
    };
    ForEachModule(std::ref(writeModule));
    Record<4> head;
    dump.Write(list.offset, head.U32(written).Bytes());
    return {static_cast<std::uint32_t>(4 + written * kModuleSize), list.offset};
}

}  // namespace

bool WriteMiniDump(FaultFile& file, const Fault& fault) {
    constexpr std::uint64_t kCodeAround = 128;
    DumpWriter dump(file);
    const posix::OtherThreads others;  // stopped until the dump is written
    ThreadsAndMemory lists(dump, 1 + others.All().size());
    const Place context = dump.Append(posix::ThreadContext(fault.system->context));
    const Memory stack = dump.AppendMemory(fault.stackBegin, fault.stackEnd);
    const std::uint64_t instruction = fault.instruction;
    const Memory code = dump.AppendMemory(instruction - std::min(instruction, kCodeAround),
                                          instruction + kCodeAround);
    lists.AddThread(fault.threadId, context, stack);
    lists.AddMemory(code);
    AddOtherThreads(dump, lists, others.All());
    lists.Finish();
    dump.AddStream(kSystemInfo, SystemRecord(dump));
    dump.AddStream(kMiscInfo, MiscRecord(dump));
    dump.AddStream(kException, ExceptionRecord(dump, fault, context));
    dump.AddStream(kModuleList, ModuleRecords(dump));
    return dump.Finish();
}

}  // namespace platform
