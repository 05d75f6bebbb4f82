// A folder of its own for one test, gone when the test ends.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace Vorn::Testing {

class TempFolder {
public:
    TempFolder();
    ~TempFolder();
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    // Full path of `name` inside the folder; a full path stays what it is, here and below.
    [[nodiscard]] std::string Path(std::string_view name = {}) const;

    // Writes a whole file, folders on the way included; its full path.
    std::string Write(std::string_view name, std::string_view content,
                      std::filesystem::perms mode = std::filesystem::perms{0644}) const;
    // Empty for a file that is not there.
    [[nodiscard]] std::string Read(std::string_view name) const;
    [[nodiscard]] bool Has(std::string_view name) const;

    // Makes it the current directory until the test ends.
    void Enter();

private:
    std::filesystem::path path_;
    std::filesystem::path left_;  // the directory that was current before Enter
};

}  // namespace Vorn::Testing
