// A module is a mapping of the beginning of a file in the system's format for programs.
#include "platform/Modules.h"

#include <elf.h>
#include <fcntl.h>
#include <link.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>

#include "platform/FaultTools.h"

namespace platform {
namespace {

constexpr std::uint64_t kPage = 4096;

template <typename T>
bool ReadObject(std::uint64_t address, T& object) {
    return ReadMemory(address, std::as_writable_bytes(std::span(&object, 1))) == sizeof(T);
}

// The system's list of this process's mappings, by rising address.
class MappingList {
public:
    MappingList() noexcept : descriptor_(open("/proc/self/maps", O_RDONLY | O_CLOEXEC)) {}
    MappingList(const MappingList&) = delete;
    MappingList& operator=(const MappingList&) = delete;
    ~MappingList() {
        if (descriptor_ >= 0) close(descriptor_);
    }

    // False behind the last line, which stands without its end.
    bool NextLine(std::string_view& line) {
        for (;;) {
            const std::string_view left(text_.data() + begin_, end_ - begin_);
            const std::size_t length = left.find('\n');
            if (length != std::string_view::npos) {
                line = left.substr(0, length);
                begin_ += length + 1;
                return true;
            }
            if (!Fill()) return false;
        }
    }

private:
    bool Fill() {
        std::memmove(text_.data(), text_.data() + begin_, end_ - begin_);
        end_ -= begin_;
        begin_ = 0;
        ssize_t count = 0;
        do {
            count = read(descriptor_, text_.data() + end_, text_.size() - end_);
        } while (count < 0 && errno == EINTR);
        end_ += static_cast<std::size_t>(std::max<ssize_t>(count, 0));
        return count > 0;
    }

    int descriptor_;
    std::array<char, 8192> text_;  // longer than a line with the longest path
    std::size_t begin_ = 0;        // of what is left in text_
    std::size_t end_ = 0;
};

// "start-end access offset device inode path", the path behind blanks and perhaps missing.
struct Mapping {
    std::uint64_t start = 0;
    bool isShared = false;     // with others, as devices are; programs are not
    std::uint64_t offset = 0;  // in the file
    std::string_view path;
};

Mapping ParseMapping(std::string_view line) {
    const auto takeField = [&line] {
        const std::string_view field = line.substr(0, line.find(' '));
        line.remove_prefix(field.size());
        line.remove_prefix(std::min(line.find_first_not_of(' '), line.size()));
        return field;
    };
    const auto number = [](std::string_view digits) {
        constexpr int kHexadecimal = 16;
        std::uint64_t value = 0;
        std::from_chars(digits.data(), digits.data() + digits.size(), value, kHexadecimal);
        return value;
    };
    Mapping mapping;
    mapping.start = number(takeField());
    mapping.isShared = takeField().ends_with('s');
    mapping.offset = number(takeField());
    takeField();
    takeField();
    mapping.path = line;
    return mapping;
}

// What a file's headers, as loaded, say of it. They are believed as far as memory can be read.
class Image {
public:
    // Size 0 when the file at `base` is no program or library.
    explicit Image(std::uint64_t base) : base_(base) {
        ElfW(Ehdr) header{};
        if (!ReadObject(base, header) || std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0 ||
            header.e_phentsize != sizeof(ElfW(Phdr))) {
            return;
        }
        parts_ = base + header.e_phoff;
        partCount_ = header.e_phnum;
        MeasureSize();
    }

    [[nodiscard]] std::uint64_t Size() const { return end_ - begin_; }

    // As many bytes as were found in `into`.
    [[nodiscard]] std::size_t BuildId(std::span<std::byte> into) const {
        std::size_t length = 0;
        ForEachPart(PT_NOTE, [&](const ElfW(Phdr) & notes) {
            if (length == 0) length = BuildIdIn(notes, into);
        });
        return length;
    }

private:
    template <typename Visit>
    void ForEachPart(std::uint32_t type, const Visit& visit) const {
        ElfW(Phdr) part{};
        for (std::uint64_t i = 0; i < partCount_; ++i) {
            if (!ReadObject(parts_ + i * sizeof(part), part)) return;
            if (part.p_type == type) visit(part);
        }
    }

    void MeasureSize() {
        begin_ = ~std::uint64_t{0};
        ForEachPart(PT_LOAD, [this](const ElfW(Phdr) & part) {
            begin_ = std::min<std::uint64_t>(begin_, part.p_vaddr / kPage * kPage);
            end_ = std::max<std::uint64_t>(end_, part.p_vaddr + part.p_memsz);
        });
        begin_ = std::min(begin_, end_);
        end_ += (kPage - end_ % kPage) % kPage;
    }

    [[nodiscard]] std::size_t BuildIdIn(const ElfW(Phdr) & notes, std::span<std::byte> into) const {
        constexpr std::string_view kName("GNU\0", 4);
        constexpr auto padded = [](std::uint64_t size) { return (size + 3) / 4 * 4; };
        std::uint64_t at = base_ + (notes.p_vaddr - begin_);
        const std::uint64_t end = at + notes.p_memsz;
        ElfW(Nhdr) note{};
        std::array<char, kName.size()> name{};
        while (at < end && ReadObject(at, note)) {
            const std::uint64_t content = at + sizeof(note) + padded(note.n_namesz);
            if (note.n_type == NT_GNU_BUILD_ID && note.n_namesz == kName.size() &&
                ReadObject(at + sizeof(note), name) &&
                kName == std::string_view(name.data(), name.size())) {
                return ReadMemory(content,
                                  into.first(std::min<std::size_t>(into.size(), note.n_descsz)));
            }
            at = content + padded(note.n_descsz);
        }
        return 0;
    }

    std::uint64_t base_;
    std::uint64_t parts_ = 0;
    std::uint64_t partCount_ = 0;
    std::uint64_t begin_ = 0;  // addresses as the file counts them
    std::uint64_t end_ = 0;
};

// The module at `mapping`, whose texts go to `path` and `buildId`; size 0 when there is none.
Module Describe(const Mapping& mapping, std::span<char, 4097> path, std::span<std::byte> buildId) {
    const Image image(mapping.start);
    Module module;
    module.base = mapping.start;
    module.size = image.Size();
    module.path = {path.data(), mapping.path.copy(path.data(), path.size() - 1)};
    path[module.path.size()] = '\0';
    struct stat status {};
    if (stat(path.data(), &status) == 0) {
        module.fileSize = static_cast<std::uint64_t>(status.st_size);
        module.fileTime = status.st_mtime;
    }
    module.buildId = buildId.first(image.BuildId(buildId));
    return module;
}

}  // namespace

void ForEachModule(const std::function<bool(const Module&)>& visit) {
    MappingList mappings;
    std::array<char, 4097> path;
    std::array<std::byte, 64> buildId;
    std::uint64_t end = 0;  // of the last module
    for (std::string_view line; mappings.NextLine(line);) {
        const Mapping mapping = ParseMapping(line);
        const bool isFileBegin = !mapping.path.empty() && mapping.offset == 0 && !mapping.isShared;
        if (!isFileBegin || mapping.start < end) continue;
        const Module module = Describe(mapping, path, buildId);
        if (module.size == 0) continue;
        end = module.base + module.size;
        if (!visit(module)) return;
    }
}

}  // namespace platform
