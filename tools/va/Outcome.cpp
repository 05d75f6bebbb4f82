#include "tools/va/Outcome.h"

#include <cerrno>
#include <system_error>

namespace va {

void Refuse(const std::string& message) { throw Failure{ExitCode::Refused, message}; }

std::string SystemReason() { return std::generic_category().message(errno); }

}  // namespace va
