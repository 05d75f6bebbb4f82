#include "KernelStandard/FileSub.h"

#include "kernel/Exceptions.h"

namespace Vorn {

bool FileSub::OpenWrite(OpenFile& /*file*/, const char* /*name*/, OpenFlags /*flags*/) {
    return false;
}

bool FileSub::OpenRead(OpenFile& /*file*/, const char* /*name*/, OpenFlags /*flags*/) {
    return false;
}

bool FileSub::CloseFile(OpenFile& /*file*/) {
    // The text and the line number are fixed.
    throw FileEx("KernelStandard/FileSub", 87, "CloseFile() Logic Error");
}

bool FileSub::Exists(InternedString& /*substName*/, const char* /*name*/) { return false; }

bool FileSub::Locate(PathSpan outPath, const char* name) {
    SetPath(outPath, name);
    InternedString noSubst;
    return Exists(noSubst, name);
}

bool FileSub::Rename(const char* /*oldName*/, const char* /*newName*/) { return false; }

bool FileSub::Stat(std::uint32_t& /*writeTime*/, const char* /*name*/) { return false; }

}  // namespace Vorn
