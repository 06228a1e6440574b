#include "convert/FormatCatalogue.h"

#include <TesselU/image/Image.h>

#include <limits>

namespace Zan {
namespace {

// Levels of channels 0 and 1: black at 0, white at the top, clamp at 0, clamp at the top.
enum class Levels {
    kAny,
    kExtreme,          // all four
    kFullNarrowClamp,  // the first two
    kStudio,           // none
    kStudioOpenClamp,  // the last two
    kItu601,           // the video levels of YCrCb
};
enum class Shaping { kAny, kOnlyUnshaped, kOnlyShaped };
enum class Alpha { kAny, kPresent, kOnlyOpaque };
enum class Content { kAny, kColorOrBlack, kOnlyMonochrome };
enum class Scan { kAny, kOnlyProgressive, kOnlyInterlaced };

// Three-plane formats with chroma of a quarter the samples have no whole figure of bytes a pixel.
constexpr float kAnyBytes = 0;

struct CatalogueRow {
    ConverterFormat code;
    ColorSpaceEnum space;
    AggregateChannelSamplingEnum sampling;
    ComponentOrderEnum order;
    PixelPackingEnum packing;
    float bytes;
    Levels levels;
    Shaping shaping = Shaping::kAny;
    Alpha alpha = Alpha::kAny;
    Content content = Content::kAny;
    Scan scan = Scan::kAny;
};

// Tested from the top, the first row that fits gives the code. `kFmtAlpha8` looks at nothing that is common
// to these rows and follows after them.
constexpr CatalogueRow catalogue[] = {
    {kFmtRGB32, kRGB, k4444, kBGRA, kPacked, 4, Levels::kExtreme, Shaping::kOnlyUnshaped},
    {kFmtCbYCrA, kYCrCb, k4444, kCbYCrA, kPacked, 4, Levels::kItu601, Shaping::kOnlyUnshaped},
    {kFmtCbYCrY, kYCrCb, k422, kCbYCrA, kPacked, 2, Levels::kItu601, Shaping::kAny, Alpha::kAny,
     Content::kColorOrBlack},
    {kFmtRGB32NarrowClamp, kRGB, k4444, kBGRA, kPacked, 4, Levels::kFullNarrowClamp},
    {kFmtRGB32Studio, kRGB, k4444, kBGRA, kPacked, 4, Levels::kStudio},
    {kFmtRGB32StudioOpen, kRGB, k4444, kBGRA, kPacked, 4, Levels::kStudioOpenClamp},
    {kFmtPlanar420, kYCrCb, k420, kYCbCrPlanes, kPlanar, kAnyBytes, Levels::kItu601, Shaping::kAny,
     Alpha::kAny, Content::kAny, Scan::kOnlyProgressive},
    {kFmtPlanar422, kYCrCb, k422, kYCbCrPlanes, kPlanar, 2, Levels::kItu601},
    {kFmtPlanar420Interlaced, kYCrCb, k420, kYCbCrPlanes, kPlanar, kAnyBytes, Levels::kItu601, Shaping::kAny,
     Alpha::kAny, Content::kAny, Scan::kOnlyInterlaced},
    {kFmtPlanar411, kYCrCb, k411, kYCbCrPlanes, kPlanar, kAnyBytes, Levels::kItu601},
    {kFmtRGB24, kRGB, k444, kBGRA, kPacked, 3, Levels::kExtreme},
    {kFmtYCbYCr, kYCrCb, k422, kYCbYCr, kPacked, 2, Levels::kItu601},
    {kFmtPlanarGrouped, kYCrCb, k422, kYPlaneCbCrPlane, kPlanar, 2, Levels::kItu601},
    {kFmtYCbCrA, kYCrCb, k4444, kYCbCrA, kPacked, 4, Levels::kAny, Shaping::kOnlyUnshaped},
    {kFmtRGB32Shaped, kRGB, k4444, kBGRA, kPacked, 4, Levels::kExtreme, Shaping::kOnlyShaped,
     Alpha::kPresent},
    {kFmtCbYCrAShaped, kYCrCb, k4444, kCbYCrA, kPacked, 4, Levels::kItu601, Shaping::kOnlyShaped,
     Alpha::kPresent},
    {kFmtCbYCrY4Shaped, kYCrCb, k4224, kCbYCrA, kPacked, 3, Levels::kItu601, Shaping::kOnlyShaped,
     Alpha::kPresent, Content::kColorOrBlack},
    {kFmtCbYCrY4, kYCrCb, k4224, kCbYCrA, kPacked, 3, Levels::kItu601, Shaping::kOnlyUnshaped, Alpha::kAny,
     Content::kColorOrBlack},
    {kFmtCbYCrYMono, kYCrCb, k422, kCbYCrA, kPacked, 2, Levels::kItu601, Shaping::kAny, Alpha::kAny,
     Content::kOnlyMonochrome},
    {kFmtCbYCrY4Mono, kYCrCb, k4224, kCbYCrA, kPacked, 3, Levels::kItu601, Shaping::kOnlyUnshaped,
     Alpha::kAny, Content::kOnlyMonochrome},
    {kFmtRGB32ShapedOpaque, kRGB, k4444, kBGRA, kPacked, 4, Levels::kExtreme, Shaping::kOnlyShaped,
     Alpha::kOnlyOpaque},
    {kFmtCbYCr24, kYCrCb, k444, kCbYCrA, kPacked, 3, Levels::kItu601, Shaping::kOnlyUnshaped},
    {kFmtCbYCrY4MonoShaped, kYCrCb, k4224, kCbYCrA, kPacked, 3, Levels::kItu601, Shaping::kOnlyShaped,
     Alpha::kPresent, Content::kOnlyMonochrome},
    {kFmtYCbCrAShaped, kYCrCb, k4444, kYCbCrA, kPacked, 4, Levels::kItu601, Shaping::kOnlyShaped},
    {kFmtYCbCr24, kYCrCb, k444, kYCbCrA, kPacked, 3, Levels::kItu601},
};

bool LevelsFit(const Image& image, Levels wanted) noexcept {
    if (wanted == Levels::kAny) {
        return true;
    }
    if (wanted == Levels::kItu601) {
        return image.AreYCrCbBlackAndWhiteLevelsAtITU601();
    }
    const bool full = wanted == Levels::kExtreme || wanted == Levels::kFullNarrowClamp;
    const bool openClamp = wanted == Levels::kExtreme || wanted == Levels::kStudioOpenClamp;
    return image.IsBlackLevelAtZero(0, 2) == full && image.IsWhiteLevelAtMax(0, 2) == full &&
           image.IsClampLowLevelAtZero(0, 2) == openClamp && image.IsClampHighLevelAtMax(0, 2) == openClamp;
}

bool ShapingFits(const Image& image, Shaping wanted) noexcept {
    return wanted == Shaping::kAny ||
           image.GetPixelShaping() == (wanted == Shaping::kOnlyShaped ? kShaped : kUnshaped);
}

bool AlphaFits(const Image& image, Alpha wanted) noexcept {
    switch (wanted) {
        case Alpha::kPresent:
            return image.GetAlphaChannelDescription() != kNoAlpha;
        case Alpha::kOnlyOpaque:
            return image.GetAlphaChannelDescription() == kAlphaOpaque;
        default:
            return true;
    }
}

bool ContentFits(const Image& image, Content wanted) noexcept {
    switch (wanted) {
        case Content::kColorOrBlack:
            return image.GetColor() == kFullColor || image.GetColor() == kBlack;
        case Content::kOnlyMonochrome:
            return image.GetColor() == kMonochrome;
        default:
            return true;
    }
}

bool ScanFits(const Image& image, Scan wanted) noexcept {
    return wanted == Scan::kAny ||
           (image.GetScanStyle() == kProgressive) == (wanted == Scan::kOnlyProgressive);
}

struct Simplification {
    AlphaDescriptionEnum alpha;
    bool onlyBlack;
    ConverterFormat source;
    ConverterFormat destination;
    ConverterFormat newSource;
    ConverterFormat newDestination;
};

constexpr Simplification simplifications[] = {
    {kAlphaOpaque, false, kFmtCbYCrY4Shaped, kFmtRGB32, kFmtCbYCrY4, kFmtRGB32},
    {kAlphaOpaque, false, kFmtCbYCrY4, kFmtRGB32Shaped, kFmtCbYCrY4, kFmtRGB32},
    {kAlphaOpaque, false, kFmtCbYCrY4Shaped, kFmtCbYCrY4, kFmtCbYCrY4, kFmtCbYCrY4},
    {kAlphaOpaque, false, kFmtCbYCrY4, kFmtCbYCrY4Shaped, kFmtCbYCrY4, kFmtCbYCrY4},
    {kAlphaOpaque, false, kFmtRGB32Shaped, kFmtRGB32, kFmtRGB32, kFmtRGB32},
    {kAlphaOpaque, false, kFmtRGB32, kFmtRGB32Shaped, kFmtRGB32, kFmtRGB32},
    {kAlphaOpaque, false, kFmtRGB32Shaped, kFmtCbYCrY4, kFmtRGB32, kFmtCbYCrY4},
    {kAlphaOpaque, false, kFmtRGB32, kFmtCbYCrY4Shaped, kFmtRGB32, kFmtCbYCrY4},
    {kAlphaTransparent, false, kFmtCbYCrY4Shaped, kFmtRGB32, kFmtCbYCrY4, kFmtRGB32},
    {kAlphaTransparent, false, kFmtRGB32Shaped, kFmtCbYCrY4, kFmtRGB32, kFmtCbYCrY4},
    {kAlphaTransparent, false, kFmtCbYCrY4Shaped, kFmtCbYCrY4, kFmtCbYCrY4, kFmtCbYCrY4},
    {kAlphaTransparent, false, kFmtRGB32Shaped, kFmtRGB32, kFmtRGB32, kFmtRGB32},
    {kAlphaTransparent, true, kFmtCbYCrY4, kFmtRGB32Shaped, kFmtCbYCrY4, kFmtRGB32},
    {kAlphaTransparent, true, kFmtRGB32, kFmtCbYCrY4Shaped, kFmtRGB32, kFmtCbYCrY4},
    {kAlphaTransparent, true, kFmtCbYCrY4, kFmtCbYCrY4Shaped, kFmtCbYCrY4, kFmtCbYCrY4},
    {kAlphaTransparent, true, kFmtRGB32, kFmtRGB32Shaped, kFmtRGB32, kFmtRGB32},
};

}  // namespace

ConverterFormat ClassifyImage(const Image& image) noexcept {
    const ColorSpaceEnum space = image.GetColorSpace();
    const AggregateChannelSamplingEnum sampling = image.GetChannelSampling();
    const ComponentOrderEnum order = image.GetComponentOrder();
    const PixelPackingEnum packing = image.GetPixelPacking();
    const float bytes = image.GetBytesPerPixel();
    for (const CatalogueRow& row : catalogue) {
        if (row.space == space && row.sampling == sampling && row.order == order && row.packing == packing &&
            (row.bytes == kAnyBytes || row.bytes == bytes) && ContentFits(image, row.content) &&
            ScanFits(image, row.scan) && ShapingFits(image, row.shaping) && AlphaFits(image, row.alpha) &&
            LevelsFit(image, row.levels)) {
            return row.code;
        }
    }
    return space == kAlphaOnly && bytes == 1 ? kFmtAlpha8 : kFmtUnknown;
}

void SimplifyPair(const Image& source, ConverterFormat& sourceFormat,
                  ConverterFormat& destinationFormat) noexcept {
    const AlphaDescriptionEnum alpha = source.GetAlphaChannelDescription();
    for (const Simplification& row : simplifications) {
        if (row.alpha == alpha && row.source == sourceFormat && row.destination == destinationFormat &&
            (!row.onlyBlack || source.GetColor() == kBlack)) {
            sourceFormat = row.newSource;
            destinationFormat = row.newDestination;
            return;
        }
    }
}

bool PlanesHold(std::uint32_t format, const ViewPlane (&planes)[4], std::size_t width,
                std::size_t height) noexcept {
    if (width == 0 || height == 0) {
        return true;
    }
    const auto halfUp = [](std::size_t n) { return n / 2 + n % 2; };
    // A row longer than the address space lies in no memory.
    const auto times = [](std::size_t factor, std::size_t n) {
        constexpr std::size_t most = std::numeric_limits<std::size_t>::max();
        return n > most / factor ? most : factor * n;
    };
    const auto chromaHolds = [&](std::size_t rowBytes, std::size_t rows) {
        return planes[1].Holds(rowBytes, rows) && planes[2].Holds(rowBytes, rows);
    };
    const std::size_t pairBytes = times(4, halfUp(width));
    switch (format) {
        case kFmtCbYCrY:
        case kFmtYCbYCr:
        case kFmtCbYCrYMono:
            return planes[0].Holds(pairBytes, height);
        case kFmtCbYCrY4Shaped:
        case kFmtCbYCrY4:
        case kFmtCbYCrY4Mono:
        case kFmtCbYCrY4MonoShaped:
            return planes[0].Holds(pairBytes, height) && planes[3].Holds(width, height);
        case kFmtPlanar420:
        case kFmtPlanar420Interlaced:
            return planes[0].Holds(width, height) && chromaHolds(halfUp(width), halfUp(height));
        case kFmtPlanar422:
            return planes[0].Holds(width, height) && chromaHolds(halfUp(width), height);
        case kFmtPlanar411:
            return planes[0].Holds(width, height) && chromaHolds(halfUp(halfUp(width)), height);
        case kFmtPlanarGrouped:
            // A last group of fewer than 16 columns reaches beyond the plane; its kernels clip.
            return planes[0].Holds(width, height) && chromaHolds(width, height);
        case kFmtRGB24:
        case kFmtCbYCr24:
        case kFmtYCbCr24:
            return planes[0].Holds(times(3, width), height);
        case kFmtAlpha8:
            return planes[0].Holds(width, height);
        default:
            return planes[0].Holds(times(4, width), height);
    }
}

}  // namespace Zan
