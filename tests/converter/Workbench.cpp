#include "tests/converter/Workbench.h"

#include <sstream>

#include "KernelStandard/FileFind.h"
#include "KernelStandard/ScopedMount.h"
#include "platform/Directories.h"
#include "tests/KernelStandard/FileLayer.h"

namespace Vorn::Testing {
namespace {

constexpr std::size_t kLargestPlainMember = 1024;

[[nodiscard]] std::string Quoted(const std::string& word) {
    std::string quoted = "'";
    for (const char c : word) quoted += c == '\'' ? "'\\''"s : std::string(1, c);
    return quoted + "'";
}

void ReadInto(Content& content, const std::string& folder) {
    File::Find find;
    for (bool found = find.Open(("wb:" + folder + "*").c_str()); found; found = find.Next()) {
        const std::string name = folder + std::string(find.Entry().Name());
        if ((find.Entry().attributes & platform::kAttributeDirectory) != 0) {
            ReadInto(content, name + "/");
        } else {
            const auto member = Contents("wb:" + name);
            EXPECT_TRUE(member) << name;
            content[name] = member.value_or("");
        }
    }
}

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
    const std::string path = folder_.Path(archive);
    fs::create_directories(fs::path(path).parent_path());
    const ScopedMount mount(Intern("wb"), path.c_str(), true);
    for (const auto& [name, content] : members) {
        const bool plain = content.size() <= kLargestPlainMember && !content.starts_with("CFIL");
        EXPECT_TRUE(Store("wb:" + name, content, plain ? kWritePlain : kWriteCompressed)) << name;
    }
}

void Workbench::PackPair(const Members& before, const Members& after) const {
    Pack("old.va", before);
    Pack("new.va", after);
}

Content Workbench::Unpack(const std::string& archive) const {
    EXPECT_TRUE(folder_.Has(archive)) << archive;
    Content content;
    const ScopedMount mount(Intern("wb"), folder_.Path(archive).c_str());
    ReadInto(content, "");
    return content;
}

void Workbench::ExpectSameContent(const std::string& archive, const std::string& other) const {
    EXPECT_TRUE(Unpack(archive) == Unpack(other)) << archive << " and " << other;
}

Outcome Workbench::Convert(const Arguments& arguments, const std::string& tracer) const {
    const TempFolder output;
    std::string command = "cd " + Quoted(folder_.Path()) + " && exec " + tracer + " " +
                          Quoted(folder_.Path(bin_ + "/VAConverter"));
    for (const std::string& argument : arguments) command += " " + Quoted(argument);
    command += " >" + Quoted(output.Path("out")) + " 2>" + Quoted(output.Path("err"));
    Outcome outcome{.exitCode = Shell(command), .lines = {}, .problems = output.Read("err")};
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
    const std::string size = std::to_string(bytes);
    if (Shell("mount -t tmpfs -o size=" + size + " tmpfs " + Quoted(path) + " 2>/dev/null") != 0) {
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
