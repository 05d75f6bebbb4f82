#include "assetdata/NorvaneEx.h"

namespace Vorn {

NorvaneEx::NorvaneEx(const char* file, int line) : Exception(file, line, "Norvane Error") {}

}  // namespace Vorn
