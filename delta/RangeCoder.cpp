#include "delta/RangeCoder.h"

namespace delta {

std::size_t RangeEncoder::Finish() {
    // Tries 0, 1, 2, ... leading bytes of `high_` with zeros after them: the first such number that
    // is not below the interval is in it. Zeros at the end of all are not written.
    std::uint64_t number = 0;
    int kept = 0;
    while (number < low_) {
        ++kept;
        number = high_ & ~(std::numeric_limits<std::uint64_t>::max() >> 1 >> (8 * kept - 1));
    }
    for (int i = 0; i < kept; ++i, number <<= 8) Put(number);
    while (used_ > 0 && used_ <= out_.size() && out_[used_ - 1] == 0) --used_;
    return used_;
}

}  // namespace delta
