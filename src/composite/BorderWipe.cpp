// The wipe with a border, on views.

#include <TesselU/composite/ZanCompositor.h>

#include "composite/BlendPaths.h"
#include "composite/ViewPlanes.h"
#include "composite/kernels/Fill.h"

namespace Zan {
namespace {

constexpr std::uint8_t TruncatedByte(double value) {
    return static_cast<std::uint8_t>(std::clamp(static_cast<int>(value), 0, 255));
}

BorderColour BytesOf(ULong32 word) {
    return {{static_cast<std::uint8_t>(word), static_cast<std::uint8_t>(word >> 8),
             static_cast<std::uint8_t>(word >> 16), static_cast<std::uint8_t>(word >> 24)}};
}

/// B, G, R, A of full range to Cb, Y, Cr, A: ITU-R BT.601.
BorderColour ToYCrCb(const BorderColour& colour) {
    const double b = colour.byte[0], g = colour.byte[1], r = colour.byte[2];
    return {{TruncatedByte(0.439 * b - (0.148 * r + 0.291 * g) + 128.5),
             TruncatedByte(0.098 * b + 0.257 * r + 0.504 * g + 16.5),
             TruncatedByte(0.439 * r - 0.368 * g - 0.071 * b + 128.5), colour.byte[3]}};
}

/// The threshold of a wipe at `position` whose edge is `width` code values wide.
double ThresholdOf(double position, double width) {
    const double wide = width > 0 ? (width < 32768 ? width : 32768) : 0;
    const double at = position > 0 ? (position < 1 ? position : 1) : 0;
    return std::min(-wide / 255 + (255 + wide) / 255 * at, 1.0);
}

}  // namespace

Long32 ZanCompositor::CompositeTwoSrcAndAlphaGradientWithBorder(ImageView& srcA, ImageView& srcB,
                                                                ImageView& key, ImageView& dst,
                                                                double position, double softnessA,
                                                                double borderWidth, double softnessB,
                                                                ULong32 borderColor, ProcessingStyleEnum) {
    if (!HaveImages({&srcA, &srcB, &key, &dst})) {
        return kStatusNullPointer;
    }
    const Image &imageA = *srcA.GetImage(), &imageB = *srcB.GetImage(), &imageOut = *dst.GetImage();
    const BlendFormat format = CommonFormat(imageA, imageB, imageOut);
    const ULong32 keyBytes = RoundedBytesPerPixel(*key.GetImage());
    const bool isKnownKey = keyBytes == 1 || keyBytes == 2;
    if (format == BlendFormat::kNeither || (isKnownKey && key.GetImage()->GetColorSpace() != kAlphaOnly)) {
        return kStatusUnsupportedFormat;
    }

    const auto [width, height] = SmallestSize(srcA, srcB, key, dst);
    KeyedJob colour{.width = width, .height = height, .whole = width}, alpha = colour;
    const bool hasAlpha = format == BlendFormat::kPairs && dst.GetMemoryPointer(3) != nullptr;
    if (const Long32 status = SelectPlanes({{srcA, 0, colour.source[0]},
                                            {srcB, 0, colour.source[1]},
                                            {key, 0, colour.source[2]},
                                            {dst, 0, colour.destination[0]},
                                            {srcA, 3, alpha.source[0], hasAlpha, true},
                                            {srcB, 3, alpha.source[1], hasAlpha, true},
                                            {dst, 3, alpha.destination[0], hasAlpha}},
                                           height);
        status != kStatusOk) {
        return status;
    }
    alpha.source[2] = colour.source[2];

    const double threshold = ThresholdOf(position, softnessA + borderWidth + softnessB);
    const auto rampOf = [&](double top, double factor) {
        return BorderRamp::From(threshold, softnessA, borderWidth, softnessB, top, factor);
    };
    const BorderColour given = BytesOf(borderColor);
    const bool isYCrCb = imageA.GetColorSpace() == kYCrCb && imageB.GetColorSpace() == kYCrCb &&
                         imageOut.GetColorSpace() == kYCrCb;
    BorderColour border = isYCrCb ? ToYCrCb(given) : given;
    BorderMap map = BorderMap::From(rampOf(255, 1), border);
    if (format == BlendFormat::kPixels) {
        kBorderPixels(colour, map);
        return kStatusOk;
    }

    // A word of 4:2:2 has luma twice. An odd last pixel of colour has no pair; its alpha needs none.
    border.byte[3] = border.byte[1];
    map.colour = border;
    colour.width = colour.whole = width - width % 2;
    if (keyBytes == 1) {
        kBorderPairs(colour, map);
    } else {
        // Every second row of the key, of which the last ones lie below its plane.
        colour.source[2].pitch *= 2;
        kBorderPairsOfWideKeys(colour, rampOf(65535, double{1.0F / 255}), border);
    }
    if (hasAlpha && alpha.source[0].first == nullptr && alpha.source[1].first == nullptr) {
        kFillBytes({{}, {alpha.destination[0]}, width, height, width},
                   {.pattern = 0xFFFFFFFFU, .boundary = 1});
    } else if (hasAlpha) {
        map.colour = {{given.byte[3], given.byte[3], given.byte[3], given.byte[3]}};
        kBorderBytes(alpha, map);
    }
    return kStatusOk;
}

}  // namespace Zan
