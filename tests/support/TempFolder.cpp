#include "tests/support/TempFolder.h"

#include <atomic>
#include <fstream>
#include <iterator>
#include <random>

namespace Vorn::Testing {

namespace fs = std::filesystem;

TempFolder::TempFolder() {
    static std::atomic<unsigned> counter{0};
    std::random_device random;
    do {
        path_ = fs::temp_directory_path() /
                ("vorn-" + std::to_string(random()) + "-" + std::to_string(counter++));
    } while (!fs::create_directory(path_));
}

TempFolder::~TempFolder() {
    if (!left_.empty()) fs::current_path(left_);
    std::error_code ignored;
    fs::remove_all(path_, ignored);
}

std::string TempFolder::Path(std::string_view name) const {
    return name.empty() ? path_.string() : (path_ / name).string();
}

std::string TempFolder::Write(std::string_view name, std::string_view content) const {
    WriteFile(path_ / name, content);
    return Path(name);
}

std::string TempFolder::Read(std::string_view name) const { return ReadFile(path_ / name); }

bool TempFolder::Has(std::string_view name) const { return fs::exists(path_ / name); }

void TempFolder::Enter() {
    left_ = fs::current_path();
    fs::current_path(path_);
}

std::string ReadFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

void WriteFile(const fs::path& path, std::string_view content) {
    fs::create_directories(path.parent_path());
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(content.data(), static_cast<std::streamsize>(content.size()));
}

}  // namespace Vorn::Testing
