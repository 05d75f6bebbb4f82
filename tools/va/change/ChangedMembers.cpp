#include "tools/va/change/ChangedMembers.h"

#include <string>
#include <string_view>

#include "tools/va/ShownText.h"

namespace va::tool {
namespace {

std::string_view WordOf(Change::Kind kind) {
    switch (kind) {
        case Change::Kind::Added:
            return "added";
        case Change::Kind::Replaced:
            return "replaced";
        case Change::Kind::Deleted:
            return "deleted";
        default:
            return "renamed";
    }
}

void ReportChange(Run& run, const Change& change) {
    const std::string_view word = WordOf(change.kind);
    if (run.answer.IsJson()) {
        JsonObject object(word);
        object.SetName("name", change.name, change.storedName).Set("size", change.size);
        if (change.kind == Change::Kind::Renamed) object.Set("from", change.from);
        run.answer.Write(object);
    }
    const std::string line = std::string(word) + " " +
                             (change.from.empty() ? "" : Shown(change.from) + " to ") +
                             Shown(change.name);
    if (run.talk.IsVerbose()) {
        run.talk.Detail(line);
    } else if (run.Has(kDryRun) && !run.answer.IsJson()) {
        run.talk.Summary(line);
    }
}

}  // namespace

void ReportResult(Run& run, const std::string& archive, const ChangeResult& result) {
    run.answer.Last()
        .Set("added", result.added)
        .Set("replaced", result.replaced)
        .Set("deleted", result.deleted)
        .Set("renamed", result.renamed)
        .Set("same", result.same)
        .Set("members", result.members)
        .Set("bytes", result.bytes)
        .Set("dead", result.deadBytes);
    std::string done;
    const auto say = [&done](std::uint64_t count, const char* what) {
        if (count > 0) done += (done.empty() ? "" : ", ") + GroupedDigits(count) + " " + what;
    };
    say(result.added, "added");
    say(result.replaced, "replaced");
    say(result.deleted, "deleted");
    say(result.renamed, "renamed");
    say(result.same, "same");
    const bool changes = result.added + result.replaced + result.deleted + result.renamed > 0;
    std::string line = (run.Has(kDryRun) && changes ? "would change " : "") + Shown(archive) +
                       ": " + (done.empty() ? "nothing to do" : done);
    if (!run.Has(kDryRun)) {
        line += "; " + Counted(result.members, "member") + ", " + ShownBytes(result.bytes);
        if (result.deadBytes > 0) {
            line += ", " + ShownBytes(result.deadBytes) + " of them dead; 'va repack' frees those";
        }
    }
    run.talk.Summary(line);
}

std::function<void(const Change&)> ChangeReporter(Run& run) {
    if (!run.answer.IsJson() && !run.talk.IsVerbose() && !run.Has(kDryRun)) return {};
    return [&run](const Change& change) { ReportChange(run, change); };
}

}  // namespace va::tool
