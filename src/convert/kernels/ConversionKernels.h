#ifndef TESSELU_SRC_CONVERT_KERNELS_CONVERSIONKERNELS_H
#define TESSELU_SRC_CONVERT_KERNELS_CONVERSIONKERNELS_H

#include <TesselU/convert/ConverterFormat.h>

#include "simd/Dispatch.h"
#include "simd/Job.h"

namespace Zan {

struct PreparedCoefficients;

/// One run of a kernel, from planes to planes by channel.
///
/// The planes hold every row that the two formats use, chroma excepted: 4 or 3 bytes a column in packed
/// formats, whole pixel pairs (4 bytes) in packed 4:2:2 also when the width is odd, one byte a column in an
/// alpha or luma plane. The columns beyond `planes.whole` are made in double precision.
struct ConversionJob {
    simd::Job<4, 4> planes;
    const PreparedCoefficients* coefficients;  ///< null for a pair that has no matrix
    ConverterFormat source, destination;
    bool hasDefaults;  ///< the coefficients are those of a default matrix, of which kernels know more
    bool inDoubles;    ///< for the floating-point path
    std::uint8_t alphaFill;
    std::uint8_t plusFunction;
};

using ConversionKernel = simd::Kernel<void(const ConversionJob&)>;

// Copies.
extern const ConversionKernel kCopyPixels32;
extern const ConversionKernel kCopyPixels24;
extern const ConversionKernel kCopyPairs;
extern const ConversionKernel kCopyPairsAndAlpha;
extern const ConversionKernel kCopyPairsAndFillAlpha;
extern const ConversionKernel kCopyBytePlane;

// Seven-bit input: 4:2:2 to pixels, pixels to pixels.
extern const ConversionKernel kConvertCbYCrYToRGB32;
extern const ConversionKernel kConvertCbYCrYToRGB24;
extern const ConversionKernel kConvertYCbYCrToRGB32;
extern const ConversionKernel kConvertYCbYCrToRGB24;
extern const ConversionKernel kConvertCbYCrY4ToRGB32;
extern const ConversionKernel kConvertCbYCrY4ShapedToRGB32;
extern const ConversionKernel kConvertCbYCrY4ToRGB32Shaped;
extern const ConversionKernel kConvertRGB32ToCbYCrA;
extern const ConversionKernel kConvertPlus;

// Eight-bit input.
extern const ConversionKernel kConvertRGB32ToCbYCrY;
extern const ConversionKernel kConvertRGB24ToCbYCrY;
extern const ConversionKernel kConvertRGB24ToYCbYCr;
extern const ConversionKernel kConvertRGB32ToPlanar420;
extern const ConversionKernel kConvertRGB32ToPlanar420Interlaced;
extern const ConversionKernel kConvertRGB32ToPlanar411;
extern const ConversionKernel kConvertRGB32ToPlanarGrouped;
extern const ConversionKernel kConvertRGB32ToCbYCrY4;
extern const ConversionKernel kConvertRGB32ToCbYCrY4Shaped;
extern const ConversionKernel kConvertRGB32ShapedToCbYCrY4;

// Planes with subsampled chroma.
extern const ConversionKernel kConvertPlanar420ToRGB32;
extern const ConversionKernel kConvertPlanar420InterlacedToRGB32;
extern const ConversionKernel kConvertPlanar411ToRGB32;

// Repacks. The swaps are one body; they differ in the byte that an odd last column leaves alone.
extern const ConversionKernel kPackRGB32ToRGB24;
extern const ConversionKernel kUnpackRGB24ToRGB32;
extern const ConversionKernel kPackCbYCrAToCbYCrY;
extern const ConversionKernel kUnpackCbYCrYToCbYCrA;
extern const ConversionKernel kSwapCbYCrYToYCbYCr;
extern const ConversionKernel kSwapYCbYCrToCbYCrY;
extern const ConversionKernel kPackCbYCrYToPlanar420;
extern const ConversionKernel kPackCbYCrYToPlanar422;
extern const ConversionKernel kPackCbYCrYToPlanarGrouped;
extern const ConversionKernel kUnpackPlanarGroupedToCbYCrY;
extern const ConversionKernel kUnpackPlanar422ToCbYCrY;
extern const ConversionKernel kPackYCbCrAToCbYCrY4;
extern const ConversionKernel kPackCbYCrAToCbYCrY4;
extern const ConversionKernel kUnpackCbYCrY4ToCbYCrA;
extern const ConversionKernel kMakeMonochromeLines;
extern const ConversionKernel kMakeMonochromeLinesAndCopyAlpha;

// Shaping.
extern const ConversionKernel kShapeRGB32;
extern const ConversionKernel kUnshapeRGB32;
extern const ConversionKernel kShapeCbYCrY4;
extern const ConversionKernel kUnshapeCbYCrY4;

// Portable: what only the slower paths have.
extern const ConversionKernel kFloatRGB32ToYCbCrA;
extern const ConversionKernel kFloatRGB32ToYCbCrAShaped;
extern const ConversionKernel kFloatCbYCrYToYCbCrA;
extern const ConversionKernel kFloatCbYCrYToYCbCr24;
extern const ConversionKernel kFloatCbYCr24ToCbYCrY;
extern const ConversionKernel kFloatYCbCr24ToCbYCrY;
extern const ConversionKernel kFloatCbYCrY4ToYCbCrA;
extern const ConversionKernel kFloatCbYCrY4ToYCbCrAShaped;
extern const ConversionKernel kFloatCbYCrY4ShapedToYCbCrA;
extern const ConversionKernel kConvertFixedPoint;
extern const ConversionKernel kConvertSinglePrecision;
extern const ConversionKernel kConvertGeneral;

}  // namespace Zan

#endif  // TESSELU_SRC_CONVERT_KERNELS_CONVERSIONKERNELS_H
