#include "converter/WorkFolderLock.h"

#include <cerrno>

#include "converter/Console.h"
#include "platform/Clock.h"

namespace {

constexpr std::uint32_t kRetryMilliseconds = 100;

}  // namespace

void WorkFolderLock::Acquire(const char* programPath) {
    using namespace platform;
    bool told = false;
    while (!program_.Open(programPath, Access::Read, Creation::OpenExisting, Share::DenyAll)) {
        // Without a way to lock there is nothing to wait for.
        if (errno != EBUSY) return;
        if (!told) PrintProblem("another run is using the program folder; waiting for it to end");
        told = true;
        SleepMilliseconds(kRetryMilliseconds);
    }
}
