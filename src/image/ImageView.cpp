#include <TesselU/image/FieldHelpers.h>
#include <TesselU/image/Image.h>
#include <TesselU/image/ImageView.h>

#include <algorithm>
#include <limits>

#include "image/ViewPlane.h"

namespace Zan {
namespace {

constexpr Long32 kLong32Max = std::numeric_limits<Long32>::max();

Rectangle WholeFrame(const Image& image) noexcept {
    const auto limited = [](ULong32 size) {
        return static_cast<Long32>(std::min(size, static_cast<ULong32>(kLong32Max)));
    };
    return {0, 0, limited(image.GetWidth()), limited(image.GetHeight())};
}

}  // namespace

ImageView::ImageView(Image* newImage) noexcept {
    Set(newImage);
}

ImageView::ImageView(Image* newImage, Rectangle region, WhichFieldEnum field) noexcept {
    Set(newImage, region, field);
}

void ImageView::Set(Image* newImage) noexcept {
    image = newImage;
    fieldOfInterest = kFrame;
    regionOfInterest = image ? WholeFrame(*image) : Rectangle();
}

void ImageView::Set(Image* newImage, Rectangle region, WhichFieldEnum field) noexcept {
    image = newImage;
    SetRegionOfInterest(region, field);
}

void ImageView::SetRegionOfInterest(Rectangle region, WhichFieldEnum field) noexcept {
    if (!image) {
        regionOfInterest = Rectangle();
        return;
    }
    regionOfInterest = region.intersection(WholeFrame(*image));
    fieldOfInterest = field;
    const AggregateChannelSamplingEnum sampling = image->GetChannelSampling();
    if ((sampling == k422 || sampling == k4224) && image->GetPixelPacking() == kPacked) {
        // A region of packed 4:2:2 starts on a pixel pair, taken from the left edge asked for, not the
        // clipped one.
        regionOfInterest.setLeft(region.getLeft() & ~Long32{1});
    }
}

ULong32 ImageView::GetWidth() const noexcept {
    return image ? static_cast<ULong32>(std::max<Long32>(regionOfInterest.getWidth(), 0)) : 0;
}

ULong32 ImageView::GetHeight() const noexcept {
    if (!image || regionOfInterest.getWidth() <= 0 || regionOfInterest.getHeight() <= 0) {
        return 0;
    }
    const auto top = static_cast<ULong32>(regionOfInterest.getTop());
    const auto height = static_cast<ULong32>(regionOfInterest.getHeight());
    if (fieldOfInterest == kFrame) {
        return height;
    }
    // Above line n of the buffer lie (n + 1) / 2 even lines and n / 2 odd ones.
    const ULong32 upper = GetSpatialField(image, fieldOfInterest) == kUpperField ? 1 : 0;
    return (top + height + upper) / 2 - (top + upper) / 2;
}

Long32 ImageView::GetPitch(ULong32 channel) const noexcept {
    return static_cast<Long32>(std::clamp<std::ptrdiff_t>(PlaneOf(*this, channel).pitch,
                                                          std::numeric_limits<Long32>::min(), kLong32Max));
}

void* ImageView::GetMemoryPointer(ULong32 channel) const noexcept {
    return PlaneOf(*this, channel).first;
}

}  // namespace Zan
