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

bool AllLinesPrinted() {
    if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0) return true;
    PrintProblem("cannot print all lines; do not rely on the result");
    return false;
}

void PrintProblem(std::string_view text) {
    WriteText(stderr, "VAConverter: ");
    WriteText(stderr, text);
    WriteText(stderr, "\n");
}

void PrintUsageHint() {
    WriteText(
        stderr,
        "usage: VAConverter patchdiff OLD.va NEW.va FOLDER   makes FOLDER/OLD-diff.va\n"
        "       VAConverter patchapply OLD.va PATCH.va -     makes OLD-tmp.va beside OLD.va\n");
}
