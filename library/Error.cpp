#include "vaconverter/error.h"

#include <utility>

#include "vaconverter/version.h"

namespace va {

Error::Error(ErrorCode code, const std::string& message, std::filesystem::path path,
             std::string member, std::optional<std::uint64_t> offset)
    : std::runtime_error(message),
      code_(code),
      path_(std::move(path)),
      member_(std::move(member)),
      offset_(offset) {}

const char* Version() noexcept { return VACONVERTER_VERSION; }

}  // namespace va
