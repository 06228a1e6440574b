#include <TesselU/convert/ColorSpaceConverter.h>
#include <TesselU/filter/DeepDefocus.h>
#include <TesselU/image/FieldHelpers.h>
#include <TesselU/key/ChromaKeyerYUV.h>
#include <TesselU/key/GenerateCrCbGradient.h>
#include <TesselU/key/LinearKeyer.h>
#include <TesselU/key/LumaKeyer.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>

#include "Commands.h"
#include "Errors.h"
#include "cli/Arguments.h"
#include "commands/BackingEstimate.h"
#include "commands/ColourMatrix.h"
#include "commands/Lines.h"
#include "commands/ToneEffect.h"
#include "media/PngEncoder.h"
#include "media/Samples.h"
#include "media/Writer.h"
#include "run/Effect.h"
#include "run/OutputFile.h"
#include "run/RunOptions.h"

namespace tool {
namespace {

/// Options that tell the settings of the keyer, or find them.
constexpr const char* kSources[] = {"color", "pick", "auto", "hue"};
constexpr const char* kOfChroma[] = {"color",      "pick",        "auto",  "at",     "hue",
                                     "acceptance", "saturation",  "clip",  "offset", "gain",
                                     "spill",      "spill-angle", "plane", "style",  "444"};

struct Colour {
    int red, green, blue;
};

std::optional<Colour> HexColour(const std::string& text) {
    unsigned digits = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), digits, 16);
    if (text.size() != 6 || error != std::errc() || end != text.data() + text.size()) {
        return std::nullopt;
    }
    return Colour{static_cast<int>(digits >> 16), static_cast<int>(digits >> 8 & 0xFF),
                  static_cast<int>(digits & 0xFF)};
}

/// Of --color. Those with names are the usual paints of studios.
Colour BackingColour(const std::string& text) {
    if (text == "green") {
        return {0, 177, 64};
    }
    if (text == "blue") {
        return {0, 71, 187};
    }
    const auto colour = HexColour(text);
    if (!colour) {
        throw UsageError("--color " + text + ": green, blue, or RRGGBB in hexadecimal digits");
    }
    return *colour;
}

struct Spot {
    unsigned x = 0, y = 0, radius = 8;
};

/// X,Y or X,Y,RADIUS
Spot SpotOf(const Arguments& arguments) {
    const std::vector<double> values = arguments.Reals("pick");
    const bool areWhole =
        std::all_of(values.begin(), values.end(), [](double value) { return value == std::floor(value); });
    if (!areWhole || values.size() < 2 || values.size() > 3) {
        throw UsageError("--pick " + arguments.Text("pick") + ": two or three whole numbers, X,Y[,RADIUS]");
    }
    Spot spot{static_cast<unsigned>(values[0]), static_cast<unsigned>(values[1])};
    if (values.size() == 3) {
        spot.radius = static_cast<unsigned>(values[2]);
    }
    return spot;
}

/// How many lines, or which part of them.
struct Split {
    double count;
    bool isPart;

    long Lines(unsigned height) const {
        return isPart ? std::lround(height * count / 100) : static_cast<long>(count);
    }
};

Split SplitOf(const std::string& text) {
    Split split{};
    split.isPart = text.back() == '%';
    const char* const end = text.data() + text.size() - (split.isPart ? 1 : 0);
    const auto [stop, error] = std::from_chars(text.data(), end, split.count);
    const double most = split.isPart ? 100 : kLargestSide;
    if (error != std::errc() || stop != end || !(split.count >= 0 && split.count <= most) ||
        (!split.isPart && split.count != std::floor(split.count))) {
        throw UsageError("--split " + text + ": a number of lines, or a part of them such as 50%");
    }
    return split;
}

/// The shortest text that reads back as the same number.
std::string Plain(double number) {
    char text[32];
    const auto [end, error] = std::to_chars(std::begin(text), std::end(text), number);
    static_cast<void>(error);
    return {text, end};
}

/// What a file takes of a picture with alpha that is not multiplied into its colours.
enum class Carrier {
    kRgb,      ///< PNG: B, G, R, A
    kSamples,  ///< FFV1: the samples as they are
    kOpaque    ///< it has no alpha
};

Carrier CarrierOf(const std::string& path, const OutputOptions& options) {
    if (IsSequenceOutput(path, options)) {
        return Carrier::kRgb;
    }
    return HoldsAlpha(path, options) && HoldsFullChroma(path, options) ? Carrier::kSamples : Carrier::kOpaque;
}

/// c * a / 255 about `black`, to the nearest.
std::uint8_t ShapedSample(int sample, int black, int alpha) {
    const int product = (sample - black) * alpha;
    return static_cast<std::uint8_t>(black + (product >= 0 ? product + 127 : product - 127) / 255);
}

