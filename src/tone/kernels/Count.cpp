// How often bytes occur.

#include "tone/kernels/Count.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "tone/kernels/Count.cpp"
#include "simd/Foreach.h"
// After it: these are compiled once per target.
#include "simd/Extra-inl.h"
#include "simd/Walk-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Zan {
namespace HWY_NAMESPACE {
namespace {

using namespace simd::HWY_NAMESPACE;
using simd::PlaneUse;

/// `Bytes` of each four.
template <std::size_t Bytes>
struct CountBytes {
    using Place = simd::Place<1, 0>;
    static constexpr PlaneUse kSources[] = {{.index = 0, .bytesPer16 = 64}};
    static constexpr std::array<PlaneUse, 0> kDestinations = {};
    ByteCounts counts;

    void Unit(const Place& at, std::size_t x) {
        for (std::size_t i = 0; i < Bytes; ++i) {
            ++counts.of[i][at.in[0][0][4 * x + i]];
        }
    }
};

void RunCountBytes(const simd::Job<1, 0>& job, const ByteCounts& counts) {
    if (counts.of[3] == nullptr) {
        CountBytes<3> kernel{counts};
        Reduce(kernel, job);
    } else {
        CountBytes<4> kernel{counts};
        Reduce(kernel, job);
    }
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace Zan {

TESSELU_KERNEL(CountKernel, kCountBytes, RunCountBytes);

}  // namespace Zan

#endif  // HWY_ONCE
