// The kernel's log: lines from named modules to a file, the debugger and a console stream.
//
// Before InitLog, and in programs that never call it, lines reach the debugger only. The file
// begins with the version and "Begin:", and ends with "End." at the process's exit or "Shutdown."
// after a fatal error. It is 8-bit text. A line that cannot be written, or for which there is no
// memory, is lost without a word; only InitLog and RegisterLogModule throw, std::bad_alloc.
//
// Threads: any thread may write; lines never mix, in the file or on the console. Writers of the
// file exclude each other by the log lock, which is innermost: inside it the log takes no other
// lock but those of the file. InitLog, SetLogConsoleStream and CloseLog are for one thread at a
// time.
#pragma once

#include <cstdarg>
#include <cstdio>
#include <string_view>

#include "services/LogModule.h"
#include "services/OptionList.h"

namespace Vorn {

// The module of that name (any letter case), made at the first call for it. Any thread. Modules
// live until CloseLog: who writes after that registers anew.
LogModule* RegisterLogModule(std::string_view name);

// Writes one line if the module takes its level, has a sink at all, and the log is not disabled. A
// null module writes nothing.
void LogWrite(LogModule* module, LogLevel level, const char* format, ...) noexcept
    __attribute__((format(printf, 3, 4)));
// Writes one line without asking the module's level or whether the log is disabled.
void LogWriteRaw(LogModule& module, LogLevel level, const char* format, ...) noexcept
    __attribute__((format(printf, 3, 4)));

// Opens the log as these options say; once, later calls do nothing until CloseLog:
//
//   LogFile=name             default "VornLog.txt"; may name a substitution; empty for no file
//   LogFlush                 each line reaches the system at once; default on
//   LogDisplayModuleName     lines have the prefix of LogPrefix; default on
//   NoLog                    the file holds nothing but its banner; the log is disabled
//   LogStdOut, LogStdErr     the console stream; the latter wins
//   Log=module:word:...,...  words of LogModule::Configure for a module, which is made if missing
//
// A file that cannot be opened disables the log: LogWrite then writes nothing anywhere. A file in
// a substitution needs it mounted to its end, and at the process's exit ends ("End.") before the
// substitutions do; every other one ends after all teardown functions.
void InitLog(OptionList& options);

// Where lines go besides the file and the debugger; null for nowhere.
void SetLogConsoleStream(std::FILE* stream);

// Ends the file with "Shutdown."; the other sinks go on.
void ShutdownLog() noexcept;

// The same for a thread that has faulted, in its fault handler: allocates and frees nothing, and
// only CloseLog or the end of the process closes the file. It waits at most half a second for a
// line of another thread. False, and the file as it is, when that did not end in time or the fault
// was in writing to the log itself.
bool ShutdownLogAfterFault() noexcept;

// Ends the file with "End.", forgets all modules and settings. The kernel's very last step; a later
// InitLog starts afresh.
void CloseLog() noexcept;

}  // namespace Vorn
