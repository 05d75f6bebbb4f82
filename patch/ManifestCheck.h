// Whether the lists of a manifest agree with each other.
#pragma once

#include "patch/ManifestLines.h"

namespace patch {

// Compares the lists with each other and with the counts of the sides. Throws ManifestError for a
// member that is listed twice, or removed and added, and for counts that the lists do not give.
void CheckLists(const ManifestLines& lines, const Manifest& manifest);

}  // namespace patch
