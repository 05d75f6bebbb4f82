// Reads the text form in one pass with one byte of look-ahead, and without recursion: a stack of
// open containers keeps the place, so that depth costs no stack of the thread.
//
//     text  := entry*
//     entry := name value?
//     value := '{' entry* '}' | '"' any bytes but '"' '"' | the rest of the line
//
// docs/formats/tag-text.md has what each value becomes.
#include <algorithm>
#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "assetdata/TDBContainerTag.h"
#include "assetdata/TDBDataTag.h"
#include "assetdata/TagText.h"
#include "assetdata/TagTextLeaf.h"
#include "assetdata/TagTextRules.h"
#include "assetdata/TagTextSource.h"
#include "kernel/LetterCase.h"

namespace Vorn {
namespace {

bool IsCapital(char c) { return AsciiToLower(c) != c; }

// A cache of interned names, because most names repeat. Each slot keeps the last name that hashed
// to it.
class NameCache {
public:
    const InternedString& Find(std::string_view name) {
        InternedString& slot = slots_[HashOf(name) % slots_.size()];
        if (!slot || slot.View() != name) slot = Intern(name);
        return slot;
    }

private:
    static std::uint32_t HashOf(std::string_view name) {
        std::uint32_t hash = static_cast<std::uint32_t>(name.size());
        for (const char c : name) hash = hash * 31 + static_cast<unsigned char>(c);
        return hash ^ hash >> 15;
    }

    std::array<InternedString, 512> slots_;
};

class Reader {
public:
    Reader(OCSChunk& root, TStream& stream, bool isUtf8, TagObserver* observer)
        : source_(stream), isUtf8_(isUtf8 || source_.HadMark()), observer_(observer) {
        entry_.observer = observer;
        open_.push_back(&root);
    }

    void Run() {
        while (ReadNext()) {
        }
        const TagPlace end = source_.Place();
        if (open_.size() > 1) ReportText(TagFault::MissingBrace, end);
        while (open_.size() > 1) CloseContainer();
        if (source_.Finish()) ReportText(TagFault::ZeroByte, end);
    }

private:
    // Reads one entry or the end of a container. Returns false at the end of the text.
    bool ReadNext() {
        SkipToEntry();
        entry_.place = source_.Place();
        if (source_.Peek() == '\0') return false;
        if (source_.Peek() != '}') {
            ReadEntry();
            return true;
        }
        if (open_.size() == 1) {
            // The brace stays unread: the stream's owner may read on from it.
            ReportText(TagFault::StrayBrace, entry_.place);
            return false;
        }
        source_.Advance();
        CloseContainer();
        return true;
    }

    void ReadEntry() {
        ReadName();
        SkipBlanks();
        if (IsTagLineEnd(source_.Peek())) {
            // The '{' of a container may be on a later line. Any other value must be on the
            // name's: what follows there is the next entry.
            SkipToEntry();
            if (source_.Peek() != '{') return AddEmpty();
        }
        switch (source_.Peek()) {
            case '{':
                return OpenContainer();
            case '}':
            case '\0':
                return AddEmpty();
            case '"':
                return ReadQuoted();
            default:
                return ReadBare();
        }
    }

    void ReadName() {
        text_.clear();
        source_.AdvanceTo(TagTextSource::kAfterName, &text_);
        const bool isCut = text_.size() > kMostReadName;
        if (isCut) text_.resize(kMostReadName);
        // Reported with the name as it is written, which the entry does not keep.
        if (observer_ && std::ranges::any_of(text_, IsCapital)) {
            observer_->OnFinding({TagFault::NameLowered, entry_.place, Printable(text_)});
        }
        std::ranges::transform(text_, text_.begin(), AsciiToLower);
        entry_.name = &names_.Find(text_);
        const std::uint64_t nameEnd = source_.Place().offset;
        extent_ = {
            .name = entry_.place.offset, .nameEnd = nameEnd, .value = nameEnd, .end = nameEnd};
        if (isCut) entry_.Report(TagFault::NameCut, entry_.place);
        if (observer_ && LooksLikeComment(text_)) {
            entry_.Report(TagFault::LooksLikeComment, entry_.place);
        }
    }

