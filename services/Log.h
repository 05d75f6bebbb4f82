// The kernel's log: lines from named modules to a file, the debugger and a console stream.
//
// Before InitLog, and in programs that never call it, lines reach the debugger only. The file
// starts with the version and "Begin:", and ends with "End." at the process's exit or "Shutdown."
// after a fatal error. It is 8-bit text. A line that cannot be written, or for which there is no
// memory, is silently lost; only InitLog and RegisterLogModule throw, std::bad_alloc.
//
// Threads: any thread may write; lines never mix, in the file or on the console. Writers of the
// file exclude each other by the log lock, which is innermost: inside it the log takes only the
// locks of the file. InitLog, SetLogConsoleStream and CloseLog are for one thread at a time.
#pragma once

#include <cstdarg>
#include <cstdio>
#include <string_view>

#include "platform/PrintfCheck.h"
#include "services/LogModule.h"
#include "services/OptionList.h"

namespace Vorn {

// Returns the module of that name (any letter case), made at the first call for it. Any thread.
// Modules live until CloseLog; register again to log after that.
LogModule* RegisterLogModule(std::string_view name);

// Writes one line if the module takes its level, has a sink at all, and the log is not disabled. A
// null module writes nothing.
void LogWrite(LogModule* module, LogLevel level, const char* format, ...) noexcept
    VORN_PRINTF(3, 4);
// Writes one line whatever the module's level, and even if the log is disabled.
void LogWriteRaw(LogModule& module, LogLevel level, const char* format, ...) noexcept
    VORN_PRINTF(3, 4);

// Opens the log as these options say. Later calls do nothing until CloseLog.
//
//   LogFile=name             default "VornLog.txt"; may name a mount; empty for no file
//   LogFlush                 each line reaches the system at once; default on
//   LogDisplayModuleName     lines have the prefix of LogPrefix; default on
//   NoLog                    the file gets only its banner; the log is disabled
//   LogStdOut, LogStdErr     the console stream; the latter wins
//   Log=module:word:...,...  words of LogModule::Configure for a module, which is made if missing
//
// If the file cannot be opened the log is disabled: LogWrite writes nothing anywhere. A file in a
// mount needs that mount until it is closed, so at the process's exit it ends ("End.") before the
// mounts do; any other file ends after all teardown functions.
void InitLog(OptionList& options);

// Sets where lines go besides the file and the debugger; null for nowhere.
void SetLogConsoleStream(std::FILE* stream);

// Ends the file with "Shutdown."; the other sinks continue.
void ShutdownLog() noexcept;

// Ends the file for the fault handler of a thread: allocates and frees nothing, and leaves the file
// open until CloseLog or the end of the process. Waits at most half a second for a line of another
// thread. Returns false and leaves the file unchanged if that line did not end in time, or if the
// fault happened while writing to the log itself.
bool ShutdownLogAfterFault() noexcept;

// Ends the file with "End." and forgets all modules and settings. The kernel's last step of
// teardown; a later InitLog starts anew.
void CloseLog() noexcept;

}  // namespace Vorn
