#pragma once

#include <string_view>

#include "delta/Delta.h"
#include "delta/DiffFormat.h"

namespace delta::test {

ByteBuffer Join(ByteBuffer first, ByteView second);
ByteBuffer FromText(std::string_view text);
ByteBuffer FromBytes(Bytes bytes);
Bytes AsBytes(ByteView bytes);

// Returns pseudo-random bytes, the same for the same seed.
ByteBuffer Noise(std::size_t size, std::uint32_t seed);

// Returns lines of a configuration, about `size` bytes.
ByteBuffer Config(std::size_t size, std::uint32_t seed);

// Returns MakeDelta's result in a separate workspace.
ByteBuffer DiffOf(ByteView oldFile, ByteView newFile);

// Returns a diff by this method, even if another one would be smaller.
ByteBuffer DiffBy(Method method, ByteView oldFile, ByteView newFile);

// Returns whether the diff makes `newFile` again.
bool Makes(ByteView oldFile, ByteView diff, ByteView newFile);

// Returns whether ApplyDelta throws Error.
bool Refused(ByteView oldFile, ByteView diff);

// Returns a diff with a sound header for `newSize` zeros, and any payload.
ByteBuffer WithPayload(ByteView oldFile, std::size_t newSize, Method method, ByteView payload);

// Does the same with a header that declares nearly 4 GiB.
ByteBuffer Declaring4GiB(ByteView oldFile, Method method, ByteView payload);

}  // namespace delta::test
