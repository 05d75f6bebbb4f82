#include "archive/Names.h"

#include <algorithm>
#include <array>
#include <utility>

#include "kernel/PathBuffer.h"
#include "platform/CodePage.h"

namespace archive {

unsigned char FoldByte(char c) {
    return c == '\\' ? '/' : platform::AnsiToLower(static_cast<unsigned char>(c));
}

void FoldInto(std::string_view name, char* folded) {
    // Every name of an index is folded when it is read: two calls a byte would be felt.
    static const std::array<char, 256> table = [] {
        std::array<char, 256> bytes{};
        for (std::size_t i = 0; i < bytes.size(); ++i) {
            bytes[i] = static_cast<char>(FoldByte(static_cast<char>(i)));
        }
        return bytes;
    }();
    for (const char c : name) *folded++ = table[static_cast<unsigned char>(c)];
}

std::string FoldName(std::string_view name) {
    std::string folded(name.size(), '\0');
    FoldInto(name, folded.data());
    return folded;
}

int CompareNames(std::string_view a, std::string_view b) {
    const std::size_t shared = std::min(a.size(), b.size());
    for (std::size_t i = 0; i < shared; ++i) {
        if (a[i] == b[i]) continue;  // almost always, and cheaper than folding both
        const int difference = FoldByte(a[i]) - FoldByte(b[i]);
        if (difference != 0) return difference;
    }
    return a.size() < b.size() ? -1 : static_cast<int>(a.size() > b.size());
}

// Folds each name once: sorting compares each with some twenty others.
std::vector<std::uint32_t> CanonicalOrder(std::span<const std::string_view> names) {
    std::size_t bytes = 0;
    for (const std::string_view name : names) bytes += name.size();
    std::string folded(bytes, '\0');
    std::size_t start = 0;
    std::vector<std::pair<std::string_view, std::uint32_t>> sorted;
    sorted.reserve(names.size());
    for (std::uint32_t number = 0; number < names.size(); ++number) {
        const std::size_t size = names[number].size();
        FoldInto(names[number], &folded[start]);
        sorted.emplace_back(std::string_view(folded).substr(start, size), number);
        start += size;
    }
    std::ranges::sort(sorted);
    std::vector<std::uint32_t> order;
    order.reserve(names.size());
    for (const auto& [name, number] : sorted) order.push_back(number);
    return order;
}

const char* NameProblem(std::string_view name) {
    if (name.empty()) return "is empty";
    if (name.size() >= Vorn::kMaxPath) return "is longer than 259 bytes";
    // ':' and '\' are parts of names on some systems only; elsewhere they would lead to another
    // drive, stream or folder.
    constexpr char kSpace = ' ';
    for (const char c : name) {
        if (static_cast<unsigned char>(c) < kSpace || c == '\x7F') return "has a control byte";
        if (c == '\\') return "has a '\\'";
        if (c == ':') return "has a ':'";
    }
    for (std::size_t start = 0; start <= name.size();) {
        const std::size_t end = std::min(name.find('/', start), name.size());
        const std::string_view part = name.substr(start, end - start);
        if (part.empty()) return "has an empty component";
        if (part == ".") return "has a '.' component";
        if (part == "..") return "has a '..' component";
        start = end + 1;
    }
    return nullptr;
}

}  // namespace archive
