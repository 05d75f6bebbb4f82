// The commands on asset descriptions.
#pragma once

#include "tools/va/Commands.h"

namespace va {

ExitCode TagToText(const Invocation& invocation);
ExitCode TagToBinary(const Invocation& invocation);
ExitCode TagPrint(const Invocation& invocation);
ExitCode TagCheck(const Invocation& invocation);
ExitCode TagGet(const Invocation& invocation);

}  // namespace va
