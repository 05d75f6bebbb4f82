#include "tools/va/ExitCode.h"

namespace va::tool {

void Refuse(const std::string& message) { throw Failure{ExitCode::Refused, message}; }

}  // namespace va::tool
