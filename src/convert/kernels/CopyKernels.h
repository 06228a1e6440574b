#ifndef TESSELU_SRC_CONVERT_KERNELS_COPYKERNELS_H
#define TESSELU_SRC_CONVERT_KERNELS_COPYKERNELS_H

#include "convert/KernelTable.h"

namespace Zan {

/// Copies one 32-bit word a column.
void CopyWordsPerColumn(const ConversionJob& job);

/// Copies one 32-bit word a pixel pair; the last column of an odd width stays as it was.
void CopyWordsPerPair(const ConversionJob& job);

/// Copies a 4:2:2 plane as `CopyWordsPerPair`, then the alpha plane.
void CopyPairsAndAlpha(const ConversionJob& job);

/// Copies the alpha plane alone, one byte a column.
void CopyAlphaPlane(const ConversionJob& job);

/// Copies 24-bit pixels.
void CopyTriples(const ConversionJob& job);

/// Copies one byte a column.
void CopyBytesPerColumn(const ConversionJob& job);

}  // namespace Zan

#endif  // TESSELU_SRC_CONVERT_KERNELS_COPYKERNELS_H
