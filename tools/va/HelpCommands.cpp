#include "tools/va/HelpCommands.h"

#include <array>
#include <string_view>

#include "services/BuildStamp.h"
#include "tools/va/Help.h"
#include "tools/va/Run.h"

namespace va::tool {
namespace {

constexpr Operand kCommandWords[] = {{.name = "COMMAND",
                                      .meaning = "a command, or the first word of several",
                                      .optional = true,
                                      .repeats = true,
                                      .completes = Completes::Commands}};

ExitCode ShowHelp(Run& run) {
    run.answer.Write(HelpOn(run.Operands()));
    return ExitCode::Done;
}

ExitCode ShowVersion(Run& run) {
    if (run.Has(kQuiet)) {
        run.answer.Write(VA_VERSION "\n");
    } else {
        std::string text = "va " VA_VERSION " (";
        if (Vorn::HasBuildStamp()) text.append(Vorn::BuildStamp()).append(", ");
        text.append("built ").append(Vorn::BuildDate()).append(" ").append(Vorn::BuildTime());
        run.answer.Write(text + ")\n");
    }
    return ExitCode::Done;
}

constexpr std::array<std::string_view, 2> kHelpExamples = {"va help", "va help diff"};
constexpr std::array<std::string_view, 2> kVersionExamples = {"va --version", "va -q --version"};

constexpr Command kCommands[] = {
    {.words = "help",
     .summary = "explain the commands, or one of them",
     .operands = kCommandWords,
     .options = {},
     .details = "Lists the commands; with COMMAND, explains that one and its options.",
     .examples = kHelpExamples,
     .run = ShowHelp},
    {.words = "version",
     .summary = "show the version",
     .operands = {},
     .options = {},
     .details = "Shows the version of va and its build; with -q the bare number.",
     .examples = kVersionExamples,
     .run = ShowVersion},
};

}  // namespace

std::span<const Command> HelpCommands() { return kCommands; }

}  // namespace va::tool
