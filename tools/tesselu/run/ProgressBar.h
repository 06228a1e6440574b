#ifndef TESSELU_TOOLS_RUN_PROGRESSBAR_H
#define TESSELU_TOOLS_RUN_PROGRESSBAR_H

#include <chrono>
#include <optional>
#include <string>

namespace tool {

/// A bar on the error stream, drawn only when that is a terminal and the work has lasted a while.
class ProgressBar {
public:
    /// Without a total it only counts.
    ProgressBar(std::string label, std::optional<long> total);
    ~ProgressBar();
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    void Show(long done);

private:
    using Clock = std::chrono::steady_clock;

    std::string label;
    std::optional<long> total;
    bool shows;
    Clock::time_point started = Clock::now();
    Clock::time_point next;
};

}  // namespace tool

#endif  // TESSELU_TOOLS_RUN_PROGRESSBAR_H
