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

// Collects output and writes it in large pieces. Once the system has refused a write, every further
// one throws Failure (Refused, or DiskFull).
class Answer {
public:
    // Begins the answer. With `json`, writes the first object, which names the command; End writes
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

    // Returns the last object, for fields besides "exit". It is written with JSON only.
    [[nodiscard]] JsonObject& Last() { return last_; }

    // Writes the rest. With JSON, the last object has the exit code and the message of an error.
    void End(ExitCode code, std::string_view error = {});

private:
    void Flush();

    const bool json_;
    std::optional<ExitCode> failure_;  // set once a write to standard output failed
    std::string pending_;
    JsonObject last_;
};

}  // namespace va::tool
