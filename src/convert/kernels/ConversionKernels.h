#ifndef TESSELU_SRC_CONVERT_KERNELS_CONVERSIONKERNELS_H
#define TESSELU_SRC_CONVERT_KERNELS_CONVERSIONKERNELS_H

#include "convert/KernelTable.h"

namespace Zan {

// The kernels that are compositions: name, reader, arithmetic, writer, columns of a group, how lines make
// bands. Columns beyond the last whole group are the tail of a line. The swaps are one body; they differ in
// the byte that an odd last column leaves alone.
#define TESSELU_CONVERSIONS(X)                                                                    \
    X(ConvertCbYCrYToRGB32, CbYCrYReader, SevenBit, Rgb32Writer, 16, SingleLines)                 \
    X(ConvertRGB32ToCbYCrY, Rgb32Reader, EightBit, CbYCrYWriter, 4, SingleLines)                  \
    X(ConvertPlanar420ToRGB32, Planar420Reader, Columnwise<2>, Rgb32Writer, 16, LinePairs)        \
    X(SwapCbYCrYToYCbYCr, RawPairsReader, Repack<SwapInWords>, RawPairsWriter<2>, 2, SingleLines) \
    X(SwapYCbYCrToCbYCrY, RawPairsReader, Repack<SwapInWords>, RawPairsWriter<3>, 2, SingleLines) \
    X(MakeMonochromeLines, RawPairsReader, Repack<NeutralChroma>, RawPairsWriter<3>, 2, SingleLines)

#define TESSELU_DECLARE_CONVERSION(NAME, ...) void NAME(const ConversionJob& job);
TESSELU_CONVERSIONS(TESSELU_DECLARE_CONVERSION)
#undef TESSELU_DECLARE_CONVERSION

/// `MakeMonochromeLines`, then the alpha plane.
void MakeMonochromeLinesAndCopyAlpha(const ConversionJob& job);

}  // namespace Zan

#endif  // TESSELU_SRC_CONVERT_KERNELS_CONVERSIONKERNELS_H
