// The course of a command: switches, the archive's mount, progress.
#include "tools/archive/VArchive.h"

#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "KernelStandard/FileSubArchive.h"
#include "platform/Clock.h"
#include "platform/Terminal.h"
#include "tools/archive/TargetMount.h"

namespace Vorn {
namespace {

constexpr std::uint32_t kReportInterval = 200;  // milliseconds

const InternedString toolMount = Intern(kTargetMountName);

// The decimal number at the start of a text, 0 without one.
[[nodiscard]] std::uint32_t NumberIn(const char* text) {
    return static_cast<std::uint32_t>(std::strtoll(text, nullptr, 10));
}

}  // namespace

// Shows the progress of members being written, for a scope.
class VArchive::ProgressScope {
public:
    explicit ProgressScope(VArchive& tool) {
        reporting_ = &tool;
        FileSubArchive::SetProgressHook([](std::uint32_t consumed, std::uint32_t written) {
            reporting_->ReportProgress(consumed, written);
        });
    }
    ~ProgressScope() { FileSubArchive::SetProgressHook(nullptr); }
    ProgressScope(const ProgressScope&) = delete;
    ProgressScope& operator=(const ProgressScope&) = delete;

private:
    static VArchive* reporting_;
};

VArchive* VArchive::ProgressScope::reporting_ = nullptr;

VArchive::VArchive() : Tool("cnP") {}

VArchive::~VArchive() = default;

void VArchive::Init(std::uint32_t flags) {
    copyBuffer_ = std::make_unique_for_overwrite<CopyBuffer>();
    compress_ = false;
    nameAsPrefix_ = false;
    verbose_ = false;
    prefixGiven_ = false;
    prefixPath_ = "";
    Tool::Init(flags);
}

void VArchive::Shutdown() {
    copyBuffer_.reset();
    Tool::Shutdown();
}

void VArchive::ParseSwitches(ToolCommand& command) {
    Tool::ParseSwitches(command);
    verbose_ = command.verbose;
    compress_ = command.HasSwitch('c');
    if (command.HasSwitch('n')) nameAsPrefix_ = true;
    if (command.HasSwitch('p')) {
        prefixGiven_ = true;
        prefixPath_ = command.SwitchValue('p');
    }
    if (command.HasSetting("buildversion")) {
        FileSubArchive::SetDefaultBuildVersion(NumberIn(command.SettingValue("buildversion")));
    }
    if (command.HasSetting("productcode")) {
        FileSubArchive::SetDefaultProductCode(NumberIn(command.SettingValue("productcode")));
    }
}

bool VArchive::Execute(ToolCommand& command) {
    constexpr std::string_view kWords = "aelb";
    ParseSwitches(command);
    const std::string_view word = command.command.View();
    const std::size_t index = word.size() == 1 ? kWords.find(word) : std::string_view::npos;
    if (index == std::string_view::npos) {
        std::printf("VArchive::Execute(): No command specified.\n");
        return false;
    }
    commandIndex_ = static_cast<Command>(index + 1);
    if (nameAsPrefix_) {
        prefixPath_ = command.target;
        prefixGiven_ = true;
    }
    destination_.reset();

    const bool adds = commandIndex_ == Command::Add;
    TargetMount mount(toolMount, command.target.Text(), !adds);
    std::optional<ProgressScope> progress;
    if (adds) {
        progress.emplace(*this);
        CheckReadable(mount, command.target);
        if (!mount.BeginChanges()) {
            ReportProblem(std::string("cannot change ") + command.target.Text() +
                          ": another process is changing it; try again when that has ended");
            return false;
        }
    }
    mount_ = &mount;
    const bool result = Tool::Execute(command);
    mount_ = nullptr;
    if (!mount.Complete()) {
        ReportProblem(std::string("cannot write the index of ") + command.target.Text() +
                      "; it will be read without one");
    }
    return result;
}

bool VArchive::ProcessFile(const ToolCommand& command, const ToolFileRecord& record) {
    switch (commandIndex_) {
        case Command::Add:
            AddFile(command, record);
            return true;
        case Command::Extract:
            ExtractFile(command, record);
            return true;
        case Command::List:
            ListFile(record);
            return true;
        case Command::ViewBlocks:
            ViewBlocks(record);
            return true;
        default:
            return false;
    }
}

void VArchive::FinishFile() {
    startTime_ = platform::TickMilliseconds();
    lastReport_ = 0;
    std::printf("\n");
}

void VArchive::ShowNow() {
    static const bool watched = platform::IsTerminal(platform::StandardStream::Output);
    if (watched) std::fflush(stdout);
}

bool VArchive::ReportProgress(std::uint32_t bytesConsumed, std::uint32_t bytesWritten) {
    const std::uint32_t elapsed = platform::TickMilliseconds() - startTime_;
    const auto percentOf = [](std::uint32_t part, std::uint32_t whole) {
        return whole == 0 ? 0.0F : static_cast<float>(part * 100.0 / whole);
    };
    const float ratio = percentOf(bytesWritten, bytesConsumed);
    const float percent = percentOf(bytesConsumed, totalBytes_);
    if (lastReport_ != 0 && percent < 100 && elapsed - lastReport_ < kReportInterval) return true;
    lastReport_ = elapsed;
    if (verbose_) {
        std::printf("\rAdd: %5uk %3.0f%% %5dkbs", bytesConsumed >> 10, static_cast<double>(ratio),
                    static_cast<int>(elapsed == 0 ? 0 : bytesConsumed / elapsed));
    } else if (bytesWritten == 0) {
        std::printf("\rAdd: %5uk", bytesConsumed >> 10);
    } else {
        std::printf("\rAdd: %5uk %3.0f%%", (totalBytes_ - (bytesConsumed - bytesWritten)) >> 10,
                    static_cast<double>(percent < 100 ? percent : ratio));
    }
    ShowNow();
    return true;
}

}  // namespace Vorn
