#include <TesselU/composite/ZanCompositor.h>

#include "Commands.h"
#include "Errors.h"
#include "cli/Arguments.h"
#include "commands/Patterns.h"
#include "run/Effect.h"
#include "run/RunOptions.h"

namespace tool {
namespace {

/// The wipe: a key that is drawn once, and one soft wipe for each field.
class Wipe : public Effect {
public:
    explicit Wipe(const Arguments& arguments)
        : pattern(static_cast<unsigned>(arguments.Integer("pattern"))),
          softness(arguments.Real("softness")),
          style(StyleOf(arguments)) {
        RequireDrawn(pattern);
    }

    void Prepare(const PictureFormat& format) override {
        key = NewKey(format);
        DrawPattern(*key, pattern, format.Aspect());
    }

    /// The parts of the picture with the highest key values change first, as the wipe codes have it.
    void Make(std::span<Zan::ImageView> inputs, Zan::ImageView& output, const Moment& moment) override {
        // Position 1 gives the first source whole, position 0 leaves a trace of it where the key is 0. So the
        // end of the wipe is asked for from the other side.
        const double position = moment.Position();
        const bool atEnd = position >= 1;
        Zan::ImageView& first = inputs[atEnd ? 1 : 0];
        Zan::ImageView& second = inputs[atEnd ? 0 : 1];
        Zan::ImageView keyView = Whole(*key, output.GetFieldOfInterest());
        const Zan::Long32 status = compositor.CompositeTwoSrcAndAlphaGradient(
            first, second, keyView, output, atEnd ? 1 : 1 - position, softness, style);
        if (status != Zan::kStatusOk) {
            throw Failure("wipe: the library returned status " + std::to_string(status));
        }
    }

private:
    unsigned pattern;
    double softness;
    Zan::ProcessingStyleEnum style;
    ImagePtr key;
    Zan::ZanCompositor compositor;
};

}  // namespace

const Command kWipeCommand = {
    .name = "wipe",
    .summary = "wipe from one clip or picture to another",
    .description =
        "Wipes from A to B along a pattern of SMPTE 258M, frame by frame or field by field, over the whole "
        "length of the run. The first clip gives the output its size, rate and scan; B is cropped about its "
        "centre to the shape of A, and its frames are picked by their time stamps.",
    .inputs = {{"A", "clip, picture or sequence to start from; - is standard input"},
               {"B", "clip, picture or sequence to end with"}},
    .options = {{.name = "pattern",
                 .kind = ValueKind::kInteger,
                 .value = "CODE",
                 .help = "wipe code, see 'tesselu patterns'",
                 .initial = "41",
                 .least = 0,
                 .most = 9999},
                {.name = "softness",
                 .kind = ValueKind::kReal,
                 .value = "S",
                 .help = "width of the edge in code values of the key; 0 is hard",
                 .initial = "32",
                 .least = 0,
                 .most = 32768}},
    .examples = {{"tesselu wipe a.mp4 b.mp4 -o out.mkv --pattern 41 --softness 64",
                  "a soft diagonal wipe between two clips, without loss"},
                 {"ffmpeg -i a.mp4 -f yuv4mpegpipe - | tesselu wipe - b.png -o - --length 50 | ffmpeg -i - "
                  "out.webm",
                  "fifty frames through pipes, whatever the formats on both sides"}},
    .needsLength = true,
    .makeEffect = [](const Arguments& arguments) -> std::unique_ptr<Effect> {
        return std::make_unique<Wipe>(arguments);
    },
};

}  // namespace tool
