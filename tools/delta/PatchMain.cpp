#include "delta/Delta.h"
#include "tools/delta/Files.h"
#include "tools/delta/Program.h"

namespace {

void Patch(const std::string& oldPath, const std::string& diffPath, const std::string& outPath) {
    const delta::InputFile oldFile(oldPath);
    const delta::InputFile diff(diffPath);
    delta::Workspace workspace;
    delta::WriteOutput(outPath, delta::ApplyDelta(oldFile.Content(), diff.Content(), workspace));
}

}  // namespace

int main(int argc, char** argv) {
    const delta::Program program{
        "vpatchl-w32.exe", "OLD DIFF OUT",
        "Writes to OUT the file that DIFF, made by vdiffl-w32.exe, makes of OLD.",
        "vpatchl-w32.exe: an input changed or failed while it was being read\n", &Patch};
    return delta::RunProgram(program, argc, argv);
}
