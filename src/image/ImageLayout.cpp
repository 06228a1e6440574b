#include "image/ImageLayout.h"

namespace Zan {
namespace {

constexpr ULong32 UpToEven(ULong32 size) noexcept {
    return (size + 1U) & ~ULong32{1};
}

constexpr ULong32 BytesOfSample(AggregateBitsPerChannelEnum bits) noexcept {
    switch (bits) {
        case k16Bits:
            return 2;
        case k32Bits:
            return 4;
        default:
            return 1;
    }
}

ImageLayout PackedRgbLayout(ImageDescriptor& format) {
    format.componentOrder = kBGRA;
    const ULong32 w = format.width;
    const ULong32 h = format.height;
    ImageLayout layout;
    if (format.channelSampling == k4444) {
        const ULong32 sampleBytes = BytesOfSample(format.aggregateBits);
        layout.AddPlane(std::uint64_t{4} * sampleBytes * w, h);
        for (int color = 0; color < 3; ++color) {
            layout.AddChannel(Role::kRgb, w, h, kFullSampling, 8 * sampleBytes);
        }
        layout.AddChannel(Role::kAlpha, w, h, kFullSampling, 8 * sampleBytes);
    } else if (format.channelSampling == k444) {
        layout.AddPlane(std::uint64_t{3} * w, h);
        for (int color = 0; color < 3; ++color) {
            layout.AddChannel(Role::kRgb, w, h, kFullSampling);
        }
    } else {
        layout.AddPlane(0, h);
    }
    return layout;
}

// Full-rate samples of YCrCb, with alpha or without.
ImageLayout PackedFullRateLayout(const ImageDescriptor& format) {
    const ULong32 w = format.width;
    const ULong32 h = format.height;
    const std::size_t samples = format.channelSampling == k4444 ? 4 : 3;
    ImageLayout layout;
    layout.AddPlane(std::uint64_t{samples} * w, h);
    if (format.componentOrder != kCbYCrA && format.componentOrder != kYCbCrA) {
        layout.AddUndescribed(samples);
        return layout;
    }
    const std::size_t luma = format.componentOrder == kCbYCrA ? 1 : 0;
    for (std::size_t channel = 0; channel < 3; ++channel) {
        layout.AddChannel(channel == luma ? Role::kLuma : Role::kChroma, w, h, kFullSampling);
    }
    if (samples == 4) {
        layout.AddChannel(Role::kAlpha, w, h, kFullSampling);
    }
    return layout;
}

// 4:2:2 in pixel pairs, with an alpha plane of its own or without.
ImageLayout PackedPairsLayout(ImageDescriptor& format) {
    format.width = UpToEven(format.width);
    const ULong32 w = format.width;
    const ULong32 h = format.height;
    const bool hasAlpha = format.channelSampling == k4224;
    const bool lumaFirst = format.componentOrder == kYCbYCr && !hasAlpha;
    ImageLayout layout;
    layout.AddPlane(std::uint64_t{2} * w, h);
    const bool described = format.componentOrder == kCbYCrA || lumaFirst;
    if (described) {
        const std::size_t luma = lumaFirst ? 0 : 1;
        for (std::size_t channel = 0; channel < 3; ++channel) {
            if (channel == luma) {
                layout.AddChannel(Role::kLuma, w, h, kFullSampling);
            } else {
                layout.AddChannel(Role::kChroma, w / 2, h, kHalfHorizontal);
            }
        }
    } else {
        layout.AddUndescribed(hasAlpha ? 4 : 3);
    }
    if (hasAlpha) {
        layout.AddPlane(w, h);
        if (described) {
            layout.AddChannel(Role::kAlpha, w, h, kFullSampling);
        }
    }
    return layout;
}

ImageLayout PackedYCrCbLayout(ImageDescriptor& format) {
    switch (format.channelSampling) {
        case k4444:
        case k444:
            return PackedFullRateLayout(format);
        case k422:
        case k4224:
            return PackedPairsLayout(format);
        default: {
            ImageLayout layout;
            layout.AddPlane(0, format.height);
            return layout;
        }
    }
}

// Nothing for a component order that has no planes.
std::optional<ImageLayout> PlanarYCrCbLayout(ImageDescriptor& format) {
    ImageLayout layout;
    ULong32 chromaDivisor = 2;
    ULong32 chromaLineDivisor = 1;
    ChannelSamplingEnum chromaSampling = kHalfHorizontal;
    switch (format.channelSampling) {
        case k422:
            if (format.componentOrder != kYCbCrPlanes && format.componentOrder != kYPlaneCbCrPlane) {
                return std::nullopt;
            }
            format.width = UpToEven(format.width);
            break;
        case k420:
            format.width = UpToEven(format.width);
            format.height = UpToEven(format.height);
            chromaLineDivisor = 2;
            chromaSampling = kHalfBoth;
            break;
        case k411:
            // A width that is no multiple of 4 is not rounded: the picture has no columns.
            format.width = format.width % 4 == 0 ? format.width : 0;
            chromaDivisor = 4;
            chromaSampling = kQuarterHorizontal;
            break;
        default:
            return layout;
    }
    const ULong32 w = format.width;
    const ULong32 h = format.height;
    const ULong32 chromaWidth = w / chromaDivisor;
    const ULong32 chromaHeight = h / chromaLineDivisor;
    layout.AddPlane(w, h);
    layout.AddChannel(Role::kLuma, w, h, kFullSampling);
    if (format.channelSampling == k422 && format.componentOrder == kYPlaneCbCrPlane) {
        layout.AddPlane(w, h);
        layout.AddChannel(Role::kChroma, chromaWidth, chromaHeight, chromaSampling);
        layout.AddChannel(Role::kChroma, chromaWidth, chromaHeight, chromaSampling);
        return layout;
    }
    for (int plane = 0; plane < 2; ++plane) {
        layout.AddPlane(chromaWidth, chromaHeight);
        layout.AddChannel(Role::kChroma, chromaWidth, chromaHeight, chromaSampling);
    }
    return layout;
}

ImageLayout AlphaOnlyLayout(ImageDescriptor& format) {
    format.componentOrder = kBGRA;
    format.channelSampling = k4444;
    format.pixelPacking = kPacked;
    const ULong32 sampleBytes = BytesOfSample(format.aggregateBits);
    ImageLayout layout;
    layout.AddPlane(std::uint64_t{sampleBytes} * format.width, format.height);
    layout.AddChannel(Role::kAlpha, format.width, format.height, kFullSampling, 8 * sampleBytes);
    return layout;
}

}  // namespace

std::optional<ImageLayout> LayoutOf(ImageDescriptor& format) {
    switch (format.colorSpace) {
        case kRGB:
            return format.pixelPacking == kPacked ? PackedRgbLayout(format) : ImageLayout();
        case kYCrCb:
            if (format.pixelPacking == kPacked) {
                return PackedYCrCbLayout(format);
            }
            return format.pixelPacking == kPlanar ? PlanarYCrCbLayout(format) : ImageLayout();
        case kAlphaOnly:
            return AlphaOnlyLayout(format);
        default:
            return ImageLayout();
    }
}

}  // namespace Zan
