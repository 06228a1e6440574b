#include <TesselU/tone/CubeLUT.h>
#include <TesselU/tone/InvertLUT.h>
#include <TesselU/tone/LookUpTable.h>
#include <TesselU/tone/PosterizeLUT.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <sstream>
#include <variant>

#include "Commands.h"
#include "Errors.h"
#include "commands/ColourMatrix.h"
#include "commands/ToneEffect.h"
#include "foundation/Elementary.h"
#include "media/Samples.h"
#include "media/Writer.h"

namespace tool {
namespace {

/// A table for each byte of a 4:2:2 word, and one for alpha.
constexpr Zan::ULong32 kTables = 4, kEntries = 256, kBits = 8;
constexpr Zan::ULong32 kLumaTable = 1;
constexpr double kHighest = 255;  ///< entry, and value

/// y, cb, cr, a: as they are asked for, and the tables that serve them.
const std::vector<std::string> kChannels = {"y", "cb", "cr", "a"};
constexpr Zan::InvertLUT::WhichChannelEnum kInverted[] = {
    Zan::InvertLUT::kChannelY, Zan::InvertLUT::kChannelCb, Zan::InvertLUT::kChannelCr,
    Zan::InvertLUT::kChannelAlpha};
constexpr Zan::PosterizeLUT::WhichChannelEnum kPosterized[] = {
    Zan::PosterizeLUT::kChannelY, Zan::PosterizeLUT::kChannelCb, Zan::PosterizeLUT::kChannelCr};
constexpr std::size_t kAlpha = 3;

using Tables = std::variant<Zan::LookUpTable, Zan::InvertLUT, Zan::PosterizeLUT>;

/// Whether the two ends of a curve are different entries of its table.
void CheckEnds(double low, double high) {
    if (std::trunc(low * kHighest) >= std::trunc(high * kHighest)) {
        throw UsageError("--low, --high: low must be at least one of 255 steps below high");
    }
}

/// Luma to the power of `exponent`, between the ends and beyond them as the library's own curves have it.
void FillWithPower(Zan::LookUpTable& tables, double exponent, double low, double high) {
    const auto at = [](double end) { return static_cast<std::uint32_t>(end * kHighest); };
    const std::uint32_t first = at(low), span = at(high) - first;
    for (std::uint32_t i = 0; i < kEntries; ++i) {
        // Entries below the low end wrap, and take the top of the curve.
        const double x = (i - first) * (1.0 / span);
        const double y = Zan::Power(x, exponent);
        const double limited = y >= 1 ? 1 : y > 0 ? y : 0;
        const auto value = static_cast<std::uint32_t>(limited * span + 0.5) + first;
        tables.SetLUT(kLumaTable, i, std::min<std::uint32_t>(value, 255));
    }
}

Tables CurveOf(const Arguments& arguments) {
    const double low = arguments.Real("low"), high = arguments.Real("high");
    CheckEnds(low, high);
    Tables made(std::in_place_type<Zan::LookUpTable>, kTables, kEntries, kBits);
    Zan::LookUpTable& tables = std::get<Zan::LookUpTable>(made);
    if (arguments.Has("gamma")) {
        FillWithPower(tables, arguments.Real("gamma"), low, high);
    } else {
        tables.SetLUTtoGammaCorrect(
            kLumaTable, arguments.Choice("curve") == 0 ? Zan::kGammaVideoEncode : Zan::kGammaVideoDecode, low,
            high);
    }
    return made;
}

Tables NegativeOf(const std::vector<std::size_t>& channels) {
    Tables made(std::in_place_type<Zan::InvertLUT>);
    if (!channels.empty()) {
        for (std::size_t i = 0; i < kChannels.size(); ++i) {
            const bool isAsked = std::find(channels.begin(), channels.end(), i) != channels.end();
            std::get<Zan::InvertLUT>(made).SetInvert(kInverted[i], isAsked);
        }
    }
    return made;
}

Tables PosterOf(const Arguments& arguments) {
    Tables made(std::in_place_type<Zan::PosterizeLUT>);
    const std::vector<double> levels = arguments.Reals("posterize");
    if (levels.size() != 1 && levels.size() != std::size(kPosterized)) {
        throw UsageError("--posterize " + arguments.Text("posterize") +
                         ": one number for all, or three for y, cb and cr");
    }
    for (std::size_t i = 0; i < std::size(kPosterized); ++i) {
        std::get<Zan::PosterizeLUT>(made).SetLevels(kPosterized[i], levels[levels.size() == 1 ? 0 : i]);
    }
    return made;
}

Tables TablesOf(const Arguments& arguments) {
    return arguments.Has("invert")      ? NegativeOf(arguments.Choices("invert"))
           : arguments.Has("posterize") ? PosterOf(arguments)
                                        : CurveOf(arguments);
}

/// Tables of single components.
class TableEffect : public ToneEffect {
public:
    explicit TableEffect(const Arguments& arguments) : ToneEffect(arguments), tables(TablesOf(arguments)) {
        if (arguments.Has("invert")) {
            const std::vector<std::size_t> channels = arguments.Choices("invert");
            changesAlpha = std::find(channels.begin(), channels.end(), kAlpha) != channels.end();
        }
    }

