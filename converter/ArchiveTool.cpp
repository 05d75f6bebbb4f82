// The archive tool that the program carries. It is constructed before main; nothing here runs it. A
// host does, through its tool interface.
#include "tools/archive/VArchive.h"

namespace {

Vorn::VArchive archiveTool;

}  // namespace
