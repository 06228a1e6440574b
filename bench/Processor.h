#ifndef TESSELU_BENCH_PROCESSOR_H
#define TESSELU_BENCH_PROCESSOR_H

#include <cstddef>
#include <stdexcept>
#include <string>
#include <vector>

#include "simd/Targets.h"

namespace bench {

/// Wrong use of the command line: the message goes to the terminal, the exit status is 2.
struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Processors that all entrants can be limited to. Each has the instructions of those before it.
enum class Level {
    kBaseline,  ///< SSE2 on 64-bit x86
    kSSSE3,
    kAVX2,  ///< with FMA, F16C, BMI1, BMI2 and fast string moves, as all processors with AVX2 have them
    kAll    ///< this machine
};

/// The processor whose instructions a target of our kernels uses.
Level LevelOf(Zan::simd::Target target);

/// The level of the current target; kAll when that is the best one.
Level CurrentLevel();

/// Limits our kernels to the target of that name. Throws UsageError when there is none on this machine.
void LimitTarget(const std::string& name);

/// The names of the targets of this machine, best first.
std::vector<std::string> TargetNames();

/// Limits the libraries that read the environment before `main` to the current level: sets their variables,
/// and starts the program again if one of them had another value.
void LimitByEnvironment(char** arguments);

std::string ProcessorName();

struct Cache {
    std::string name;  ///< "L1d", "L2", ...
    std::size_t bytes;
};

/// The data caches that one thread of this machine reaches, smallest first; empty if they cannot be found
/// out.
const std::vector<Cache>& Caches();

/// The name of the smallest cache that holds so many bytes, or "mem".
std::string CacheOf(double bytes);

}  // namespace bench

#endif  // TESSELU_BENCH_PROCESSOR_H
