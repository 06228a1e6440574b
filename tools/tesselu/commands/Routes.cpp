#include "commands/Routes.h"

#include <algorithm>

#include "convert/Formats.h"
#include "convert/Pairs.h"
#include "media/Samples.h"

namespace tool {
namespace {

using Zan::ConverterFormat;
using Zan::FormatRecord;

Zan::PairPaths TableOf(Zan::ProcessingStyleEnum path) {
    switch (path) {
        case Zan::kFlp:
            return Zan::kOnFloat;
        case Zan::kFP:
            return Zan::kOnFixedPoint;
        case Zan::kFlp_SIMD:
            return Zan::kOnFloatSimd;
        default:
            return Zan::kOnInteger;
    }
}

const FormatRecord& RecordOf(ConverterFormat samples) {
    return Zan::Formats()[static_cast<std::size_t>(samples)];
}

/// Chroma samples of a pixel, out of 8.
int ChromaRate(ConverterFormat samples) {
    switch (RecordOf(samples).sampling) {
        case Zan::k4444:
        case Zan::k444:
            return 8;
        case Zan::k422:
        case Zan::k4224:
            return 4;
        default:
            return 2;
    }
}

bool IsQuick(ConverterFormat from, ConverterFormat to) {
    return HasPair(Zan::kInt_MMXorSIMD, from, to);
}

/// The general path takes all samples for unshaped ones, and all RGB for RGB of the full range.
bool GeneralPathConverts(ConverterFormat from, ConverterFormat to) {
    const auto isPlain = [](ConverterFormat samples) {
        const FormatRecord::Levels levels = RecordOf(samples).levels;
        return (!IsShaped(samples) || samples == Zan::kFmtRGB32ShapedOpaque) &&
               levels != FormatRecord::Levels::kStudio && levels != FormatRecord::Levels::kStudioOpenClamp;
    };
    return GeneralPathReads(from) && GeneralPathWrites(to) && isPlain(from) && isPlain(to);
}

/// What a way through `between` costs: steps first, then what is lost on it.
int CostOf(ConverterFormat from, const std::vector<ConverterFormat>& between, ConverterFormat to) {
    constexpr int kStep = 100, kAlpha = 90, kChroma = 40, kRgb = 20, kSlow = 5;
    int cost = 0;
    ConverterFormat last = from;
    for (const ConverterFormat middle : between) {
        cost += kStep;
        if (HasAlpha(from) && HasAlpha(to) && !HasAlpha(middle)) {
            cost += kAlpha;
        }
        if (ChromaRate(middle) < std::min(ChromaRate(from), ChromaRate(to))) {
            cost += kChroma;
        }
        if (IsRgb(middle) && !IsRgb(from) && !IsRgb(to)) {
            cost += kRgb;
        }
        cost += IsQuick(last, middle) ? 0 : kSlow;
        last = middle;
    }
    return cost + (IsQuick(last, to) ? 0 : kSlow);
}

bool HasStep(ConverterFormat from, ConverterFormat to) {
    return HasPair(Zan::kInt_MMXorSIMD, from, to) || HasPair(Zan::kFlp, from, to);
}

/// The best of all ways through at most two other formats.
std::optional<Route> Through(ConverterFormat from, ConverterFormat to) {
    std::optional<std::vector<ConverterFormat>> best;
    int lowest = 0;
    const auto consider = [&](const std::vector<ConverterFormat>& between) {
        const int cost = CostOf(from, between, to);
        if (!best || cost < lowest) {
            best = between;
            lowest = cost;
        }
    };
    const std::vector<ConverterFormat> all = AllSamples();
    for (const ConverterFormat first : all) {
        if (first == from || first == to || !HasStep(from, first)) {
            continue;
        }
        if (HasStep(first, to)) {
            consider({first});
        }
        for (const ConverterFormat second : all) {
            if (second != from && second != to && second != first && HasStep(first, second) &&
                HasStep(second, to)) {
                consider({first, second});
            }
        }
    }
    if (!best) {
        return std::nullopt;
    }
    Route route;
    ConverterFormat last = from;
    best->push_back(to);
    for (const ConverterFormat next : *best) {
        route.push_back({last, next, Zan::kBestAvailable});
        last = next;
    }
    return route;
}

/// Without the general path.
std::optional<Route> OverPairs(ConverterFormat from, ConverterFormat to) {
    if (from == to) {
        return Route();
    }
    if (HasStep(from, to)) {
        return Route{{from, to, Zan::kBestAvailable}};
    }
    return Through(from, to);
}

}  // namespace

const std::vector<PathName>& PathsWithPairs() {
    static const std::vector<PathName> paths = {
        {Zan::kInt_MMXorSIMD, "int", "integer"},
        {Zan::kFlp, "flp", "floating point"},
        {Zan::kFP, "fp", "fixed point"},
        {Zan::kFlp_SIMD, "flp-simd", "single precision"},
    };
    return paths;
}

bool HasPair(Zan::ProcessingStyleEnum path, ConverterFormat from, ConverterFormat to) {
    const Zan::PairRecord* pair = Zan::FindPair(from, to);
    return pair != nullptr && pair->IsOn(TableOf(path));
}

std::vector<ConverterFormat> DestinationsOf(Zan::ProcessingStyleEnum path, ConverterFormat from) {
    std::vector<ConverterFormat> destinations;
    for (const ConverterFormat to : AllSamples()) {
        if (HasPair(path, from, to)) {
            destinations.push_back(to);
        }
    }
    return destinations;
}

bool GeneralPathReads(ConverterFormat samples) {
    switch (samples) {
        case Zan::kFmtPlanar420Interlaced:
        case Zan::kFmtCbYCrY4Shaped:
        case Zan::kFmtCbYCrY4:
        case Zan::kFmtCbYCrY4Mono:
        case Zan::kFmtCbYCrY4MonoShaped:
        case Zan::kFmtAlpha8:
            return false;
        default:
            return true;
    }
}

bool GeneralPathWrites(ConverterFormat samples) {
    return GeneralPathReads(samples);
}

std::optional<Route> RouteBetween(ConverterFormat from, ConverterFormat to,
                                  std::optional<Zan::ProcessingStyleEnum> style) {
    if (style) {
        // Opaque pictures are images as other shaped ones are.
        const ConverterFormat image = to == Zan::kFmtRGB32ShapedOpaque ? Zan::kFmtRGB32Shaped : to;
        const bool isBest = *style == Zan::kBestAvailable;
        const bool isThere = *style == Zan::kGeneralFormat
                                 ? GeneralPathReads(from) && GeneralPathWrites(to)
                                 : HasPair(isBest ? Zan::kInt_MMXorSIMD : *style, from, image) ||
                                       (isBest && (HasPair(Zan::kFlp, from, image) ||
                                                   (GeneralPathReads(from) && GeneralPathWrites(to))));
        return isThere ? std::optional(Route{{from, to, *style}}) : std::nullopt;
    }
    if (const std::optional<Route> route = OverPairs(from, to)) {
        return route;
    }
    if (GeneralPathConverts(from, to)) {
        return Route{{from, to, Zan::kGeneralFormat}};
    }
    // Into what only the general path writes from something that it does not read.
    for (const ConverterFormat middle : {Zan::kFmtRGB32, Zan::kFmtCbYCrY}) {
        std::optional<Route> route = OverPairs(from, middle);
        if (route && GeneralPathConverts(middle, to)) {
            route->push_back({middle, to, Zan::kGeneralFormat});
            return route;
        }
    }
    return std::nullopt;
}

Sense SenseOf(const Step& step) {
    const Zan::PairRecord* pair = Zan::FindPair(step.from, step.to);
    if (step.style == Zan::kGeneralFormat || pair == nullptr) {
        return Sense::kNone;  // which has matrices of its own
    }
    const bool isInteger = pair->IsOn(Zan::kOnInteger) && step.style != Zan::kFlp;
    switch (isInteger ? pair->kind : pair->floatKind) {
        case Zan::kKindYCrCbToFullRGB:
        case Zan::kKindYCrCbToStudioRGB:
            return Sense::kToRgb;
        case Zan::kKindFullRGBToYCrCb:
        case Zan::kKindStudioRGBToYCrCb:
            return Sense::kFromRgb;
        default:
            return Sense::kNone;
    }
}

}  // namespace tool
