// Patches with arbitrary members, lists and manifests are applied or refused. A result is a valid
// archive that holds the members that the patch adds, and none that it removes.
//
// An input holds the members of a patch, separated by zero bytes: the first line of each is its
// name, the rest its content. The manifest's digest is corrected, so the checks after it are
// reached.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <string>
#include <string_view>

#include "archive/Check.h"
#include "archive/NewArchive.h"
#include "patch/Applier.h"
#include "patch/Error.h"
#include "platform/Directories.h"

namespace {

void Require(bool holds) {
    if (!holds) std::abort();
}

struct WorkFolder {
    ~WorkFolder() { (void)platform::RemoveTree(path.c_str()); }
    const std::string path = platform::MakePrivateDirectory("/tmp/apply-fuzz-");
};

std::string PathOf(const char* name) {
    static const WorkFolder folder;
    return folder.path + "/" + name;
}

void Add(archive::NewArchive& made, std::string_view name, std::string_view content) {
    made.Members().Add({.name = name, .compress = content.size() > 64},
                       std::as_bytes(std::span(content)));
}

// Returns the old side, the same for every input.
const patch::OldSide& OldArchive() {
    static const patch::OldSide old = [] {
        std::string text;
        for (int line = 0; line < 40; ++line) text += "line " + std::to_string(line) + "\n";
        archive::NewArchive made(PathOf("old.va"), 1, 2);
        Add(made, "a.txt", text);
        Add(made, "b/c.txt", "content");
        Add(made, "gone", "old");
        Add(made, "empty", "");
        (void)made.Complete();
        made.Publish(true);
        return patch::OldSide(PathOf("old.va"));
    }();
    return old;
}

void WritePatch(std::string_view input) {
    archive::NewArchive made(PathOf("patch.va"), 0, 0);
    while (!input.empty()) {
        const std::string_view piece = input.substr(0, input.find('\0'));
        input.remove_prefix(std::min(input.size(), piece.size() + 1));
        const std::string_view name = piece.substr(0, piece.find('\n'));
        std::string content(piece.substr(std::min(piece.size(), name.size() + 1)));
        if (name == patch::kManifestName) {
            content += "end " + patch::ToHex(patch::Sha256Of(content)) + "\n";
        }
        Add(made, name, content);
    }
    (void)made.Complete();
    made.Publish(true);
}

void CheckResult(const patch::PatchFile& patchFile, const patch::Built& built) {
    const archive::Reader result(PathOf("result.va"));
    Require(archive::Check(result).Whole());
    Require(result.Count() == built.members);
    for (const patch::Change& change : patchFile.Changes()) {
        const bool isThere = result.Find(change.name).has_value();
        Require(isThere == (patchFile.OfNew(change.name) != nullptr));
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::size_t kMostInput = 1 << 16;
    if (size > kMostInput) return 0;
    const patch::OldSide& old = OldArchive();
    try {
        WritePatch({reinterpret_cast<const char*>(data), size});
    } catch (const archive::Error&) {
        return 0;  // the input has a name that no archive can hold
    }
    try {
        const patch::PatchFile patchFile(PathOf("patch.va"), 1, {});
        const patch::Verdict verdict = old.Judge(patchFile, 1, {});
        Require(verdict.kind != patch::Verdict::Kind::Damaged);
        // Try to apply even if the old side does not match, as --trust does.
        const patch::Built built = patch::BuildResult(
            old, patchFile, {.result = PathOf("result.va"), .replace = true}, {});
        CheckResult(patchFile, built);
    } catch (const patch::Error& error) {
        Require(error.what()[0] != '\0');
    }
    return 0;
}