/// Makes a matte of a picture's chroma or luma, puts the picture over another one by it, and writes what
/// there is on the way. The matte is low on the backing.
class Key : public Effect {
public:
    explicit Key(const Arguments& arguments)
        : hasGarbage(arguments.Has("garbage")),
          isShaped(arguments.Has("shaped")),
          isInverted(arguments.Has("invert")),
          asksFull(arguments.Has("444")),
          asksPairs(arguments.Has("422")),
          style(StyleOf(arguments)),
          at(arguments.Integer("at")) {
        Refuse(arguments);
        if (arguments.Has("luma")) {
            TakeLuma(arguments);
        } else {
            TakeChroma(arguments);
        }
        if (arguments.Has("split")) {
            split = SplitOf(arguments.Text("split"));
        }
        isSplitBelow = arguments.Has("split-bottom");
        choke = arguments.Integer("choke");
        feather = arguments.Integer("feather");
        if (asksFull && IsReworked()) {
            throw UsageError("--444: --choke and --feather work in 4:2:2");
        }
        OutputOptions out;
        out.kind = arguments.Text("to");
        carrier = CarrierOf(arguments.Text("output"), out);
        outHoldsFullChroma = HoldsFullChroma(arguments.Text("output"), out);
        if (arguments.Has("background")) {
            plateColour = HexColour(arguments.Text("background"));
            hasClip = !plateColour;
        } else if (carrier == Carrier::kOpaque) {
            plateColour = Colour{0, 0, 0};
        }
        hasPlate = hasClip || plateColour;
        for (const char* side : {"matte", "foreground"}) {
            if (arguments.Has(side)) {
                CheckSide(arguments, side);
            }
        }
        if (isShaped && foreground.empty() && hasPlate) {
            throw UsageError("--shaped: there is no picture with alpha; --foreground OUT makes one");
        }
        if (arguments.Has("plane")) {
            plane = arguments.Text("plane");
        }
    }

    PictureFormat InputFormat(const Reader& input, const PictureFormat& run) override {
        PictureFormat format = run;
        if (asked++ == 0) {
            ChooseSampling(input);
            format.hasAlpha = !isFull && input.HasAlpha();
            format.hasFullChroma = isFull;
            inputFormat = format;
        } else if (hasClip && asked == 2) {
            format.hasAlpha = false;
            format.hasFullChroma = isFull;
        } else {
            // Grey comes as it is, RGB too; other masks as pictures at video levels.
            format.hasAlpha = false;
            const std::optional<Zan::ConverterFormat> samples = input.Samples(run);
            if (samples == Zan::kFmtAlpha8) {
                format.samples = samples;
            } else if (samples == Zan::kFmtRGB32 || samples == Zan::kFmtRGB24) {
                format.samples = Zan::kFmtRGB32;
            }
            maskSamples = format.Samples();
        }
        return format;
    }

    PictureFormat OutputFormat(const PictureFormat& run) override {
        if (!hasPlate) {
            return StraightFormat(run, carrier);
        }
        PictureFormat format = run;
        format.hasAlpha = false;
        format.hasFullChroma = isFull && outHoldsFullChroma;
        return format;
    }

    std::vector<SideOutput> SideOutputs(const PictureFormat& run) override {
        std::vector<SideOutput> sides;
        if (!matte.empty()) {
            PictureFormat grey = run;
            grey.hasAlpha = false;
            grey.samples = Zan::kFmtAlpha8;
            sides.push_back({"--matte", matte, grey});
        }
        if (!foreground.empty()) {
            sides.push_back({"--foreground", foreground, StraightFormat(run, foregroundCarrier)});
        }
        return sides;
    }

    std::vector<std::pair<std::string, std::string>> Pictures() const override {
        if (plane.empty()) {
            return {};
        }
        return {{"--plane", plane}};
    }

    long PicturesOfStills() const override { return 1; }

    void Prepare(const PictureFormat& run) override {
        PictureFormat format = run;
        format.hasAlpha = false;
        format.hasFullChroma = isFull;
        pixels = format;
        if (run.weights != LumaWeights::kBt601) {
            toRgb = MatrixOf(run.weights, Sense::kToRgb, 0, 255);
            fromRgb = MatrixOf(run.weights, Sense::kFromRgb, 0, 255);
        }
        if (isFull) {
            clean = NewPicture(format);
            key = NewKey(format);
            if (!outHoldsFullChroma) {
                mixed = NewPicture(format);
            }
        } else {
            // The key is the alpha of the picture that was cleaned, so that both are one picture.
            PictureFormat withAlpha = format;
            withAlpha.samples = Zan::kFmtCbYCrY4;
            clean = NewPicture(withAlpha);
            const ImagePtr like = NewKey(format);
            key = std::make_unique<Zan::Image>(
                Line(*clean, 0, kAlphaChannel), clean->GetPitch(kAlphaChannel),
                Zan::ImageDescriptor(run.width, run.height, Zan::kAlphaOnly, run.scan,
                                     like->GetFieldPacking(), Zan::kTopLeft, 1.0F),
                1, 1);
            if (HasMask()) {
                masked = NewPicture(withAlpha);
            }
            if (IsByAlpha() && split && !hasPlate) {
                shown = NewPicture(withAlpha);
                shownKey = std::make_unique<Zan::Image>(
                    Line(*shown, 0, kAlphaChannel), shown->GetPitch(kAlphaChannel),
                    Zan::ImageDescriptor(run.width, run.height, Zan::kAlphaOnly, run.scan,
                                         like->GetFieldPacking(), Zan::kTopLeft, 1.0F),
                    1, 1);
            }
        }
        if (plateColour) {
            MakePlate();
        }
        if (IsReworked()) {
            PrepareRework(run);
        }
        byAlpha.SetKeyOffset(1);
        byAlpha.SetSpillSuppressionGain(0);
    }

