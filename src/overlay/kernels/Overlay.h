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

/// The same between pixels. The foreground's planes come once for each sample that has a weight: from the
/// row in hand and the one before it in the picture (or in its field), each from the column in hand and
/// those before it. 4:2:2 needs three columns, since chroma moves by pairs.
inline constexpr std::size_t kColumns = 3;
constexpr std::size_t ForeOf(std::size_t row, std::size_t column) noexcept {
    return 4 + kColumns * row + column;
}
constexpr std::size_t ForeAlphaOf(std::size_t row, std::size_t column) noexcept {
    return 4 + kColumns * (2 + row) + column;
}
using MovedJob = simd::Job<4 + 4 * kColumns, 2>;

/// Weights of the rows and columns before those in hand, out of 512.
struct Fractions {
    unsigned x = 0;       ///< pixels; in 4:2:2 luma
    unsigned chroma = 0;  ///< pairs
    unsigned y = 0;
    bool isOdd = false;  ///< 4:2:2: luma is one more pixel behind
};
using MovedKernel = simd::Kernel<void(const MovedJob&, const Fractions&)>;

extern const MovedKernel kMovedStraight24With32;
extern const MovedKernel kMovedPremultiplied24With32;
extern const MovedKernel kMoved24With24;
extern const MovedKernel kMovedStraight32With32;
extern const MovedKernel kMovedPremultiplied32With32;
extern const MovedKernel kMoved32With24;

extern const MovedKernel kMovedStraight16With24;
extern const MovedKernel kMovedPremultiplied16With24;
extern const MovedKernel kMoved16With16;
extern const MovedKernel kMovedStraight24With24;
extern const MovedKernel kMovedPremultiplied24With24;
extern const MovedKernel kMoved24With16;

}  // namespace Zan

#endif  // TESSELU_SRC_OVERLAY_KERNELS_OVERLAY_H
