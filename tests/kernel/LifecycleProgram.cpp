// Writes what lives when, from before main to after the teardown, to the file named by its first
// argument.
#include <cstdio>

#include "kernel/InternedString.h"
#include "kernel/StartUp.h"
#include "kernel/StringPool.h"

namespace {

std::FILE* output = nullptr;

void Note(const char* what) {
    if (!output) return;
    std::fprintf(output, "%s, pool %s\n", what, Vorn::FindStringPool() ? "there" : "gone");
    std::fflush(output);
}

// Knows nothing of the kernel when it is made, and is given a name later.
struct Early {
    ~Early() { Note("early object"); }
    Vorn::InternedString name;
};
Early early;

// Interns while it is made, before the kernel's own initialiser need have run.
struct Interning {
    Interning() : name(Vorn::Intern("interned before main")) {}
    ~Interning() { Note(name.Text()); }
    Vorn::InternedString name;
};
Interning interning;

const bool poolBeforeMain = Vorn::FindStringPool() != nullptr;

}  // namespace

int main(int argumentCount, char** arguments) {
    if (argumentCount != 2) return 2;
    output = std::fopen(arguments[1], "w");
    if (!output || !poolBeforeMain) return 3;
    early.name = Vorn::Intern("given in main");
    Vorn::RegisterTeardown([] {
        Note("first registered");
        Vorn::RegisterTeardown([] { Note("registered during teardown"); });
    });
    Vorn::RegisterTeardown([] { Note("last registered"); });
    Note("main");
    return 0;
}
