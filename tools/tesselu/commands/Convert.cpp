#include <TesselU/convert/ColorSpaceConverter.h>
#include <TesselU/convert/ColorSpaceConverterMT.h>
#include <TesselU/convert/ConversionMatrix.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <fstream>
#include <sstream>

#include "Commands.h"
#include "Errors.h"
#include "cli/Arguments.h"
#include "commands/ColourMatrix.h"
#include "commands/Routes.h"
#include "media/Samples.h"
#include "run/Effect.h"
#include "run/RunOptions.h"
#include "run/Stopwatch.h"

namespace tool {
namespace {

constexpr double kMostThreads = 64;
constexpr Zan::ProcessingStyleEnum kStyles[] = {Zan::kBestAvailable, Zan::kFlp,      Zan::kFP,
                                                Zan::kInt_MMXorSIMD, Zan::kFlp_SIMD, Zan::kGeneralFormat};
const std::vector<std::string> kMatrices = {"bt601", "bt709", "bt2020"};

/// 16 or 24 numbers, whatever stands between them but other words.
ColourMatrix ReadMatrix(const std::string& path) {
    std::ifstream file(path);
    if (!file) {
        throw UsageError("--matrix " + path + ": no bt601, bt709 or bt2020, and no file that can be read");
    }
    std::ostringstream text;
    text << file.rdbuf();
    std::string numbers = text.str();
    for (char& c : numbers) {
        if (c == ',' || c == ';') {
            c = ' ';
        }
    }
    std::istringstream words(numbers);
    std::vector<double> read;
    for (std::string word; words >> word;) {
        double number = 0;
        const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number);
        if (error != std::errc() || end != word.data() + word.size()) {
            throw UsageError("--matrix " + path + ": '" + word + "' is no number");
        }
        read.push_back(number);
    }
    ColourMatrix made;
    if (read.size() != made.matrix.size() && read.size() != made.matrix.size() + 8) {
        throw UsageError("--matrix " + path + ": " + std::to_string(read.size()) +
                         " numbers; 16 of the matrix, and 8 of the offsets if those are not the default");
    }
    std::copy_n(read.begin(), made.matrix.size(), made.matrix.begin());
    if (read.size() > made.matrix.size()) {
        made.offsets.emplace();
        std::copy_n(read.begin() + static_cast<std::ptrdiff_t>(made.matrix.size()), 8, made.offsets->begin());
    }
    return made;
}

std::string Called(Zan::ConverterFormat samples) {
    return AliasesOf(samples)[0];
}

/// One call of the converter for each picture: what it gets, and where its result lies if that is not the
/// output.
struct Stage {
    Step step;
    std::optional<std::array<double, 16>> matrix = {};
    std::optional<std::array<double, 8>> offsets = {};
    ImagePtr result = {};
    std::unique_ptr<Zan::ColorSpaceConverter> one = {};
    std::unique_ptr<Zan::ColorSpaceConverterMT> several = {};

    Zan::Long32 Run(Zan::ImageView& from, Zan::ImageView& to) {
        double* const m = matrix ? matrix->data() : nullptr;
        double* const o = offsets ? offsets->data() : nullptr;
        return several ? several->Do(from, to, step.style, m, o) : one->Do(from, to, step.style, m, o);
    }
};

class Convert : public Effect {
public:
    explicit Convert(const Arguments& arguments)
        : asked(arguments.Text("to")),
          to(SamplesNamed("--to", asked)),
          threads(static_cast<unsigned>(arguments.Integer("threads"))) {
        if (arguments.Has("style")) {
            style = kStyles[arguments.Choice("style")];
            styleName = arguments.Text("style");
        }
        if (!arguments.Has("matrix")) {
            return;
        }
        const std::string matrix = arguments.Text("matrix");
        const auto known = std::find(kMatrices.begin(), kMatrices.end(), matrix);
        if (known != kMatrices.end()) {
            weights = static_cast<LumaWeights>(known - kMatrices.begin());
        } else {
            own = ReadMatrix(matrix);
        }
    }

    PictureFormat InputFormat(const Reader& input, const PictureFormat& run) override {
        PictureFormat format = run;
        format.samples = input.Samples(run);
        if (format.samples == Zan::kFmtAlpha8 && to != Zan::kFmtAlpha8) {
            format.samples.reset();  // grey is a picture, and no plane of alpha
        }
        format.hasAlpha = !format.samples && input.HasAlpha();
        from = format.Samples();
        // Frames that are worked on before have the weights of the run then.
        labelled = !format.samples ? run.weights : input.WeightsOfSamples();
        // What i420 is called lies alike whether lines or fields share chroma.
        if (to == Zan::kFmtPlanar420 && run.IsInterlaced() && IsAlias(asked, to)) {
            to = Zan::kFmtPlanar420Interlaced;
        }
        if (run.width % ColumnsTogether(to) != 0) {
            throw UsageError("--to " + asked + ": wants a width that is a multiple of " +
                             std::to_string(ColumnsTogether(to)) + ", and that is " +
                             std::to_string(run.width) + "; --size gives the output another one");
        }
        FindRoute();
        return format;
    }

