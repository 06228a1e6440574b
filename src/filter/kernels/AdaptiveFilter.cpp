// The adaptive filter over windows of space and time.

#include "filter/kernels/AdaptiveFilter.h"

#include "filter/kernels/AdaptiveWindow.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "filter/kernels/AdaptiveFilter.cpp"
#include "simd/Foreach.h"
// After it: this is compiled once per target.
#include "simd/Extra-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Zan {
namespace HWY_NAMESPACE {
namespace {

template <class Real>
void AdaptPairs(const AdaptiveJob& job, const AdaptiveSettings& settings) {
    const AdaptiveFormula<Real> formula(settings, job.WindowSamples());
    for (std::size_t y = 0; y < job.height; ++y) {
        std::uint8_t* const to = job.destination.Row(y);
        for (std::size_t x = 0; x < job.width; ++x) {
            std::uint8_t made[3];
            AdaptPixel<PairWindow>(job, formula, x, y, made);
            if (x % 2 == 0) {
                to[2 * x] = made[0];
                to[2 * x + 1] = made[1];
                to[2 * x + 2] = made[2];
                to[2 * x + 3] = made[1];
            } else {
                to[2 * x + 1] = made[1];
            }
        }
    }
}

void RunAdaptPairsInSingle(const AdaptiveJob& job, const AdaptiveSettings& settings) {
    AdaptPairs<float>(job, settings);
}

void RunAdaptPairs(const AdaptiveJob& job, const AdaptiveSettings& settings) {
    AdaptPairs<double>(job, settings);
}

void RunAdaptPixels(const AdaptiveJob& job, const AdaptiveSettings& settings) {
    const AdaptiveFormula<double> formula(settings, job.WindowSamples());
    for (std::size_t y = 0; y < job.height; ++y) {
        std::uint8_t* const to = job.destination.Row(y);
        for (std::size_t x = 0; x < job.width; ++x) {
            std::uint8_t made[3];
            AdaptPixel<PixelWindow>(job, formula, x, y, made);
            for (std::size_t c = 0; c < 3; ++c) {
                to[4 * x + c] = made[c];
            }
            to[4 * x + 3] = job.Row(job.windowFrames / 2, y)[4 * x + 3];
        }
    }
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace Zan {

TESSELU_KERNEL(AdaptiveKernel, kAdaptPairsInSingle, RunAdaptPairsInSingle);
TESSELU_KERNEL(AdaptiveKernel, kAdaptPairs, RunAdaptPairs);
TESSELU_KERNEL(AdaptiveKernel, kAdaptPixels, RunAdaptPixels);

void DeviationsAround(const AdaptiveJob& job, std::size_t x, std::size_t y, float (&deviations)[3]) noexcept {
    const AdaptiveSettings none{};
    const AdaptiveFormula<float> formula(none, job.WindowSamples());
    for (std::size_t c = 0; c < 3; ++c) {
        deviations[c] = formula.Deviation(StatisticsOf<PairWindow>(job, formula, c, x, y).differences);
    }
}

}  // namespace Zan

#endif  // HWY_ONCE
