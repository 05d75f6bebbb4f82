// Hostile diffs. The first byte picks a method, the next two the new size; the rest is the payload
// behind a sound header, and then once more a whole diff of its own.
#include <cstddef>
#include <cstdint>

#include "delta/Apply.h"
#include "delta/DiffFormat.h"

namespace {

using vdiff::ByteBuffer;
using vdiff::ByteView;

ByteBuffer OldFile() {
    ByteBuffer bytes(3000);
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = static_cast<std::uint8_t>(i * i / 7 + i % 5);
    }
    return bytes;
}

void Apply(ByteView oldFile, ByteView diff) {
    try {
        static_cast<void>(vdiff::ApplyDiff(oldFile, diff));
    } catch (const vdiff::PatchError&) {
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
        vdiff::MakeHead(static_cast<vdiff::Method>(data[0] % 4), oldFile, newFile, payload);
    diff.insert(diff.end(), payload.begin(), payload.end());
    Apply(oldFile, diff);
    Apply({}, payload);
    return 0;
}
