#include "tools/delta/Files.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>

#include "tools/delta/ProgramError.h"

namespace delta {
namespace {

// Mapping saves the memory of a copy, but a mapped file that shrinks ends the program. So only
// files large enough for the memory to matter are mapped.
constexpr std::uint64_t kMapFrom = 64U << 20;

// The path of the unfinished output, for the signal handlers; empty if there is none.
std::array<char, 4096> unfinishedPath{};
const char* lineOnFault = "";

[[noreturn]] void ThrowSystem(ExitCode code, const char* what, const std::string& path, int error) {
    throw ProgramError(code, std::string(what) + " " + path + ": " + std::strerror(error));
}

class Descriptor {
public:
    explicit Descriptor(int number) : number_(number) {}
    ~Descriptor() {
        if (number_ >= 0) close(number_);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    [[nodiscard]] int Get() const noexcept { return number_; }
    [[nodiscard]] bool Valid() const noexcept { return number_ >= 0; }

    // Returns false if the system reports a delayed write error.
    [[nodiscard]] bool Close() {
        const int number = number_;
        number_ = -1;
        return close(number) == 0;
    }

private:
    int number_;
};

// An output under a temporary name in the folder of the final one. Removed unless Finish renamed
// it.
class UnfinishedFile {
public:
    // `replaced` describes the existing file of the final name; null if there is none.
    UnfinishedFile(const std::string& finalPath, const struct stat* replaced)
        : finalPath_(finalPath),
          folder_(FolderOf(finalPath)),
          path_(folder_ + ".vpatch-" + std::to_string(getpid()) + ".tmp"),
          // Created private: content that only some users may read must not become readable to
          // others, even while it is written.
          descriptor_(Create(replaced ? 0600 : 0666)) {
        // Failure is ignored: a file system without modes refuses this, and has none to keep.
        if (replaced) fchmod(descriptor_.Get(), replaced->st_mode & 0777U);
    }

    ~UnfinishedFile() {
        if (unfinishedPath[0] == '\0') return;
        unlink(path_.c_str());
        unfinishedPath[0] = '\0';
    }
    UnfinishedFile(const UnfinishedFile&) = delete;
    UnfinishedFile& operator=(const UnfinishedFile&) = delete;

    void Write(Bytes bytes) {
        while (!bytes.empty()) {
            const ssize_t count = write(descriptor_.Get(), bytes.data(), bytes.size());
            if (count < 0 && errno == EINTR) continue;
            if (count < 0) Fail(errno);
            bytes = bytes.subspan(static_cast<std::size_t>(count));
        }
    }

    // Renames the file to its final name. Syncs the file first, so that after a crash of the
    // machine the name has the old content or the new one, and the folder before success is
    // reported.
    void Finish() {
        if (!Synced(descriptor_.Get()) || !descriptor_.Close()) Fail(errno);
        if (rename(path_.c_str(), finalPath_.c_str()) != 0) Fail(errno);
        unfinishedPath[0] = '\0';
        const Descriptor folder(open(folder_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        // A folder that may be written but not read cannot be opened; the file itself is safe.
        if (folder.Valid() && !Synced(folder.Get())) Fail(errno);
    }

private:
    static std::string FolderOf(const std::string& path) {
        const std::size_t slash = path.find_last_of('/');
        return slash == std::string::npos ? "./" : path.substr(0, slash + 1);
    }

    // Some file systems cannot sync and report EINVAL, which counts as success.
    static bool Synced(int descriptor) { return fsync(descriptor) == 0 || errno == EINVAL; }

    int Create(mode_t mode) {
        if (path_.size() >= unfinishedPath.size()) Fail(ENAMETOOLONG);
        unlink(path_.c_str());  // the leftover of a killed process that had our process id
        const int number = open(path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
        if (number < 0) Fail(errno);
        std::ranges::copy(path_, unfinishedPath.begin());
        return number;
    }

    [[noreturn]] void Fail(int error) const {
        ThrowSystem(ExitCode::CannotWrite, "cannot write", finalPath_, error);
    }

    const std::string finalPath_;
    const std::string folder_;  // with a '/' at its end
    const std::string path_;
    Descriptor descriptor_;
};

void RemoveUnfinished() {
    if (unfinishedPath[0] != '\0') unlink(unfinishedPath.data());
}

extern "C" void OnFault(int /*signal*/) {
    RemoveUnfinished();
    const ssize_t written = write(STDERR_FILENO, lineOnFault, std::strlen(lineOnFault));
    (void)written;  // there is nowhere else to report to
    _exit(static_cast<int>(ExitCode::CannotRead));
}

extern "C" void OnEnd(int number) {
    RemoveUnfinished();
    std::signal(number, SIG_DFL);
    std::raise(number);
}

}  // namespace

InputFile::InputFile(const std::string& path) {
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file.Valid()) ThrowSystem(ExitCode::CannotRead, "cannot read", path, errno);
    struct stat status {};
    if (fstat(file.Get(), &status) != 0) {
        ThrowSystem(ExitCode::CannotRead, "cannot read", path, errno);
    }
    const auto size = static_cast<std::uint64_t>(status.st_size);
    if (size > kMaxSize) throw ProgramError(ExitCode::TooLarge, path + " has 4 GiB or more");
    if (S_ISREG(status.st_mode) && size >= kMapFrom) {
        Map(file.Get(), size, path);
    } else {
        ReadAll(file.Get(), size, path);
    }
}

InputFile::~InputFile() {
    if (mapping_) munmap(mapping_, bytes_.size());
}

void InputFile::Map(int descriptor, std::size_t size, const std::string& path) {
    void* mapping = mmap(nullptr, size, PROT_READ, MAP_PRIVATE, descriptor, 0);
    if (mapping == MAP_FAILED) ThrowSystem(ExitCode::CannotRead, "cannot map", path, errno);
    mapping_ = mapping;
    bytes_ = {static_cast<const std::byte*>(mapping), size};
}

// Reads to the end of the file. `expectedSize` is only a hint: pipes have no size, and files may
// grow or shrink meanwhile.
void InputFile::ReadAll(int descriptor, std::size_t expectedSize, const std::string& path) {
    buffer_.resize(expectedSize + 1);
    std::size_t done = 0;
    for (;;) {
        if (done == buffer_.size()) buffer_.resize(2 * done);
        const ssize_t count = read(descriptor, buffer_.data() + done, buffer_.size() - done);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) ThrowSystem(ExitCode::CannotRead, "cannot read", path, errno);
        if (count == 0) break;
        done += static_cast<std::size_t>(count);
        if (done > kMaxSize) throw ProgramError(ExitCode::TooLarge, path + " has 4 GiB or more");
    }
    bytes_ = Bytes(buffer_).first(done);
}

void WriteOutput(const std::string& path, Bytes content) {
    struct stat status {};
    const bool exists = stat(path.c_str(), &status) == 0;
    if (exists && !S_ISREG(status.st_mode)) {
        throw ProgramError(ExitCode::CannotWrite, "cannot write " + path + ": not a regular file");
    }
    UnfinishedFile file(path, exists ? &status : nullptr);
    file.Write(content);
    file.Finish();
}

void HandleSignals(const char* faultLine) {
    lineOnFault = faultLine;
    std::signal(SIGXFSZ, SIG_IGN);  // write() then fails with EFBIG
    std::signal(SIGBUS, OnFault);
    // A signal that the caller ignores, as nohup does with SIGHUP, stays ignored.
    for (const int number : {SIGHUP, SIGINT, SIGTERM}) {
        if (std::signal(number, OnEnd) == SIG_IGN) std::signal(number, SIG_IGN);
    }
}

}  // namespace delta
