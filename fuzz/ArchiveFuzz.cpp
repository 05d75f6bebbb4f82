// Arbitrary bytes are mounted as an archive, which is listed, read, searched and written to,
// without a crash, a hang or memory out of proportion to the file.
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "KernelStandard/File.h"
#include "KernelStandard/FileFind.h"
#include "KernelStandard/ScopedMount.h"
#include "kernel/Exceptions.h"
#include "platform/Directories.h"

namespace fs = std::filesystem;
using namespace Vorn;

namespace {

constexpr const char* kArchive = "input.va";
constexpr std::uint32_t kMostRead = 1 << 20;  // content bytes of one input
constexpr std::size_t kMostMembers = 200;

// Holds the input. It is the current directory only during a run: temporary files of new members
// are created there, but between runs the fuzzer's own relative paths must stay valid.
class WorkFolder {
public:
    WorkFolder() : path_(fs::temp_directory_path() / ("archive-fuzz-" + std::to_string(Random()))) {
        fs::create_directory(path_);
    }
    ~WorkFolder() {
        std::error_code ignored;
        fs::remove_all(path_, ignored);
    }
    WorkFolder(const WorkFolder&) = delete;
    WorkFolder& operator=(const WorkFolder&) = delete;

    void Enter(const std::uint8_t* data, std::size_t size) {
        left_ = fs::current_path();
        fs::current_path(path_);
        std::ofstream out(kArchive, std::ios::binary | std::ios::trunc);
        out.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    }
    void Leave() const { fs::current_path(left_); }

private:
    static unsigned Random() { return std::random_device{}(); }

    fs::path path_;
    fs::path left_;
};

void CollectNames(const InternedString& mount, const std::string& folder,
                  std::vector<std::string>& names) {
    File::Find find;
    const std::string pattern = folder + "*";
    if (pattern.size() >= kMaxPath || !find.Open(pattern.c_str(), mount)) return;
    do {
        const std::string name = folder + std::string(find.Entry().Name());
        if ((find.Entry().attributes & platform::kAttributeDirectory) != 0) {
            CollectNames(mount, name + "/", names);
        } else {
            names.push_back(name);
        }
    } while (names.size() < kMostMembers && find.Next());
}

void ReadMember(const InternedString& mount, const char* name, std::uint32_t& budget) {
    File file;
    if (file.Open(mount, name, kReadDetect) != RES_OK) return;
    std::array<std::byte, 5000> piece;
    const std::uint32_t size = file.Size();
    for (std::uint32_t got = 1; got != 0 && budget > piece.size(); budget -= got) {
        got = file.Read(piece.data(), static_cast<std::uint32_t>(piece.size()));
    }
    if (file.Seek(size / 2, SeekFrom::Start) != kFailedSeek) (void)file.Read(piece.data(), 100);
}

std::vector<std::string> ReadEverything(const InternedString& mount) {
    std::vector<std::string> names;
    CollectNames(mount, "", names);
    std::uint32_t budget = kMostRead;
    for (const std::string& name : names) {
        // A name that is too long for a path together with its mount makes the call throw.
        try {
            (void)File::Exists(mount, name.c_str());
            ReadMember(mount, name.c_str(), budget);
        } catch (const Exception&) {
            continue;
        }
    }
    return names;
}

void WriteMembers(const InternedString& mount, const std::vector<std::string>& names) {
    constexpr std::array<char, 2000> kContent{};
    File file;
    if (file.Open(mount, "added/by the fuzzer", kWriteCompressed | kCreateOrTruncate) == RES_OK) {
        (void)file.Write(kContent.data(), static_cast<std::uint32_t>(kContent.size()));
        (void)file.Close();
    }
    if (!names.empty()) (void)File::Delete(("fuzz:" + names.front()).c_str());
}

void Mount(const InternedString& name, bool writable, auto&& use) {
    try {
        const ScopedMount mount(name, kArchive, writable);
        use();
    } catch (const Exception&) {
        // Expected: the input is not an archive, or a path does not fit its buffer.
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static WorkFolder folder;
    static const InternedString name = Intern("fuzz");
    folder.Enter(data, size);
    std::vector<std::string> names;
    Mount(name, false, [&] { names = ReadEverything(name); });
    Mount(name, true, [&] { WriteMembers(name, names); });
    Mount(name, false, [&] { (void)ReadEverything(name); });
    folder.Leave();
    return 0;
}
