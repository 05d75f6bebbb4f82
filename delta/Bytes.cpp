#include "delta/Bytes.h"

namespace delta {

void ByteWriter::Number(std::uint64_t value) {
    for (; value >= 0x80; value >>= 7) Byte(static_cast<std::uint8_t>(value | 0x80U));
    Byte(static_cast<std::uint8_t>(value));
}

void ByteWriter::Fixed(std::uint64_t value, int byteCount) {
    for (int i = 0; i < byteCount; ++i) Byte(static_cast<std::uint8_t>(value >> (8 * i)));
}

ByteView ByteReader::Take(std::uint64_t count) {
    if (count > rest_.size()) ThrowDamaged("it ends too early");
    const ByteView taken = rest_.first(static_cast<std::size_t>(count));
    rest_ = rest_.subspan(taken.size());
    return taken;
}

std::uint64_t ByteReader::Number() {
    return DecodeNumber([this] { return Byte(); });
}

std::uint64_t ByteReader::Fixed(int byteCount) {
    std::uint64_t value = 0;
    for (int i = 0; i < byteCount; ++i) value |= std::uint64_t{Byte()} << (8 * i);
    return value;
}

}  // namespace delta
