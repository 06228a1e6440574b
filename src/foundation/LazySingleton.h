#ifndef TESSELU_SRC_FOUNDATION_LAZYSINGLETON_H
#define TESSELU_SRC_FOUNDATION_LAZYSINGLETON_H

#include <TesselU/foundation/Types.h>

#include <atomic>

namespace Zan {

/// An object that is built at its first use and never destroyed, without a lock: a thread that arrives while
/// another one is building gets null instead of waiting. A `build` that throws or gives null leaves
/// everything as before, so that a later call tries again.
template <typename T>
class LazySingleton {
public:
    template <typename Build>
    T* Get(Build&& build) {
        if (T* const ready = instance.load(std::memory_order_acquire)) {
            return ready;
        }
        if (constructions.fetch_add(1, std::memory_order_acq_rel) != 0) {
            return instance.load(std::memory_order_acquire);
        }
        const OpenAgain openAgain{constructions};
        // Another thread may have stored the object and reset the count between our two looks.
        T* made = instance.load(std::memory_order_acquire);
        if (!made) {
            made = build();
            instance.store(made, std::memory_order_release);
        }
        return made;
    }

private:
    struct OpenAgain {
        std::atomic<Long32>& constructions;
        ~OpenAgain() { constructions.store(0, std::memory_order_release); }
    };

    std::atomic<T*> instance{nullptr};
    std::atomic<Long32> constructions{0};
};

}  // namespace Zan

#endif  // TESSELU_SRC_FOUNDATION_LAZYSINGLETON_H
