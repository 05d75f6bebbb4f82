#include <algorithm>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <vector>

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
    std::unordered_map<std::string_view, std::vector<std::size_t>> spelt;
    for (const Member& member : archive.Members()) {
        spelt[member.Name()].push_back(member.Index());
    }
    std::vector<std::optional<std::size_t>> matches(sums.size());
    const auto match = [&](std::size_t line, const auto& fits) {
        const auto members = spelt.find(sums[line].name);
        if (matches[line] || members == spelt.end()) return;
        const auto found = std::ranges::find_if(members->second, fits);
        if (found == members->second.end()) return;
        matches[line] = *found;
        listed[*found] = true;
    };
    // Of several members of one name, each line gets the one that it was made from: first those
    // that did not change, then what is left of the same spelling, then any.
    for (std::size_t i = 0; i < sums.size(); ++i) {
        match(i, [&](std::size_t number) { return digests[number] == sums[i].digest; });
    }
    for (std::size_t i = 0; i < sums.size(); ++i) {
        match(i, [&](std::size_t number) { return !listed[number]; });
        if (matches[i]) continue;
        const std::optional<Member> member = archive.Find(sums[i].name);
        if (!member) continue;
        matches[i] = member->Index();
        listed[member->Index()] = true;
    }
    std::vector<SumMismatch> mismatches;
    using Kind = SumMismatch::Kind;
    for (std::size_t i = 0; i < sums.size(); ++i) {
        if (!matches[i]) {
            mismatches.push_back({Kind::Missing, sums[i].name});
        } else if (digests[*matches[i]] != sums[i].digest) {
            mismatches.push_back({Kind::Differs, sums[i].name});
        }
    }
    for (const Member& member : archive.Members()) {
        if (!listed[member.Index()]) mismatches.push_back({Kind::Unlisted, member.Name()});
    }
    return mismatches;
}

}  // namespace va
