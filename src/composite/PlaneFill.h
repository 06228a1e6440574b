#ifndef TESSELU_SRC_COMPOSITE_PLANEFILL_H
#define TESSELU_SRC_COMPOSITE_PLANEFILL_H

#include <TesselU/foundation/Types.h>

#include "foundation/Plane.h"

namespace Zan {

/// What `ZanCompositor::Fill` makes of an 8-bit grey picture in the style `kBestAvailable`: the low byte of
/// `value`, which in rows shorter than the distance to an aligned address goes on to that address.
void FillPlaneOfBytes(const Plane& plane, ULong32 width, ULong32 rows, ULong32 value);

}  // namespace Zan

#endif  // TESSELU_SRC_COMPOSITE_PLANEFILL_H