    void Look(std::span<Reader* const> inputs) override {
        if (luma) {
            return;
        }
        if (!settings) {
            Estimate(*inputs[0]);
        }
        Override(settings->hueAngle, given.hue);
        Override(settings->acceptanceAngle, given.acceptance);
        Override(settings->spillAngle, given.spillAngle);
        Override(settings->spillGain, given.spill);
        Override(settings->keyOffset, given.offset);
        Override(settings->keyGain, given.gain);
        settings->ApplyTo(keyer);
        keyer.SetSaturationMinimum(given.saturation);
        if (!plane.empty()) {
            DrawPlane();
        }
        keyer.SetInvertKeyAfterPostProcessing(!isInverted);
    }

    std::string Found() const override {
        if (!isEstimated) {
            return {};
        }
        std::string text = "--hue " + Plain(settings->hueAngle) + " --acceptance " +
                           Plain(settings->acceptanceAngle) + " --saturation " + Plain(given.saturation);
        text += " --offset=" + Plain(settings->keyOffset) + " --gain " + Plain(settings->keyGain);
        text += " --spill " + Plain(settings->spillGain) + " --spill-angle " + Plain(settings->spillAngle);
        return text;
    }

    void Make(std::span<Zan::ImageView> inputs, Zan::ImageView& output, const Moment& moment) override {
        MakeAll(inputs, {&output, 1}, moment);
    }

    void MakeAll(std::span<Zan::ImageView> inputs, std::span<Zan::ImageView> outputs,
                 const Moment&) override {
        const Zan::WhichFieldEnum field = outputs[0].GetFieldOfInterest();
        Zan::ImageView source = Source(inputs, field), keyOut = Whole(*key, field),
                       cleaned = Whole(*clean, field);
        if (IsByAlpha()) {
            if (luma) {
                KeyByLuma(source, field);
            } else {
                SetSplit(keyer, field, false);
                Check(keyer.Do(source, nullptr, cleaned, &keyOut, style));
            }
            if (choke > 0) {
                Blur(keyOut, choke);
                Zan::ImageView reworked = Whole(*tightened, field);
                Check(tight.Do(cleaned, reworked, Zan::kBestAvailable));
                CopyLines(*tightened, keyOut, pixels.width);
            }
            if (feather > 0) {
                Blur(keyOut, feather);
            }
            Finish(inputs, outputs[0], byAlpha, cleaned, nullptr, Zan::kBestAvailable);
        } else {
            Finish(inputs, outputs[0], keyer, source, &keyOut, style);
            const bool isWhole = !split;
            if (outputs.size() > 1 && !(isWhole && (!hasPlate || foreground.empty()))) {
                SetSplit(keyer, field, false);
                Check(keyer.Do(source, nullptr, cleaned, &keyOut, style));
            }
        }
        std::size_t next = 1;
        if (!matte.empty()) {
            CopyLines(*key, outputs[next++], pixels.width);
        }
        if (!foreground.empty()) {
            PutStraight(*clean, *key, outputs[next], foregroundCarrier);
        }
    }

private:
    struct Given {
        std::optional<double> hue, acceptance, spill, spillAngle, offset, gain;
        double saturation = 0;
    };

    static void Check(Zan::Long32 status) { CheckStatus("key", status); }
    static void Override(double& setting, const std::optional<double>& value) {
        setting = value.value_or(setting);
    }

    void Refuse(const Arguments& arguments) const {
        if (arguments.Has("luma")) {
            for (const char* option : kOfChroma) {
                if (arguments.Has(option)) {
                    throw UsageError(std::string("--") + option +
                                     ": is for colours, and --luma keys by brightness");
                }
            }
        }
        const char* source = nullptr;
        for (const char* each : kSources) {
            if (!arguments.Has(each)) {
                continue;
            }
            if (source != nullptr) {
                throw UsageError(std::string("--") + source + " and --" + each +
                                 ": the backing is told once");
            }
            source = each;
        }
        const std::string from = source != nullptr ? source : "auto";
        if (arguments.Has("at") && (from == "color" || from == "hue")) {
            throw UsageError("--at: no frame is looked at, since --" + from + " tells the backing");
        }
        for (const char* option : {"offset", "gain"}) {
            if (arguments.Has("clip") && arguments.Has(option)) {
                throw UsageError(std::string("--clip and --") + option + ": one or the other");
            }
        }
        if (asksFull && asksPairs) {
            throw UsageError("--444 and --422: one or the other");
        }
        if (asksFull && hasGarbage) {
            throw UsageError("--garbage: a mask is for 4:2:2, and --444 asks for other pictures");
        }
        if (hasGarbage && style == Zan::kFP) {
            throw UsageError("--garbage: the fixed code path (--style fp) takes no mask");
        }
        if (arguments.Has("split-bottom") && !arguments.Has("split")) {
            throw UsageError("--split-bottom: --split N says where");
        }
    }

