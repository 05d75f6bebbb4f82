// The work goes in four steps: search the bytes, judge the contents with all threads, look up what
// is lost in the good copy, write. Nothing is written before all of it is known.
#include "vaconverter/repair.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <utility>
#include <vector>

#include "archive/Names.h"
#include "archive/NewArchive.h"
#include "archive/Salvage.h"
#include "archive/Window.h"
#include "library/JudgeResult.h"
#include "library/ResultPlace.h"
#include "library/SideReader.h"
#include "library/Translate.h"
#include "library/Workers.h"
#include "platform/Directories.h"

namespace va {
namespace {

using archive::SalvagedMember;

// A member of the result.
struct Kept {
    SalvagedMember member;
    std::optional<std::size_t> copy{};  // its number in the good copy
    RepairedMember report{};
};

platform::FileHandle OpenDamaged(const std::filesystem::path& path) {
    const std::string name = SystemPath(path);
    platform::FileHandle file;
    if (file.Open(name.c_str(), platform::Access::Read, platform::Creation::OpenExisting,
                  platform::Share::DenyNone)) {
        return file;
    }
    if (!platform::Exists(name.c_str())) {
        throw Error(ErrorCode::NotFound, name + ": there is no such file", path);
    }
    throw Error(ErrorCode::Refused, name + ": it is not a file, or cannot be opened for reading",
                path);
}

// Returns a name that every reader finds, as close to the stored one as possible.
std::string SoundName(const std::string& stored) {
    std::string sound;
    std::string part;
    const auto finish = [&] {
        if (part.empty()) return;
        if (part == "." || part == "..") std::ranges::fill(part, '_');
        sound += (sound.empty() ? "" : "/") + part;
        part.clear();
    };
    for (const char c : stored) {
        constexpr char kSpace = ' ';
        if (c == '/' || c == '\\') {
            finish();
        } else {
            const bool odd = static_cast<unsigned char>(c) < kSpace || c == '\x7F' || c == ':';
            part += odd ? '_' : c;
        }
    }
    finish();
    return sound.empty() ? "_" : sound;
}

class Repairing {
public:
    Repairing(const RepairOptions& options, const ProgressFunction& progress)
        : options_(options), progress_(progress), file_(OpenDamaged(options.archive)) {}

    RepairResult Run() {
        std::vector<std::filesystem::path> inputs = {options_.archive};
        if (!options_.from.empty()) inputs.push_back(options_.from);
        result_.replacesLink = JudgeResultPlace(options_.result, options_.replace, inputs);
        std::optional<Archive> copy;
        if (!options_.from.empty()) copy.emplace(options_.from);

        Find();
        if (copy) FindInCopy(*copy);
        NameSoundly();
        Report();
        if (kept_.empty() && (!lost_.empty() || !result_.headerFound)) {
            throw Error(ErrorCode::Refused,
                        options_.archive.string() + ": there is nothing to save in it" +
                            (copy ? "" : "; '--from' takes members from a good copy"),
                        options_.archive);
        }
        JudgeRoom();
        if (!options_.dryRun) Write(copy);
        return result_;
    }

private:
    void Find() {
        archive::SalvageResult found = Translated(options_.archive, [&] {
            archive::ScannedFile scanned =
                archive::ScanForSalvage(file_, [this](std::uint64_t done, std::uint64_t total) {
                    return !progress_ || progress_({"searching", done, total});
                });
            fileSize_ = scanned.size;
            result_.unreadable = scanned.unreadable;
            archive::Salvage salvage(std::move(scanned));
            JudgeContents(salvage);
            return salvage.Resolve();
        });
        header_ = found.header;
        result_.headerFound = found.header.has_value();
        result_.indexWhole = found.indexed;
        result_.unnamed = found.unnamed;
        result_.older = found.older;
        result_.unlisted = found.unlisted;
        for (SalvagedMember& member : found.saved) kept_.push_back({std::move(member)});
        lost_ = std::move(found.lost);
    }

