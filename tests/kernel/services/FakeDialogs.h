// Stands in for the system's dialogs: what the user does, and what was shown.
#pragma once

#include <atomic>
#include <functional>
#include <string>

#include "platform/Dialogs.h"

namespace Vorn {

struct FakeDialogs {
    // The user's answer; without one the dialog is not shown, as in a program without it.
    std::function<platform::DialogResult()> answer;
    std::atomic<int> calls = 0;
    int resource = 0;
    std::string text;  // of the last dialog
    std::string errorBox;
};
FakeDialogs& Dialogs();

}  // namespace Vorn
