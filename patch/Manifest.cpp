#include "patch/Manifest.h"

#include "patch/ManifestText.h"
#include "platform/CodePage.h"

namespace patch {
namespace {

void AddSide(std::string& text, const char* which, const Side& side) {
    text += std::string(which) + ' ' + std::to_string(side.members) + " members " +
            std::to_string(side.bytes) + " bytes sha256 " + ToHex(side.sha256) + '\n';
}

void AddRuns(std::string& text, const std::vector<Run>& runs) {
    char before = ' ';
    for (const Run& run : runs) {
        text += before + std::to_string(run.first);
        if (run.last != run.first) text += '-' + std::to_string(run.last);
        before = ',';
    }
    text += '\n';
}

void AddNote(std::string& text, std::string_view note) {
    if (note.empty()) return;
    for (;;) {
        const std::size_t end = note.find('\n');
        text += "note " + std::string(note.substr(0, end)) + '\n';
        if (end == std::string_view::npos) return;
        note.remove_prefix(end + 1);
    }
}

// 48 bits a spot are eight digits of base64, so that no padding is needed.
void AddSpots(std::string& text, const Spots& spots) {
    text += "spots ";
    for (std::size_t i = 0; i < Spots::kCount; ++i) {
        for (unsigned shift = 8 * Spots::kSpotBytes; shift > 0;) {
            shift -= 6;
            text += kBase64Digits[spots[i] >> shift & 63];
        }
    }
    text += '\n';
}

std::string Content(std::uint64_t bytes, const Sha256Digest& digest) {
    return std::to_string(bytes) + ' ' + ToHex(digest) + ' ';
}

void AddEntries(std::string& text, const Manifest& manifest) {
    using platform::AnsiToUtf8;
    for (const auto& [name, bytes, sha256] : manifest.added) {
        text += "A " + Content(bytes, sha256) + AnsiToUtf8(name) + '\n';
    }
    for (const Manifest::Changed& entry : manifest.changed) {
        text += "C " + Content(entry.oldBytes, entry.oldSha256) +
                Content(entry.newBytes, entry.newSha256) + AnsiToUtf8(entry.name) + '\n';
    }
    for (const auto& [name, bytes, sha256] : manifest.removed) {
        text += "D " + Content(bytes, sha256) + AnsiToUtf8(name) + '\n';
    }
    for (const std::string& name : manifest.empty) text += "E " + AnsiToUtf8(name) + '\n';
    for (const auto& [name, oldName, bytes, sha256] : manifest.moved) {
        text +=
            "M " + Content(bytes, sha256) + AnsiToUtf8(name) + '\t' + AnsiToUtf8(oldName) + '\n';
    }
}

}  // namespace

ManifestError::ManifestError(std::size_t line, const std::string& reason)
    : std::runtime_error(line == 0 ? reason : "line " + std::to_string(line) + ": " + reason),
      line_(line) {}

std::string FormatManifest(const Manifest& manifest) {
    std::string text = std::string(kManifestMark) + kManifestVersion + '\n';
    AddSide(text, "old", manifest.old);
    AddSide(text, "new", manifest.fresh);
    if (const auto& file = manifest.archive) {
        text += "archive " + std::to_string(file->bytes) + " bytes sha256 " + ToHex(file->sha256) +
                '\n';
    }
    if (const auto& versions = manifest.versions) {
        text += "versions build " + std::to_string(versions->build) + " product " +
                std::to_string(versions->product) + '\n';
    }
    if (!manifest.name.empty()) text += "name " + manifest.name + '\n';
    AddNote(text, manifest.note);
    text += "order ";
    text += kOrderNames[static_cast<std::size_t>(manifest.order.base)];
    AddRuns(text, manifest.order.runs);
    text += "stored ";
    text += kStorageNames[static_cast<std::size_t>(manifest.storage.base)];
    AddRuns(text, manifest.storage.exceptions);
    AddSpots(text, manifest.spots);
    AddEntries(text, manifest);
    text += std::string(kManifestEnd) + ToHex(Sha256Of(text)) + '\n';
    // The reader knows all the rules, so that what it refuses is never written.
    if (ParseManifest(text) != manifest) {
        throw ManifestError(0, "a name or text in it has a form that cannot be read back");
    }
    return text;
}

}  // namespace patch
