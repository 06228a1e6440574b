#ifndef TESSELU_SRC_GRADIENT_KERNELS_ANGLES_H
#define TESSELU_SRC_GRADIENT_KERNELS_ANGLES_H

#include <cstddef>

#include "simd/Dispatch.h"

namespace Zan {

/// angles[i] = AngleFromDown(x[i], y[i]), for n of them. Angles may take the place of either.
using AngleKernel = simd::Kernel<void(const double* x, const double* y, double* angles, std::size_t n)>;

extern const AngleKernel kAngles;

}  // namespace Zan

#endif  // TESSELU_SRC_GRADIENT_KERNELS_ANGLES_H
