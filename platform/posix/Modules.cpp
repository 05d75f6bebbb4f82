// A module is a mapping of the start of a file that is in the system's format for programs.
#include "platform/Modules.h"

#include <elf.h>
#include <link.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cstring>

#include "platform/FaultTools.h"
#include "platform/posix/Mappings.h"

namespace platform {
namespace {

using posix::Mapping;

constexpr std::uint64_t kPage = 4096;

template <typename T>
bool ReadObject(std::uint64_t address, T& object) {
    return ReadMemory(address, std::as_writable_bytes(std::span(&object, 1))) == sizeof(T);
}

// Reads a file's headers from its mapping. They are not trusted: every read checks that memory is
// there.
class Image {
public:
    // 0 if the file at `base` is neither a program nor a library.
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

    // Returns the part of `into` that could be filled.
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
        constexpr auto kPadded = [](std::uint64_t size) { return (size + 3) / 4 * 4; };
        std::uint64_t at = base_ + (notes.p_vaddr - begin_);
        const std::uint64_t end = at + notes.p_memsz;
        ElfW(Nhdr) note{};
        std::array<char, kName.size()> name{};
        while (at < end && ReadObject(at, note)) {
            const std::uint64_t content = at + sizeof(note) + kPadded(note.n_namesz);
            if (note.n_type == NT_GNU_BUILD_ID && note.n_namesz == kName.size() &&
                ReadObject(at + sizeof(note), name) &&
                kName == std::string_view(name.data(), name.size())) {
                return ReadMemory(content,
                                  into.first(std::min<std::size_t>(into.size(), note.n_descsz)));
            }
            at = content + kPadded(note.n_descsz);
        }
        return 0;
    }

    std::uint64_t base_;
    std::uint64_t parts_ = 0;
    std::uint64_t partCount_ = 0;
    std::uint64_t begin_ = 0;  // addresses as the file counts them
    std::uint64_t end_ = 0;
};

// Returns the module at `mapping`, with its texts in `path` and `buildId`; size 0 if it is not one.
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
    posix::MappingList mappings;
    std::array<char, 4097> path;
    std::array<std::byte, 64> buildId;
    std::uint64_t end = 0;  // of the last module
    for (Mapping mapping; mappings.Next(mapping);) {
        const bool isFileBegin = !mapping.path.empty() && mapping.offset == 0 && !mapping.isShared;
        if (!isFileBegin || mapping.start < end) continue;
        const Module module = Describe(mapping, path, buildId);
        if (module.size == 0) continue;
        end = module.base + module.size;
        if (!visit(module)) return;
    }
}

}  // namespace platform
