// Base of reference-counted objects, and the pointer that holds them.
//
// An object is made with a count of 0 and destroys itself when the last reference is released. The
// header is complete in itself: a plug-in library uses it without linking the kernel.
//
// Threads: references may be taken and released on any thread.
#pragma once

#include <atomic>
#include <cstdint>
#include <utility>

namespace Vorn {

class ReferenceCount {
public:
    ReferenceCount() = default;
    ReferenceCount(const ReferenceCount&) = delete;
    ReferenceCount& operator=(const ReferenceCount&) = delete;

    // Virtual, so that the module that made the object deletes it: modules may have heaps apart.
    virtual void Destroy() { delete this; }
    virtual ~ReferenceCount() = default;

    void AddRef() noexcept { references_.fetch_add(1, std::memory_order_relaxed); }
    void Release() {
        if (references_.fetch_sub(1, std::memory_order_acq_rel) == 1) Destroy();
    }

private:
    std::atomic<std::uint32_t> references_ = 0;
};

// Holds one reference to an object that has AddRef and Release, or is null.
template <typename T>
class RefPtr {
public:
    constexpr RefPtr() noexcept = default;
    explicit RefPtr(T* object) noexcept : object_(object) {
        if (object_) object_->AddRef();
    }
    RefPtr(const RefPtr& other) noexcept : RefPtr(other.object_) {}
    RefPtr(RefPtr&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
    RefPtr& operator=(RefPtr other) noexcept {
        std::swap(object_, other.object_);
        return *this;
    }
    ~RefPtr() {
        // NOLINTNEXTLINE(clang-analyzer-cplusplus.NewDelete): a count that holds keeps it alive
        if (object_) object_->Release();
    }

    [[nodiscard]] T* Get() const noexcept { return object_; }
    T* operator->() const noexcept { return object_; }
    T& operator*() const noexcept { return *object_; }
    explicit operator bool() const noexcept { return object_ != nullptr; }
    friend bool operator==(const RefPtr&, const RefPtr&) = default;

private:
    T* object_ = nullptr;
};

template <typename T, typename... Arguments>
[[nodiscard]] RefPtr<T> MakeRef(Arguments&&... arguments) {
    return RefPtr<T>(new T(std::forward<Arguments>(arguments)...));
}

}  // namespace Vorn
