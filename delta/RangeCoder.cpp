#include "delta/RangeCoder.h"

namespace delta {

std::size_t RangeEncoder::Finish() {
    // Tries the first 0, 1, 2, ... bytes of `high_` followed by zeros; the first number that is not
    // below the interval lies in it. Trailing zeros are not written: the decoder supplies them.
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
