// Standard output: the answer of a command, as text or as JSON Lines.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "tools/va/ExitCode.h"
#include "tools/va/Json.h"

namespace va::tool {

// Collects what is written and passes it on in large pieces. Every write throws Failure (Refused)
// once the system has refused one.
class Answer {
public:
    // Begins the answer. With `json`, the first object says which command answers, and End writes
    // the last one.
    Answer(bool json, std::string_view command);
    ~Answer() = default;
    Answer(const Answer&) = delete;
    Answer& operator=(const Answer&) = delete;

    [[nodiscard]] bool IsJson() const { return json_; }

    void Write(std::string_view text);
    void Write(std::span<const std::byte> bytes) {
        Write(std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
    }
    void Write(const JsonObject& object) { Write(object.Line()); }

    // Fields of the last object, besides "exit"; only with JSON.
    [[nodiscard]] JsonObject& Last() { return last_; }

    // Writes all that is left. With JSON the last object tells the exit code, and an error's
    // message.
    void End(ExitCode code, std::string_view error = {});

private:
    void Flush();

    const bool json_;
    std::optional<ExitCode> failure_;  // why standard output took no more
    std::string pending_;
    JsonObject last_;
};

}  // namespace va::tool
