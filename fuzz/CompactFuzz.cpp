// Arbitrary bytes as directories of compact patches, and as contents coded with their models, are
// accepted or refused. An accepted directory is the same after it is written and read again.
#include <cstdlib>
#include <memory>

#include "patch/compact/ContentCodec.h"
#include "patch/compact/Directory.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace patch::compact;
    const delta::ByteView bytes(data, size);
    try {
        const Directory directory = ParseDirectory(bytes, 1000);
        if (ParseDirectory(FormatDirectory(directory), 1000) != directory) std::abort();
    } catch (const delta::Error&) {
    }
    try {
        const auto models = std::make_unique<ContentModels>();
        delta::RangeDecoder decoder(bytes);
        delta::ByteBuffer content(2000);
        ContentCodec<delta::RangeDecoder>(decoder, *models)
            .Code(bytes.first(size / 2), content, {});
    } catch (const delta::Error&) {
    }
    return 0;
}
