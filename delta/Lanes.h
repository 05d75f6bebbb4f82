// Four 32-bit numbers in one vector register.
#pragma once

#include <cstdint>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

// Compilers provide the arithmetic of these vectors on every processor, except for the two products
// of 16-bit halves defined here.
namespace delta {

using Lanes = std::int32_t __attribute__((vector_size(16)));

namespace portable {

// Returns, for each lane, the sum of the product of the low halves and that of the high halves, as
// signed numbers.
inline Lanes SumOfProducts(Lanes a, Lanes b) {
    return ((a << 16) >> 16) * ((b << 16) >> 16) + (a >> 16) * (b >> 16);
}

// Returns, for each lane, the upper half of the product of the low halves, as unsigned numbers. The
// high halves of `b` must be 0.
inline Lanes UpperProduct(Lanes a, Lanes b) {
    using Unsigned = std::uint32_t __attribute__((vector_size(16)));
    return (Lanes)((((Unsigned)a & 0xffffU) * (Unsigned)b) >> 16);
}

}  // namespace portable

#if defined(__SSE2__)

inline Lanes SumOfProducts(Lanes a, Lanes b) {
    return (Lanes)_mm_madd_epi16((__m128i)a, (__m128i)b);
}

inline Lanes UpperProduct(Lanes a, Lanes b) {
    return (Lanes)_mm_mulhi_epu16((__m128i)a, (__m128i)b);
}

#else

using portable::SumOfProducts;
using portable::UpperProduct;

#endif

// Returns all lanes combined with "or".
inline std::int32_t AnyLane(Lanes lanes) {
    lanes |= __builtin_shufflevector(lanes, lanes, 2, 3, 0, 1);
    lanes |= __builtin_shufflevector(lanes, lanes, 1, 0, 3, 2);
    return lanes[0];
}

}  // namespace delta
