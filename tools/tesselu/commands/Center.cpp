#include <TesselU/overlay/Mixup.h>

#include <cstring>

#include "Commands.h"
#include "cli/Arguments.h"
#include "commands/Lines.h"
#include "commands/ToneEffect.h"
#include "media/Samples.h"
#include "media/Writer.h"
#include "run/Effect.h"
#include "run/RunOptions.h"

namespace tool {
namespace {

/// Puts pictures in their own size into the middle of the output.
class Center : public Effect {
public:
    explicit Center(const Arguments& arguments) : style(StyleOf(arguments)) {
        OutputOptions out;
        out.kind = arguments.Text("to");
        makesPictures = IsSequenceOutput(arguments.Text("output"), out);
    }

    PictureFormat InputFormat(const Reader& input, const PictureFormat& run) override {
        PictureFormat format = run;
        const std::optional<Zan::ConverterFormat> samples = input.Samples(run);
        const bool isRgb = samples == Zan::kFmtRGB32 || samples == Zan::kFmtRGB24;
        if (isRgb && makesPictures && !run.IsInterlaced()) {
            rgb = run.hasAlpha ? Zan::kFmtRGB32 : Zan::kFmtRGB24;
            format.samples = rgb;
        }
        format.width = rgb ? input.Width() : std::max(input.Width() & ~1U, 2U);
        format.height = input.Height();
        format.pixelAspect = input.PixelAspect();
        inputFormat = format;
        return format;
    }

    PictureFormat OutputFormat(const PictureFormat& run) override {
        PictureFormat format = run;
        format.samples = rgb;
        format.pixelAspect = inputFormat.pixelAspect;
        return format;
    }

    long PicturesOfStills() const override { return 1; }

    /// Fields keep their lines: where the picture would begin on one of the other field, it gets two black
    /// lines below, and begins one line higher.
    void Prepare(const PictureFormat& run) override {
        const long top = (static_cast<long>(run.height) - static_cast<long>(inputFormat.height)) / 2;
        if (!run.IsInterlaced() || top % 2 == 0) {
            return;
        }
        PictureFormat format = inputFormat;
        format.height += 2;
        taller = NewPicture(format);
        for (unsigned y = inputFormat.height; y < format.height; ++y) {
            for (unsigned x = 0; x < format.width; ++x) {
                Line(*taller, y)[2 * x] = 128;
                Line(*taller, y)[2 * x + 1] = 16;
            }
            if (HasAlpha(*taller)) {
                std::memset(Line(*taller, y, kAlphaChannel), 0, format.width);
            }
        }
    }

    void Make(std::span<Zan::ImageView> inputs, Zan::ImageView& output, const Moment&) override {
        Zan::ImageView source = InSpace(inputs[0]), result = InSpace(output);
        if (taller) {
            const Zan::Image& image = *inputs[0].GetImage();
            ForLines(inputs[0], [&](unsigned y) {
                std::memcpy(Line(*taller, y), Line(image, y), std::size_t{2} * image.GetWidth());
                if (HasAlpha(image)) {
                    std::memcpy(Line(*taller, y, kAlphaChannel), Line(image, y, kAlphaChannel),
                                image.GetWidth());
                }
            });
            source = Whole(*taller, source.GetFieldOfInterest());
        }
        CheckStatus("center", mixup.Center(source, result, style));
    }

private:
    Zan::ProcessingStyleEnum style;
    bool makesPictures = false;
    std::optional<Zan::ConverterFormat> rgb;  ///< from pictures to pictures
    PictureFormat inputFormat;
    ImagePtr taller;
    Zan::MixupPosition::Mixup mixup;
};

}  // namespace

const Command kCenterCommand = {
    .name = "center",
    .summary = "cut pictures to a size, or surround them with black",
    .description =
        "Puts IN into the middle of pictures of another size, without scaling it: what does not fit is cut "
        "off, and what is left over is black, or transparent where IN has alpha.",
    .inputs = {{"IN", "clip, picture or sequence; - is standard input"}},
    .options = {{.name = "size",
                 .kind = ValueKind::kSize,
                 .value = "WIDTHxHEIGHT",
                 .help = "size of the output",
                 .isRequired = true},
                {.name = "length",
                 .kind = ValueKind::kInteger,
                 .value = "N",
                 .help = "frames of the whole run [those of the clip; 1 of a still]",
                 .least = 1,
                 .most = static_cast<double>(kMostPictures)}},
    .examples = {{"tesselu center ntsc.mkv -o out.mkv --size 720x576", "486 lines among 576"},
                 {"tesselu center photo.png -o out-%d.png --size 400x400", "the middle of a picture"}},
    .makeEffect = [](const Arguments& arguments) -> std::unique_ptr<Effect> {
        return std::make_unique<Center>(arguments);
    },
};

}  // namespace tool
