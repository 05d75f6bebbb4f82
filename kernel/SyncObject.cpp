#include "kernel/SyncObject.h"

#include <algorithm>
#include <utility>

namespace Vorn {

bool SyncObject::Wait(int timeout) { return handle_ && handle_->Wait(timeout); }

bool SyncObject::ReleaseCount(int /*count*/) { return false; }

bool SyncObject::Unlock() { return false; }

Mutex::Mutex(std::shared_ptr<platform::Mutex> mutex) : mutex_(std::move(mutex)) {
    handle_ = mutex_;
}

bool Mutex::ReleaseCount(int /*count*/) { return Unlock(); }

bool Mutex::Unlock() { return mutex_ && mutex_->Release(); }

Semaphore::Semaphore(std::shared_ptr<platform::Semaphore> semaphore)
    : semaphore_(std::move(semaphore)) {
    handle_ = semaphore_;
}

bool Semaphore::ReleaseCount(int count) { return semaphore_ && semaphore_->Release(count); }

bool Semaphore::Unlock() { return ReleaseCount(1); }

WEvent::WEvent(bool manualReset, bool initiallySet, const char* name)
    : event_(platform::MakeEvent(manualReset, initiallySet, name)) {
    handle_ = event_;
}

void WEvent::Set() { event_->Set(); }

void WEvent::Pulse() { event_->Pulse(); }

void WEvent::Reset() { event_->Reset(); }

CriticalSection::CriticalSection(const char* /*name*/)
    : lock_(std::make_unique<platform::RecursiveLock>()) {}

CriticalSection::~CriticalSection() = default;

bool CriticalSection::Wait(int /*timeout*/) {
    lock_->Enter();
    return true;
}

bool CriticalSection::Unlock() {
    lock_->Leave();
    return true;
}

void CriticalSection::Enter() VORN_NO_THREAD_SAFETY_ANALYSIS { lock_->Enter(); }

void CriticalSection::Leave() VORN_NO_THREAD_SAFETY_ANALYSIS { lock_->Leave(); }

void ScopedUnlock::Release() {
    if (locked_) locked_ = !object_.Unlock();
}

WaitSet::WaitSet(const std::array<SyncObject*, kCount>& objects) {
    std::ranges::transform(objects, slots_.begin(), [](SyncObject* object) {
        return Slot{.object = object, .handle = object ? object->GetHandle() : nullptr};
    });
}

bool WaitSet::Wait(std::size_t index, int timeout) {
    Slot& slot = slots_.at(index);
    if (!slot.object || !slot.object->Wait(timeout)) return false;
    slot.locked = true;
    return true;
}

void WaitSet::Release() {
    for (Slot& slot : slots_) {
        if (slot.locked) slot.locked = !slot.object->Unlock();
    }
}

}  // namespace Vorn