    void TakeLuma(const Arguments& arguments) {
        const std::vector<double> values = arguments.Reals("luma");
        if (values.size() < 3 || values.size() > 5) {
            throw UsageError("--luma " + arguments.Text("luma") +
                             ": three to five numbers, CENTER,HALFWIDTH,SOFTNESS[,LEVEL,OFFSET]");
        }
        luma.emplace();
        const double level = values.size() > 3 ? values[3] : 1, offset = values.size() > 4 ? values[4] : 0;
        if (luma->Set(values[0], values[1], values[2], level, offset, !isInverted) != Zan::kStatusOk) {
            throw UsageError("--luma " + arguments.Text("luma") +
                             ": numbers from 0 to 1, of which OFFSET may be negative");
        }
    }

    void TakeChroma(const Arguments& arguments) {
        const auto real = [&arguments](const char* option) {
            return arguments.Has(option) ? std::optional(arguments.Real(option)) : std::nullopt;
        };
        given = {real("hue"),         real("acceptance"), real("spill"),
                 real("spill-angle"), real("offset"),     real("gain")};
        given.saturation = arguments.Real("saturation");
        wishes.acceptance = given.acceptance;
        if (arguments.Has("clip")) {
            const std::vector<double> values = arguments.Reals("clip");
            if (values.size() != 2 || values[0] <= values[1]) {
                throw UsageError("--clip " + arguments.Text("clip") +
                                 ": two numbers, WHITE,BLACK, of which the first is the larger one");
            }
            wishes.white = values[0];
            wishes.black = values[1];
        }
        if (arguments.Has("color")) {
            const std::string colour = arguments.Text("color");
            backing = BackingColour(colour);
            if (colour == "green" || colour == "blue") {
                // Names are vague.
                constexpr double kWide = 120, kHalf = 0.5;
                wishes.acceptance = wishes.acceptance.value_or(kWide);
                wishes.white = wishes.white.value_or(kHalf);
            }
        } else if (arguments.Has("pick")) {
            spot = SpotOf(arguments);
        } else if (given.hue) {
            // Nothing is looked at. Chroma of full saturation has a key of 1.
            settings.emplace();
            settings->spillAngle = *given.hue;
            if (wishes.white) {
                settings->keyOffset = -*wishes.black;
                settings->keyGain = 1 / (*wishes.white - *wishes.black);
            }
        }
    }

    void CheckSide(const Arguments& arguments, const char* side) {
        OutputOptions options;
        options.option = std::string("--") + side;
        const std::string path = arguments.Text(side);
        CheckOutputName(path, options);
        if (side == std::string("matte")) {
            matte = path;
            return;
        }
        foreground = path;
        foregroundCarrier = CarrierOf(path, options);
        if (foregroundCarrier == Carrier::kOpaque) {
            throw UsageError("--foreground " + path + ": holds no alpha; .mkv, .mov and .png do");
        }
    }

    bool IsReworked() const { return choke > 0 || feather > 0; }
    /// The matte is made before the background is looked at, as the alpha of what stands before it.
    bool IsByAlpha() const { return luma || IsReworked(); }

    void PrepareRework(const PictureFormat& run) {
        const unsigned lines = run.IsInterlaced() ? run.height / 2 : run.height;
        const long most = (static_cast<long>(std::min(run.width, lines)) - 2) / 2;
        if (std::max(choke, feather) > most) {
            throw UsageError("--choke, --feather: " + std::to_string(most) +
                             " pixels at most in pictures of this size");
        }
        PictureFormat wide = pixels;
        wide.samples = Zan::kFmtRGB32;
        spread = NewPicture(wide);
        blurred = NewPicture(wide);
        tightened = NewKey(pixels);
        Check(tight.Set(1, 0, 0.5, 1, 0, false));
    }

    /// The mean of a box that reaches so many pixels to each side; in a field, half as many lines.
    void Blur(const Zan::ImageView& matteView, long reach) {
        const Zan::WhichFieldEnum field = matteView.GetFieldOfInterest();
        ForLines(matteView, [&](unsigned y) {
            const std::uint8_t* in = Line(*key, y);
            std::uint8_t* out = Line(*spread, y);
            for (unsigned x = 0; x < pixels.width; ++x, out += 4) {
                std::memset(out, in[x], 4);
            }
        });
        Zan::ImageView from = Whole(*spread, field), to = Whole(*blurred, field);
        const auto side = [](long each) { return static_cast<double>(2 * each + 1); };
        Check(defocus.Do(from, to, side(reach), side(field == Zan::kFrame ? reach : (reach + 1) / 2), 0,
                         pixels.width, 0, pixels.height, Zan::kBestAvailable));
        ForLines(matteView, [&](unsigned y) {
            const std::uint8_t* in = Line(*blurred, y);
            std::uint8_t* out = Line(*key, y);
            for (unsigned x = 0; x < pixels.width; ++x, in += 4) {
                out[x] = *in;
            }
        });
    }

