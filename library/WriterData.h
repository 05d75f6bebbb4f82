// The data of va::ArchiveWriter, shared by the sources that write.
#pragma once

#include "library/NewMembers.h"
#include "vaconverter/writer.h"

namespace va {

struct ArchiveWriter::Impl {
    NewMembers members;
};

}  // namespace va
