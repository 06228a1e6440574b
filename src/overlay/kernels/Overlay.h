#ifndef TESSELU_SRC_OVERLAY_KERNELS_OVERLAY_H
#define TESSELU_SRC_OVERLAY_KERNELS_OVERLAY_H

#include "simd/Dispatch.h"
#include "simd/Job.h"

namespace Zan {

/// Planes of an overlay. Background and foreground, then their alpha planes where 4:2:2 has them; the
/// result and its alpha plane.
inline constexpr std::size_t kBack = 0, kFore = 1, kBackAlpha = 2, kForeAlpha = 3;
inline constexpr std::size_t kOut = 0, kOutAlpha = 1;
using OverlayJob = simd::Job<4, 2>;
using OverlayKernel = simd::Kernel<void(const OverlayJob&)>;

// Named by the bits of background and foreground. Columns are pixels; those of 4:2:2 come in whole pairs.
extern const OverlayKernel kStraight24With32;
extern const OverlayKernel kPremultiplied24With32;
extern const OverlayKernel kOpaque32With24;
extern const OverlayKernel kStraight32With32;
extern const OverlayKernel kPremultiplied32With32;

extern const OverlayKernel kStraight16With24;
extern const OverlayKernel kPremultiplied16With24;
extern const OverlayKernel kStraight24With24;
extern const OverlayKernel kPremultiplied24With24;

}  // namespace Zan

#endif  // TESSELU_SRC_OVERLAY_KERNELS_OVERLAY_H
