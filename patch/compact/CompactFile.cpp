#include "patch/compact/CompactFile.h"

#include <algorithm>

#include "archive/Crc32.h"
#include "archive/Window.h"
#include "patch/Error.h"
#include "patch/compact/ContentCodec.h"
#include "patch/compact/GrowingEncoder.h"
#include "platform/Error.h"

namespace patch::compact {
namespace {

using delta::ByteBuffer;
using delta::ByteReader;
using delta::ByteView;
using delta::ByteWriter;

constexpr std::size_t kEndSize = std::tuple_size_v<Sha256Digest>;
constexpr std::size_t kMostSectionHead = 2 + 10 + 10 + 4;
// No models pack better; a claim beyond it would only cost time.
constexpr std::uint64_t kMostPacking = 2000;

std::uint32_t SumOf(ByteView bytes) {
    archive::Crc32 sum;
    sum.Update(std::as_bytes(bytes));
    return sum.Value();
}

ByteBuffer PackText(ByteView text) {
    GrowingEncoder encoder;
    FreshBytes model;
    model.Begin({});
    for (std::size_t i = 0; i < text.size(); ++i) model.Code(encoder, text.first(i), 0, text[i]);
    return encoder.Finish();
}

ByteBuffer UnpackText(ByteView packed, std::uint64_t size) {
    delta::RangeDecoder decoder(packed);
    FreshBytes model;
    model.Begin({});
    ByteBuffer text;
    while (text.size() < size) text.push_back(model.Code(decoder, text, 0, 0));
    return text;
}

}  // namespace

ByteBuffer FormatHeader() {
    ByteBuffer bytes(kMagic.begin(), kMagic.end());
    bytes.push_back(kVersion);
    return bytes;
}

ByteBuffer FormatSection(SectionKind kind, bool modelled, std::uint64_t count, ByteView bytes) {
    ByteBuffer section;
    ByteWriter out(section);
    out.Byte(static_cast<std::uint8_t>(kind));
    out.Byte(modelled ? 1 : 0);
    out.Number(count);
    out.Number(bytes.size());
    out.Fixed(SumOf(bytes), 4);
    out.Append(bytes);
    return section;
}

ByteBuffer PackSection(SectionKind kind, ByteView bytes) {
    const ByteBuffer packed = PackText(bytes);
    const bool smaller = packed.size() < bytes.size();
    return FormatSection(kind, smaller, bytes.size(), smaller ? ByteView(packed) : bytes);
}

Head HeadOf(const std::string& manifestText) {
    constexpr std::string_view kSpots = "\nspots ";
    const std::size_t spots = manifestText.find(kSpots);
    const std::size_t end = manifestText.find('\n', spots + kSpots.size()) + 1;
    Head head{manifestText.substr(0, end)};
    const std::size_t digits = 2 * kEndSize;
    const std::string_view tail = manifestText;
    head.end = Sha256FromHex(tail.substr(tail.size() - digits - 1, digits)).value();
    return head;
}

CompactFile::CompactFile(std::string path, const ProgressFunction& progress)
    : path_(std::move(path)) {
    using namespace platform;
    if (!file_.Open(path_.c_str(), Access::Read, Creation::OpenExisting, Share::DenyNone)) {
        const platform::Error error = LastError();
        throw Error(error.kind == ErrorKind::NotFound ? ErrorCode::NotFound : ErrorCode::Refused,
                    path_, "cannot be opened: " + error.Message());
    }
    About(path_, [&] {
        try {
            JudgeFrame(progress);
            ReadSections();
        } catch (const delta::Error& error) {
            FailDamaged(error.what());
        } catch (const ManifestError& error) {
            FailDamaged(error.what());
        }
    });
}

bool CompactFile::IsMeant(const std::string& path) {
    using namespace platform;
    FileHandle file;
    std::array<std::byte, kMagic.size()> bytes{};
    return file.Open(path.c_str(), Access::Read, Creation::OpenExisting, Share::DenyNone) &&
           file.ReadAt(0, bytes) == static_cast<std::int64_t>(bytes.size()) &&
           std::ranges::equal(bytes, std::as_bytes(std::span(kMagic)));
}

void CompactFile::FailDamaged(const std::string& reason) const {
    throw Error(ErrorCode::Refused, path_, "damaged: " + reason + "; download it again");
}

void CompactFile::JudgeFrame(const ProgressFunction& progress) {
    const std::int64_t length = file_.Length();
    bytes_ = length < 0 ? 0 : static_cast<std::uint64_t>(length);
    archive::Window window(file_, 1U << 20);
    const auto head = window.At(0, kHeaderSize);
    if (head.size() < kHeaderSize) FailDamaged("it is cut off");
    ByteReader in({reinterpret_cast<const std::uint8_t*>(head.data()), head.size()});
    if (!std::ranges::equal(in.Take(kMagic.size()), kMagic)) {
        throw Error(ErrorCode::Refused, path_, "is no compact patch");
    }
    if (const std::uint8_t version = in.Byte(); version != kVersion) {
        throw Error(ErrorCode::Refused, path_,
                    "is a compact patch of version " + std::to_string(version) +
                        "; a later version of this program reads it");
    }
    if (bytes_ < kHeaderSize + kEndSize) FailDamaged("it is cut off");
    const std::uint64_t body = bytes_ - kEndSize;
    Meter meter(progress, "judging the patch", body);
    Sha256 digest;
    for (std::uint64_t done = 0; done < body;) {
        const auto piece = window.Some(done, body - done);
        if (piece.empty()) FailDamaged("the file changed while it was read");
        digest.Update(piece);
        done += piece.size();
        meter.Add(piece.size());
    }
    const auto end = window.At(body, kEndSize);
    if (!std::ranges::equal(end, digest.Finish())) {
        FailDamaged("it was cut off, or bytes of it changed");
    }
}

Section CompactFile::ReadSection(std::uint64_t& offset) const {
    std::array<std::byte, kMostSectionHead> head{};
    const std::uint64_t left = bytes_ - kEndSize - offset;
    const std::size_t most = static_cast<std::size_t>(std::min<std::uint64_t>(left, head.size()));
    if (file_.ReadAt(offset, std::span(head).first(most)) != static_cast<std::int64_t>(most)) {
        FailDamaged("it cannot be read");
    }
    const ByteView view(reinterpret_cast<const std::uint8_t*>(head.data()), most);
    ByteReader in(view);
    Section section;
    section.kind = static_cast<SectionKind>(in.Byte());
    const std::uint8_t coding = in.Byte();
    section.modelled = coding == 1;
    section.count = in.Number();
    section.bytes = in.Number();
    section.sum = static_cast<std::uint32_t>(in.Fixed(4));
    const std::size_t size = view.size() - in.Rest().size();
    section.offset = offset + size;
    if (coding > 1 || section.bytes > left - size) FailDamaged("a section leaves the file");
    offset = section.offset + section.bytes;
    return section;
}

void CompactFile::ReadSections() {
    const std::uint64_t end = bytes_ - kEndSize;
    std::uint64_t offset = kHeaderSize;
    const auto next = [&](SectionKind kind) {
        const Section section = ReadSection(offset);
        if (section.kind != kind) FailDamaged("its sections are not in order");
        return section;
    };
    headSection_ = next(SectionKind::Head);
    TakeHead(headSection_);
    directorySection_ = next(SectionKind::Directory);
    directory_ = ParseDirectory(Unpack(directorySection_), facts_.old.members);
    std::uint64_t members = 0;
    while (members < directory_.Carried()) {
        contents_.push_back(next(SectionKind::Contents));
        const Section& section = contents_.back();
        if (section.count == 0 || section.count > directory_.Carried() - members ||
            !section.modelled) {
            FailDamaged("a section has a wrong number of members");
        }
        members += section.count;
    }
    shares_ = ParseShares(Unpack(next(SectionKind::Shares)));
    if (offset != end) FailDamaged("it is longer than its sections");
}

void CompactFile::TakeHead(const Section& section) {
    const ByteBuffer bytes = Unpack(section);
    ByteReader in(bytes);
    std::ranges::copy(std::as_bytes(in.Take(kEndSize)), head_.end.begin());
    const ByteView text = in.Rest();
    head_.text.assign(reinterpret_cast<const char*>(text.data()), text.size());
    facts_ = ParseManifestHead(head_.text);
}

ByteBuffer CompactFile::Read(const Section& section) const {
    ByteBuffer bytes(static_cast<std::size_t>(section.bytes));
    if (file_.ReadAt(section.offset, std::as_writable_bytes(std::span(bytes))) !=
        static_cast<std::int64_t>(bytes.size())) {
        FailDamaged("it cannot be read");
    }
    if (SumOf(bytes) != section.sum) FailDamaged("a section does not have its check sum");
    return bytes;
}

ByteBuffer CompactFile::Unpack(const Section& section) const {
    if (section.count > kMostManifestBytes || section.count / kMostPacking > section.bytes) {
        FailDamaged("a section is too long");
    }
    ByteBuffer bytes = Read(section);
    if (section.modelled) return UnpackText(bytes, section.count);
    if (section.count != bytes.size()) FailDamaged("a section has a wrong length");
    return bytes;
}

}  // namespace patch::compact
