#include "tools/va/patch/PatchSide.h"

#include <filesystem>

#include "tools/va/ShownText.h"

namespace va::tool {

PatchOperands SortOperands(const Run& run) {
    const std::string& first = run.Operand(0);
    const std::string& second = run.Operand(1);
    if (!IsPatch(second) && IsPatch(first)) return {second, first};
    // A folder is never a patch. A missing first operand is reported first, as everywhere else.
    if (std::filesystem::is_directory(second)) {
        if (!std::filesystem::exists(first)) {
            throw Failure{ExitCode::NotFound, Shown(first) + ": there is no such file"};
        }
        Refuse(Shown(second) + " is a folder, not a patch");
    }
    return {first, second};
}

const char* NameOf(Verdict::Side side) {
    switch (side) {
        case Verdict::Side::Old:
            return "old";
        case Verdict::Side::New:
            return "new";
        case Verdict::Side::Neither:
            return "neither";
        default:
            return "damaged";
    }
}

void WriteSuspects(Run& run, const Verdict& verdict) {
    const char* const what = verdict.side == Verdict::Side::Damaged ? "damaged "
                             : verdict.certain                      ? "changed "
                                                                    : "perhaps changed ";
    for (const std::string& member : verdict.members) {
        run.talk.Detail(what + Shown(member));
        if (!run.answer.IsJson()) continue;
        JsonObject object("suspect");
        object.Set("name", member).Set("certain", verdict.certain);
        if (verdict.side == Verdict::Side::Neither) {
            object.Set("side", verdict.likeNew ? "new" : "old");
        }
        run.answer.Write(object);
    }
}

std::string ShownCounts(const PatchCounts& counts) {
    std::string text = GroupedDigits(counts.same) + " same";
    const auto add = [&text](std::uint64_t count, const char* what) {
        if (count > 0) text += "  " + GroupedDigits(count) + " " + what;
    };
    add(counts.changed, "changed");
    add(counts.added, "added");
    add(counts.moved, "moved");
    add(counts.removed, "removed");
    return text;
}

const char* WordOf(MemberChange::Kind kind) {
    switch (kind) {
        case MemberChange::Kind::Added:
            return "added";
        case MemberChange::Kind::Moved:
            return "moved";
        case MemberChange::Kind::Removed:
            return "removed";
        case MemberChange::Kind::Empty:
            return "empty";
        default:
            return "changed";
    }
}

}  // namespace va::tool
