#include "run/Timeline.h"

#include <algorithm>
#include <cmath>

namespace tool {
namespace {

constexpr double kJitter = 0.49;  ///< of a frame
constexpr double kSameRate = 0.001;

FieldUse ChooseFieldUse(const PictureFormat& output, const SourceTiming& source) {
    if (source.scan == Zan::kProgressive) {
        return FieldUse::kFrames;
    }
    const double faster = av_q2d(output.rate) / av_q2d(source.rate);
    if (output.IsInterlaced() && std::abs(faster - 1) < kSameRate) {
        return source.scan == output.scan ? FieldUse::kFrames : FieldUse::kFieldLater;
    }
    // Lines of one field alone cannot be shown at other times than their own.
    const double shown = output.IsInterlaced() ? 2 * faster : faster;
    return shown > 1 + kSameRate ? FieldUse::kDeinterlaceFields : FieldUse::kDeinterlace;
}

}  // namespace

Timeline::Timeline(const PictureFormat& output, const SourceTiming& source)
    : pictureDuration(1 / av_q2d(output.rate)),
      fieldsPerPicture(output.IsInterlaced() ? 2 : 1),
      fields(ChooseFieldUse(output, source)) {
    double frameDuration = 1 / av_q2d(source.rate);
    if (fields == FieldUse::kFieldLater) {
        offset = frameDuration / 2;
    }
    if (fields == FieldUse::kDeinterlaceFields) {
        frameDuration /= 2;
    }
    // Both fields of a frame have its time stamp: the second one lies half a frame above it.
    const bool keepsFields =
        source.scan != Zan::kProgressive && (fields == FieldUse::kFrames || fields == FieldUse::kFieldLater);
    if (keepsFields) {
        tolerance = frameDuration / 4;
    } else {
        tolerance = kJitter * std::min(frameDuration, pictureDuration / fieldsPerPicture);
    }
}

double Timeline::TimeOf(long picture, int field) const noexcept {
    return (static_cast<double>(picture) + static_cast<double>(field) / fieldsPerPicture) * pictureDuration;
}

double Timeline::Reach(long picture, int field) const noexcept {
    return TimeOf(picture, field) + offset + tolerance;
}

long Timeline::Pictures(double seconds) const noexcept {
    // Time stamps are rounded; what is missing by less than a quarter of a picture is whole.
    constexpr double kRounding = 0.25;
    return std::max(1L, static_cast<long>((seconds - offset) / pictureDuration + kRounding));
}

AVRational OutputRate(const SourceTiming& source, Zan::ScanStyleEnum output) {
    constexpr double kSlowestFieldRate = 40;
    if (output != Zan::kProgressive && source.scan == Zan::kProgressive &&
        av_q2d(source.rate) >= kSlowestFieldRate) {
        return StandardRate(av_div_q(source.rate, {2, 1}));
    }
    return source.rate;
}

}  // namespace tool
