// The exception that the asset data library throws for misuse. Outcomes are returned, never thrown.
#pragma once

#include "kernel/Exceptions.h"

namespace Vorn {

class NorvaneEx : public Exception {
public:
    // Makes an exception whose reason is "Norvane Error". `file` must be a constant.
    NorvaneEx(const char* file, int line) : Exception(file, line, "Norvane Error") {}
    [[nodiscard]] const char* GetClassName() const override { return "Norvane Error"; }
};

}  // namespace Vorn
