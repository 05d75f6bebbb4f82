#include "tools/va/tag/TextLayout.h"

#include <algorithm>
#include <vector>

#include "assetdata/TagTextRules.h"
#include "assetdata/TagWalk.h"

namespace va::tool {
namespace {

constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";
constexpr std::size_t kValueColumn = 40;              // as the writer lays out values
constexpr std::size_t kMostIndentation = 256U << 20;  // it grows with the square of the depth

std::string_view WithoutBlanks(std::string_view text) {
    while (!text.empty() && Vorn::IsTagBlank(text.back())) text.remove_suffix(1);
    return text;
}

class Layout {
public:
    Layout(std::string_view text, const Vorn::OCSChunk& root, const TagPlaces& places)
        : text_(text), lineEnd_(LineEndOf(text)), root_(root), extents_(places.InOrder()) {
        out_.reserve(text.size() + text.size() / 4);
    }

    std::optional<std::string> Run() {
        if (text_.starts_with(kUtf8Mark)) out_ += kUtf8Mark;
        std::size_t next = 0;
        for (Vorn::TagWalk walk(root_); walk.Next();) {
            if (walk.IsLeaving()) {
                PutLine(walk.Depth(), "}");
            } else {
                PutTag(walk, extents_[next++]);
            }
            if (indentation_ > kMostIndentation) return std::nullopt;
        }
        return std::move(out_);
    }

private:
    void PutLine(std::size_t depth, std::string_view line) {
        indentation_ += 2 * depth;
        out_.append(2 * depth, ' ').append(line).append(lineEnd_);
    }

    void PutTag(const Vorn::TagWalk& walk, const Vorn::TagExtent& extent) {
        const std::string_view name = text_.substr(extent.name, extent.nameEnd - extent.name);
        const std::size_t depth = walk.Depth();
        if (walk.Tag().GetType() == Vorn::kTagContainer) {
            if (walk.Index() > 0) PutLine(depth, "");
            PutLine(depth, name);
            return PutLine(depth, "{");
        }
        // Blanks at the end of such a line are part of its value, like those of any text.
        if (Vorn::LooksLikeComment(name)) {
            return PutLine(depth, text_.substr(extent.name, extent.end - extent.name));
        }
        const std::string value = ValueOf(walk.Tag(), extent);
        const std::size_t taken = 2 * depth + name.size();
        std::string line(name);
        if (!value.empty()) {
            line.append(taken < kValueColumn ? kValueColumn - taken : 1, ' ').append(value);
        }
        PutLine(depth, line);
    }

    // Returns the value as the new layout writes it. A number directly before a '}' on its line is
    // read as a text; on a separate line it would become a number, so it gets quotes. So does a
    // text with trailing blanks, which belong to it.
    [[nodiscard]] std::string ValueOf(const Vorn::OCSChunk& tag,
                                      const Vorn::TagExtent& extent) const {
        const std::string_view value = text_.substr(extent.value, extent.end - extent.value);
        const std::string_view bare = WithoutBlanks(value);
        const bool isQuoted = value.starts_with('"');
        if (isQuoted || tag.GetType() != Vorn::kTagText) return std::string(bare);
        const bool needsQuotes =
            bare != value || Vorn::IsNumberValue(value) || Vorn::IsListValue(value);
        return needsQuotes ? '"' + std::string(value) + '"' : std::string(value);
    }

    const std::string_view text_;
    const std::string_view lineEnd_;
    const Vorn::OCSChunk& root_;
    const std::vector<Vorn::TagExtent> extents_;
    std::size_t indentation_ = 0;  // bytes of indentation so far
    std::string out_;
};

}  // namespace

std::optional<std::string> TextLaidOut(std::string_view text, const Vorn::OCSChunk& root,
                                       const TagPlaces& places) {
    return Layout(text, root, places).Run();
}

}  // namespace va::tool
