#include "converter/Console.h"

#include <cstdio>

namespace {

void WriteText(std::FILE* stream, std::string_view text) {
    std::fwrite(text.data(), 1, text.size(), stream);
}

}  // namespace

void PrintLine(std::string_view text) {
    WriteText(stdout, text);
    WriteText(stdout, "\n");
    std::fflush(stdout);
}

void PrintProblem(std::string_view text) {
    WriteText(stderr, "VAConverter: ");
    WriteText(stderr, text);
    WriteText(stderr, "\n");
}
