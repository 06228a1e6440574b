#include <TesselU/convert/ColorSpaceConverter.h>
#include <TesselU/tone/Histogram.h>

#include <algorithm>
#include <cstdio>

#include "Commands.h"
#include "Errors.h"
#include "cli/Arguments.h"
#include "commands/ColourMatrix.h"
#include "commands/Routes.h"
#include "commands/ScopePicture.h"
#include "media/FileNames.h"
#include "media/PngEncoder.h"
#include "media/Reader.h"
#include "media/Samples.h"
#include "run/Overwriting.h"
#include "run/RunOptions.h"

namespace tool {
namespace {

/// A component, the byte of a pixel that it is, and how it is shown.
struct Component {
    const char* name;
    Zan::ULong32 table;
    Rgb colour;
    unsigned low, high;
};

constexpr Component kRgbComponents[] = {{"R", 2, {255, 96, 96}, 0, 255},
                                        {"G", 1, {96, 255, 96}, 0, 255},
                                        {"B", 0, {112, 144, 255}, 0, 255},
                                        {"A", 3, {200, 200, 200}, 0, 255}};
constexpr Component kYuvComponents[] = {{"Y", 1, {224, 224, 224}, 16, 235},
                                        {"Cb", 0, {112, 160, 255}, 16, 240},
                                        {"Cr", 2, {255, 128, 128}, 16, 240},
                                        {"A", 3, {200, 200, 200}, 0, 255}};

struct Numbers {
    unsigned least = 255, most = 0;
    double mean = 0;
    std::uint64_t pixels = 0, below = 0, above = 0;
};

Numbers NumbersOf(const Counts& counts, const Trace& trace) {
    Numbers numbers;
    double sum = 0;
    for (unsigned level = 0; level < counts.size(); ++level) {
        const std::uint64_t count = counts[level];
        if (count == 0) {
            continue;
        }
        numbers.least = std::min(numbers.least, level);
        numbers.most = std::max(numbers.most, level);
        numbers.pixels += count;
        sum += static_cast<double>(count) * level;
        numbers.below += level < trace.low ? count : 0;
        numbers.above += level > trace.high ? count : 0;
    }
    numbers.mean = sum / static_cast<double>(numbers.pixels);
    return numbers;
}

Counts Together(const Trace& trace) {
    Counts sum{};
    for (const Counts& column : trace.columns) {
        for (std::size_t level = 0; level < sum.size(); ++level) {
            sum[level] += column[level];
        }
    }
    return sum;
}

class Scope {
public:
    explicit Scope(const Arguments& arguments)
        : path(arguments.Inputs()[0]),
          frame(arguments.Integer("frame")),
          isWaveform(arguments.Choice("kind") == 1),
          isYuv(arguments.Has("yuv")),
          isJson(arguments.Has("json")) {
        InputOptions options;
        options.rate = arguments.Rate("rate");
        options.threads = static_cast<int>(arguments.Integer("threads"));
        options.keepGoing = arguments.Has("keep-going");
        options.rawFormat = arguments.Text("raw");
        if (arguments.Has("size")) {
            if (options.rawFormat.empty()) {
                throw UsageError("--size: pictures are measured in the size that they have; it is for --raw");
            }
            options.rawSize = arguments.Size("size");
        } else if (!options.rawFormat.empty()) {
            throw UsageError("--raw " + options.rawFormat + ": needs --size WIDTHxHEIGHT");
        }
        RefuseOverwritingInputs(arguments.Inputs(), {{"-o", arguments.Text("output")}});
        file.emplace(arguments.Text("output"));
        reader.emplace(path, options);
    }

