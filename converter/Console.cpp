#include "converter/Console.h"

#include <cstdio>
#include <initializer_list>

namespace converter {

namespace {

void Write(std::FILE* stream, std::initializer_list<std::string_view> texts) {
    for (const std::string_view text : texts) {
        // An empty view may have no address, which fwrite must not be given.
        if (!text.empty()) std::fwrite(text.data(), 1, text.size(), stream);
    }
}

}  // namespace

// Each line is flushed, so that a reader of a pipe sees a member as soon as it is done.
void PrintLine(std::string_view text, std::string_view name) {
    Write(stdout, {text, name, "\n"});
    std::fflush(stdout);
}

bool Fail(std::string_view text, std::string_view name) {
    PrintLine(text, name);
    return false;
}

void PrintQuoted(std::string_view text, std::string_view name) {
    Write(stdout, {text, "\"", name, "\"\n"});
    std::fflush(stdout);
}

bool AllLinesPrinted() { return std::fflush(stdout) == 0 && std::ferror(stdout) == 0; }

void PrintProblem(std::string_view text) { Write(stderr, {"VAConverter: ", text, "\n"}); }

void PrintUsageHint() {
    Write(stderr,
          {"usage: VAConverter patchdiff OLD.va NEW.va FOLDER   makes FOLDER/OLD-diff.va\n"
           "       VAConverter patchapply OLD.va PATCH.va -     makes OLD-tmp.va beside OLD.va\n"});
}

}  // namespace converter
