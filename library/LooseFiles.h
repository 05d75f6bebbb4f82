// Single files, and contents in memory, as a tree of members.
#pragma once

#include <cstddef>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "archive/Tree.h"
#include "platform/Files.h"

namespace va {

// It grows while it is made; later it is a tree like others. Names are stored names.
class LooseFiles final : public archive::Tree {
public:
    // Each returns the number of the new member.
    std::size_t AddFile(std::string name, std::string path, const platform::FileStamp& stamp);
    std::size_t AddContent(std::string name, std::vector<std::byte> content);

    [[nodiscard]] std::size_t Count() const override { return files_.size(); }
    [[nodiscard]] archive::TreeMember operator[](std::size_t number) const override;
    [[nodiscard]] std::optional<std::size_t> Find(std::string_view name) const override;
    [[nodiscard]] std::unique_ptr<archive::TreeReader> NewReader() const override;
    [[nodiscard]] const std::vector<archive::Unusable>& LeftOut() const override { return none_; }

private:
    friend class LooseReader;

    struct File {
        std::string name;
        std::string path;  // empty for a content in memory
        platform::FileStamp stamp;
        std::vector<std::byte> content;
    };

    std::deque<File> files_;
    std::vector<archive::Unusable> none_;
};

}  // namespace va
