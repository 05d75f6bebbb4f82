#include "patch/compact/Preparer.h"

#include <algorithm>

#include "patch/Contents.h"

namespace patch::compact {

Preparer::Preparer(const Difference& difference, const OldMembers& old,
                   const std::vector<Number>& fresh, const Directory& directory,
                   const Budget& budget)
    : difference_(difference),
      old_(old),
      fresh_(fresh),
      directory_(directory),
      budget_(budget),
      oldReader_(difference.old.tree.NewReader()),
      freshReader_(difference.fresh.tree.NewReader()) {}

Prepared Preparer::Prepare(std::size_t carried) {
    const bool isAdded = carried >= directory_.changed.size();
    const bool repeats = isAdded && directory_.added[carried - directory_.changed.size()].repeats;
    Prepared made;
    Append(difference_.fresh, *freshReader_, fresh_[carried], made.content);
    // Sizes are claims of the sides: pages that are not written take no memory.
    made.sources.reserve(std::min(SourceBytes(directory_, old_, carried), kMostReserved));
    AppendSources(carried, made.sources);
    // One index serves all parts of a member: each part only adds the one before it.
    const std::uint64_t most = made.sources.size() + (repeats ? made.content.size() : 0);
    index_.Begin(most, *delta::OldIndex::ShapeFor(most, budget_.Index()));
    std::uint64_t start = 0;
    for (const std::uint64_t end : PartEnds(made.content.size(), repeats)) {
        Prepared::Part part{.end = end, .sources = made.sources.size()};
        FindSegments(View(made.sources), View(made.content).subspan(start, end - start),
                     part.segments);
        made.parts.push_back(std::move(part));
        if (repeats) {
            const auto first = made.content.begin() + static_cast<std::ptrdiff_t>(start);
            made.sources.insert(made.sources.end(), first,
                                made.content.begin() + static_cast<std::ptrdiff_t>(end));
        }
        start = end;
    }
    return made;
}

void Preparer::Append(const Input& side, archive::TreeReader& reader, Number number,
                      std::vector<std::byte>& bytes) const {
    About(side.path, [&] {
        reader.Begin(number);
        const archive::TreeMember member = side.tree[number];
        // A stream's size is only a claim. Room for it keeps the vector from doubling.
        constexpr std::uint64_t kMostPacking = 1000;
        if (member.size / kMostPacking <= member.storedSize) {
            bytes.reserve(bytes.size() + static_cast<std::size_t>(member.size));
        }
        for (auto piece = reader.Next(); !piece.empty(); piece = reader.Next()) {
            bytes.insert(bytes.end(), piece.begin(), piece.end());
        }
    });
}

void Preparer::AppendSources(std::size_t carried, std::vector<std::byte>& bytes) {
    const auto appendOld = [&](Place place) {
        Append(difference_.old, *oldReader_, static_cast<Number>(old_.numbers[place]), bytes);
    };
    if (carried < directory_.changed.size()) return appendOld(directory_.changed[carried].place);
    for (const Source& source : directory_.added[carried - directory_.changed.size()].sources) {
        if (source.kind == Source::Kind::Old) {
            appendOld(source.number);
        } else {
            Append(difference_.fresh, *freshReader_, fresh_[source.number], bytes);
        }
    }
}

void Preparer::FindSegments(ByteView sources, ByteView content,
                            std::vector<delta::Segment>& segments) {
    if (sources.empty()) {
        segments = {{.fresh = static_cast<std::uint32_t>(content.size())}};
        return;
    }
    index_.Extend(sources);
    delta::FindSegments(sources, content, index_, found_);
    // Those that were found lie in room for many more.
    segments.assign(found_.begin(), found_.end());
}

}  // namespace patch::compact
