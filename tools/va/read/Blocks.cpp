#include <algorithm>
#include <array>

#include "archive/ContentReader.h"
#include "archive/Error.h"
#include "archive/Stream.h"
#include "kernel/LetterCase.h"
#include "kernel/LittleEndian.h"
#include "platform/Directories.h"
#include "platform/Error.h"
#include "platform/Files.h"
#include "tools/va/ShownText.h"
#include "tools/va/Side.h"
#include "tools/va/read/ReadCommands.h"

namespace va::tool {
namespace {

constexpr Operand kOperands[] = {
    {.name = "FILE",
     .meaning = "a file of blocks, also a compressed one, or ARCHIVE:MEMBER",
     .completes = Completes::Files}};
constexpr std::array kOptions = {&kJson};
constexpr std::array<std::string_view, 2> kExamples = {"va blocks house.im",
                                                       "va blocks Town.va:house/house.im"};

// Returns an identifier of four bytes; a zero byte ends it early.
std::string Identifier(std::span<const std::byte> bytes) {
    const std::string text(reinterpret_cast<const char*>(bytes.data()), 4);
    return text.substr(0, text.find('\0'));
}

// Writes a line for each block of the content that it receives. The content may come in pieces, and
// the caller may skip the contents of blocks (see Skippable).
class BlockListing final : public Sink {
public:
    BlockListing(Run& run, const std::string& operand, std::uint64_t size)
        : run_(run), operand_(operand), size_(size) {}

    void Write(std::span<const std::byte> bytes) override {
        while (!bytes.empty()) {
            const std::size_t skipped = std::min<std::uint64_t>(bytes.size(), skip_);
            Skip(skipped);
            bytes = bytes.subspan(skipped);
            const std::size_t taken = std::min(bytes.size(), needed_ - filled_);
            std::copy_n(bytes.begin(), taken, head_.begin() + filled_);
            bytes = bytes.subspan(taken);
            position_ += taken;
            filled_ += taken;
            if (filled_ == needed_) TakeHead();
        }
    }

    // Returns the number of bytes that the caller may skip now. A file on disk seeks over them; a
    // member must be decoded anyway, and passes them to Write.
    [[nodiscard]] std::uint64_t Skippable() const { return skip_; }
    void Skip(std::uint64_t bytes) {
        skip_ -= bytes;
        position_ += bytes;
    }

    [[nodiscard]] ExitCode End() {
        if (part_ != Part::Block) {
            Refuse(Shown(operand_) + ": it is too short for a file of blocks");
        }
        run_.answer.Last().Set("blocks", blocks_).Set("bytes", size_);
        run_.talk.Summary(Counted(blocks_, "block") + ", " + ShownBytes(size_));
        if (filled_ > 0) Warn(Counted(filled_, "byte") + " after the last block");
        return odd_ ? ExitCode::LookAt : ExitCode::Done;
    }

private:
    static constexpr std::size_t kBlockHead = 8;

    enum class Part { Type, Header, Block };

    void TakeHead() {
        const std::span<const std::byte, kBlockHead + 4> head(head_);
        switch (part_) {
            case Part::Type:
                TakeType();
                return;
            case Part::Header:
                WriteHeader(Vorn::LoadU32<4>(head), Identifier(head.subspan(8)));
                break;
            case Part::Block:
                WriteBlock(Identifier(head), Vorn::LoadU32<4>(head));
                break;
        }
        part_ = Part::Block;
        filled_ = 0;
        needed_ = kBlockHead;
    }

    // In an archive the blocks follow the type at once; in any other file its size and an
    // identifier come first.
    void TakeType() {
        const std::string type = Identifier(head_);
        const bool isArchive = std::ranges::equal(type, std::string_view("arch"), {},
                                                  [](char c) { return Vorn::AsciiToLower(c); });
        part_ = isArchive ? Part::Block : Part::Header;
        needed_ = isArchive ? kBlockHead : head_.size();
        if (!isArchive) return;
        filled_ = 0;
        WriteKind({});
    }

    void WriteHeader(std::uint32_t claimed, const std::string& id) {
        WriteKind(id);
        const std::uint64_t held = size_ - std::min<std::uint64_t>(size_, kBlockHead);
        if (claimed != held) {
            Warn("its header says " + Counted(claimed, "byte") + ", but it has " +
                 GroupedDigits(held));
        }
    }

    void WriteKind(const std::string& id) {
        const std::string type = Identifier(head_);
        if (run_.answer.IsJson()) {
            JsonObject object("file");
            object.Set("file", operand_).Set("kind", type).Set("size", size_);
            if (!id.empty()) object.Set("id", id);
            return run_.answer.Write(object);
        }
        run_.answer.Write(Shown(operand_) + ": '" + Shown(type) + "'" +
                          (id.empty() ? "" : ", id '" + Shown(id) + "'") + ", " +
                          Counted(size_, "byte") + "\n");
    }