    PictureFormat InputFormat(const Reader& input, const PictureFormat& run) override {
        if (changesAlpha && !input.HasAlpha()) {
            throw UsageError("--invert: " + input.Path() + " has no alpha");
        }
        return ToneEffect::InputFormat(input, run);
    }

protected:
    void Apply(Zan::ImageView& source, Zan::ImageView& destination) override {
        const auto apply = [&](auto& each) { return each.Do(source, destination, Zan::kBestAvailable); };
        CheckStatus("lut", std::visit(apply, tables));
    }

private:
    Tables tables;
    bool changesAlpha = false;
};

Zan::CubeLUT ReadCube(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    if (file.peek() != std::ifstream::traits_type::eof()) {
        text << file.rdbuf();
    }
    if (!file.is_open() || file.bad() || text.bad()) {
        throw Failure("--cube " + path + ": cannot be read");
    }
    const std::string bytes = text.str();
    Zan::CubeLUT cube;
    Zan::ULong32 line = 0;
    const Zan::Long32 status = cube.Read(bytes.data(), bytes.size(), line);
    if (status != Zan::CubeLUT::kRead) {
        throw Failure("--cube " + path + ": line " + std::to_string(line) + ": " +
                      Zan::CubeLUT::ReadStatusText(status));
    }
    return cube;
}

/// A table of colours, in RGB. What comes or goes in YCrCb is converted here, so that a half that is left
/// untouched keeps its samples.
class CubeEffect : public Effect {
public:
    explicit CubeEffect(const Arguments& arguments)
        : name(arguments.Inputs()[0]),
          isSplit(arguments.Has("split")),
          cube(ReadCube(arguments.Text("cube"))) {
        OutputOptions options;
        options.kind = arguments.Text("to");
        makesRgb = IsSequenceOutput(arguments.Text("output"), options);
    }

    PictureFormat InputFormat(const Reader& input, const PictureFormat& run) override {
        PictureFormat format = run;
        hasAlpha = format.hasAlpha = input.HasAlpha();
        const std::optional<Zan::ConverterFormat> samples = input.Samples(run);
        takesRgb = samples == Zan::kFmtRGB32 || samples == Zan::kFmtRGB24;
        if (takesRgb) {
            format.samples = Working();
        }
        return format;
    }

    PictureFormat OutputFormat(const PictureFormat& run) override {
        PictureFormat format = run;
        if (makesRgb) {
            format.samples = Working();
        }
        return format;
    }

    long PicturesOfStills() const override { return 1; }

    void Prepare(const PictureFormat& run) override {
        PictureFormat format = run;
        format.samples = Working();
        if (!takesRgb) {
            before = NewPicture(format);
        }
        if (!makesRgb) {
            after = NewPicture(format);
            if (hasAlpha && !run.hasAlpha) {
                format.samples = Zan::kFmtRGB32Shaped;
                onBlack = NewPicture(format);
            }
        }
        toRgb = RgbMatrixOf(run.weights, Sense::kToRgb);
        fromRgb = RgbMatrixOf(run.weights, Sense::kFromRgb);
    }

    void Make(std::span<Zan::ImageView> inputs, Zan::ImageView& output, const Moment&) override {
        const Zan::WhichFieldEnum field = output.GetFieldOfInterest();
        Zan::ImageView source = takesRgb ? inputs[0] : Whole(*before, field);
        if (!takesRgb) {
            Convert(inputs[0], source, toRgb);
        }
        Zan::ImageView made = makesRgb ? output : Whole(*after, field);
        CheckStatus("lut", cube.Do(source, made, Zan::kBestAvailable));
        if (isSplit) {
            CopyLeftHalf(source, made);
        }
        if (makesRgb) {
            return;
        }
        if (onBlack) {
            Zan::ImageView shaped = Whole(*onBlack, field);
            Convert(made, shaped, {});
            Convert(shaped, output, fromRgb);
        } else {
            Convert(made, output, fromRgb);
        }
        if (isSplit && !takesRgb) {
            CopyLeftHalf(inputs[0], output);
        }
    }

private:
    /// Frames in RGB go through without alpha if they have none.
    Zan::ConverterFormat Working() const { return makesRgb && !hasAlpha ? Zan::kFmtRGB24 : Zan::kFmtRGB32; }

