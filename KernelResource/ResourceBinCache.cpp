#include "KernelResource/ResourceBinCache.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <string_view>

#include "platform/Clock.h"
#include "services/OptionList.h"

namespace Vorn {
namespace {

// Fixed defaults; times are in seconds.
constexpr double kPassInterval = 0.5;
constexpr double kAge = 10.0;
constexpr double kJitter = 2.0;        // spreads the expiries of what was released together
constexpr double kRelief = 5.0;        // how far ahead a pass looks under memory pressure
constexpr double kPassFraction = 0.1;  // of what is held
constexpr int kMostPerPass = 5;

// Returns the decimal number at the start of a text, or 0 if it is not finite or there is none.
[[nodiscard]] double ReadNumber(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(" \t"), text.size()));
    if (text.starts_with('+')) text.remove_prefix(1);
    double number = 0;
    const auto read = std::from_chars(text.data(), text.data() + text.size(), number);
    return read.ec == std::errc() && std::isfinite(number) ? number : 0;
}

[[nodiscard]] double NumberOption(const OptionList& options, const char* name, double fallback) {
    const Option* option = options.Find(name);
    return option ? ReadNumber(option->value.View()) : fallback;
}

}  // namespace

ResourceBinCache::ResourceBinCache() : randomState_(platform::TickMilliseconds() + 10) {
    Configure(nullptr);
}

ResourceBinCache::~ResourceBinCache() {
    Held held;  // a home's lock is taken outside of the bin's
    {
        const ScopedLock hold(lock_);
        held.swap(held_);
        places_.clear();
    }
    for (const auto& [expiry, resource] : held) {
        bool retired = false;
        {
            const ScopedLock hold(LockOf(*resource));
            retired = Retire(*resource);
            if (!retired) Unshelve(*resource);
        }
        if (retired) Destroy(*resource);
    }
}

void ResourceBinCache::Configure(const OptionList* options) {
    const ScopedLock hold(lock_);
    clock_ = 0;
    lastPass_ = 0;
    passInterval_ = kPassInterval;
    age_ = kAge;
    mostPerPass_ = kMostPerPass;
    if (!options) return;
    passInterval_ = NumberOption(*options, "ResourceBinProcessTime", kPassInterval);
    age_ = NumberOption(*options, "ResourceBinOldest", kAge);
    GetOptionInt(*options, "ResourceBinMaxDeleted", mostPerPass_, kMostPerPass);
    mostPerPass_ = std::max(mostPerPass_, 1);
}

bool ResourceBinCache::Add(Resource& resource) {
    Shelve(resource);
    // A pass may have retired it just before: the bin still held it from before its load. That pass
    // destroys it.
    if (resource.State() == ResourceState::Delete) return false;
    const RefPtr<Resource> holder(&resource);  // the bin's old hold may be the last one
    (void)Reclaim(resource);
    const ScopedLock hold(lock_);
    const double expiry = clock_ + age_ + NextRandom() * kJitter;
    resource.SetExpiry(static_cast<float>(expiry));
    places_[&resource] = held_.emplace(expiry, RefPtr<Resource>(&resource));
    return false;
}

bool ResourceBinCache::Reclaim(Resource& resource) {
    RefPtr<Resource> held;  // declared first, so dropped after the lock
    const ScopedLock hold(lock_);
    const auto place = places_.find(&resource);
    if (place == places_.end()) return false;
    held = std::move(place->second->second);
    held_.erase(place->second);
    places_.erase(place);
    return true;
}

void ResourceBinCache::Process(float elapsedSeconds) {
    ResourceHolds due;
    ResourceHolds spared;  // dropped, like `due`, after the lock
    {
        const ScopedLock hold(lock_);
        clock_ += elapsedSeconds;
        if (!(clock_ - lastPass_ > passInterval_)) return;
        lastPass_ = clock_;
        due = TakeDue(spared);
    }
    for (const RefPtr<Resource>& resource : due) {
        Remove(*resource);
        Destroy(*resource);
    }
}

ResourceHolds ResourceBinCache::TakeDue(ResourceHolds& spared) {
    const int tenth = static_cast<int>(static_cast<double>(held_.size()) * kPassFraction);
    const bool many = tenth > mostPerPass_;
    double lead = many ? static_cast<double>(tenth) / mostPerPass_ : 1.0;  // seconds before expiry
    if (relieve_) lead = std::max(lead, kRelief);
    relieve_ = false;

    ResourceHolds due;
    int left = many ? tenth : mostPerPass_;
    for (auto place = held_.begin(); place != held_.end() && left > 0; --left) {
        if (place->first - lead > clock_) break;
        // Not retired and not spared: an acquired resource stays until it is released.
        Resource& resource = *place->second;
        if (resource.IsInUse()) {
            ++place;
            continue;
        }
        (Retire(resource) ? due : spared).push_back(std::move(place->second));
        places_.erase(&resource);
        place = held_.erase(place);
    }
    return due;
}

void ResourceBinCache::RelieveMemory() {
    const ScopedLock hold(lock_);
    relieve_ = true;
}

std::size_t ResourceBinCache::HeldCount() const {
    const ScopedLock hold(lock_);
    return held_.size();
}

double ResourceBinCache::Clock() const {
    const ScopedLock hold(lock_);
    return clock_;
}

// state = state * 16807 mod (2^32 - 1), by Schrage's method, which needs no wider product.
double ResourceBinCache::NextRandom() {
    constexpr std::uint32_t kQuotient = 255546;
    constexpr std::uint32_t kRemainder = 5673;
    std::int64_t next = std::int64_t{16807} * (randomState_ % kQuotient) -
                        std::int64_t{kRemainder} * (randomState_ / kQuotient);
    if (next <= 0) --next;  // adds 2^32 - 1, in 32 bits
    randomState_ = static_cast<std::uint32_t>(next);
    return randomState_ * 0x1p-32;
}

}  // namespace Vorn
