// The digest of an archive that is being written, taken from the file on a separate thread that
// follows the writer: when the last member is written, nearly all of the file is digested.
//
// The header is written again at the end, so it is foretold; what the file has must be compared
// with it afterwards.
#pragma once

#include <array>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "archive/ArchiveFormat.h"
#include "patch/Sha256.h"
#include "platform/Files.h"

namespace patch {

class TrailingDigest {
public:
    // Borrows the file, whose handle must stay where it is until Stop.
    TrailingDigest(const platform::FileHandle& file, const archive::ArchiveHeader& header);
    ~TrailingDigest();
    TrailingDigest(const TrailingDigest&) = delete;
    TrailingDigest& operator=(const TrailingDigest&) = delete;

    // Reports that the bytes before `end` do not change any more, but for the header.
    void Follow(std::uint64_t end);

    // Waits until it has read all of that, and ends the thread. Throws archive::Error if the file
    // could not be read.
    void Stop();

    // Reads the rest of the file, after Stop, and returns the digest of all; nullopt if the header
    // differs from the one that was foretold.
    [[nodiscard]] std::optional<Sha256Digest> Finish(const platform::FileHandle& file,
                                                     std::uint64_t size);

private:
    void Run();
    void Read(const platform::FileHandle& file, std::uint64_t end);

    const platform::FileHandle& file_;
    const std::array<std::byte, archive::kArchivePreambleSize> preamble_;
    std::uint64_t read_ = archive::kArchivePreambleSize;
    std::vector<std::byte> piece_;
    Sha256 digest_;

    std::mutex lock_;
    std::condition_variable changed_;
    std::uint64_t end_ = 0;
    bool stopped_ = false;
    std::exception_ptr failure_;
    std::thread thread_;  // last: it uses all of the others
};

}  // namespace patch
