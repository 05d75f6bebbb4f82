#include "tests/assetdata/TagSamples.h"

#include <span>

#include "assetdata/ChunkWriter.h"
#include "assetdata/TBuffer.h"
#include "assetdata/TDBBinaryFile.h"
#include "assetdata/TDBContainerTag.h"
#include "assetdata/TDBDataTag.h"
#include "assetdata/TagText.h"
#include "assetdata/TagValues.h"
#include "assetdata/TagWalk.h"

namespace Vorn::Testing {
namespace {

std::string BytesOf(const TBufferBlock& block) {
    return {reinterpret_cast<const char*>(block.Content().data()), block.Length()};
}

const std::string kAnyByte = [] {
    std::string bytes;
    for (int byte = 1; byte < 256; ++byte) bytes += static_cast<char>(byte);
    return bytes;
}();

std::string Characters(std::mt19937& random, std::string_view alphabet, std::size_t most) {
    std::string text(random() % (most + 1), ' ');
    for (char& c : text) c = alphabet[random() % alphabet.size()];
    return text;
}

// Any bits, or what a text gives back: one integer, or floats of a few digits.
OCSRawData RandomNumbers(std::mt19937& random, std::uint32_t type, bool plain) {
    std::vector<std::int32_t> values(plain ? 1 : random() % 4);
    for (std::int32_t& value : values) value = static_cast<std::int32_t>(random());
    if (!plain || type == kTagInteger) return MakeIntegers(values);
    std::vector<float> floats(1 + random() % 6);
    for (float& value : floats) value = static_cast<float>(random() % 2000) - 999.5F;
    return MakeFloats(floats);
}

KUID RandomKUID(std::mt19937& random, bool plain) {
    constexpr std::int32_t kUsers[] = {0, 1, 4711, 16777215, -1, -3, -16777216};
    constexpr std::int32_t kContents[] = {0, 1, -1, 2147483647, -2147483647 - 1};
    const std::int32_t user = kUsers[random() % std::size(kUsers)];
    const bool isNegative = plain && user < 0;
    return {.userId = user,
            .contentId = kContents[random() % std::size(kContents)],
            .version = isNegative ? 127 : static_cast<std::uint32_t>(random() % 128)};
}

std::string RandomValue(std::mt19937& random, bool plain) {
    constexpr std::string_view kPlain = "abcdefghijklmnopqrstuvwxyz {}\\,.-\xC3\xA9";
    const std::size_t most = random() % 50 == 0 ? 9000 : 30;
    std::string text = Characters(random, plain ? kPlain : kAnyByte, most);
    return plain && text.empty() ? "\r\n" : text;
}

OCSChunkRef RandomLeaf(std::mt19937& random, bool plain) {
    constexpr std::uint32_t kTypes[] = {kTagNone, kTagInteger, kTagFloat, kTagKUID,
                                        kTagText, kTagText,    kTagRaw};
    const std::uint32_t type = kTypes[random() % (plain ? 6 : 7)];
    const auto value = [&] {
        switch (type) {
            case kTagNone:
                return OCSRawData();
            case kTagKUID:
                return MakeKUID(RandomKUID(random, plain));
            case kTagText:
            case kTagRaw:
                return MakeText(RandomValue(random, plain));
            default:
                return RandomNumbers(random, type, plain);
        }
    };
    return OCSChunkRef(new TDBDataTag(type, value()));
}

InternedString RandomName(std::mt19937& random, bool plain) {
    if (!plain && random() % 8 == 0) return {};
    const std::size_t most = random() % 20 == 0 ? 249 : 5;
    return Intern(plain ? "n" + Characters(random, "abc-_1\"{", most)
                        : Characters(random, kAnyByte, most));
}

void Append(std::string& told, std::string_view bytes) {
    told += std::to_string(bytes.size()) + ':';
    told += bytes;
}

}  // namespace

std::vector<TagFault> Findings::Faults() const {
    std::vector<TagFault> faults;
    for (const TagFinding& finding : list) faults.push_back(finding.fault);
    return faults;
}

std::string Describe(const OCSChunk& root) {
    std::string told;
    for (TagWalk walk(root); walk.Next();) {
        if (walk.IsLeaving()) {
            told += "}\n";
            continue;
        }
        if (walk.Name().data()) Append(told, walk.Name());
        told += " =" + std::to_string(walk.Tag().GetType()) + ' ';
        const auto value = walk.Tag().DataBytes();
        std::string_view bytes(reinterpret_cast<const char*>(value.data()), value.size());
        // A text may have lost its zero byte in a file.
        if (walk.Tag().GetType() == kTagText && bytes.ends_with('\0')) bytes.remove_suffix(1);
        Append(told, bytes);
        told += '\n';
    }
    return told;
}

OCSChunkRef ReadText(std::string_view text, TagObserver* observer) {
    TBufferBlock block(std::as_bytes(std::span(text)));
    TBuffer stream(block);
    OCSChunkRef root = NewTag(kTagContainer);
    ReadTagText(*root, stream, false, observer);
    return root;
}

std::string WriteText(const OCSChunk& root) {
    TBufferBlock block(256);
    TBuffer stream(block);
    return WriteTagTextFile(root, stream) ? BytesOf(block) : std::string();
}

OCSChunkRef ReadChunks(std::string_view bytes, TagObserver* observer) {
    TBufferBlock block(std::as_bytes(std::span(bytes)));
    TBuffer stream(block);
    const auto file = MakeRef<TDBBinaryFile>();
    return file->Read(stream, observer) ? file->Root() : OCSChunkRef();
}

std::string WriteChunks(const OCSChunk& root, TagObserver* observer) {
    TBufferBlock block(256);
    TBuffer stream(block);
    return WriteChunkFile(root, stream, observer) ? BytesOf(block) : std::string();
}

OCSChunkRef Leaf(std::uint32_t type, std::string_view bytes) {
    return OCSChunkRef(new TDBDataTag(type, OCSRawDataCore::Make(std::as_bytes(std::span(bytes)))));
}

OCSChunkRef RandomTree(std::mt19937& random, bool plain) {
    std::vector<OCSChunkRef> open = {NewTag(kTagContainer)};
    OCSChunkRef root = open.front();
    for (auto left = 1 + random() % 60; left > 0; --left) {
        const bool enter = random() % 4 == 0;
        const OCSChunkRef child = enter ? NewTag(kTagContainer) : RandomLeaf(random, plain);
        open.back()->AddChild(RandomName(random, plain), child);
        if (enter) open.push_back(child);
        if (open.size() > 1 && random() % 6 == 0) open.pop_back();
    }
    return root;
}

bool LiteralCheck(std::string_view body) {
    std::size_t at = 0;
    while (body.size() - at >= 6) {
        const auto byte = [&](std::size_t i) -> std::size_t {
            return static_cast<unsigned char>(body[at + i]);
        };
        const std::size_t size = byte(0) | byte(1) << 8 | byte(2) << 16 | byte(3) << 24;
        const std::size_t type = 5 + byte(4);
        if (at + type >= body.size() || size > body.size() - at) return false;
        if (at + size + 4 > body.size()) return false;
        if (byte(type) == 0 && size > byte(4) + 2 &&
            !LiteralCheck(body.substr(at + type + 1, size - byte(4) - 2))) {
            return false;
        }
        at += size + 4;
    }
    return true;
}

}  // namespace Vorn::Testing
