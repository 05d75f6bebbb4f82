#include "assetdata/TemporaryFilePath.h"

#include <atomic>
#include <mutex>

#include "KernelStandard/File.h"
#include "assetdata/NorvaneLog.h"
#include "assetdata/RandomGenerator.h"
#include "kernel/PathBuffer.h"
#include "kernel/Paths.h"
#include "kernel/SipHash.h"

namespace Vorn {
namespace {

constexpr int kTries = 100;
constexpr int kRandomCharacters = 8;

constinit std::atomic<std::uint32_t> counter = 0;

std::string RandomName() {
    static std::mutex lock;
    static RandomGenerator generator(RandomSipHashKey()[0]);
    const std::lock_guard guard(lock);
    std::string name;
    for (int i = 0; i < kRandomCharacters; ++i) name += TemporaryNameCharacter(generator.Next());
    return name;
}

bool IsFree(const std::string& path) { return File::Exists(PathBuffer(path).c_str()) != RES_OK; }

}  // namespace

char TemporaryNameCharacter(std::uint32_t random) {
    // The largest number alone gives 35.
    constexpr double kScale = 8.14907252978279e-9;
    const int n = static_cast<int>(random * kScale);
    return static_cast<char>(n < 10 ? '0' + n : 'a' + n - 10);
}

std::optional<std::string> CreateTemporaryFilePath(std::string_view directory,
                                                   std::string_view prefix,
                                                   std::string_view extension,
                                                   std::string_view preferredName) {
    const std::uint32_t number = ++counter;
    std::string folder(directory);
    if (!folder.empty() && !IsComponentEnd(folder.back())) folder += '/';
    if (!preferredName.empty()) {
        std::string path = folder + std::string(preferredName);
        if (IsFree(path)) return path;
    }
    for (int i = 0; i < kTries; ++i) {
        std::string path = folder + std::string(prefix) + RandomName() + std::to_string(number);
        if (!extension.empty()) path += '.' + std::string(extension);
        if (IsFree(path)) return path;
    }
    NorvaneLog(
        "CreateTemporaryFilePath> unable to form valid temp path in 100 tries, at path '%s' with "
        "prefix '%s'",
        std::string(directory).c_str(), std::string(prefix).c_str());
    return std::nullopt;
}

}  // namespace Vorn