    void OpenContainer() {
        extent_.value = source_.Place().offset;
        source_.Advance();
        const auto container = MakeRef<TDBContainerTag>();
        Append(OCSChunkRef(container.Get()));
        open_.push_back(container.Get());
        if (observer_) openExtents_.push_back(extent_);
    }

    void CloseContainer() {
        if (observer_) {
            openExtents_.back().end = source_.Place().offset;
            observer_->OnTagEnd(*open_.back(), openExtents_.back());
            openExtents_.pop_back();
        }
        open_.pop_back();
    }

    // Reads up to the next quote.
    void ReadQuoted() {
        extent_.value = source_.Place().offset;
        source_.Advance();
        text_.clear();
        for (;;) {
            source_.AdvanceTo(TagTextSource::kAfterQuoted, &text_);
            if (!IsTagLineEnd(source_.Peek())) break;
            TakeLineEnd();
        }
        const bool isClosed = source_.Peek() != '\0';
        if (isClosed) {
            source_.Advance();
        } else {
            entry_.Report(TagFault::MissingQuote, entry_.place);
        }
        AddLeaf(MakeTextLeaf(entry_, text_, isUtf8_));
        if (isClosed) ReportTextAfterQuote();
    }

    // Reads one line end of any kind, and keeps it as CR LF.
    void TakeLineEnd() {
        const char first = source_.Peek();
        source_.Advance();
        const char second = source_.Peek();
        if (IsTagLineEnd(second) && second != first) source_.Advance();
        text_ += "\r\n";
    }

    // What follows a quote on its line begins the next entry, which is rarely meant.
    void ReportTextAfterQuote() {
        SkipBlanks();
        const char next = source_.Peek();
        if (next == '\0' || next == '}' || IsTagLineEnd(next)) return;
        entry_.Report(TagFault::AfterQuote, source_.Place());
    }

    // Reads the rest of the line, or up to a '}'.
    void ReadBare() {
        text_.clear();
        entry_.valuePlace = source_.Place();
        extent_.value = entry_.valuePlace.offset;
        source_.AdvanceTo(TagTextSource::kAfterBare, &text_);
        const bool endsLine = source_.Peek() != '}';
        AddLeaf(MakeBareLeaf(entry_, text_, endsLine, isUtf8_));
    }

    void AddEmpty() { AddLeaf(OCSChunkRef(new TDBDataTag)); }

    void AddLeaf(const OCSChunkRef& tag) {
        Append(tag);
        if (!observer_) return;
        // The search for a '{' may have left the line of a tag without value: its end stays the
        // name's.
        if (tag->GetType() != kTagNone) extent_.end = source_.Place().offset;
        observer_->OnTagEnd(*tag, extent_);
    }

    void Append(const OCSChunkRef& tag) {
        open_.back()->AddChild(*entry_.name, tag);
        if (observer_) observer_->OnTag(*tag, entry_.place);
    }

    void SkipBlanks() { source_.AdvanceTo(TagTextSource::kAfterBlanks); }
    void SkipToEntry() {
        for (SkipBlanks(); IsTagLineEnd(source_.Peek()); SkipBlanks()) source_.Advance();
    }

    // Reports a fault of the text, not of a tag.
    void ReportText(TagFault fault, const TagPlace& place) {
        if (observer_) observer_->OnFinding({fault, place, {}});
    }

    TagTextSource source_;
    const bool isUtf8_;
    TagObserver* observer_;
    std::vector<OCSChunk*> open_;         // containers being read, outermost first
    std::vector<TagExtent> openExtents_;  // theirs, without the root's; empty without observer
    NameCache names_;
    TagTextEntry entry_;
    TagExtent extent_;  // of the entry
    std::string text_;  // of the entry's name, then of its value: one allocation for all
};

}  // namespace

void ReadTagText(OCSChunk& container, TStream& stream, bool alreadyUtf8, TagObserver* observer) {
    Reader(container, stream, alreadyUtf8, observer).Run();
}

}  // namespace Vorn
