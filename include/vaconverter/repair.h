// Saving the intact members of a damaged archive.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "vaconverter/archive.h"

namespace va {

struct RepairedMember {
    enum class Fate {
        Saved,     // its check sum proves the content
        Copied,    // damaged, and copied from the good copy
        Doubtful,  // saved, but something about it is uncertain
        Lost,
    };

    Fate fate = Fate::Saved;
    std::string name;        // in UTF-8
    std::string storedName;  // its stored bytes
    std::uint64_t size = 0;  // of the content
    std::string what;        // a clause: why it is lost, or what is uncertain; else empty
};

struct RepairOptions {
    std::filesystem::path archive;
    std::filesystem::path result;
    // A good copy, archive or folder; may be empty. A damaged member is copied from it if name,
    // size and check sum match.
    std::filesystem::path from;
    bool replace = false;  // replace an existing file or link
    bool dryRun = false;   // do everything except writing
    unsigned threads = 1;  // does not affect the result
    // Called for each member: first the members of the result in their order, then the lost ones.
    std::function<void(const RepairedMember&)> judged{};
};

struct RepairResult {
    std::uint64_t saved = 0;
    std::uint64_t copied = 0;
    std::uint64_t doubtful = 0;
    std::uint64_t lost = 0;
    std::uint64_t unnamed = 0;     // lost members whose names are unknown
    std::uint64_t older = 0;       // intact members that a later one of the same name hides
    std::uint64_t unlisted = 0;    // intact members that the index does not list
    std::uint64_t unreadable = 0;  // bytes of the file that the system could not read
    bool headerFound = false;      // if false, the result has no build version and product code
    bool indexWhole = false;       // if false, some saved members may be older versions
    std::uint64_t bytes = 0;       // size of the result; 0 with dryRun
    bool replacesLink = false;     // the result took the place of a link, or would take it
    // What killed runs for the same result had left, which was removed.
    std::vector<std::filesystem::path> abandoned;

    [[nodiscard]] bool AllSaved() const { return doubtful + lost + unnamed == 0; }
};

// Writes an archive of all members whose content is intact, wherever they lie in the file. The file
// may lack its header or index, may be truncated or partly overwritten, or may be several archives
// joined together. Contents keep their stored bytes. A name that some readers cannot find is
// changed, and reported. The result is a valid archive: it appears after every byte of it was
// checked, or not at all. It never replaces an input.
//
// Throws Error: Refused if there is nothing to save, after `judged` was called for the lost
// members.
RepairResult Repair(const RepairOptions& options, const ProgressFunction& progress = {});

}  // namespace va
