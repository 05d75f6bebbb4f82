// Brings the kernel up for main and takes it down again.
#pragma once

namespace Vorn {

// The first local of main, constructed before other threads exist: records the main thread, makes
// sure of the string pool and interns the well-known names. One at a time.
class Kernel {
public:
    Kernel();
    Kernel(const Kernel&) = delete;
    Kernel& operator=(const Kernel&) = delete;
};

}  // namespace Vorn
