// Every member that is salvaged from arbitrary bytes lies within them, is complete, and has a
// unique name. No crash, no hang, no memory out of proportion to the file.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <set>
#include <span>
#include <string>
#include <utility>

#include "archive/Names.h"
#include "archive/Salvage.h"

namespace {

void Require(bool holds) {
    if (!holds) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    platform::FileHandle file;
    Require(file.OpenTemporary("/tmp/salvage-fuzz"));
    Require(file.WriteAt(0, std::as_bytes(std::span(data, size))) == size);

    archive::ScannedFile scanned = archive::ScanForSalvage(file);
    Require(scanned.size == size && scanned.unreadable == 0);
    archive::Salvage salvage(std::move(scanned));
    archive::WholenessJudge judge(file, size);
    for (std::size_t i = 0; i < salvage.ToJudge(); ++i) salvage.Judge(i, judge);
    const archive::SalvageResult result = salvage.Resolve();

    std::set<std::string> names;
    for (const archive::SalvagedMember& member : result.saved) {
        Require(names.insert(archive::FoldName(member.name)).second);
        Require(member.place + member.numbers.storedSize <= size);
        std::uint32_t version = member.version;
        archive::Wholeness state{};
        std::string reason;
        judge.Judge(member.numbers, member.place, version, state, reason);
        Require(state == archive::Wholeness::Whole && version == member.version);
    }
    for (const archive::SalvagedMember& member : result.lost) Require(!member.doubt.empty());
    return 0;
}
