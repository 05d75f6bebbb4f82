#include "kernel/services/Kernel.h"

#include "kernel/StartUp.h"
#include "kernel/services/WellKnownNames.h"

namespace Vorn {

Kernel::Kernel() {
    RecordMainThread();
    EarlyInitialise();  // has run before main; creates the string pool where it has not
    InternWellKnownNames();
}

}  // namespace Vorn
