#include <TesselU/key/LumaKeyer.h>

#include "foundation/ClassCapabilities.h"
#include "key/KeyRamp.h"
#include "key/KeyViews.h"
#include "key/kernels/KeyTable.h"

namespace Zan {

constinit CPUcapabilities& LumaKeyer::CPUinstructionSet = classCapabilities[kOwnerLumaKeyer];

LumaKeyer::LumaKeyer() noexcept {
    SetToIdentity(lut);
}

Long32 LumaKeyer::Set(double center, double halfWidth, double softness, double level, double offset,
                      bool invert) noexcept {
    return SetRamp(lut, center, halfWidth, softness, level, offset, invert);
}

Long32 LumaKeyer::Do(ImageView& source, ImageView& key, ProcessingStyleEnum) const {
    if (!HasImage(source) || !HasImage(key)) {
        return kStatusNullPointer;
    }
    const Image& picture = *source.GetImage();
    if (!Is422Family(picture) || picture.GetColorSpace() != kYCrCb ||
        key.GetImage()->GetColorSpace() != kAlphaOnly) {
        return kStatusUnsupportedFormat;
    }
    KeyViews views;
    const Long32 status = SelectKeyViews(source, 0, key, views);
    if (status != kStatusOk || views.IsEmpty()) {
        return status;
    }
    const std::size_t whole = views.size.width / 2 * 2, height = views.size.height;
    if (picture.GetChannelSampling() == k4224) {
        kKeyTimesLuma({{views.source, views.key}, {views.key}, whole, height, whole}, lut);
    } else {
        kKeyOfLuma({{views.source}, {views.key}, whole, height, whole}, lut);
    }
    return kStatusOk;
}

}  // namespace Zan
