#include "assetdata/ChunkRecords.h"

namespace Vorn {

bool CheckChunkRecords(std::span<const std::byte> body, ChunkFault& fault) {
    OpenChunkSequences open(body);
    do {
        while (open.HasRecord()) {
            const std::uint32_t begin = open.Rest().begin;
            const std::uint32_t left = open.Rest().end - begin;
            const std::byte* at = body.data() + begin;
            const std::uint32_t size = LoadU32<0>(std::span<const std::byte, 4>(at, 4));
            const std::uint32_t typeAt = 5 + std::to_integer<std::uint32_t>(at[4]);
            if (typeAt >= left || size > left - 4) {
                fault = {typeAt >= left ? TagFault::TypePastEnd : TagFault::RecordPastEnd, begin};
                return false;
            }
            open.Pass({begin + typeAt + 1, begin + 4 + size},
                      std::to_integer<std::uint8_t>(at[typeAt]) == kRecordContainer);
        }
    } while (open.Leave());
    return true;
}

}  // namespace Vorn
