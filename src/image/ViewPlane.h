#ifndef TESSELU_SRC_IMAGE_VIEWPLANE_H
#define TESSELU_SRC_IMAGE_VIEWPLANE_H

#include <TesselU/foundation/Types.h>
#include <TesselU/image/ImageDescriptor.h>
#include <TesselU/image/ImageView.h>

#include "foundation/Plane.h"

namespace Zan {

/// Whether a view starts at the top left of its frame and takes every line, which is what most calls ask for:
/// its planes then need no arithmetic.
inline bool SelectsAll(const ImageView& view, const ImageDescriptor& format) noexcept {
    const Rectangle region = view.GetRegionOfInterest();
    // Longer pitches are limited, where addresses have 32 bits.
    constexpr bool kPitchesFit = sizeof(std::ptrdiff_t) > sizeof(ULong32);
    return kPitchesFit && region.getLeft() == 0 && region.getTop() == 0 &&
           view.GetFieldOfInterest() == kFrame && format.origin != kBottomLeft;
}

/// All of a buffer that has memory.
inline Plane WholePlane(const AlignedMemoryBuffer& memory) noexcept {
    std::uint8_t* const base = memory.GetAlignedPointer();
    return {base, static_cast<std::ptrdiff_t>(memory.GetPitch()), base, base + memory.GetPixelBytes()};
}

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
