#include "tools/va/HelpCommands.h"

#include <array>
#include <string_view>

#include "services/BuildStamp.h"
#include "tools/va/CompletionCommand.h"
#include "tools/va/Help.h"
#include "tools/va/ManPage.h"
#include "tools/va/Run.h"

namespace va::tool {
namespace {

constexpr Operand kCommandWords[] = {{.name = "COMMAND",
                                      .meaning = "a command, or the first word of several",
                                      .optional = true,
                                      .repeats = true,
                                      .completes = Completes::Commands}};

constexpr Option kMan{.name = "man", .meaning = "write the man page, for man(1)"};
constexpr std::array kHelpOptions = {&kMan};

ExitCode ShowHelp(Run& run) {
    if (run.Has(kMan)) {
        std::size_t used = 0;
        const Command* command = FindCommand(run.Operands(), used);
        if (!command && !run.Operands().empty()) {
            throw Failure{ExitCode::Usage, "only a whole command has a man page"};
        }
        run.answer.Write(command ? ManPage(*command) : ManPage());
    } else {
        run.answer.Write(HelpOn(run.Operands()));
    }
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

constexpr Command kHelpCommand = {
    .words = "help",
    .summary = "explain the commands, or one of them",
    .operands = kCommandWords,
    .options = kHelpOptions,
    .details = "Lists the commands; with COMMAND, explains that one and its options.",
    .examples = kHelpExamples,
    .run = ShowHelp};
constexpr Command kVersionCommand = {
    .words = "version",
    .summary = "show the version",
    .operands = {},
    .options = {},
    .details = "Shows the version of va and its build; with -q the bare number.",
    .examples = kVersionExamples,
    .run = ShowVersion};

}  // namespace

std::span<const Command> HelpCommands() {
    static const std::array kCommands = {kHelpCommand, CompletionCommand(), kVersionCommand};
    return kCommands;
}

}  // namespace va::tool
