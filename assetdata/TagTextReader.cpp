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
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "assetdata/KUID.h"
#include "assetdata/NumberText.h"
#include "assetdata/TDBContainerTag.h"
#include "assetdata/TDBDataTag.h"
#include "assetdata/TagText.h"
#include "assetdata/TagTextRules.h"
#include "assetdata/TagValues.h"
#include "kernel/LetterCase.h"
#include "platform/CodePage.h"

namespace Vorn {
namespace {

constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";
constexpr std::string_view kDigits = "0123456789";
constexpr std::string_view kBlanks = " \t";

// The bytes that end each part. A zero byte always ends the text.
enum Ends : std::uint8_t { kEndsBlanks = 1, kEndsName = 2, kEndsQuoted = 4, kEndsBare = 8 };
constexpr auto kEnds = [] {
    std::array<std::uint8_t, 256> ends{};
    ends.fill(kEndsBlanks);
    ends[' '] = ends['\t'] = kEndsName;
    ends['"'] = kEndsBlanks | kEndsQuoted;
    ends['}'] = kEndsBlanks | kEndsName | kEndsBare;
    ends['\0'] = ends['\r'] = ends['\n'] = kEndsBlanks | kEndsName | kEndsQuoted | kEndsBare;
    return ends;
}();

// The stream's text and the current place in it.
class Source {
public:
    explicit Source(TStream& stream) : stream_(stream), start_(stream.Tell()) {}

    // Skips a UTF-8 byte-order mark and returns whether there was one. Call first.
    bool TakeMark() {
        std::array<char, 3> mark;
        const bool marked = stream_.Read(mark.data(), 3) == 3 &&
                            std::string_view(mark.data(), mark.size()) == kUtf8Mark;
        if (marked) {
            passed_ = lineStart_ = kUtf8Mark.size();
        } else {
            (void)stream_.ReturnTo(start_);
        }
        Load();
        return marked;
    }

    // Returns the next byte without consuming it.
    [[nodiscard]] char Peek() const { return at_ < ahead_.size() ? ahead_[at_] : '\0'; }

    void Advance() {
        const char c = ahead_[at_++];
        if (IsTagLineEnd(c)) PassLineEnd(c);
        if (at_ == ahead_.size()) Load();
    }

    // Advances to the next byte in the set, and appends the bytes before it to `to`, if given.
    void AdvanceTo(Ends end, std::string* to = nullptr) {
        while (at_ < ahead_.size()) {
            const std::size_t from = at_;
            while (at_ < ahead_.size() && !(kEnds[static_cast<unsigned char>(ahead_[at_])] & end)) {
                ++at_;
            }
            if (to) to->append(ahead_, from, at_ - from);
            if (at_ < ahead_.size()) return;
            Load();
        }
    }

    [[nodiscard]] TagPlace Place() const {
        const std::uint64_t offset = passed_ + at_;
        return {offset, line_, static_cast<std::uint32_t>(offset - lineStart_ + 1)};
    }

    // Moves the stream to the next byte, and returns whether that is a zero byte of the text.
    bool Finish() {
        stream_.Skip(static_cast<std::uint32_t>(at_));
        return at_ < ahead_.size() && ahead_[at_] == '\0';
    }

private:
    void Load() {
        passed_ += at_;
        stream_.Skip(static_cast<std::uint32_t>(at_));
        ahead_ = stream_.PeekBuffered();
        at_ = 0;
    }

    // CR LF and LF CR count as one line end.
    void PassLineEnd(char c) {
        const std::uint64_t offset = passed_ + at_;
        const bool second = halfLineEnd_ != '\0' && halfLineEnd_ != c && lineStart_ + 1 == offset;
        if (!second) ++line_;
        halfLineEnd_ = second ? '\0' : c;
        lineStart_ = offset;
    }

    TStream& stream_;
    std::uint32_t start_;
    std::string_view ahead_;    // what the stream has buffered
    std::size_t at_ = 0;        // of the next byte in it
    std::uint64_t passed_ = 0;  // bytes of the text before `ahead_`
    std::uint64_t lineStart_ = 0;
    std::uint32_t line_ = 1;
    char halfLineEnd_ = '\0';  // before lineStart_, if the other half may follow
};

bool IsCapital(char c) { return AsciiToLower(c) != c; }

// The two characters for a line end in a value without quotes.
void ReplaceEscapes(std::string& text) {
    for (std::size_t at = 0; (at = text.find("\\n", at)) != std::string::npos; at += 2) {
        text[at] = '\r';
        text[at + 1] = '\n';
    }
}

bool IsNumberOrList(std::string_view value) {
    return value.find_first_of(kDigits) != value.npos &&
           (IsNumberValue(value) || IsListValue(value));
}

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
    Reader(OCSChunk& root, TStream& stream, bool utf8, TagObserver* observer)
        : source_(stream), utf8_(utf8), observer_(observer) {
        open_.push_back(&root);
    }

