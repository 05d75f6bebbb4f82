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

void Tell(Run& run, const Change& change) {
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

std::function<void(const Change&)> TellingChanges(Run& run) {
    if (!run.answer.IsJson() && !run.talk.IsVerbose() && !run.Has(kDryRun)) return {};
    return [&run](const Change& change) { Tell(run, change); };
}

}  // namespace va::tool
