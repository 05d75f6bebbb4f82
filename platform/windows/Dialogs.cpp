// Boxes appear only where a desktop is: on a service or a build machine they would block forever.
#include "platform/Dialogs.h"

#include <windows.h>

#include <cstdio>

#include "platform/windows/WideText.h"

namespace platform {
namespace {

constexpr int kTextArea = 1000;  // the control that takes the text

bool HasDesktop() {
    const HWINSTA station = GetProcessWindowStation();
    USEROBJECTFLAGS flags{};
    return station &&
           GetUserObjectInformationW(station, UOI_FLAGS, &flags, sizeof flags, nullptr) &&
           (flags.dwFlags & WSF_VISIBLE) != 0 && !GetConsoleWindow();
}

using FillText = std::function<std::string()>;

INT_PTR CALLBACK OnMessage(HWND dialog, UINT message, WPARAM first, LPARAM second) {
    if (message == WM_INITDIALOG) {
        // NOLINTNEXTLINE(performance-no-int-to-ptr): the system carries pointers so
        const auto& fillText = *reinterpret_cast<const FillText*>(second);
        SetDlgItemTextW(dialog, kTextArea, windows::ToWide(fillText()).c_str());
        return TRUE;
    }
    if (message == WM_COMMAND && (LOWORD(first) == IDOK || LOWORD(first) == IDCANCEL)) {
        EndDialog(dialog, LOWORD(first));
        return TRUE;
    }
    return FALSE;
}

}  // namespace

DialogResult ShowDialog(int resource, const std::function<std::string()>& fillText) {
    const HMODULE program = GetModuleHandleW(nullptr);
    const auto name = MAKEINTRESOURCEW(resource);
    if (!FindResourceW(program, name, MAKEINTRESOURCEW(5))) return DialogResult::NotShown;
    if (!HasDesktop()) return DialogResult::NotShown;
    const INT_PTR answer =
        DialogBoxParamW(program, name, nullptr, OnMessage, reinterpret_cast<LPARAM>(&fillText));
    if (answer <= 0) return DialogResult::NotShown;
    return answer == IDOK ? DialogResult::Confirmed : DialogResult::Cancelled;
}

void ShowErrorBox(const char* caption, const char* text) {
    if (HasDesktop()) {
        MessageBoxW(nullptr, windows::ToWide(text).c_str(), windows::ToWide(caption).c_str(),
                    MB_OK | MB_ICONERROR);
    } else {
        std::fprintf(stderr, "%s: %s\n", caption, text);
    }
}

}  // namespace platform
