#include <algorithm>
#include <array>
#include <type_traits>

#include "archive/Names.h"
#include "patch/Lists.h"
#include "patch/Manifest.h"
#include "patch/ManifestCheck.h"
#include "patch/ManifestLines.h"
#include "patch/ManifestText.h"
#include "platform/CodePage.h"

namespace patch {
namespace {

constexpr std::size_t kMostNameBytes = 259;
constexpr std::size_t kMostFileNameBytes = 255;

// Returns whether it is UTF-8 without control characters other than tabs.
bool IsPlainText(std::string_view text) {
    while (!text.empty()) {
        const auto lead = static_cast<unsigned char>(text.front());
        const std::size_t length = lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
        constexpr std::array<char32_t, 5> kLeast = {0, 0, 0x80, 0x800, 0x10000};
        if (text.size() < length || (lead >= 0x80 && lead < 0xC2) || lead > 0xF4) return false;
        char32_t code = length == 1 ? lead : lead & (0xFFU >> (length + 1));
        for (const char c : text.substr(1, length - 1)) {
            const auto byte = static_cast<unsigned char>(c);
            if ((byte & 0xC0) != 0x80) return false;
            code = code << 6 | (byte & 0x3F);
        }
        const bool control = (code < 0x20 && code != '\t') || (code >= 0x7F && code < 0xA0);
        const bool surrogate = code >= 0xD800 && code < 0xE000;
        if (control || surrogate || code < kLeast[length] || code > 0x10FFFF) return false;
        text.remove_prefix(length);
    }
    return true;
}

// A name that an old archive may have, however odd.
std::string OldName(const ManifestLines& lines, std::string_view text) {
    std::string name = platform::Utf8ToAnsi(text);
    if (name.empty() || name.size() > kMostNameBytes || name.find('\0') != std::string::npos) {
        lines.Fail("a member name is empty or too long");
    }
    if (platform::AnsiToUtf8(name) != text) {
        lines.Fail("a member name is not UTF-8, or cannot be stored in an archive");
    }
    return name;
}

// A name for the new side, where it may become a file.
std::string NewName(const ManifestLines& lines, std::string_view text) {
    std::string name = OldName(lines, text);
    std::string path = name;
    std::ranges::replace(path, '\\', '/');
    if (const char* problem = archive::NameProblem(path)) {
        lines.Fail("the member name '" + std::string(text) + "' " + problem);
    }
    if (IsListName(name) || archive::FoldName(name).starts_with(kOwnFolder)) {
        lines.Fail("the member name '" + std::string(text) + "' is reserved for patches");
    }
    return name;
}

Side ReadSide(ManifestLines& lines, std::string_view which) {
    lines.Expect(which);
    Side side;
    side.members = lines.TakeNumber<std::uint32_t>();
    lines.Expect("members");
    side.bytes = lines.TakeNumber();
    lines.Expect("bytes");
    lines.Expect("sha256");
    side.sha256 = lines.TakeDigest();
    lines.Advance();
    return side;
}

std::vector<Run> ReadRuns(ManifestLines& lines, std::uint64_t members) {
    std::vector<Run> runs;
    std::string_view text = lines.Rest();
    while (!text.empty()) {
        const std::string_view item = text.substr(0, text.find(','));
        if (item.size() + 1 == text.size()) lines.Fail("a number is missing after ','");
        text.remove_prefix(std::min(text.size(), item.size() + 1));
        const std::size_t dash = item.find('-');
        Run run;
        run.first = run.last = lines.NumberOf<std::uint32_t>(item.substr(0, dash));
        if (dash != std::string_view::npos) {
            run.last = lines.NumberOf<std::uint32_t>(item.substr(dash + 1));
            if (run.last <= run.first) lines.Fail("a range of numbers is empty");
        }
        if (run.last >= members) lines.Fail("a number is not one of a member");
        if (!runs.empty() && run.first == std::uint64_t{runs.back().last} + 1) {
            lines.Fail("two ranges of numbers are one");
        }
        runs.push_back(run);
    }
    return runs;
}

template <typename Base, std::size_t count>
Base ReadBase(ManifestLines& lines, const std::array<std::string_view, count>& names) {
    const auto found = std::ranges::find(names, lines.Word());
    if (found == names.end()) lines.Fail("it says none of the words that are known");
    return static_cast<Base>(found - names.begin());
}

Order ReadOrder(ManifestLines& lines, std::uint64_t members) {
    lines.Expect("order");
    Order order{ReadBase<Order::Base>(lines, kOrderNames), {}};
    order.runs = ReadRuns(lines, members);
    // Sorted, the runs of a permutation follow each other without gap and overlap.
    std::vector<Run> sorted = order.runs;
    std::ranges::sort(sorted, {}, &Run::first);
    std::uint64_t next = 0;
    for (const Run& run : sorted) {
        if (run.first != next) lines.Fail("the order does not name each member once");
        next = std::uint64_t{run.last} + 1;
    }
    if (!sorted.empty() && next != members) lines.Fail("the order does not name each member once");
    if (sorted.size() == 1) lines.Fail("the order is the base order itself");
    lines.Advance();
    return order;
}

Storage ReadStorage(ManifestLines& lines, std::uint64_t members) {
    lines.Expect("stored");
    Storage storage{ReadBase<Storage::Base>(lines, kStorageNames), {}};
    storage.exceptions = ReadRuns(lines, members);
    for (std::size_t i = 1; i < storage.exceptions.size(); ++i) {
        if (storage.exceptions[i].first <= storage.exceptions[i - 1].last) {
            lines.Fail("the numbers are not ascending");
        }
    }
    lines.Advance();
    return storage;
}

Spots ReadSpots(ManifestLines& lines) {
    constexpr std::size_t kDigits = Spots::kSpotBytes * 8 / 6;
    lines.Expect("spots");
    const std::string_view text = lines.Rest();
    if (text.size() != Spots::kCount * kDigits) lines.Fail("the spots do not have their length");
    Spots spots;
    for (std::size_t i = 0; i < Spots::kCount; ++i) {
        std::uint64_t value = 0;
        for (const char c : text.substr(i * kDigits, kDigits)) {
            const std::size_t digit = kBase64Digits.find(c);
            if (digit == std::string_view::npos) lines.Fail("the spots are not base64");
            value = value << 6 | digit;
        }
        spots.Set(i, value);
    }
    lines.Advance();
    return spots;
}

void ReadHead(ManifestLines& lines, Manifest& manifest) {
    lines.Advance();
    manifest.old = ReadSide(lines, "old");
    manifest.fresh = ReadSide(lines, "new");
    if (lines.Take("archive")) {
        Manifest::File file;
        file.bytes = lines.TakeNumber();
        lines.Expect("bytes");
        lines.Expect("sha256");
        file.sha256 = lines.TakeDigest();
        lines.Advance();
        manifest.archive = file;
    }
    if (lines.Take("versions")) {
        Manifest::Versions versions;
        lines.Expect("build");
        versions.build = lines.TakeNumber<std::uint32_t>();
        lines.Expect("product");
        versions.product = lines.TakeNumber<std::uint32_t>();
        lines.Advance();
        manifest.versions = versions;
    }
}

void ReadName(ManifestLines& lines, Manifest& manifest) {
    if (!lines.Take("name")) return;
    manifest.name = lines.Rest();
    const std::string& name = manifest.name;
    if (name.empty() || name == "." || name == ".." || name.size() > kMostFileNameBytes ||
        name.find_first_of("/\\:\t") != std::string::npos || !IsPlainText(name)) {
        lines.Fail("it is not a plain file name");
    }
    lines.Advance();
}

void ReadNote(ManifestLines& lines, Manifest& manifest) {
    for (bool first = true; lines.Take("note"); first = false) {
        const std::string_view line = lines.Rest();
        if (!IsPlainText(line)) lines.Fail("the note is not plain text in UTF-8");
        if (!first) manifest.note += '\n';
        manifest.note += line;
        if (manifest.note.size() > kMostNoteBytes) lines.Fail("the note is too long");
        lines.Advance();
        if (manifest.note.empty() && !lines.Line().starts_with("note ")) {
            lines.Fail("the note before this line is empty");
        }
    }
}

// Reads the entries of one kind into `list`, which `read` fills; their names ascend.
template <typename Entry, typename Read>
void ReadEntries(ManifestLines& lines, std::string_view kind, std::vector<Entry>& list, Read read) {
    const auto nameOf = [](const Entry& entry) -> const std::string& {
        if constexpr (std::is_same_v<Entry, std::string>) {
            return entry;
        } else {
            return entry.name;
        }
    };
    while (lines.Take(kind)) {
        Entry entry = read();
        if (!list.empty() && archive::CompareNames(nameOf(list.back()), nameOf(entry)) >= 0) {
            lines.Fail("the members are not sorted, or one is named twice");
        }
        list.push_back(std::move(entry));
        lines.Advance();
    }
}

std::uint64_t TakeContentSize(ManifestLines& lines) {
    const auto bytes = lines.TakeNumber();
    if (bytes == 0) lines.Fail("a member without content belongs to the lines of 'E'");
    return bytes;
}

void ReadAllEntries(ManifestLines& lines, Manifest& manifest) {
    ReadEntries(lines, "A", manifest.added, [&lines] {
        Manifest::Content entry;
        entry.bytes = TakeContentSize(lines);
        entry.sha256 = lines.TakeDigest();
        entry.name = NewName(lines, lines.Rest());
        return entry;
    });
    ReadEntries(lines, "C", manifest.changed, [&lines] {
        Manifest::Changed entry;
        entry.oldBytes = lines.TakeNumber();
        entry.oldSha256 = lines.TakeDigest();
        entry.newBytes = lines.TakeNumber();
        entry.newSha256 = lines.TakeDigest();
        entry.name = NewName(lines, lines.Rest());
        return entry;
    });
    ReadEntries(lines, "D", manifest.removed, [&lines] {
        Manifest::Content entry;
        entry.bytes = lines.TakeNumber();
        entry.sha256 = lines.TakeDigest();
        entry.name = OldName(lines, lines.Rest());
        return entry;
    });
    ReadEntries(lines, "E", manifest.empty, [&lines] { return NewName(lines, lines.Rest()); });
    ReadEntries(lines, "M", manifest.moved, [&lines] {
        Manifest::Moved entry;
        entry.bytes = TakeContentSize(lines);
        entry.sha256 = lines.TakeDigest();
        // A new name has no control characters, so the first tab ends it.
        const std::string_view names = lines.Rest();
        const std::size_t tab = names.find('\t');
        if (tab == std::string_view::npos) lines.Fail("the old name is missing");
        entry.name = NewName(lines, names.substr(0, tab));
        entry.oldName = OldName(lines, names.substr(tab + 1));
        return entry;
    });
}

// Returns the lines that the digest at the end covers.
std::string_view TextUnderDigest(std::string_view text) {
    const std::size_t length = kManifestEnd.size() + 2 * std::tuple_size_v<Sha256Digest> + 1;
    const bool ended = text.size() > length && text.ends_with('\n') &&
                       text[text.size() - length - 1] == '\n' &&
                       text.substr(text.size() - length).starts_with(kManifestEnd);
    if (!ended) throw ManifestError(0, "it has no end: it was cut off, or is damaged");
    const std::string_view body = text.substr(0, text.size() - length);
    const std::string_view digest = text.substr(body.size() + kManifestEnd.size());
    if (digest.substr(0, digest.size() - 1) != ToHex(Sha256Of(body))) {
        throw ManifestError(0, "it does not have the digest that it ends with: it is damaged");
    }
    return body;
}

// Reads all lines before those of the members.
Manifest ReadFacts(ManifestLines& lines) {
    if (!(lines.Line().starts_with(kManifestMark))) lines.Fail("this is not a manifest");
    const std::string_view version = lines.Line().substr(kManifestMark.size());
    if (version != std::string_view(&kManifestVersion, 1)) {
        lines.Fail("version '" + std::string(version) +
                   "' of the manifest is unknown; a later version of this program reads it");
    }
    (void)lines.Rest();
    Manifest manifest;
    ReadHead(lines, manifest);
    ReadName(lines, manifest);
    ReadNote(lines, manifest);
    manifest.order = ReadOrder(lines, manifest.fresh.members);
    manifest.storage = ReadStorage(lines, manifest.fresh.members);
    manifest.spots = ReadSpots(lines);
    return manifest;
}

}  // namespace

Manifest ParseManifest(std::string_view text) {
    if (text.size() > kMostManifestBytes) throw ManifestError(0, "it is longer than 256 MB");
    // The digest comes first, so that damage is never reported as something else.
    ManifestLines lines(TextUnderDigest(text));
    Manifest manifest = ReadFacts(lines);
    ReadAllEntries(lines, manifest);
    if (!lines.AtEnd()) lines.Fail("this is not a line of a manifest, or not at its place");
    CheckLists(lines, manifest);
    return manifest;
}

Manifest ParseManifestHead(std::string_view head) {
    ManifestLines lines(head);
    Manifest manifest = ReadFacts(lines);
    if (!lines.AtEnd()) lines.Fail("this is not a line of a manifest, or not at its place");
    return manifest;
}

}  // namespace patch
