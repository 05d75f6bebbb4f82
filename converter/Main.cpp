// VAConverter: makes a patch between two asset archives, and applies one.
#include <memory>

#include "KernelResource/ResourceSystem.h"
#include "converter/Console.h"
#include "converter/FixedLines.h"
#include "converter/PatchConverter.h"
#include "kernel/InternedString.h"
#include "platform/Interruption.h"
#include "services/Kernel.h"
#include "services/KernelOptions.h"

namespace {

[[nodiscard]] bool IsOperation(const char* word) {
    const Vorn::InternedString name = Vorn::Intern(word);
    return Vorn::CompareText(name, "patchdiff") == 0 || Vorn::CompareText(name, "patchapply") == 0;
}

int Convert(int argc, char** argv) {
    Vorn::KernelOptions options("", "-nullrender -hidewindow", 0, 0);
    Vorn::StartResourceSystem(options.GetOptionList());

    if (argc < 3 || !IsOperation(argv[1])) {
        converter::PrintLine(converter::line::kUsage);
        converter::PrintUsageHint();
        return 1;
    }
    const std::unique_ptr<converter::ConvertBase> program =
        std::make_unique<converter::PatchConverter>();
    int result = 1;
    if (program->Prepare(argc, argv)) {
        result = program->Run();
    } else if (!platform::InterruptionAsked()) {
        program->PrintUsage();
    }
    if (converter::AllLinesPrinted() || platform::InterruptionAsked()) return result;
    converter::PrintProblem("cannot print all lines, so no archive was made");
    return 1;
}

}  // namespace

int main(int argc, char** argv) {
    const Vorn::Kernel kernel;
    const platform::Interruptible interruptible;
    const int result = Convert(argc, argv);
    // After the run has deleted what it made.
    platform::EndAsAsked();
    return result;
}
