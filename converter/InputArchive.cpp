#include "converter/InputArchive.h"

#include "kernel/PathBuffer.h"

using namespace Vorn;

bool FitsPath(std::string_view path) { return path.size() < kMaxPath; }

std::string InvalidInputArchive(std::string_view path) {
    return "Invalid input archive \"" + std::string(path) + "\"";
}
