// The file of a compact patch (docs/formats/compact-patch.md): its frame, and reading it.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "archive/Reader.h"
#include "delta/Bytes.h"
#include "patch/Manifest.h"
#include "patch/Meter.h"
#include "patch/compact/Directory.h"

namespace patch::compact {

inline constexpr std::array<std::uint8_t, 4> kMagic{'V', 'A', 'P', 0x1a};
inline constexpr std::uint8_t kVersion = 1;
inline constexpr std::size_t kHeaderSize = kMagic.size() + 1;

enum class SectionKind : std::uint8_t { Head = 1, Directory = 2, Contents = 3, Shares = 4 };

// What precedes the bytes of a section.
struct Section {
    SectionKind kind = SectionKind::Head;
    bool modelled = false;     // coded with models; else as it is
    std::uint64_t count = 0;   // bytes when unpacked; of contents: carried members
    std::uint64_t bytes = 0;   // in the file
    std::uint32_t sum = 0;     // CRC-32 of those
    std::uint64_t offset = 0;  // in the file
};

[[nodiscard]] delta::ByteBuffer FormatHeader();
[[nodiscard]] delta::ByteBuffer FormatSection(SectionKind kind, bool modelled, std::uint64_t count,
                                              delta::ByteView bytes);
// A section of bytes, coded in the shorter way.
[[nodiscard]] delta::ByteBuffer PackSection(SectionKind kind, delta::ByteView bytes);

// The text of a manifest without the lines of its members, which the rest of the patch gives back,
// and the digest at its end, which proves that.
struct Head {
    std::string text;
    Sha256Digest end{};
};
[[nodiscard]] Head HeadOf(const std::string& manifestText);

class CompactFile {
public:
    // Opens a patch and judges every byte of it. Throws Error (Refused, NotFound), Cancelled.
    CompactFile(std::string path, const ProgressFunction& progress);

    // Whether a file begins as a compact patch does. False for whatever cannot be read.
    [[nodiscard]] static bool IsMeant(const std::string& path);

    [[nodiscard]] const std::string& Path() const { return path_; }
    [[nodiscard]] std::uint64_t Bytes() const { return bytes_; }
    // The manifest without members.
    [[nodiscard]] const Manifest& Facts() const { return facts_; }
    [[nodiscard]] const Sha256Digest& ManifestEnd() const { return head_.end; }
    [[nodiscard]] const Directory& Members() const { return directory_; }
    [[nodiscard]] const std::vector<Section>& Contents() const { return contents_; }
    [[nodiscard]] const compact::Shares& ContentShares() const { return shares_; }
    // Head and directory, for people.
    [[nodiscard]] const Section& HeadSection() const { return headSection_; }
    [[nodiscard]] const Section& DirectorySection() const { return directorySection_; }

    // Returns the bytes of a section, compared with their sum. Throws Error.
    [[nodiscard]] delta::ByteBuffer Read(const Section& section) const;

    [[noreturn]] void FailDamaged(const std::string& reason) const;

private:
    void JudgeFrame(const ProgressFunction& progress);
    void ReadSections();
    [[nodiscard]] Section ReadSection(std::uint64_t& offset) const;
    [[nodiscard]] delta::ByteBuffer Unpack(const Section& section) const;
    void TakeHead(const Section& section);

    const std::string path_;
    platform::FileHandle file_;
    std::uint64_t bytes_ = 0;
    Head head_;
    Manifest facts_;
    Directory directory_;
    Section headSection_;
    Section directorySection_;
    std::vector<Section> contents_;
    compact::Shares shares_;
};

}  // namespace patch::compact
