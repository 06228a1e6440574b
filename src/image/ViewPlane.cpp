#include "image/ViewPlane.h"

#include <TesselU/foundation/Status.h>
#include <TesselU/image/FieldHelpers.h>
#include <TesselU/image/Image.h>
#include <TesselU/image/ImageView.h>

#include <algorithm>
#include <limits>

namespace Zan {
namespace {

// Offsets are worked out in 64 bits on every target. A buffer never exceeds 32 bits, so that a pitch, doubled
// for a field, has 32 bits at most, and its product with a line 63. Sums, and what depends on the height of
// the frame, which need not be that of the channel, stop at the limit.
std::int64_t SaturatedSum(std::int64_t a, std::int64_t b) noexcept {
    constexpr std::int64_t kHighest = std::numeric_limits<std::int64_t>::max();
    constexpr std::int64_t kLowest = std::numeric_limits<std::int64_t>::min();
    if (b > 0 && a > kHighest - b) {
        return kHighest;
    }
    if (b < 0 && a < kLowest - b) {
        return kLowest;
    }
    return a + b;
}

// Bytes from the lowest line of a buffer, which is the bottom of the picture, to the top of the picture.
std::int64_t BottomToTop(ULong32 frameHeight, std::int64_t pitch) noexcept {
    constexpr std::uint64_t kHighest = std::numeric_limits<std::int64_t>::max();
    return static_cast<std::int64_t>(
        std::min((frameHeight - std::uint64_t{1}) * static_cast<std::uint64_t>(-pitch), kHighest));
}

// An address outside the address space stops at its ends, where no memory is.
std::uint8_t* AddressAt(std::uint8_t* base, std::int64_t offset) noexcept {
    const auto address = reinterpret_cast<std::uintptr_t>(base);
    constexpr std::uintptr_t kLast = std::numeric_limits<std::uintptr_t>::max();
    const std::uint64_t distance = offset < 0 ? std::uint64_t{0} - static_cast<std::uint64_t>(offset)
                                              : static_cast<std::uint64_t>(offset);
    if (offset < 0) {
        return reinterpret_cast<std::uint8_t*>(
            distance < address ? address - static_cast<std::uintptr_t>(distance) : std::uintptr_t{1});
    }
    return reinterpret_cast<std::uint8_t*>(
        distance < kLast - address ? address + static_cast<std::uintptr_t>(distance) : kLast);
}

// Bytes from the start of a line to its column `left`. Planes of sub-sampled chroma are addressed as if they
// had full width.
std::int64_t ColumnOffset(const Image& image, ULong32 channel, Long32 left) noexcept {
    if (left == 0) {
        return 0;
    }
    double bytes = 0.0;
    if (image.GetPixelPacking() == kPlanar) {
        bytes = image.GetBytesPerChannel(channel);
    } else if (image.GetChannelSampling() == k4224) {
        bytes = (channel < 3 ? 2.0 : 1.0) * image.GetBytesPerChannel(channel);
    } else {
        bytes = image.GetBytesPerPixel();
    }
    constexpr double kLimit = 4611686018427387904.0;  // 2^62, beyond every memory
    return static_cast<std::int64_t>(std::clamp(left * bytes, -kLimit, kLimit));
}

// Bytes from the top of the picture to the first selected line. A field starts on the first line at or below
// `top` that belongs to it.
std::int64_t LineOffset(const ImageView& view, std::int64_t top, std::int64_t pitch) noexcept {
    if (view.GetFieldOfInterest() == kFrame) {
        return top * pitch;
    }
    const bool fieldIsOdd = GetSpatialField(view.GetImage(), view.GetFieldOfInterest()) != kUpperField;
    const bool topIsOdd = (top & 1) != 0;
    return (top + (topIsOdd == fieldIsOdd ? 0 : 1)) * (pitch / 2);
}

}  // namespace

Plane PlaneOf(const ImageView& view, ULong32 channel) noexcept {
    const Image* const image = view.GetImage();
    const ImageDescriptor* const format = image != nullptr ? image->GetImageDescriptor() : nullptr;
    if (format == nullptr || channel >= format->channels.size()) {
        return {};
    }
    const ChannelDescriptor& record = format->channels[channel];
    std::uint8_t* const base = record.memory ? record.memory->GetAlignedPointer() : nullptr;
    if (base == nullptr) {
        return {};
    }
    if (SelectsAll(view, *format)) {
        return WholePlane(*record.memory);
    }
    const Rectangle region = view.GetRegionOfInterest();
    const std::int64_t downwards =
        std::int64_t{record.memory->GetPitch()} * (view.GetFieldOfInterest() != kFrame ? 2 : 1);
    const std::int64_t pitch = format->origin == kBottomLeft ? -downwards : downwards;
    const bool isHalved = record.sampling == kHalfBoth;
    const ULong32 frameHeight = isHalved ? format->height / 2 : format->height;

    std::int64_t offset = LineOffset(view, isHalved ? region.getTop() / 2 : region.getTop(), pitch);
    if (format->origin == kBottomLeft && frameHeight >= 1) {
        offset = SaturatedSum(offset, BottomToTop(frameHeight, pitch));
    }
    offset = SaturatedSum(offset, ColumnOffset(*image, channel, region.getLeft()));

    Plane plane;
    plane.first = AddressAt(base, offset);
    plane.pitch = static_cast<std::ptrdiff_t>(std::clamp<std::int64_t>(
        pitch, std::numeric_limits<std::ptrdiff_t>::min(), std::numeric_limits<std::ptrdiff_t>::max()));
    plane.begin = base;
    plane.end = base + record.memory->GetPixelBytes();
    return plane;
}

Long32 SelectPlane(const ImageView& view, ULong32 channel, ULong32 rows, Plane& plane) noexcept {
    plane = PlaneOf(view, channel);
    if (plane.first == nullptr) {
        return kStatusNullPointer;
    }
    if (view.GetRegionOfInterest().getLeft() < 0 || !plane.Holds(1, rows)) {
        return kStatusUnsupportedField;
    }
    return kStatusOk;
}

}  // namespace Zan
