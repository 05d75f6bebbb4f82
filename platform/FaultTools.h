// Tools for a fault filter (Faults.h): nothing here allocates or waits for a lock.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace platform {

class FaultFile;
struct Fault;
bool WriteMiniDump(FaultFile& file, const Fault& fault);  // Dumps.h

// Owns a file that is being written.
class FaultFile {
public:
    FaultFile() noexcept = default;
    FaultFile(const FaultFile&) = delete;
    FaultFile& operator=(const FaultFile&) = delete;
    ~FaultFile();

    // Creates a file that only this user may read, replacing an existing one; `path` is taken
    // exactly as given. With `writeThrough` each write waits for the storage device.
    [[nodiscard]] bool Create(const char* path, bool writeThrough);

    // Returns false if not everything could be written.
    [[nodiscard]] bool WriteAt(std::uint64_t offset, std::span<const std::byte> bytes);

private:
    // A system that has a dump writer lets it write to the descriptor.
    friend bool WriteMiniDump(FaultFile& file, const Fault& fault);

    int descriptor_ = -1;
};

// Copies memory of this process that may be unmapped. Returns the bytes copied before the first one
// that cannot be read.
[[nodiscard]] std::size_t ReadMemory(std::uint64_t address, std::span<std::byte> into);

// Starts the program file at exactly that path with one argument, and does not wait for it. Systems
// where a command line is one text get the argument in quotes. Returns false if it does not start.
[[nodiscard]] bool StartProgram(const char* path, const char* argument);

}  // namespace platform
