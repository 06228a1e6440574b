#ifndef TESSELU_FOUNDATION_EVENT_H
#define TESSELU_FOUNDATION_EVENT_H

#include <TesselU/foundation/Types.h>

struct _SECURITY_ATTRIBUTES;

namespace TesselMT {

/// An event that threads wait for: signalled or not. One that resets by itself lets a single waiting thread
/// pass for each signal; one that is reset by hand lets all pass until then.
///
/// Copies and assignments share the event of the other object, which lives as long as one of them.
class TESSELU_API Event {
public:
    /// Where the system has no such attributes, `attributes` is not looked at, and an event with a name is
    /// one of its own like any other. An event that cannot be had leaves a null handle: to signal it does
    /// nothing, and nobody waits for it.
    Event(_SECURITY_ATTRIBUTES* attributes, int manualReset, int initialState,
          const unsigned short* name) noexcept;
    Event(const Event& other) noexcept;
    Event& operator=(const Event& other) noexcept;
    ~Event();

    /// The system's handle. Where events are the library's own it only tells events apart.
    void* GetHandle() const noexcept { return handle; }

    /// Signals the event. Everything that was done before is seen by those whom it lets pass.
    void Set() noexcept;
    /// Takes the signal back.
    void Reset() noexcept;
    /// Returns when the event is signalled, without limit.
    void Wait() noexcept;

private:
    void* handle;
};

}  // namespace TesselMT

#endif  // TESSELU_FOUNDATION_EVENT_H
