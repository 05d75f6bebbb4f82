// Requests to end the program that come from outside: by its user, by a terminal or reader that
// goes away, or by the system.
#pragma once

namespace platform {

// While this exists, the first request is only noted, so that the program can end its work in
// order: InterruptionAsked() is true from then on. A second request ends the program at once.
// Requests that the program was started to ignore stay ignored. One at a time.
class Interruptible {
public:
    Interruptible();
    ~Interruptible();
    Interruptible(const Interruptible&) = delete;
    Interruptible& operator=(const Interruptible&) = delete;
};

// Any thread.
[[nodiscard]] bool InterruptionAsked() noexcept;

// Ends the program by the request that was noted, so that shells and `make` see it. Returns if
// there was none.
void EndAsAsked();

}  // namespace platform
