// The identifier of an asset: the user who published it, a number in that user's range, a version.
//
// Text forms: "<kuid:1:2>" and "<kuid2:1:2:3>". The first is for plain identifiers, whose version
// follows from the user: 0 for users from 0 on, 127 for users below 0. A failed parse returns the
// null identifier (-1, -1, 127). A number that does not fit 32 bits fails the parse, because a cut
// number would name another asset.
//
// Packed, a user's number keeps 25 bits, -16,777,216 to 16,777,215.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "assetdata/TStream.h"
#include "kernel/InternedString.h"
#include "kernel/String.h"

namespace Vorn {

struct KUID {
    std::int32_t userId = -1;
    std::int32_t contentId = -1;
    std::uint32_t version = 127;  // 0 to 127

    static constexpr std::size_t kPairSize = 8;
    using Pair = std::array<std::byte, kPairSize>;

    // Parses the text up to a zero byte, ignoring letter case. A strict parse accepts only complete
    // identifiers. Otherwise parts may be missing or follow: "1:2", "<1:2", "<kuid:1:2",
    // "<kuid:1:2> and more", and "2" alone, which is (-1, 2, 127).
    [[nodiscard]] static KUID Parse(std::string_view text, bool strict);

    [[nodiscard]] bool IsNull() const { return *this == KUID{}; }
    [[nodiscard]] bool IsPlain() const { return version == (userId < 0 ? 127 : 0); }

    // Returns version << 25 | the low 25 bits of the user.
    [[nodiscard]] std::uint32_t PackedWord() const;
    [[nodiscard]] static KUID FromPacked(std::uint32_t word, std::int32_t contentId);

    // Returns the packed word, then the content, little-endian, as tag values have them.
    [[nodiscard]] Pair ToPair() const;
    [[nodiscard]] static KUID FromPair(std::span<const std::byte, kPairSize> pair);

    // Returns "<kuid:1:2>" or "<kuid2:1:2:3>"; null is "<NULL>".
    [[nodiscard]] InternedString TagForm() const;
    [[nodiscard]] std::string TagText() const;  // the same, not pooled
    // Returns the tag form with "&#60;" and "&#62;" for its brackets; null is "&#60;NULL
    // KUID&#62;".
    [[nodiscard]] InternedString EscapedForm() const;
    // Returns "kuid 1 2" or "kuid2 1 2 3"; null is "NULLKUID".
    [[nodiscard]] String WordForm() const;
    // Returns "1_2" or "1_2_3" for the separator '_'; null is "NULLKUID".
    [[nodiscard]] String SeparatedForm(char separator) const;

    // Reads content, then packed word, little-endian. Returns null if the stream ends before the
    // eighth byte.
    [[nodiscard]] static KUID ReadFrom(TStream& stream);
    // Writes at the logical position. Returns false if not all was written.
    [[nodiscard]] bool WriteTo(TStream& stream) const;

    friend bool operator==(const KUID&, const KUID&) = default;
};

}  // namespace Vorn
