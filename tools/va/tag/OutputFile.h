// A file that appears whole or not at all.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "assetdata/TStream.h"
#include "platform/Endings.h"
#include "platform/Files.h"

namespace va::tool {

// A stream into a new file beside `path`, which takes its place in one step when it is complete.
// What is not placed leaves nothing behind, also when the run is ended from outside. A link in that
// place is replaced, not what it leads to. What replaces a file gets its permissions.
//
// Writes are collected; one that the system refuses gives 0, as does everything after it. The
// stream cannot be read or moved.
class OutputFile final : public Vorn::TStream {
public:
    // Throws Failure (Usage, Refused) for a path that is certain to be refused, so that no work is
    // wasted: a member, a folder, a device or a pipe, a read-only file, without `replace` any file.
    static void Check(const std::string& path, bool replace);

    // Without `replace` nothing that exists is replaced, also not what comes while this is written.
    // Throws Failure (Refused) when nothing can be written there.
    OutputFile(const std::string& path, bool replace);
    ~OutputFile() override;

    // Why a write failed; empty while all went well.
    [[nodiscard]] const std::string& Problem() const { return problem_; }

    // Stores what was written and puts it in its place. Throws Failure, also for a write that
    // failed before; `path` is then as it was.
    void Place();

    bool Truncate() override { return false; }
    [[nodiscard]] std::uint32_t Tell() const override { return position_; }
    [[nodiscard]] bool IsOpen() const override { return handle_.IsOpen(); }
    [[nodiscard]] std::uint32_t Length() override { return position_; }
    // All or nothing.
    std::uint32_t Write(const void* bytes, std::uint32_t count) override;
    std::uint32_t ReadRaw(void* /*bytes*/, std::uint32_t /*count*/) override { return 0; }
    bool Seek(std::int64_t /*offset*/, Vorn::SeekFrom /*origin*/) override { return false; }
    [[nodiscard]] bool IsEOF() override { return true; }

private:
    void Flush();

    const std::string path_;
    const bool replace_;
    std::string temporary_;
    std::optional<platform::RemovedAtEnd> guard_;
    platform::FileHandle handle_;
    std::vector<std::byte> pending_;
    std::uint32_t position_ = 0;
    std::string problem_;
};

}  // namespace va::tool
