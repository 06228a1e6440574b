#ifndef TESSELU_CONVERT_CONVERSIONMATRIX_H
#define TESSELU_CONVERT_CONVERSIONMATRIX_H

#include <TesselU/foundation/Types.h>

#include <vector>

namespace Zan {

/// The colour conversions that have a matrix, between ITU-R BT.601 YCrCb at video levels and RGB at full
/// levels (0 to 255) or studio levels (16 to 235).
enum ConversionKind : int {
    kKindIdentity = 0,
    kKindYCrCbToStudioRGB = 1,
    kKindStudioRGBToYCrCb = 2,
    kKindFullRGBToYCrCb = 3,
    kKindYCrCbToFullRGB = 4
};

/// Makes the colour matrix of one kind. Both tables are resized: `matrix` to 4 by 4, `offsets` to 2 by 4.
///
/// A pixel is a vector of four samples in memory order: B, G, R, A or Cb, Y, Cr, A. Row i of the matrix makes
/// output sample i; row 0 of the offsets is added before the matrix and row 1 after it, in 8-bit code values:
/// out[i] = sum over j of matrix[i][j] * (in[j] + offsets[0][j]) + offsets[1][i].
/// Entries are whole 4096ths. A value that is no kind makes the identity with no offsets.
TESSELU_API void MakeConversionMatrix(std::vector<std::vector<double>>& matrix,
                                      std::vector<std::vector<double>>& offsets, ConversionKind kind);

/// The default matrix of a conversion between two `ConverterFormat` codes: 16 doubles, row after row, and 8
/// offsets, the row before the matrix first. Pairs that need no matrix get the identity.
TESSELU_API void DefaultMatrixForFormats(double* matrix16, double* offsets8, ULong32 sourceFormat,
                                         ULong32 destinationFormat);

}  // namespace Zan

#endif  // TESSELU_CONVERT_CONVERSIONMATRIX_H
