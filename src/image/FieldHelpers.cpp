#include <TesselU/image/FieldHelpers.h>
#include <TesselU/image/Image.h>

namespace Zan {

WhichFieldEnum GetOtherSpatialField(WhichFieldEnum field) noexcept {
    return field == kUpperField ? kLowerField : kUpperField;
}

WhichFieldEnum GetOtherTemporalField(WhichFieldEnum field) noexcept {
    return field == kFirstField ? kSecondField : kFirstField;
}

WhichFieldEnum GetSpatialField(const Image* image, WhichFieldEnum field) noexcept {
    if (!image || field == kFrame) {
        return kUpperField;
    }
    const bool upperFirst = image->GetScanStyle() == kUpperFieldFirst;
    switch (field) {
        case kFirstField:
            return upperFirst ? kUpperField : kLowerField;
        case kSecondField:
            return upperFirst ? kLowerField : kUpperField;
        default:
            return field;
    }
}

WhichFieldEnum GetTemporalField(const Image* image, WhichFieldEnum field) noexcept {
    if (!image || field == kFrame) {
        return kFirstField;
    }
    const bool upperFirst = image->GetScanStyle() == kUpperFieldFirst;
    switch (field) {
        case kUpperField:
            return upperFirst ? kFirstField : kSecondField;
        case kLowerField:
            return upperFirst ? kSecondField : kFirstField;
        default:
            return field;
    }
}

}  // namespace Zan