    void JudgeContents(archive::Salvage& salvage) {
        const auto sizeOf = [&](std::size_t i) { return salvage.SizeToJudge(i); };
        std::uint64_t total = 0;
        for (std::size_t i = 0; i < salvage.ToJudge(); ++i) total += sizeOf(i);
        const std::vector<ItemRun> runs = CutRuns(salvage.ToJudge(), sizeOf);
        std::vector<archive::WholenessJudge> judges;
        for (unsigned i = 0; i < std::max(options_.threads, 1U); ++i) {
            judges.emplace_back(file_, fileSize_);
        }
        WorkProgress work(progress_, "judging", total);
        RunPieces(runs.size(), options_.threads, work, [&](unsigned worker, std::size_t piece) {
            for (std::size_t i = runs[piece].begin; i < runs[piece].end; ++i) {
                salvage.Judge(i, judges[worker]);
                work.Add(sizeOf(i));
            }
        });
    }

    // Moves what the copy has from the lost members to the kept ones.
    void FindInCopy(const Archive& copy) {
        const archive::Tree& tree = ArchiveAccess::TreeOf(copy);
        SideReader reader(copy);
        std::vector<SalvagedMember> stillLost;
        for (SalvagedMember& member : lost_) {
            const auto number = tree.Find(member.name);
            const std::string reason = number ? ReasonAgainst(copy, *number, reader, member)
                                              : "the good copy does not have it";
            if (!reason.empty()) {
                member.doubt += "; " + reason;
                stillLost.push_back(std::move(member));
                continue;
            }
            std::erase_if(kept_, [&](const Kept& older) {
                return archive::SameName(older.member.name, member.name);
            });
            kept_.push_back({std::move(member), number});
        }
        lost_ = std::move(stillLost);
        std::ranges::stable_sort(kept_, {}, [](const Kept& kept) { return kept.member.place; });
    }

    // Why a member of the copy is not the lost one; empty if it is.
    [[nodiscard]] static std::string ReasonAgainst(const Archive& copy, std::size_t number,
                                                   SideReader& reader, const SalvagedMember& lost) {
        const Member& member = copy.Members()[number];
        if (lost.numbers.crc == 0 && lost.numbers.size > 0) {
            return "it has no check sum by which the good copy could be known";
        }
        if (member.Size() != lost.numbers.size) return "the good copy has another version of it";
        archive::Crc32 sum;
        try {
            reader.Begin(member);
            for (auto piece = reader.Next(); !piece.empty(); piece = reader.Next()) {
                sum.Update(piece);
            }
        } catch (const Error&) {
            return "the good copy of it is damaged as well";
        }
        return sum.Value() == lost.numbers.crc ? "" : "the good copy has another version of it";
    }

    // Changes the names that not every reader finds. Those of others stay free.
    void NameSoundly() {
        std::set<std::string> taken;
        const auto isSound = [](const Kept& kept) {
            return archive::NameProblem(kept.member.name) == nullptr;
        };
        for (const Kept& kept : kept_) {
            if (isSound(kept)) taken.insert(archive::FoldName(kept.member.name));
        }
        for (Kept& kept : kept_) {
            if (isSound(kept)) continue;
            constexpr std::size_t kMostOfName = 250;  // leaves room for a number
            const std::string sound = SoundName(kept.member.name).substr(0, kMostOfName);
            std::string name = sound;
            for (int i = 2; !taken.insert(archive::FoldName(name)).second; ++i) {
                name = sound + "-" + std::to_string(i);
            }
            const std::string stored = PublicName(kept.member.name);
            kept.member.doubt =
                "its name was '" + stored + "', which " + archive::NameProblem(kept.member.name);
            kept.member.name = name;
        }
    }

    void Report() {
        using enum RepairedMember::Fate;
        const auto report = [this](const SalvagedMember& member, RepairedMember::Fate fate) {
            if (options_.judged) {
                options_.judged({fate, PublicName(member.name), member.name, member.numbers.size,
                                 fate == Copied ? "" : member.doubt});
            }
        };
        for (const Kept& kept : kept_) {
            const RepairedMember::Fate fate = kept.copy                   ? Copied
                                              : kept.member.doubt.empty() ? Saved
                                                                          : Doubtful;
            ++(fate == Copied ? result_.copied : fate == Saved ? result_.saved : result_.doubtful);
            report(kept.member, fate);
        }
        for (const SalvagedMember& member : lost_) report(member, Lost);
        result_.lost = lost_.size();
    }

