#ifndef TESSELU_TOOLS_STOPWATCH_H
#define TESSELU_TOOLS_STOPWATCH_H

#include <chrono>

namespace tool {

/// Adds the time from its construction to its destruction to `total`, in seconds.
class Stopwatch {
public:
    explicit Stopwatch(double& newTotal) : total(newTotal) {}
    ~Stopwatch() { total += std::chrono::duration<double>(Clock::now() - start).count(); }
    Stopwatch(const Stopwatch&) = delete;
    Stopwatch& operator=(const Stopwatch&) = delete;

private:
    using Clock = std::chrono::steady_clock;

    double& total;
    Clock::time_point start = Clock::now();
};

}  // namespace tool

#endif  // TESSELU_TOOLS_STOPWATCH_H
