// Messages about the work of a command, on standard error. The answer itself goes to standard
// output (Answer.h).
#pragma once

#include <string>
#include <string_view>

#include "tools/va/ProgressLine.h"

namespace va::tool {

// Each message is one line and one write, so that messages of parallel runs do not mix. Text from
// outside must be passed through Shown() first.
class Talk {
public:
    // `quiet`: 0 shows all messages, 1 omits summaries and notes, 2 warnings and errors as well.
    Talk(unsigned quiet, bool verbose, ProgressLine& progress)
        : quiet_(quiet), verbose_(verbose), progress_(progress) {}

    void Summary(std::string_view text) {
        Say(quiet_ < 1, "", text);
    }  // what was done, in one line
    void Note(std::string_view text) { Say(quiet_ < 1, "note: ", text); }  // good to know
    void Warning(std::string_view text) {
        Say(quiet_ < 2, "warning: ", text);
    }  // worth a look; the exit code is 1
    void Finding(std::string_view line) { Say(quiet_ < 2, "", line); }  // with its own prefix
    void Error(std::string_view text) { Say(quiet_ < 2, "va: ", text); }
    void Detail(std::string_view text) { Say(verbose_, "", text); }  // a line for a member, with -v

    [[nodiscard]] bool IsVerbose() const { return verbose_; }

private:
    void Say(bool aloud, std::string_view prefix, std::string_view text);

    const unsigned quiet_;
    const bool verbose_;
    ProgressLine& progress_;
};

}  // namespace va::tool
