// va: the front program of the asset archives. 'va help' lists what it can do.
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

// Calls `work` and turns whatever it throws into a message and an exit code.
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
    if (!arguments) {
        std::cerr << "va: " + outcome.error + "\n";
        return outcome.code;
    }
    Run run(*arguments);
    outcome = Guarded([&] { return run.Ending(arguments->GetCommand().run(run)); });
    // A user who stops the run knows why it ended; so does a reader that has gone.
    const bool isStopped = platform::InterruptionAsked();
    if (!outcome.error.empty() && !isStopped) run.talk.Error(outcome.error);
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
    platform::EndAsAsked();
    return static_cast<int>(code);
}
