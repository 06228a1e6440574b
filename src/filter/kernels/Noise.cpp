// Noise from draws of the generator.

#include "filter/kernels/Noise.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "filter/kernels/Noise.cpp"
#include "simd/Foreach.h"
// After it: this is compiled once per target.
#include "simd/Extra-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Zan {
namespace HWY_NAMESPACE {
namespace {

/// Every byte of every row by its formula.
template <class Make>
void ForEachByte(const NoiseJob& job, Make&& make) {
    for (std::size_t y = 0; y < job.height; ++y) {
        const std::uint8_t* const from = job.source[0].Row(y);
        std::uint8_t* const to = job.destination[0].Row(y);
        for (std::size_t x = 0; x < job.width; ++x) {
            to[x] = make(from[x]);
        }
    }
}

void RunAddGaussian(const NoiseJob& job, const GaussianNoise& noise, std::uint32_t state) {
    ForEachByte(job, [&](std::uint8_t byte) {
        const std::uint32_t first = Draw(state), second = Draw(state);
        return noise.Unit(byte, first, second);
    });
}

void RunAddUniform(const NoiseJob& job, const UniformNoise& noise, std::uint32_t state) {
    ForEachByte(job, [&](std::uint8_t byte) { return noise.Unit(byte, Draw(state)); });
}

void RunFlipBits(const NoiseJob& job, const BitErrors& noise, std::uint32_t state) {
    ForEachByte(job, [&](std::uint8_t byte) {
        unsigned flips = 0;
        for (unsigned bit = 0; bit < 8; ++bit) {
            flips |= static_cast<unsigned>(Draw(state) <= noise.threshold) << bit;
        }
        return static_cast<std::uint8_t>(byte ^ flips);
    });
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace Zan {

TESSELU_KERNEL(NoiseKernel<GaussianNoise>, kAddGaussian, RunAddGaussian);
TESSELU_KERNEL(NoiseKernel<UniformNoise>, kAddUniform, RunAddUniform);
TESSELU_KERNEL(NoiseKernel<BitErrors>, kFlipBits, RunFlipBits);

}  // namespace Zan

#endif  // HWY_ONCE
