// Runs a fuzz target once over every saved input of a folder, so tests need no fuzzer.
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace fs = std::filesystem;

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: " << argv[0] << " CORPUS-FOLDER\n";
        return 2;
    }
    std::size_t replayed = 0;
    for (const fs::directory_entry& entry : fs::directory_iterator(argv[1])) {
        std::cout << entry.path().string() << std::endl;  // flushed, in case the input crashes
        std::ifstream file(entry.path(), std::ios::binary);
        const std::string input{std::istreambuf_iterator<char>(file), {}};
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(input.data()), input.size());
        ++replayed;
    }
    std::cout << replayed << " inputs\n";
    return replayed == 0 ? 1 : 0;
}
