#ifndef TESSELU_TOOLS_RUN_STOPWATCH_H
#define TESSELU_TOOLS_RUN_STOPWATCH_H

#include <time.h>

namespace tool {

/// Adds the time from construction to destruction to `total`, in seconds.
template <clockid_t kClock>
class TimeSpan {
public:
    explicit TimeSpan(double& newTotal) : total(newTotal) {}
    ~TimeSpan() { total += Now() - start; }
    TimeSpan(const TimeSpan&) = delete;
    TimeSpan& operator=(const TimeSpan&) = delete;

    static double Now() {
        timespec now = {};
        clock_gettime(kClock, &now);
        return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
    }

private:
    double& total;
    double start = Now();
};

/// Processor time of this thread: what the library takes, whatever runs beside it.
using Stopwatch = TimeSpan<CLOCK_THREAD_CPUTIME_ID>;

/// Time by the clock: how long a stage is busy, the threads of its codec among it.
using WallClock = TimeSpan<CLOCK_MONOTONIC>;

}  // namespace tool

#endif  // TESSELU_TOOLS_RUN_STOPWATCH_H
