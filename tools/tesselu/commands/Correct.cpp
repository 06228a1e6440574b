#include <TesselU/foundation/CPUfeatures.h>
#include <TesselU/tone/BaseColorCorrection.h>

#include <cmath>
#include <cstdint>

#include "Commands.h"
#include "Errors.h"
#include "commands/Lines.h"
#include "commands/ToneEffect.h"

namespace tool {
namespace {

using Record = Zan::BaseCC::tagBASECOLORCORRINFO;

constexpr double kUnits = 255;        ///< of the record, for 1 on the command line
constexpr long kHalfTurn = 256;       ///< units of hue, for 180 degrees
constexpr std::uint16_t kStudio = 1;  ///< flags of the record
constexpr std::uint16_t kLegal = 2;
constexpr std::uint16_t kLimitChroma = 4;

std::int16_t UnitsOf(double value) {
    return static_cast<std::int16_t>(std::lround(value * kUnits));
}

/// The class cuts units back to degrees towards zero, so they go the other way here.
std::int16_t UnitsOfHue(long degrees) {
    const long up = degrees < 0 ? -179 : 179;
    return static_cast<std::int16_t>((degrees * kHalfTurn + up) / 180);
}

struct Levels {
    std::int16_t low = 0, mid = 0, high = 0;
    bool AreNeutral() const { return low == 0 && mid == 0 && high == 0; }
};

/// LIFT,GAMMA,GAIN
Levels LevelsOf(const Arguments& arguments, const std::string& option) {
    if (!arguments.Has(option)) {
        return {};
    }
    const std::vector<double> values = arguments.Reals(option);
    if (values.size() != 3) {
        throw UsageError("--" + option + " " + arguments.Text(option) +
                         ": three numbers, LIFT,GAMMA,GAIN, from -1 to 1");
    }
    return {UnitsOf(values[0]), UnitsOf(values[1]), UnitsOf(values[2])};
}

class Correct : public ToneEffect {
public:
    explicit Correct(const Arguments& arguments) : ToneEffect(arguments) {
        const Levels luma = LevelsOf(arguments, "luma"), red = LevelsOf(arguments, "red"),
                     green = LevelsOf(arguments, "green"), blue = LevelsOf(arguments, "blue");
        hasLumaLevels = !luma.AreNeutral();
        record.size = sizeof record;
        record.flags = static_cast<std::int16_t>((arguments.Has("studio") ? kStudio : 0) |
                                                 (arguments.Has("legal") ? kLegal : 0) |
                                                 (arguments.Has("limit-chroma") ? kLimitChroma : 0));
        record.brightness = UnitsOf(arguments.Real("brightness"));
        record.contrast = UnitsOf(arguments.Real("contrast"));
        record.lumaLow = luma.low;
        record.lumaMid = luma.mid;
        record.lumaHigh = luma.high;
        record.hue = UnitsOfHue(arguments.Integer("hue"));
        record.saturation = UnitsOf(arguments.Real("saturation"));
        record.redLow = red.low;
        record.redMid = red.mid;
        record.redHigh = red.high;
        record.greenLow = green.low;
        record.greenMid = green.mid;
        record.greenHigh = green.high;
        record.blueLow = blue.low;
        record.blueMid = blue.mid;
        record.blueHigh = blue.high;
        isNeutral = record.flags == 0 && record.brightness == 0 && record.contrast == 0 && !hasLumaLevels &&
                    record.hue == 0 && record.saturation == 0 && red.AreNeutral() && green.AreNeutral() &&
                    blue.AreNeutral();
    }

protected:
    void Apply(Zan::ImageView& source, Zan::ImageView& destination) override {
        if (isNeutral) {
            Convert(source, destination);  // the class leaves the destination as it is
            return;
        }
        // The class knows fields by their lines, and not by their time.
        Zan::ImageView from = InSpace(source), to = InSpace(destination);
        Record info = record;
        if (Subtracts(*to.GetImage())) {
            info.brightness = static_cast<std::int16_t>(-info.brightness);
        }
        CheckStatus("correct", correction.Do(from, to, info, Zan::kBestAvailable));
    }

private:
    /// Brightness comes off luma where it has a stage to itself or with contrast, and that stage its vectors.
    bool Subtracts(const Zan::Image& destination) const {
        constexpr std::uintptr_t kAligned = 16;
        const auto* features = Zan::CPUfeatures::Instance();
        return !hasLumaLevels && features != nullptr && features->IsSSE2usable() &&
               reinterpret_cast<std::uintptr_t>(destination.GetMemoryPointer(0)) % kAligned == 0 &&
               destination.GetPitch(0) % kAligned == 0;
    }

    Record record = {};
    bool hasLumaLevels = false, isNeutral = false;
    Zan::BaseCC::BaseColorCorrection correction;
};

std::vector<Option> Options() {
    std::vector<Option> options;
    const auto add = [&options](const char* name, ValueKind kind, const char* value, std::string help,
                                double most = 1) {
        options.push_back({.name = name,
                           .kind = kind,
                           .value = value,
                           .help = std::move(help),
                           .initial = kind == ValueKind::kReals || kind == ValueKind::kNone ? "" : "0",
                           .least = -most,
                           .most = most});
    };
    add("luma", ValueKind::kReals, "LIFT,GAMMA,GAIN",
        "black end, middle and white end of luma, each from -1 to 1: up is lighter");
    for (const char* colour : {"red", "green", "blue"}) {
        add(colour, ValueKind::kReals, "LIFT,GAMMA,GAIN", std::string("the same for ") + colour);
    }
    add("brightness", ValueKind::kReal, "B", "added to luma, from -1 to 1");
    add("contrast", ValueKind::kReal, "C", "slope of luma about its middle, from -1 to 1");
    add("hue", ValueKind::kInteger, "DEGREES", "rotation of chroma, whole degrees from -180 to 180", 180);
    add("saturation", ValueKind::kReal, "S", "gain of chroma: -1 is grey, 1 five times as much");
    add("studio", ValueKind::kNone, "",
        "luma levels go from 16 to 235 instead of 0 to 255; limits as --legal");
    add("legal", ValueKind::kNone, "", "limit luma to 16 to 235 and chroma to 16 to 240");
    add("limit-chroma", ValueKind::kNone, "", "limit chroma to 44 to 212");
    for (Option& option : ToneOptions()) {
        options.push_back(std::move(option));
    }
    return options;
}

}  // namespace

const Command kCorrectCommand = {
    .name = "correct",
    .summary = "correct colours: levels, hue, saturation, legal limits",
    .description =
        "Corrects a clip or picture in YCrCb: levels of luma, brightness and contrast, then hue and "
        "saturation, then levels of red, green and blue, and the legal limits last.",
    .inputs = {{"IN", "clip, picture or sequence; - is standard input"}},
    .options = Options(),
    .examples = {{"tesselu correct clip.mkv -o out.mkv --luma 0,0.2,0.05 --saturation 0.1 --legal",
                  "lighter, a little more colour, nothing illegal"},
                 {"tesselu correct photo.png -o out-%d.png --red 0,0.1,0 --blue 0,-0.1,0 --split",
                  "warmer, the left half as it was"}},
    .without = {"style"},
    .makeEffect = [](const Arguments& arguments) -> std::unique_ptr<Effect> {
        return std::make_unique<Correct>(arguments);
    },
};

}  // namespace tool
