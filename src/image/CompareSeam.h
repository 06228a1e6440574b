#ifndef TESSELU_SRC_IMAGE_COMPARESEAM_H
#define TESSELU_SRC_IMAGE_COMPARESEAM_H

#include <TesselU/image/ImageCompare.h>

namespace Zan {

/// For our own tests, not exported: a comparison of full size would take long to reach its limit.
class CompareSeam {
public:
    static ULong32& Limit(ImageCompare& compare) { return compare.limit; }
    static std::int64_t PixelDiffs(const ImageCompare& compare) { return compare.pixelDiffs; }
};

}  // namespace Zan

#endif  // TESSELU_SRC_IMAGE_COMPARESEAM_H
