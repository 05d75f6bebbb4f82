// The context of a command: its arguments, its answer, its messages and its progress.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tools/va/Answer.h"
#include "tools/va/Arguments.h"
#include "tools/va/Options.h"
#include "tools/va/ProgressLine.h"
#include "tools/va/Talk.h"

namespace va::tool {

class Run {
private:
    const Arguments& arguments_;
    ProgressLine progress_;  // before `talk`, which clears it

public:
    explicit Run(const Arguments& arguments);

    [[nodiscard]] const std::string& Operand(std::size_t index) const {
        return arguments_.Operands()[index];
    }
    [[nodiscard]] const std::vector<std::string>& Operands() const { return arguments_.Operands(); }
    [[nodiscard]] bool Has(const Option& option) const { return arguments_.Has(option); }
    [[nodiscard]] unsigned Count(const Option& option) const { return arguments_.Count(option); }
    [[nodiscard]] std::optional<std::string> Value(const Option& option) const {
        return arguments_.Value(option);
    }
    [[nodiscard]] std::vector<std::string> Values(const Option& option) const {
        return arguments_.Values(option);
    }

    // Returns the number of worker threads: -j, or the number of processors.
    [[nodiscard]] unsigned Jobs() const;

    // Shows the progress of the library's work. Returns false once the user has asked to stop.
    [[nodiscard]] bool ShowProgress(std::string_view step, std::uint64_t done, std::uint64_t total);

    // Turns an ending with Done into LookAt. For warnings that any command may give, such as
    // skipped files of a folder.
    void AskForALook() { worthALook_ = true; }
    [[nodiscard]] ExitCode Ending(ExitCode code) const {
        return code == ExitCode::Done && worthALook_ ? ExitCode::LookAt : code;
    }

    Talk talk;
    Answer answer;

private:
    bool worthALook_ = false;
};

}  // namespace va::tool
