#include "platform/Dialogs.h"

#include <cstdio>

namespace platform {

DialogResult ShowDialog(int /*resource*/, const std::function<std::string()>& /*fillText*/) {
    return DialogResult::NotShown;
}

void ShowErrorBox(const char* caption, const char* text) {
    std::fprintf(stderr, "%s: %s\n", caption, text);
}

}  // namespace platform
