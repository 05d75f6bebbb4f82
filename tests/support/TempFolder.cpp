#include "tests/support/TempFolder.h"

#include <cstdlib>
#include <fstream>
#include <iterator>

namespace Vorn::Testing {

namespace fs = std::filesystem;

TempFolder::TempFolder() {
    std::string pattern = fs::temp_directory_path() / "vorn-XXXXXX";
    if (!mkdtemp(pattern.data())) std::abort();
    path_ = pattern;
}

TempFolder::~TempFolder() {
    if (!left_.empty()) fs::current_path(left_);
    std::error_code ignored;
    fs::remove_all(path_, ignored);
}

std::string TempFolder::Path(std::string_view name) const {
    return name.empty() ? path_.string() : (path_ / name).string();
}

std::string TempFolder::Write(std::string_view name, std::string_view content,
                              fs::perms mode) const {
    const fs::path path = path_ / name;
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary | std::ios::trunc) << content;
    fs::permissions(path, mode);
    return path.string();
}

std::string TempFolder::Read(std::string_view name) const {
    std::ifstream in(path_ / name, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

bool TempFolder::Has(std::string_view name) const { return fs::exists(path_ / name); }

void TempFolder::Enter() {
    left_ = fs::current_path();
    fs::current_path(path_);
}

}  // namespace Vorn::Testing
