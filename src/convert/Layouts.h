#ifndef TESSELU_SRC_CONVERT_LAYOUTS_H
#define TESSELU_SRC_CONVERT_LAYOUTS_H

#include <array>

#include "simd/Job.h"

// How the formats of the converter lie in memory: for each plane its channel, the bytes of 16 columns, and
// how many columns belong together. Chroma planes are clamped: a field or a region may ask for more chroma
// than its plane has, and takes the last that there is.

namespace Zan {

inline constexpr std::array kPixels32Planes = {simd::PlaneUse{.index = 0, .bytesPer16 = 64}};
inline constexpr std::array kPixels24Planes = {simd::PlaneUse{.index = 0, .bytesPer16 = 48}};
inline constexpr std::array kBytePlanes = {simd::PlaneUse{.index = 0, .bytesPer16 = 16}};

/// Two pixels in four bytes.
inline constexpr std::array kPairPlanes = {simd::PlaneUse{.index = 0, .bytesPer16 = 32, .columns = 2}};

/// The same, and alpha.
inline constexpr std::array kPairAlphaPlanes = {
    simd::PlaneUse{.index = 0, .bytesPer16 = 32, .columns = 2},
    simd::PlaneUse{.index = 3, .bytesPer16 = 16},
};

/// Y, Cb, Cr.
inline constexpr std::array k420Planes = {
    simd::PlaneUse{.index = 0, .bytesPer16 = 16},
    simd::PlaneUse{.index = 1, .bytesPer16 = 8, .columns = 2, .halfHeight = true, .isClamped = true},
    simd::PlaneUse{.index = 2, .bytesPer16 = 8, .columns = 2, .halfHeight = true, .isClamped = true},
};
inline constexpr std::array k422Planes = {
    simd::PlaneUse{.index = 0, .bytesPer16 = 16},
    simd::PlaneUse{.index = 1, .bytesPer16 = 8, .columns = 2, .isClamped = true},
    simd::PlaneUse{.index = 2, .bytesPer16 = 8, .columns = 2, .isClamped = true},
};
inline constexpr std::array k411Planes = {
    simd::PlaneUse{.index = 0, .bytesPer16 = 16},
    simd::PlaneUse{.index = 1, .bytesPer16 = 4, .columns = 4, .isClamped = true},
    simd::PlaneUse{.index = 2, .bytesPer16 = 4, .columns = 4, .isClamped = true},
};

/// Y, and chroma in groups of 8 Cb and 8 Cr for 16 columns, which channels 1 and 2 both address.
inline constexpr std::array kGroupedPlanes = {
    simd::PlaneUse{.index = 0, .bytesPer16 = 16},
    simd::PlaneUse{.index = 1, .bytesPer16 = 16, .columns = 16, .isClamped = true},
};

}  // namespace Zan

#endif  // TESSELU_SRC_CONVERT_LAYOUTS_H
