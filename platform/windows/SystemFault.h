// The system's record of a fault.
#pragma once

#include <windows.h>

#include "platform/Faults.h"

struct platform::SystemFault {
    EXCEPTION_POINTERS* record;
};
