#ifndef TESSELU_SRC_TONE_KERNELS_CORRECTION_H
#define TESSELU_SRC_TONE_KERNELS_CORRECTION_H

#include <cstdint>

#include "simd/Dispatch.h"
#include "simd/Job.h"

namespace Zan {

/// Products of signed chroma, 0 ... 128, with a cosine and a sine, rounded with halves away from zero. Those
/// of negative chroma are their negations.
struct ChromaRotation {
    std::int16_t cosine[129];
    std::int16_t sine[129];
};

/// Bytes that a sample is kept within.
struct SampleLimits {
    std::uint8_t low = 0;
    std::uint8_t high = 255;
};

/// What a corrected pair of pixels (Cb, Y0, Cr, Y1) goes through, in this order. What is null changes
/// nothing.
struct CorrectionSettings {
    const std::uint8_t* luma = nullptr;  ///< 256 entries
    const ChromaRotation* rotation = nullptr;
    const std::uint8_t* chroma = nullptr;  ///< 256 entries, for each of Cb and Cr
    /// Red, green, blue: the halves v of the even entries of an odd table, 256 of them. The entry for x is
    /// v[x / 2] + v[(x + 1) / 2].
    const std::uint8_t* colours[3] = {};
    SampleLimits lumaLimits;
    SampleLimits chromaLimits;
};

/// Columns are pixels.
using CorrectionKernel = simd::Kernel<void(const simd::Job<1, 1>&, const CorrectionSettings&)>;

/// Luma, chroma, limits.
extern const CorrectionKernel kCorrect;
/// Colours as well.
extern const CorrectionKernel kCorrectColours;

}  // namespace Zan

#endif  // TESSELU_SRC_TONE_KERNELS_CORRECTION_H
