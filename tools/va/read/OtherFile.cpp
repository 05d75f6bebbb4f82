#include "tools/va/read/OtherFile.h"

#include <filesystem>
#include <fstream>
#include <span>
#include <string_view>
#include <vector>

#include "archive/ArchiveFormat.h"
#include "archive/Stream.h"
#include "delta/Bytes.h"
#include "delta/DiffFormat.h"
#include "delta/Error.h"
#include "tools/va/tag/ContentKind.h"
#include "tools/va/tag/TagFile.h"
#include "vaconverter/error.h"

namespace va::tool {
namespace {

// A description must be parsed as a whole to be recognised, but descriptions are small. For larger
// files only the first bytes are read.
constexpr std::uintmax_t kMostOfDescription = 16U << 20;
constexpr std::size_t kStart = 65536;
constexpr std::string_view kArchiveKind = "an archive";  // as KindOfContent names it

class FindingCounter final : public Vorn::TagObserver {
public:
    void OnFinding(const Vorn::TagFinding& /*finding*/) override { ++count; }
    std::size_t count = 0;
};

std::optional<OtherFile> AsStream(const Bytes& bytes) {
    if (bytes.size() < archive::kStreamHeaderSize || !archive::IsStreamMark(bytes)) return {};
    const archive::StreamHeader header =
        archive::DecodeStreamHeader(std::span(bytes).first<archive::kStreamHeaderSize>());
    if (header.version != archive::kStreamVersion) return {};
    return OtherFile{"a compressed file", 0, header.contentSize, {}};
}

std::optional<OtherFile> AsDiff(const Bytes& bytes) try {
    const delta::ByteView diff(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
    const delta::Header header = delta::Parse(diff).header;
    return OtherFile{"a diff", 0, header.newSize, header.oldSize};
} catch (const delta::Error&) {
    return {};
}

// Recognises an asset description. Nearly any bytes can be read as a tag text, so a text counts
// only if it has no findings and its name ends in .txt.
std::optional<OtherFile> AsDescription(const Bytes& bytes, const std::string& path) try {
    FindingCounter findings;
    const TagFile file = ReadTags(bytes, path, findings);
    if (file.root->ChildCount() == 0) return {};
    if (file.form == TagForm::Binary) return OtherFile{"a description (binary)", 0, {}, {}};
    if (findings.count > 0 || !path.ends_with(".txt")) return {};
    return OtherFile{"a description (text)", 0, {}, {}};
} catch (const Failure&) {
    return {};
}

// The mark decides, so that a damaged archive is reported as one.
bool HasArchiveMark(const Bytes& bytes) {
    constexpr std::size_t kMark = 4;
    return bytes.size() >= kMark &&
           archive::MarkEquals(std::span(bytes).first<kMark>(), archive::kArchiveMark);
}

[[noreturn]] void RefuseUnknown(const std::string& path) {
    throw Error(ErrorCode::Refused,
                path +
                    ": its kind is unknown: it is not an archive, patch, compressed file, diff "
                    "or description, and does not begin like a common picture, sound or packed "
                    "file; if it should be one of these, copy or download it again",
                path);
}

}  // namespace

std::optional<OtherFile> IdentifyFile(const std::string& path) {
    std::error_code failed;
    if (!std::filesystem::is_regular_file(path, failed)) return {};
    const std::uintmax_t size = std::filesystem::file_size(path, failed);
    if (failed) return {};
    const bool isSmall = size <= kMostOfDescription;
    std::vector<char> read(isSmall ? static_cast<std::size_t>(size) : kStart);
    std::ifstream file(path, std::ios::binary);
    if (!file.read(read.data(), static_cast<std::streamsize>(read.size()))) return {};
    const Bytes bytes = BytesOf({read.data(), read.size()});

    // From the most to the least specific mark: a diff has only two fixed bytes and a checked
    // header, and a tag text has none.
    std::optional<OtherFile> other = AsStream(bytes);
    if (!other) other = AsDiff(bytes);
    if (!other) {
        const std::string kind = KindOfContent(bytes, true);
        if (!kind.empty()) other = OtherFile{kind, 0, {}, {}};
    }
    if (!other && isSmall) other = AsDescription(bytes, path);
    if (!other && !HasArchiveMark(bytes)) RefuseUnknown(path);
    if (!other || other->kind == kArchiveKind) return {};
    other->size = size;
    return other;
}

}  // namespace va::tool
