// Windows that ask the user. This system has neither dialog resources nor message boxes.
#pragma once

#include <functional>
#include <string>

namespace platform {

enum class DialogResult { NotShown, Confirmed, Cancelled };

// Shows the modal dialog resource `resource` of the program's module; `fillText` gives the text of
// its text area when it opens. A program without that resource gets NotShown at once, and
// `fillText` is not called.
[[nodiscard]] DialogResult ShowDialog(int resource, const std::function<std::string()>& fillText);

// Shows an error box; without a window system the caption and text go to standard error.
void ShowErrorBox(const char* caption, const char* text);

}  // namespace platform
