// Members of one side whose names are equal, letter case ignored: files of a folder whose file
// system is case-sensitive, or members of an archive, of which readers find the first only.
#pragma once

#include "vaconverter/archive.h"

namespace va {

// Throws Error (Refused) that names all of them: work that pairs members by name would leave out
// all but one of each without a sign.
void RefuseDoubles(const Archive& side);

}  // namespace va
