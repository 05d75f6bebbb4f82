#include "tools/va/tag/EditPlace.h"

#include "platform/Directories.h"
#include "tools/va/OutputFile.h"
#include "tools/va/ShownText.h"
#include "tools/va/Side.h"

namespace va::tool {

void CheckEditPlace(Run& run, const Input& input, const std::string& place) {
    const bool isInPlace = place == input.Name();
    const bool exists = platform::Exists(place.c_str());
    if (isInPlace && !exists && MemberStart(place) != std::string::npos) {
        throw Failure{ExitCode::Usage, "'" + Shown(place) +
                                           "' is a member, and archives are only read here; name a "
                                           "file for the result with -o"};
    }
    // A change in place replaces the file, so it would break a link without a warning.
    const bool isLink = platform::GetEntryKind(place.c_str()) == platform::EntryKind::Link;
    if (isInPlace && isLink && !run.Has(kForce)) {
        Refuse("'" + Shown(place) +
               "' is a link; name the file that it leads to, or replace the link with -f");
    }
    // A missing input is reported when it is read, with a better message.
    if (exists || !isInPlace) CheckOutputs({place}, isInPlace || run.Has(kForce));
}

void WriteEdited(Run& run, const Input& input, const Bytes& before, const Bytes& after,
                 const std::string& place) {
    const bool isInPlace = place == input.Name();
    const bool isUnchanged = isInPlace && place != "-" && before == after;
    if (!isUnchanged) WriteOutput(run, place, after, isInPlace || run.Has(kForce));
}

}  // namespace va::tool
