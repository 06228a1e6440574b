// The temporal filter over three frames.

#include "filter/kernels/TemporalFilter.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "filter/kernels/TemporalFilter.cpp"
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

struct MixFrames {
    using Place = simd::Place<3, 1>;
    static constexpr PlaneUse kSources[] = {
        {.index = 0, .bytesPer16 = 64}, {.index = 1, .bytesPer16 = 64}, {.index = 2, .bytesPer16 = 64}};
    static constexpr PlaneUse kDestinations[] = {{.index = 0, .bytesPer16 = 64}};
    TemporalFormula formula;

    void Unit(const Place& at, std::size_t x) const {
        formula.Unit(at.in[0][0] + 4 * x, at.in[1][0] + 4 * x, at.in[2][0] + 4 * x, at.out[0][0] + 4 * x);
    }
};

void RunMixFrames(const TemporalJob& job, const TemporalFormula& formula) {
    Walk(MixFrames{formula}, job);
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace Zan {

using TemporalKernel = simd::Kernel<void(const TemporalJob&, const TemporalFormula&)>;
TESSELU_KERNEL(TemporalKernel, kMixFrames, RunMixFrames);

}  // namespace Zan

#endif  // HWY_ONCE
