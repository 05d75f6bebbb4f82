#include "services/ThreadEntry.h"

#include <new>

#include "kernel/Exceptions.h"
#include "kernel/StartUp.h"
#include "services/CrashReport.h"
#include "services/FatalError.h"
#include "services/Thread.h"

namespace Vorn {
namespace {

std::uint32_t CallFunction(Thread& thread) {
    try {
        return thread.CallFunction();
    } catch (const AssertEx&) {
        return 0;
    } catch (const Exception& exception) {
        ShowFatalError(exception);
        return 0;
    }
}

}  // namespace

std::uint32_t ThreadEntry(Thread& thread) try {
    if (IsTerminating()) return 0;
    const FatalErrorUser user;
    PrepareCrashReport();
    return platform::CallGuarded(WriteCrashReport, [&thread] { return CallFunction(thread); });
} catch (const std::bad_alloc&) {
    EndWithoutMemory();
}

}  // namespace Vorn
