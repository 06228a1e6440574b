#ifndef TESSELU_IMAGE_IMAGEVIEW_H
#define TESSELU_IMAGE_IMAGEVIEW_H

#include <TesselU/foundation/Types.h>
#include <TesselU/image/ImageFormat.h>
#include <TesselU/image/Rectangle.h>

namespace Zan {

class Image;

/// A selection on an image: a region of interest, and the whole frame or one of its fields. Processing
/// operations take views, and see only the address, the size and the signed pitch that a view answers with.
///
/// A plain value: copy it freely. It holds no reference to its image and must not outlive it.
///
/// A walk of `GetHeight()` lines, `GetPitch()` bytes apart, from `GetMemoryPointer()` visits exactly the
/// selected lines in picture order: those of a frame on every origin, those of a field on a top-left image.
/// Fields of bottom-left images are not usable: their pointer lies beyond the buffer.
class TESSELU_API ImageView {
public:
    /// A view on nothing.
    ImageView() noexcept = default;
    /// The whole frame of `image`. `image` may be null, the view is then empty.
    ImageView(Image* image) noexcept;
    /// A part of `image`, see `SetRegionOfInterest`.
    ImageView(Image* image, Rectangle region, WhichFieldEnum field) noexcept;

    void Set(Image* newImage) noexcept;
    void Set(Image* newImage, Rectangle region, WhichFieldEnum field) noexcept;

    /// Selects the part of `region`, in frame lines and pixels, that lies inside the image. On packed 4:2:2
    /// the left edge is that of `region` with its lowest bit cleared, also when that lies left of the image,
    /// and the width stays as clipped. Without an image the region is cleared and the field not kept.
    void SetRegionOfInterest(Rectangle region, WhichFieldEnum field) noexcept;
    Rectangle GetRegionOfInterest() const noexcept { return regionOfInterest; }

    void SetFieldOfInterest(WhichFieldEnum field) noexcept { fieldOfInterest = field; }
    WhichFieldEnum GetFieldOfInterest() const noexcept { return fieldOfInterest; }

    Image* GetImage() const noexcept { return image; }

    /// Width of the region in pixels; 0 without an image.
    ULong32 GetWidth() const noexcept;
    /// Lines of the region that belong to the selected field; 0 without an image or with an empty region.
    ULong32 GetHeight() const noexcept;
    /// Bytes from one selected line of `channel` to the next: negative on a bottom-left image, doubled for a
    /// field; 0 without an image. A distance that does not fit 32 bits is limited to the nearest that does.
    Long32 GetPitch(ULong32 channel) const noexcept;
    /// The same as `GetPitch`.
    Long32 GetBytesPerLine(ULong32 channel) const noexcept { return GetPitch(channel); }
    /// The first selected byte of `channel`; null without an image, without memory or for a channel out of
    /// range. The left edge of a sub-sampled plane of a planar image is addressed as if the plane had full
    /// width: only regions with a left edge of 0 are right there.
    void* GetMemoryPointer(ULong32 channel) const noexcept;

private:
    Rectangle regionOfInterest;
    WhichFieldEnum fieldOfInterest = kFrame;
    Image* image = nullptr;
};

}  // namespace Zan

#endif  // TESSELU_IMAGE_IMAGEVIEW_H
