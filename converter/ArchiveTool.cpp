// The archive tool that the program carries. It is made before main and nothing here runs it: a
// host does, through its tool interface.
#include "tools/archive/VArchive.h"

namespace {

Vorn::VArchive archiveTool;

}  // namespace