    void Run() {
        const ImagePtr pixels = Load();
        const std::vector<Trace> traces = Measure(*pixels);
        WritePng(*file, isWaveform ? DrawWaveforms(traces) : DrawHistograms(traces));
        if (isJson) {
            PrintJson(traces);
        } else {
            PrintText(traces);
        }
    }

private:
    /// The frame as it is stored, with four bytes a pixel. Samples of 4:2:2 stay what they are.
    ImagePtr Load() {
        format.width = reader->Width();
        format.height = reader->Height();
        format.scan = reader->Timing().scan;
        format.rate = reader->Timing().rate;
        format.weights = reader->Weights();
        format.pixelAspect = reader->PixelAspect();
        hasAlpha = format.hasAlpha = reader->HasAlpha();
        const std::optional<Zan::ConverterFormat> samples = reader->Samples(format);
        if (samples == Zan::kFmtRGB32 || samples == Zan::kFmtRGB24) {
            format.samples = Zan::kFmtRGB32;
        } else if (samples == Zan::kFmtCbYCrA) {
            format.samples = samples;
        } else {
            format.width &= ~1U;
            format.height &= ~1U;
        }
        if (format.width < 2 || format.height < 2) {
            throw Failure(path + ": too small to be measured");
        }
        reader->SetTarget(format, reader->Aspect());
        if (reader->IsStill() ? frame != 0 : reader->EndsBefore(frame)) {
            throw UsageError("--frame " + std::to_string(frame) + ": " + path + " ends before it");
        }
        const SharedPicture picture = reader->PictureAt(frame, 0);
        return Converted(*picture);
    }

    ImagePtr Converted(Zan::Image& picture) {
        const Zan::ConverterFormat wanted = isYuv ? Zan::kFmtCbYCrA : Zan::kFmtRGB32;
        const std::optional<Route> route = RouteBetween(format.Samples(), wanted, std::nullopt);
        if (!route) {
            throw Failure(path + ": there is no way from its samples to those that are measured");
        }
        // Without a step the pixels are copied.
        const Route steps = route->empty() ? Route{{wanted, wanted, Zan::kBestAvailable}} : *route;
        ImagePtr made;
        for (const Step& step : steps) {
            PictureFormat next = format;
            next.samples = step.to;
            ImagePtr result = NewPicture(next);
            Zan::ImageView from = Whole(made ? *made : picture), to = Whole(*result);
            const Sense sense = SenseOf(step);
            std::optional<ColourMatrix> matrix;
            if (sense != Sense::kNone && format.weights != LumaWeights::kBt601) {
                matrix = MatrixOf(format.weights, sense, 0, 255);
            }
            const Zan::Long32 status = Zan::ColorSpaceConverter().Do(
                from, to, step.style, matrix ? matrix->matrix.data() : nullptr, nullptr);
            if (status != Zan::kStatusOk) {
                throw Failure(path + ": the library returned status " + std::to_string(status));
            }
            made = std::move(result);
        }
        return made;
    }

    /// A histogram of the whole picture, or of each column of it.
    std::vector<Trace> Measure(Zan::Image& pixels) const {
        std::vector<Trace> traces;
        const Component* components = isYuv ? kYuvComponents : kRgbComponents;
        const unsigned count = hasAlpha ? 4 : 3;
        for (unsigned i = 0; i < count; ++i) {
            traces.push_back(
                {components[i].name, components[i].colour, components[i].low, components[i].high});
        }
        const auto width = static_cast<Zan::Long32>(format.width),
                   height = static_cast<Zan::Long32>(format.height);
        Zan::Histogram histogram(count, 256);
        const Zan::Long32 columns = isWaveform ? 1 : width;
        for (Zan::Long32 left = 0; left < width; left += columns) {
            Zan::ImageView view(&pixels, {left, 0, columns, height}, Zan::kFrame);
            histogram.Clear();
            const Zan::Long32 status = histogram.Do(view, Zan::kBestAvailable);
            if (status != Zan::kStatusOk) {
                throw Failure("scope: the library returned status " + std::to_string(status));
            }
            for (unsigned i = 0; i < count; ++i) {
                Counts& counts = traces[i].columns.emplace_back();
                for (Zan::ULong32 level = 0; level < counts.size(); ++level) {
                    counts[level] = histogram.Get(components[i].table, level);
                }
            }
        }
        return traces;
    }

    void PrintText(const std::vector<Trace>& traces) const {
        std::printf("frame %ld, %ux%u\n", frame, format.width, format.height);
        for (const Trace& trace : traces) {
            const Numbers numbers = NumbersOf(Together(trace), trace);
            const auto percent = [&numbers](std::uint64_t pixels) {
                return 100.0 * static_cast<double>(pixels) / static_cast<double>(numbers.pixels);
            };
            std::printf("%-2s %3u to %3u, mean %.2f; below %u: %.2f %%, above %u: %.2f %%\n",
                        trace.name.c_str(), numbers.least, numbers.most, numbers.mean, trace.low,
                        percent(numbers.below), trace.high, percent(numbers.above));
        }
    }

