#include "tests/assetdata/TagSamples.h"

#include <bit>
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

// Integers and floats that a text gives back, and any bits.
OCSChunkRef RandomNumbers(std::mt19937& random, bool plain) {
    if (plain && random() % 2 == 0) {
        const auto number = static_cast<std::int32_t>(random());
        return OCSChunkRef(new TDBDataTag(kTagInteger, MakeIntegers({&number, 1})));
    }
    if (plain) {
        std::vector<float> values(1 + random() % 6);
        for (float& value : values) {
            value = static_cast<float>(static_cast<int>(random() % 2000) - 1000) + 0.5F;
        }
        return OCSChunkRef(new TDBDataTag(kTagFloat, MakeFloats(values)));
    }
    std::vector<float> values(random() % 4);
    for (float& value : values) value = std::bit_cast<float>(static_cast<std::uint32_t>(random()));
    return OCSChunkRef(new TDBDataTag(random() % 2 ? kTagInteger : kTagFloat, MakeFloats(values)));
}

OCSChunkRef RandomKUID(std::mt19937& random, bool plain) {
    constexpr std::int32_t kUsers[] = {0, 1, 4711, 16777215, -1, -3, -16777216};
    constexpr std::int32_t kContents[] = {0, 1, -1, 2147483647, -2147483647 - 1};
    KUID kuid;
    kuid.userId = kUsers[random() % std::size(kUsers)];
    kuid.contentId = kContents[random() % std::size(kContents)];
    kuid.version = random() % 128;
    if (plain && kuid.userId < 0) kuid.version = 127;
    return OCSChunkRef(new TDBDataTag(kTagKUID, MakeKUID(kuid)));
}

std::string RandomBytes(std::mt19937& random, std::size_t most, bool plain) {
    std::string text(random() % (most + 1), ' ');
    for (char& c : text) {
        c = static_cast<char>(plain ? 'a' + random() % 26 : 1 + random() % 255);
        if (plain && random() % 8 == 0) c = " {}\\,.-\xC3\xA9"[random() % 9];
    }
    return text;
}

OCSChunkRef RandomText(std::mt19937& random, bool plain) {
    std::string text = RandomBytes(random, random() % 50 == 0 ? 9000 : 30, plain);
    if (plain && text.empty()) text = "\r\n";
    return OCSChunkRef(new TDBDataTag(kTagText, MakeText(text)));
}

OCSChunkRef RandomLeaf(std::mt19937& random, bool plain) {
    switch (random() % (plain ? 5 : 6)) {
        case 0:
            return NewTag(kTagNone);
        case 1:
            return RandomNumbers(random, plain);
        case 2:
            return RandomKUID(random, plain);
        case 5:
            return Leaf(kTagRaw, RandomBytes(random, 20, false));
        default:
            return RandomText(random, plain);
    }
}

InternedString RandomName(std::mt19937& random, bool plain) {
    if (!plain && random() % 8 == 0) return {};
    std::string name = plain ? "n" : "";
    const std::size_t most = random() % 20 == 0 ? 250 : 6;
    for (auto left = random() % most; left > 0; --left) {
        name += plain ? "abc-_1\"{"[random() % 8] : static_cast<char>(1 + random() % 255);
    }
    return Intern(name);
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
    const OCSChunkRef root = NewTag(kTagContainer);
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
    const OCSChunkRef root = open.front();
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
