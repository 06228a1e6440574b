#ifndef TESSELU_SRC_SIMD_TARGETS_H
#define TESSELU_SRC_SIMD_TARGETS_H

#include <cstddef>

namespace Zan::simd {

/// The instruction sets that vector bodies are compiled for, worst first. Which one runs is never visible in
/// a result: every body equals its portable formula.
enum Target : std::size_t {
    kPortable,  ///< no vector body: the formula, pixel by pixel
    kSSSE3,
    kAVX2,
    kAVX512,    ///< F, BW, CD, DQ and VL
    kAVX512DL,  ///< the same bodies; those that gain by VNNI or VBMI use them
    kNEON,
    kTargetCount
};

/// The target that kernels run on: the best that the processor and the operating system offer, below the
/// limit.
Target CurrentTarget() noexcept;

/// The best target of this machine, whatever the limit.
Target BestTarget() noexcept;

/// True when kernels can run on `target` here.
bool IsTargetAvailable(Target target) noexcept;

const char* TargetName(Target target) noexcept;

/// Keeps kernels from targets above `target` (tests and benchmarks; not for concurrent use with kernels).
void LimitTarget(Target target) noexcept;

/// Limits the target for the life of the object.
class ScopedTarget {
public:
    explicit ScopedTarget(Target target) noexcept : saved(CurrentTarget()) { LimitTarget(target); }
    ~ScopedTarget() { LimitTarget(saved); }
    ScopedTarget(const ScopedTarget&) = delete;
    ScopedTarget& operator=(const ScopedTarget&) = delete;

private:
    Target saved;
};

}  // namespace Zan::simd

#endif  // TESSELU_SRC_SIMD_TARGETS_H
