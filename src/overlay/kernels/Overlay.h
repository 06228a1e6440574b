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

// Pairs with an alpha of its own for each sample of the foreground (`kForeAlpha` has two bytes a pixel), as
// they are between pixels.
extern const OverlayKernel kStraight16WithSamples;
extern const OverlayKernel kPremultiplied16WithSamples;
extern const OverlayKernel kStraight24WithSamples;
extern const OverlayKernel kPremultiplied24WithSamples;

/// A foreground between pixels: sums of two or four samples by their weights. Taps come in the order: in
/// hand; one column before, or one row where columns have no fraction; one row before; one row and column
/// before. Each has a plane of colour and one of alpha; in 4:2:2 two of either, since chroma and luma move
/// by different distances.
inline constexpr std::size_t kMostTaps = 4;
constexpr std::size_t ColourOf(std::size_t tap, bool isLuma) noexcept {
    return 4 * tap + (isLuma ? 1 : 0);
}
constexpr std::size_t AlphaOf(std::size_t tap, bool isLuma) noexcept {
    return ColourOf(tap, isLuma) + 2;
}
using MixJob = simd::Job<4 * kMostTaps, 1>;

struct MixShares {
    std::size_t taps = 2;
    /// Of the second tap (and of the last by the third), out of 512, for chroma and for luma; other pixels
    /// have `luma` alone. Between 1 and 511.
    unsigned chroma = 0, luma = 0;
    unsigned row = 0;  ///< four taps: of the last two
    /// Pixels in one pass: the columns of rows that touch and are written around the cache. The first pixel
    /// of each has transparent black before it, whatever lies there. At least `kLeastJoined`.
    std::size_t joined = 0;
    static constexpr std::size_t kLeastJoined = 128;

    /// Those of columns are whole numbers out of 128.
    constexpr bool IsCoarse() const noexcept { return (chroma | luma) % 4 == 0; }
    constexpr MixShares OfLuma() const noexcept { return {taps, luma, luma, row, joined}; }
};
using MixKernel = simd::Kernel<void(const MixJob&, const MixShares&)>;

extern const MixKernel kMixBytes;           ///< pixels of any kind by `luma`; columns are bytes
extern const MixKernel kMixPairs;           ///< colour of pairs
extern const MixKernel kMixPairAlphas;      ///< alpha of pairs, a byte for each sample
extern const MixKernel kMixStraightPixels;  ///< 32-bit pixels, straight
extern const MixKernel kMixStraightPairs;   ///< colour of pairs, straight

/// 32-bit pixels between pixels over 32-bit ones in one go. The taps are the first sources.
inline constexpr std::size_t kBehindTaps = kMostTaps;
using MovedJob = simd::Job<kMostTaps + 1, 1>;
using MovedKernel = simd::Kernel<void(const MovedJob&, const MixShares&)>;

extern const MovedKernel kMovedPremultiplied32;  ///< takes joined rows where there are vectors
extern const MovedKernel kMovedStraight32;

}  // namespace Zan

#endif  // TESSELU_SRC_OVERLAY_KERNELS_OVERLAY_H
