#include "tools/va/tag/NewValue.h"

#include "assetdata/TBuffer.h"
#include "assetdata/TDBContainerTag.h"
#include "assetdata/TagObserver.h"
#include "assetdata/TagText.h"
#include "assetdata/TagTextRules.h"
#include "assetdata/TagValues.h"
#include "tools/va/ExitCode.h"
#include "tools/va/ShownText.h"

namespace va::tool {
namespace {

class Faults final : public Vorn::TagObserver {
public:
    void OnFinding(const Vorn::TagFinding& finding) override {
        const Vorn::TagFaultText& fault = Vorn::DescribeTagFault(finding.fault);
        if (fault.weight == Vorn::TagWeight::Warning) first = fault.text;
    }
    std::string first;
};

[[noreturn]] void RefuseValue(std::string_view typed, const std::string& why) {
    throw Failure{ExitCode::Usage, "'" + Shown(typed) + "' cannot be set: " + why};
}

// Returns the tag that a text would read from the value without quotes; null if it needs quotes.
Vorn::OCSChunkRef ReadBare(std::string_view typed) {
    if (typed.empty() || typed.front() == '{' || typed.find_first_of("\"}\r\n") != typed.npos ||
        typed.find('\0') != typed.npos || Vorn::IsTagBlank(typed.front())) {
        return {};
    }
    const std::string text = "v " + std::string(typed) + "\n";
    Vorn::TBufferBlock block{std::as_bytes(std::span(text))};
    Vorn::TBuffer stream(block);
    const Vorn::OCSChunkRef root = Vorn::NewTag(Vorn::kTagContainer);
    Faults faults;
    Vorn::ReadTagText(*root, stream, true, &faults);
    if (!faults.first.empty()) {
        RefuseValue(typed, "programs would read something else: " + faults.first);
    }
    return root->ChildAt(0).child;
}

// Returns the value with all line ends converted to CR LF, the ones that programs expect in texts.
std::string WithWrittenLineEnds(std::string_view typed) {
    std::string text;
    for (std::size_t i = 0; i < typed.size(); ++i) {
        const bool isPair = typed.substr(i).starts_with("\r\n");
        if (Vorn::IsTagLineEnd(typed[i])) {
            text += "\r\n";
            i += isPair ? 1 : 0;
        } else {
            text += typed[i];
        }
    }
    return text;
}

std::uint32_t TypeOf(std::string_view name, std::uint32_t natural, const Vorn::OCSChunk* old) {
    if (name == "integer") return Vorn::kTagInteger;
    if (name == "float") return Vorn::kTagFloat;
    if (name == "text") return Vorn::kTagText;
    if (name == "kuid") return Vorn::kTagKUID;
    if (name == "none") return Vorn::kTagNone;
    if (!old) return natural;
    if (old->GetType() == Vorn::kTagText) return Vorn::kTagText;
    const bool staysFloat = old->GetType() == Vorn::kTagFloat && natural == Vorn::kTagInteger;
    return staysFloat ? Vorn::kTagFloat : natural;
}

}  // namespace

NewValue ReadNewValue(std::string_view typed, std::string_view type, const Vorn::OCSChunk* old) {
    const bool isText =
        type == "text" || (old && type == "auto" && old->GetType() == Vorn::kTagText);
    Vorn::OCSChunkRef bare = isText ? Vorn::OCSChunkRef() : ReadBare(typed);
    const std::uint32_t natural = bare ? bare->GetType() : std::uint32_t{Vorn::kTagText};
    const std::uint32_t wanted = TypeOf(type, natural, old);
    if (wanted == Vorn::kTagNone) {
        if (!typed.empty()) RefuseValue(typed, "a tag without value takes an empty VALUE");
        return {};
    }
    if (wanted == Vorn::kTagText) {
        if (typed.find('\0') != typed.npos) RefuseValue(typed, "a text ends at a zero byte");
        const std::string text = WithWrittenLineEnds(typed);
        return {wanted, Vorn::MakeText(text), '"' + text + '"'};
    }
    std::string written(typed);
    if (wanted == Vorn::kTagFloat && natural == Vorn::kTagInteger) {
        written += ".0";
        bare = ReadBare(written);
    }
    if (!bare || bare->GetType() != wanted) {
        RefuseValue(typed, "it is not of type " + std::string(type));
    }
    return {wanted, Vorn::OCSRawDataCore::Make(bare->DataBytes()), written};
}

}  // namespace va::tool
