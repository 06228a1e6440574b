#include <TesselU/foundation/RCObject.h>

namespace Tuk {

RCObject::~RCObject() = default;

void RCObject::AddReference() {
    referenceCount.fetch_add(1, std::memory_order_relaxed);
}

void RCObject::RemoveReference() {
    // The count is taken from the decrement itself, so that of two threads that drop the last two references
    // at the same moment exactly one deletes.
    if (referenceCount.fetch_sub(1, std::memory_order_acq_rel) == 1) {
        delete this;
    }
}

bool RCObject::IsShared() const {
    return referenceCount.load(std::memory_order_acquire) > 1;
}

}  // namespace Tuk
