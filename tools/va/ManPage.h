// Man pages, generated from the table of commands in the language of man(7).
#pragma once

#include <string>

#include "tools/va/Table.h"

namespace va::tool {

// Returns va.1: every command under its heading, and the exit codes.
[[nodiscard]] std::string ManPage();

// Returns the page of a command, such as va-list.1 or va-tag-get.1.
[[nodiscard]] std::string ManPage(const Command& command);

}  // namespace va::tool
