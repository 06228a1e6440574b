#include "overlay/OverlayImage.h"

#include <TesselU/image/Image.h>

#include <cstddef>
#include <limits>

#include "overlay/OverlayStatus.h"

namespace Zan {
namespace {

Plane PlaneOfChannel(const Image& image, ULong32 channel) noexcept {
    auto* const first = static_cast<std::uint8_t*>(image.GetMemoryPointer(channel));
    return {first, static_cast<std::ptrdiff_t>(image.GetPitch(channel)), first,
            first + image.GetMemorySize(channel)};
}

/// `plane` from `row` and `byte` on. Rows are counted in 64 bits, since a record may say any height.
Plane PartOf(const Plane& plane, std::int64_t row, std::int64_t byte, std::int64_t step) noexcept {
    constexpr std::int64_t kMost = std::numeric_limits<std::ptrdiff_t>::max() / 4;
    const std::int64_t pitch = plane.pitch, distance = pitch < 0 ? -pitch : pitch;
    if (row < 0 || byte < 0 || byte > kMost ||
        (distance != 0 && (row > kMost / distance || distance > kMost / step))) {
        return {nullptr, 0, plane.begin, plane.end};
    }
    const std::int64_t offset = row * pitch + byte;
    const std::int64_t before = plane.first - plane.begin, after = plane.end - plane.first;
    if (offset < -before || offset >= after) {
        return {nullptr, 0, plane.begin, plane.end};
    }
    return {plane.first + offset, static_cast<std::ptrdiff_t>(pitch * step), plane.begin, plane.end};
}

/// The last of `lines` lines, and from there upwards.
Plane Upwards(const Plane& plane, std::int64_t lines) noexcept {
    Plane last = PartOf(plane, lines - 1, 0, 1);
    last.pitch = -last.pitch;
    return last;
}

}  // namespace

Long32 COverlayImage::Wrap(const Image& image, const FormatHeader& format) noexcept {
    header = format;
    origin = image.GetOrigin();
    colour = PlaneOfChannel(image, 0);
    if (HasAlphaPlane()) {
        if (image.GetMemoryPointer(3) == nullptr || image.GetPitch(3) == 0) {
            return kOverlayObjectNotFound;
        }
        alpha = PlaneOfChannel(image, 3);
    }
    return kStatusOk;
}

void COverlayImage::TurnOver() noexcept {
    origin = kTopLeft;
    header.fieldOrder ^= FormatHeader::kUpperFirst ^ FormatHeader::kLowerFirst;
    colour = Upwards(colour, header.height);
    if (HasAlphaPlane()) {
        alpha = Upwards(alpha, header.height);
    }
}

Plane COverlayImage::Colour(std::int64_t x, std::int64_t y, std::int64_t step) const noexcept {
    if (colour.first == nullptr) {
        return {};
    }
    return PartOf(colour, y - bounds.top, (x - bounds.left) * PixelBytes(), step);
}

Plane COverlayImage::Alpha(std::int64_t x, std::int64_t y, std::int64_t step) const noexcept {
    if (alpha.first == nullptr) {
        return {};
    }
    return PartOf(alpha, y - bounds.top, x - bounds.left, step);
}

}  // namespace Zan
