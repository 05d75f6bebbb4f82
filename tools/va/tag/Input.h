// The inputs of tag commands: files, members of archives and folders, standard input.
//
// "-" is standard input. A name that exists on disk is a file or a folder, even if it looks like a
// member; a folder selects the descriptions below it, by the endings of their names. Otherwise
// "archive.va:pattern" selects members: one by its full name, with any ending, or the descriptions
// that match a pattern. --exclude removes members that a folder or a pattern selected.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "tools/va/Run.h"
#include "vaconverter/archive.h"

namespace va::tool {

using Bytes = std::vector<std::byte>;
[[nodiscard]] inline std::string_view TextOf(const Bytes& bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}
[[nodiscard]] inline Bytes BytesOf(std::string_view text) {
    const auto bytes = std::as_bytes(std::span(text));
    return {bytes.begin(), bytes.end()};
}

// Thrown to end the work on one input; the command continues with the next.
struct BadInput : Failure {};
[[noreturn]] void RefuseInput(const std::string& message);

class Input {
public:
    // Returns the name that selects only this input: "folder/a.txt", "Town.va:a.txt", "-".
    [[nodiscard]] const std::string& Name() const { return name_; }
    // Returns its path in the folder or archive that it was found in, with '/'; for a file its
    // name.
    [[nodiscard]] const std::string& Place() const { return place_; }
    [[nodiscard]] std::uint64_t Size() const { return size_; }  // bytes; 0 if unknown
    // Returns whether a folder or a pattern selected it, rather than its own name.
    [[nodiscard]] bool IsSelected() const { return selected_; }

    // Reads the content of the file or member, at most 4 GiB - 1. Throws BadInput: NotFound if the
    // name does not exist, otherwise Refused.
    [[nodiscard]] Bytes Read() const;

private:
    friend class InputFinder;

    std::string name_;
    std::string place_;
    std::uint64_t size_ = 0;
    bool selected_ = false;
    std::shared_ptr<const Archive> archive_;  // null for a file
    std::optional<Member> member_;
    std::optional<Failure> failure_;  // set if the name does not exist or cannot be opened
};

// Returns the inputs of these operands, in order. A name that does not exist becomes an input whose
// Read fails, so that the other inputs are still processed.
[[nodiscard]] std::vector<Input> FindInputs(Run& run, const std::vector<std::string>& operands);

// Calls `work` for each input and returns the most serious result (see Graver). Reports an input
// that fails and continues with the next.
[[nodiscard]] ExitCode ForEachInput(Run& run, const std::vector<Input>& inputs,
                                    const std::function<ExitCode(const Input&)>& work);

}  // namespace va::tool