    bool HasMask() const { return hasGarbage || inputFormat.hasAlpha; }

    void ChooseSampling(const Reader& input) {
        const bool isMasked = hasGarbage || input.HasAlpha();
        isFull = asksFull || (!asksPairs && input.IsStill() && !isMasked && !IsByAlpha());
        if (input.HasAlpha() && asksFull) {
            throw UsageError("--444: " + input.Path() +
                             " has alpha, which counts as a mask, and that is for 4:2:2");
        }
        if (input.HasAlpha() && style == Zan::kFP) {
            throw UsageError("--style fp: " + input.Path() +
                             " has alpha, which the fixed code path does not take");
        }
    }

    /// Colours as they are, alpha beside them.
    PictureFormat StraightFormat(const PictureFormat& run, Carrier of) const {
        PictureFormat format = run;
        format.hasAlpha = false;
        format.hasFullChroma = isFull;
        format.samples = of == Carrier::kRgb ? Zan::kFmtRGB32 : isFull ? Zan::kFmtCbYCrA : Zan::kFmtCbYCrY4;
        return format;
    }

    void Convert(Zan::ImageView& from, Zan::ImageView& to, std::optional<ColourMatrix>& matrix) {
        Check(converter.Do(from, to, Zan::kBestAvailable, matrix ? matrix->matrix.data() : nullptr, nullptr));
    }

    void MakePlate() {
        PictureFormat rgb = pixels;
        rgb.samples = Zan::kFmtRGB32;
        const ImagePtr flat = NewPicture(rgb);
        const std::uint8_t pixel[] = {static_cast<std::uint8_t>(plateColour->blue),
                                      static_cast<std::uint8_t>(plateColour->green),
                                      static_cast<std::uint8_t>(plateColour->red), 255};
        for (unsigned y = 0; y < pixels.height; ++y) {
            for (unsigned x = 0; x < pixels.width; ++x) {
                std::memcpy(Line(*flat, y) + std::size_t{4} * x, pixel, sizeof pixel);
            }
        }
        plate = NewPicture(pixels);
        Zan::ImageView from = Whole(*flat), to = Whole(*plate);
        Convert(from, to, fromRgb);
    }

    /// Chroma of a colour, in code values.
    ChromaCount CountOf(const Colour& colour) const {
        const double red = pixels.weights == LumaWeights::kBt709 ? 0.2126 : 0.299;
        const double blue = pixels.weights == LumaWeights::kBt709 ? 0.0722 : 0.114;
        const double y = red * colour.red + (1 - red - blue) * colour.green + blue * colour.blue;
        const auto code = [y](int sample, double weight) {
            return static_cast<unsigned>(std::lround(128 + 112 * (sample - y) / (1 - weight) / 255));
        };
        ChromaCount count;
        count.Add(code(colour.blue, blue), code(colour.red, red));
        return count;
    }

    void Estimate(Reader& input) {
        ChromaCount sample;
        std::string what = "--color";
        if (backing) {
            sample = CountOf(*backing);
        } else {
            const SharedPicture picture = SampledPicture(input);
            if (spot) {
                if (spot->x >= pixels.width || spot->y >= pixels.height) {
                    throw UsageError("--pick: the picture has " + std::to_string(pixels.width) + "x" +
                                     std::to_string(pixels.height) + " pixels");
                }
                sample = CountDisc(*picture, spot->x, spot->y, spot->radius);
                what = "--pick";
            } else {
                sample = HeaviestPeak(CountBorder(*picture));
                what = "--auto";
            }
        }
        settings = EstimateBacking(sample, wishes);
        if (!settings) {
            throw UsageError(what + ": there is no colour" +
                             (backing ? ""
                              : spot  ? " at that place"
                                      : " along the border of the picture") +
                             "; --color, --pick or --hue tell the backing");
        }
        isEstimated = true;
    }

    SharedPicture SampledPicture(Reader& input) {
        if (at == 0) {
            return input.PictureAt(0, 0);
        }
        if (input.IsStill()) {
            throw UsageError("--at " + std::to_string(at) + ": " + input.Path() + " has one frame only");
        }
        if (!input.Pictures()) {
            throw UsageError("--at " + std::to_string(at) + ": " + input.Path() + " can be read once only");
        }
        const std::unique_ptr<Reader> again = input.Again();
        again->SetTarget(inputFormat, again->Aspect());
        if (again->EndsBefore(at)) {
            throw UsageError("--at " + std::to_string(at) + ": " + input.Path() + " ends before it");
        }
        return again->PictureAt(at, 0);
    }