    PictureFormat OutputFormat(const PictureFormat& run) override {
        PictureFormat format = run;
        format.samples = to;
        format.weights = Weights();
        return format;
    }

    bool TakesWholePictures() const override { return true; }
    long PicturesOfStills() const override { return 1; }
    double SecondsElsewhere() const override { return elsewhere; }

    void Prepare(const PictureFormat& run) override {
        for (Stage& stage : stages) {
            Settle(stage);
            if (&stage != &stages.back()) {
                PictureFormat between = run;
                between.samples = stage.step.to;
                stage.result = NewPicture(between);
            }
            const unsigned workers = WorkersFor(stage.step, run.height);
            if (workers > 1) {
                stage.several = std::make_unique<Zan::ColorSpaceConverterMT>(workers);
            } else {
                stage.one = std::make_unique<Zan::ColorSpaceConverter>();
            }
        }
    }

    void Make(std::span<Zan::ImageView> inputs, Zan::ImageView& output, const Moment&) override {
        if (stages.empty()) {
            Copy(inputs[0], output);
            return;
        }
        Zan::ImageView source = inputs[0];
        for (Stage& stage : stages) {
            Zan::ImageView destination = stage.result ? Whole(*stage.result) : output;
            Zan::Long32 status = Zan::kStatusOk;
            const double start = WallClock::Now();
            double here = 0;
            {
                const Stopwatch running(here);
                status = stage.Run(source, destination);
            }
            if (stage.several) {
                elsewhere += WallClock::Now() - start - here;
            }
            if (status != Zan::kStatusOk) {
                throw Failure(Called(stage.step.from) + " to " + Called(stage.step.to) +
                              ": the library returned status " + std::to_string(status));
            }
            source = destination;
        }
    }

private:
    void FindRoute() {
        const std::optional<Route> route = RouteBetween(from, to, style);
        if (!route) {
            const std::string pair = Called(from) + " to " + Called(to);
            if (!style) {
                throw UsageError("--to " + asked + ": there is no way from " + pair);
            }
            const bool isThereOtherwise = RouteBetween(from, to, std::nullopt).has_value();
            throw UsageError("--style " + styleName + ": that path does not have " + pair +
                             (isThereOtherwise ? "; without --style there is a way" : ""));
        }
        stages.clear();
        int matrices = 0;
        for (const Step& step : *route) {
            stages.push_back({step});
            matrices += SenseOf(step) != Sense::kNone ? 1 : 0;
        }
        if (own && matrices != 1) {
            throw UsageError("--matrix: " + Called(from) + " to " + Called(to) +
                             (matrices == 0 ? " has no matrix" : " has several; convert in two runs"));
        }
    }

    LumaWeights Weights() const { return weights.value_or(IsRgb(from) ? LumaWeights::kBt601 : labelled); }

    /// The matrix and the offsets of a stage, where those of the library will not do.
    void Settle(Stage& stage) {
        const Sense sense = SenseOf(stage.step);
        if (sense == Sense::kNone) {
            return;
        }
        if (own) {
            stage.matrix = own->matrix;
            stage.offsets = own->offsets;
        } else if (Weights() != LumaWeights::kBt601) {
            const bool isStudio = IsStudio(sense == Sense::kToRgb ? stage.step.to : stage.step.from);
            stage.matrix = MatrixOf(Weights(), sense, isStudio ? 16 : 0, isStudio ? 235 : 255).matrix;
        }
        // From planes without alpha it is the offset that makes it.
        if (sense == Sense::kToRgb && !stage.offsets && TakesAlphaFromOffset(stage.step.from)) {
            std::array<double, 16> ignored{};
            stage.offsets.emplace();
            Zan::DefaultMatrixForFormats(ignored.data(), stage.offsets->data(),
                                         static_cast<Zan::ULong32>(stage.step.from),
                                         static_cast<Zan::ULong32>(stage.step.to));
            (*stage.offsets)[7] = 255;
        }
    }

    static bool IsStudio(Zan::ConverterFormat samples) {
        return samples == Zan::kFmtRGB32Studio || samples == Zan::kFmtRGB32StudioOpen;
    }
    static bool TakesAlphaFromOffset(Zan::ConverterFormat samples) {
        return samples == Zan::kFmtPlanar420 || samples == Zan::kFmtPlanar420Interlaced ||
               samples == Zan::kFmtPlanar411;
    }

