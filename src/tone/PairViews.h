#ifndef TESSELU_SRC_TONE_PAIRVIEWS_H
#define TESSELU_SRC_TONE_PAIRVIEWS_H

#include <TesselU/foundation/Status.h>

#include "image/ViewFormat.h"
#include "image/ViewPlane.h"

namespace Zan {

/// The pairs of pixels of two packed 4:2:2 views that an operation is about to walk.
struct PairViews {
    Plane source, destination;
    ViewSize size;
};

inline bool IsPackedYCrCb422(const Image& image) noexcept {
    return IsPacked422Family(image) && image.GetColorSpace() == kYCrCb;
}

/// Takes the planes of two views: 0, or the refusal (1, 4, 98).
inline Long32 SelectPairs(const ImageView& source, const ImageView& destination, PairViews& pairs) noexcept {
    for (const ImageView* view : {&source, &destination}) {
        if (view->GetImage() == nullptr || view->GetImage()->GetImageDescriptor() == nullptr) {
            return kStatusNullPointer;
        }
    }
    if (!IsPackedYCrCb422(*source.GetImage()) || !IsPackedYCrCb422(*destination.GetImage())) {
        return kStatusUnsupportedFormat;
    }
    pairs.size = SmallestSize(source, destination);
    const Long32 status = SelectPlane(source, 0, pairs.size.height, pairs.source);
    return status != kStatusOk ? status : SelectPlane(destination, 0, pairs.size.height, pairs.destination);
}

}  // namespace Zan

#endif  // TESSELU_SRC_TONE_PAIRVIEWS_H
