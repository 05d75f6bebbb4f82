// Writes the chunks of new members: workers read and pack, one thread writes, in order.
#pragma once

#include <cstdint>
#include <span>

#include "archive/ChunkWriter.h"
#include "archive/MemberTable.h"
#include "library/NewMembers.h"

namespace va {

struct PackingOptions {
    Compression compression = Compression::WhereItSaves;
    unsigned threads = 1;
};

// Appends the members' chunks in their order, and adds them to the table. The bytes depend on the
// contents and the compression alone. Memory is bounded for members of any size. Throws Error about
// a source; archive::Error about the archive that is written; patch::Cancelled.
void PackMembers(std::span<const NewMember> members, const PackingOptions& options,
                 archive::ChunkWriter& chunks, archive::MemberTable& table,
                 const ProgressFunction& progress);

// Returns the bytes of the file that the members' chunks and index records take at most, and
// certainly take if none is compressed.
[[nodiscard]] std::uint64_t PlainBytesOf(std::span<const NewMember> members);

}  // namespace va
