// Saving what is whole in a damaged archive.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>

#include "vaconverter/archive.h"

namespace va {

struct RepairedMember {
    enum class Fate {
        Saved,     // its content was proved by its check sum
        Copied,    // damaged, and taken from the good copy
        Doubtful,  // saved, but something about it is not certain
        Lost,
    };

    Fate fate = Fate::Saved;
    std::string name;        // in UTF-8
    std::string storedName;  // its bytes
    std::uint64_t size = 0;  // of the content
    std::string what;        // a clause: why it is lost, or what is not certain; else empty
};

struct RepairOptions {
    std::filesystem::path archive;
    std::filesystem::path result;
    // A good copy, archive or folder: members that are damaged are taken from it where name, size
    // and check sum are those of the lost one. Empty for none.
    std::filesystem::path from;
    bool replace = false;  // a file or link that has the name of the result
    bool dryRun = false;   // do all but write
    unsigned threads = 1;  // the result does not depend on it
    // Called for each member: those of the result in their order, then the lost ones.
    std::function<void(const RepairedMember&)> judged{};
};

struct RepairResult {
    std::uint64_t saved = 0;
    std::uint64_t copied = 0;
    std::uint64_t doubtful = 0;
    std::uint64_t lost = 0;
    std::uint64_t unnamed = 0;     // lost ones of which only the number is known
    std::uint64_t older = 0;       // whole members that a later one of the same name hides
    std::uint64_t unlisted = 0;    // whole members that the index leaves out
    std::uint64_t unreadable = 0;  // bytes of the file that the system could not read
    bool headerFound = false;      // else the result has no build version and product code
    bool indexWhole = false;       // else older versions of members may have been found
    std::uint64_t bytes = 0;       // of the result; 0 with dryRun

    [[nodiscard]] bool AllSaved() const { return doubtful + lost + unnamed == 0; }
};

// Writes an archive of all members whose content is whole, wherever they lie in the file: with a
// header or without, with an index or without, cut, overwritten in places, or joined from several.
// Contents keep their stored bytes. A name that not every reader finds is changed, and that is
// said. The result is a sound archive: it appears when every byte of it was judged, or not at all,
// and never takes the place of what is read.
//
// Throws Error: Refused when there is nothing to save, after `judged` was called for what is lost.
RepairResult Repair(const RepairOptions& options, const ProgressFunction& progress = {});

}  // namespace va
