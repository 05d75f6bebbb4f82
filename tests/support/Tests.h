// What every test begins with: the framework, the standard headers that most tests use, and the
// helpers that tests of more than one folder share.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <random>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

#include "tests/support/TempFolder.h"

namespace Vorn::Testing {

namespace fs = std::filesystem;
using namespace std::string_literals;
using namespace std::string_view_literals;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::HasSubstr;
using testing::IsEmpty;

// Runs in an empty current folder.
class InFolder : public testing::Test {
protected:
    InFolder() { folder.Enter(); }

    TempFolder folder;
};

// Cases that differ in their data only.
template <typename... Cells>
using Table = std::vector<std::tuple<Cells...>>;

// Bytes that do not compress, and bytes that do; the same for the same seed.
[[nodiscard]] std::string Noise(std::size_t size, unsigned seed = 1);
[[nodiscard]] std::string Prose(std::size_t size);

// At most `most` characters, each out of `alphabet`.
template <typename Random>
[[nodiscard]] std::string RandomText(Random& random, std::string_view alphabet, std::size_t most) {
    std::string text(random() % (most + 1), ' ');
    for (char& c : text) c = alphabet[random() % alphabet.size()];
    return text;
}

// The exit code of a command of the shell; 128 + n for a program that signal n ended.
[[nodiscard]] int Shell(const std::string& command);

// Calls `function(0)` to `function(count - 1)`, each in its own thread, and waits for them.
template <typename Function>
void InThreads(std::size_t count, const Function& function) {
    std::vector<std::jthread> threads;
    threads.reserve(count);
    for (std::size_t t = 0; t < count; ++t) threads.emplace_back(function, t);
}

// Returns what `work` returns in a child process, which then ends without any clean-up; -1 when it
// does not return.
template <typename Work>
[[nodiscard]] int InChild(const Work& work) {
    const pid_t child = fork();
    if (child == 0) _exit(work());
    int status = -1;
    return waitpid(child, &status, 0) == child && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace Vorn::Testing
