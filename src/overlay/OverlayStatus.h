#ifndef TESSELU_SRC_OVERLAY_OVERLAYSTATUS_H
#define TESSELU_SRC_OVERLAY_OVERLAYSTATUS_H

#include <TesselU/foundation/Status.h>

namespace Zan {

constexpr Long32 OverlayStatus(ULong32 n) noexcept {
    return static_cast<Long32>(kExtendedStatusBase + n);
}

inline constexpr Long32 kOverlayInvalidArgument = OverlayStatus(0x03);
inline constexpr Long32 kOverlayException = OverlayStatus(0x08);
inline constexpr Long32 kOverlayObjectNotFound = OverlayStatus(0x0F);
inline constexpr Long32 kOverlayUnknownFormat = OverlayStatus(0x1C);
inline constexpr Long32 kOverlayFormatNotSupported = OverlayStatus(0x1F);

}  // namespace Zan

#endif  // TESSELU_SRC_OVERLAY_OVERLAYSTATUS_H
