#include <TesselU/composite/ZanCompositor.h>

#include <charconv>
#include <optional>

#include "Commands.h"
#include "Errors.h"
#include "cli/Arguments.h"
#include "commands/Patterns.h"
#include "run/Effect.h"
#include "run/RunOptions.h"

namespace tool {
namespace {

/// The coloured band along the edge of a wipe, and the soft edges on its sides.
struct Border {
    double width, softToA, softToB;
    Zan::ULong32 colour;  ///< B, G, R, A from the low byte, multiplied by A as the pictures of a run are
};

/// "RRGGBB" or "RRGGBBAA".
Zan::ULong32 ColourOf(const std::string& text) {
    Zan::ULong32 digits = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), digits, 16);
    const bool hasAlpha = text.size() == 8;
    if (error != std::errc() || end != text.data() + text.size() || (text.size() != 6 && !hasAlpha)) {
        throw UsageError("--border-color " + text + ": RRGGBB or RRGGBBAA in hexadecimal digits");
    }
    const Zan::ULong32 alpha = hasAlpha ? digits & 0xFF : 0xFF;
    const Zan::ULong32 rgb = hasAlpha ? digits >> 8 : digits;
    const auto shaped = [alpha](Zan::ULong32 sample) { return ((sample & 0xFF) * alpha + 127) / 255; };
    return alpha << 24 | shaped(rgb >> 16) << 16 | shaped(rgb >> 8) << 8 | shaped(rgb);
}

std::optional<Border> BorderOf(const Arguments& arguments) {
    if (!arguments.Has("border")) {
        for (const char* option : {"border-color", "soft-in", "soft-out"}) {
            if (arguments.Has(option)) {
                throw UsageError(std::string("--") + option +
                                 ": there is no border; --border WIDTH makes one");
            }
        }
        return std::nullopt;
    }
    const auto soft = [&](const char* option) {
        return arguments.Real(arguments.Has(option) ? option : "softness");
    };
    return Border{arguments.Real("border"), soft("soft-out"), soft("soft-in"),
                  ColourOf(arguments.Text("border-color"))};
}

/// The wipe: a key that is drawn once, and one wipe for each field.
class Wipe : public Effect {
public:
    explicit Wipe(const Arguments& arguments)
        : pattern(static_cast<unsigned>(arguments.Integer("pattern"))),
          softness(arguments.Real("softness")),
          border(BorderOf(arguments)),
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
        const double left = atEnd ? 1 : 1 - position;
        const Zan::Long32 status = border ? compositor.CompositeTwoSrcAndAlphaGradientWithBorder(
                                                first, second, keyView, output, left, border->softToA,
                                                border->width, border->softToB, border->colour, style)
                                          : compositor.CompositeTwoSrcAndAlphaGradient(
                                                first, second, keyView, output, left, softness, style);
        if (status != Zan::kStatusOk) {
            throw Failure("wipe: the library returned status " + std::to_string(status));
        }
    }

private:
    unsigned pattern;
    double softness;
    std::optional<Border> border;
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
                 .most = 32768},
                {.name = "border",
                 .kind = ValueKind::kReal,
                 .value = "WIDTH",
                 .help = "a border along the edge, so many code values of the key wide",
                 .least = 0,
                 .most = 32768},
                {.name = "border-color",
                 .kind = ValueKind::kText,
                 .value = "RRGGBB[AA]",
                 .help = "colour of the border, and its alpha",
                 .initial = "FFFFFF"},
                {.name = "soft-in",
                 .kind = ValueKind::kReal,
                 .value = "S",
                 .help = "width of the soft edge between the border and B, which comes in [as --softness]",
                 .least = 0,
                 .most = 32768},
                {.name = "soft-out",
                 .kind = ValueKind::kReal,
                 .value = "S",
                 .help = "width of the soft edge between A, which goes out, and the border [as --softness]",
                 .least = 0,
                 .most = 32768}},
    .examples = {{"tesselu wipe a.mp4 b.mp4 -o out.mkv --pattern 41 --softness 64",
                  "a soft diagonal wipe between two clips, without loss"},
                 {"tesselu wipe a.mp4 b.mp4 -o out.mkv --border 12 --border-color FFC000",
                  "the same with a golden border"},
                 {"ffmpeg -i a.mp4 -f yuv4mpegpipe - | tesselu wipe - b.png -o - --length 50 | ffmpeg -i - "
                  "out.webm",
                  "fifty frames through pipes, whatever the formats on both sides"}},
    .needsLength = true,
    .makeEffect = [](const Arguments& arguments) -> std::unique_ptr<Effect> {
        return std::make_unique<Wipe>(arguments);
    },
};

}  // namespace tool
