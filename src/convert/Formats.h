#ifndef TESSELU_SRC_CONVERT_FORMATS_H
#define TESSELU_SRC_CONVERT_FORMATS_H

#include <TesselU/convert/ConverterFormat.h>
#include <TesselU/image/ImageFormat.h>

#include <cstddef>
#include <cstdint>
#include <span>

#include "convert/Layouts.h"

namespace Zan {

class Image;

constexpr std::size_t kConverterFormats = 26;

/// What is known of a format: the image that it is, and how it lies in memory.
struct FormatRecord {
    /// Levels of channels 0 and 1: black at 0, white at the top, clamp at 0, clamp at the top.
    enum class Levels : unsigned char {
        kAny,
        kExtreme,          ///< all four
        kFullNarrowClamp,  ///< the first two
        kStudio,           ///< none
        kStudioOpenClamp,  ///< the last two
        kItu601,           ///< the video levels of YCrCb
    };
    enum class Shaping : unsigned char { kAny, kOnlyUnshaped, kOnlyShaped };
    enum class Alpha : unsigned char { kAny, kPresent, kOnlyOpaque };
    enum class Content : unsigned char { kAny, kColorOrBlack, kOnlyMonochrome };
    enum class Scan : unsigned char { kAny, kOnlyProgressive, kOnlyInterlaced };

    /// Planes whose bytes a pixel are no whole number, and which are not tested.
    static constexpr int kAnyBytes = 0;

    ConverterFormat code;
    const char* name;
    std::span<const simd::PlaneUse> planes;
    PitchUnit pitch;  ///< of channel 0; the other channels have bytes
    ColorSpaceEnum space;
    AggregateChannelSamplingEnum sampling;
    ComponentOrderEnum order;
    PixelPackingEnum packing;
    int bytes;  ///< a pixel
    Levels levels;
    Shaping shaping = Shaping::kAny;
    Alpha alpha = Alpha::kAny;
    Content content = Content::kAny;
    Scan scan = Scan::kAny;
};

/// All formats, by their codes.
std::span<const FormatRecord, kConverterFormats> Formats() noexcept;

/// Whether the path that takes every pair reads and writes a format. All others are black to it, and are not
/// written.
constexpr bool HasGeneralForm(ConverterFormat code) noexcept {
    switch (code) {
        case kFmtPlanar420Interlaced:
        case kFmtCbYCrY4Shaped:
        case kFmtCbYCrY4:
        case kFmtCbYCrY4Mono:
        case kFmtCbYCrY4MonoShaped:
        case kFmtAlpha8:
        case kFmtUnknown:
            return false;
        default:
            return true;
    }
}

/// The codes that the converter works with for a pair of images.
struct FormatPair {
    ConverterFormat source;
    ConverterFormat destination;
};

/// The first format that an image fits, in the order of the codes; `kFmtUnknown` when it fits none.
ConverterFormat ClassifyImage(const Image& image) noexcept;

/// Takes the shaping out of a pair where the alpha of the source is constant, since shaped and unshaped
/// pictures are then the same.
FormatPair SimplifyPair(FormatPair pair, const Image& source) noexcept;

/// Both classified, and the pair simplified.
FormatPair ClassifyPair(const Image& source, const Image& destination) noexcept;

/// What a view selects of its image, as far as chroma is concerned.
struct Selection {
    bool hasLeftEdge = false;  ///< chroma is addressed as if it had full width, and ends beyond its plane
    bool isField = false;      ///< of an odd number of chroma lines, the lower field has one less
};

/// How what a picture has in a plane lies to the plane's memory.
enum class PlaneFit {
    kInside,
    kClamped,  ///< the memory lacks what the selection asks beyond the plane; the last that there is serves
    kOutside,
};

PlaneFit FitOf(const simd::PlaneUse& use, const Plane& plane, std::size_t width, std::size_t height,
               Selection selection) noexcept;

/// True when no plane of a format, by channel, is left.
bool PlanesHold(const FormatRecord& format, std::span<const Plane, 4> planes, std::size_t width,
                std::size_t height, Selection selection) noexcept;

}  // namespace Zan

#endif  // TESSELU_SRC_CONVERT_FORMATS_H
