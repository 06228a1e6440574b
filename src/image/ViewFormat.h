#ifndef TESSELU_SRC_IMAGE_VIEWFORMAT_H
#define TESSELU_SRC_IMAGE_VIEWFORMAT_H

#include <TesselU/image/Image.h>
#include <TesselU/image/ImageView.h>

#include <algorithm>

namespace Zan {

/// The work area of an operation.
struct ViewSize {
    ULong32 width;
    ULong32 height;
};

/// The smallest width and the smallest height among the views.
template <typename... Views>
inline ViewSize SmallestSize(const ImageView& first, const Views&... others) noexcept {
    return {std::min({first.GetWidth(), others.GetWidth()...}),
            std::min({first.GetHeight(), others.GetHeight()...})};
}

/// Full-rate samples with alpha. Alpha-only images carry `k4444` as well, but do not count.
inline bool Is4444(const Image& image) noexcept {
    return image.GetChannelSampling() == k4444 && image.GetColorSpace() != kAlphaOnly;
}

/// 4:2:2 with or without an alpha plane. Alpha-only images on which a host set such a sampling do not count.
inline bool Is422Family(const Image& image) noexcept {
    const AggregateChannelSamplingEnum sampling = image.GetChannelSampling();
    return (sampling == k422 || sampling == k4224) && image.GetColorSpace() != kAlphaOnly;
}

inline bool IsPacked4444(const Image& image) noexcept {
    return Is4444(image) && image.GetPixelPacking() == kPacked;
}

inline bool IsPacked422Family(const Image& image) noexcept {
    return Is422Family(image) && image.GetPixelPacking() == kPacked;
}

/// Bytes of a pixel, truncated, and limited to 65536: a host may add channels of any depth.
inline ULong32 WholeBytesPerPixel(const Image& image) noexcept {
    return static_cast<ULong32>(std::min(image.GetBytesPerPixel(), 65536.0F));
}

/// The same rounded to the nearest whole number.
inline ULong32 RoundedBytesPerPixel(const Image& image) noexcept {
    return static_cast<ULong32>(std::min(image.GetBytesPerPixel(), 65536.0F) + 0.5F);
}

/// A grey or alpha plane of one byte a pixel.
inline bool IsGrey8(const Image& image) noexcept {
    return image.GetColorSpace() == kAlphaOnly && RoundedBytesPerPixel(image) == 1;
}

}  // namespace Zan

#endif  // TESSELU_SRC_IMAGE_VIEWFORMAT_H
