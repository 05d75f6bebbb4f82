#include "delta/Delta.h"
#include "tools/delta/Files.h"
#include "tools/delta/Program.h"

namespace {

void Diff(const std::string& oldPath, const std::string& newPath, const std::string& outPath) {
    const delta::InputFile oldFile(oldPath);
    const delta::InputFile newFile(newPath);
    delta::Workspace workspace;
    delta::WriteOutput(outPath, delta::MakeDelta(oldFile.Content(), newFile.Content(), workspace));
}

}  // namespace

int main(int argc, char** argv) {
    const delta::Program program{
        "vdiffl-w32.exe", "OLD NEW OUT",
        "Writes to OUT what vpatchl-w32.exe needs to make NEW from OLD.",
        "vdiffl-w32.exe: an input changed or failed while it was being read\n", &Diff};
    return delta::RunProgram(program, argc, argv);
}
