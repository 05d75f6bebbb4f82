#include "archive/Reader.h"
#include "archive/Tree.h"

namespace archive {
namespace {

class ArchiveTreeReader final : public TreeReader {
public:
    explicit ArchiveTreeReader(const Reader& reader)
        : reader_(reader), content_(reader.NewContentReader()) {}

    void Begin(std::size_t number) override { content_.Begin(reader_[number]); }
    [[nodiscard]] std::span<const std::byte> Next() override { return content_.Next(); }

private:
    const Reader& reader_;
    ContentReader content_;
};

class ArchiveTree final : public Tree {
public:
    explicit ArchiveTree(std::unique_ptr<Reader> reader) : reader_(std::move(reader)) {}

    [[nodiscard]] std::size_t Count() const override { return reader_->Count(); }

    [[nodiscard]] TreeMember operator[](std::size_t number) const override {
        const Member member = (*reader_)[number];
        return {.name = member.name,
                .size = member.size,
                .storedSize = member.storedSize,
                .dataOffset = member.dataOffset,
                .crc = member.crc,
                .compressed = (member.attributes & kMemberCompressed) != 0};
    }

    [[nodiscard]] std::optional<std::size_t> Find(std::string_view name) const override {
        const auto ordinal = reader_->All().members.Find(name);
        return ordinal ? std::optional<std::size_t>(*ordinal) : std::nullopt;
    }

    [[nodiscard]] bool HasDoubles() const override { return reader_->All().members.HasDoubles(); }

    [[nodiscard]] std::unique_ptr<TreeReader> NewReader() const override {
        return std::make_unique<ArchiveTreeReader>(*reader_);
    }

    [[nodiscard]] const std::vector<Unusable>& LeftOut() const override { return none_; }

private:
    std::unique_ptr<Reader> reader_;
    std::vector<Unusable> none_;
};

}  // namespace

std::unique_ptr<Tree> TreeOf(std::unique_ptr<Reader> reader) {
    return std::make_unique<ArchiveTree>(std::move(reader));
}

}  // namespace archive
