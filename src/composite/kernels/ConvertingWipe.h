#ifndef TESSELU_SRC_COMPOSITE_KERNELS_CONVERTINGWIPE_H
#define TESSELU_SRC_COMPOSITE_KERNELS_CONVERTINGWIPE_H

#include "composite/kernels/Blend.h"
#include "convert/Coefficients.h"

namespace Zan {

/// 4:2:2 pairs of two sources to opaque pixels, which are blended by keys of a byte. The coefficients are
/// such that no sum leaves 32 bits. Columns are pixels.
using ConvertingKernel = simd::Kernel<void(const KeyedJob&, const KeyMap8&, const FixedPointCoefficients&)>;
extern const ConvertingKernel kWipeConverting;

}  // namespace Zan

#endif  // TESSELU_SRC_COMPOSITE_KERNELS_CONVERTINGWIPE_H
