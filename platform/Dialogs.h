// Dialogs and message boxes. A system without them answers as one whose program has no such
// resource.
#pragma once

#include <functional>
#include <string>

namespace platform {

enum class DialogResult { NotShown, Confirmed, Cancelled };

// Shows the modal dialog resource `resource` of the program's module. Calls `fillText` for the
// content of its text area when it opens. Without that resource returns NotShown and does not call
// `fillText`.
[[nodiscard]] DialogResult ShowDialog(int resource, const std::function<std::string()>& fillText);

// Shows an error box; without a window system writes the caption and text to standard error.
void ShowErrorBox(const char* caption, const char* text);

}  // namespace platform