    /// The chroma plane at middle luma: what is keyed as it is, what is not, dark, and the axes of neutral.
    void DrawPlane() {
        constexpr unsigned kSide = 512;
        OutputFile file(plane);
        PictureFormat format;
        format.width = format.height = kSide;
        format.hasFullChroma = true;
        const ImagePtr chroma = NewPicture(format), dropped = NewPicture(format), wedge = NewKey(format);
        Zan::ImageView from = Whole(*chroma), to = Whole(*dropped), keyOut = Whole(*wedge);
        Check(Zan::GenerateCrCbGradient(from));
        Check(keyer.Do(from, nullptr, to, &keyOut, style));
        const ImagePtr rgb = NewRgb(kSide, kSide);
        Zan::ImageView colours = Whole(*rgb);
        Convert(from, colours, toRgb);
        Raster raster(kSide, kSide);
        for (unsigned y = 0; y < kSide; ++y) {
            for (unsigned x = 0; x < kSide; ++x) {
                const int strength = 64 + Line(*wedge, y)[x] * 191 / 255;
                const bool isAxis = x == kSide / 2 || y == kSide / 2;
                for (unsigned i = 0; i < 3; ++i) {
                    const int sample = Line(*rgb, y)[4 * x + 2 - i] * strength / 255;
                    raster.At(x, y)[i] = static_cast<std::uint8_t>(isAxis ? (sample + 255) / 2 : sample);
                }
            }
        }
        WritePng(file, raster);
    }

    /// The field of the input that is keyed: with the mask as its alpha if there is one.
    Zan::ImageView Source(std::span<Zan::ImageView> inputs, Zan::WhichFieldEnum field) {
        if (!HasMask()) {
            return inputs[0];
        }
        Zan::ImageView source = Whole(*masked, field);
        if (inputFormat.hasAlpha) {
            std::optional<ColourMatrix> none;
            Convert(inputs[0], source, none);
        } else {
            CopyLines(*inputs[0].GetImage(), source, std::size_t{2} * pixels.width);
            ForLines(source,
                     [&](unsigned y) { std::memset(Line(*masked, y, kAlphaChannel), 255, pixels.width); });
        }
        if (hasGarbage) {
            const Zan::Image& mask = *inputs[inputs.size() - 1].GetImage();
            ForLines(source,
                     [&](unsigned y) { MultiplyMask(Line(mask, y), Line(*masked, y, kAlphaChannel)); });
        }
        return source;
    }

    void MultiplyMask(const std::uint8_t* mask, std::uint8_t* alpha) const {
        for (unsigned x = 0; x < pixels.width; ++x) {
            int value = mask[x];
            if (maskSamples == Zan::kFmtRGB32) {
                value = (29 * mask[4 * x] + 150 * mask[4 * x + 1] + 77 * mask[4 * x + 2] + 128) >> 8;
            } else if (maskSamples != Zan::kFmtAlpha8) {
                value = std::clamp(((mask[2 * x + 1] - 16) * 255 + 109) / 219, 0, 255);
            }
            alpha[x] = static_cast<std::uint8_t>((alpha[x] * value + 127) / 255);
        }
    }

    void KeyByLuma(Zan::ImageView& source, Zan::WhichFieldEnum field) {
        Zan::ImageView keyOut = Whole(*key, field);
        const Zan::Image& picture = *source.GetImage();
        CopyLines(picture, Whole(*clean, field), std::size_t{2} * pixels.width);
        if (HasMask()) {
            CopyLines(picture, keyOut, pixels.width, 0, kAlphaChannel);
        }
        Check(luma->Do(source, keyOut, Zan::kBestAvailable));
    }

    void SetSplit(Zan::ChromaKeyerYUV& of, Zan::WhichFieldEnum field, bool isOn) const {
        constexpr Zan::ULong32 kAll = 0xFFFFFFFF;
        if (!isOn) {
            of.SetSplitScreenHeight(kAll, true);
            return;
        }
        long lines = std::min<long>(split->Lines(pixels.height), pixels.height);
        if (field != Zan::kFrame) {
            lines =
                Zan::GetSpatialField(clean.get(), field) == Zan::kUpperField ? (lines + 1) / 2 : lines / 2;
        }
        of.SetSplitScreenHeight(static_cast<Zan::ULong32>(lines), !isSplitBelow);
    }

    /// The output of the run: over the background, or with alpha.
    void Finish(std::span<Zan::ImageView> inputs, Zan::ImageView& output, Zan::ChromaKeyerYUV& by,
                Zan::ImageView& source, Zan::ImageView* keyOut, Zan::ProcessingStyleEnum path) {
        const Zan::WhichFieldEnum field = output.GetFieldOfInterest();
        SetSplit(by, field, split.has_value());
        if (!hasPlate) {
            if (IsByAlpha() && !split) {
                PutStraight(*clean, *key, output, carrier);
            } else if (IsByAlpha()) {
                Zan::ImageView view = Whole(*shown, field), alpha = Whole(*shownKey, field);
                Check(by.Do(source, nullptr, view, &alpha, path));
                PutStraight(*shown, *shownKey, output, carrier);
            } else {
                Zan::ImageView view = Whole(*clean, field);
                Check(by.Do(source, nullptr, view, keyOut, path));
                PutStraight(*clean, *key, output, carrier);
            }
            return;
        }
        Zan::ImageView behind = plate ? Whole(*plate, field) : inputs[1];
        if (!mixed) {
            Check(by.Do(source, &behind, output, keyOut, path));
            return;
        }
        Zan::ImageView view = Whole(*mixed, field);
        Check(by.Do(source, &behind, view, keyOut, path));
        std::optional<ColourMatrix> none;
        Convert(view, output, none);
    }

