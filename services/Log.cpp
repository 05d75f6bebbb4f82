#include "services/Log.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include "KernelStandard/FileSubstList.h"
#include "kernel/FormatText.h"
#include "kernel/LetterCase.h"
#include "kernel/StartUp.h"
#include "platform/Debugger.h"
#include "platform/Lock.h"
#include "platform/Threads.h"
#include "services/BuildStamp.h"
#include "services/LogFile.h"

namespace Vorn {
namespace {

using Modules = std::map<std::string, LogModule>;  // by name in lower case

struct Settings {
    std::atomic<bool> initialised = false;
    std::atomic<bool> disabled = false;
    std::atomic<bool> flush = true;
    std::atomic<bool> showPrefix = true;
    std::atomic<double> startTime = 0;  // seconds of GetTimeSeconds; 0 before InitLog
    std::atomic<std::FILE*> console = nullptr;

    void Reset() {
        initialised = false;
        disabled = false;
        flush = true;
        showPrefix = true;
        startTime = 0;
        console = nullptr;
    }
};

// Without destructors, like LogFile: static objects may log before and after any other. CloseLog
// ends them.
constinit Settings settings;
constinit LogFile file;
constinit platform::Lock modulesLock;
constinit Modules* modules = nullptr;  // under modulesLock; made at its first use

std::string LineText(const LogModule& module, LogLevel level, const char* format,
                     std::va_list arguments) VORN_PRINTF(3, 0);

std::string LineText(const LogModule& module, LogLevel level, const char* format,
                     std::va_list arguments) {
    std::string line;
    if ((module.Format() & kLogPrefix) != 0) {
        const double start = settings.startTime;
        const double seconds = start > 0 ? GetTimeSeconds() - start : 0;
        line = LogPrefix(level, platform::CurrentThreadId(), seconds, module.Name());
    }
    line += FormattedText(format, arguments).View();
    if ((module.Format() & kLogNewlines) != 0) line += "\r\n";
    return line;
}

void WriteToSinks(LogModule& module, LogLevel level, const char* format,
                  std::va_list arguments) noexcept VORN_PRINTF(3, 0);

void WriteToSinks(LogModule& module, LogLevel level, const char* format,
                  std::va_list arguments) noexcept {
    try {
        const std::string line = LineText(module, level, format, arguments);
        const std::uint32_t sinks = module.Sinks();
        if ((sinks & kLogToFile) != 0) file.WriteLine(module, line, settings.flush);
        if ((sinks & kLogToDebugger) != 0) platform::DebugOutput(line.c_str());
        if (std::FILE* console = settings.console) {
            std::fwrite(line.data(), 1, line.size(), console);
        }
    } catch (...) {
        // A lost line is no reason to end its writer.
    }
}

// Ends a file in a mount while mounts still exist. The list of mounts exists now, so a function
// registered now runs before its destructor.
void EndBeforeSubstitutions(const char* path) {
    static bool registered = false;
    if (registered || !FileSubstList::Instance().NamesMount(path)) return;
    registered = std::atexit([] { file.End("End.\r\n"); }) == 0;
}

void OpenLogFile(const char* path, bool noLog) {
    if (*path == '\0') return;
    if (!file.Open(path)) {
        settings.disabled = true;
        return;
    }
    EndBeforeSubstitutions(path);
    file.WriteThrough(BuildStamp() + " on " + BuildDate() + " at " + BuildTime() + ".\r\n\r\n");
    if (noLog) {
        file.End("Log Disabled.\r\n");
        settings.disabled = true;
    } else {
        file.WriteThrough("Begin:\r\n");
    }
}

// Applies "module:word:word...". Empty words are skipped, and an item without a module is ignored.
void ConfigureModule(std::string_view item) {
    const auto takeToken = [&item] {
        const std::string_view token = item.substr(0, item.find(':'));
        item.remove_prefix(std::min(token.size() + 1, item.size()));
        return token;
    };
    const std::string_view name = takeToken();
    if (name.empty()) return;
    LogModule* module = RegisterLogModule(name);
    while (!item.empty()) module->Configure(takeToken());
}

}  // namespace

LogModule* RegisterLogModule(std::string_view name) {
    std::string key = AnsiLowered(name);
    const std::lock_guard guard(modulesLock);
    if (!modules) {
        SetFinalTeardown(CloseLog);
        modules = std::make_unique<Modules>().release();
    }
    return &modules->try_emplace(std::move(key), name, settings.showPrefix.load()).first->second;
}

void LogWrite(LogModule* module, LogLevel level, const char* format, ...) noexcept {
    if (!module || level > module->Level() || module->Sinks() == 0) return;
    if (settings.disabled) return;
    std::va_list arguments;
    va_start(arguments, format);
    WriteToSinks(*module, level, format, arguments);
    va_end(arguments);
}

void LogWriteRaw(LogModule& module, LogLevel level, const char* format, ...) noexcept {
    std::va_list arguments;
    va_start(arguments, format);
    WriteToSinks(module, level, format, arguments);
    va_end(arguments);
}

void InitLog(OptionList& options) {
    if (settings.initialised) return;
    SetFinalTeardown(CloseLog);
    settings.startTime = GetTimeSeconds();

    bool on = false;
    GetOptionBool(options, "LogFlush", on, settings.flush);
    settings.flush = on;
    GetOptionBool(options, "LogDisplayModuleName", on, settings.showPrefix);
    settings.showPrefix = on;

    String path;
    GetOptionString(options, "LogFile", path, "VornLog.txt");
    OpenLogFile(path.Text(), FindOption(options, "NoLog") != nullptr);

    if (FindOption(options, "LogStdOut")) SetLogConsoleStream(stdout);
    if (FindOption(options, "LogStdErr")) SetLogConsoleStream(stderr);

    {
        const std::lock_guard guard(modulesLock);
        if (modules) {
            for (auto& [name, module] : *modules) module.ShowPrefix(settings.showPrefix);
        }
    }
    if (Option* items = FindOption(options, "Log")) {
        BeginOptionValues(*items, ",");
        for (String item; NextOptionValue(options, "Log", item);) ConfigureModule(item.View());
    }
    settings.initialised = true;
}

void SetLogConsoleStream(std::FILE* stream) { settings.console = stream; }

void ShutdownLog() noexcept { file.End("Shutdown.\r\n"); }

bool ShutdownLogAfterFault() noexcept { return file.EndAfterFault("Shutdown.\r\n"); }

void CloseLog() noexcept {
    file.End("End.\r\n");
    settings.Reset();
    const std::lock_guard guard(modulesLock);
    const std::unique_ptr<Modules> dying(std::exchange(modules, nullptr));
}

}  // namespace Vorn
