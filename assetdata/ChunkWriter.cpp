#include "assetdata/ChunkWriter.h"

#include <array>
#include <cstddef>
#include <limits>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "assetdata/ChunkRecords.h"
#include "assetdata/StreamOutput.h"
#include "assetdata/TagTextRules.h"
#include "assetdata/TagWalk.h"
#include "kernel/LittleEndian.h"

namespace Vorn {
namespace {

constexpr std::uint64_t kMostBody =
    std::numeric_limits<std::uint32_t>::max() - kChunkFileHeaderSize;

std::uint8_t RecordTypeOf(std::uint32_t tagType) {
    switch (tagType) {
        case kTagContainer:
            return kRecordContainer;
        case kTagRaw:
            return kRecordRaw;
        case kTagFloat:
            return kRecordFloats;
        case kTagText:
        case 5:  // legacy text type
            return kRecordText;
        case kTagInteger:
            return kRecordIntegers;
        case kTagKUID:
            return kRecordKUIDs;
        default:
            return kRecordNone;
    }
}

std::uint32_t NameFieldSize(std::string_view name) {
    return name.data() ? static_cast<std::uint32_t>(name.size()) + 1 : 0;
}

struct Sizes {
    std::uint32_t body = 0;
    // Sizes of the containers' payloads, in the order in which they are entered.
    std::vector<std::uint32_t> payloads;
};

// Computes all sizes in one walk, since a container's size precedes its records.
class Measuring {
public:
    explicit Measuring(TagObserver* observer) : observer_(observer) {}

    // Returns nullopt if the tree cannot be written.
    std::optional<Sizes> Measure(const OCSChunk& root) {
        for (TagWalk walk(root); walk.Next();) {
            if (walk.IsLeaving()) {
                Leave();
            } else if (!Enter(walk)) {
                return std::nullopt;
            }
        }
        sizes_.body = static_cast<std::uint32_t>(total_);
        return good_ ? std::optional(std::move(sizes_)) : std::nullopt;
    }

private:
    struct Open {
        std::uint32_t container;  // its index among the payloads
        std::uint32_t own;        // bytes of its record without the payload
    };

    // Returns false if the tree cannot be written.
    bool Enter(const TagWalk& walk) {
        const OCSChunk& tag = walk.Tag();
        if (walk.Name().size() > kMostChunkName) Refuse(TagFault::NameTooLong, walk);
        const std::uint32_t own = kLeastRecord + NameFieldSize(walk.Name());
        total_ += own;
        if (tag.GetType() == kTagContainer) {
            open_.push_back({static_cast<std::uint32_t>(sizes_.payloads.size()), own});
            sizes_.payloads.push_back(0);
        } else {
            total_ += tag.DataSize();
            AddToContainer(own + tag.DataSize());
        }
        if (total_ <= kMostBody) return true;
        Refuse(TagFault::TooLarge, walk);
        return false;
    }

    void Leave() {
        const Open left = open_.back();
        open_.pop_back();
        AddToContainer(left.own + sizes_.payloads[left.container]);
    }

    void AddToContainer(std::uint32_t bytes) {
        if (!open_.empty()) sizes_.payloads[open_.back().container] += bytes;
    }

    void Refuse(TagFault fault, const TagWalk& walk) {
        if (observer_) observer_->OnFinding(FindingAt(fault, walk));
        good_ = false;
    }

    TagObserver* observer_;
    Sizes sizes_;
    std::vector<Open> open_;
    std::uint64_t total_ = 0;  // bounds every size
    bool good_ = true;
};

void PutU32(StreamOutput& output, std::uint32_t value) {
    std::array<std::byte, 4> bytes;
    StoreU32<0>(std::span(bytes), value);
    output.Put(bytes);
}

void WriteRecord(StreamOutput& output, const TagWalk& walk, std::uint32_t payload) {
    const std::uint32_t nameField = NameFieldSize(walk.Name());
    PutU32(output, 2 + nameField + payload);
    output.Put(static_cast<char>(nameField));
    if (nameField > 0) {
        output.Put(walk.Name());
        output.Put('\0');
    }
    output.Put(static_cast<char>(RecordTypeOf(walk.Tag().GetType())));
}

void WriteRecords(StreamOutput& output, const OCSChunk& root, const Sizes& sizes) {
    auto payload = sizes.payloads.begin();
    for (TagWalk walk(root); output.IsGood() && walk.Next();) {
        if (walk.IsLeaving()) continue;
        if (walk.Tag().GetType() == kTagContainer) {
            WriteRecord(output, walk, *payload++);
        } else {
            WriteRecord(output, walk, walk.Tag().DataSize());
            output.Put(walk.Tag().DataBytes());
        }
    }
}

}  // namespace

bool WriteChunkFile(const OCSChunk& root, TStream& stream, TagObserver* observer) {
    const std::optional<Sizes> sizes = Measuring(observer).Measure(root);
    if (!sizes) return false;
    StreamOutput output(stream);
    PutU32(output, kChunkMagic);
    PutU32(output, kChunkVersionUtf8);
    PutU32(output, 0);
    PutU32(output, sizes->body);
    WriteRecords(output, root, *sizes);
    return output.Flush();
}

}  // namespace Vorn
