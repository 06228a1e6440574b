#ifndef TESSELU_SRC_IMAGE_IMAGELAYOUT_H
#define TESSELU_SRC_IMAGE_IMAGELAYOUT_H

#include <TesselU/image/ImageDescriptor.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace Zan {

/// What a channel of an image holds.
enum class Role { kUndescribed, kRgb, kLuma, kChroma, kAlpha };

struct PlaneLayout {
    std::uint64_t bytesPerLine = 0;
    ULong32 lines = 0;
};

struct ChannelLayout {
    Role role = Role::kUndescribed;
    std::size_t plane = 0;
    ULong32 width = 0;
    ULong32 height = 0;
    ChannelSamplingEnum sampling = kFullSampling;
    ULong32 bits = 8;
};

/// How a format lies in memory.
struct ImageLayout {
    std::size_t planeCount = 0;
    std::array<PlaneLayout, 3> planes;
    std::size_t channelCount = 0;
    std::array<ChannelLayout, 4> channels;

    void AddPlane(std::uint64_t bytesPerLine, ULong32 lines) { planes[planeCount++] = {bytesPerLine, lines}; }
    /// Puts a channel on the plane added last.
    void AddChannel(Role role, ULong32 width, ULong32 height, ChannelSamplingEnum sampling,
                    ULong32 bits = 8) {
        channels[channelCount++] = {role, planeCount - 1, width, height, sampling, bits};
    }
    /// Channels in their default state, without memory.
    void AddUndescribed(std::size_t count) { channelCount += count; }
};

/// The layout of `format`, whose width, height, order, sampling and packing are adjusted as `Image`
/// documents. No planes for a format without a layout; nothing where construction of the image must fail.
std::optional<ImageLayout> LayoutOf(ImageDescriptor& format);

}  // namespace Zan

#endif  // TESSELU_SRC_IMAGE_IMAGELAYOUT_H
