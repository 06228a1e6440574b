#include "run/RunOptions.h"

#include <algorithm>

#include "Errors.h"
#include "media/FileNames.h"
#include "media/RawWriter.h"
#include "media/Samples.h"

namespace tool {
namespace {

constexpr Zan::ScanStyleEnum kScans[] = {Zan::kUpperFieldFirst, Zan::kLowerFieldFirst, Zan::kProgressive};
constexpr Zan::ProcessingStyleEnum kStyles[] = {Zan::kBestAvailable, Zan::kFlp, Zan::kFP, Zan::kInt_MMXorSIMD,
                                                Zan::kFlp_SIMD};
constexpr double kMostThreads = 256;

/// A command that has another --to calls it --kind.
const char* KindOption(const Command& command) {
    const bool hasOwn = std::any_of(command.options.begin(), command.options.end(),
                                    [](const Option& own) { return own.name == "to"; });
    return hasOwn ? "kind" : "to";
}

}  // namespace

const std::vector<Option>& CommonRunOptions() {
    static const std::vector<Option> options = {
        {.name = "output",
         .letter = 'o',
         .kind = ValueKind::kClip,
         .value = "OUT",
         .help = "OUT.mkv or OUT.mov (lossless FFV1), OUT.mp4 (H.264), OUT.y4m, OUT-%04d.png (a file for "
                 "each frame), or - "
                 "(y4m to standard output); replaced when the new one is whole",
         .isRequired = true},
        {.name = "to",
         .kind = ValueKind::kText,
         .value = "KIND",
         .help = "kind of the output where its name does not say it: mkv, mov, mp4, y4m, png, or raw frames "
                 "in a pixel "
                 "format such as uyvy422, yuv422p or rgba"},
        {.name = "frames",
         .kind = ValueKind::kInterval,
         .value = "A-B",
         .help = "make frames A to B of the whole run only, counted from 0; A- goes to its end"},
        {.name = "length",
         .kind = ValueKind::kInteger,
         .value = "N",
         .help = "frames of the whole run [those of the shortest clip; 50 of stills]",
         .least = 1,
         .most = static_cast<double>(kMostPictures)},
        {.name = "size",
         .kind = ValueKind::kSize,
         .value = "WIDTHxHEIGHT",
         .help = "size of the output, and of raw frames [as the first input]"},
        {.name = "scan",
         .kind = ValueKind::kChoice,
         .value = "SCAN",
         .help = "tff (upper field first), bff (lower field first) or progressive [as the first clip]; "
                 "interlaced clips are deinterlaced where their fields cannot be kept",
         .choices = {"tff", "bff", "progressive"}},
        {.name = "rate",
         .kind = ValueKind::kRate,
         .value = "RATE",
         .help = "frames a second of inputs that have no rate: stills, sequences, raw frames",
         .initial = "25"},
        {.name = "output-rate",
         .kind = ValueKind::kRate,
         .value = "RATE",
         .help = "frames a second of the output [as the first clip]"},
        {.name = "raw",
         .kind = ValueKind::kText,
         .value = "FORMAT",
         .help =
             "inputs called *.yuv, *.rgb, *.raw or - are progressive frames in this pixel format, without "
             "a header; needs --size"},
        {.name = "sheet",
         .kind = ValueKind::kPngPicture,
         .value = "FILE.png",
         .help = "also write twelve moments of the run on one picture"},
        {.name = "style",
         .kind = ValueKind::kChoice,
         .value = "STYLE",
         .help = "code path of the library: best, flp, fp, int or flp-simd",
         .initial = "best",
         .choices = {"best", "flp", "fp", "int", "flp-simd"}},
        {.name = "threads",
         .kind = ValueKind::kInteger,
         .value = "N",
         .help = "threads of each decoder and of the encoder, beside those that the library works on; 0: as "
                 "many as there are processors",
         .initial = "0",
         .least = 0,
         .most = kMostThreads},
        {.name = "keep-going", .help = "pass over damage in an input, and say so"},
        {.name = "json",
         .help = "print one line of JSON instead of the summary: frames, times a frame in milliseconds"},
        {.name = "quiet", .letter = 'q', .help = "print errors only"},
    };
    return options;
}

void AddCommonOptions(std::vector<Option>& options, std::initializer_list<CommonOption> common) {
    for (const CommonOption& taken : common) {
        for (const Option& option : CommonRunOptions()) {
            if (option.name == taken.name) {
                options.push_back(option);
                if (taken.help != nullptr) {
                    options.back().help = taken.help;
                }
            }
        }
    }
}

RunOptions::RunOptions(const Command& command, const Arguments& arguments)
    : inputs(arguments.Inputs()), output(arguments.Text("output")) {
    if (command.moreInputs != nullptr) {
        for (const std::string& more : command.moreInputs(arguments)) {
            inputs.push_back(more);
        }
    }
    if (arguments.Has("sheet")) {
        sheet = arguments.Text("sheet");
    }
    input.rate = arguments.Rate("rate");
    input.rawFormat = arguments.Text("raw");
    input.threads = static_cast<int>(arguments.Integer("threads"));
    input.keepGoing = arguments.Has("keep-going");
    out.ofSamples = command.ofSamples;
    if (!command.ofSamples) {
        out.kind = arguments.Text(KindOption(command));
        out.kindOption = std::string("--") + KindOption(command);
    }
    out.threads = input.threads;
    if (arguments.Has("scan")) {
        scan = kScans[arguments.Choice("scan")];
    }
    // A command may have a size of its own, which is another thing.
    const bool isOfOutput = std::none_of(
        command.options.begin(), command.options.end(),
        [](const Option& option) { return option.name == "size" && option.kind != ValueKind::kSize; });
    if (isOfOutput && arguments.Has("size")) {
        size = arguments.Size("size");
    }
    if (arguments.Has("output-rate")) {
        outputRate = arguments.Rate("output-rate");
    }
    if (arguments.Has("length")) {
        length = arguments.Integer("length");
    }
    if (arguments.Has("frames")) {
        part = arguments.Pictures("frames");
        out.first = part.first;
    }
    isJson = arguments.Has("json");
    isQuiet = arguments.Has("quiet");

    CheckOutputName(output, out);
    if (command.ofSamples && arguments.Has("from")) {
        TakeRawSamples(SamplesNamed("--from", arguments.Text("from")));
    }
    if (!input.rawFormat.empty()) {
        RawPixelFormat("--raw", input.rawFormat);
        if (!size) {
            throw UsageError("--raw " + input.rawFormat + ": needs --size WIDTHxHEIGHT");
        }
        input.rawSize = *size;
        if (std::none_of(inputs.begin(), inputs.end(),
                         [this](const std::string& path) { return IsRawName(path, input); })) {
            throw UsageError("--raw " + input.rawFormat + ": no input is called -, *.yuv, *.rgb or *.raw");
        }
    }
    if (std::count(inputs.begin(), inputs.end(), kStandardStream) > 1) {
        throw UsageError("-: standard input can be read once only");
    }
}

void RunOptions::TakeRawSamples(Zan::ConverterFormat samples) {
    if (!input.rawFormat.empty()) {
        throw UsageError("--from: --raw says already what raw frames are made of");
    }
    if (!size) {
        throw UsageError("--from " + NameOf(samples) + ": needs --size WIDTHxHEIGHT");
    }
    // The layout is one; whose chroma it is, the scan tells.
    if (samples == Zan::kFmtPlanar420 && scan && *scan != Zan::kProgressive) {
        samples = Zan::kFmtPlanar420Interlaced;
    }
    if (samples == Zan::kFmtPlanar420Interlaced && !scan) {
        scan = Zan::kUpperFieldFirst;
    }
    if (size->width % ColumnsTogether(samples) != 0 ||
        (samples == Zan::kFmtPlanarGrouped && size->width % 16 != 0)) {
        throw UsageError("--size: a width of " + std::to_string(size->width) + " makes no whole lines in " +
                         NameOf(samples));
    }
    input.rawSamples = samples;
    input.rawScan = scan.value_or(Zan::kProgressive);
    input.rawFormat = av_get_pix_fmt_name(CarrierOf(samples));
    input.rawSize = *size;
}

Zan::ProcessingStyleEnum StyleOf(const Arguments& arguments) {
    return kStyles[arguments.Choice("style")];
}

}  // namespace tool