    /// `picture` with `alpha` into an output that has both.
    void PutStraight(Zan::Image& picture, const Zan::Image& alpha, Zan::ImageView& output, Carrier of) {
        Zan::ImageView from = Whole(picture, output.GetFieldOfInterest());
        if (isFull) {
            ForLines(from, [&](unsigned y) {
                std::uint8_t* out = Line(picture, y) + 3;
                for (unsigned x = 0; x < pixels.width; ++x, out += 4) {
                    *out = Line(alpha, y)[x];
                }
            });
        }
        if (of == Carrier::kRgb) {
            Convert(from, output, toRgb);
        } else {
            CopyLines(picture, output, std::size_t{isFull ? 4U : 2U} * pixels.width);
            if (!isFull) {
                CopyLines(picture, output, pixels.width, kAlphaChannel, kAlphaChannel);
            }
        }
        if (isShaped) {
            ShapeOutput(output, of);
        }
    }

    void ShapeOutput(Zan::ImageView& output, Carrier of) {
        if (of == Carrier::kSamples && isFull) {
            const Zan::Image& image = *output.GetImage();
            ForLines(output, [&](unsigned y) {
                std::uint8_t* word = Line(image, y);
                for (unsigned x = 0; x < pixels.width; ++x, word += 4) {
                    word[0] = ShapedSample(word[0], 128, word[3]);
                    word[1] = ShapedSample(word[1], 16, word[3]);
                    word[2] = ShapedSample(word[2], 128, word[3]);
                }
            });
            return;
        }
        Check(converter.Shape(output, Zan::kBestAvailable));
        output.GetImage()->SetPixelShaping(Zan::kUnshaped);  // its other field is still to be made
    }

    bool hasGarbage, isShaped, isInverted, asksFull, asksPairs;
    Zan::ProcessingStyleEnum style;
    long at;  ///< the frame that is looked at
    Given given;
    BackingWishes wishes;
    std::optional<Colour> backing;
    std::optional<Spot> spot;
    std::optional<Zan::LumaKeyer> luma;
    std::optional<Split> split;
    bool isSplitBelow = false;
    long choke = 0, feather = 0;  ///< pixels
    std::optional<Colour> plateColour;
    bool hasClip = false, hasPlate = false;  ///< a background by a file; any
    Carrier carrier = Carrier::kOpaque, foregroundCarrier = Carrier::kOpaque;
    bool outHoldsFullChroma = false;
    std::string matte, foreground, plane;

    int asked = 0;  ///< inputs whose format was told
    bool isFull = false;
    PictureFormat inputFormat, pixels;  ///< of the input; of what is keyed
    Zan::ConverterFormat maskSamples = Zan::kFmtAlpha8;
    std::optional<BackingEstimate> settings;
    bool isEstimated = false;
    std::optional<ColourMatrix> toRgb, fromRgb;
    ImagePtr masked, clean, key, mixed, plate, shown, shownKey;
    ImagePtr spread, blurred;  ///< the matte in all four bytes of a pixel
    ImagePtr tightened;
    Zan::DeepDefocus defocus;
    Zan::LinearKeyer tight;
    Zan::ChromaKeyerYUV keyer;
    Zan::ChromaKeyerYUV byAlpha;  ///< whose key is the alpha of the foreground
    Zan::ColorSpaceConverter converter;
};

std::vector<std::string> MoreInputs(const Arguments& arguments) {
    std::vector<std::string> inputs;
    if (arguments.Has("background") && !HexColour(arguments.Text("background"))) {
        inputs.push_back(arguments.Text("background"));
    }
    if (arguments.Has("garbage")) {
        inputs.push_back(arguments.Text("garbage"));
    }
    return inputs;
}