    void Run() {
        if (source_.TakeMark()) utf8_ = true;
        while (ReadNext()) {
        }
        const TagPlace end = source_.Place();
        name_ = nullptr;
        if (open_.size() > 1) Tell(TagFault::MissingBrace, end);
        while (open_.size() > 1) CloseContainer();
        if (source_.Finish()) Tell(TagFault::ZeroByte, end);
    }

private:
    // Reads one entry or the end of a container. Returns false at the end of the text.
    bool ReadNext() {
        SkipToEntry();
        place_ = source_.Place();
        if (source_.Peek() == '\0') return false;
        if (source_.Peek() != '}') {
            ReadEntry();
            return true;
        }
        if (open_.size() == 1) {
            name_ = nullptr;
            Tell(TagFault::StrayBrace, place_);
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
            SkipToEntry();
            if (source_.Peek() != '{') return Add(kTagNone, {});
        }
        switch (source_.Peek()) {
            case '{':
                return OpenContainer();
            case '}':
            case '\0':
                return Add(kTagNone, {});
            case '"':
                return ReadQuoted();
            default:
                return ReadBare();
        }
    }

    void ReadName() {
        text_.clear();
        source_.AdvanceTo(kEndsName, &text_);
        const bool cut = text_.size() > kMostReadName;
        if (cut) text_.resize(kMostReadName);
        if (observer_ && std::ranges::any_of(text_, IsCapital)) {
            observer_->OnFinding({TagFault::NameLowered, place_, Printable(text_)});
        }
        std::ranges::transform(text_, text_.begin(), AsciiToLower);
        name_ = &names_.Find(text_);
        extent_ = {place_.offset, source_.Place().offset, 0, 0};
        extent_.value = extent_.end = extent_.nameEnd;
        if (cut) Tell(TagFault::NameCut, place_);
        if (observer_ && LooksLikeComment(text_)) Tell(TagFault::LooksLikeComment, place_);
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
            source_.AdvanceTo(kEndsQuoted, &text_);
            if (!IsTagLineEnd(source_.Peek())) break;
            TakeLineEnd();
        }
        if (source_.Peek() == '\0') {
            Tell(TagFault::MissingQuote, place_);
            return AddText();
        }
        source_.Advance();
        AddText();
        SkipBlanks();
        const char next = source_.Peek();
        if (next != '\0' && next != '}' && !IsTagLineEnd(next)) {
            Tell(TagFault::BehindQuote, source_.Place());
        }
    }

    void TakeLineEnd() {
        const char first = source_.Peek();
        source_.Advance();
        const char second = source_.Peek();
        if (IsTagLineEnd(second) && second != first) source_.Advance();
        text_ += "\r\n";
    }

    // Reads the rest of the line, or up to a '}'.
    void ReadBare() {
        text_.clear();
        valuePlace_ = source_.Place();
        extent_.value = valuePlace_.offset;
        source_.AdvanceTo(kEndsBare, &text_);
        // Only a value that ends with its line is a number.
        const bool endsLine = source_.Peek() != '}';
        if (endsLine && IsNumberValue(text_)) return AddNumber();
        if (endsLine && IsListValue(text_)) return AddList();
        if (observer_ && !endsLine && IsNumberOrList(text_)) {
            Tell(TagFault::NumberIsText, valuePlace_);
        }
        ReplaceEscapes(text_);
        AddText();
    }

    void AddNumber() {
        const std::string_view token =
            std::string_view(text_).substr(0, text_.find_first_of(kBlanks));
        if (token.find('.') == std::string_view::npos) {
            const NumberRead<std::int32_t> read = ReadInteger(token);
            Judge(read, token, valuePlace_);
            return AddSmall(kTagInteger, BytesOf(read.value));
        }
        const NumberRead<float> read = ReadFloat(token);
        JudgeFloat(read, token, valuePlace_);
        AddSmall(kTagFloat, BytesOf(read.value));
    }

