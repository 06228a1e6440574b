#include "convert/Formats.h"

#include <TesselU/image/Image.h>

#include <algorithm>
#include <array>

#include "image/DescriptorQueries.h"
#include "simd/Lines.h"

namespace Zan {
namespace {

using Levels = FormatRecord::Levels;
using Shaping = FormatRecord::Shaping;
using Alpha = FormatRecord::Alpha;
using Content = FormatRecord::Content;
using Scan = FormatRecord::Scan;

constexpr int kAnyBytes = FormatRecord::kAnyBytes;

#define TESSELU_FORMAT(CODE) CODE, #CODE

constexpr std::array<FormatRecord, kConverterFormats> kFormats = {{
    {TESSELU_FORMAT(kFmtRGB32), kPixels32Planes, PitchUnit::kWords, kRGB, k4444, kBGRA, kPacked, 4,
     Levels::kExtreme, Shaping::kOnlyUnshaped},
    {TESSELU_FORMAT(kFmtCbYCrA), kPixels32Planes, PitchUnit::kWords, kYCrCb, k4444, kCbYCrA, kPacked, 4,
     Levels::kItu601, Shaping::kOnlyUnshaped},
    {TESSELU_FORMAT(kFmtCbYCrY), kPairPlanes, PitchUnit::kWords, kYCrCb, k422, kCbYCrA, kPacked, 2,
     Levels::kItu601, Shaping::kAny, Alpha::kAny, Content::kColorOrBlack},
    {TESSELU_FORMAT(kFmtRGB32NarrowClamp), kPixels32Planes, PitchUnit::kWords, kRGB, k4444, kBGRA, kPacked, 4,
     Levels::kFullNarrowClamp},
    {TESSELU_FORMAT(kFmtRGB32Studio), kPixels32Planes, PitchUnit::kWords, kRGB, k4444, kBGRA, kPacked, 4,
     Levels::kStudio},
    {TESSELU_FORMAT(kFmtRGB32StudioOpen), kPixels32Planes, PitchUnit::kWords, kRGB, k4444, kBGRA, kPacked, 4,
     Levels::kStudioOpenClamp},
    {TESSELU_FORMAT(kFmtPlanar420), k420Planes, PitchUnit::kBytes, kYCrCb, k420, kYCbCrPlanes, kPlanar,
     kAnyBytes, Levels::kItu601, Shaping::kAny, Alpha::kAny, Content::kAny, Scan::kOnlyProgressive},
    {TESSELU_FORMAT(kFmtPlanar422), k422Planes, PitchUnit::kBytes, kYCrCb, k422, kYCbCrPlanes, kPlanar, 2,
     Levels::kItu601},
    {TESSELU_FORMAT(kFmtPlanar420Interlaced), k420Planes, PitchUnit::kBytes, kYCrCb, k420, kYCbCrPlanes,
     kPlanar, kAnyBytes, Levels::kItu601, Shaping::kAny, Alpha::kAny, Content::kAny, Scan::kOnlyInterlaced},
    {TESSELU_FORMAT(kFmtPlanar411), k411Planes, PitchUnit::kBytes, kYCrCb, k411, kYCbCrPlanes, kPlanar,
     kAnyBytes, Levels::kItu601},
    {TESSELU_FORMAT(kFmtRGB24), kPixels24Planes, PitchUnit::kBytes, kRGB, k444, kBGRA, kPacked, 3,
     Levels::kExtreme},
    {TESSELU_FORMAT(kFmtYCbYCr), kPairPlanes, PitchUnit::kWords, kYCrCb, k422, kYCbYCr, kPacked, 2,
     Levels::kItu601},
    {TESSELU_FORMAT(kFmtPlanarGrouped), kGroupedPlanes, PitchUnit::kBytes, kYCrCb, k422, kYPlaneCbCrPlane,
     kPlanar, 2, Levels::kItu601},
    {TESSELU_FORMAT(kFmtYCbCrA), kPixels32Planes, PitchUnit::kWords, kYCrCb, k4444, kYCbCrA, kPacked, 4,
     Levels::kAny, Shaping::kOnlyUnshaped},
    {TESSELU_FORMAT(kFmtRGB32Shaped), kPixels32Planes, PitchUnit::kWords, kRGB, k4444, kBGRA, kPacked, 4,
     Levels::kExtreme, Shaping::kOnlyShaped, Alpha::kPresent},
    {TESSELU_FORMAT(kFmtCbYCrAShaped), kPixels32Planes, PitchUnit::kWords, kYCrCb, k4444, kCbYCrA, kPacked, 4,
     Levels::kItu601, Shaping::kOnlyShaped, Alpha::kPresent},
    {TESSELU_FORMAT(kFmtCbYCrY4Shaped), kPairAlphaPlanes, PitchUnit::kWords, kYCrCb, k4224, kCbYCrA, kPacked,
     3, Levels::kItu601, Shaping::kOnlyShaped, Alpha::kPresent, Content::kColorOrBlack},
    {TESSELU_FORMAT(kFmtCbYCrY4), kPairAlphaPlanes, PitchUnit::kWords, kYCrCb, k4224, kCbYCrA, kPacked, 3,
     Levels::kItu601, Shaping::kOnlyUnshaped, Alpha::kAny, Content::kColorOrBlack},
    {TESSELU_FORMAT(kFmtCbYCrYMono), kPairPlanes, PitchUnit::kWords, kYCrCb, k422, kCbYCrA, kPacked, 2,
     Levels::kItu601, Shaping::kAny, Alpha::kAny, Content::kOnlyMonochrome},
    {TESSELU_FORMAT(kFmtCbYCrY4Mono), kPairAlphaPlanes, PitchUnit::kWords, kYCrCb, k4224, kCbYCrA, kPacked, 3,
     Levels::kItu601, Shaping::kOnlyUnshaped, Alpha::kAny, Content::kOnlyMonochrome},
    {TESSELU_FORMAT(kFmtRGB32ShapedOpaque), kPixels32Planes, PitchUnit::kWords, kRGB, k4444, kBGRA, kPacked,
     4, Levels::kExtreme, Shaping::kOnlyShaped, Alpha::kOnlyOpaque},
    {TESSELU_FORMAT(kFmtCbYCr24), kPixels24Planes, PitchUnit::kBytes, kYCrCb, k444, kCbYCrA, kPacked, 3,
     Levels::kItu601, Shaping::kOnlyUnshaped},
    {TESSELU_FORMAT(kFmtCbYCrY4MonoShaped), kPairAlphaPlanes, PitchUnit::kWords, kYCrCb, k4224, kCbYCrA,
     kPacked, 3, Levels::kItu601, Shaping::kOnlyShaped, Alpha::kPresent, Content::kOnlyMonochrome},
    {TESSELU_FORMAT(kFmtYCbCrAShaped), kPixels32Planes, PitchUnit::kWords, kYCrCb, k4444, kYCbCrA, kPacked, 4,
     Levels::kItu601, Shaping::kOnlyShaped},
    {TESSELU_FORMAT(kFmtYCbCr24), kPixels24Planes, PitchUnit::kBytes, kYCrCb, k444, kYCbCrA, kPacked, 3,
     Levels::kItu601},
    // Fits whatever else an image of one byte a pixel says of itself.
    {TESSELU_FORMAT(kFmtAlpha8), kBytePlanes, PitchUnit::kBytes, kAlphaOnly, k4444, kBGRA, kPacked, 1,
     Levels::kAny},
}};

#undef TESSELU_FORMAT

consteval bool RecordsStandAtTheirCodes() {
    for (std::size_t i = 0; i < kConverterFormats; ++i) {
        if (kFormats[i].code != static_cast<int>(i)) {
            return false;
        }
    }
    return true;
}
static_assert(RecordsStandAtTheirCodes());

// Formats that share colour space, sampling, order and packing follow each other in a chain, so that an image
// is held against few of them.
constexpr std::size_t kSpaces = 2, kSamplings = 6, kOrders = 6, kPackings = 2;
constexpr std::int8_t kEnd = -1;

template <class Space, class Sampling, class Order, class Packing>
constexpr std::size_t ChainOf(Space space, Sampling sampling, Order order, Packing packing) {
    const auto index = [](auto value) { return static_cast<std::size_t>(value); };
    return ((index(space) * kSamplings + index(sampling)) * kOrders + index(order)) * kPackings +
           index(packing);
}

struct Chains {
    std::array<std::int8_t, kSpaces * kSamplings * kOrders * kPackings> first{};
    std::array<std::int8_t, kConverterFormats> next{};
};

constexpr Chains kChains = [] {
    Chains chains;
    chains.first.fill(kEnd);
    chains.next.fill(kEnd);
    for (std::size_t i = kConverterFormats; i-- > 0;) {
        const FormatRecord& format = kFormats[i];
        if (format.space != kAlphaOnly) {
            std::int8_t& first =
                chains.first[ChainOf(format.space, format.sampling, format.order, format.packing)];
            chains.next[i] = first;
            first = static_cast<std::int8_t>(i);
        }
    }
    return chains;
}();

bool LevelsFit(const ImageDescriptor& descriptor, Levels wanted) noexcept {
    if (wanted == Levels::kAny) {
        return true;
    }
    if (wanted == Levels::kItu601) {
        return HasVideoLevels(descriptor);
    }
    const bool full = wanted == Levels::kExtreme || wanted == Levels::kFullNarrowClamp;
    const bool openClamp = wanted == Levels::kExtreme || wanted == Levels::kStudioOpenClamp;
    if (descriptor.channels.empty()) {
        return false;
    }
    const ChannelDescriptor& first = descriptor.channels.front();
    const ChannelDescriptor& second = descriptor.channels[descriptor.channels.size() > 1 ? 1 : 0];
    const auto have = [&](float ChannelDescriptor::*field, float level) {
        return first.*field == level && second.*field == level;
    };
    return have(&ChannelDescriptor::blackLevel, 0.0F) == full &&
           have(&ChannelDescriptor::whiteLevel, 1.0F) == full &&
           have(&ChannelDescriptor::clampLowLevel, 0.0F) == openClamp &&
           have(&ChannelDescriptor::clampHighLevel, 1.0F) == openClamp;
}

bool ShapingFits(ShapedEnum shaped, Shaping wanted) noexcept {
    return wanted == Shaping::kAny || shaped == (wanted == Shaping::kOnlyShaped ? kShaped : kUnshaped);
}

bool AlphaFits(const ImageDescriptor& descriptor, Alpha wanted) noexcept {
    switch (wanted) {
        case Alpha::kPresent:
            return AlphaDescriptionOf(descriptor) != kNoAlpha;
        case Alpha::kOnlyOpaque:
            return AlphaDescriptionOf(descriptor) == kAlphaOpaque;
        default:
            return true;
    }
}

bool ContentFits(ColorEnum color, Content wanted) noexcept {
    switch (wanted) {
        case Content::kColorOrBlack:
            return color == kFullColor || color == kBlack;
        case Content::kOnlyMonochrome:
            return color == kMonochrome;
        default:
            return true;
    }
}

bool ScanFits(ScanStyleEnum scan, Scan wanted) noexcept {
    return wanted == Scan::kAny || (scan == kProgressive) == (wanted == Scan::kOnlyProgressive);
}

struct Simplification {
    AlphaDescriptionEnum alpha;
    bool onlyBlack;
    ConverterFormat source;
    ConverterFormat destination;
    ConverterFormat newSource;
    ConverterFormat newDestination;
};

constexpr Simplification kSimplifications[] = {
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

std::span<const FormatRecord, kConverterFormats> Formats() noexcept {
    return kFormats;
}

ConverterFormat ClassifyImage(const Image& image) noexcept {
    const ImageDescriptor* descriptor = image.GetImageDescriptor();
    if (descriptor == nullptr) {
        return kFmtUnknown;
    }
    const std::uint64_t bytes = PixelBytesTimes128(*descriptor);
    const auto space = static_cast<std::size_t>(descriptor->colorSpace);
    const auto sampling = static_cast<std::size_t>(descriptor->channelSampling);
    const auto order = static_cast<std::size_t>(descriptor->componentOrder);
    const auto packing = static_cast<std::size_t>(descriptor->pixelPacking);
    if (space >= kSpaces || sampling >= kSamplings || order >= kOrders || packing >= kPackings) {
        return descriptor->colorSpace == kAlphaOnly && bytes == 128 ? kFmtAlpha8 : kFmtUnknown;
    }
    for (std::int8_t i = kChains.first[ChainOf(space, sampling, order, packing)]; i != kEnd;
         i = kChains.next[static_cast<std::size_t>(i)]) {
        const FormatRecord& format = kFormats[static_cast<std::size_t>(i)];
        if ((format.bytes == kAnyBytes || static_cast<std::uint64_t>(format.bytes) * 128 == bytes) &&
            ContentFits(descriptor->color, format.content) && ScanFits(descriptor->scanStyle, format.scan) &&
            ShapingFits(descriptor->shaped, format.shaping) && AlphaFits(*descriptor, format.alpha) &&
            LevelsFit(*descriptor, format.levels)) {
            return format.code;
        }
    }
    return kFmtUnknown;
}

FormatPair SimplifyPair(FormatPair pair, const Image& source) noexcept {
    const AlphaDescriptionEnum alpha = source.GetAlphaChannelDescription();
    if (alpha != kAlphaOpaque && alpha != kAlphaTransparent) {
        return pair;
    }
    for (const Simplification& rule : kSimplifications) {
        if (rule.alpha == alpha && rule.source == pair.source && rule.destination == pair.destination &&
            (!rule.onlyBlack || source.GetColor() == kBlack)) {
            return {rule.newSource, rule.newDestination};
        }
    }
    return pair;
}

FormatPair ClassifyPair(const Image& source, const Image& destination) noexcept {
    return SimplifyPair({ClassifyImage(source), ClassifyImage(destination)}, source);
}

PlaneFit FitOf(const simd::PlaneUse& use, const Plane& plane, std::size_t width, std::size_t height,
               Selection selection) noexcept {
    const std::size_t rows = use.halfHeight ? simd::LinePairs::Bands(height) : height;
    const std::size_t rowBytes = use.RowBytes(width);
    if (plane.Holds(rowBytes, rows)) {
        return PlaneFit::kInside;
    }
    const bool lacksColumns = use.isClamped && selection.hasLeftEdge && plane.Holds(1, 1);
    const bool lacksARow = use.halfHeight && selection.isField && rows > 1 && plane.Clip(1, rows - 1) == 0 &&
                           plane.Holds(rowBytes, rows - 1);
    return lacksColumns || lacksARow ? PlaneFit::kClamped : PlaneFit::kOutside;
}

bool PlanesHold(const FormatRecord& format, std::span<const Plane, 4> planes, std::size_t width,
                std::size_t height, Selection selection) noexcept {
    return std::all_of(format.planes.begin(), format.planes.end(), [&](const simd::PlaneUse& use) {
        return FitOf(use, planes[use.index], width, height, selection) != PlaneFit::kOutside;
    });
}

}  // namespace Zan
