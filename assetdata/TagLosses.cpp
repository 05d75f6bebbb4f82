#include "assetdata/TagLosses.h"

#include <cstddef>
#include <limits>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "assetdata/NumberText.h"
#include "assetdata/OCSConverter.h"
#include "assetdata/TagTextRules.h"
#include "assetdata/TagValues.h"
#include "assetdata/TagWalk.h"

namespace Vorn {
namespace {

constexpr std::uint64_t kMostBytes = std::numeric_limits<std::uint32_t>::max();

// Returns whether every line end is CR LF, which reading does not change.
bool HasOnlyWrittenLineEnds(std::string_view text) {
    for (std::size_t at = 0; (at = text.find_first_of("\r\n", at)) != text.npos; at += 2) {
        if (text.substr(at, 2) != "\r\n") return false;
    }
    return true;
}

bool IsSameFloat(float value, std::string_view written) {
    const NumberRead<float> read = ReadFloat(written);
    return read.value == value && read.length == written.size();
}

// Finds what writing a tree as text and reading it back would change.
class TextLossFinder {
public:
    TextLossFinder(const OCSChunk& root, TagObserver& observer) : walk_(root), observer_(observer) {
        containers_.push_back({&root, nullptr});
    }

    void Run() {
        while (walk_.Next()) {
            indentation_ += 2 * walk_.Depth();
            if (walk_.IsLeaving()) {
                containers_.pop_back();
            } else {
                VisitName();
                VisitValue();
            }
        }
        if (indentation_ > kMostBytes) {
            observer_.OnFinding({TagFault::TooLarge, {}, {}, containers_.front().tag});
        }
    }

private:
    // Names of one container that writing changes: the written form and the name.
    using ChangedNames = std::unordered_map<std::string, std::string>;
    struct Container {
        const OCSChunk* tag;
        std::unique_ptr<ChangedNames> changed;
    };

    void Report(TagFault fault) { observer_.OnFinding(FindingAt(fault, walk_)); }

    void VisitName() {
        const std::string_view name = walk_.Name();
        if (name.empty() || name.front() == '{' || name.find('}') != name.npos ||
            name.size() > kMostReadName) {
            Report(TagFault::NameUnreadable);
        }
        const std::string written = FoldTagName(name);
        if (written == name) return;
        Report(TagFault::NameFolded);
        Container& container = containers_.back();
        if (!container.changed) container.changed = std::make_unique<ChangedNames>();
        const auto [other, isNew] = container.changed->try_emplace(written, name);
        if (other->second != name || container.tag->FindChild(Intern(written))) {
            Report(TagFault::NamesFoldAlike);
        }
    }

    void VisitValue() {
        const OCSChunk& tag = walk_.Tag();
        const auto value = tag.DataBytes();
        switch (tag.GetType()) {
            case kTagContainer:
                containers_.push_back({&tag, nullptr});
                [[fallthrough]];
            case kTagNone:
                if (!value.empty()) Report(TagFault::ValuesLost);
                return;
            case kTagRaw:
                return Report(TagFault::RawBytesLost);
            case kTagText:
                return VisitText(value);
            case kTagInteger:
            case kTagFloat:
                return VisitNumbers(tag);
            case kTagKUID:
                return VisitKUIDs(value);
            default:
                return Report(TagFault::ReadsAsOtherType);
        }
    }

    void VisitText(std::span<const std::byte> value) {
        const std::string_view text = TextOf(value);
        if (value.size() > text.size() + 1) Report(TagFault::ValuesLost);
        if (text.empty()) return Report(TagFault::EmptyValueLost);
        if (text.find('"') != text.npos) Report(TagFault::QuoteReplaced);
        if (!HasOnlyWrittenLineEnds(text)) Report(TagFault::LineEndReplaced);
        if (IsKUIDValue(text)) Report(TagFault::ReadsAsOtherType);
    }

    void VisitNumbers(const OCSChunk& tag) {
        const auto value = tag.DataBytes();
        const std::size_t count = NumberCount(value);
        if (value.size() % 4 != 0) Report(TagFault::ValuesLost);
        if (count == 0) return Report(TagFault::EmptyValueLost);
        const std::string text = TextOfTag(tag);
        const bool single = IsNumberValue(text);
        if (!single && text.size() > kMostListBytes) Report(TagFault::ValuesLost);
        if (tag.GetType() == kTagInteger) {
            if (!single) Report(TagFault::ReadsAsOtherType);
            return;
        }
        const bool isFloat = single ? text.find('.') != text.npos : IsListValue(text);
        if (!isFloat) Report(TagFault::ReadsAsOtherType);
        VisitFloats(value, count);
    }

    void VisitFloats(std::span<const std::byte> value, std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) {
            std::string written;
            AppendFloat(written, FloatAt(value, i));
            if (!IsSameFloat(FloatAt(value, i), written)) return Report(TagFault::FloatRounded);
        }
    }

    void VisitKUIDs(std::span<const std::byte> value) {
        const std::size_t count = KUIDCount(value);
        if (count == 0) return Report(TagFault::EmptyValueLost);
        if (value.size() != KUID::kPairSize) Report(TagFault::ValuesLost);
        const KUID kuid = KUIDAt(value, 0);
        if (KUID::Parse(kuid.TagText(), false) != kuid) Report(TagFault::KUIDChanged);
    }

    TagWalk walk_;
    TagObserver& observer_;
    std::vector<Container> containers_;  // that contain the tag, outermost first
    std::uint64_t indentation_ = 0;
};

}  // namespace

void FindTextLosses(const OCSChunk& root, TagObserver& observer) {
    TextLossFinder(root, observer).Run();
}

void FindChunkLosses(const OCSChunk& root, TagObserver& observer) {
    if (root.ChildCount() == 0) observer.OnFinding({TagFault::EmptyTree, {}, {}, &root});
    for (TagWalk walk(root); walk.Next();) {
        if (walk.IsLeaving()) continue;
        switch (walk.Tag().GetType()) {
            case kTagNone:
            case kTagContainer:
                if (walk.Tag().DataSize() == 0) break;
                observer.OnFinding(FindingAt(TagFault::ValuesLost, walk));
                break;
            case kTagRaw:
            case kTagFloat:
            case kTagText:
            case kTagInteger:
            case kTagKUID:
                break;
            default:
                observer.OnFinding(FindingAt(TagFault::ReadsAsOtherType, walk));
        }
    }
}

}  // namespace Vorn
