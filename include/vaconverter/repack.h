// Writing an archive anew, in its canonical form.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>

#include "vaconverter/writer.h"

namespace va {

struct RepackOptions {
    std::filesystem::path archive;
    std::filesystem::path result;  // empty: the archive itself is replaced
    bool replace = false;          // a file or link that has the name of the result
    bool dryRun = false;           // do all but write
    Compression compression = Compression::WhereItSaves;
    unsigned threads = 1;  // the result does not depend on it
    // Called for each member, in the order of the result, when that is there.
    std::function<void(const Change&)> written{};
};

struct RepackResult {
    std::uint64_t members = 0;
    std::uint64_t before = 0;  // bytes of the archive
    std::uint64_t dead = 0;    // of these, those of deleted and replaced members and old indexes
    std::uint64_t bytes = 0;   // of the result; 0 with dryRun
};

// Writes the members of an archive as ArchiveWriter::Create does, with the archive's build version
// and product code: the same members give the same bytes. The result appears when every byte of it
// was judged, or not at all. An archive that is replaced keeps its permissions, and is locked
// against changes meanwhile; a link to it stays.
//
// Throws Error: Refused for an archive that is damaged, with the members that are; Repair saves the
// others.
RepackResult Repack(const RepackOptions& options, const ProgressFunction& progress = {});

}  // namespace va
