// va_demo pack FOLDER ARCHIVE      packs a folder
// va_demo compare ARCHIVE FOLDER   compares member by member
//
// Exit codes: 0 done and equal, 1 failed or different, 2 wrong usage.
#include <exception>
#include <iostream>
#include <string_view>

#include "kernel/Exceptions.h"
#include "tools/demo/Archives.h"

namespace {

int Run(std::string_view verb, const char* first, const char* second) {
    if (verb == "pack") {
        demo::PackFolder(first, second);
        return 0;
    }
    if (verb == "compare") return demo::CompareWithFolder(first, second) ? 0 : 1;
    std::cerr << "usage: va_demo pack FOLDER ARCHIVE | va_demo compare ARCHIVE FOLDER\n";
    return 2;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return argc == 4 ? Run(argv[1], argv[2], argv[3]) : Run({}, {}, {});
    } catch (const Vorn::Exception& exception) {
        std::cerr << "va_demo: " << exception.GetReason() << '\n';
    } catch (const std::exception& exception) {
        std::cerr << "va_demo: " << exception.what() << '\n';
    }
    return 1;
}
