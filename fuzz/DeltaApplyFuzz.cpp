// Hostile diffs. The first byte picks a method, the next two the new size; the rest is the payload
// behind a sound header, and then once more a whole diff of its own.
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
        // One for all inputs: a diff must not depend on what its workspace was used for before.
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
