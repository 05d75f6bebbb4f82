#include "patch/compact/Directory.h"

#include <algorithm>

namespace patch::compact {
namespace {

using delta::ByteBuffer;
using delta::ByteReader;
using delta::ByteView;
using delta::ByteWriter;
using delta::FoldSign;
using delta::UnfoldSign;

constexpr std::uint64_t kMostNameBytes = 259;
constexpr std::uint64_t kMostBytes = 0xffffffff;  // of a content

// A name as the bytes that it has in common with the one before, and the others.
class NameWriter {
public:
    explicit NameWriter(ByteWriter& out) : out_(out) {}

    void Write(const std::string& name) {
        const auto end = std::ranges::mismatch(last_, name).in1;
        const auto common = static_cast<std::size_t>(end - last_.begin());
        out_.Number(common);
        out_.Number(name.size() - common);
        for (const char c : name.substr(common)) out_.Byte(static_cast<std::uint8_t>(c));
        last_ = name;
    }

private:
    ByteWriter& out_;
    std::string last_;
};

class NameReader {
public:
    explicit NameReader(ByteReader& in) : in_(in) {}

    std::string Read() {
        const std::uint64_t common = in_.Number();
        const std::uint64_t more = in_.Number();
        if (common > last_.size() || more > kMostNameBytes || common + more > kMostNameBytes ||
            common + more == 0) {
            delta::ThrowDamaged("a name has an impossible length");
        }
        last_.resize(static_cast<std::size_t>(common));
        for (const std::uint8_t byte : in_.Take(more)) last_ += static_cast<char>(byte);
        return last_;
    }

private:
    ByteReader& in_;
    std::string last_;
};

// Ascending places, as what lies between one and the next.
class PlaceReader {
public:
    PlaceReader(ByteReader& in, std::uint64_t members) : in_(in), members_(members) {}