    /// As many as were asked for, or fewer, so that strips begin where chroma does: the pictures do not
    /// depend on the number.
    unsigned WorkersFor(const Step& step, unsigned height) const {
        const unsigned together = std::max(LinesTogether(step.from), LinesTogether(step.to));
        for (unsigned workers = threads; workers > 1; --workers) {
            if (height / workers % together == 0 && height / workers != 0) {
                return workers;
            }
        }
        return 1;
    }

    void Copy(const Zan::ImageView& input, const Zan::ImageView& output) {
        bytes.resize(BytesOfFrame(to, input.GetWidth(), input.GetHeight()));
        CopyToBytes(*input.GetImage(), to, bytes.data());
        CopyFromBytes(bytes.data(), to, *output.GetImage());
    }

    std::string asked;
    Zan::ConverterFormat from = Zan::kFmtUnknown, to;
    unsigned threads;
    std::optional<Zan::ProcessingStyleEnum> style;
    std::string styleName;
    std::optional<LumaWeights> weights;
    LumaWeights labelled = LumaWeights::kBt601;
    std::optional<ColourMatrix> own;
    std::vector<Stage> stages;
    std::vector<std::uint8_t> bytes;
    double elsewhere = 0;
};

}  // namespace

const Command kConvertCommand = {
    .name = "convert",
    .summary = "convert a clip, picture or raw frames to another sample format",
    .description =
        "Converts IN to a sample format of the library ('tesselu formats' lists them) and writes frames "
        "without a header, or a file that holds such samples. Frames go into the converter as they are "
        "decoded. Where the library has no conversion between the two formats, others lie in between.",
    .inputs = {{"IN", "clip, picture or sequence; raw frames with --from; - is standard input"}},
    .options =
        {{.name = "output",
          .letter = 'o',
          .kind = ValueKind::kClip,
          .value = "OUT",
          .help =
              "OUT.mkv or OUT.mov (lossless FFV1), OUT.mp4 (H.264), OUT.y4m or OUT-%04d.png where they hold "
              "the samples; any other name, or - for standard output: frames without a header. "
              "Replaced when the new one is whole",
          .isRequired = true},
         {.name = "to",
          .letter = 't',
          .kind = ValueKind::kText,
          .value = "FORMAT",
          .help = "samples of the output: a name such as uyvy, i420, bgra, or a number of 'tesselu "
                  "formats'",
          .isRequired = true},
         {.name = "length",
          .kind = ValueKind::kInteger,
          .value = "N",
          .help = "frames of the whole run [those of the clip; 1 of a still]",
          .least = 1,
          .most = static_cast<double>(kMostPictures)},
         {.name = "from",
          .kind = ValueKind::kText,
          .value = "FORMAT",
          .help = "IN is frames of these samples without a header; needs --size, and --scan if they "
                  "are interlaced"},
         {.name = "matrix",
          .kind = ValueKind::kText,
          .value = "MATRIX",
          .help = "between YCrCb and RGB: bt601, bt709, bt2020, or a file of 16 numbers, row after "
                  "row, and 8 offsets if those are not the usual ones [as IN is labelled, else bt709 "
                  "above 1024x576 and bt601 below; bt601 from RGB]"},
         {.name = "style",
          .kind = ValueKind::kChoice,
          .value = "STYLE",
          .help = "code path of the library, in a single conversion: best, flp, fp, int, flp-simd or "
                  "general [the fastest there is, over other formats if need be]",
          .choices = {"best", "flp", "fp", "int", "flp-simd", "general"}},
         {.name = "threads",
          .kind = ValueKind::kInteger,
          .value = "N",
          .help = "threads that a picture is converted on, and of the decoder and the encoder, where 0 "
                  "is as many as there are processors; the pictures are the same",
          .initial = "0",
          .least = 0,
          .most = kMostThreads}},
    .examples = {{"tesselu convert clip.mxf -o frames.raw --to uyvy", "a clip as plain UYVY frames"},
                 {"tesselu convert frames.raw --from uyvy --size 720x486 --scan bff -o out.mkv --to i422",
                  "plain frames as a file"},
                 {"tesselu convert clip.mp4 -o - --to bgra --matrix bt709 --threads 4 | player",
                  "RGB through a pipe"}},
    .ofSamples = true,
    .without = {"sheet"},
    .makeEffect = [](const Arguments& arguments) -> std::unique_ptr<Effect> {
        return std::make_unique<Convert>(arguments);
    },
};

}  // namespace tool
