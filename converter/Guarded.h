// Keeps what is thrown inside the converter, whose operations print a line and fail.
#pragma once

#include <exception>
#include <new>
#include <string>

#include "converter/Console.h"
#include "kernel/Exceptions.h"
#include "platform/Interruption.h"

namespace converter {

// Thrown when the user or the system stops the run. It ends with a failure, but needs no line.
struct Stopped {};

inline void StopIfAsked() {
    if (platform::InterruptionAsked()) throw Stopped();
}

// Returns what `step` returns; `failed`, after a line on standard error, if it throws.
template <typename Result, typename Step>
[[nodiscard]] Result Guarded(Result failed, Step step) {
    try {
        return step();
    } catch (const Stopped&) {
        return failed;
    } catch (const Vorn::Exception& error) {
        PrintProblem(error.GetReason());
    } catch (const std::bad_alloc&) {
        PrintProblem("out of memory; " + std::string(kMoreMemory));
    } catch (const std::exception& error) {
        PrintProblem(error.what());
    }
    return failed;
}

}  // namespace converter
