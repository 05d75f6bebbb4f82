#include "tools/archive/VArchive.h"

#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "KernelStandard/FileSubArchive.h"
#include "tools/archive/AddCommand.h"
#include "tools/archive/ExtractCommand.h"
#include "tools/archive/TargetMount.h"
#include "tools/archive/ViewCommands.h"

namespace Vorn {
namespace {

constexpr std::string_view kCommandWords = "aelb";

// Returns the decimal number at the start of a text, 0 without one.
[[nodiscard]] std::uint32_t NumberIn(const char* text) {
    return static_cast<std::uint32_t>(std::strtoll(text, nullptr, 10));
}

}  // namespace

VArchive::VArchive() : Tool("cnP") {}

VArchive::~VArchive() = default;

void VArchive::Init(std::uint32_t flags) {
    copyBuffer_ = std::make_unique_for_overwrite<CopyBuffer>();
    nameAsPrefix_ = false;
    prefix_.reset();
    Tool::Init(flags);
}

void VArchive::Shutdown() {
    copyBuffer_.reset();
    Tool::Shutdown();
}

void VArchive::ParseSwitches(ToolCommand& command) {
    Tool::ParseSwitches(command);
    if (command.HasSwitch('n')) nameAsPrefix_ = true;
    if (command.HasSwitch('p')) prefix_ = command.SwitchValue('p');
    if (command.HasSetting("buildversion")) {
        FileSubArchive::SetDefaultBuildVersion(NumberIn(command.SettingValue("buildversion")));
    }
    if (command.HasSetting("productcode")) {
        FileSubArchive::SetDefaultProductCode(NumberIn(command.SettingValue("productcode")));
    }
}

std::unique_ptr<ArchiveCommand> VArchive::CommandFor(const ToolCommand& line, TargetMount& target) {
    const ArchiveCommand::Context context{*this, line, target, progress_, *copyBuffer_};
    switch (line.command.Text()[0]) {
        case 'a':
            return std::make_unique<AddCommand>(context);
        case 'e':
            return std::make_unique<ExtractCommand>(context, prefix_);
        case 'l':
            return std::make_unique<ListCommand>(context);
        default:
            return std::make_unique<BlocksCommand>(context);
    }
}

bool VArchive::Execute(ToolCommand& command) {
    ParseSwitches(command);
    const std::string_view word = command.command.View();
    if (word.size() != 1 || kCommandWords.find(word) == std::string_view::npos) {
        std::printf("VArchive::Execute(): No command specified.\n");
        return false;
    }
    if (nameAsPrefix_) prefix_ = command.target;
    TargetMount target(command.target.Text(), word != "a");
    // Tool::Execute parses the switches again, so that -p replaces the target's name.
    ParseSwitches(command);
    running_ = CommandFor(command, target);
    bool result = running_->Begin();
    if (result) {
        result = Tool::Execute(command);
        running_->End();
    }
    running_.reset();
    FileSubArchive* archive = target.Archive();
    if (archive && !archive->Complete()) {
        ReportProblem(std::string("cannot write the index of ") + command.target.Text() +
                      "; make room, and add a file to write it again");
    }
    return result;
}

bool VArchive::ProcessFile(const ToolCommand& /*command*/, const ToolFileRecord& record) {
    if (!running_) return false;
    running_->Process(record);
    return true;
}

void VArchive::PrintUsage() {
    static bool printed = false;
    if (printed) return;
    printed = true;
    std::fputs(
        "Vorn Archiver v1.9\n"
        "Usage:\n"
        "  VArchive {<Switches>} <Command> Execute one command with switches\n"
        "  VArchive @<file>                Read file for multiple commands (one per line)\n"
        "\n"
        "Switches:\n"
        "  <Switch>{ <Switches>}           A switch plus optional switches\n"
        "\n"
        "Switch:\n"
        "  -r                              Recursive Search\n"
        "  -P                              Use Full Paths\n"
        "  -v                              Verbose Display\n"
        "  -c                              Enable Compression\n"
        "  -n                              Use archive name as path prefix\n"
        "  -p<path>                        Use path prefix\n"
        "  -x<Wildcards>                   Exclude files\n"
        "  -sbuildversion=<buildversion>   Specify archive build version\n"
        "  -sproductcode=<productcode>     Specify archive product code\n"
        "\n"
        "Command:\n"
        "  a <archive> <Paths>             Add matching wildcards to archive\n"
        "  e <archive> <Paths>             Extract matching wildcards from archive\n"
        "  l <archive> <Paths>             List matching wildcards in archive\n"
        "  b <file>                        View blocks in file\n"
        "\n"
        "Paths:\n"
        "  <Path>{ <Paths>}                A path plus optional paths\n"
        "\n"
        "Path:\n"
        "  {<dir>}<Wildcards>              An optional directory plus wildcards\n"
        "\n"
        "Wildcards:\n"
        "  <Wildcard>{;<Wildcards>}        A wildcard plus optional wildcards\n"
        "\n"
        "Example:\n"
        "  VArchive -c -n -r a MyArchive Data/*.txt;*.bmp;*.*.*\n"
        "\n"
        "     Enables compression and recursive directory scanning. Adds to the\n"
        "     archive file MyArchive.va in the current directory, starting from\n"
        "     the sub directory Data all .txt, .bmp and files with two extensions.\n"
        "     Note: By default the path prefix is removed from files.\n",
        stdout);
}

}  // namespace Vorn
