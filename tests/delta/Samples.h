#pragma once

#include <string_view>

#include "delta/Delta.h"
#include "delta/DiffFormat.h"

namespace delta::test {

ByteBuffer Join(ByteBuffer first, ByteView second);
ByteBuffer FromText(std::string_view text);
ByteBuffer FromBytes(Bytes bytes);
Bytes AsBytes(ByteView bytes);

// The same pseudo-random bytes for the same seed.
ByteBuffer Noise(std::size_t size, std::uint32_t seed);

// Lines of a configuration, about `size` bytes.
ByteBuffer Config(std::size_t size, std::uint32_t seed);

// MakeDelta's result in a separate workspace.
ByteBuffer DiffOf(ByteView oldFile, ByteView newFile);

// A diff by this method, whichever would be the smallest.
ByteBuffer DiffBy(Method method, ByteView oldFile, ByteView newFile);

// True when the diff makes `newFile` again.
bool Makes(ByteView oldFile, ByteView diff, ByteView newFile);

// True when ApplyDelta throws Error.
bool Refused(ByteView oldFile, ByteView diff);

// A diff with a sound header for `newSize` zeros, and any payload.
ByteBuffer WithPayload(ByteView oldFile, std::size_t newSize, Method method, ByteView payload);

// The same with a header that declares nearly 4 GiB.
ByteBuffer Declaring4GiB(ByteView oldFile, Method method, ByteView payload);

}  // namespace delta::test
