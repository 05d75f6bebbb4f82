// A tree of members to read: those of an archive, or the files of a folder.
//
// A tree does not change after it was opened, and any number of threads use it at once, each with a
// separate reader.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace archive {

struct TreeMember {
    std::string_view name;  // bytes of code page 1252; in archives as stored
    std::uint64_t size = 0;
    std::uint64_t storedSize = 0;
    std::uint64_t dataOffset = 0;  // in the archive; 0 in folders
    std::uint32_t crc = 0;         // 0 means not recorded
    bool compressed = false;
};

// Reads the contents of members, one after another, in pieces.
class TreeReader {
public:
    virtual ~TreeReader() = default;
    // Goes to the start of a member. Throws Error.
    virtual void Begin(std::size_t number) = 0;
    // Returns the next piece, valid until the next call; empty after the last one, when sizes and
    // check sum have been compared. Throws Error.
    [[nodiscard]] virtual std::span<const std::byte> Next() = 0;
    // Fills `into` with the next bytes of content, instead of Next for the whole member. `isLast`
    // says that no others follow; sizes and check sum have then been compared. Throws Error, also
    // for a content of another length.
    virtual void Read(std::span<std::byte> into, bool isLast);

protected:
    TreeReader() = default;

private:
    std::span<const std::byte> rest_;  // of the last piece, for Read
};

// A file that a tree cannot hold, and why, as a clause.
struct Unusable {
    std::string name;  // as the system has it
    std::string reason;
    bool isContent = false;  // a file or folder, and not a link or device
};

class Tree {
public:
    virtual ~Tree() = default;
    [[nodiscard]] virtual std::size_t Count() const = 0;
    [[nodiscard]] virtual TreeMember operator[](std::size_t number) const = 0;
    // Returns the first member of that name (SameName).
    [[nodiscard]] virtual std::optional<std::size_t> Find(std::string_view name) const = 0;
    // Returns whether several members have one name, of which Find returns the first only.
    [[nodiscard]] virtual bool HasDoubles() const {
        for (std::size_t number = 0; number < Count(); ++number) {
            if (Find((*this)[number].name) != number) return true;
        }
        return false;
    }
    // Borrows the tree.
    [[nodiscard]] virtual std::unique_ptr<TreeReader> NewReader() const = 0;
    // Returns what a folder holds and a tree cannot: links, devices, names that an archive cannot
    // store, files of 4 GiB or more.
    [[nodiscard]] virtual const std::vector<Unusable>& LeftOut() const = 0;
};

// Reads a folder's tree, in the canonical order of names; links are not followed. Throws Error:
// NotFound, CannotRead.
[[nodiscard]] std::unique_ptr<Tree> OpenFolder(const std::string& path);

// Opens the members of `reader`, which the tree takes over, in stored order.
class Reader;
[[nodiscard]] std::unique_ptr<Tree> TreeOf(std::unique_ptr<Reader> reader);

}  // namespace archive
