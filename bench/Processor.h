#ifndef TESSELU_BENCH_PROCESSOR_H
#define TESSELU_BENCH_PROCESSOR_H

#include <cstddef>
#include <stdexcept>
#include <string>
#include <vector>

#include "simd/Targets.h"

namespace bench {

/// A mistake of the caller's: the message goes to the terminal, the exit status is 2.
struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// The processors that all who take part can be held to, each with the instructions of those before it.
enum class Level {
    kBaseline,  ///< SSE2 on 64-bit x86
    kSSSE3,
    kAVX2,  ///< with FMA, F16C, BMI1, BMI2 and fast string moves, as all processors with AVX2 have them
    kAll    ///< this machine
};

/// The processor that a target of our kernels stands for.
Level LevelOf(Zan::simd::Target target);

/// That of the target that our kernels run on; kAll when it is the best one.
Level CurrentLevel();

/// Limits our kernels to the target of that name. Throws UsageError when there is none on this machine.
void LimitTarget(const std::string& name);

/// The names of the targets of this machine, best first.
std::vector<std::string> TargetNames();

/// Some libraries take their limits from the environment, and read it before `main`. Sets what they read for
/// the current level, and starts the program again if that was a change.
void HoldByEnvironment(char** arguments);

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
