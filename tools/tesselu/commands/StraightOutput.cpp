#include "commands/StraightOutput.h"

#include "commands/Lines.h"
#include "commands/ToneEffect.h"

namespace tool {
namespace {

/// c * a / 255 about `black`, to the nearest.
std::uint8_t ShapedSample(int sample, int black, int alpha) {
    const int product = (sample - black) * alpha;
    return static_cast<std::uint8_t>(black + (product >= 0 ? product + 127 : product - 127) / 255);
}

}  // namespace

AlphaCarrier CarrierOf(const std::string& path, const OutputOptions& options) {
    if (IsSequenceOutput(path, options)) {
        return AlphaCarrier::kRgb;
    }
    return HoldsAlpha(path, options) && HoldsFullChroma(path, options) ? AlphaCarrier::kSamples
                                                                       : AlphaCarrier::kOpaque;
}

PictureFormat StraightOutput::Format(const PictureFormat& run, bool isFull, AlphaCarrier of) {
    PictureFormat format = run;
    format.hasAlpha = false;
    format.hasFullChroma = isFull;
    format.samples = of == AlphaCarrier::kRgb ? Zan::kFmtRGB32 : isFull ? Zan::kFmtCbYCrA : Zan::kFmtCbYCrY4;
    return format;
}

void StraightOutput::Prepare(const PictureFormat& run, bool newIsFull) {
    isFull = newIsFull;
    width = run.width;
    toRgb = RgbMatrixOf(run.weights, Sense::kToRgb);
}

void StraightOutput::Put(Zan::Image& picture, const Zan::Image& alpha, Zan::ImageView& output,
                         AlphaCarrier of) {
    Zan::ImageView from = Whole(picture, output.GetFieldOfInterest());
    if (isFull) {
        ForLines(from, [&](unsigned y) {
            std::uint8_t* out = Line(picture, y) + 3;
            for (unsigned x = 0; x < width; ++x, out += 4) {
                *out = Line(alpha, y)[x];
            }
        });
    }
    if (of == AlphaCarrier::kRgb) {
        ConvertBy(name, converter, from, output, toRgb);
    } else {
        CopyLines(picture, output, std::size_t{isFull ? 4U : 2U} * width);
        if (!isFull) {
            CopyLines(picture, output, width, kAlphaChannel, kAlphaChannel);
        }
    }
    if (isShaped) {
        Shape(output, of);
    }
}

void StraightOutput::Shape(Zan::ImageView& output, AlphaCarrier of) {
    if (of == AlphaCarrier::kSamples && isFull) {
        const Zan::Image& image = *output.GetImage();
        ForLines(output, [&](unsigned y) {
            std::uint8_t* word = Line(image, y);
            for (unsigned x = 0; x < width; ++x, word += 4) {
                word[0] = ShapedSample(word[0], 128, word[3]);
                word[1] = ShapedSample(word[1], 16, word[3]);
                word[2] = ShapedSample(word[2], 128, word[3]);
            }
        });
        return;
    }
    CheckStatus(name, converter.Shape(output, Zan::kBestAvailable));
    output.GetImage()->SetPixelShaping(Zan::kUnshaped);  // its other field is still to be made
}

}  // namespace tool
