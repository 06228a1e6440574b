#ifndef TESSELU_SRC_KEY_KEYVIEWS_H
#define TESSELU_SRC_KEY_KEYVIEWS_H

#include <TesselU/foundation/Status.h>

#include "image/ViewFormat.h"
#include "image/ViewPlane.h"

namespace Zan {

/// What a table keyer is about to walk: a plane of its source, the key, and the area of both.
struct KeyViews {
    Plane source, key;
    ViewSize size;

    bool IsEmpty() const noexcept { return size.width == 0 || size.height == 0; }
};

inline bool HasImage(const ImageView& view) noexcept {
    return view.GetImage() != nullptr && view.GetImage()->GetImageDescriptor() != nullptr;
}

/// Takes `channel` of the source, and the key: 0, or the refusal (1, 98). An empty area is not looked at any
/// further.
inline Long32 SelectKeyViews(const ImageView& source, ULong32 channel, const ImageView& key,
                             KeyViews& views) noexcept {
    views.size = SmallestSize(source, key);
    const Long32 ofSource = SelectPlane(source, channel, views.size.height, views.source);
    const Long32 ofKey = SelectPlane(key, 0, views.size.height, views.key);
    if (ofSource == kStatusNullPointer || ofKey == kStatusNullPointer) {
        return kStatusNullPointer;
    }
    return views.IsEmpty() ? kStatusOk : ofSource != kStatusOk ? ofSource : ofKey;
}

}  // namespace Zan

#endif  // TESSELU_SRC_KEY_KEYVIEWS_H
