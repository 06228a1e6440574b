#ifndef TESSELU_SRC_FILTER_KERNELS_NOISE_H
#define TESSELU_SRC_FILTER_KERNELS_NOISE_H

#include <cstdint>

#include "filter/UniformLine.h"
#include "filter/kernels/NoiseFormulas.h"
#include "simd/Dispatch.h"
#include "simd/Job.h"

namespace Zan {

// Columns are bytes. `state` is that of the generator before the first draw. In place, or apart.

using NoiseJob = simd::Job<1, 1>;

template <class Noise>
using NoiseKernel = simd::Kernel<void(const NoiseJob& job, const Noise& noise, std::uint32_t state)>;

extern const NoiseKernel<GaussianNoise> kAddGaussian;
extern const NoiseKernel<UniformNoise> kAddUniform;
extern const NoiseKernel<BitErrors> kFlipBits;

}  // namespace Zan

#endif  // TESSELU_SRC_FILTER_KERNELS_NOISE_H
