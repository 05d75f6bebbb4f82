#include "tests/support/Tests.h"

namespace Vorn::Testing {

std::string Noise(std::size_t size, unsigned seed) {
    std::minstd_rand random(seed);
    std::string bytes(size, '\0');
    for (char& byte : bytes) byte = static_cast<char>(random() >> 12);
    return bytes;
}

std::string Prose(std::size_t size) {
    std::string text;
    for (unsigned line = 0; text.size() < size; ++line) {
        text += "the quick brown fox jumps over dog " + std::to_string(line) + "\n";
    }
    return text.substr(0, size);
}

int Shell(const std::string& command) {
    const int status = std::system(command.c_str());
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

}  // namespace Vorn::Testing
