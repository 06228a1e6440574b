#include <pthread.h>
#include <sched.h>
#include <signal.h>

#include <atomic>
#include <cstdint>
#include <new>

#include "platform/Platform.h"

namespace Zan {
namespace {

struct SharedEvent {
    const bool isManual;
    std::atomic<std::uint32_t> isSignalled;
    std::atomic<std::uint32_t> owners{1};
};

SharedEvent* EventOf(void* handle) noexcept {
    return static_cast<SharedEvent*>(handle);
}

}  // namespace

void* MakeEvent(_SECURITY_ATTRIBUTES*, bool isManual, bool isSignalled, const unsigned short*) noexcept {
    return new (std::nothrow) SharedEvent{isManual, {isSignalled ? 1U : 0U}};
}

void* ShareEvent(void* handle) noexcept {
    if (handle != nullptr) {
        EventOf(handle)->owners.fetch_add(1, std::memory_order_relaxed);
    }
    return handle;
}

void CloseEvent(void* handle) noexcept {
    if (handle != nullptr && EventOf(handle)->owners.fetch_sub(1, std::memory_order_acq_rel) == 1) {
        delete EventOf(handle);
    }
}

void SignalEvent(void* handle) noexcept {
    if (handle == nullptr) {
        return;
    }
    SharedEvent& event = *EventOf(handle);
    event.isSignalled.store(1, std::memory_order_release);
    if (event.isManual) {
        event.isSignalled.notify_all();
    } else {
        event.isSignalled.notify_one();
    }
}

void ResetEvent(void* handle) noexcept {
    if (handle != nullptr) {
        EventOf(handle)->isSignalled.store(0, std::memory_order_relaxed);
    }
}

void WaitForEvent(void* handle) noexcept {
    if (handle == nullptr) {
        return;
    }
    SharedEvent& event = *EventOf(handle);
    for (;;) {
        const std::uint32_t after = event.isManual ? 1 : 0;
        std::uint32_t signalled = 1;
        if (event.isSignalled.compare_exchange_strong(signalled, after, std::memory_order_acquire,
                                                      std::memory_order_relaxed)) {
            return;
        }
        event.isSignalled.wait(0, std::memory_order_relaxed);
    }
}

void SettleWorkerThread([[maybe_unused]] std::size_t number) noexcept {
    sigset_t all;
    sigfillset(&all);
    // A thread's own faults would end the process without a word, and profilers would not see the thread.
    for (const int own : {SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGTRAP, SIGPROF}) {
        sigdelset(&all, own);
    }
    pthread_sigmask(SIG_BLOCK, &all, nullptr);
#if defined(__linux__)
    if (number < CPU_SETSIZE) {
        cpu_set_t mask;
        CPU_ZERO(&mask);
        CPU_SET(number, &mask);
        // Refused for a processor that does not exist or is not ours: the thread then runs where it likes.
        static_cast<void>(sched_setaffinity(0, sizeof mask, &mask));
    }
#endif
}

}  // namespace Zan
