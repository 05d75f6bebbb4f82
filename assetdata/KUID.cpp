#include "assetdata/KUID.h"

#include <algorithm>
#include <utility>

#include "assetdata/NumberText.h"
#include "kernel/LetterCase.h"
#include "kernel/LittleEndian.h"

namespace Vorn {
namespace {

constexpr std::uint32_t kUserMask = 0x1FFFFFF;
constexpr std::uint32_t kUserSign = 0x1000000;
constexpr std::uint32_t kNegativeUsers = 0xFE000000;
constexpr std::uint32_t kMostVersion = 127;

// Interned once: every null identifier shares this handle.
const InternedString nullTag = Intern("<NULL>");

constexpr bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// Reads from the front of a text.
class Scanner {
public:
    explicit Scanner(std::string_view rest) : rest_(rest) {}

    [[nodiscard]] bool AtEnd() const { return rest_.empty(); }

    bool Take(char c) {
        if (!rest_.starts_with(c)) return false;
        rest_.remove_prefix(1);
        return true;
    }

    bool TakePrefix(std::string_view prefix) {
        if (!StartsWithAsciiNoCase(rest_, prefix)) return false;
        rest_.remove_prefix(prefix.size());
        return true;
    }

    bool TakeDigits() {
        const std::size_t count =
            static_cast<std::size_t>(std::ranges::find_if_not(rest_, IsDigit) - rest_.begin());
        rest_.remove_prefix(count);
        return count > 0;
    }

