#include <TesselU/image/Image.h>
#include <TesselU/image/ImageView.h>
#include <TesselU/key/ChromaKeyerYUV.h>

#include <algorithm>
#include <array>
#include <cmath>

#include "composite/kernels/Fill.h"
#include "foundation/ClassCapabilities.h"
#include "foundation/Elementary.h"
#include "foundation/PathSelection.h"
#include "image/ViewFormat.h"
#include "image/ViewPlane.h"
#include "key/kernels/ChromaKey.h"

namespace Zan {
namespace {

// Not quite a half turn, and never was.
constexpr double kHalfTurn = 3.1415026535, kQuarterTurn = 1.57075132675;
constexpr double kRadians = 0.017452792519444444;  // of a degree, in the fixed-point form
constexpr double kSteepest = 100;

constexpr StyleRule kPixelStyles = {Ask::kFloat, Ask::kScalar, Ask::kFloat,
                                    Ask::kFloat, Ask::kFloat,  Ask::kFloat};
constexpr StyleRule kPairStyles = {Ask::kFloat,  Ask::kScalar, Ask::kVector,
                                   Ask::kVector, Ask::kVector, Ask::kFloat};

/// What is not a number becomes the lower end.
double Limited(double value, double low, double high) noexcept {
    return value > low ? value < high ? value : high : low;
}

/// The nearest whole number, halves away from zero.
int Rounded(double value) noexcept {
    return static_cast<int>(std::round(value));
}

enum class KeyFormat { kPixels, kPairs, kNeither };

KeyFormat CommonFormat(std::initializer_list<const ImageView*> views) noexcept {
    bool pixels = true, pairs = true;
    for (const ImageView* view : views) {
        if (view != nullptr) {
            const Image& image = *view->GetImage();
            const bool isYCrCb = image.GetColorSpace() == kYCrCb;
            pixels = pixels && isYCrCb && image.GetChannelSampling() == k4444;
            pairs = pairs && isYCrCb && Is422Family(image);
        }
    }
    return pixels ? KeyFormat::kPixels : pairs ? KeyFormat::kPairs : KeyFormat::kNeither;
}

/// The last rows of a job, from `row` on.
ChromaKeyJob From(ULong32 row, ChromaKeyJob job) noexcept {
    const auto advance = [row](Plane& plane) {
        if (plane.first != nullptr) {
            plane.first = plane.Row(row);
        }
    };
    std::for_each(job.source.begin(), job.source.end(), advance);
    std::for_each(job.destination.begin(), job.destination.end(), advance);
    job.height -= row;
    return job;
}

}  // namespace

constinit CPUcapabilities& ChromaKeyerYUV::CPUinstructionSet = classCapabilities[kOwnerChromaKeyerYUV];

ChromaKeyerYUV::ChromaKeyerYUV() noexcept
    : hue(DirectionOf(hueAngle)), spill(DirectionOf(spillSuppressionAngle)) {
    SetAcceptanceAngle(acceptanceAngle);
}

ChromaKeyerYUV::Direction ChromaKeyerYUV::DirectionOf(double degrees) noexcept {
    const double angle = 2 * degrees * kHalfTurn / 360, fixed = degrees * kRadians;
    return {Cosine(angle), Sine(angle), Cosine(fixed), Sine(fixed)};
}

void ChromaKeyerYUV::SetHueAngle(double degrees) noexcept {
    hueAngle = Limited(degrees, 0, 360);
    hue = DirectionOf(hueAngle);
}

void ChromaKeyerYUV::SetAcceptanceAngle(double degrees) noexcept {
    acceptanceAngle = Limited(degrees, 1, 179);
    const double edge = kQuarterTurn - 0.5 * 2 * acceptanceAngle * kHalfTurn / 360;
    slope = Limited(Sine(edge) / Cosine(edge), 0, kSteepest);
}

void ChromaKeyerYUV::SetSaturationMinimum(double minimum) noexcept {
    saturationMinimum = Limited(minimum, 0, 1);
}

void ChromaKeyerYUV::SetSpillSuppressionAngle(double degrees) noexcept {
    spillSuppressionAngle = Limited(degrees, 0, 360);
    spill = DirectionOf(spillSuppressionAngle);
}

void ChromaKeyerYUV::SetSpillSuppressionGain(double gain) noexcept {
    spillSuppressionGain = Limited(gain, 0, 256);
}

void ChromaKeyerYUV::SetKeyOffset(double offset) noexcept {
    keyOffset = Limited(offset, -1, 1);
}

void ChromaKeyerYUV::SetKeyGain(double gain) noexcept {
    keyGain = Limited(gain, 0, 256);
}

Long32 ChromaKeyerYUV::Do(ImageView& foreground, ImageView* background, ImageView& result, ImageView* keyOut,
                          ProcessingStyleEnum style) const {
    const std::array<const ImageView*, 4> views = {&foreground, background, &result, keyOut};
    for (const ImageView* view : views) {
        if (view != nullptr &&
            (view->GetImage() == nullptr || view->GetImage()->GetImageDescriptor() == nullptr)) {
            return kStatusNullPointer;
        }
    }
    const KeyFormat format = CommonFormat({&foreground, background, &result});
    if (format == KeyFormat::kNeither ||
        (keyOut != nullptr && keyOut->GetImage()->GetColorSpace() != kAlphaOnly)) {
        return kStatusUnsupportedFormat;
    }

    for (const ImageView* view : views) {
        if (view != nullptr && PlaneOf(*view, 0).first == nullptr) {
            return kStatusNullPointer;
        }
    }
    for (const ImageView* view : {views[0], views[1], views[2]}) {
        if (view != nullptr && PlaneOf(*view, 0).pitch % 4 != 0) {
            return kStatusUnsupportedKind;
        }
    }
    ULong32 width = foreground.GetWidth(), height = foreground.GetHeight();
    for (const ImageView* view : views) {
        if (view != nullptr) {
            width = std::min(width, view->GetWidth());
            height = std::min(height, view->GetHeight());
        }
    }
    if (width == 0 || height == 0) {
        return kStatusOk;
    }

    const bool isPairs = format == KeyFormat::kPairs;
    const Ask form = (isPairs ? kPairStyles : kPixelStyles)(static_cast<unsigned>(style));
    const AlphaDescriptionEnum alpha = foreground.GetImage()->GetAlphaChannelDescription();
    const bool takesAlpha = isPairs && form != Ask::kScalar && alpha != kAlphaOpaque && alpha != kNoAlpha;
    const bool becomesOpaque = background != nullptr && result.GetImage()->GetChannelSampling() == k4224;

    ChromaKeyJob job;
    Plane alphaOfResult;
    bool lacksAlpha = false;
    const auto select = [height](const ImageView* view, ULong32 channel, Plane& plane) {
        return view != nullptr ? SelectPlane(*view, channel, height, plane) : kStatusOk;
    };
    for (const Long32 status :
         {select(&foreground, 0, job.source[0]), select(background, 0, job.source[1]),
          select(&result, 0, job.destination[0]), select(keyOut, 0, job.destination[1])}) {
        if (status != kStatusOk) {
            return status;
        }
    }
    if (takesAlpha && select(&foreground, 3, job.source[2]) == kStatusUnsupportedField) {
        return kStatusUnsupportedField;
    }
    if (becomesOpaque) {
        const Long32 status = select(&result, 3, alphaOfResult);
        if (status == kStatusUnsupportedField) {
            return status;
        }
        lacksAlpha = status != kStatusOk;
    }

    ChromaKeySettings settings;
    settings.cosine = hue.cosine;
    settings.sine = hue.sine;
    settings.slope = slope;
    settings.leastSaturation = saturationMinimum;
    settings.spillCb = spill.cosine * spillSuppressionGain;
    settings.spillCr = spill.sine * spillSuppressionGain;
    settings.offset = keyOffset;
    settings.gain = keyGain;
    settings.invertBefore = invertKeyBefore;
    settings.invertAfter = invertKeyAfter;
    auto& fixed = settings.fixed;
    fixed.cosine = Rounded(hue.fixedCosine * 128);
    fixed.sine = Rounded(hue.fixedSine * 128);
    fixed.slope = Rounded(Limited(slope, 0, 1) * 128);
    fixed.leastSaturation = Rounded(saturationMinimum * 32640);
    fixed.offset = Rounded(keyOffset * 255);
    fixed.gain = Rounded(keyGain * 128);
    fixed.spillCb = Rounded(spill.fixedCosine * spillSuppressionGain * 64);
    fixed.spillCr = Rounded(spill.fixedSine * spillSuppressionGain * 64);
    settings.keyIsFull = background == nullptr;

    const ChromaKeyKernel* kernel = isPairs ? &kKeyPairsDouble : &kKeyPixelsDouble;
    if (form == Ask::kScalar) {
        kernel = isPairs ? &kKeyPairsFixed : &kKeyPixelsFixed;
    } else if (form == Ask::kVector && CPUinstructionSet.IsSIMDsupported()) {
        kernel = &kKeyPairsSingle;
    }
    const auto run = [&](ChromaKeyJob rows, bool showsKey) {
        rows.width = rows.whole = isPairs ? width - width % 2 : width;
        settings.showsKey = showsKey;
        if (showsKey) {
            rows.source[1] = {};
        }
        (*kernel)(rows, settings);
    };
    const ULong32 split = std::min(splitScreenHeight, height);
    job.height = split;
    run(job, !splitScreenTop);
    job.height = height;
    if (split < height) {
        run(From(split, job), splitScreenTop);
    }
    if (becomesOpaque && lacksAlpha) {
        return kStatusNullPointer;
    }
    if (becomesOpaque) {
        kFillBytes({{}, {alphaOfResult}, width, height, width}, {.pattern = 0xFFFFFFFF});
    }
    return kStatusOk;
}

}  // namespace Zan
