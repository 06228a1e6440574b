#include "tone/correction/Context.h"

#include <TesselU/image/Image.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include "image/ViewFormat.h"
#include "image/ViewPlane.h"

namespace Zan::BaseCC {
namespace {

// Bits of `flags`.
constexpr int kStudioRange = 1, kLegalize = 1 | 2, kLimitChroma = 4;

constexpr int Limited(int parameter) noexcept {
    return std::clamp(parameter, -255, 255);
}

constexpr Levels LevelsOf(int low, int mid, int high) noexcept {
    return {Limited(low), Limited(mid), Limited(high)};
}

}  // namespace

bool Context::IsRecordEmpty(const tagBASECOLORCORRINFO& record) noexcept {
    const tagBASECOLORCORRINFO nothing;
    constexpr std::size_t kFrom = offsetof(tagBASECOLORCORRINFO, flags);
    return std::memcmp(reinterpret_cast<const char*>(&record) + kFrom,
                       reinterpret_cast<const char*>(&nothing) + kFrom, sizeof record - kFrom) == 0;
}

Long32 Context::Configure(const tagBASECOLORCORRINFO& record, bool buildTables) noexcept {
    if (record.size < sizeof record) {
        return kRecordTooSmall;
    }
    const bool studioRange = (record.flags & kStudioRange) != 0;
    const Levels luma = LevelsOf(record.lumaLow, record.lumaMid, record.lumaHigh);
    const BrightnessContrast adjustment = {Limited(record.brightness), Limited(record.contrast)};
    const bool hasLuma = luma != Levels{}, hasAdjustment = adjustment != BrightnessContrast{};
    if (hasLuma && hasAdjustment) {
        lumaLevelsContrast.Configure({{luma, studioRange}, adjustment}, buildTables);
    } else if (hasLuma) {
        lumaLevels.Configure({luma, studioRange}, buildTables);
    } else if (hasAdjustment) {
        brightnessContrast.Configure(adjustment, buildTables);
    }

    // A hue of 1 is asked for, though its angle is 0.
    const Hue turn = {AngleOf(record.hue)};
    const Saturation gain = {Limited(record.saturation)};
    if (record.hue != 0 && record.saturation != 0) {
        hueSaturation.Configure({turn, gain}, buildTables);
    } else if (record.hue != 0) {
        hue.Configure(turn, buildTables);
    } else if (record.saturation != 0) {
        saturation.Configure(gain, buildTables);
    }

    const Levels red = LevelsOf(record.redLow, record.redMid, record.redHigh);
    const Levels green = LevelsOf(record.greenLow, record.greenMid, record.greenHigh);
    const Levels blue = LevelsOf(record.blueLow, record.blueMid, record.blueHigh);
    switch ((red != Levels{} ? 1 : 0) | (green != Levels{} ? 2 : 0) | (blue != Levels{} ? 4 : 0)) {
        case 1:
            redLevels.Configure({red}, buildTables);
            break;
        case 2:
            greenLevels.Configure({green}, buildTables);
            break;
        case 3:
            redGreenLevels.Configure({red, green}, buildTables);
            break;
        case 4:
            blueLevels.Configure({blue}, buildTables);
            break;
        case 5:
            redBlueLevels.Configure({red, blue}, buildTables);
            break;
        case 6:
            greenBlueLevels.Configure({green, blue}, buildTables);
            break;
        case 7:
            rgbLevels.Configure({red, green, blue}, buildTables);
            break;
        default:
            break;
    }

    const Legal limits = {(record.flags & kLegalize) != 0, (record.flags & kLimitChroma) != 0, studioRange};
    if (limits != Legal{}) {
        legalize.Configure(limits, buildTables);
    }
    return kStatusOk;
}

Long32 Context::Run(const PictureDescriptor& source, const PictureDescriptor& destination) noexcept {
    for (const PictureDescriptor* picture : {&source, &destination}) {
        if (picture->planes != 1 || picture->strideAlignment != 512) {
            return kUnknownPicture;
        }
    }
    Stage* const all[] = {&lumaLevelsContrast, &lumaLevels,    &brightnessContrast, &hue,
                          &saturation,         &hueSaturation, &greenBlueLevels,    &redBlueLevels,
                          &redGreenLevels,     &blueLevels,    &greenLevels,        &redLevels,
                          &rgbLevels,          &legalize};
    const Pass pass = {source, destination, sse2};
    CorrectionSettings settings;
    bool isEmpty = true;
    for (Stage* const stage : all) {
        if (!stage->IsConfigured()) {
            continue;
        }
        if (const Long32 status = stage->Readiness(); status != kStatusOk) {
            return status;
        }
        stage->AddTo(pass, settings);
        isEmpty = false;
    }
    if (isEmpty) {
        return kNothingToRun;
    }
    Correct(pass, settings);
    return kStatusOk;
}

// ---- Views --------------------------------------------------------------------------------------------

namespace {

bool IsCorrectable(const Image& image) noexcept {
    return IsPacked422Family(image) && image.GetColorSpace() == kYCrCb;
}

/// Whether a sample for each pixel fits a line. An image of one line has no pitch, and so never fits.
bool LineFits(const Image& image) noexcept {
    return std::floor(double{image.GetBytesPerChannel(0)} * image.GetWidth()) <= image.GetPitch(0);
}

}  // namespace

Long32 CorrectViews(const CPUfeatures* features, const ImageView& source, const ImageView& destination,
                    const tagBASECOLORCORRINFO& info) noexcept {
    if (features == nullptr) {
        return kStatusNoProcessorFeatures;
    }
    if (info.size < sizeof info) {
        return kStatusUnsupportedFormat;
    }
    Image *const from = source.GetImage(), *const to = destination.GetImage();
    if (from == nullptr || to == nullptr || from->GetImageDescriptor() == nullptr ||
        to->GetImageDescriptor() == nullptr) {
        return kStatusNullPointer;
    }
    if (!IsCorrectable(*from) || !IsCorrectable(*to)) {
        return kStatusUnsupportedFormat;
    }
    if (from->GetMemoryPointer(0) == nullptr || to->GetMemoryPointer(0) == nullptr) {
        return kStatusNullPointer;
    }
    if (Context::IsRecordEmpty(info)) {
        return kStatusOk;
    }
    if (!LineFits(*from) || !LineFits(*to)) {
        return kStatusNullPointer;
    }
    if (from->GetWidth() > to->GetWidth() || from->GetHeight() > to->GetHeight()) {
        return kStatusUnsupportedFormat;
    }
    const WhichFieldEnum field = source.GetFieldOfInterest();
    const bool isFlipped = from->GetOrigin() == kBottomLeft || to->GetOrigin() == kBottomLeft;
    if (field != kFrame && (isFlipped || (field != kUpperField && field != kLowerField))) {
        return kStatusUnsupportedField;
    }

    Image* const images[] = {from, to};
    PictureDescriptor pictures[2];
    for (std::size_t i = 0; i < 2; ++i) {
        ImageView whole(images[i]);
        whole.SetFieldOfInterest(field);
        PictureDescriptor& picture = pictures[i];
        picture.width = from->GetWidth();
        picture.height = i == 0 ? whole.GetHeight() : pictures[0].height;
        picture.alignment = AlignmentOf(images[i]->GetMemoryPointer(0), images[i]->GetPitch(0));
        if (const Long32 status = SelectPlane(whole, 0, picture.height, picture.lines); status != kStatusOk) {
            return status;
        }
    }
    Context context(features->IsSSE2usable());
    if (context.Configure(info, true) < 0 || context.Run(pictures[0], pictures[1]) < 0) {
        return kStatusNullPointer;
    }
    return kStatusOk;
}

}  // namespace Zan::BaseCC