    // Returns false and leaves `number` unchanged if there is none; clears `fits` if it does not
    // fit.
    bool TakeNumber(std::int32_t& number, bool& fits) {
        const NumberRead<std::int32_t> read = ReadInteger(rest_);
        if (!read.found) return false;
        rest_.remove_prefix(read.length);
        number = read.value;
        if (read.outOfRange) fits = false;
        return true;
    }

private:
    std::string_view rest_;
};

std::uint32_t Unsigned(std::int32_t number) { return static_cast<std::uint32_t>(number); }

KUID Validated(const KUID& kuid) {
    const std::uint32_t user = Unsigned(kuid.userId);
    const bool valid = user > kUserMask ? user >= kNegativeUsers && kuid.version == kMostVersion
                                        : kuid.version <= kMostVersion;
    return valid ? kuid : KUID{};
}

// "user:content", the version by the user's sign.
KUID ReadPlain(Scanner scanner) {
    KUID kuid;
    bool fits = true;
    if (scanner.TakeNumber(kuid.userId, fits) && scanner.Take(':')) {
        scanner.TakeNumber(kuid.contentId, fits);
    }
    kuid.version = kuid.userId < 0 ? kMostVersion : 0;
    return fits ? Validated(kuid) : KUID{};
}

// "user:content:version", for users from 0 on.
KUID ReadVersioned(Scanner scanner) {
    KUID kuid;
    auto version = static_cast<std::int32_t>(kuid.version);
    bool fits = true;
    if (scanner.TakeNumber(kuid.userId, fits) && scanner.Take(':') &&
        scanner.TakeNumber(kuid.contentId, fits) && scanner.Take(':')) {
        scanner.TakeNumber(version, fits);
    }
    kuid.version = Unsigned(version);
    if (!fits || Unsigned(kuid.userId) > kUserMask) return KUID{};
    return Validated(kuid);
}

bool IsWholePlain(Scanner rest) {
    rest.Take('-');
    return rest.TakeDigits() && rest.Take(':') && rest.TakeDigits() && rest.Take('>') &&
           rest.AtEnd();
}

bool IsWholeVersioned(Scanner rest) {
    return rest.TakeDigits() && rest.Take(':') && rest.TakeDigits() && rest.Take(':') &&
           rest.TakeDigits() && rest.Take('>') && rest.AtEnd();
}

bool BeginsWithUser(Scanner rest) {
    rest.Take('-');
    return rest.TakeDigits() && rest.Take(':');
}

bool LooksNull(std::string_view text) {
    const auto at = [text](std::size_t i) { return i < text.size() ? AsciiToLower(text[i]) : 0; };
    return (at(0) == '<' && at(1) == 'n' && at(2) == 'u') ||
           (at(3) == 'l' && at(4) == 'l' && at(5) == '>');
}

bool HasOnlyNumberBytes(std::string_view text, std::ptrdiff_t colons) {
    return std::ranges::count(text, ':') == colons &&
           std::ranges::all_of(text, [](char c) { return IsDigit(c) || c == '-' || c == ':'; });
}

// Numbers without any prefix.
KUID ReadBare(std::string_view text) {
    if (HasOnlyNumberBytes(text, 1)) return ReadPlain(Scanner(text));
    if (text.starts_with('<')) {
        std::string_view inner = text.substr(1);
        if (inner.ends_with('>')) inner.remove_suffix(1);
        return HasOnlyNumberBytes(inner, 1) ? ReadPlain(Scanner(inner)) : KUID{};
    }
    if (!HasOnlyNumberBytes(text, 0)) return {};
    KUID kuid;
    bool fits = true;
    Scanner(text).TakeNumber(kuid.contentId, fits);
    return fits ? kuid : KUID{};
}

std::string Join(const KUID& kuid, std::string_view plain, std::string_view versioned,
                 char separator) {
    std::string text(kuid.IsPlain() ? plain : versioned);
    text += std::to_string(kuid.userId) + separator + std::to_string(kuid.contentId);
    // Printed as a signed number, because a program may have stored any value.
    if (!kuid.IsPlain()) {
        text += separator + std::to_string(static_cast<std::int32_t>(kuid.version));
    }
    return text;
}

}  // namespace

KUID KUID::Parse(std::string_view text, bool strict) {
    text = text.substr(0, text.find('\0'));
    if (LooksNull(text)) return {};
    Scanner scanner(text);
    if (scanner.TakePrefix("<kuid:")) {
        return strict && !IsWholePlain(scanner) ? KUID{} : ReadPlain(scanner);
    }
    if (scanner.TakePrefix("<kuid2:")) {
        return strict && !IsWholeVersioned(scanner) ? KUID{} : ReadVersioned(scanner);
    }
    if (scanner.TakePrefix("kuid:")) {
        return strict && !BeginsWithUser(scanner) ? KUID{} : ReadPlain(scanner);
    }
    if (scanner.TakePrefix("kuid2:")) {
        return strict && !BeginsWithUser(scanner) ? KUID{} : ReadVersioned(scanner);
    }
    return strict ? KUID{} : ReadBare(text);
}

std::uint32_t KUID::PackedWord() const { return version << 25 | (Unsigned(userId) & kUserMask); }

KUID KUID::FromPacked(std::uint32_t word, std::int32_t contentId) {
    std::uint32_t user = word & kUserMask;
    if ((user & kUserSign) != 0) user |= kNegativeUsers;
    return {
        .userId = static_cast<std::int32_t>(user), .contentId = contentId, .version = word >> 25};
}

KUID::Pair KUID::ToPair() const {
    Pair pair;
    StoreU32<0>(std::span(pair), PackedWord());
    StoreU32<4>(std::span(pair), Unsigned(contentId));
    return pair;
}

KUID KUID::FromPair(std::span<const std::byte, kPairSize> pair) {
    return FromPacked(LoadU32<0>(pair), static_cast<std::int32_t>(LoadU32<4>(pair)));
}

InternedString KUID::TagForm() const { return IsNull() ? nullTag : Intern(TagText()); }

std::string KUID::TagText() const {
    return IsNull() ? "<NULL>" : Join(*this, "<kuid:", "<kuid2:", ':') + '>';
}

InternedString KUID::EscapedForm() const {
    return Intern(IsNull() ? "&#60;NULL KUID&#62;"
                           : Join(*this, "&#60;kuid:", "&#60;kuid2:", ':') + "&#62;");
}

String KUID::WordForm() const {
    return String(IsNull() ? "NULLKUID" : Join(*this, "kuid ", "kuid2 ", ' ').c_str());
}

String KUID::SeparatedForm(char separator) const {
    return String(IsNull() ? "NULLKUID" : Join(*this, "", "", separator).c_str());
}

KUID KUID::ReadFrom(TStream& stream) {
    std::array<std::byte, 4> content;
    std::array<std::byte, 4> word;
    if (stream.Read(content.data(), 4) != 4 || stream.Read(word.data(), 4) != 4) return {};
    return FromPacked(LoadU32<0>(std::span(std::as_const(word))),
                      static_cast<std::int32_t>(LoadU32<0>(std::span(std::as_const(content)))));
}

bool KUID::WriteTo(TStream& stream) const {
    std::array<std::byte, 8> bytes;
    StoreU32<0>(std::span(bytes), Unsigned(contentId));
    StoreU32<4>(std::span(bytes), PackedWord());
    stream.DiscardReadAhead();
    return stream.Write(bytes.data(), 4) == 4 && stream.Write(bytes.data() + 4, 4) == 4;
}

}  // namespace Vorn
