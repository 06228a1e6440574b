#ifndef TESSELU_SRC_CONVERT_KERNELS_CONVERSIONKERNELS_H
#define TESSELU_SRC_CONVERT_KERNELS_CONVERSIONKERNELS_H

#include "simd/Dispatch.h"
#include "simd/Job.h"

namespace Zan {

struct FixedPointCoefficients;

/// One run of a kernel, from planes to planes by channel.
///
/// The planes hold every row that the two formats use, chroma excepted: 4 or 3 bytes a column in packed
/// formats, whole pixel pairs (4 bytes) in packed 4:2:2 also when the width is odd, one byte a column in an
/// alpha or luma plane.
struct ConversionJob {
    simd::Job<4, 4> planes;
    const FixedPointCoefficients* coefficients;  ///< null when the two formats are equal
    bool hasDefaults;  ///< the coefficients are those of a default matrix, of which kernels know more
    std::uint8_t alphaFill;
};

using ConversionKernel = simd::Kernel<void(const ConversionJob&)>;

// Copies. Of an odd width packed 4:2:2 copies whole pairs only.
extern const ConversionKernel kCopyPixels32;
extern const ConversionKernel kCopyPixels24;
extern const ConversionKernel kCopyPairs;
extern const ConversionKernel kCopyPairsAndAlpha;
extern const ConversionKernel kCopyBytePlane;

// Seven-bit input.
extern const ConversionKernel kConvertCbYCrYToRGB32;

// Eight-bit input.
extern const ConversionKernel kConvertRGB32ToCbYCrY;

// Planes with subsampled chroma.
extern const ConversionKernel kConvertPlanar420ToRGB32;

// Repacks. The swaps are one body; they differ in the byte that an odd last column leaves alone.
extern const ConversionKernel kSwapCbYCrYToYCbYCr;
extern const ConversionKernel kSwapYCbYCrToCbYCrY;
extern const ConversionKernel kMakeMonochromeLines;
extern const ConversionKernel kMakeMonochromeLinesAndCopyAlpha;

}  // namespace Zan

#endif  // TESSELU_SRC_CONVERT_KERNELS_CONVERSIONKERNELS_H
