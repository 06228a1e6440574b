#include <TesselU/convert/ConverterFormat.h>
#include <TesselU/image/Image.h>
#include <TesselU/image/ImageView.h>
#include <TesselU/tone/ColorAdjustment.h>

#include <cmath>

#include "convert/Formats.h"
#include "foundation/ClassCapabilities.h"
#include "foundation/Elementary.h"
#include "image/ViewFormat.h"
#include "image/ViewPlane.h"
#include "tone/kernels/Adjustment.h"

namespace Zan {
namespace {

constexpr double kMostGain = 128;

constexpr double kRadians = 0.017453292500000002;  // of a degree

/// What is not a number changes nothing.
void SetLimited(double& setting, double value, double low, double high) noexcept {
    if (!std::isnan(value)) {
        setting = value < low ? low : value > high ? high : value;
    }
}

struct Body {
    const AdjustmentKernel* kernel = nullptr;
    bool isLumaFirst = false;
    bool hasGamma = false;
};

/// Whether channel 0 comes first in memory and is luma.
bool HasLumaFirst(const Image& image) noexcept {
    return image.GetComponentOrder() == kYCbYCr || image.GetComponentOrder() == kYCbCrA;
}

Body FloatBody(const Image& source, const Image& destination) noexcept {
    const AggregateChannelSamplingEnum from = source.GetChannelSampling(),
                                       to = destination.GetChannelSampling();
    // Packed samples are all as deep as those of the first channel.
    if (source.GetBytesPerChannel(0) != 1.0F || destination.GetBytesPerChannel(0) != 1.0F) {
        return {};
    }
    if (source.GetColorSpace() == kRGB && destination.GetColorSpace() == kRGB && from == to) {
        return from == k4444 ? Body{&kAdjustRGB32} : from == k444 ? Body{&kAdjustRGB24} : Body{};
    }
    if (source.GetColorSpace() != kYCrCb) {
        return {};
    }
    if (from == k4444) {
        return {&kAdjustPixels, HasLumaFirst(source)};
    }
    if (from == k422 && to == k422 && destination.GetColorSpace() == kYCrCb) {
        return {&kAdjustPairs, HasLumaFirst(source), true};
    }
    return {};
}

Body IntegerBody(const Image& source, const Image& destination) noexcept {
    const ConverterFormat format = ClassifyImage(source);
    if (format != ClassifyImage(destination)) {
        return {};
    }
    switch (format) {
        case kFmtRGB32:
            return {&kAdjustRGB32};
        case kFmtCbYCrA:
            return {&kAdjustPixels};
        case kFmtRGB24:
            return {&kAdjustRGB24};
        case kFmtYCbCrA:
            return {&kAdjustPixels, true};
        default:
            return {};
    }
}

}  // namespace

constinit CPUcapabilities& ColorAdjustment::CPUinstructionSet = classCapabilities[kOwnerColorAdjustment];

void ColorAdjustment::SetBrightness(double value) noexcept {
    SetLimited(brightness, value, -1, 1);
}

void ColorAdjustment::SetContrast(double value) noexcept {
    SetLimited(contrast, value, 0, kMostGain - contrastStep);
}

void ColorAdjustment::SetSaturation(double value) noexcept {
    SetLimited(saturation, value, 0, kMostGain - saturationStep);
}

void ColorAdjustment::SetHue(double degrees) noexcept {
    SetLimited(hue, degrees, -180, 180);
    turn.cosine = Cosine(hue * kRadians);
    turn.sine = Sine(hue * kRadians);
    const FixedTurn fixed = FixedTurn::Of(turn.cosine, turn.sine);
    turn.hasHalves = fixed.isExact;
    const FixedFactor factors[] = {fixed.cosine, fixed.sine, fixed.minusSine};
    for (std::size_t i = 0; i < std::size(factors); ++i) {
        turn.halves[i][0] = factors[i].high;
        turn.halves[i][1] = factors[i].low;
    }
}

void ColorAdjustment::SetYgamma(double exponent) noexcept {
    SetLimited(yGamma, exponent, 0, HUGE_VAL);
    if (yGamma != 1) {
        for (unsigned i = 0; i < 256; ++i) {
            gammaTable[i] = LimitedByte(Power(i * 0.00392156862745098, yGamma) * 255 + 0.5);
        }
    }
}

Long32 ColorAdjustment::Do(ImageView& source, ImageView& destination, ProcessingStyleEnum style) {
    AdjustmentJob job;
    const auto [width, height] = SmallestSize(source, destination);
    job.width = width;
    job.height = height;
    Long32 selected = kStatusOk;
    for (const auto& [view, plane] :
         {std::pair{&source, &job.source[0]}, std::pair{&destination, &job.destination[0]}}) {
        const Image* image = view->GetImage();
        if (image != nullptr && image->GetPixelPacking() != kPacked) {
            return kStatusUnsupportedKind;
        }
        const Long32 status = SelectPlane(*view, 0, height, *plane);
        if (status == kStatusNullPointer) {
            return status;
        }
        selected = selected != kStatusOk ? selected : status;
    }

    Body body;
    switch (style) {
        case kFlp:
            body = FloatBody(*source.GetImage(), *destination.GetImage());
            break;
        case kInt_MMXorSIMD:
            body = IntegerBody(*source.GetImage(), *destination.GetImage());
            break;
        case kFP:
        case kFlp_SIMD:
            break;
        default:
            return kStatusUnsupportedStyle;
    }
    if (body.kernel == nullptr) {
        return style == kFlp ? kStatusUnsupportedKind : kStatusUnsupportedFormat;
    }
    if (width == 0 || height == 0) {
        return kStatusOk;
    }
    if (selected != kStatusOk) {
        return selected;
    }

    AdjustmentSettings settings;
    settings.isLumaFirst = body.isLumaFirst;
    settings.contrast = contrast;
    settings.lift = static_cast<int>(brightness * 255);
    settings.gamma = body.hasGamma && yGamma != 1 ? gammaTable : nullptr;
    settings.cosine = turn.cosine;
    settings.sine = turn.sine;
    const auto factor = [&](std::size_t i) { return FixedFactor{turn.halves[i][0], turn.halves[i][1]}; };
    settings.turn = {factor(0), factor(1), factor(2), turn.hasHalves};
    settings.saturation = saturation;
    if (body.kernel == &kAdjustPairs) {
        job.width -= job.width % 2;
    }
    job.whole = job.width;
    (*body.kernel)(job, settings);
    return kStatusOk;
}

}  // namespace Zan
