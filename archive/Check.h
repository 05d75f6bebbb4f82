// Judges a whole archive in one pass over its file: index against chunks, places, sizes, content
// against check sums, names.
//
// Every byte is read once at most, whatever the members claim. Memory is that of the reader, a
// window for each worker, and the findings that are kept.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "archive/Reader.h"

namespace archive {

enum class Fault {
    // Damage: the archive promises something that is not there.
    IndexMissing,    // the header promises an index that is not at its place
    IndexDamaged,    // the index is cut short, or its length is not that of its records
    EntryDiffers,    // a member's record and its chunk disagree, or there is no live chunk
    OutsideFile,     // a member does not lie in the file
    Overlap,         // a member reaches into the header, the index or the next member
    ContentDamaged,  // content that does not expand to its size
    SumDiffers,      // content that disagrees with its check sum
    CannotRead,      // the system failed to read it
    // Oddities: everything that is promised can still be read.
    Hidden,      // a live chunk that an index does not list
    DoubleName,  // a name that an earlier member has; it cannot be reached by name
    OddName,     // a name that not every reader finds (NameProblem)
    StrayBytes,  // bytes between the members that belong to no chunk
    Unfinished,  // a chunk that a writer began and did not finish
};
[[nodiscard]] constexpr bool IsDamage(Fault fault) { return fault < Fault::Hidden; }

struct Finding {
    Fault fault;
    std::uint64_t offset = 0;  // in the file
    std::string member;        // stored name; empty when no member is concerned
    std::string text;          // a clause in English, without name and offset
};

struct Judgement {
    std::vector<Finding> findings;  // the first ones, by offset
    std::uint64_t damages = 0;      // counts of all, kept or not
    std::uint64_t oddities = 0;

    std::uint64_t members = 0;
    std::uint64_t contentBytes = 0;  // as the entries say
    std::uint64_t storedBytes = 0;
    std::uint64_t deadBytes = 0;  // bytes of the file outside header, members and index

    bool cancelled = false;  // findings and their counts are those of a part of the archive

    [[nodiscard]] bool Whole() const { return damages == 0 && !cancelled; }
};

// Takes the bytes of the file judged so far, and all of them; returns false to cancel the check.
using CheckProgress = std::function<bool(std::uint64_t done, std::uint64_t total)>;

struct CheckOptions {
    unsigned workers = 1;
    bool content = true;         // also expand every content and compare its check sum
    std::size_t findings = 100;  // kept at most
    // Called by the thread that called Check: each time a worker has gone through another two
    // megabytes, whether of the file or of expanded content, and at the end with done == total
    // (that result is ignored). `done` never falls. An exception ends the check and is passed on.
    CheckProgress progress = nullptr;
};

// The result does not depend on the number of workers, unless the check is cancelled.
[[nodiscard]] Judgement Check(const Reader& reader, const CheckOptions& options = {});

}  // namespace archive
