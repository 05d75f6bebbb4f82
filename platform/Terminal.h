// Whether a person is watching.
#pragma once

namespace platform {

enum class StandardStream { Output, Error };

[[nodiscard]] bool IsTerminal(StandardStream stream);

}  // namespace platform
