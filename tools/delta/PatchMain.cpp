#include "delta/Apply.h"
#include "tools/delta/Files.h"
#include "tools/delta/Program.h"

namespace {

void Patch(const std::string& oldPath, const std::string& diffPath, const std::string& outPath) {
    const vdiff::InputFile oldFile(oldPath);
    const vdiff::InputFile diff(diffPath);
    const vdiff::Buffer made = vdiff::ApplyDiff(oldFile.Bytes(), diff.Bytes());
    vdiff::WriteOutput(outPath, {made.View()});
}

}  // namespace

int main(int argc, char** argv) {
    const vdiff::Program program{
        "vpatchl-w32.exe", "OLD DIFF OUT",
        "Writes to OUT the file that DIFF, made by vdiffl-w32.exe, makes of OLD.",
        "vpatchl-w32.exe: an input changed or failed while it was being read\n", &Patch};
    return vdiff::RunProgram(program, argc, argv);
}