    Place Read() {
        const std::uint64_t gap = in_.Number();
        if (gap >= members_ - next_) delta::ThrowDamaged("a place is not one of the old side");
        const std::uint64_t place = next_ + gap;
        next_ = place + 1;
        return static_cast<Place>(place);
    }

private:
    ByteReader& in_;
    std::uint64_t members_;
    std::uint64_t next_ = 0;
};

// Each record takes a byte or more, so that no more of them can follow than there are bytes.
std::size_t ReadCount(ByteReader& in) {
    const std::uint64_t count = in.Number();
    if (count > in.Rest().size()) delta::ThrowDamaged("it announces more members than it holds");
    return static_cast<std::size_t>(count);
}

std::uint64_t ReadBelow(ByteReader& in, std::uint64_t limit) {
    const std::uint64_t number = in.Number();
    if (number >= limit) delta::ThrowDamaged("a number is too large");
    return number;
}

void WriteSpots(ByteWriter& out, const Spots& spots) {
    std::size_t used = 0;
    for (std::size_t i = 0; i < Spots::kCount; ++i) used += spots[i] != 0 ? 1 : 0;
    out.Number(used);
    for (std::size_t i = 0; i < Spots::kCount; ++i) {
        if (spots[i] == 0) continue;
        out.Byte(static_cast<std::uint8_t>(i));
        out.Fixed(spots[i], Spots::kSpotBytes);
    }
}

Spots ReadSpots(ByteReader& in) {
    Spots spots;
    std::size_t next = 0;
    for (std::uint64_t left = ReadBelow(in, Spots::kCount + 1); left > 0; --left) {
        const std::size_t spot = in.Byte();
        const std::uint64_t value = in.Fixed(Spots::kSpotBytes);
        if (spot < next || value == 0) delta::ThrowDamaged("its spots are not in order");
        spots.Set(spot, value);
        next = spot + 1;
    }
    return spots;
}

void WriteSources(ByteWriter& out, const Directory::Added& added) {
    out.Number(added.sources.size() << 1 | (added.repeats ? 1U : 0U));
    for (const Source& source : added.sources) {
        out.Number(std::uint64_t{source.number} << 1 |
                   (source.kind == Source::Kind::Carried ? 1U : 0U));
    }
}

void ReadSources(ByteReader& in, std::uint64_t oldMembers, std::size_t number,
                 Directory::Added& added) {
    const std::uint64_t head = ReadBelow(in, 2 * (kMostSources + 1));
    added.repeats = (head & 1) != 0;
    for (std::uint64_t left = head >> 1; left > 0; --left) {
        const std::uint64_t folded = in.Number();
        const bool carried = (folded & 1) != 0;
        if (folded >> 1 >= (carried ? number : oldMembers)) {
            delta::ThrowDamaged("a member is made of one that is not there");
        }
        added.sources.push_back({carried ? Source::Kind::Carried : Source::Kind::Old,
                                 static_cast<std::uint32_t>(folded >> 1)});
    }
}

}  // namespace

// Numbers of one kind stand together, which suits the models that pack them.
ByteBuffer FormatDirectory(const Directory& directory) {
    ByteBuffer bytes;
    ByteWriter out(bytes);
    out.Number(directory.removed.size());
    Place next = 0;
    for (const Place place : directory.removed) {
        out.Number(place - next);
        next = place + 1;
    }
    out.Number(directory.changed.size());
    next = 0;
    for (const auto& changed : directory.changed) {
        out.Number(changed.place - next);
        next = changed.place + 1;
    }
    for (const auto& changed : directory.changed) out.Number(FoldSign(changed.growth));
    out.Number(directory.moved.size());
    NameWriter movedNames(out);
    for (const auto& moved : directory.moved) movedNames.Write(moved.name);
    next = 0;
    for (const auto& moved : directory.moved) {
        out.Number(FoldSign(std::int64_t{moved.from} - std::int64_t{next}));
        next = moved.from + 1;
    }
    out.Number(directory.empty.size());
    NameWriter emptyNames(out);
    for (const std::string& name : directory.empty) emptyNames.Write(name);
    out.Number(directory.added.size());
    NameWriter addedNames(out);
    for (const auto& added : directory.added) addedNames.Write(added.name);
    for (const auto& added : directory.added) out.Number(added.bytes);
    for (const auto& added : directory.added) WriteSources(out, added);
    WriteSpots(out, directory.spots);
    return bytes;
}

Directory ParseDirectory(ByteView bytes, std::uint64_t oldMembers) {
    ByteReader in(bytes);
    Directory directory;
    PlaceReader removedPlaces(in, oldMembers);
    for (std::size_t left = ReadCount(in); left > 0; --left) {
        directory.removed.push_back(removedPlaces.Read());
    }
    PlaceReader changedPlaces(in, oldMembers);
    for (std::size_t left = ReadCount(in); left > 0; --left) {
        directory.changed.push_back({.place = changedPlaces.Read()});
    }
    for (auto& changed : directory.changed) {
        changed.growth = UnfoldSign(ReadBelow(in, 2 * kMostBytes + 2));
    }
    directory.moved.resize(ReadCount(in));
    NameReader movedNames(in);
    for (auto& moved : directory.moved) moved.name = movedNames.Read();
    std::int64_t next = 0;
    for (auto& moved : directory.moved) {
        const std::int64_t from = next + UnfoldSign(ReadBelow(in, 2 * kMostBytes + 2));
        if (from < 0 || static_cast<std::uint64_t>(from) >= oldMembers) {
            delta::ThrowDamaged("a place is not one of the old side");
        }
        moved.from = static_cast<Place>(from);
        next = from + 1;
    }
    NameReader emptyNames(in);
    for (std::size_t left = ReadCount(in); left > 0; --left) {
        directory.empty.push_back(emptyNames.Read());
    }
    directory.added.resize(ReadCount(in));
    NameReader addedNames(in);
    for (auto& added : directory.added) added.name = addedNames.Read();
    for (auto& added : directory.added) {
        added.bytes = ReadBelow(in, kMostBytes + 1);
        if (added.bytes == 0) delta::ThrowDamaged("an added member has no content");
    }
    for (std::size_t i = 0; i < directory.added.size(); ++i) {
        ReadSources(in, oldMembers, directory.changed.size() + i, directory.added[i]);
    }
    directory.spots = ReadSpots(in);
    if (!in.Rest().empty()) delta::ThrowDamaged("its list of members is too long");
    return directory;
}

ByteBuffer FormatShares(const Shares& shares) {
    ByteBuffer bytes;
    ByteWriter out(bytes);
    out.Number(shares.added);
    out.Number(shares.changed);
    out.Number(shares.rewritten);
    out.Number(shares.rewrittenMembers);
    return bytes;
}

Shares ParseShares(ByteView bytes) {
    ByteReader in(bytes);
    Shares shares;
    shares.added = in.Number();
    shares.changed = in.Number();
    shares.rewritten = in.Number();
    shares.rewrittenMembers = in.Number();
    if (!in.Rest().empty()) delta::ThrowDamaged("its shares are too long");
    return shares;
}

}  // namespace patch::compact
