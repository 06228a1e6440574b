#include "foundation/Worker.h"

#include <system_error>

#include "platform/Platform.h"

namespace Zan {

Worker::Worker(Task newTask, void* newContext, std::size_t number)
    : task(newTask), context(newContext), start(nullptr, 0, 0, nullptr), done(nullptr, 0, 0, nullptr) {
    // Without its events a thread would not sleep.
    if (start.GetHandle() == nullptr || done.GetHandle() == nullptr) {
        return;
    }
    try {
        thread = std::thread([this, number] { Sleep(number); });
    } catch (const std::system_error&) {
        // The system has no more threads for us.
    }
}

Worker::~Worker() {
    if (thread.joinable()) {
        if (command != kLeave) {
            Leave();
        }
        thread.join();
    }
}

void Worker::Give(Command what) noexcept {
    command = what;
    if (thread.joinable()) {
        start.Set();
        return;
    }
    if (what == kRun) {
        task(context);
    }
    done.Set();
}

void Worker::Sleep(std::size_t number) noexcept {
    SettleWorkerThread(number);
    for (;;) {
        start.Wait();
        const Command given = command;
        if (given == kRun) {
            task(context);
        }
        done.Set();
        if (given == kLeave) {
            return;
        }
    }
}

}  // namespace Zan
