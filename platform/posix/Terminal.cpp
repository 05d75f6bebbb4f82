#include "platform/Terminal.h"

#include <unistd.h>

namespace platform {

bool IsTerminal(StandardStream stream) {
    return isatty(stream == StandardStream::Output ? STDOUT_FILENO : STDERR_FILENO) != 0;
}

}  // namespace platform
