#ifndef TESSELU_SRC_IMAGE_VIEWPLANE_H
#define TESSELU_SRC_IMAGE_VIEWPLANE_H

#include <TesselU/foundation/Types.h>

#include "foundation/Plane.h"

namespace Zan {

class ImageView;

/// The plane of `channel` in `view`: what the view answers as memory pointer and pitch is `first` and
/// `pitch`, and the bounds are those of the channel's memory. A view without memory in that channel gives an
/// empty plane; nothing is checked beyond that, so `first` may lie outside the bounds. Addresses never wrap,
/// whatever the view holds.
Plane PlaneOf(const ImageView& view, ULong32 channel) noexcept;

/// The plane of a view that an operation is about to walk over `rows` rows. Returns 0; 1 without memory; 98
/// when the selection itself leaves its plane (a field of a bottom-left image, a left edge outside).
Long32 SelectPlane(const ImageView& view, ULong32 channel, ULong32 rows, Plane& plane) noexcept;

}  // namespace Zan

#endif  // TESSELU_SRC_IMAGE_VIEWPLANE_H
