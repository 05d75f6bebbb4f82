// va: the command-line program for asset archives, patches and asset descriptions.
#include <cstdio>
#include <exception>
#include <iostream>
#include <new>
#include <optional>
#include <string>
#include <vector>

#include "kernel/Exceptions.h"
#include "platform/Interruption.h"
#include "services/Kernel.h"
#include "tools/va/Run.h"
#include "tools/va/ShownText.h"
#include "vaconverter/error.h"

namespace va::tool {
namespace {

struct Outcome {
    ExitCode code = ExitCode::Done;
    std::string error{};
};

// Calls `work` and converts any exception to a message and an exit code.
template <typename Work>
Outcome Guarded(Work work) {
    try {
        return {work()};
    } catch (const Failure& failure) {
        return {failure.code, failure.message};
    } catch (const va::Error& error) {
        return {static_cast<ExitCode>(error.code()), Shown(error.what())};
    } catch (const Vorn::Exception& exception) {
        return {ExitCode::Refused, exception.GetReason()};
    } catch (const std::bad_alloc&) {
        return {ExitCode::NoMemory,
                "not enough memory; give --memory-limit, or fewer worker threads with -j"};
    } catch (const std::exception& exception) {
        return {ExitCode::Refused, exception.what()};
    }
}

ExitCode RunCommand(const std::vector<std::string>& words) {
    std::optional<Arguments> arguments;
    Outcome outcome = Guarded([&] {
        arguments.emplace(words);
        return ExitCode::Done;
    });
    // Without arguments there is no Run: -q and --json are unknown, so the message is plain text.
    if (!arguments) {
        std::cerr << "va: " + outcome.error + "\n";
        return outcome.code;
    }
    Run run(*arguments);
    outcome = Guarded([&] { return run.Ending(arguments->GetCommand().run(run)); });
    // No message after an interruption: the user knows why the run ended.
    const bool isStopped = platform::InterruptionAsked();
    if (!outcome.error.empty() && !isStopped) run.talk.Error(outcome.error);
    // End may fail as well, for standard output may be full or closed. The command's own error is
    // the cause then, so its message and exit code take precedence.
    const Outcome ended = Guarded([&] {
        run.answer.End(outcome.code, outcome.error);
        return outcome.code;
    });
    if (!ended.error.empty() && outcome.error.empty() && !platform::InterruptionAsked()) {
        run.talk.Error(ended.error);
    }
    return ended.error.empty() || !outcome.error.empty() ? outcome.code : ended.code;
}

}  // namespace
}  // namespace va::tool

int main(int argc, char** argv) {
    const Vorn::Kernel kernel;
    const platform::Interruptible interruptible;
    const va::tool::ExitCode code = va::tool::RunCommand({argv + 1, argv + argc});
    // After an interruption the process ends by that signal, so shells see it and stop scripts.
    platform::EndAsAsked();
    return static_cast<int>(code);
}
