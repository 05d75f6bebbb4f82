// Named options, as read from texts such as "+Render=OpenGL,DirectX -HideWindow -LogFlush-".
//
// Parsing never fails: malformed text makes skipped or empty options. Lookups ignore the case of A
// to Z; for an option that is missing they return false and set the default.
//
// Threads: one thread fills a list; then any number may read it. Reading a value item by item moves
// the option's cursor, so only one thread may do that.
#pragma once

#include <cstddef>
#include <deque>
#include <map>
#include <optional>
#include <string_view>

#include "kernel/String.h"

namespace Vorn {

struct Option {
    String name;        // lower case
    String value;       // empty when the option came without one
    String separators;  // of the items in the value; set by BeginOptionValues
    // Offset of the value's next item; nullopt if BeginOptionValues was not called since the value
    // last changed.
    std::optional<std::size_t> cursor;
};

// Options by name, each name once, in order of first appearance. The records do not move while the
// list lives. A lookup takes logarithmic time, whatever names a text chooses.
class OptionList {
public:
    OptionList() = default;
    OptionList(const OptionList&) = delete;
    OptionList& operator=(const OptionList&) = delete;

    [[nodiscard]] std::size_t Count() const { return options_.size(); }
    [[nodiscard]] auto begin() const { return options_.begin(); }
    [[nodiscard]] auto end() const { return options_.end(); }

    // Returns null if the list has no such option.
    [[nodiscard]] Option* Find(std::string_view name);
    [[nodiscard]] const Option* Find(std::string_view name) const;
    [[nodiscard]] Option& FindOrAppend(std::string_view name);

private:
    std::deque<Option> options_;
    std::map<std::string_view, Option*> index_;  // keys are the names in options_
};

// Adds the options of `text`, which ends at its first NUL, or at 2 GiB. Each is read as: white
// space; one of '/', '-', '+' or nothing; a name without white space, '=', '-' and '+'; and then
// one of
//   - '=' and a value: in single or double quotes, or up to white space that is directly followed
//     by '/', '-' or '+';
//   - '-' or '+' directly after the name, which is the value;
//   - nothing: the value is empty.
// A value replaces an earlier one of that name; with the prefix '+' it is appended, after a comma,
// to a value that is not empty. An option without a name adds nothing.
void ParseOptions(OptionList& list, std::string_view text);

[[nodiscard]] Option* FindOption(OptionList& list, std::string_view name);

// Sets true for the values "true" and "on" (any letter case) and a '+' at the front; false for
// "false", "off" and '-'. Any other value, also the empty one, sets the inverse of `fallback`.
bool GetOptionBool(const OptionList& list, std::string_view name, bool& out, bool fallback);

// Sets the decimal number at the start of the value, 0 if there is none. A number beyond 32 bits
// sets the nearest limit.
bool GetOptionInt(const OptionList& list, std::string_view name, int& out, int fallback);

bool GetOptionString(const OptionList& list, std::string_view name, String& out,
                     const char* fallback);

// Starts reading the option's value item by item; each byte of `separators` ends an item.
void BeginOptionValues(Option& option, const char* separators);

// Sets the next item, without white space at its end. Returns false and leaves `item` unchanged if
// the option is missing, was not begun, or has no item left; an empty item ends the reading too.
[[nodiscard]] bool NextOptionValue(OptionList& list, std::string_view name, String& item);

}  // namespace Vorn
