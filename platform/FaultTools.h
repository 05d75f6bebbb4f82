// What a fault filter (Faults.h) works with: nothing here allocates or waits for a lock.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace platform {

// Owns one file that is being written.
class FaultFile {
public:
    FaultFile() noexcept = default;
    FaultFile(const FaultFile&) = delete;
    FaultFile& operator=(const FaultFile&) = delete;
    ~FaultFile();

    // Makes a new file that only this user may read, in place of one that has the name; `path` is
    // taken exactly as given. With `writeThrough` each write waits for the storage device.
    [[nodiscard]] bool Create(const char* path, bool writeThrough);

    // False when the system did not take all.
    bool WriteAt(std::uint64_t offset, std::span<const std::byte> bytes);

private:
    int descriptor_ = -1;
};

// Copies memory of this process that need not be there. Bytes copied up to the first that cannot
// be read.
[[nodiscard]] std::size_t ReadMemory(std::uint64_t address, std::span<std::byte> into);

// Starts the program file of exactly that path, with one argument (put in quotes on systems
// where a command line is one text), and lets it run. False when it cannot be started.
[[nodiscard]] bool StartProgram(const char* path, const char* argument);

}  // namespace platform
