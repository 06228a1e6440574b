#include "Interrupt.h"

#include <csignal>

#include "Errors.h"

namespace tool {
namespace {

volatile std::sig_atomic_t interrupted = 0;

extern "C" void LeaveMark(int) {
    interrupted = 1;
}

}  // namespace

void CatchInterrupts() {
    for (const int number : {SIGINT, SIGTERM, SIGHUP})
        std::signal(number, LeaveMark);
    // A reader of our output that goes away, and a limit on file sizes, are met as failed writes.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
}

bool WasInterrupted() noexcept {
    return interrupted != 0;
}

void StopIfInterrupted() {
    if (WasInterrupted())
        throw Interrupted();
}

}  // namespace tool
