#ifndef TESSELU_FUZZ_LEVELS_H
#define TESSELU_FUZZ_LEVELS_H

#include "Input.h"

#include "foundation/CapabilitySeam.h"
#include "simd/Targets.h"

namespace fuzz {

/// For the life of the object the classes believe in an instruction set, and the kernels run on a target,
/// picked by the input.
class Levels {
public:
    explicit Levels(Input& input) noexcept
        : set(input.Pick({Zan::kSSE2, Zan::kSSE2, Zan::kSSE_MMX, Zan::kMMX, Zan::kScalarOnly})),
          target(static_cast<Zan::simd::Target>(input.Below(Zan::simd::kTargetCount))) {}

private:
    Zan::ScopedInstructionSet set;
    Zan::simd::ScopedTarget target;
};

}  // namespace fuzz

#endif  // TESSELU_FUZZ_LEVELS_H
