#ifndef TESSELU_IMAGE_FIELDHELPERS_H
#define TESSELU_IMAGE_FIELDHELPERS_H

#include <TesselU/foundation/Types.h>
#include <TesselU/image/ImageFormat.h>

namespace Zan {

class Image;

/// `kLowerField` for `kUpperField`, else `kUpperField`.
TESSELU_API WhichFieldEnum GetOtherSpatialField(WhichFieldEnum field) noexcept;

/// `kSecondField` for `kFirstField`, else `kFirstField`.
TESSELU_API WhichFieldEnum GetOtherTemporalField(WhichFieldEnum field) noexcept;

/// Where in the frame the lines of `field` lie. A field in time is looked up in the scan style of `image`;
/// anything but `kUpperFieldFirst` counts as lower field first. Without an image, or for `kFrame`, the answer
/// is `kUpperField`; other values come back unchanged.
TESSELU_API WhichFieldEnum GetSpatialField(const Image* image, WhichFieldEnum field) noexcept;

/// When `field` was scanned. A field in space is looked up in the scan style of `image`; anything but
/// `kUpperFieldFirst` counts as lower field first. Without an image, or for `kFrame`, the answer is
/// `kFirstField`; other values come back unchanged.
TESSELU_API WhichFieldEnum GetTemporalField(const Image* image, WhichFieldEnum field) noexcept;

}  // namespace Zan

#endif  // TESSELU_IMAGE_FIELDHELPERS_H
