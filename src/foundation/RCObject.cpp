#include <TesselU/foundation/RCObject.h>

namespace Tuk {

RCObject::~RCObject() = default;

void RCObject::AddReference() {
    referenceCount.fetch_add(1, std::memory_order_relaxed);
}

void RCObject::RemoveReference() {
    // The count is taken from the decrement itself, so that of two threads that drop the last two references
    // at the same moment exactly one deletes. It never goes below 0, from where the first of two later owners
    // would delete the object of both.
    std::int32_t count = referenceCount.load(std::memory_order_relaxed);
    while (count > 0) {
        if (referenceCount.compare_exchange_weak(count, count - 1, std::memory_order_acq_rel,
                                                 std::memory_order_relaxed)) {
            if (count == 1) {
                delete this;
            }
            return;
        }
    }
}

bool RCObject::IsShared() const {
    return referenceCount.load(std::memory_order_acquire) > 1;
}

}  // namespace Tuk
