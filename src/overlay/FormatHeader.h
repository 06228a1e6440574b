#ifndef TESSELU_SRC_OVERLAY_FORMATHEADER_H
#define TESSELU_SRC_OVERLAY_FORMATHEADER_H

#include <TesselU/foundation/Types.h>

#include <cstddef>
#include <cstdint>

namespace Zan {

class Image;

/// A picture in the terms of a device-independent bitmap.
struct FormatHeader {
    std::uint32_t size;
    std::uint32_t width;
    std::uint32_t height;
    std::uint16_t planes;    ///< 1, or 2 with an alpha plane
    std::uint16_t bitCount;  ///< of a pixel
    std::uint32_t compression;
    std::uint32_t unused20[8];
    std::uint32_t alphaMode;   ///< `kPremultiplied` or 0
    std::uint32_t fieldOrder;  ///< `kUpperFirst` or `kLowerFirst`
    std::uint32_t unused60[6];
    std::uint32_t noFields;  ///< 1 without field structure
    std::uint32_t unused88[5];
    std::uint32_t lineAlignment;
    std::uint32_t unused112[8];
    std::uint32_t colorSpaceTag;  ///< 1 for YCrCb
    std::uint32_t bitsPerSample;  ///< 8 for YCrCb
    std::uint32_t sampling;       ///< `kPairs` for YCrCb
    std::uint32_t reserved;

    static constexpr std::uint32_t kRgb = 0;
    static constexpr std::uint32_t kYuv = 0x56555940;  // "@YUV" in memory
    static constexpr std::uint32_t kPremultiplied = 2;
    static constexpr std::uint32_t kUpperFirst = 0, kLowerFirst = 32;
    static constexpr std::uint32_t kPairs = 512;
    static constexpr std::uint32_t kSizeWithAlignment = 144, kSize = 160;

    bool IsPacked422() const noexcept {
        return size >= kSize && compression == kYuv && sampling == kPairs && reserved == 0;
    }
    std::uint32_t LineAlignment() const noexcept {
        return size >= kSizeWithAlignment && lineAlignment < 1 ? 4 : lineAlignment;
    }
};

static_assert(sizeof(FormatHeader) == 160);
static_assert(offsetof(FormatHeader, size) == 0);
static_assert(offsetof(FormatHeader, width) == 4);
static_assert(offsetof(FormatHeader, height) == 8);
static_assert(offsetof(FormatHeader, planes) == 12);
static_assert(offsetof(FormatHeader, bitCount) == 14);
static_assert(offsetof(FormatHeader, compression) == 16);
static_assert(offsetof(FormatHeader, alphaMode) == 52);
static_assert(offsetof(FormatHeader, fieldOrder) == 56);
static_assert(offsetof(FormatHeader, noFields) == 84);
static_assert(offsetof(FormatHeader, lineAlignment) == 108);
static_assert(offsetof(FormatHeader, colorSpaceTag) == 144);
static_assert(offsetof(FormatHeader, bitsPerSample) == 148);
static_assert(offsetof(FormatHeader, sampling) == 152);
static_assert(offsetof(FormatHeader, reserved) == 156);

/// Describes `image`. Returns 0, or 0x8000001F for a format that overlays do not take.
Long32 BuildFormatHeader(const Image& image, FormatHeader& header) noexcept;

}  // namespace Zan

#endif  // TESSELU_SRC_OVERLAY_FORMATHEADER_H
