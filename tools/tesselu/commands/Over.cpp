#include <TesselU/composite/ZanCompositor.h>
#include <TesselU/convert/ColorSpaceConverter.h>

#include <algorithm>

#include "Commands.h"
#include "Errors.h"
#include "cli/Arguments.h"
#include "commands/ColourMatrix.h"
#include "run/Effect.h"
#include "run/RunOptions.h"

namespace tool {
namespace {

void Check(Zan::Long32 status, const char* what) {
    if (status != Zan::kStatusOk) {
        throw Failure(std::string("over: ") + what + ": the library returned status " +
                      std::to_string(status));
    }
}

/// Composites in RGB with alpha, and converts the result to the pictures of the run.
class Over : public Effect {
public:
    explicit Over(const Arguments& arguments)
        : from(arguments.Real("fade")),
          to(arguments.Has("fade-to") ? arguments.Real("fade-to") : from),
          style(StyleOf(arguments)) {}

    PictureFormat InputFormat(const Reader&, const PictureFormat& run) override {
        PictureFormat format = run;
        format.samples = Zan::kFmtRGB32;
        return format;
    }

    long PicturesOfStills() const override { return from == to ? 1 : 50; }

    void Prepare(const PictureFormat& run) override {
        PictureFormat format = run;
        format.samples = Zan::kFmtRGB32Shaped;
        mixed = NewPicture(format);
        // Where the output drops alpha, colours on black are what is wanted, and not colours divided by it.
        format.samples = Zan::kFmtRGB32;
        asItIs =
            std::make_unique<Zan::Image>(Line(*mixed, 0), mixed->GetPitch(0),
                                         Zan::ImageDescriptor(run.width, run.height, Zan::kRGB, run.scan,
                                                              mixed->GetFieldPacking(), Zan::kTopLeft, 1.0F),
                                         1, 1);
        keepsAlpha = run.hasAlpha;
        matrix = RgbMatrixOf(run.weights, Sense::kFromRgb);
    }

    void Make(std::span<Zan::ImageView> inputs, Zan::ImageView& output, const Moment& moment) override {
        if (from != to && moment.pictures == 0) {
            throw UsageError(
                "--fade-to: the length of the inputs is not known before they end; --length N "
                "tells it");
        }
        const double fade = from == to ? from : from + (to - from) * moment.Position();
        const Zan::WhichFieldEnum field = output.GetFieldOfInterest();
        // The vector forms give the columns beyond their last whole block a fade of their own.
        const auto width = static_cast<Zan::Long32>(mixed->GetWidth());
        const Zan::Long32 whole = width / kBlock * kBlock;
        Blend(inputs, field, 0, whole, fade, style);
        Blend(inputs, field, whole, width, fade, Zan::kFP);

        Zan::ImageView source = Whole(keepsAlpha ? *mixed : *asItIs, field);
        Check(converter.Do(source, output, Zan::kBestAvailable, matrix ? matrix->matrix.data() : nullptr,
                           nullptr),
              "conversion from RGB");
    }

private:
    static constexpr Zan::Long32 kBlock = 8;

    void Blend(std::span<Zan::ImageView> inputs, Zan::WhichFieldEnum field, Zan::Long32 left,
               Zan::Long32 right, double fade, Zan::ProcessingStyleEnum path) {
        if (left == right) {
            return;
        }
        const Zan::Rectangle part(left, 0, right, static_cast<Zan::Long32>(mixed->GetHeight()));
        Zan::ImageView a(inputs[0].GetImage(), part, field), b(inputs[1].GetImage(), part, field);
        Zan::ImageView out(mixed.get(), part, field);
        Check(compositor.CompositeUnshapedAoverBwithFadeOfA(a, b, out, fade, path), "compositing");
    }

    double from, to;
    Zan::ProcessingStyleEnum style;
    ImagePtr mixed;   ///< multiplied by its alpha
    ImagePtr asItIs;  ///< the same memory, as if it were not
    bool keepsAlpha = false;
    std::optional<ColourMatrix> matrix;
    Zan::ZanCompositor compositor;
    Zan::ColorSpaceConverter converter;
};

}  // namespace

const Command kOverCommand = {
    .name = "over",
    .summary = "put a picture or clip with alpha over another",
    .description =
        "Puts A over B by the alpha of A, multiplied by a fade, frame by frame or field by field. B gives "
        "the "
        "output its size and shape, to which A is cropped about its centre.",
    .inputs = {{"A", "clip, picture or sequence with alpha; - is standard input"},
               {"B", "clip, picture or sequence behind it"}},
    .options = {{.name = "fade",
                 .kind = ValueKind::kReal,
                 .value = "F",
                 .help = "strength of A, from 0 to 1",
                 .initial = "1",
                 .least = 0,
                 .most = 1},
                {.name = "fade-to",
                 .kind = ValueKind::kReal,
                 .value = "F",
                 .help = "strength of A in the last frame of the run, between which and --fade it changes "
                         "evenly",
                 .least = 0,
                 .most = 1}},
    .examples = {{"tesselu over logo.png clip.mp4 -o out.mkv --fade 0.8", "a logo on a clip"},
                 {"tesselu over title.png clip.mkv -o out.mkv --fade 0 --fade-to 1",
                  "a title that comes up"}},
    .frameInput = 1,
    .makeEffect = [](const Arguments& arguments) -> std::unique_ptr<Effect> {
        return std::make_unique<Over>(arguments);
    },
};

}  // namespace tool
