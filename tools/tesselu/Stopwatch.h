#ifndef TESSELU_TOOLS_STOPWATCH_H
#define TESSELU_TOOLS_STOPWATCH_H

#include <time.h>

namespace tool {

/// Adds the processor time of this thread from construction to destruction to `total`, in seconds. Decoders
/// and encoders run beside us on threads of their own; wall-clock time would count what they take from us.
class Stopwatch {
public:
    explicit Stopwatch(double& newTotal) : total(newTotal) {}
    ~Stopwatch() { total += Now() - start; }
    Stopwatch(const Stopwatch&) = delete;
    Stopwatch& operator=(const Stopwatch&) = delete;

private:
    static double Now() {
        timespec now = {};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
        return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
    }

    double& total;
    double start = Now();
};

}  // namespace tool

#endif  // TESSELU_TOOLS_STOPWATCH_H
