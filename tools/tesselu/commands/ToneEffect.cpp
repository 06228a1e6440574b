#include "commands/ToneEffect.h"

#include <TesselU/image/FieldHelpers.h>

#include <cstring>

#include "Errors.h"

namespace tool {
namespace {

unsigned BytesOfPixel(const Zan::Image& picture) {
    switch (picture.GetChannelSampling()) {
        case Zan::k422:
        case Zan::k4224:
            return 2;
        case Zan::k444:
            return 3;
        default:
            return 4;
    }
}

/// Copies the first `columns` of all lines that the view `to` shows.
void CopyColumns(const Zan::ImageView& from, const Zan::ImageView& to, Zan::ULong32 channel,
                 std::size_t bytes) {
    const Zan::Image &source = *from.GetImage(), &destination = *to.GetImage();
    const Zan::WhichFieldEnum field = to.GetFieldOfInterest();
    const bool isFrame = field == Zan::kFrame;
    const unsigned first = isFrame || Zan::GetSpatialField(&destination, field) == Zan::kUpperField ? 0 : 1;
    for (unsigned y = first; y < destination.GetHeight(); y += isFrame ? 1 : 2) {
        std::memcpy(Line(destination, y, channel), Line(source, y, channel), bytes);
    }
}

}  // namespace

std::vector<Option> ToneOptions() {
    return {{.name = "split", .help = "leave the left half of the picture untouched, to compare"},
            {.name = "length",
             .kind = ValueKind::kInteger,
             .value = "N",
             .help = "frames of the whole run [those of the clip; 1 of a still]",
             .least = 1,
             .most = static_cast<double>(kMostPictures)}};
}

void CheckStatus(const std::string& work, Zan::Long32 status) {
    if (status != Zan::kStatusOk) {
        throw Failure(work + ": the library returned status " + std::to_string(status));
    }
}

void CopyLeftHalf(const Zan::ImageView& from, const Zan::ImageView& to) {
    const std::size_t half = to.GetWidth() / 4 * 2;
    CopyColumns(from, to, 0, half * BytesOfPixel(*to.GetImage()));
    if (tool::HasAlpha(*from.GetImage()) && tool::HasAlpha(*to.GetImage())) {
        CopyColumns(from, to, kAlphaChannel, half);
    }
}

ToneEffect::ToneEffect(const Arguments& arguments)
    : name(arguments.Inputs()[0]), isSplit(arguments.Has("split")) {}

PictureFormat ToneEffect::InputFormat(const Reader& input, const PictureFormat& run) {
    PictureFormat format = run;
    hasAlpha = format.hasAlpha = input.HasAlpha();
    return format;
}

void ToneEffect::Prepare(const PictureFormat& run) {
    if (!hasAlpha) {
        return;
    }
    keepsAlpha = run.hasAlpha;
    PictureFormat format = run;
    format.samples = Zan::kFmtCbYCrY4;
    straight = NewPicture(format);
    made = NewPicture(format);
    if (!keepsAlpha) {
        format.samples = Zan::kFmtCbYCrY4Shaped;
        shaped = NewPicture(format);
    }
}

void ToneEffect::Convert(Zan::ImageView& from, Zan::ImageView& to) {
    CheckStatus(name, converter.Do(from, to, Zan::kBestAvailable, nullptr, nullptr));
}

void ToneEffect::Make(std::span<Zan::ImageView> inputs, Zan::ImageView& output, const Moment&) {
    const Zan::WhichFieldEnum field = output.GetFieldOfInterest();
    if (!hasAlpha) {
        Apply(inputs[0], output);
    } else {
        Zan::ImageView before = Whole(*straight, field), after = Whole(*made, field);
        Convert(inputs[0], before);
        CopyColumns(before, after, kAlphaChannel, after.GetWidth());
        Apply(before, after);
        if (keepsAlpha) {
            Convert(after, output);
        } else {
            Zan::ImageView onBlack = Whole(*shaped, field);
            Convert(after, onBlack);
            Convert(onBlack, output);
        }
    }
    if (isSplit) {
        CopyLeftHalf(inputs[0], output);
    }
}

}  // namespace tool
