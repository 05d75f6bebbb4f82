#include "tools/va/ExitCode.h"

#include <algorithm>
#include <array>

namespace va::tool {

void Refuse(const std::string& message) { throw Failure{ExitCode::Refused, message}; }

ExitCode Graver(ExitCode a, ExitCode b) {
    constexpr std::array kOrder = {ExitCode::Done, ExitCode::LookAt, ExitCode::NotFound,
                                   ExitCode::Refused};
    return std::ranges::find(kOrder, a) < std::ranges::find(kOrder, b) ? b : a;
}

}  // namespace va::tool
