#include "library/LooseFiles.h"

#include <algorithm>
#include <utility>

#include "archive/FileContent.h"
#include "archive/Names.h"

namespace va {

class LooseReader final : public archive::TreeReader {
public:
    explicit LooseReader(const LooseFiles& files) : files_(files) {}

    void Begin(std::size_t number) override {
        const LooseFiles::File& file = files_.files_[number];
        inMemory_ = file.path.empty();
        rest_ = file.content;
        if (!inMemory_) file_.Begin(file.path, file.stamp, file.name);
    }

    [[nodiscard]] std::span<const std::byte> Next() override {
        return inMemory_ ? std::exchange(rest_, {}) : file_.Next();
    }

    void Read(std::span<std::byte> into, bool isLast) override {
        if (inMemory_) {
            TreeReader::Read(into, isLast);
        } else {
            file_.Read(into);
        }
    }

private:
    const LooseFiles& files_;
    bool inMemory_ = true;
    std::span<const std::byte> rest_;
    archive::FileContent file_;
};

std::size_t LooseFiles::AddFile(std::string name, std::string path,
                                const platform::FileStamp& stamp) {
    files_.push_back({std::move(name), std::move(path), stamp, {}});
    return files_.size() - 1;
}

std::size_t LooseFiles::AddContent(std::string name, std::vector<std::byte> content) {
    const std::uint64_t size = content.size();
    files_.push_back({std::move(name), {}, {.size = size}, std::move(content)});
    return files_.size() - 1;
}

archive::TreeMember LooseFiles::operator[](std::size_t number) const {
    const File& file = files_[number];
    return {.name = file.name, .size = file.stamp.size, .storedSize = file.stamp.size};
}

std::optional<std::size_t> LooseFiles::Find(std::string_view name) const {
    const auto found = std::ranges::find_if(
        files_, [name](const File& file) { return archive::SameName(file.name, name); });
    if (found == files_.end()) return std::nullopt;
    return static_cast<std::size_t>(found - files_.begin());
}

std::unique_ptr<archive::TreeReader> LooseFiles::NewReader() const {
    return std::make_unique<LooseReader>(*this);
}

}  // namespace va