    void Convert(Zan::ImageView& from, Zan::ImageView& to, const std::optional<ColourMatrix>& matrix) {
        ConvertBy(name, converter, from, to, matrix);
    }

    std::string name;  ///< of the input
    bool isSplit;
    bool takesRgb = false, makesRgb = false;  ///< and not 4:2:2
    bool hasAlpha = false;                    ///< of the input
    Zan::CubeLUT cube;
    ImagePtr before, after, onBlack;
    std::optional<ColourMatrix> toRgb, fromRgb;
    Zan::ColorSpaceConverter converter;
};

constexpr const char* kKinds[] = {"cube", "curve", "gamma", "invert", "posterize"};

std::unique_ptr<Effect> MakeEffect(const Arguments& arguments) {
    const char* kind = nullptr;
    for (const char* each : kKinds) {
        if (!arguments.Has(each)) {
            continue;
        }
        if (kind != nullptr) {
            throw UsageError(std::string("--") + kind + " and --" + each + ": one table at a time");
        }
        kind = each;
    }
    if (kind == nullptr) {
        throw UsageError("a table is needed: --cube, --curve, --gamma, --invert or --posterize");
    }
    const bool isCurve = arguments.Has("curve") || arguments.Has("gamma");
    for (const char* end : {"low", "high"}) {
        if (!isCurve && arguments.Has(end)) {
            throw UsageError(std::string("--") + end + ": --" + kind +
                             " has no ends; --curve and --gamma do");
        }
    }
    if (arguments.Has("cube")) {
        return std::make_unique<CubeEffect>(arguments);
    }
    return std::make_unique<TableEffect>(arguments);
}

std::vector<Option> Options() {
    std::vector<Option> options = {
        {.name = "cube",
         .kind = ValueKind::kCube,
         .value = "FILE",
         .help = "map colours in RGB through the table of a .cube file, with one or three dimensions, "
                 "tetrahedrally; PNG pictures stay in RGB"},
        {.name = "curve",
         .kind = ValueKind::kChoice,
         .value = "CURVE",
         .help = "send luma through the transfer curve of video: encode or decode",
         .choices = {"encode", "decode"}},
        {.name = "gamma",
         .kind = ValueKind::kReal,
         .value = "G",
         .help = "raise luma to the power of G, from 0.01 to 100",
         .least = 0.01,
         .most = 100},
        {.name = "low",
         .kind = ValueKind::kReal,
         .value = "L",
         .help = "where the curve begins, as a part of 255; darker luma gets the value of its end",
         .initial = "0",
         .least = 0,
         .most = 1},
        {.name = "high",
         .kind = ValueKind::kReal,
         .value = "H",
         .help = "where the curve ends",
         .initial = "1",
         .least = 0,
         .most = 1},
        {.name = "invert",
         .kind = ValueKind::kChoices,
         .value = "y,cb,cr,a",
         .help = "make a negative of these, or of y, cb and cr",
         .choices = kChannels},
        {.name = "posterize",
         .kind = ValueKind::kReals,
         .value = "N[,N,N]",
         .help = "leave so many of 255 levels, from 1 to 255, of all, or of y, cb and cr",
         .least = 1,
         .most = 255}};
    for (Option& option : ToneOptions()) {
        options.push_back(std::move(option));
    }
    return options;
}

}  // namespace

const Command kLutCommand = {
    .name = "lut",
    .summary = "send a clip or picture through a look-up table",
    .description =
        "Applies one table: colours of a .cube file, a curve on luma, a negative, or fewer levels. All but "
        "the first work on YCrCb at video levels.",
    .inputs = {{"IN", "clip, picture or sequence; - is standard input"}},
    .options = Options(),
    .examples = {{"tesselu lut clip.mxf -o out.mkv --cube look.cube", "the look of a file"},
                 {"tesselu lut photo.png -o out-%d.png --posterize 8,24,24 --split",
                  "few levels, the left half as it was"}},
    .without = {"style"},
    .makeEffect = MakeEffect,
};

}  // namespace tool
