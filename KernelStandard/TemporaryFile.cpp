#include "KernelStandard/TemporaryFile.h"

#include <atomic>
#include <cstdint>
#include <cstdio>

#include "platform/Directories.h"
#include "platform/Processes.h"

namespace Vorn {

namespace {

std::atomic<std::uint32_t> temporaryNameCounter{0};

}  // namespace

TemporaryName MakeTemporaryName() {
    TemporaryName name{};
    std::snprintf(name.data(), name.size(), "%08X.T%08X", platform::CurrentProcessId(),
                  temporaryNameCounter.fetch_add(1));
    return name;
}

// The names can be guessed, so only a new file is written to: never an existing one, and never
// through a link that another user has put there.
std::string CreateTemporaryFile(const std::string& folder, platform::FileHandle& file) {
    constexpr int kMostTries = 100;
    for (int tries = 0; tries < kMostTries; ++tries) {
        std::string path = folder + MakeTemporaryName().data();
        if (file.Open(path.c_str(), platform::Access::Write, platform::Creation::CreateNew,
                      platform::Share::DenyAll)) {
            return path;
        }
        // The name was free: another name would not help.
        if (platform::GetEntryKind(path.c_str()) == platform::EntryKind::None) break;
    }
    return {};
}

}  // namespace Vorn
