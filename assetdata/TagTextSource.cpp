#include "assetdata/TagTextSource.h"

#include <array>

namespace Vorn {
namespace {

constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";

// The stops at each byte: one lookup instead of several comparisons a byte.
constexpr auto kStops = [] {
    std::array<std::uint8_t, 256> stops{};
    stops.fill(TagTextSource::kAfterBlanks);
    stops[' '] = stops['\t'] = TagTextSource::kAfterName;
    stops['"'] = TagTextSource::kAfterBlanks | TagTextSource::kAfterQuoted;
    stops['}'] =
        TagTextSource::kAfterBlanks | TagTextSource::kAfterName | TagTextSource::kAfterBare;
    stops['\0'] = stops['\r'] = stops['\n'] =
        TagTextSource::kAfterBlanks | TagTextSource::kAfterName | TagTextSource::kAfterQuoted |
        TagTextSource::kAfterBare;
    return stops;
}();

bool StopsAt(char c, TagTextSource::Stop stop) {
    return (kStops[static_cast<unsigned char>(c)] & stop) != 0;
}

}  // namespace

TagTextSource::TagTextSource(TStream& stream) : stream_(stream) {
    const std::uint32_t start = stream.Tell();
    std::array<char, kUtf8Mark.size()> first;
    hadMark_ = stream.Read(first.data(), first.size()) == first.size() &&
               std::string_view(first.data(), first.size()) == kUtf8Mark;
    if (hadMark_) {
        passed_ = lineStart_ = kUtf8Mark.size();
    } else {
        (void)stream.ReturnTo(start);
    }
    Load();
}

void TagTextSource::AdvanceTo(Stop stop, std::string* to) {
    while (at_ < buffered_.size()) {
        const std::size_t from = at_;
        while (at_ < buffered_.size() && !StopsAt(buffered_[at_], stop)) ++at_;
        if (to) to->append(buffered_, from, at_ - from);
        if (at_ < buffered_.size()) return;
        Load();
    }
}

bool TagTextSource::Finish() {
    stream_.Skip(static_cast<std::uint32_t>(at_));
    return at_ < buffered_.size() && buffered_[at_] == '\0';
}

void TagTextSource::Load() {
    passed_ += at_;
    stream_.Skip(static_cast<std::uint32_t>(at_));
    buffered_ = stream_.PeekBuffered();
    at_ = 0;
}

// CR LF and LF CR count as one line end, also when a refill of the buffer comes between them.
void TagTextSource::CountLineEnd(char c) {
    const std::uint64_t offset = passed_ + at_;
    const bool isSecond = halfLineEnd_ != '\0' && halfLineEnd_ != c && lineStart_ + 1 == offset;
    if (!isSecond) ++line_;
    halfLineEnd_ = isSecond ? '\0' : c;
    lineStart_ = offset;
}

}  // namespace Vorn
