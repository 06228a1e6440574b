#ifndef TESSELU_SRC_COMPOSITE_KERNELS_BLEND_H
#define TESSELU_SRC_COMPOSITE_KERNELS_BLEND_H

#include "composite/kernels/BlendFormulas.h"
#include "simd/Dispatch.h"
#include "simd/Job.h"

namespace Zan {

/// Sources A and B.
using TwoSourceJob = simd::Job<2, 1>;
/// Sources A and B, and a plane of keys.
using KeyedJob = simd::Job<3, 1>;
/// The same and an alpha plane for A, B and the destination: indices `kAlphaA`, `kAlphaB`, `kAlphaOut`. A
/// source without an alpha plane counts as 255.
using KeyedAlphaJob = simd::Job<5, 2>;
inline constexpr std::size_t kAlphaA = 3, kAlphaB = 4, kAlphaOut = 1;
/// Sources A and B in 4:2:2 pairs and the alpha plane of A; the destination and its alpha plane.
using OverJob = simd::Job<3, 2>;
using OneSourceJob = simd::Job<1, 1>;

/// What the kernels of a call share besides the planes. Each takes what it needs.
struct BlendSettings {
    unsigned weight = 0;              ///< of source A, out of 256 or 255; of the current pixel, out of 256
    unsigned tailWeight = 0;          ///< the same in the columns beyond the last block
    KeyMap16 map16{};                 ///< of the key, unit 32640
    KeyMap32 map32{};                 ///< of the key, unit 65280
    const KeyTable* table = nullptr;  ///< of the key
    const double (*parts)[256] = nullptr;  ///< shares of A and of B, in double precision
};

using TwoSourceKernel = simd::Kernel<void(const TwoSourceJob&, const BlendSettings&)>;
using KeyedKernel = simd::Kernel<void(const KeyedJob&, const BlendSettings&)>;
using OneSourceKernel = simd::Kernel<void(const OneSourceJob&, const BlendSettings&)>;
using OverKernel = simd::Kernel<void(const OverJob&)>;
using BorderKernel = simd::Kernel<void(const KeyedJob&, const BorderMap&)>;
using WideBorderKernel = simd::Kernel<void(const KeyedJob&, const BorderRamp&, const BorderColour&)>;
using KeyedAlphaKernel = simd::Kernel<void(const KeyedAlphaJob&, const BlendSettings&)>;

// Dissolves. Columns are bytes.
extern const TwoSourceKernel kDissolveOf256;
extern const TwoSourceKernel kDissolveOf255;
extern const TwoSourceKernel kDissolveInDoubles;

// The same with a second source that is 255 everywhere.
extern const OneSourceKernel kDissolveWithFull;

// Source A over B by the alpha plane of A, without offsets. Columns are pixels in 4:2:2 pairs.
extern const OverKernel kOverByPlane;
// Source A, its own byte 3 times a weight, over B; the second one multiplies B by its byte 3 first. Columns
// are 32-bit pixels.
extern const TwoSourceKernel kOverFaded;
extern const TwoSourceKernel kOverFadedShaping;

// Source B over A by B's own byte 3. Columns are 32-bit pixels.
extern const TwoSourceKernel kBlendByOwnAlpha;

// By a key plane: as it stands, through `map16`, through `map32`, through `table`. Columns are pixels, of 32
// bits or in 4:2:2 pairs.
extern const KeyedKernel kBlendByPlane;
extern const KeyedKernel kWipePixels16;
extern const KeyedKernel kWipePixelsTable;
extern const KeyedKernel kWipePairs32;
extern const KeyedKernel kWipePairsTable;
extern const KeyedAlphaKernel kWipePairsAndAlpha32;
extern const KeyedAlphaKernel kWipePairsAndAlphaTable;

// With a border along the edge: 32-bit pixels, 4:2:2 pairs, a plane of alpha (sources may be missing, and
// count as 255), and pairs with keys of two bytes.
extern const BorderKernel kBorderPixels;
extern const BorderKernel kBorderPairs;
extern const BorderKernel kBorderBytes;
extern const WideBorderKernel kBorderPairsOfWideKeys;

// Sums of differences, columns are pixels; source A or source B, columns are bytes.
extern const TwoSourceKernel kSumOfDifferences;
extern const TwoSourceKernel kOrBytes;

// A shift to the left by a fraction of a pixel. Columns are pixels of 32 bits; beyond the row they are 0.
extern const OneSourceKernel kShiftSubPixel;

/// Or-s words of a plane into `result`: of the first `groupWords` of a row, which come in groups of four, the
/// first of each group, then all. Columns are words.
using OrKernel = simd::Kernel<void(const simd::Job<1, 0>&, std::size_t groupWords, std::uint32_t& result)>;
extern const OrKernel kOrRows;

}  // namespace Zan

#endif  // TESSELU_SRC_COMPOSITE_KERNELS_BLEND_H
