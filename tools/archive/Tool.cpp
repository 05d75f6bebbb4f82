// Runs one command line: parse, mount the target, find the files, execute.
#include "tools/archive/Tool.h"

#include <cstdio>
#include <optional>

#include "KernelResource/ResourceSystem.h"
#include "services/Log.h"
#include "services/OptionSources.h"
#include "tools/archive/TargetMount.h"

namespace Vorn {

Tool::Tool(std::string_view switches) : switches_("krvpxs" + std::string(switches)) {}

Tool::~Tool() = default;

void Tool::Init(std::uint32_t flags) {
    command_.expectCommand = (flags & kExpectCommand) != 0;
    command_.expectTarget = (flags & kExpectTarget) != 0;
    command_.searchTarget = (flags & kSearchTarget) != 0;
}

void Tool::Shutdown() {
    resourceSystem_.reset();
    options_.reset();
}

bool Tool::Startup(const char* commandLine, const char* appName, const char* extraOptions) {
    commandLine_ = commandLine;
    appName_ = appName;
    options_ = std::make_unique<KernelOptions>("", "", 0, 0);
    OptionList& list = options_->GetOptionList();
    LoadOptions(list, appName, commandLine);
    ParseOptions(list, " +Render=OpenGL,DirectX -HideWindow -Windowed -LogFlush-");
    if (extraOptions) ParseOptions(list, extraOptions);
    InitLog(list);
    SetLogConsoleStream(stdout);
    resourceSystem_ = std::make_unique<ResourceSystem>();
    resourceSystem_->Init(&list);
    return true;
}

bool Tool::Run() { return ProcessCommandLine(command_, commandLine_); }

bool Tool::ProcessCommandLine(ToolCommand& command, const char* line) {
    if (!line) {
        PrintUsage();
        return false;
    }
    const bool result = ParseCommandLine(command, line);
    if ((command.expectTarget && command.target.IsNull()) ||
        (command.expectCommand && command.command.IsNull())) {
        RequestUsage();
        return false;
    }
    Tool::ParseSwitches(command);
    // One mount serves the search and the command, so that the index is read once.
    std::optional<TargetMount> mount;
    if (command.searchTarget && !command.target.IsNull()) {
        mount.emplace(command.target.Text(), true);
        CheckReadable(*mount, command.target);
        FileSubArchive* archive = mount->Archive();
        if (archive && archive->LacksIndex()) {
            ReportProblem(command.target.Text() +
                          std::string(" was cut or damaged: the index that its header names is "
                                      "missing, and members may be missing too"));
        }
        if (mount->WasCreated()) {
            ReportProblem(std::string("there was no archive ") + command.target.Text() +
                          "; an empty one was created");
        }
    }
    BuildFileList(command);
    if (command.files.empty()) {
        std::printf("- Warning, no input files found: command '%s'\n", line);
        RequestUsage();
        return false;
    }
    if (!Execute(command)) {
        std::printf("Tool::ProcessCommandLine(): Command execution failed:\n\"%s\"\n\n", line);
        return false;
    }
    return result;
}

bool Tool::Execute(ToolCommand& command) {
    ParseSwitches(command);
    bool result = true;
    for (const ToolFileRecord& record : command.files) {
        result = ProcessFile(command, record) && result;
    }
    if (!command.files.empty()) std::printf("\nProcessed %zu files.\n", command.files.size());
    return result;
}

bool Tool::ProcessFile(const ToolCommand& /*command*/, const ToolFileRecord& /*record*/) {
    return true;
}

void Tool::PrintUsage() {}

void Tool::RequestUsage() {
    if (!usageShown_) PrintUsage();
    usageShown_ = true;
}

void Tool::ParseSwitches(ToolCommand& command) {
    command.recursive = command.HasSwitch('r');
    command.keepPaths = command.HasSwitch('k');
    command.verbose = command.HasSwitch('v');
}

void Tool::ReportProblem(const std::string& text) {
    NoteFailure();
    Warn(text);
}

void Tool::Warn(const std::string& text) const {
    std::fflush(stdout);  // keeps the lines of both streams in order where they share a terminal
    std::fprintf(stderr, "%s: %s\n", appName_.Text(), text.c_str());
}

void Tool::CheckReadable(const TargetMount& mount, const String& target) {
    if (!mount.IsReadable()) {
        ReportProblem(std::string("cannot read ") + target.Text() + " as an archive");
    }
}

}  // namespace Vorn
