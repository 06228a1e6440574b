#ifndef TESSELU_SRC_COMPOSITE_KERNELS_BLEND_H
#define TESSELU_SRC_COMPOSITE_KERNELS_BLEND_H

#include <array>

#include "composite/kernels/BlendFormulas.h"
#include "simd/Dispatch.h"
#include "simd/Rows.h"

namespace Zan {

/// Bytes that a unit of a kernel takes from each source and gives to the destination.
template <std::size_t Destination, std::size_t... Source>
struct UnitLayout {
    static constexpr std::size_t kDestinationBytes = Destination;
    static constexpr std::array<std::size_t, sizeof...(Source)> kSourceBytes = {Source...};
};

using ByteLayout = UnitLayout<1, 1, 1>;           ///< two sources, byte by byte
using KeyedByteLayout = UnitLayout<1, 1, 1, 1>;   ///< ... and one key byte for each
using PixelLayout = UnitLayout<4, 4, 4>;          ///< two sources of 32-bit words
using KeyedPixelLayout = UnitLayout<4, 4, 4, 1>;  ///< ... one key byte a word
using KeyedPairLayout = UnitLayout<4, 4, 4, 2>;   ///< ... two key bytes a word: a pair of 4:2:2 pixels
using DifferenceLayout = UnitLayout<1, 4, 4>;

using TwoSourceJob = simd::RowJob<2>;
using KeyedJob = simd::RowJob<3>;

/// What the kernels of a call share besides the rows. Each takes what it needs.
struct BlendSettings {
    unsigned weight = 0;                  ///< of source A, out of 256 or 255
    KeyMap16 map16{};                     ///< of the key, unit 32640
    KeyMap32 map32{};                     ///< of the key, unit 65280
    const std::uint8_t* table = nullptr;  ///< of the key, 256 entries
};

using TwoSourceKernel = simd::Kernel<void(const TwoSourceJob&, const BlendSettings&)>;
using KeyedKernel = simd::Kernel<void(const KeyedJob&, const BlendSettings&)>;

// Dissolves, in bytes.
extern const TwoSourceKernel kDissolveOf256;
extern const TwoSourceKernel kDissolveOf255;
extern const TwoSourceKernel kDissolveOf255Tail;

// Source B over A by B's own byte 3, in pixels.
extern const TwoSourceKernel kBlendByOwnAlpha;

// By a key plane: as it stands, through `map16`, through `map32`, through `table`.
extern const KeyedKernel kBlendByPlane;
extern const KeyedKernel kWipePixels16;
extern const KeyedKernel kWipePixelsTable;
extern const KeyedKernel kWipePairs32;
extern const KeyedKernel kWipePairsTable;
// ... on single bytes; a source without a plane counts as 255.
extern const KeyedKernel kWipeBytes32;
extern const KeyedKernel kWipeBytesTable;

extern const TwoSourceKernel kSumOfDifferences;

}  // namespace Zan

#endif  // TESSELU_SRC_COMPOSITE_KERNELS_BLEND_H
