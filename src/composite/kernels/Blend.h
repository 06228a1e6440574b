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

/// What the kernels of a call share besides the planes. Each takes what it needs.
struct BlendSettings {
    unsigned weight = 0;  ///< of source A, out of 256 or 255; of the current pixel, out of 256
    KeyMap16 map16{};     ///< of the key, unit 32640
    KeyMap32 map32{};     ///< of the key, unit 65280
    const std::uint8_t* table = nullptr;   ///< of the key, 256 entries
    const double (*parts)[256] = nullptr;  ///< shares of A and of B, in double precision
};

using TwoSourceKernel = simd::Kernel<void(const TwoSourceJob&, const BlendSettings&)>;
using KeyedKernel = simd::Kernel<void(const KeyedJob&, const BlendSettings&)>;
using KeyedAlphaKernel = simd::Kernel<void(const KeyedAlphaJob&, const BlendSettings&)>;

// Dissolves. Columns are bytes.
extern const TwoSourceKernel kDissolveOf256;
extern const TwoSourceKernel kDissolveOf255;
extern const TwoSourceKernel kDissolveInDoubles;

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

// Sums of differences, columns are pixels; source A or source B, columns are bytes.
extern const TwoSourceKernel kSumOfDifferences;
extern const TwoSourceKernel kOrBytes;

// A shift to the left by a fraction of a pixel. Columns are pixels of 32 bits; beyond the row they are 0.
using SubPixelKernel = simd::Kernel<void(const simd::Job<1, 1>&, const BlendSettings&)>;
extern const SubPixelKernel kShiftSubPixel;

/// Or-s words of a plane into `result`: of the first `groupWords` of a row, which come in groups of four, the
/// first of each group, then all. Columns are words.
using OrKernel = simd::Kernel<void(const simd::Job<1, 0>&, std::size_t groupWords, std::uint32_t& result)>;
extern const OrKernel kOrRows;

}  // namespace Zan

#endif  // TESSELU_SRC_COMPOSITE_KERNELS_BLEND_H
