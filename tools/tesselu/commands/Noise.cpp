#include <TesselU/filter/NoiseSource.h>
#include <TesselU/image/FieldHelpers.h>

#include <cstdint>

#include "Commands.h"
#include "Errors.h"
#include "commands/ToneEffect.h"

namespace tool {
namespace {

constexpr double kMostSigma = 255;

/// Neighbouring seeds of the generator look alike: every bit of what comes in changes half of those that come
/// out (S. Vigna's splitmix64).
Zan::ULong32 Mixed(std::uint64_t seed, std::uint64_t index) {
    std::uint64_t z = seed * 0xD1342543DE82EF95U + (index + 1) * 0x9E3779B97F4A7C15U;
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9U;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBU;
    return static_cast<Zan::ULong32>((z ^ (z >> 31)) >> 32);
}

/// Adds noise to luma and chroma.
class Noise : public ToneEffect {
public:
    explicit Noise(const Arguments& arguments)
        : ToneEffect(arguments),
          seed(static_cast<std::uint64_t>(arguments.Integer("seed"))),
          isStill(arguments.Has("still")) {
        const bool isGaussian = arguments.Has("gaussian"), isUniform = arguments.Has("uniform");
        if ((isGaussian ? 1 : 0) + (isUniform ? 1 : 0) + (arguments.Has("bit-errors") ? 1 : 0) != 1) {
            throw UsageError("one of --gaussian, --uniform and --bit-errors tells the noise");
        }
        if (isGaussian) {
            kind = Kind::kGaussian;
            first = arguments.Real("gaussian");
        } else if (isUniform) {
            kind = Kind::kUniform;
            const std::vector<double> values = arguments.Reals("uniform");
            if (values.size() != 2 || values[0] > values[1] || values[1] - values[0] > 255) {
                throw UsageError("--uniform " + arguments.Text("uniform") +
                                 ": two numbers, LOW,HIGH, which are no more than 255 apart");
            }
            first = values[0];
            second = values[1];
        } else {
            kind = Kind::kBitErrors;
            first = arguments.Real("bit-errors");
        }
    }

    void Make(std::span<Zan::ImageView> inputs, Zan::ImageView& output, const Moment& moment) override {
        source.SetRandomSeed(Mixed(seed, isStill ? 0 : static_cast<std::uint64_t>(moment.Index())));
        ToneEffect::Make(inputs, output, moment);
    }

protected:
    void Apply(Zan::ImageView& from, Zan::ImageView& to) override {
        const Zan::Image &in = *from.GetImage(), &out = *to.GetImage();
        const Zan::WhichFieldEnum field = to.GetFieldOfInterest();
        const bool isFrame = field == Zan::kFrame;
        const unsigned line = isFrame || Zan::GetSpatialField(&out, field) == Zan::kUpperField ? 0 : 1;
        const unsigned step = isFrame ? 1 : 2;
        const auto words = [line](const Zan::Image& image) {
            return reinterpret_cast<Zan::ULong32*>(Line(image, line));
        };
        // Two pixels a word.
        const Zan::ULong32 width = out.GetWidth() / 2, height = out.GetHeight() / step,
                           pitchIn = in.GetPitch(0) * step, pitchOut = out.GetPitch(0) * step;
        Zan::Long32 status = 0;
        switch (kind) {
            case Kind::kGaussian:
                status = source.AddGaussian(words(in), words(out), width, height, pitchIn, pitchOut,
                                            first * first, 0);
                break;
            case Kind::kUniform:
                status =
                    source.AddUniform(words(in), words(out), width, height, pitchIn, pitchOut, first, second);
                break;
            case Kind::kBitErrors:
                status =
                    source.UniformBitErrors(words(in), words(out), width, height, pitchIn, pitchOut, first);
                break;
        }
        CheckStatus("noise", status);
    }

private:
    enum class Kind { kGaussian, kUniform, kBitErrors };

    std::uint64_t seed;
    bool isStill;
    Kind kind = Kind::kGaussian;
    double first = 0, second = 0;  ///< deviation, or the two ends, or the probability
    Zan::NoiseSource source;
};

std::vector<Option> Options() {
    std::vector<Option> options = {
        {.name = "gaussian",
         .kind = ValueKind::kReal,
         .value = "SIGMA",
         .help = "noise of a normal distribution with this deviation, in code values",
         .least = 0,
         .most = kMostSigma},
        {.name = "uniform",
         .kind = ValueKind::kReals,
         .value = "LOW,HIGH",
         .help = "noise that lies evenly between two code values, which may be negative",
         .least = -255,
         .most = 255},
        {.name = "bit-errors",
         .kind = ValueKind::kReal,
         .value = "P",
         .help = "turn each bit with this probability, in steps of 1/32768",
         .least = 0,
         .most = 1},
        {.name = "seed",
         .kind = ValueKind::kInteger,
         .value = "N",
         .help = "another number gives other noise; the same number the same, on every machine",
         .initial = "2",
         .least = 0,
         .most = 4294967295.0},
        {.name = "still", .help = "the same noise in every picture, as the class by itself repeats it"}};
    for (Option& option : ToneOptions()) {
        options.push_back(std::move(option));
    }
    return options;
}

}  // namespace

const Command kNoiseCommand = {
    .name = "noise",
    .summary = "add noise or bit errors, the same on every machine",
    .description =
        "Adds noise to luma and chroma of a clip or picture, to every field its own. Alpha is left alone.",
    .inputs = {{"IN", "clip, picture or sequence; - is standard input"}},
    .options = Options(),
    .examples = {{"tesselu noise clip.mkv -o out.mkv --gaussian 8", "a camera in bad light"},
                 {"tesselu noise clip.mkv -o out.mkv --bit-errors 0.0005 --seed 7", "a bad line"}},
    .without = {"style"},
    .makeEffect = [](const Arguments& arguments) -> std::unique_ptr<Effect> {
        return std::make_unique<Noise>(arguments);
    },
};

}  // namespace tool