    void AddList() {
        const std::string_view list = std::string_view(text_).substr(0, kMostListBytes);
        std::vector<float> values;
        for (std::size_t at = 0; (at = list.find_first_not_of(" ,", at)) != list.npos;) {
            const std::size_t end = std::min(list.find_first_of(" ,", at), list.size());
            const std::string_view piece = list.substr(at, end - at);
            const std::size_t begin = piece.find_first_not_of('\t');
            if (begin != piece.npos) {
                const NumberRead<float> read = ReadFloat(piece);
                JudgeFloat(read, piece, valuePlace_.Behind(at + begin));
                values.push_back(read.value);
            }
            at = end;
        }
        if (observer_ && LooksLikeThousands(list)) {
            Tell(TagFault::LooksLikeThousands, valuePlace_);
        }
        if (values.empty()) {
            Tell(TagFault::NoNumber, valuePlace_);
            values.push_back(0);
        }
        if (text_.find_first_of(kDigits, kMostListBytes) != std::string::npos) {
            Tell(TagFault::ListCut, valuePlace_);
        }
        Add(kTagFloat, MakeFloats(values));
    }

    template <typename Number>
    void Judge(const NumberRead<Number>& read, std::string_view token, const TagPlace& place) {
        if (!read.found) return Tell(TagFault::NoNumber, place);
        if (read.outOfRange) Tell(TagFault::NumberOutOfRange, place);
        if (token.find_first_not_of(kBlanks, read.length) != token.npos) {
            Tell(TagFault::NumberCut, place);
        }
    }

    void JudgeFloat(const NumberRead<float>& read, std::string_view token, const TagPlace& place) {
        if (!observer_) return;
        Judge(read, token, place);
        if (!read.outOfRange && !HoldsDigits(read.value, token.substr(0, read.length))) {
            Tell(TagFault::NumberRounded, place);
        }
    }

    void AddText() {
        if (IsKUIDValue(text_)) return AddKUID();
        if (!utf8_ && !IsAscii(text_)) text_ = platform::AnsiToUtf8(text_);
        Add(kTagText, MakeText(text_));
    }

    void AddKUID() {
        const KUID kuid = KUID::Parse(text_, false);
        std::string_view written = text_;
        while (!written.empty() && IsTagBlank(written.back())) written.remove_suffix(1);
        if (!EqualAsciiNoCase(written, kuid.TagText())) {
            Tell(kuid.IsNull() ? TagFault::BadKUID : TagFault::KUIDNotExact, place_);
        }
        const KUID::Pair pair = kuid.ToPair();
        if (KUID::FromPair(pair) != kuid) Tell(TagFault::KUIDWraps, place_);
        AddSmall(kTagKUID, pair);
    }

    void Add(std::uint32_t type, OCSRawData value) {
        AddLeaf(OCSChunkRef(new TDBDataTag(type, std::move(value))));
    }

    void AddSmall(std::uint32_t type, std::span<const std::byte> value) {
        AddLeaf(OCSChunkRef(new TDBDataTag(type, value)));
    }

    void AddLeaf(const OCSChunkRef& tag) {
        Append(tag);
        if (!observer_) return;
        // Looking for a '{' may have led past the line of a tag without value.
        if (tag->GetType() != kTagNone) extent_.end = source_.Place().offset;
        observer_->OnTagEnd(*tag, extent_);
    }

    void Append(const OCSChunkRef& tag) {
        open_.back()->AddChild(*name_, tag);
        if (observer_) observer_->OnTag(*tag, place_);
    }

    void SkipBlanks() { source_.AdvanceTo(kEndsBlanks); }
    void SkipToEntry() {
        for (SkipBlanks(); IsTagLineEnd(source_.Peek()); SkipBlanks()) source_.Advance();
    }

    void Tell(TagFault fault, const TagPlace& place) {
        if (observer_) observer_->OnFinding({fault, place, name_ ? Printable(name_->View()) : ""});
    }

    Source source_;
    bool utf8_;
    TagObserver* observer_;
    std::vector<OCSChunk*> open_;         // containers being read, outermost first
    std::vector<TagExtent> openExtents_;  // theirs, without the root's; empty without observer
    NameCache names_;
    const InternedString* name_ = nullptr;  // of the current entry
    TagPlace place_;                        // of the current entry
    TagPlace valuePlace_;
    TagExtent extent_;  // of the current entry
    std::string text_;
};

}  // namespace

void ReadTagText(OCSChunk& container, TStream& stream, bool alreadyUtf8, TagObserver* observer) {
    Reader(container, stream, alreadyUtf8, observer).Run();
}

}  // namespace Vorn
