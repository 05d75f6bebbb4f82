#include "library/Doubles.h"

#include "library/ArchiveAccess.h"
#include "patch/NameList.h"

namespace va {

void RefuseDoubles(const Archive& side) {
    const archive::Tree& tree = ArchiveAccess::TreeOf(side);
    if (!tree.HasDoubles()) return;
    patch::NameList doubles;
    for (const Member& member : side.Members()) {
        const auto first = tree.Find(member.StoredName());
        if (!first || *first == member.Index()) continue;
        doubles.Add(side.Members()[*first].Name() + " and " + member.Name());
    }
    if (doubles.IsEmpty()) return;
    throw Error(ErrorCode::Refused,
                side.Path().string() +
                    ": several members have one name, letter case ignored; rename or delete all "
                    "but one of each:" +
                    doubles.Text(),
                side.Path());
}

}  // namespace va
