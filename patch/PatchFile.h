// A patch that was judged whole: its members, its three lists, its manifest if it has one.
//
// Does not change after it was opened; any number of threads use it at once.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "archive/Reader.h"
#include "archive/Tree.h"
#include "patch/Digest.h"
#include "patch/Lists.h"
#include "patch/Manifest.h"
#include "patch/Meter.h"

namespace patch {

// What becomes of one member. Names are stored names, '/' between components.
struct Change {
    enum class Kind {
        Changed,  // the patch holds its diff
        Added,    // the patch holds its content, unless it has none
        Removed,
    };
    Kind kind;
    std::string name;
    std::optional<Digest> oldDigest{};  // nullopt is that of no content
    std::optional<Digest> newDigest{};
    std::uint64_t oldBytes = 0;  // of content; both are known only with a manifest
    std::uint64_t newBytes = 0;
    std::optional<std::size_t> held{};  // the patch's member
    std::string movedFrom{};            // added with the content of this old member
};

class PatchFile {
public:
    // Opens the patch and judges every byte of it. Throws Error (Refused, NotFound), Cancelled.
    PatchFile(std::string path, unsigned threads, const ProgressFunction& progress);
    // Takes over a patch that is open. `path` is for messages.
    PatchFile(std::string path, std::unique_ptr<archive::Reader> patch, unsigned threads,
              const ProgressFunction& progress);

    // Returns whether an archive has a list or a manifest, so that a patch was meant. Judges
    // nothing.
    [[nodiscard]] static bool IsMeant(const archive::Reader& reader);

    [[nodiscard]] const std::string& Path() const { return path_; }
    [[nodiscard]] const archive::Tree& Members() const { return *tree_; }
    [[nodiscard]] const archive::Reader& Reader() const { return *reader_; }
    [[nodiscard]] const std::optional<Manifest>& GetManifest() const { return manifest_; }

    // Returns how its digests were made.
    [[nodiscard]] DigestKind Digests() const {
        return manifest_ ? DigestKind::Sha256 : DigestKind::Md5;
    }
    // Returns the added members first, then changed, then removed ones; each in the order of the
    // names.
    [[nodiscard]] const std::vector<Change>& Changes() const { return changes_; }
    // Returns the change of a member of the old side, or of the new side; null for one that stays.
    [[nodiscard]] const Change* OfOld(std::string_view name) const;
    [[nodiscard]] const Change* OfNew(std::string_view name) const;

private:
    [[noreturn]] void FailDamaged(const std::string& reason, std::string_view member = {}) const;
    void JudgeStructure(unsigned threads, const ProgressFunction& progress) const;
    [[nodiscard]] std::string ReadText(const char* member, std::uint64_t most) const;
    void TakeLists();
    void TakeManifest();
    void CompareWithList(const List& list, Change::Kind kind, std::size_t unlisted) const;
    void Add(Change change);
    void JudgeAdded(unsigned threads, const ProgressFunction& progress) const;

    const std::string path_;
    const archive::Reader* reader_;
    std::unique_ptr<archive::Tree> tree_;
    std::optional<Manifest> manifest_;
    std::vector<Change> changes_;
    std::unordered_map<std::string, std::size_t> ofOld_;  // by folded name
    std::unordered_map<std::string, std::size_t> ofNew_;
};

}  // namespace patch
