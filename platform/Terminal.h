// Whether a person is watching a standard stream.
#pragma once

namespace platform {

enum class StandardStream { Output, Error };

[[nodiscard]] bool IsTerminal(StandardStream stream);

}  // namespace platform
