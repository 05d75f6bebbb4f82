// Members of one side that have one name, letter case ignored: twins in a folder whose file system
// tells them apart, or several members of an archive of which readers find the first only.
#pragma once

#include "vaconverter/archive.h"

namespace va {

// Throws Error (Refused) that names all of them: work that pairs members by name would leave out
// all but one of each without a sign.
void RefuseDoubles(const Archive& side);

}  // namespace va
