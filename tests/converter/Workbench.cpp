#include "tests/converter/Workbench.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <sstream>

#include "KernelStandard/File.h"
#include "KernelStandard/FileFind.h"
#include "KernelStandard/FileSubstList.h"

namespace Vorn::Testing {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t kLargestPlainMember = 1024;

[[nodiscard]] std::string Quoted(const std::string& word) {
    std::string quoted = "'";
    for (const char c : word) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
}

[[nodiscard]] int Shell(const std::string& command) {
    const int status = std::system(command.c_str());
    const int signal = status & 0x7F;
    return signal != 0 ? 128 + signal : status >> 8 & 0xFF;
}

// An archive under a mount name of its own.
class Mount {
public:
    Mount(const std::string& archive, bool writable) { Subst(name_, archive.c_str(), writable); }
    ~Mount() { Subst(name_, nullptr); }
    Mount(const Mount&) = delete;
    Mount& operator=(const Mount&) = delete;

    void Write(const std::string& name, const std::string& content) const {
        File file;
        const FileMode kind =
            content.size() > kLargestPlainMember || content.starts_with("CFIL") ? 0x102 : 0x101;
        ASSERT_EQ(file.Open(name_, name.c_str(), kind), RES_OK) << name;
        const auto size = static_cast<std::uint32_t>(content.size());
        ASSERT_EQ(file.Write(content.data(), size), size) << name;
        ASSERT_TRUE(file.Close()) << name;
    }

    void ReadInto(Content& content, const std::string& folder) const {
        File::Find find;
        const std::string pattern = folder + "*";
        for (bool found = find.Open(pattern.c_str(), name_); found; found = find.Next()) {
            const std::string name = folder + std::string(find.Entry().Name());
            if ((find.Entry().attributes & kEntryDirectory) != 0) {
                ReadInto(content, name + "/");
            } else {
                Read(name, content[name]);
            }
        }
    }

private:
    void Read(const std::string& name, std::string& content) const {
        File file;
        ASSERT_EQ(file.Open(name_, name.c_str(), kReadDetect), RES_OK) << name;
        content.resize(file.Size());
        const auto size = static_cast<std::uint32_t>(content.size());
        ASSERT_EQ(file.Read(content.data(), size), size) << name;
    }

    const InternedString name_ = Intern("workbench");
};

}  // namespace

Workbench::Workbench(const std::string& programs)
    : bin_(programs + "/VAConverter/bin"),
      diff_(programs + "/tools/NorvanePatch/bin/vdiffl-w32.exe") {
    fs::create_directories(folder_.Path(bin_));
    fs::create_directories(fs::path(folder_.Path(diff_)).parent_path());
    // Copies: the converter locks its own file, and a test may replace the others.
    fs::copy_file(VACONVERTER, folder_.Path(bin_ + "/VAConverter"));
    fs::copy_file(VPATCHL, folder_.Path(bin_ + "/vpatchl-w32.exe"));
    fs::copy_file(VDIFFL, folder_.Path(diff_));
}

void Workbench::ReleaseDisks() {
    for (const std::string& disk : disks_) (void)Shell("umount -l " + Quoted(disk));
    disks_.clear();
}

void Workbench::Pack(const std::string& archive, const Members& members) const {
    fs::create_directories(fs::path(folder_.Path(archive)).parent_path());
    const Mount mount(folder_.Path(archive), true);
    for (const auto& [name, content] : members) mount.Write(name, content);
}

Content Workbench::Unpack(const std::string& archive) const {
    EXPECT_TRUE(folder_.Has(archive)) << archive;
    Content content;
    Mount(folder_.Path(archive), false).ReadInto(content, "");
    return content;
}

Outcome Workbench::Convert(const std::vector<std::string>& arguments,
                           const std::string& tracer) const {
    const TempFolder output;
    std::string command = "cd " + Quoted(folder_.Path()) + " && exec " + tracer + " " +
                          Quoted(folder_.Path(bin_ + "/VAConverter"));
    for (const std::string& argument : arguments) command += " " + Quoted(argument);
    command += " >" + Quoted(output.Path("out")) + " 2>" + Quoted(output.Path("err"));
    Outcome outcome;
    outcome.exitCode = Shell(command);
    outcome.problems = output.Read("err");
    std::istringstream lines(output.Read("out"));
    for (std::string line; std::getline(lines, line);) outcome.lines.push_back(line);
    return outcome;
}

void Workbench::Replace(const std::string& program, const std::string& script) const {
    fs::remove(folder_.Path(program));
    if (script.empty()) return;
    folder_.Write(program, "#!/bin/sh\n" + script + "\n", fs::perms::owner_all);
}

bool Workbench::MakeSmallDisk(const std::string& name, std::size_t bytes) {
    const std::string path = folder_.Path(name);
    const TempFolder kept;
    fs::create_directories(path);
    fs::copy(path, kept.Path(), fs::copy_options::recursive);
    for (const auto& entry : fs::recursive_directory_iterator(path)) {
        if (entry.is_regular_file()) bytes += (entry.file_size() + 4095) / 4096 * 4096;
    }
    if (Shell("mount -t tmpfs -o size=" + std::to_string(bytes) + " tmpfs " + Quoted(path) +
              " 2>/dev/null") != 0) {
        return false;
    }
    disks_.push_back(path);
    fs::copy(kept.Path(), path, fs::copy_options::recursive);
    return true;
}

std::vector<std::string> Workbench::Tree(const std::string& name) const {
    const fs::path root = folder_.Path(name);
    std::vector<std::string> names;
    if (!fs::exists(root)) return names;
    for (const auto& entry : fs::recursive_directory_iterator(root)) {
        const std::string path = entry.path().lexically_relative(root).string();
        if (!entry.is_directory()) names.push_back(path);
        if (entry.is_directory() && fs::is_empty(entry.path())) names.push_back(path + "/");
    }
    std::ranges::sort(names);
    return names;
}

}  // namespace Vorn::Testing
