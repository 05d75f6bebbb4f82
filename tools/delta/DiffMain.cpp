#include "delta/MakeDiff.h"
#include "tools/delta/Files.h"
#include "tools/delta/Program.h"

namespace {

void Diff(const std::string& oldPath, const std::string& newPath, const std::string& outPath) {
    const vdiff::InputFile oldFile(oldPath);
    const vdiff::InputFile newFile(newPath);
    const vdiff::Diff diff = vdiff::MakeDiff(oldFile.Bytes(), newFile.Bytes());
    vdiff::WriteOutput(outPath, {diff.head, diff.payload});
}

}  // namespace

int main(int argc, char** argv) {
    const vdiff::Program program{
        "vdiffl-w32.exe", "OLD NEW OUT",
        "Writes to OUT what vpatchl-w32.exe needs to make NEW from OLD.",
        "vdiffl-w32.exe: an input changed or failed while it was being read\n", &Diff};
    return vdiff::RunProgram(program, argc, argv);
}
