#ifndef TESSELU_SRC_TONE_KERNELS_COLOURS_H
#define TESSELU_SRC_TONE_KERNELS_COLOURS_H

#include "simd/Dispatch.h"
#include "simd/Job.h"
#include "tone/ColourLattice.h"

namespace Zan {

/// Columns are pixels. `kept` has the bits of a pixel that go along unchanged where a table does not say
/// otherwise.
using KeepKernel = simd::Kernel<void(const simd::Job<1, 1>&, std::uint32_t kept)>;
using ColourKernel = simd::Kernel<void(const simd::Job<1, 1>&, const ColourLattice&, std::uint32_t kept)>;

extern const KeepKernel kKeepPixels32;
extern const KeepKernel kKeepPixels24;
extern const ColourKernel kMapPixels32;
extern const ColourKernel kMapPixels24;
extern const ColourKernel kCurvePixels32;
extern const ColourKernel kCurvePixels24;

}  // namespace Zan

#endif  // TESSELU_SRC_TONE_KERNELS_COLOURS_H
