#include "tools/va/tag/TagJson.h"

#include <vector>

#include "assetdata/TagValues.h"
#include "assetdata/TagWalk.h"
#include "tools/va/tag/TagPath.h"

namespace va::tool {
namespace {

// Longer paths are omitted: in a deep tree their total size grows with the square of the depth.
constexpr std::size_t kMostPath = 4096;

const char* KindOf(const Vorn::OCSChunk& tag) {
    switch (tag.GetType()) {
        case Vorn::kTagContainer:
            return "container";
        case Vorn::kTagRaw:
            return "raw";
        case Vorn::kTagFloat:
            return "float";
        case Vorn::kTagText:
            return "text";
        case Vorn::kTagInteger:
            return "integer";
        case Vorn::kTagKUID:
            return "kuid";
        default:
            return "none";
    }
}

template <typename Value, typename ValueAt>
std::vector<Value> Values(std::size_t count, ValueAt valueAt) {
    std::vector<Value> values;
    for (std::size_t i = 0; i < count; ++i) values.push_back(valueAt(i));
    return values;
}

}  // namespace

void SetValue(JsonObject& object, const Vorn::OCSChunk& tag, const std::string& before) {
    const std::span<const std::byte> value = tag.DataBytes();
    object.Set(before + "kind", KindOf(tag));
    switch (tag.GetType()) {
        case Vorn::kTagRaw:
            object.SetBytes(before + "bytes", value);
            break;
        case Vorn::kTagText:
            object.SetText(before + "text", Vorn::TextOf(value));
            break;
        case Vorn::kTagFloat:
            object.SetList(before + "numbers",
                           Values<float>(Vorn::NumberCount(value),
                                         [&](std::size_t i) { return Vorn::FloatAt(value, i); }));
            break;
        case Vorn::kTagInteger:
            object.SetList(before + "numbers",
                           Values<std::int32_t>(Vorn::NumberCount(value), [&](std::size_t i) {
                               return Vorn::IntegerAt(value, i);
                           }));
            break;
        case Vorn::kTagKUID:
            object.SetList(before + "kuids",
                           Values<std::string>(Vorn::KUIDCount(value), [&](std::size_t i) {
                               return Vorn::KUIDAt(value, i).TagText();
                           }));
            break;
        default:
            break;
    }
}

void WriteTags(Answer& answer, const std::string& input, std::string path,
               const Vorn::OCSChunk& root) {
    std::vector<std::size_t> lengths;  // path lengths before the names of the open containers
    for (Vorn::TagWalk walk(root); walk.Next();) {
        if (walk.IsLeaving()) {
            path.resize(lengths.back());
            lengths.pop_back();
            continue;
        }
        const std::size_t length = path.size();
        AppendName(path, walk.Name());
        JsonObject object("tag");
        object.Set("input", input).Set("depth", std::uint64_t{walk.Depth()});
        object.SetText("name", walk.Name());
        if (path.size() <= kMostPath) object.SetText("path", path);
        SetValue(object, walk.Tag());
        answer.Write(object);
        if (walk.Tag().GetType() == Vorn::kTagContainer) {
            lengths.push_back(length);
        } else {
            path.resize(length);
        }
    }
}

void WriteTagValue(Answer& answer, const std::string& input, const std::string& path,
                   const Vorn::OCSChunk& tag) {
    JsonObject object("value");
    object.Set("input", input).SetText("path", path);
    SetValue(object, tag);
    answer.Write(object);
    if (tag.GetType() == Vorn::kTagContainer) WriteTags(answer, input, path, tag);
}

}  // namespace va::tool
