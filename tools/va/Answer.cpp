#include "tools/va/Answer.h"

#include <cstdio>

#include "platform/Error.h"

namespace va::tool {
namespace {

constexpr std::size_t kPiece = 256 * 1024;
constexpr unsigned kSchema = 1;  // version of the JSON objects; fields are added, never changed

// Returns the exit code for the write that failed last.
ExitCode CodeOfFailure() {
    const platform::ErrorKind kind = platform::LastError().kind;
    const bool full = kind == platform::ErrorKind::NoSpace || kind == platform::ErrorKind::TooLarge;
    return full ? ExitCode::DiskFull : ExitCode::Refused;
}

}  // namespace

Answer::Answer(bool json, std::string_view command) : json_(json), last_("end") {
    if (json_) {
        Write(JsonObject("va").Set("schema", std::uint64_t{kSchema}).Set("command", command));
    }
}

void Answer::Write(std::string_view text) {
    pending_ += text;
    if (pending_.size() >= kPiece) Flush();
}

void Answer::End(ExitCode code, std::string_view error) {
    if (json_) {
        last_.Set("exit", static_cast<std::uint64_t>(code));
        if (!error.empty()) last_.Set("error", error);
        pending_ += last_.Line();
    }
    Flush();
}

void Answer::Flush() {
    if (!failure_) {
        const bool written =
            std::fwrite(pending_.data(), 1, pending_.size(), stdout) == pending_.size() &&
            std::fflush(stdout) == 0;
        if (!written) failure_ = CodeOfFailure();
    }
    // Cleared after a failure as well, so a command that continues does not collect output in
    // memory.
    pending_.clear();
    if (failure_) {
        throw Failure{*failure_,
                      "standard output cannot be written; the disk may be full, or the reader may "
                      "have ended"};
    }
}

}  // namespace va::tool
