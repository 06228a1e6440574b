#ifndef TESSELU_SRC_OVERLAY_OVERLAYIMAGE_H
#define TESSELU_SRC_OVERLAY_OVERLAYIMAGE_H

#include <TesselU/image/ImageFormat.h>

#include <cstdint>

#include "foundation/Plane.h"
#include "overlay/FormatHeader.h"
#include "overlay/PositionRectangle.h"

namespace Zan {

class Image;

/// A picture as overlays see it: a format header, lines in memory, and where it lies on the result.
class COverlayImage {
public:
    COverlayImage() noexcept = default;
    virtual ~COverlayImage() = default;

    /// Wraps `image`, of which `format` is the header. Returns 0, or 0x8000000F without an alpha plane that
    /// the format asks for.
    Long32 Wrap(const Image& image, const FormatHeader& format) noexcept;

    virtual std::uint32_t GetColorspace() const noexcept { return header.compression; }
    virtual OriginEnum GetOrigin() const noexcept { return origin; }
    virtual std::uint32_t GetWidth() const noexcept { return header.width; }
    virtual std::uint32_t GetHeight() const noexcept { return header.height; }
    virtual unsigned GetBitCount() const noexcept { return header.bitCount; }

    bool HasAlphaPlane() const noexcept { return header.planes == 2; }
    bool IsPremultiplied() const noexcept { return header.alphaMode != 0; }
    /// Bytes of a pixel in the plane of colour.
    unsigned PixelBytes() const noexcept { return HasAlphaPlane() ? 2 : header.bitCount / 8U; }

    /// From then on the last line in memory counts as the first.
    void TurnOver() noexcept;

    /// The lines from pixel (x, y) of the result's coordinates on, every `step`-th. Empty where that lies
    /// outside of the memory.
    Plane Colour(std::int64_t x, std::int64_t y, std::int64_t step) const noexcept;
    Plane Alpha(std::int64_t x, std::int64_t y, std::int64_t step) const noexcept;

    FormatHeader header{};
    Plane colour, alpha;  ///< whole planes
    OriginEnum origin = kTopLeft;
    EdgeRectangle bounds;  ///< in the coordinates of the result
    EdgeRectangle region;  ///< what is taken of it, or written
};

}  // namespace Zan

#endif  // TESSELU_SRC_OVERLAY_OVERLAYIMAGE_H
