#include "patch/Layout.h"

#include <numeric>
#include "tests/support/Tests.h"

namespace Vorn::Testing {
namespace {

using patch::LaidMember;
using patch::Order;
using patch::Storage;
using patch::StoreAs;
using Numbers = std::vector<std::uint32_t>;

std::string TextOf(const std::vector<patch::Run>& runs) {
    std::string text;
    for (const auto& [first, last] : runs)
        text += std::to_string(first) + "-" + std::to_string(last) + ",";
    return text;
}

// Members that an old archive holds in the reverse order.
std::vector<LaidMember> Reversed(std::uint32_t count) {
    std::vector<LaidMember> members;
    for (std::uint32_t i = 0; i < count; ++i) members.push_back({5000, count - 1 - i, true, true});
    return members;
}

// The members of a result in its order: those that stay, then those that were written anew.
Numbers UpdatedOrder(std::vector<LaidMember>& members, const Numbers& changed) {
    Numbers numbers;
    for (auto i = static_cast<std::uint32_t>(members.size()); i-- > 0;) {
        if (std::ranges::find(changed, i) == changed.end()) numbers.push_back(i);
    }
    for (const std::uint32_t i : changed) {
        members[i].unchanged = false;
        numbers.push_back(i);
    }
    return numbers;
}

TEST(Layout, OrdersOfUsualArchivesNeedNoNumbers) {
    std::vector<LaidMember> members = Reversed(1000);
    Numbers numbers(members.size());
    std::iota(numbers.begin(), numbers.end(), 0);
    EXPECT_EQ(patch::DescribeOrder(numbers, members), (Order{Order::Base::Canonical, {}}));

    std::ranges::reverse(numbers);
    EXPECT_EQ(patch::DescribeOrder(numbers, members), (Order{Order::Base::Old, {}}));

    members[500].oldPlace.reset();
    members[500].unchanged = false;
    EXPECT_EQ(patch::DescribeOrder(UpdatedOrder(members, {7, 20, 500}), members),
              (Order{Order::Base::Updated, {}}));

    // Files that were added in another order cost one number each.
    const Order other = patch::DescribeOrder(UpdatedOrder(members, {20, 500, 7}), members);
    EXPECT_EQ(TextOf(other.runs), "0-996,998-999,997-997,");
    EXPECT_EQ(patch::DescribeOrder({}, {}), Order{});
}

TEST(Layout, EveryOrderIsFoundAgain) {
    std::mt19937 random(1);
    for (int round = 0; round < 200; ++round) {
        std::vector<LaidMember> members = Reversed(static_cast<std::uint32_t>(random() % 20));
        for (LaidMember& member : members) {
            member.unchanged = random() % 4 != 0;
            if (!member.unchanged && random() % 2 == 0) member.oldPlace.reset();
        }
        Numbers numbers(members.size());
        std::iota(numbers.begin(), numbers.end(), 0);
        for (auto swaps = random() % 30; swaps > 0 && !numbers.empty(); --swaps)
            std::swap(numbers[random() % numbers.size()], numbers[random() % numbers.size()]);
        ASSERT_EQ(patch::OrderOf(patch::DescribeOrder(numbers, members), members), numbers);
    }
}

TEST(Layout, StorageIsDescribedByTheNearestRule) {
    struct Row {
        const char* what;
        Storage::Base base;
        std::function<bool(std::size_t)> compressed;
        const char* exceptions;
    };
    // Of 100 members those below 50 are small; every third saves, every fifth is compressed in OLD.
    const auto small = [](std::size_t i) { return i < 50; };
    const auto saves = [](std::size_t i) { return i % 3 == 0; };
    const auto old = [](std::size_t i) { return i % 5 == 0; };
    const Row rows[] = {{"as OLD", Storage::Base::Old, old, ""},
                        {"plain", Storage::Base::Plain, [](auto) { return false; }, ""},
                        {"compressed", Storage::Base::Compressed, [](auto) { return true; }, ""},
                        {"large ones", Storage::Base::Large, [&](auto i) { return !small(i); }, ""},
                        {"where it saves", Storage::Base::Canonical, saves, ""},
                        {"but some", Storage::Base::Large,
                         [&](auto i) { return !small(i) || (i > 5 && i < 9); }, "6-8,"}};
    std::vector<LaidMember> members = Reversed(100);
    for (std::size_t i = 0; i < members.size(); ++i) {
        members[i].bytes = small(i) ? 1024 : 1025;
        members[i].oldCompressed = old(i);
    }
    for (const Row& row : rows) {
        std::vector<bool> compressed;
        for (std::size_t i = 0; i < members.size(); ++i) compressed.push_back(row.compressed(i));
        const Storage storage = patch::DescribeStorage(compressed, members, saves);
        EXPECT_EQ(storage.base, row.base) << row.what;
        EXPECT_EQ(TextOf(storage.exceptions), row.exceptions) << row.what;
    }
}

TEST(Layout, EveryStorageIsFoundAgain) {
    std::mt19937 random(1);
    for (int round = 0; round < 200; ++round) {
        std::vector<LaidMember> members = Reversed(static_cast<std::uint32_t>(random() % 20));
        std::vector<bool> compressed;
        std::vector<bool> saves;
        for (LaidMember& member : members) {
            member.bytes = random() % 4 * 1000;
            member.unchanged = random() % 4 != 0;
            if (random() % 4 == 0) member.oldCompressed.reset();
            compressed.push_back(member.bytes > 0 && random() % 2 == 0);
            saves.push_back(random() % 2 == 0);
        }
        const Storage storage =
            patch::DescribeStorage(compressed, members, [&](std::uint32_t i) { return saves[i]; });
        const std::vector<StoreAs> all = patch::StorageOf(storage, members);
        for (std::size_t i = 0; i < members.size(); ++i) {
            const bool asked =
                all[i] == StoreAs::CompressedIfItSaves || all[i] == StoreAs::PlainIfItSaves;
            const bool stored = asked ? saves[i] == (all[i] == StoreAs::CompressedIfItSaves)
                                      : all[i] == StoreAs::Compressed;
            ASSERT_EQ(stored, compressed[i]) << round << " " << i;
        }
    }
}

}  // namespace
}  // namespace Vorn::Testing
