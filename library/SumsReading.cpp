#include <algorithm>
#include <optional>

#include "patch/Sha256.h"
#include "vaconverter/sums.h"

namespace va {
namespace {

// Takes the next line off `text`, without its end: files that went through Windows have CR LF.
std::string_view TakeLine(std::string_view& text) {
    std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(text.size(), line.size() + 1));
    if (line.ends_with('\r')) line.remove_suffix(1);
    return line;
}

std::optional<unsigned char> ByteOf(std::string_view digits) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    if (digits.size() != 2) return std::nullopt;
    const std::size_t high = kDigits.find(digits[0]);
    const std::size_t low = kDigits.find(digits[1]);
    if (high == std::string_view::npos || low == std::string_view::npos) return std::nullopt;
    return static_cast<unsigned char>(high << 4 | low);
}

std::optional<std::string> Unescaped(std::string_view text) {
    std::string name;
    while (!text.empty()) {
        const char c = text.front();
        text.remove_prefix(1);
        if (c != '\\') {
            name += c;
            continue;
        }
        const char kind = text.empty() ? '\0' : text.front();
        text.remove_prefix(std::min<std::size_t>(text.size(), 1));
        if (kind == '\\') {
            name += '\\';
        } else if (kind == 'n') {
            name += '\n';
        } else if (kind == 'r') {
            name += '\r';
        } else if (const auto byte = ByteOf(text.substr(0, 2)); kind == 'x' && byte) {
            name += static_cast<char>(*byte);
            text.remove_prefix(2);
        } else {
            return std::nullopt;
        }
    }
    return name;
}

// Reads the digest, a blank, a blank or '*' (text or binary, which is one on our systems), the
// name.
std::optional<Sum> ReadSum(std::string_view line) {
    constexpr std::size_t kDigits = 64;
    const bool escaped = line.starts_with('\\');
    if (escaped) line.remove_prefix(1);
    if (line.size() < kDigits + 3 || line[kDigits] != ' ' ||
        (line[kDigits + 1] != ' ' && line[kDigits + 1] != '*')) {
        return std::nullopt;
    }
    std::string digits(line.substr(0, kDigits));
    // Some programs print capital digits.
    for (char& c : digits) c = c >= 'A' && c <= 'F' ? static_cast<char>(c - 'A' + 'a') : c;
    const std::optional<Sha256> digest = patch::Sha256FromHex(digits);
    std::string_view text = line.substr(kDigits + 2);
    std::optional<std::string> name = escaped ? Unescaped(text) : std::string(text);
    if (!digest || !name) return std::nullopt;
    // As in the lines for names that `find .` printed.
    while (name->starts_with("./")) name->erase(0, 2);
    if (name->empty()) return std::nullopt;
    return Sum{std::move(*name), *digest};
}

}  // namespace

bool LooksLikeSums(std::string_view text) { return ReadSum(TakeLine(text)).has_value(); }

std::vector<Sum> ParseSums(std::string_view text) {
    std::vector<Sum> sums;
    for (std::size_t number = 1; !text.empty(); ++number) {
        const std::string_view line = TakeLine(text);
        if (line.empty()) continue;
        std::optional<Sum> sum = ReadSum(line);
        if (!sum) {
            throw Error(ErrorCode::Refused,
                        "line " + std::to_string(number) + " is not a line of sha256sum");
        }
        sums.push_back(std::move(*sum));
    }
    return sums;
}

std::vector<SumMismatch> CompareSums(const Archive& archive, std::span<const Sum> sums,
                                     unsigned threads, const ProgressFunction& progress) {
    const std::vector<Sha256> digests = Digests(archive, threads, progress);
    std::vector<bool> listed(digests.size());
    std::vector<SumMismatch> mismatches;
    using Kind = SumMismatch::Kind;
    for (const Sum& sum : sums) {
        const std::optional<Member> member = archive.Find(sum.name);
        if (member) listed[member->Index()] = true;
        if (!member) {
            mismatches.push_back({Kind::Missing, sum.name});
        } else if (digests[member->Index()] != sum.digest) {
            mismatches.push_back({Kind::Differs, sum.name});
        }
    }
    for (const Member& member : archive.Members()) {
        if (!listed[member.Index()]) mismatches.push_back({Kind::Unlisted, member.Name()});
    }
    return mismatches;
}

}  // namespace va
