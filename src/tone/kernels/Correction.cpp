// The whole chain of a colour correction, one pair of pixels at a time.

#include "tone/kernels/Correction.h"

#include <cstring>

#include "tone/kernels/CorrectionFormulas.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "tone/kernels/Correction.cpp"
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

struct Correcting {
    using Place = simd::Place<1, 1>;
    static constexpr PlaneUse kSources[] = {{.index = 0, .bytesPer16 = 32, .columns = 2}};
    static constexpr PlaneUse kDestinations[] = {{.index = 0, .bytesPer16 = 32, .columns = 2}};
    static constexpr std::size_t kUnit = 2;
    CorrectionSettings set;

    void Unit(const Place& at, std::size_t x) const {
        PixelPair pair;
        std::memcpy(&pair, at.in[0][0] + 2 * x, sizeof pair);
        CorrectPair(set, pair);
        std::memcpy(at.out[0][0] + 2 * x, &pair, sizeof pair);
    }
};

void RunCorrect(const simd::Job<1, 1>& job, const CorrectionSettings& set) {
    Walk(Correcting{set}, job);
}
void RunCorrectColours(const simd::Job<1, 1>& job, const CorrectionSettings& set) {
    Walk(Correcting{set}, job);
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace Zan {

TESSELU_KERNEL(CorrectionKernel, kCorrect, RunCorrect);
TESSELU_KERNEL(CorrectionKernel, kCorrectColours, RunCorrectColours);

}  // namespace Zan

#endif  // HWY_ONCE
