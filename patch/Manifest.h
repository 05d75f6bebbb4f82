// The manifest of a patch (docs/formats/manifest.md): what both sides are, how the result is laid
// out, and which members change. It is text that grows with the change, not with the archive.
#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "patch/Sha256.h"
#include "patch/Sums.h"

namespace patch {

// Fixed: the member of a patch that holds its manifest. No other member may lie below ".va/".
inline constexpr const char* kManifestName = ".va/manifest";
inline constexpr const char* kOwnFolder = ".va/";

// No manifest is longer; readers refuse one before they allocate for it.
inline constexpr std::uint64_t kMostManifestBytes = std::uint64_t{256} << 20;
inline constexpr std::size_t kMostNoteBytes = 65536;

// What one side holds. `sha256` is DigestOfSide of its members.
struct Side {
    std::uint64_t members = 0;
    std::uint64_t bytes = 0;  // of content
    Sha256Digest sha256{};

    bool operator==(const Side&) const = default;
};

// Consecutive numbers, both ends included.
struct Run {
    std::uint32_t first = 0;
    std::uint32_t last = 0;

    bool operator==(const Run&) const = default;
};

// The order of the result's members.
struct Order {
    enum class Base {
        Canonical,  // by the byte order of the folded names
        Old,        // members whose name the old side has, in its order; then the rest, canonically
        Updated,    // unchanged members in the order of the old side; then the rest, canonically
    };
    Base base = Base::Canonical;
    // Empty, or the whole order as numbers over the base order, which then are a permutation.
    std::vector<Run> runs;

    bool operator==(const Order&) const = default;
};

// Which members of the result are stored as compressed streams.
struct Storage {
    enum class Base {
        Canonical,   // those where it saves 2 %
        Old,         // unchanged members as the old archive stores them; the rest as Canonical
        Plain,       // none
        Compressed,  // all with content
        Large,       // those of more than 1,024 bytes
    };
    Base base = Base::Canonical;
    // Members that are stored the other way: numbers over the canonical order, ascending.
    std::vector<Run> exceptions;

    bool operator==(const Storage&) const = default;
};

struct Manifest {
    // The file that the result is. Only known where NEW was an archive that can be made again from
    // its members; else the content alone is promised.
    struct File {
        std::uint64_t bytes = 0;
        Sha256Digest sha256{};
        bool operator==(const File&) const = default;
    };
    // The numbers in the header of the result; without them the old side's are kept.
    struct Versions {
        std::uint32_t build = 0;
        std::uint32_t product = 0;
        bool operator==(const Versions&) const = default;
    };

    // Names of members are stored names, bytes of code page 1252, wherever they stand here.
    struct Changed {
        std::string name;
        std::uint64_t oldBytes = 0;
        Sha256Digest oldSha256{};
        std::uint64_t newBytes = 0;
        Sha256Digest newSha256{};
        bool operator==(const Changed&) const = default;
    };
    struct Content {
        std::string name;
        std::uint64_t bytes = 0;
        Sha256Digest sha256{};
        bool operator==(const Content&) const = default;
    };
    struct Moved {
        std::string name;
        std::string oldName;  // a member of the old side with the same content
        std::uint64_t bytes = 0;
        Sha256Digest sha256{};
        bool operator==(const Moved&) const = default;
    };

    Side old;
    Side fresh;
    std::optional<File> archive;
    std::optional<Versions> versions;
    std::string name;  // a plain file name for the result, in UTF-8; may be empty
    std::string note;  // of the maker, for people: UTF-8 in lines; may be empty
    Order order;
    Storage storage;
    Spots spots;  // of the members that are not listed below, as the old side has them

    // Each in the canonical order of the names. A name whose letter case alone changes is removed
    // and added (or moved); else no name is on two of the lists of a side.
    std::vector<Content> added;      // those with content of their own; in addedFiles.txt
    std::vector<Changed> changed;    // in patchedFiles.txt
    std::vector<Content> removed;    // all that the new side has not; in deletedFiles.txt
    std::vector<std::string> empty;  // added members without content; in no list
    std::vector<Moved> moved;        // added with the content of an old member; in addedFiles.txt

    bool operator==(const Manifest&) const = default;
};

// A manifest that cannot be read. what() is a clause in English; names in it are UTF-8 and may hold
// control characters.
class ManifestError : public std::runtime_error {
public:
    // `line` counts from 1; 0 where no line is concerned.
    ManifestError(std::size_t line, const std::string& reason);

    [[nodiscard]] std::size_t Line() const { return line_; }

private:
    std::size_t line_;
};

// Returns the text of a manifest. Throws ManifestError if a reader would refuse it.
[[nodiscard]] std::string FormatManifest(const Manifest& manifest);

// Reads the text of a manifest. Throws ManifestError: damaged or cut off, of a later version, or
// anything that FormatManifest would not have written. Memory grows with the text alone.
[[nodiscard]] Manifest ParseManifest(std::string_view text);

// Reads the lines of a manifest before those of its members. Throws as ParseManifest does.
[[nodiscard]] Manifest ParseManifestHead(std::string_view head);

}  // namespace patch
