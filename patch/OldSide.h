// The archive or folder that a patch is applied to, and which side of the patch it is.
//
// Does not change after it was opened; any number of threads use it at once.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "archive/Reader.h"
#include "archive/Tree.h"
#include "patch/Digest.h"
#include "patch/PatchFile.h"

namespace patch {

// What was read of a member: its digest if one was asked for, or why it cannot be read.
struct Content {
    std::optional<Digest> digest{};
    std::string failure{};
};

struct Verdict {
    enum class Kind {
        Old,      // what the patch was made from
        New,      // what the patch gives
        Neither,  // an altered copy of a side, or something else altogether
        Damaged,
    };
    Kind kind = Kind::Old;
    // Neither: this resembles the new side more than the old one.
    bool likeNew = false;
    // Stored names: the damaged members, or those that differ from the side that this resembles.
    std::vector<std::string> members{};
    // True if each of `members` differs; else one or more of them do.
    bool certain = true;
    // Neither: so much differs that this is no copy of either side.
    bool another = false;
    // Damaged: what was found first.
    std::string reason{};
};

class OldSide {
public:
    // Throws Error (NotFound, Refused).
    explicit OldSide(std::string path);

    [[nodiscard]] const std::string& Path() const { return path_; }
    [[nodiscard]] const archive::Tree& Members() const { return *tree_; }
    // Returns null for a folder.
    [[nodiscard]] const archive::Reader* Reader() const { return reader_; }

    // Returns the numbers of the members that can be reached by name, in stored order.
    [[nodiscard]] const std::vector<std::size_t>& Reachable() const { return reachable_; }

    // Reads every member and compares what the patch says about this side. Throws Error for a
    // folder that cannot be read; Cancelled.
    [[nodiscard]] Verdict Judge(const PatchFile& patch, unsigned threads,
                                const ProgressFunction& progress) const;

    // Judges by the members that the patch lists alone: Old says nothing about the others, nor
    // about what lies between them. For a result whose digest proves the rest.
    [[nodiscard]] Verdict JudgeListed(const PatchFile& patch, unsigned threads,
                                      const ProgressFunction& progress) const;

    // Judges index and entries alone: Old or Damaged.
    [[nodiscard]] Verdict JudgeStructure() const;

private:
    enum class Sums { Compared, Ignored };

    // Whether all of its members are known, and lie in the file.
    [[nodiscard]] bool HoldsItsMembers() const;
    [[nodiscard]] std::unique_ptr<archive::TreeReader> NewReader(Sums sums) const;
    // Reads members, and digests those that `patch` says something about. By member number.
    [[nodiscard]] std::vector<Content> Read(const std::vector<std::size_t>& members, Sums sums,
                                            const PatchFile& patch, unsigned threads,
                                            const ProgressFunction& progress) const;
    [[nodiscard]] Verdict FindDamage(const std::vector<Content>& contents) const;

    const std::string path_;
    const archive::Reader* reader_ = nullptr;
    std::unique_ptr<archive::Tree> tree_;
    std::vector<std::size_t> reachable_;
};

}  // namespace patch
