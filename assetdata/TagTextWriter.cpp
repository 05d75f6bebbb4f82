#include <algorithm>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>

#include "assetdata/OCSConverter.h"
#include "assetdata/StreamOutput.h"
#include "assetdata/TagText.h"
#include "assetdata/TagTextRules.h"
#include "assetdata/TagValues.h"
#include "assetdata/TagWalk.h"

namespace Vorn {
namespace {

constexpr std::string_view kLineEnd = "\r\n";
constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";
constexpr std::int64_t kValueColumn = 40;
constexpr std::uint64_t kMostBytes = std::numeric_limits<std::uint32_t>::max();

bool IsContainer(const OCSChunk& tag) { return tag.GetType() == kTagContainer; }

// Texts are always quoted; numbers and identifiers only if they contain a blank, which would end
// them.
bool NeedsQuotes(std::uint32_t type, std::string_view text) {
    const bool bare = type == kTagFloat || type == kTagInteger || type == kTagKUID;
    return !bare || text.find_first_of("\r\n \t") != std::string_view::npos;
}

class Writer {
public:
    explicit Writer(TStream& stream) : output_(stream) {}

    void PutMark() { output_.Put(kUtf8Mark); }

    void PutTag(const OCSChunk& tag, std::string_view name, std::uint64_t depth) {
        if (!IsContainer(tag)) return PutLeaf(tag, name, depth);
        OpenContainer(name, depth);
        PutChildren(tag, depth + 1);
        CloseContainer(depth);
    }

    void PutChildren(const OCSChunk& container, std::uint64_t depth) {
        for (TagWalk walk(container); output_.IsGood() && walk.Next();) {
            PutStep(walk, depth + walk.Depth());
        }
    }

    [[nodiscard]] bool Finish() { return output_.Flush(); }

private:
    void PutStep(const TagWalk& walk, std::uint64_t depth) {
        if (walk.IsLeaving()) {
            CloseContainer(depth);
            output_.Put(kLineEnd);
        } else if (IsContainer(walk.Tag())) {
            if (walk.Index() > 0) {
                Indent(depth);
                output_.Put(kLineEnd);
            }
            OpenContainer(walk.Name(), depth);
        } else {
            PutLeaf(walk.Tag(), walk.Name(), depth);
            output_.Put(kLineEnd);
        }
    }

    void OpenContainer(std::string_view name, std::uint64_t depth) {
        Indent(depth);
        output_.Put(FoldTagName(name));
        output_.Put(kLineEnd);
        Indent(depth);
        output_.Put('{');
        output_.Put(kLineEnd);
    }

    void CloseContainer(std::uint64_t depth) {
        Indent(depth);
        output_.Put('}');
    }

    void PutLeaf(const OCSChunk& tag, std::string_view name, std::uint64_t depth) {
        const std::string written = FoldTagName(name);
        Indent(depth);
        output_.Put(written);
        const std::int64_t taken =
            static_cast<std::int64_t>(2 * depth) + static_cast<std::int64_t>(written.size());
        output_.Put(static_cast<std::size_t>(std::max<std::int64_t>(kValueColumn - taken, 1)), ' ');
        if (tag.GetType() == kTagText) {
            PutValue(kTagText, TextOf(tag.DataBytes()));
        } else {
            PutValue(tag.GetType(), TextOfTag(tag));
        }
    }

    void PutValue(std::uint32_t type, std::string_view text) {
        if (text.empty()) return;
        const bool quoted = NeedsQuotes(type, text);
        if (quoted) output_.Put('"');
        for (std::size_t quote; (quote = text.find('"')) != std::string_view::npos;) {
            output_.Put(text.substr(0, quote));
            output_.Put('\'');
            text.remove_prefix(quote + 1);
        }
        output_.Put(text);
        if (quoted) output_.Put('"');
    }

    void Indent(std::uint64_t depth) { output_.Put(static_cast<std::size_t>(2 * depth), ' '); }

    StreamOutput output_;
};

struct Survey {
    bool fits = true;        // indentation alone stays below 4 GiB
    bool needsUtf8 = false;  // a text has bytes above 127
};

Survey SurveyChildren(const OCSChunk& container, std::uint64_t depth) {
    Survey survey;
    std::uint64_t indentation = 0;
    for (TagWalk walk(container); survey.fits && walk.Next();) {
        indentation += 2 * (depth + walk.Depth());
        survey.fits = indentation <= kMostBytes;
        if (walk.IsLeaving() || walk.Tag().GetType() != kTagText) continue;
        survey.needsUtf8 = survey.needsUtf8 || !IsAscii(TextOf(walk.Tag().DataBytes()));
    }
    return survey;
}

}  // namespace

bool WriteTagText(const OCSChunk& tag, std::string_view name, TStream& stream,
                  std::uint32_t depth) {
    if (!SurveyChildren(tag, std::uint64_t{depth} + 1).fits) return false;
    Writer writer(stream);
    writer.PutTag(tag, name, depth);
    return writer.Finish();
}

bool WriteTagTextFile(const OCSChunk& root, TStream& stream) {
    const Survey survey = SurveyChildren(root, 0);
    if (!survey.fits) return false;
    Writer writer(stream);
    if (survey.needsUtf8) writer.PutMark();
    writer.PutChildren(root, 0);
    return writer.Finish();
}

}  // namespace Vorn
