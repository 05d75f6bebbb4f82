#include "tests/kernel/services/FakeDialogs.h"

namespace Vorn {

FakeDialogs& Dialogs() {
    static FakeDialogs dialogs;
    return dialogs;
}

}  // namespace Vorn

namespace platform {

// These take the place of the layer's own, which the linker then leaves out.
DialogResult ShowDialog(int resource, const std::function<std::string()>& fillText) {
    Vorn::FakeDialogs& dialogs = Vorn::Dialogs();
    ++dialogs.calls;
    dialogs.resource = resource;
    if (!dialogs.answer) return DialogResult::NotShown;
    dialogs.text = fillText();
    return dialogs.answer();
}

void ShowErrorBox(const char* caption, const char* text) {
    Vorn::Dialogs().errorBox = std::string(caption) + "|" + text;
}

}  // namespace platform
