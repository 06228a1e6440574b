#ifndef TESSELU_TOOLS_PROGRESSBAR_H
#define TESSELU_TOOLS_PROGRESSBAR_H

#include <chrono>
#include <string>

namespace tool {

/// A bar on the error stream, drawn only when that is a terminal and the work has lasted a while.
class ProgressBar {
public:
    ProgressBar(std::string label, long total);
    ~ProgressBar();
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    void Show(long done);

private:
    using Clock = std::chrono::steady_clock;

    std::string label;
    long total;
    bool terminal;
    bool drawn = false;
    Clock::time_point started = Clock::now();
    Clock::time_point next;
};

}  // namespace tool

#endif  // TESSELU_TOOLS_PROGRESSBAR_H
