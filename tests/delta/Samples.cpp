#include "tests/delta/Samples.h"

#include <algorithm>
#include <random>
#include <string>

#include "delta/Streams.h"
#include "delta/Workspace.h"

namespace delta::test {

ByteBuffer Join(ByteBuffer first, ByteView second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

Bytes AsBytes(ByteView bytes) { return std::as_bytes(bytes); }

ByteBuffer FromBytes(Bytes bytes) {
    const auto* first = reinterpret_cast<const std::uint8_t*>(bytes.data());
    return {first, first + bytes.size()};
}

ByteBuffer FromText(std::string_view text) { return {text.begin(), text.end()}; }

ByteBuffer Noise(std::size_t size, std::uint32_t seed) {
    std::mt19937 random(seed);
    ByteBuffer bytes(size);
    std::ranges::generate(bytes, [&] { return static_cast<std::uint8_t>(random() >> 11); });
    return bytes;
}

ByteBuffer Config(std::size_t size, std::uint32_t seed) {
    std::mt19937 random(seed);
    std::string text;
    while (text.size() < size) {
        text += "  entry-" + std::to_string(random() % 50) + "   \"" + std::to_string(random()) +
                ".texture\"\n";
    }
    return FromText(text);
}

ByteBuffer DiffOf(ByteView oldFile, ByteView newFile) {
    Workspace workspace;
    return FromBytes(MakeDelta(AsBytes(oldFile), AsBytes(newFile), workspace));
}

ByteBuffer DiffBy(Method method, ByteView oldFile, ByteView newFile) {
    ByteBuffer payload(newFile.size() + 1000);
    Workspace::Parts parts;
    parts.index.Build(oldFile, OldIndex::ShapeFor(oldFile.size(), kNoLimit).value());
    FindSegments(oldFile, newFile, parts.index, parts.segments);
    RangeEncoder encoder(payload);
    SegmentCodec<RangeEncoder> codec(encoder, parts.models, oldFile, newFile);
    switch (method) {
        case Method::Stored:
            payload.assign(newFile.begin(), newFile.end());
            break;
        case Method::Modelled:
            for (const Segment& segment : parts.segments) codec.Code(segment);
            payload.resize(encoder.Finish());
            break;
        case Method::Streams:
            payload.resize(
                WriteStreams(SegmentStreams(oldFile, newFile, parts.segments), payload).value());
            break;
        case Method::ZstdAfter:
            payload.resize(parts.zstd.Pack(newFile, oldFile, 3, payload).value());
            break;
    }
    return Join(MakeHead(method, oldFile, newFile, payload), payload);
}

bool Makes(ByteView oldFile, ByteView diff, ByteView newFile) {
    Workspace workspace;
    return std::ranges::equal(ApplyDelta(AsBytes(oldFile), AsBytes(diff), workspace),
                              AsBytes(newFile));
}

bool Refused(ByteView oldFile, ByteView diff) {
    try {
        (void)Makes(oldFile, diff, {});
        return false;
    } catch (const Error&) {
        return true;
    }
}

ByteBuffer WithPayload(ByteView oldFile, std::size_t newSize, Method method, ByteView payload) {
    const ByteBuffer zeros(newSize);
    return Join(MakeHead(method, oldFile, zeros, payload), payload);
}

ByteBuffer Declaring4GiB(ByteView oldFile, Method method, ByteView payload) {
    ByteBuffer diff = WithPayload(oldFile, 0, method, payload);
    // The size, one byte here, follows the magic and the old size.
    const ByteBuffer size{0xee, 0xff, 0xff, 0xff, 0x1f};
    diff.erase(diff.begin() + 3);
    diff.insert(diff.begin() + 3, size.begin(), size.end());
    return diff;
}

}  // namespace delta::test
