// The reading of identifiers step by step as it is described, over a text that ends with a zero
// byte: the oracle for the real one.
#pragma once

#include "assetdata/KUID.h"

namespace Vorn::Literal {

[[nodiscard]] KUID ParseKUID(const char* text, bool strict);

}  // namespace Vorn::Literal