std::vector<Option> Options() {
    const auto real = [](const char* name, const char* value, const char* help, double least, double most,
                         const char* initial = "") {
        return Option{.name = name,
                      .kind = ValueKind::kReal,
                      .value = value,
                      .help = help,
                      .initial = initial,
                      .least = least,
                      .most = most};
    };
    return {
        {.name = "color",
         .kind = ValueKind::kText,
         .value = "COLOR",
         .help = "colour of the backing: green, blue or RRGGBB"},
        {.name = "pick",
         .kind = ValueKind::kReals,
         .value = "X,Y[,RADIUS]",
         .help = "the backing is what lies there, within RADIUS pixels [8]",
         .least = 0,
         .most = kLargestSide},
        {.name = "auto",
         .help =
             "the backing is the most frequent colour along the border of the picture; so it is when nothing "
             "else is said"},
        {.name = "at",
         .kind = ValueKind::kInteger,
         .value = "N",
         .help = "look at frame N, whichever frames are made",
         .initial = "0",
         .least = 0,
         .most = static_cast<double>(kMostPictures)},
        real("hue", "DEGREES", "angle of the backing's chroma, 0 along Cb, 90 along Cr; nothing is looked at",
             0, 360),
        real("acceptance", "DEGREES", "angle of the wedge of chroma that is keyed, from 1 to 179", 1, 179),
        real("saturation", "S", "least chroma that is keyed, from 0 to 1", 0, 1, "0"),
        {.name = "clip",
         .kind = ValueKind::kReals,
         .value = "WHITE,BLACK",
         .help = "parts of the backing's own key: above WHITE all is backing, below BLACK nothing",
         .least = 0,
         .most = 256},
        real("offset", "O", "added to the key, before its gain, from -1 to 1", -1, 1),
        real("gain", "G", "of the key, from 0 to 256", 0, 256),
        real("spill", "G", "how much of the backing's colour is taken out, from 0 to 256", 0, 256),
        real("spill-angle", "DEGREES", "angle of the chroma that is taken out [that of the backing]", 0, 360),
        {.name = "luma",
         .kind = ValueKind::kReals,
         .value = "CENTER,HALFWIDTH,SOFTNESS[,LEVEL,OFFSET]",
         .help =
             "key by brightness instead: a hole of strength LEVEL for luma from CENTER - HALFWIDTH to CENTER "
             "+ HALFWIDTH, fading over SOFTNESS; parts of 255",
         .least = -1,
         .most = 1},
        {.name = "invert", .help = "keep the backing, and make a hole for all else"},
        {.name = "444", .help = "key in 4:4:4, every pixel with chroma of its own [so for stills]"},
        {.name = "422", .help = "key in 4:2:2 [so for clips and masks]"},
        {.name = "background",
         .kind = ValueKind::kMedia,
         .value = "FILE|RRGGBB",
         .help = "what is seen through the hole; without it OUT has alpha, or black where it holds none"},
        {.name = "matte",
         .kind = ValueKind::kClip,
         .value = "OUT",
         .help = "also write the matte, a grey clip or pictures"},
        {.name = "foreground",
         .kind = ValueKind::kClip,
         .value = "OUT",
         .help = "also write the picture without spill, the matte as its alpha: .mkv, .mov or .png"},
        {.name = "shaped", .help = "multiply the colours of pictures with alpha by it"},
        {.name = "garbage",
         .kind = ValueKind::kMedia,
         .value = "MASK",
         .help = "a clip or picture in grey: what is black in it is held out"},
        {.name = "choke",
         .kind = ValueKind::kInteger,
         .value = "N",
         .help = "draw the edge of the matte in, softly over N pixels",
         .initial = "0",
         .least = 0,
         .most = 1000},
        {.name = "feather",
         .kind = ValueKind::kInteger,
         .value = "N",
         .help = "soften the matte over N pixels to each side, after that",
         .initial = "0",
         .least = 0,
         .most = 1000},
        {.name = "split",
         .kind = ValueKind::kText,
         .value = "N|N%",
         .help = "in OUT, show the matte below the first N lines, to adjust by eye"},
        {.name = "split-bottom", .help = "show it above them"},
        {.name = "plane",
         .kind = ValueKind::kPngPicture,
         .value = "FILE.png",
         .help = "also draw the plane of chroma, what is keyed of it bright"},
        {.name = "length",
         .kind = ValueKind::kInteger,
         .value = "N",
         .help = "frames of the whole run [those of the shortest clip; 1 of stills]",
         .least = 1,
         .most = static_cast<double>(kMostPictures)},
    };
}

}  // namespace

const Command kKeyCommand = {
    .name = "key",
    .summary = "cut a picture out of its coloured backing",
    .description =
        "Makes a matte of how close the chroma of IN comes to that of a green or blue backing, takes the "
        "colour that the backing threw out of the picture, and puts it over a background, frame by frame or "
        "field by field. What was found out about the backing is printed as options that say the same.",
    .inputs = {{"IN", "clip, picture or sequence; - is standard input"}},
    .options = Options(),
    .moreInputs = MoreInputs,
    .examples = {{"tesselu key studio.mkv -o out.mkv --background street.mp4",
                  "somebody in front of a street"},
                 {"tesselu key studio.mkv -o keyed.mov --pick 40,60 --matte matte.mkv --plane wedge.png",
                  "with alpha, the backing by hand, and pictures to judge by"},
                 {"tesselu key studio.mkv -o check.mkv --background 808080 --split 50%",
                  "the matte in the lower half"},
                 {"tesselu key fire.mkv -o out.mkv --background street.mp4 --luma 0,0.1,0.5",
                  "by brightness: what is dark becomes transparent"}},
    .makeEffect = [](const Arguments& arguments) -> std::unique_ptr<Effect> {
        return std::make_unique<Key>(arguments);
    },
};

}  // namespace tool