    // Only the bytes that are certain before the work.
    void JudgeRoom() const {
        constexpr std::uint64_t kEach = archive::kMemberPrefixSize + archive::kIndexRecordSize;
        std::uint64_t bytes = archive::kArchivePreambleSize + archive::kChunkHeaderSize;
        for (const Kept& kept : kept_) bytes += kEach + kept.member.numbers.storedSize;
        const std::string path = options_.result.string();
        if (bytes > archive::kMaxArchiveSize) {
            throw Error(ErrorCode::DiskFull,
                        path + " would have " + std::to_string(bytes) +
                            " bytes, and an archive has less than 4 GiB; cut the file where its "
                            "archives were joined, and repair each",
                        options_.result);
        }
        JudgeSpace(options_.result, bytes);
    }

    void Write(const std::optional<Archive>& copy) {
        std::uint64_t total = 0;
        for (const Kept& kept : kept_) total += kept.member.numbers.storedSize;
        WorkProgress work(progress_, "writing", total);
        Translated(options_.result, [&] {
            archive::NewArchive result(SystemPath(options_.result),
                                       header_ ? header_->buildVersion : 0,
                                       header_ ? header_->productCode : 0);
            archive::Window window(file_, kCopyWindow);
            std::optional<SideReader> reader;
            if (copy) reader.emplace(*copy);
            for (const Kept& kept : kept_) {
                if (kept.copy) {
                    CopyContent(kept.member, copy->Members()[*kept.copy], *reader,
                                result.Members());
                } else {
                    CopyStored(kept.member, window, result.Members());
                }
                work.Add(kept.member.numbers.storedSize);
            }
            const archive::Reader& written = result.Complete();
            work.Report(true);
            JudgeResult(written, options_.result, options_.threads, progress_);
            result.Publish(options_.replace);
            result_.bytes = written.All().fileSize;
            result_.abandoned.assign(result.Abandoned().begin(), result.Abandoned().end());
        });
    }

    static void CopyContent(const SalvagedMember& as, const Member& member, SideReader& reader,
                            archive::Appender& to) {
        reader.Begin(member);
        to.Begin({.name = as.name,
                  .compress = (as.numbers.attributes & archive::kMemberCompressed) != 0,
                  .size = as.numbers.size});
        for (auto piece = reader.Next(); !piece.empty(); piece = reader.Next()) to.Write(piece);
        to.Finish();
    }

    void CopyStored(const SalvagedMember& member, archive::Window& window, archive::Appender& to) {
        archive::Member numbers = member.numbers;
        std::uint64_t skipped = 0;
        const bool hasShortHeader = member.version == archive::kArchiveVersion101 &&
                                    (numbers.attributes & archive::kMemberCompressed) != 0;
        if (hasShortHeader) {
            skipped = archive::kShortStreamHeaderSize;
            numbers.storedSize += static_cast<std::uint32_t>(archive::kStreamHeaderSize - skipped);
        }
        to.BeginStored({.name = member.name}, numbers);
        if (hasShortHeader) to.Write(archive::EncodeStreamHeader(numbers.size));
        for (std::uint64_t done = skipped; done < member.numbers.storedSize;) {
            const auto piece = Translated(options_.archive, [&] {
                return window.Some(member.place + done, member.numbers.storedSize - done);
            });
            if (piece.empty()) break;  // Finish tells that the file has become shorter
            to.Write(piece);
            done += piece.size();
        }
        to.Finish();
    }

    static constexpr std::size_t kCopyWindow = 1 << 20;

    const RepairOptions& options_;
    const ProgressFunction& progress_;
    const platform::FileHandle file_;
    std::uint64_t fileSize_ = 0;
    std::optional<archive::ArchiveHeader> header_;
    std::vector<Kept> kept_;
    std::vector<SalvagedMember> lost_;
    RepairResult result_;
};

}  // namespace

RepairResult Repair(const RepairOptions& options, const ProgressFunction& progress) {
    return Repairing(options, progress).Run();
}

}  // namespace va
