// Rewriting an archive in its canonical form.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <vector>

#include "vaconverter/writer.h"

namespace va {

struct RepackOptions {
    std::filesystem::path archive;
    std::filesystem::path result;  // if empty, the archive itself is replaced
    bool replace = false;          // replace an existing file or link
    bool dryRun = false;           // do everything except writing
    Compression compression = Compression::WhereItSaves;
    unsigned threads = 1;  // does not affect the result
    // Called for each member in the order of the result, after the result was written.
    std::function<void(const Change&)> written{};
};

struct RepackResult {
    std::uint64_t members = 0;
    std::uint64_t before = 0;   // size of the archive before, in bytes
    std::uint64_t dead = 0;     // the part of it that deleted and replaced members and indexes took
    std::uint64_t bytes = 0;    // size of the result; 0 with dryRun
    bool replacesLink = false;  // the result took the place of a link, or would take it
    // What killed runs for the same result had left, which was removed.
    std::vector<std::filesystem::path> abandoned;
};

// Writes the members of an archive as ArchiveWriter::Create does, with the archive's build version
// and product code, so the same members give the same bytes. The result appears after every byte of
// it was checked, or not at all. An archive that is replaced keeps its permissions and is locked
// against changes meanwhile; a link to it stays.
//
// Throws Error: Refused if the archive is damaged; the message names the damaged members. Repair
// saves the others.
RepackResult Repack(const RepackOptions& options, const ProgressFunction& progress = {});

}  // namespace va
