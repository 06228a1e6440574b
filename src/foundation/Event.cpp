#include <TesselU/foundation/Event.h>

#include "platform/Platform.h"

namespace TesselMT {

Event::Event(_SECURITY_ATTRIBUTES* attributes, int manualReset, int initialState,
             const unsigned short* name) noexcept
    : handle(Zan::MakeEvent(attributes, manualReset != 0, initialState != 0, name)) {}

Event::Event(const Event& other) noexcept : handle(Zan::ShareEvent(other.handle)) {}

Event& Event::operator=(const Event& other) noexcept {
    if (handle != other.handle) {
        void* const shared = Zan::ShareEvent(other.handle);
        Zan::CloseEvent(handle);
        handle = shared;
    }
    return *this;
}

Event::~Event() {
    Zan::CloseEvent(handle);
}

void Event::Set() noexcept {
    Zan::SignalEvent(handle);
}

void Event::Reset() noexcept {
    Zan::ResetEvent(handle);
}

void Event::Wait() noexcept {
    Zan::WaitForEvent(handle);
}

}  // namespace TesselMT
