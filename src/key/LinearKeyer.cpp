#include <TesselU/key/LinearKeyer.h>

#include "foundation/ClassCapabilities.h"
#include "key/KeyRamp.h"
#include "key/KeyViews.h"
#include "key/kernels/KeyTable.h"

namespace Zan {

constinit CPUcapabilities& LinearKeyer::CPUinstructionSet = classCapabilities[kOwnerLinearKeyer];

LinearKeyer::LinearKeyer() noexcept {
    SetToIdentity(lut);
}

Long32 LinearKeyer::Set(double center, double halfWidth, double softness, double level, double offset,
                        bool invert) noexcept {
    return SetRamp(lut, center, halfWidth, softness, level, offset, invert);
}

Long32 LinearKeyer::Do(ImageView& source, ImageView& key, ProcessingStyleEnum) const {
    if (!HasImage(source) || !HasImage(key)) {
        return kStatusNullPointer;
    }
    const Image& picture = *source.GetImage();
    if (picture.GetChannelSampling() != k4224 || picture.GetColorSpace() != kYCrCb ||
        key.GetImage()->GetColorSpace() != kAlphaOnly) {
        return kStatusUnsupportedFormat;
    }
    KeyViews views;
    const Long32 status = SelectKeyViews(source, 3, key, views);
    if (status == kStatusOk && !views.IsEmpty()) {
        const std::size_t width = views.size.width;
        kKeyOfBytes({{views.source}, {views.key}, width, views.size.height, width}, lut);
    }
    return status;
}

}  // namespace Zan
