#ifndef TESSELU_SRC_IMAGE_DESCRIPTORQUERIES_H
#define TESSELU_SRC_IMAGE_DESCRIPTORQUERIES_H

#include <TesselU/image/ImageDescriptor.h>

#include <cstddef>
#include <cstdint>

// What an image answers about its descriptor, for who asks before every picture.

namespace Zan {

/// The 8-bit levels of ITU-R BT.601, as fractions of full scale.
inline constexpr float kVideoBlack = 16.0F / 255.0F;
inline constexpr float kVideoLumaWhite = 235.0F / 255.0F;
inline constexpr float kVideoChromaWhite = 240.0F / 255.0F;

/// 128 times the bytes of one pixel over all channels.
inline std::uint64_t PixelBytesTimes128(const ImageDescriptor& descriptor) noexcept {
    // By the values of the sampling's enumeration, in sixteenths; both kinds of quarters are a quarter.
    constexpr std::uint64_t kShares[] = {16, 8, 4, 4};
    std::uint64_t sum = 0;
    for (const ChannelDescriptor& record : descriptor.channels) {
        const auto sampling = static_cast<std::size_t>(record.sampling);
        sum += sampling < sizeof kShares / sizeof *kShares ? record.bitsPerSample * kShares[sampling] : 0;
    }
    return sum;
}

/// What the first alpha channel holds; `kNoAlpha` if there is none.
inline AlphaDescriptionEnum AlphaDescriptionOf(const ImageDescriptor& descriptor) noexcept {
    for (const ChannelDescriptor& record : descriptor.channels) {
        if (record.isAlpha) {
            return record.alphaDescription;
        }
    }
    return kNoAlpha;
}

/// True when a level is exactly `level` in channel `first`, which must exist, and in those after it below
/// `end`.
inline bool HaveLevel(const ImageDescriptor& descriptor, float ChannelDescriptor::*field, float level,
                      std::size_t first, std::size_t end) noexcept {
    const std::size_t count = descriptor.channels.size();
    if (first >= count || descriptor.channels[first].*field != level) {
        return false;
    }
    for (std::size_t channel = first + 1; channel < end && channel < count; ++channel) {
        if (descriptor.channels[channel].*field != level) {
            return false;
        }
    }
    return true;
}

/// True when the first three channels have the 8-bit levels of ITU-R BT.601, within half a code value.
inline bool HasVideoLevels(const ImageDescriptor& descriptor) noexcept {
    std::size_t luma = 0;
    switch (descriptor.componentOrder) {
        case kCbYCrA:
            luma = 1;
            break;
        case kYCbYCr:
        case kYCbCrPlanes:
        case kYPlaneCbCrPlane:
        case kYCbCrA:
            break;
        default:
            return false;
    }
    if (descriptor.channels.size() < 3) {
        return false;
    }
    for (std::size_t channel = 0; channel < 3; ++channel) {
        const ChannelDescriptor& record = descriptor.channels[channel];
        // As images describe themselves.
        if (record.blackLevel == kVideoBlack &&
            record.whiteLevel == (channel == luma ? kVideoLumaWhite : kVideoChromaWhite)) {
            continue;
        }
        const double black = record.blackLevel, white = record.whiteLevel;
        const double code = channel == luma ? 235.0 : 240.0;
        if (!(black > 15.5 / 255.0 && black < 16.5 / 255.0 && white > (code - 0.5) / 255.0 &&
              white < (code + 0.5) / 255.0)) {
            return false;
        }
    }
    return true;
}

}  // namespace Zan

#endif  // TESSELU_SRC_IMAGE_DESCRIPTORQUERIES_H
