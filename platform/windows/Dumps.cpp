// The system's own writer stops the other threads and describes all of them, however many there
// are. It needs the heap, so that a dump may be missing when the heap itself is what broke.
#include "platform/Dumps.h"

#include <windows.h>
// Needs windows.h before it.
#include <dbghelp.h>

#include "platform/windows/Handles.h"
#include "platform/windows/SystemFault.h"

namespace platform {
namespace {

using WriteDump = decltype(&MiniDumpWriteDump);

}  // namespace

bool WriteMiniDump(FaultFile& file, const Fault& fault) {
    const HMODULE library = LoadLibraryW(L"dbghelp.dll");
    if (!library) return false;
    const auto write = reinterpret_cast<WriteDump>(
        reinterpret_cast<void*>(GetProcAddress(library, "MiniDumpWriteDump")));
    if (!write) return false;
    MINIDUMP_EXCEPTION_INFORMATION exception{GetCurrentThreadId(), fault.system->record, FALSE};
    return write(GetCurrentProcess(), GetCurrentProcessId(), windows::ToHandle(file.descriptor_),
                 MiniDumpNormal, &exception, nullptr, nullptr) != 0;
}

}  // namespace platform