    template <class Number>
    static void PrintList(const char* name, std::size_t count, Number number) {
        std::printf(",\"%s\":[", name);
        for (std::size_t i = 0; i < count; ++i) {
            std::printf("%s%u", i == 0 ? "" : ",", static_cast<unsigned>(number(i)));
        }
        std::printf("]");
    }

    void PrintJson(const std::vector<Trace>& traces) const {
        std::printf("{\"frame\":%ld,\"width\":%u,\"height\":%u,\"kind\":\"%s\",\"components\":[", frame,
                    format.width, format.height, isWaveform ? "waveform" : "histogram");
        for (const Trace& trace : traces) {
            const Counts counts = Together(trace);
            const Numbers numbers = NumbersOf(counts, trace);
            std::printf(
                "%s\n{\"name\":\"%s\",\"low\":%u,\"high\":%u,\"least\":%u,\"most\":%u,"
                "\"mean\":%.4f,\"below\":%llu,\"above\":%llu",
                &trace == traces.data() ? "" : ",", trace.name.c_str(), trace.low, trace.high, numbers.least,
                numbers.most, numbers.mean, static_cast<unsigned long long>(numbers.below),
                static_cast<unsigned long long>(numbers.above));
            PrintList("counts", counts.size(), [&](std::size_t i) { return counts[i]; });
            if (isWaveform) {
                std::vector<Numbers> columns;
                for (const Counts& column : trace.columns) {
                    columns.push_back(NumbersOf(column, trace));
                }
                PrintList("columns_least", columns.size(), [&](std::size_t i) { return columns[i].least; });
                PrintList("columns_most", columns.size(), [&](std::size_t i) { return columns[i].most; });
            }
            std::printf("}");
        }
        std::printf("\n]}\n");
    }

    std::string path;
    long frame;
    bool isWaveform, isYuv, isJson;
    std::optional<OutputFile> file;
    std::optional<Reader> reader;
    PictureFormat format;
    bool hasAlpha = false;
};

int RunScope(const Arguments& arguments) {
    Scope(arguments).Run();
    return kExitSuccess;
}

std::vector<Option> Options() {
    std::vector<Option> options = {
        {.name = "output",
         .letter = 'o',
         .kind = ValueKind::kPngPicture,
         .value = "FILE.png",
         .help = "the picture; replaced when the new one is whole",
         .isRequired = true},
        {.name = "frame",
         .kind = ValueKind::kInteger,
         .value = "N",
         .help = "the frame that is measured, counted from 0",
         .initial = "0",
         .least = 0,
         .most = static_cast<double>(kMostPictures - 1)},
        {.name = "kind",
         .kind = ValueKind::kChoice,
         .value = "KIND",
         .help =
             "histogram (how often each level occurs; heights are square roots) or waveform (the levels of "
             "each column of the picture)",
         .initial = "histogram",
         .choices = {"histogram", "waveform"}},
        {.name = "yuv",
         .help = "measure Y, Cb and Cr at video levels, with their legal limits, and not R, G and B"},
        {.name = "json", .help = "print the numbers as JSON: counts of all levels, and ends of all columns"}};
    AddCommonOptions(options, {{"size", "size of raw frames"},
                               {"rate"},
                               {"raw"},
                               {"threads", "threads of the decoder; 0: as many as there are processors"},
                               {"keep-going"}});
    return options;
}

}  // namespace

const Command kScopeCommand = {
    .name = "scope",
    .summary = "draw the histogram or the waveform of a frame",
    .description =
        "Counts the levels of one frame and draws them, with a scale and the legal limits: one panel for "
        "each "
        "component, in RGB or YCrCb, and one for alpha.",
    .inputs = {{"IN", "clip, picture or sequence; - is standard input"}},
    .options = Options(),
    .examples = {{"tesselu scope clip.mkv -o scope.png --frame 100 --kind waveform --yuv",
                  "is frame 100 legal?"},
                 {"tesselu scope photo.png -o scope.png --json", "the histogram, and its numbers"}},
    .execute = RunScope,
};

}  // namespace tool
