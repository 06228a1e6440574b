#include <TesselU/tone/ColorAdjustment.h>

#include "Commands.h"
#include "Errors.h"
#include "commands/ToneEffect.h"

namespace tool {
namespace {

/// The last value that contrast and saturation can have: one step of the class below 128.
constexpr double kMostGain = 127.99609375;
constexpr std::size_t kIntegerStyle = 2;

class Adjust : public ToneEffect {
public:
    explicit Adjust(const Arguments& arguments)
        : ToneEffect(arguments), isInteger(arguments.Choice("style") == kIntegerStyle) {
        if (isInteger && arguments.Has("gamma")) {
            throw UsageError("--gamma: the path of --style int has none; that of flp does");
        }
        adjustment.SetBrightness(arguments.Real("brightness"));
        adjustment.SetContrast(arguments.Real("contrast"));
        adjustment.SetSaturation(arguments.Real("saturation"));
        adjustment.SetHue(arguments.Real("hue"));
        adjustment.SetYgamma(arguments.Real("gamma"));
    }

    void Prepare(const PictureFormat& run) override {
        ToneEffect::Prepare(run);
        format = run;
        format.hasAlpha = false;
        if (isInteger) {
            PictureFormat pixels = run;
            pixels.samples = Zan::kFmtCbYCrA;
            before = NewPicture(pixels);
            after = NewPicture(pixels);
        }
    }

protected:
    void Apply(Zan::ImageView& source, Zan::ImageView& destination) override {
        const Zan::WhichFieldEnum field = destination.GetFieldOfInterest();
        if (isInteger) {
            Zan::ImageView from = Whole(*before, field), to = Whole(*after, field);
            Convert(source, from);
            CheckStatus("adjust", adjustment.Do(from, to, Zan::kInt_MMXorSIMD));
            Convert(to, destination);
            return;
        }
        // The floating-point path knows 4:2:2 without alpha only.
        const ImagePtr before422 = Colours(*source.GetImage()), after422 = Colours(*destination.GetImage());
        Zan::ImageView from = Whole(*before422, field), to = Whole(*after422, field);
        CheckStatus("adjust", adjustment.Do(from, to, Zan::kFlp));
    }

private:
    ImagePtr Colours(const Zan::Image& picture) const {
        return WrapPicture(format, Line(picture, 0), picture.GetPitch(0));
    }

    bool isInteger;
    Zan::ColorAdjustment adjustment;
    PictureFormat format;
    ImagePtr before, after;  ///< of one luma and one chroma a pixel, for the integer path
};

std::vector<Option> Options() {
    std::vector<Option> options = {
        {.name = "brightness",
         .kind = ValueKind::kReal,
         .value = "B",
         .help = "added to luma, as a part of full scale, from -1 to 1",
         .initial = "0",
         .least = -1,
         .most = 1},
        {.name = "contrast",
         .kind = ValueKind::kReal,
         .value = "C",
         .help = "gain of luma about black, from 0 up",
         .initial = "1",
         .least = 0,
         .most = kMostGain},
        {.name = "saturation",
         .kind = ValueKind::kReal,
         .value = "S",
         .help = "gain of chroma, from 0, which is grey, up",
         .initial = "1",
         .least = 0,
         .most = kMostGain},
        {.name = "hue",
         .kind = ValueKind::kReal,
         .value = "DEGREES",
         .help = "rotation of chroma, from -180 to 180",
         .initial = "0",
         .least = -180,
         .most = 180},
        {.name = "gamma",
         .kind = ValueKind::kReal,
         .value = "G",
         .help = "exponent of luma: below 1 the middle gets lighter, above 1 darker",
         .initial = "1",
         .least = 0,
         .most = 1000},
        {.name = "style",
         .kind = ValueKind::kChoice,
         .value = "STYLE",
         .help = "code path of the library: flp, which best means here, or int, which has no gamma; the "
                 "pictures are the same",
         .initial = "best",
         .choices = {"best", "flp", "int"}}};
    for (Option& option : ToneOptions()) {
        options.push_back(std::move(option));
    }
    return options;
}

}  // namespace

const Command kAdjustCommand = {
    .name = "adjust",
    .summary = "brightness, contrast, saturation, hue and gamma",
    .description =
        "Adjusts a clip or picture as a processing amplifier does, in YCrCb at video levels. Contrast comes "
        "first, then brightness and gamma on luma, hue and saturation on chroma.",
    .inputs = {{"IN", "clip, picture or sequence; - is standard input"}},
    .options = Options(),
    .examples = {{"tesselu adjust clip.mkv -o out.mkv --contrast 1.2 --saturation 0.8",
                  "more contrast, less colour"},
                 {"tesselu adjust photo.png -o out-%d.png --gamma 0.8 --split",
                  "lighter in the middle, the left half as it was"}},
    .makeEffect = [](const Arguments& arguments) -> std::unique_ptr<Effect> {
        return std::make_unique<Adjust>(arguments);
    },
};

}  // namespace tool
