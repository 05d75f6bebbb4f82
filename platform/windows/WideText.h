// Text between this layer and the system, which speaks UTF-16.
//
// Text of this layer is UTF-8; what is not valid UTF-8 is taken as the ANSI code page (CodePage.h),
// so that names from old archives find their files. The system's names come back as UTF-8.
#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <string_view>

namespace platform::windows {

[[nodiscard]] std::wstring ToWide(std::string_view text);

// Returns the text in UTF-8; nullopt, with the reason in the system's last error, if it is no
// correct UTF-16. Such a name could not be given back to the system.
[[nodiscard]] std::optional<std::string> ToText(std::wstring_view wide);

// Returns the path for a system call: with '\' between its components and in the form without a
// length limit if it is long. Empty, with the reason in the system's last error, for null and for a
// name that would open a stream of a file (a ':' after the drive).
[[nodiscard]] std::wstring ToSystemPath(const char* path);

// Returns a full path as the layer gives it out: UTF-8 and with '/' between components. Empty if it
// is not correct UTF-16.
[[nodiscard]] std::string FromSystemPath(std::wstring_view path);

}  // namespace platform::windows
