// Parses a command line, and runs the lines of argument files.
#include <algorithm>
#include <cstdio>
#include <iterator>
#include <string_view>

#include "services/OptionList.h"
#include "tools/archive/ArgumentFile.h"
#include "tools/archive/SplitQuoted.h"
#include "tools/archive/Tool.h"

namespace Vorn {
namespace {

constexpr std::size_t kMostNestedFiles = 64;

// The kernel's options, which are given in the same line and begin with '-' as well.
constexpr std::string_view kKernelOptions[] = {
    "logfile",  "logflush",   "logdisplaymodulename", "redirect",       "render",
    "windowed", "hidewindow", "resourcecaching",      "resourcememory", "resourcebinmaxdeleted"};

}  // namespace

bool Tool::ParseCommandLine(ToolCommand& command, const char* line) {
    bool result = true;
    SplitQuoted(line, "\r\n ", '"', command.tokens);
    std::size_t next = 0;
    for (; next < command.tokens.size(); ++next) {
        const String token = command.tokens[next];
        // Switches count only before the first path: the names of files may begin with '-'.
        if (token.Text()[0] == '-') {
            if (token.Length() == 1) continue;
            if (!KnowsSwitch(token.View())) {
                Warn(std::string("there is no switch ") + token.Text() + "; --help shows them");
            }
            command.TakeSwitch(token.View());
        } else if (token.Text()[0] == '@') {
            result = ProcessArgumentFile(command, token.Text() + 1) && result;
        } else if (command.expectCommand) {
            command.command = token;
            command.expectCommand = false;
            if (token.View() == "a") command.searchTarget = false;
        } else if (command.expectTarget) {
            command.target = token;
            command.expectTarget = false;
        } else {
            break;
        }
    }
    command.paths.assign(command.tokens.begin() + static_cast<std::ptrdiff_t>(next),
                         command.tokens.end());
    if (command.paths.empty()) command.paths.emplace_back("*");
    return result;
}

bool Tool::KnowsSwitch(std::string_view token) const {
    if (switches_.find(token[1]) != std::string::npos) return true;
    OptionList options;
    ParseOptions(options, token);
    return std::ranges::all_of(options, [&](const Option& option) {
        return std::ranges::find(kKernelOptions, option.name.View()) != std::end(kKernelOptions);
    });
}

bool Tool::ProcessArgumentFile(ToolCommand& command, const char* fileName) {
    const auto file = std::make_unique<ArgumentFile>();  // not on the stack: 64 may be nested
    if (!MayNest(fileName) || !file->Open(fileName)) {
        std::printf("- Warning, can't open argument file [%s]\n", fileName);
        NoteFailure();
        return true;
    }
    argumentFiles_.emplace_back(fileName);
    const bool result = RunLines(command, *file, fileName);
    argumentFiles_.pop_back();
    return result;
}

bool Tool::MayNest(const char* fileName) const {
    return argumentFiles_.size() < kMostNestedFiles &&
           std::ranges::none_of(argumentFiles_, [&](const std::string& open) {
               return platform::IsSameFile(open.c_str(), fileName);
           });
}

bool Tool::RunLines(ToolCommand& command, ArgumentFile& file, const char* fileName) {
    const ToolCommand kept = command;
    bool result = true;
    while (const char* line = file.NextLine()) {
        if (file.LineWasCut()) {
            ReportProblem(std::string("a line of ") + fileName +
                          " was cut: it is longer than 1022 characters");
        }
        command = kept;
        command.tokens.clear();
        command.command.Clear();
        command.target.Clear();
        result = ProcessCommandLine(command, line) && result;
    }
    if (!file.WasReadWhole()) ReportProblem(std::string("cannot read all of ") + fileName);
    command = kept;
    return result;
}

}  // namespace Vorn
