#ifndef TESSELU_SRC_COMPOSITE_VIEWPLANES_H
#define TESSELU_SRC_COMPOSITE_VIEWPLANES_H

#include <TesselU/foundation/Status.h>

#include <algorithm>
#include <initializer_list>

#include "image/ViewFormat.h"
#include "image/ViewPlane.h"

namespace Zan {

/// What the three pictures of a blend have in common.
enum class BlendFormat {
    kPixels,  ///< four samples in a 32-bit word
    kPairs,   ///< 4:2:2, with or without a plane of alpha
    kNeither,
};

inline BlendFormat CommonFormat(const Image& a, const Image& b, const Image& out) noexcept {
    if (Is4444(a) && Is4444(b) && Is4444(out)) {
        return BlendFormat::kPixels;
    }
    return Is422Family(a) && Is422Family(b) && Is422Family(out) ? BlendFormat::kPairs : BlendFormat::kNeither;
}

inline bool HaveImages(std::initializer_list<const ImageView*> views) noexcept {
    return std::all_of(views.begin(), views.end(), [](const ImageView* view) {
        return view->GetImage() != nullptr && view->GetImage()->GetImageDescriptor() != nullptr;
    });
}

/// 32-bit words of `width` pixels of an image.
inline std::size_t WordsOf(const Image& image, ULong32 width) noexcept {
    // A host may add channels of any depth; no buffer holds more words than this.
    constexpr double kMost = 2147483648.0;
    const double bytesPerPixel = image.GetBytesPerPixel();
    return static_cast<std::size_t>(std::min(bytesPerPixel * width * 0.25, kMost));
}

/// A plane that an operation is about to walk.
struct PlaneChoice {
    const ImageView& view;
    ULong32 channel;
    Plane& plane;
    bool isNeeded = true;
    bool mayBeMissing = false;
};

/// Selects planes over `rows` rows before anything is written: 0, or the first refusal (1, 98).
inline Long32 SelectPlanes(std::initializer_list<PlaneChoice> choices, ULong32 rows) noexcept {
    for (const PlaneChoice& choice : choices) {
        if (!choice.isNeeded) {
            continue;
        }
        const Long32 status = SelectPlane(choice.view, choice.channel, rows, choice.plane);
        if (status != kStatusOk && !(choice.mayBeMissing && status == kStatusNullPointer)) {
            return status;
        }
    }
    return kStatusOk;
}

}  // namespace Zan

#endif  // TESSELU_SRC_COMPOSITE_VIEWPLANES_H
