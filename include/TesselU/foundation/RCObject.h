#ifndef TESSELU_FOUNDATION_RCOBJECT_H
#define TESSELU_FOUNDATION_RCOBJECT_H

#include <TesselU/foundation/Types.h>

#include <atomic>

namespace Tuk {

/// Base of objects that are shared by reference count. The count starts at 0; who makes the object takes the
/// first reference, normally by putting it into an `RCPtr`. References may be taken and dropped on any
/// thread. A class of the host's may override all three operations.
class TESSELU_API RCObject {
public:
    /// One more owner.
    virtual void AddReference();
    /// One owner less; the last one deletes the object. Without an owner nothing happens: the count stays 0
    /// and the object as it is, to be owned, or deleted, as ever.
    virtual void RemoveReference();
    /// True when there is more than one owner.
    virtual bool IsShared() const;

protected:
    RCObject() noexcept = default;
    /// A copy is an object of its own: its count starts at 0.
    RCObject(const RCObject&) noexcept {}
    /// Assignment leaves the count of the target alone.
    RCObject& operator=(const RCObject&) noexcept { return *this; }
    virtual ~RCObject() = 0;

private:
    std::atomic<std::int32_t> referenceCount{0};
};

/// Smart pointer to an `RCObject`; may be null.
template <typename T>
class RCPtr {
public:
    RCPtr() noexcept = default;
    RCPtr(T* object) noexcept : pointee(object) { Acquire(); }
    RCPtr(const RCPtr& other) noexcept : pointee(other.pointee) { Acquire(); }
    ~RCPtr() {
        T* const old = pointee;
        pointee = nullptr;
        if (old) {
            old->RemoveReference();
        }
    }

    RCPtr& operator=(T* object) noexcept {
        if (object != pointee) {
            T* const old = pointee;
            pointee = object;
            Acquire();
            if (old) {
                old->RemoveReference();
            }
        }
        return *this;
    }
    RCPtr& operator=(const RCPtr& other) noexcept { return *this = other.pointee; }

    T* get() const noexcept { return pointee; }
    T* operator->() const noexcept { return pointee; }
    T& operator*() const noexcept { return *pointee; }
    explicit operator bool() const noexcept { return pointee != nullptr; }

    friend bool operator==(const RCPtr& a, const RCPtr& b) noexcept { return a.pointee == b.pointee; }
    friend bool operator!=(const RCPtr& a, const RCPtr& b) noexcept { return a.pointee != b.pointee; }

private:
    void Acquire() noexcept {
        if (pointee) {
            pointee->AddReference();
        }
    }

    T* pointee = nullptr;
};

}  // namespace Tuk

#endif  // TESSELU_FOUNDATION_RCOBJECT_H
