#ifndef TESSELU_SRC_TONE_KERNELS_CORRECTION_H
#define TESSELU_SRC_TONE_KERNELS_CORRECTION_H

#include <cstdint>

#include "simd/Dispatch.h"
#include "simd/Job.h"

namespace Zan {

/// Rounded products of signed chroma with a cosine and a sine, halves away from zero, for 0 ... 128. Those of
/// negative chroma are their negations.
struct ChromaRotation {
    std::int16_t cosine[129];
    std::int16_t sine[129];
    /// In 1/32768: (chroma * factor + 2^14) >> 15 is the product above.
    std::int16_t cosineFactor;
    std::int16_t sineFactor;
};

/// An amplification of chroma that is limited to -127 ... 127.
struct ChromaGain {
    std::uint8_t table[256];  ///< of samples
    /// In 1/32768, of signed chroma * 2^shift: the rounded product, limited, is what the table holds.
    std::int16_t factor;
    std::uint8_t shift;
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
    const ChromaGain* gain = nullptr;
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
