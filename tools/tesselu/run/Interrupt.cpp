#include "run/Interrupt.h"

#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <thread>

#include "run/Console.h"
#include "run/OutputFile.h"

namespace tool {

void CatchInterrupts() {
    // A reader of our output that goes away, and a limit on file sizes, are met as failed writes.
    signal(SIGPIPE, SIG_IGN);
    signal(SIGXFSZ, SIG_IGN);

    sigset_t caught;
    sigemptyset(&caught);
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction before = {};
        if (sigaction(number, nullptr, &before) == 0 && before.sa_handler != SIG_IGN) {
            sigaddset(&caught, number);
        }
    }
    // Threads inherit the mask, so that the signals come to the one that waits for them.
    pthread_sigmask(SIG_BLOCK, &caught, nullptr);
    std::thread([caught] {
        int number = 0;
        if (sigwait(&caught, &number) != 0) {
            return;
        }
        OutputFile::RemoveUnfinished();
        console::Complain("interrupted");
        _exit(128 + number);
    }).detach();
}

}  // namespace tool
