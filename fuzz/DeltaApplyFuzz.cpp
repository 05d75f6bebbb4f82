// Hostile diffs. The first byte selects a method, the next two the new size. The rest is applied
// twice: as the payload after a valid header, and as a whole diff.
#include <cstddef>
#include <cstdint>

#include "delta/Delta.h"
#include "delta/DiffFormat.h"

namespace {

using delta::ByteBuffer;
using delta::ByteView;

ByteBuffer OldFile() {
    ByteBuffer bytes(3000);
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = static_cast<std::uint8_t>(i * i / 7 + i % 5);
    }
    return bytes;
}

void Apply(ByteView oldFile, ByteView diff) {
    try {
        // Shared by all inputs: a result must not depend on what its workspace did before.
        static delta::Workspace workspace;
        (void)delta::ApplyDelta(std::as_bytes(oldFile), std::as_bytes(diff), workspace);
    } catch (const delta::Error&) {
        return;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const ByteBuffer oldFile = OldFile();
    const ByteView input(data, size);
    if (size < 3) return 0;
    const ByteView payload = input.subspan(3);
    const ByteBuffer newFile(static_cast<std::size_t>(data[1] << 6 | data[2]));
    ByteBuffer diff =
        delta::MakeHead(static_cast<delta::Method>(data[0] % 4), oldFile, newFile, payload);
    diff.insert(diff.end(), payload.begin(), payload.end());
    Apply(oldFile, diff);
    Apply({}, payload);
    return 0;
}
