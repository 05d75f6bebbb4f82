#include "tools/va/ExitCode.h"

#include <algorithm>
#include <array>

namespace va::tool {

void Refuse(const std::string& message) { throw Failure{ExitCode::Refused, message}; }

// The order is not that of the numbers. Only results of single inputs are compared: the other codes
// end a run at once.
ExitCode Graver(ExitCode a, ExitCode b) {
    constexpr std::array kOrder = {ExitCode::Done, ExitCode::LookAt, ExitCode::NotFound,
                                   ExitCode::Refused};
    return std::ranges::find(kOrder, a) < std::ranges::find(kOrder, b) ? b : a;
}

}  // namespace va::tool
