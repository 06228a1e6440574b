#ifndef TESSELU_BENCH_OPTIONS_H
#define TESSELU_BENCH_OPTIONS_H

#include <optional>
#include <string>
#include <vector>

#include "Contest.h"

namespace bench {

struct Options {
    std::vector<Size> sizes = {kCallSize, kSmallSize, {256, 64}, {720, 486}, {1920, 1080}, {3840, 2160}};
    std::string filter;
    int repetitions = 21;
    double seconds = 0.03;  ///< of one repetition
    std::string json, csv;
    std::string photo;  ///< a picture file (P6), or nothing
    bool list = false;
    /// Each in a process of its own, which inherits the other options; empty: only this one.
    std::vector<std::string> targets;
};

/// Fills `options`, and limits our kernels as asked for. An exit status when nothing is left to do.
std::optional<int> Parse(int argc, char** argv, Options& options);

}  // namespace bench

#endif  // TESSELU_BENCH_OPTIONS_H
