// The members that are to be written, wherever their contents come from.
#pragma once

#include <cstdint>
#include <deque>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "library/LooseFiles.h"
#include "patch/NameList.h"
#include "vaconverter/writer.h"

namespace va {

struct NewMember {
    std::string name;    // as it will be stored
    std::string folded;  // the key of order and equality
    std::uint64_t size = 0;
    const archive::Tree* tree = nullptr;            // where the content is
    std::size_t number = 0;                         // in the tree
    const std::filesystem::path* source = nullptr;  // for messages
};

// Why a name cannot be stored, as a clause; null for a good one. `stored` is StoredBytes of it.
[[nodiscard]] const char* NameProblemOf(std::string_view name, std::string_view stored);

class NewMembers {
public:
    // Each adds one member; see ArchiveWriter.
    void Add(const Archive& source, const Member& member, std::string storedName);
    void AddNamed(const Archive& source, const Member& member, std::string_view name);
    void AddFile(const std::filesystem::path& file, std::string_view name);
    void AddContent(std::vector<std::byte> content, std::string_view name);
    void AddAll(const Archive& source, std::string_view under,
                const std::function<bool(const Member&)>& wanted);

    // Sorts the members by name. Throws Error (Refused) for what no archive can hold, and for
    // members of one name.
    [[nodiscard]] std::vector<NewMember> Judged() const;

    // Folders that contents are read from.
    [[nodiscard]] const std::vector<std::filesystem::path>& Folders() const { return folders_; }

private:
    // Returns the bytes that an archive stores for a name. Those of a name that it cannot store are
    // noted and empty.
    [[nodiscard]] std::string StoredNameOf(std::string_view name);
    void AddMember(std::string name, const archive::Tree& tree, std::size_t number,
                   const std::filesystem::path& source);

    std::vector<NewMember> members_;
    std::vector<std::filesystem::path> folders_;
    patch::NameList unusable_;
    LooseFiles loose_;
    std::deque<std::filesystem::path> paths_;  // what NewMember::source points at stays in place
};

}  // namespace va
