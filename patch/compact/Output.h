// The file of a compact patch while it is written.
#pragma once

#include <cstdint>
#include <string>

#include "delta/Bytes.h"
#include "patch/Sha256.h"
#include "patch/compact/Writer.h"
#include "platform/FolderHandle.h"
#include "platform/NewFile.h"

namespace patch::compact {

// Gets its name when it is whole. In a dry run only its bytes are counted.
class Output {
public:
    // Borrows the options. Throws Error (Refused, NoSpace) if no file can be created.
    explicit Output(const WriteOptions& options);

    // Appends bytes. Throws Error (Refused, NoSpace).
    void Write(delta::ByteView bytes);

    // Appends the digest of all bytes, reads the file back if the patch is to be proved, forces it
    // to the storage device and gives it its name. Returns its bytes. Throws Error: Refused also if
    // a file has the name, or the file reads back otherwise.
    std::uint64_t Finish();

private:
    void Append(std::span<const std::byte> bytes);
    void ReadBack(const Sha256Digest& digest) const;
    [[noreturn]] void Fail(const std::string& what) const;

    const WriteOptions& options_;
    platform::FolderHandle folder_;
    platform::NewFile file_;
    Sha256 digest_;
    std::uint64_t bytes_ = 0;
};

}  // namespace patch::compact
