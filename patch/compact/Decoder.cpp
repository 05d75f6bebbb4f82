#include "patch/compact/Decoder.h"

#include <algorithm>

#include "archive/Names.h"

namespace patch::compact {
namespace {

constexpr std::uint64_t kMostBytes = 0xffffffff;

}  // namespace

OldMembers::OldMembers(const archive::Tree& side, std::vector<std::size_t> members)
    : tree(side), numbers(std::move(members)) {
    std::ranges::sort(numbers, [&side](std::size_t a, std::size_t b) {
        return archive::CompareNames(side[a].name, side[b].name) < 0;
    });
}

std::vector<std::uint64_t> PartEnds(std::uint64_t bytes, bool repeats) {
    constexpr std::uint64_t kFirstPart = 1U << 20;
    std::vector<std::uint64_t> ends;
    for (std::uint64_t end = kFirstPart; repeats && end < bytes; end *= 2) ends.push_back(end);
    ends.push_back(bytes);
    return ends;
}

std::uint64_t ContentBytes(const Directory& directory, const OldMembers& old, std::size_t carried) {
    if (carried >= directory.changed.size()) {
        return directory.added[carried - directory.changed.size()].bytes;
    }
    const Directory::Changed& changed = directory.changed[carried];
    return old[changed.place].size + static_cast<std::uint64_t>(changed.growth);
}

std::uint64_t SourceBytes(const Directory& directory, const OldMembers& old, std::size_t carried) {
    if (carried < directory.changed.size()) return old[directory.changed[carried].place].size;
    const Directory::Added& added = directory.added[carried - directory.changed.size()];
    std::uint64_t bytes = added.repeats ? added.bytes : 0;
    for (const Source& source : added.sources) {
        bytes += source.kind == Source::Kind::Old ? old[source.number].size
                                                  : ContentBytes(directory, old, source.number);
    }
    return bytes;
}

Decoder::Decoder(const Directory& directory, const OldMembers& old)
    : directory_(directory),
      old_(old),
      reader_(old.tree.NewReader()),
      models_(std::make_unique<ContentModels>()) {
    for (const Directory::Changed& changed : directory.changed) {
        const auto size = static_cast<std::int64_t>(old[changed.place].size) + changed.growth;
        if (size < 0 || static_cast<std::uint64_t>(size) > kMostBytes) {
            delta::ThrowDamaged("a member has an impossible size");
        }
    }
    for (const Directory::Added& added : directory.added) {
        for (const Source& source : added.sources) {
            keeps_ = keeps_ || source.kind == Source::Kind::Carried;
        }
    }
}

std::uint64_t Decoder::Memory() const {
    std::uint64_t most = 0;
    for (std::size_t i = 0; i < directory_.Carried(); ++i) {
        most = std::max(most, ContentBytes(directory_, old_, i) + SourceBytes(directory_, old_, i));
    }
    return most + (keeps_ ? kMostKept : 0);
}

void Decoder::AppendOld(Place place) {
    reader_->Begin(old_.numbers[place]);
    for (auto piece = reader_->Next(); !piece.empty(); piece = reader_->Next()) {
        const auto* bytes = reinterpret_cast<const std::uint8_t*>(piece.data());
        sources_.insert(sources_.end(), bytes, bytes + piece.size());
    }
}

void Decoder::AppendCarried(std::size_t carried) {
    const auto found = std::ranges::find(kept_, carried, &Kept::carried);
    if (found == kept_.end()) delta::ThrowDamaged("a member is made of one that is too far away");
    sources_.insert(sources_.end(), found->content.begin(), found->content.end());
}

// Puts one after another what the member takes copies from.
void Decoder::Gather(std::size_t carried) {
    sources_.clear();
    sources_.reserve(std::min(SourceBytes(directory_, old_, carried), kMostReserved));
    if (carried < directory_.changed.size()) {
        return AppendOld(directory_.changed[carried].place);
    }
    for (const Source& source : directory_.added[carried - directory_.changed.size()].sources) {
        if (source.kind == Source::Kind::Old) {
            AppendOld(source.number);
        } else {
            AppendCarried(source.number);
        }
    }
}

void Decoder::Keep(std::size_t carried, ByteView content) {
    if (!keeps_) return;
    kept_.push_back({carried, ByteBuffer(content.begin(), content.end())});
    keptBytes_ += content.size();
    while (keptBytes_ > kMostKept) {
        keptBytes_ -= kept_.front().content.size();
        kept_.pop_front();
    }
}

void Decoder::Decode(ByteView coded, std::uint64_t count, const Take& take) {
    delta::RangeDecoder decoder(coded);
    ContentCodec<delta::RangeDecoder> codec(decoder, *models_);
    for (; count > 0; --count, ++next_) {
        const bool isAdded = next_ >= directory_.changed.size();
        const bool repeats = isAdded && directory_.added[next_ - directory_.changed.size()].repeats;
        Gather(next_);
        const std::size_t oldBytes = isAdded ? 0 : sources_.size();
        // Only a claim so far: its pages take no memory before they are written.
        const std::span<std::uint8_t> content =
            content_.Take(ContentBytes(directory_, old_, next_));
        std::uint64_t start = 0;
        for (const std::uint64_t end : PartEnds(content.size(), repeats)) {
            const std::span<std::uint8_t> part = content.subspan(start, end - start);
            codec.Code(sources_, part, {});
            if (repeats) sources_.insert(sources_.end(), part.begin(), part.end());
            start = end;
        }
        take(next_, ByteView(sources_).first(oldBytes), content);
        Keep(next_, content);
    }
    if (!decoder.AtEnd()) delta::ThrowDamaged("there is more content than its members have");
}

}  // namespace patch::compact
