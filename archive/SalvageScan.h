// Finds everything that looks like a part of an archive in the bytes of a damaged one: headers,
// member chunks, indexes, wherever they lie.
//
// A chunk counts if its two lengths agree and it has a name. What follows it decides how far it is
// believed: where another chunk, an index or the end of the file follows, its content is passed
// over, damaged or not, so that an archive inside it is not mistaken for a part of this one. Else
// its content is judged at once: whole content is passed over, damaged content is searched.
//
// Every byte is searched at most once, and judged on the way at most eight times however the
// claims of chunks overlap. Memory is that of the chunks' entries, as for reading the archive. Of
// more than a hundred archives in one file only the first headers and indexes count.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "archive/ContentReader.h"
#include "archive/MemberTable.h"
#include "platform/Files.h"

namespace archive {

// Whether a content is whole: it expands to its size and has its check sum.
enum class Wholeness { Unjudged, Whole, Damaged };

struct FoundChunk {
    std::uint64_t place = 0;  // of the data in the file; files that were joined may pass 4 GiB
    std::uint32_t version = kArchiveVersion102;  // of the header before it
    bool live = true;                            // not marked as deleted
    bool inner = false;       // lies in the damaged content of a member that is an archive itself
    bool mayBeInner = false;  // a header lies before it that does not follow an archive
    Wholeness state = Wholeness::Unjudged;
    std::string reason{};  // why it is damaged
};

struct FoundHeader {
    std::uint64_t base = 0;  // where its archive begins
    ArchiveHeader header;
};

struct FoundIndex {
    std::uint64_t place = 0;    // of its chunk header, or where that should be
    bool intact = true;         // every record that it promises is there and well formed
    std::uint32_t leading = 0;  // records before the first that is not
    MemberTable records{};      // the well-formed ones
};

struct ScannedFile {
    std::uint64_t size = 0;
    std::uint64_t unreadable = 0;  // bytes that the system could not read
    MemberTable entries;           // of the chunks, one for each, in the order of their places
    std::vector<FoundChunk> chunks;
    std::vector<FoundHeader> headers;
    std::vector<FoundIndex> indexes;  // by place
};

// Judges contents, one after the other. One thread at a time; any number on one file.
class WholenessJudge {
public:
    WholenessJudge(const platform::FileHandle& file, std::uint64_t size);

    // Sets the state and, of damaged content, the reason. `version` is tried first, and becomes the
    // one that the content was written by.
    void Judge(const Member& member, std::uint64_t place, std::uint32_t& version, Wholeness& state,
               std::string& reason);

private:
    [[nodiscard]] bool TryVersion(const Member& member, std::uint64_t place, std::uint32_t version,
                                  std::string& reason);

    ContentReader now_;
    ContentReader earlier_;
};

// Takes the bytes searched so far, and all of them; returns false to cancel.
using ScanProgress = std::function<bool(std::uint64_t done, std::uint64_t total)>;

// Throws Error (CannotRead) if the file has no length, or (Refused, "cancelled").
[[nodiscard]] ScannedFile ScanForSalvage(const platform::FileHandle& file,
                                         const ScanProgress& progress = nullptr);

}  // namespace archive
