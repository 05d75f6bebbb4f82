#include "patch/Layout.h"

#include <algorithm>
#include <array>
#include <numeric>
#include <tuple>

namespace patch {
namespace {

// The numbers in the order that a base alone gives.
std::vector<std::uint32_t> BaseOrder(Order::Base base, std::span<const LaidMember> members) {
    std::vector<std::uint32_t> numbers(members.size());
    std::iota(numbers.begin(), numbers.end(), 0);
    if (base == Order::Base::Canonical) return numbers;
    // Members without a place follow the others and keep their canonical order.
    const auto place = [&](std::uint32_t number) {
        const LaidMember& member = members[number];
        const bool follows = member.oldPlace && (base == Order::Base::Old || member.unchanged);
        return std::tuple(!follows, follows ? *member.oldPlace : number);
    };
    std::ranges::sort(numbers, {}, place);
    return numbers;
}

void Append(std::vector<Run>& runs, std::uint32_t number) {
    if (!runs.empty() && runs.back().last + 1 == number) {
        runs.back().last = number;
    } else {
        runs.push_back({number, number});
    }
}

StoreAs BaseStorage(Storage::Base base, const LaidMember& member) {
    if (member.bytes == 0) return StoreAs::Plain;
    const auto known = [](bool compressed) {
        return compressed ? StoreAs::Compressed : StoreAs::Plain;
    };
    switch (base) {
        case Storage::Base::Plain:
            return StoreAs::Plain;
        case Storage::Base::Compressed:
            return StoreAs::Compressed;
        case Storage::Base::Large:
            return known(member.bytes > archive::kLargestPlain);
        case Storage::Base::Old:
            if (member.unchanged && member.oldCompressed) return known(*member.oldCompressed);
            [[fallthrough]];
        default:
            return StoreAs::CompressedIfItSaves;
    }
}

StoreAs TurnedAround(StoreAs as) {
    switch (as) {
        case StoreAs::Plain:
            return StoreAs::Compressed;
        case StoreAs::Compressed:
            return StoreAs::Plain;
        case StoreAs::CompressedIfItSaves:
            return StoreAs::PlainIfItSaves;
        default:
            return StoreAs::CompressedIfItSaves;
    }
}

}  // namespace

std::vector<std::uint32_t> OrderOf(const Order& order, std::span<const LaidMember> members) {
    const std::vector<std::uint32_t> base = BaseOrder(order.base, members);
    if (order.runs.empty()) return base;
    std::vector<std::uint32_t> numbers;
    numbers.reserve(base.size());
    for (const Run& run : order.runs) {
        numbers.insert(numbers.end(), base.begin() + run.first,
                       base.begin() + std::ptrdiff_t{run.last} + 1);
    }
    return numbers;
}

Order DescribeOrder(std::span<const std::uint32_t> numbers, std::span<const LaidMember> members) {
    std::optional<Order> best;
    for (const auto base : {Order::Base::Canonical, Order::Base::Old, Order::Base::Updated}) {
        const std::vector<std::uint32_t> from = BaseOrder(base, members);
        std::vector<std::uint32_t> placeOf(from.size());
        for (std::uint32_t place = 0; place < from.size(); ++place) placeOf[from[place]] = place;
        Order order{base, {}};
        for (const std::uint32_t number : numbers) Append(order.runs, placeOf[number]);
        // One run is the base itself.
        if (order.runs.size() <= 1) return {base, {}};
        if (!best || order.runs.size() < best->runs.size()) best = std::move(order);
    }
    return *best;
}

std::vector<StoreAs> StorageOf(const Storage& storage, std::span<const LaidMember> members) {
    std::vector<StoreAs> result;
    result.reserve(members.size());
    for (const LaidMember& member : members) result.push_back(BaseStorage(storage.base, member));
    for (const Run& run : storage.exceptions) {
        for (std::uint64_t i = run.first; i <= run.last; ++i) {
            if (members[i].bytes > 0) result[i] = TurnedAround(result[i]);
        }
    }
    return result;
}

Storage DescribeStorage(const std::vector<bool>& compressed, std::span<const LaidMember> members,
                        const std::function<bool(std::uint32_t)>& saves) {
    std::vector<std::optional<bool>> answers(members.size());
    std::optional<Storage> best;
    // Canonical comes last: it asks about every member.
    for (const auto base : {Storage::Base::Old, Storage::Base::Plain, Storage::Base::Compressed,
                            Storage::Base::Large, Storage::Base::Canonical}) {
        Storage storage{base, {}};
        for (std::uint32_t i = 0; i < members.size(); ++i) {
            const StoreAs as = BaseStorage(base, members[i]);
            bool expected = as == StoreAs::Compressed;
            if (as == StoreAs::CompressedIfItSaves) {
                if (!answers[i]) answers[i] = saves(i);
                expected = *answers[i];
            }
            if (expected != (compressed[i] && members[i].bytes > 0)) Append(storage.exceptions, i);
        }
        if (!best || storage.exceptions.size() < best->exceptions.size()) best = std::move(storage);
        if (best->exceptions.empty()) break;
    }
    return *best;
}

}  // namespace patch
