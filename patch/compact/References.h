// Finds the contents that added members resemble.
#pragma once

#include <cstdint>
#include <vector>

#include "patch/Difference.h"
#include "patch/compact/Budget.h"
#include "patch/compact/Decoder.h"

namespace patch::compact {

// Sets sources and repeats of the added members in `directory`, whose other fields are known;
// `fresh` holds the numbers of the carried members in the new side. Reads the old side once, on
// `threads` workers, if anything was added. Memory grows with what was added, within the
// budget: under a limit fewer places are looked at, and sources are smaller.
void FindSources(const Difference& difference, const OldMembers& old,
                 const std::vector<Number>& fresh, const Budget& budget, Directory& directory,
                 unsigned threads, const ProgressFunction& progress);

}  // namespace patch::compact
