// Runs a function in several threads at once.
#pragma once

#include <cstddef>
#include <thread>
#include <vector>

namespace Vorn {

// Calls `function(0)` to `function(count - 1)`, each in its own thread, and waits for them.
template <typename Function>
void InThreads(std::size_t count, const Function& function) {
    std::vector<std::jthread> threads;
    threads.reserve(count);
    for (std::size_t t = 0; t < count; ++t) threads.emplace_back(function, t);
}

}  // namespace Vorn