    void WriteBlock(const std::string& id, std::uint32_t size) {
        const std::uint64_t offset = position_ - kBlockHead;
        if (run_.answer.IsJson()) {
            run_.answer.Write(JsonObject("block")
                                  .Set("id", id)
                                  .Set("offset", offset)
                                  .Set("size", std::uint64_t{size}));
        } else {
            run_.answer.Write(RightAligned(std::to_string(offset), 12) +
                              RightAligned(std::to_string(size), 12) + "  " + Shown(id) + "\n");
        }
        ++blocks_;
        // After the line, so that the answer shows the block that does not fit.
        if (size > size_ - position_) {
            Refuse(Shown(operand_) + ": the block '" + Shown(id) + "' at offset " +
                   std::to_string(offset) + " has " + Counted(size, "byte") + ", and the file " +
                   std::to_string(size_ - position_) +
                   "; it is damaged, cut off, or not a file of blocks");
        }
        skip_ = size;
    }

    void Warn(const std::string& what) {
        run_.talk.Warning(Shown(operand_) + ": " + what);
        odd_ = true;
    }

    Run& run_;
    const std::string& operand_;
    const std::uint64_t size_;
    std::uint64_t position_ = 0;
    std::uint64_t skip_ = 0;
    std::uint64_t blocks_ = 0;
    bool odd_ = false;
    Part part_ = Part::Type;
    std::array<std::byte, kBlockHead + 4> head_{};
    std::size_t filled_ = 0;
    std::size_t needed_ = 4;
};

// Lists a compressed file on disk: it is read like a member whose stored bytes are the whole file.
ExitCode ListStream(Run& run, const std::string& path, const platform::FileHandle& file,
                    std::uint32_t length, archive::StreamHeader header) try {
    archive::ContentReader content(file, length, archive::kArchiveVersion102);
    archive::Member member;
    member.storedSize = length;
    member.size = header.contentSize;
    member.attributes = archive::kMemberCompressed;
    content.Begin(member);
    BlockListing listing(run, path, member.size);
    for (auto piece = content.Next(); !piece.empty(); piece = content.Next()) listing.Write(piece);
    return listing.End();
} catch (const archive::Error& error) {
    Refuse(Shown(path) + ": " + error.Reason());
}

ExitCode ListFile(Run& run, const std::string& path) {
    using namespace platform;
    FileHandle file;
    const bool opened =
        file.Open(path.c_str(), Access::Read, Creation::OpenExisting, Share::DenyNone);
    const std::int64_t length = opened ? file.Length() : -1;
    if (length < 0) Refuse("cannot read '" + Shown(path) + "': " + LastError().Message());
    std::array<std::byte, 65536> bytes;
    BlockListing listing(run, path, static_cast<std::uint64_t>(length));
    for (std::int64_t offset = 0; offset < length;) {
        const std::int64_t got = file.ReadAt(static_cast<std::uint64_t>(offset), bytes);
        if (got <= 0) Refuse("cannot read '" + Shown(path) + "' to its end");
        const auto piece = std::span(bytes).first(static_cast<std::size_t>(got));
        if (offset == 0 && piece.size() >= archive::kStreamHeaderSize &&
            archive::IsStreamMark(piece) && length <= UINT32_MAX) {
            return ListStream(
                run, path, file, static_cast<std::uint32_t>(length),
                archive::DecodeStreamHeader(piece.first<archive::kStreamHeaderSize>()));
        }
        listing.Write(piece);
        offset += got + static_cast<std::int64_t>(listing.Skippable());
        listing.Skip(listing.Skippable());
    }
    return listing.End();
}

ExitCode ListMember(Run& run, const std::string& operand) {
    const MemberOperand parts = SplitMemberOperand(operand);
    const Archive archive{std::filesystem::path(parts.archive)};
    const Member member = MemberOf(archive, parts);
    BlockListing listing(run, operand, member.Size());
    archive.Read(member, listing);
    return listing.End();
}

ExitCode RunBlocks(Run& run) {
    const std::string& operand = run.Operand(0);
    // A file that exists wins, because file names may contain ':'.
    if (platform::Exists(operand.c_str())) return ListFile(run, operand);
    if (operand.find(':') != std::string::npos) return ListMember(run, operand);
    throw Failure{ExitCode::NotFound, "there is no file '" + Shown(operand) +
                                          "'; to name a member, write ARCHIVE:MEMBER"};
}

}  // namespace

Command BlocksCommand() {
    return {
        .words = "blocks",
        .summary = "list the blocks of a file",
        .operands = kOperands,
        .options = kOptions,
        .details =
            "Lists the blocks of a file that has a type, a size and an identifier of four "
            "bytes each, and then blocks of an identifier, a size and content: for each its "
            "offset, the bytes of its content, and its identifier. The blocks of an archive "
            "file are its header, members and index.\n"
            "\n"
            "The exit code is 1 when sizes do not agree, 2 when a block reaches past the end.\n",
        .examples = kExamples,
        .run = RunBlocks};
}

}  // namespace va::tool
