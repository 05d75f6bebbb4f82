#include "converter/InputArchive.h"

#include "KernelStandard/FileSubstList.h"
#include "kernel/Exceptions.h"
#include "kernel/PathBuffer.h"

using namespace Vorn;

bool FitsPath(std::string_view path) { return path.size() < kMaxPath; }

std::string InvalidInputArchive(std::string_view path) {
    return "Invalid input archive \"" + std::string(path) + "\"";
}

void MountInput(const InternedString& name, const char* path) {
    try {
        Subst(name, path, true);
    } catch (const FileEx&) {
        Subst(name, path, false);
    }
}
