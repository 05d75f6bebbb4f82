// The inputs that tag commands name: files, members of archives and folders, standard input.
//
// "-" is standard input. A name that exists on disk is a file or a folder, whatever it looks like;
// a folder means the descriptions below it, known by their endings. Otherwise "archive.va:pattern"
// names members: one by its whole name whatever its ending, or the descriptions that a pattern
// selects. --exclude leaves out members that a folder or a pattern would give.
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

// Ends the work on one input; a command continues with the next.
struct BadInput : Failure {};
[[noreturn]] void RefuseInput(const std::string& message);

class Input {
public:
    // Returns the name that selects this input alone: "folder/a.txt", "Town.va:a.txt", "-".
    [[nodiscard]] const std::string& Name() const { return name_; }
    // Returns its path below the folder or archive that gave it, with '/'; a file's own name.
    [[nodiscard]] const std::string& Place() const { return place_; }
    [[nodiscard]] std::uint64_t Size() const { return size_; }  // bytes; 0 if unknown
    // Returns whether a folder or a pattern gave it, so that it was not named itself.
    [[nodiscard]] bool IsSelected() const { return selected_; }

    // Reads the whole content: the bytes of a file, the content of a member, at most 4 GiB - 1.
    // Throws BadInput: NotFound for a name that leads nowhere, else Refused.
    [[nodiscard]] Bytes Read() const;

private:
    friend class InputFinder;

    std::string name_;
    std::string place_;
    std::uint64_t size_ = 0;
    bool selected_ = false;
    std::shared_ptr<const Archive> archive_;  // null for a file
    std::optional<Member> member_;
    std::optional<Failure> failure_;  // why the name leads nowhere
};

// Finds the inputs of these operands, in order. A name that leads nowhere is an input that fails
// when it is read, so that the others are still worked on.
[[nodiscard]] std::vector<Input> FindInputs(Run& run, const std::vector<std::string>& operands);

// Calls `work` for each input and returns the gravest result: refused, not found, something to look
// at, done. Reports an input that fails and continues with the next.
[[nodiscard]] ExitCode ForEachInput(Run& run, const std::vector<Input>& inputs,
                                    const std::function<ExitCode(const Input&)>& work);

}  // namespace va::tool
