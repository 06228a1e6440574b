#include <TesselU/image/ImageCompare.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "Commands.h"
#include "Errors.h"
#include "cli/Arguments.h"
#include "media/FileNames.h"
#include "media/PngEncoder.h"
#include "media/Reader.h"
#include "media/Samples.h"
#include "run/Console.h"
#include "run/Overwriting.h"
#include "run/RunOptions.h"

namespace tool {
namespace {

constexpr double kMostReports = 10000;

/// A plane as the library's judge takes it.
struct JudgedPlane {
    Zan::ULong32 channel;  ///< of the image
    Zan::ULong32 format;   ///< 0 words, 1 bytes, 2 words of two pixels
    std::vector<const char*> names;
    unsigned across = 1, down = 1;  ///< columns and lines of the picture for one of the plane
};

struct Tolerance {
    Zan::ULong32 negative = 0, positive = 0;
};

/// What the judge takes the pictures of a format as.
std::vector<JudgedPlane> PlanesOf(Zan::ConverterFormat samples) {
    switch (samples) {
        case Zan::kFmtRGB32:
            return {{0, 0, {"B", "G", "R", "A"}}};
        case Zan::kFmtCbYCrA:
            return {{0, 0, {"Cb", "Y", "Cr", "A"}}};
        case Zan::kFmtCbYCrY:
            return {{0, 2, {"Cb", "Y0", "Cr", "Y1"}}};
        case Zan::kFmtCbYCrY4:
            return {{0, 2, {"Cb", "Y0", "Cr", "Y1"}}, {kAlphaChannel, 1, {"A"}}};
        case Zan::kFmtPlanar420:
            return {{0, 1, {"Y"}}, {1, 1, {"Cb"}, 2, 2}, {2, 1, {"Cr"}, 2, 2}};
        case Zan::kFmtPlanar411:
            return {{0, 1, {"Y"}}, {1, 1, {"Cb"}, 4}, {2, 1, {"Cr"}, 4}};
        case Zan::kFmtAlpha8:
            return {{0, 1, {"grey"}}};
        default:
            throw NoVerdict("pictures of " + NameOf(samples) + " cannot be compared");
    }
}

/// The samples of an input, in the arrangement that is compared: their values are the file's.
Zan::ConverterFormat ArrangementOf(const Reader& input) {
    PictureFormat run;
    const std::optional<Zan::ConverterFormat> samples = input.Samples(run);
    switch (samples.value_or(Zan::kFmtCbYCrA)) {
        case Zan::kFmtRGB24:
            return Zan::kFmtRGB32;
        case Zan::kFmtPlanar422:
        case Zan::kFmtYCbYCr:
            return Zan::kFmtCbYCrY;
        case Zan::kFmtPlanar420Interlaced:
            return Zan::kFmtPlanar420;
        default:
            return samples.value_or(Zan::kFmtCbYCrA);
    }
}

/// Pictures and their fields as they are stored: none is deinterlaced or moved in time.
PictureFormat FormatOf(const Reader& input, Zan::ConverterFormat samples) {
    PictureFormat format;
    format.width = input.Width();
    format.height = input.Height();
    format.scan = input.Timing().scan;
    format.rate = input.Timing().rate;
    format.weights = input.Weights();
    format.pixelAspect = input.PixelAspect();
    format.samples = samples;
    return format;
}

std::string SizeOf(const Reader& input) {
    return std::to_string(input.Width()) + "x" + std::to_string(input.Height());
}

/// "-n,+n", or "n" for both directions.
Tolerance OneTolerance(const std::string& whole, std::string_view text) {
    const auto number = [&](std::string_view part, const char* signs) {
        if (!part.empty() && part[0] == signs[0]) {
            part.remove_prefix(1);
        }
        Zan::ULong32 value = 0;
        const auto [end, error] = std::from_chars(part.data(), part.data() + part.size(), value);
        if (error != std::errc() || end != part.data() + part.size() || value > 255) {
            throw UsageError(
                "--tolerance " + whole +
                ": -n,+n or n, from 0 to 255, for all channels or for each with a colon between");
        }
        return value;
    };
    const std::size_t comma = text.find(',');
    if (comma == std::string_view::npos) {
        const Zan::ULong32 both = number(text, "+");
        return {both, both};
    }
    return {number(text.substr(0, comma), "-"), number(text.substr(comma + 1), "+")};
}

std::vector<Tolerance> TolerancesOf(const std::string& text) {
    std::vector<Tolerance> tolerances;
    std::string_view left = text;
    for (;;) {
        const std::size_t colon = left.find(':');
        tolerances.push_back(OneTolerance(text, left.substr(0, colon)));
        if (colon == std::string_view::npos) {
            return tolerances;
        }
        left.remove_prefix(colon + 1);
    }
}

/// Judges one plane over all pictures.
class PlaneJudge {
public:
    PlaneJudge(JudgedPlane newPlane, std::vector<Tolerance> newTolerances)
        : plane(std::move(newPlane)), tolerances(std::move(newTolerances)) {
        const auto channels = static_cast<unsigned>(plane.names.size());
        for (unsigned channel = 0; channel < channels; ++channel) {
            // One for each channel, which takes all of the others.
            Zan::ImageCompare alone(channels);
            for (unsigned other = 0; other < channels; ++other) {
                const Zan::ULong32 all = other == channel ? 0 : 255;
                alone.SetLargestAllowableError(other, all, all);
            }
            largest.push_back(alone);
        }
    }

    const JudgedPlane& Plane() const noexcept { return plane; }
    Zan::Long32 Largest(std::size_t channel) const { return largest[channel].GetLargestDiff(); }

    /// Samples beyond the tolerance in one picture, of which the first are reported.
    std::int64_t Judge(const Zan::Image& first, const Zan::Image& second,
                       std::vector<Zan::Miscompare>& report) {
        Zan::ImageCompare compare(static_cast<unsigned>(plane.names.size()));
        for (unsigned channel = 0; channel < tolerances.size(); ++channel) {
            compare.SetLargestAllowableError(channel, tolerances[channel].negative,
                                             tolerances[channel].positive);
        }
        Run(compare, first, second, report);
        std::vector<Zan::Miscompare> none;
        for (Zan::ImageCompare& alone : largest) {
            Run(alone, first, second, none);
        }
        return compare.GetNumComponentDiffs();
    }

    bool IsBeyond(std::size_t channel, int difference) const {
        const Tolerance& allowed = tolerances[channel];
        return static_cast<Zan::ULong32>(std::abs(difference)) >
               (difference < 0 ? allowed.negative : allowed.positive);
    }

private:
    void Run(Zan::ImageCompare& compare, const Zan::Image& first, const Zan::Image& second,
             std::vector<Zan::Miscompare>& report) const {
        const auto words = [this](const Zan::Image& image) {
            return static_cast<Zan::ULong32*>(image.GetMemoryPointer(plane.channel));
        };
        const Zan::Long32 status =
            compare.AreImagesEqual(words(first), words(second), first.GetWidth(plane.channel),
                                   first.GetHeight(plane.channel), first.GetPitch(plane.channel),
                                   second.GetPitch(plane.channel), plane.format, plane.format, report);
        if (status < 0) {
            throw NoVerdict("the library returned status " + std::to_string(status));
        }
    }

    JudgedPlane plane;
    std::vector<Tolerance> tolerances;
    std::vector<Zan::ImageCompare> largest;
};

/// How far two pictures differ beyond the tolerance, sixteenfold: in their colours if they are RGB, else in
/// grey, the most of all samples at a pixel.
Raster DifferenceOf(const Zan::Image& first, const Zan::Image& second,
                    const std::vector<PlaneJudge>& judges) {
    constexpr int kGain = 16;
    Raster raster(first.GetWidth(), first.GetHeight());
    const bool isRgb = first.GetColorSpace() == Zan::kRGB;
    for (const PlaneJudge& judge : judges) {
        const JudgedPlane& plane = judge.Plane();
        const unsigned wordBytes = plane.format == 1 ? 1 : 4;
        const unsigned pixels = plane.format == 2 ? 2 : 1;
        for (unsigned y = 0; y < raster.height; ++y) {
            const std::uint8_t* a = Line(first, y / plane.down, plane.channel);
            const std::uint8_t* b = Line(second, y / plane.down, plane.channel);
            for (unsigned x = 0; x < raster.width; ++x) {
                std::uint8_t* out = raster.At(x, y);
                const std::size_t word = std::size_t{x / plane.across / pixels} * wordBytes;
                for (std::size_t channel = 0; channel < plane.names.size(); ++channel) {
                    // Luma of the other pixel of the pair.
                    if (pixels == 2 && channel % 2 == 1 && channel / 2 != x % 2) {
                        continue;
                    }
                    const int difference = int{a[word + channel]} - int{b[word + channel]};
                    if (!judge.IsBeyond(channel, difference)) {
                        continue;
                    }
                    const auto shown = static_cast<std::uint8_t>(std::min(255, kGain * std::abs(difference)));
                    if (isRgb && channel < 3) {
                        out[2 - channel] = std::max(out[2 - channel], shown);
                    } else {
                        for (int i = 0; i < 3; ++i) {
                            out[i] = std::max(out[i], shown);
                        }
                    }
                }
            }
        }
    }
    return raster;
}

class Comparison {
public:
    explicit Comparison(const Arguments& arguments)
        : reports(static_cast<std::size_t>(arguments.Integer("report"))), isQuiet(arguments.Has("quiet")) {
        InputOptions options;
        options.rate = arguments.Rate("rate");
        options.threads = static_cast<int>(arguments.Integer("threads"));
        options.keepGoing = arguments.Has("keep-going");
        options.rawFormat = arguments.Text("raw");
        if (arguments.Has("size")) {
            options.rawSize = arguments.Size("size");
        }
        if (!options.rawFormat.empty() && !arguments.Has("size")) {
            throw UsageError("--raw " + options.rawFormat + ": needs --size WIDTHxHEIGHT");
        }
        if (arguments.Inputs()[0] == kStandardStream && arguments.Inputs()[1] == kStandardStream) {
            throw UsageError("-: standard input can be read once only");
        }
        const std::vector<Tolerance> tolerances = TolerancesOf(arguments.Text("tolerance"));
        if (arguments.Has("frames")) {
            part = arguments.Pictures("frames");
        }
        if (arguments.Has("difference")) {
            RefuseOverwritingInputs(arguments.Inputs(), {{"--difference", arguments.Text("difference")}});
            difference.emplace(arguments.Text("difference"));
        }
        for (std::size_t i = 0; i < 2; ++i) {
            inputs[i] = std::make_unique<Reader>(arguments.Inputs()[i], options);
        }
        Match();
        PrepareJudges(tolerances);
    }

    /// The exit status.
    int Run() {
        for (long frame = part.first; !part.last || frame <= *part.last; ++frame) {
            const bool aEnds = EndsBefore(0, frame), bEnds = EndsBefore(1, frame);
            if (aEnds || bEnds) {
                // A still lasts as long as the clip beside it.
                isShort = aEnds != bEnds && !inputs[0]->IsStill() && !inputs[1]->IsStill();
                shorter = aEnds ? 0 : 1;
                if (part.last && !isShort) {
                    throw NoVerdict("--frames: the inputs have the frames 0-" + std::to_string(frame - 1));
                }
                break;
            }
            Judge(frame, *inputs[0]->PictureAt(frame, 0), *inputs[1]->PictureAt(frame, 0));
            if (inputs[0]->IsStill() && inputs[1]->IsStill()) {
                break;
            }
        }
        if (frames == 0) {
            throw NoVerdict("--frames: there are no such frames in both inputs");
        }
        const bool isEqual = differing == 0 && !isShort;
        if (difference) {
            WritePng(*difference, differing > 0 ? shown : Raster(format.width, format.height));
        }
        if (!isQuiet) {
            Print(isEqual);
        }
        return isEqual ? kExitSuccess : kExitFailure;
    }

private:
    void Match() {
        const Reader &a = *inputs[0], &b = *inputs[1];
        const std::string both = a.Path() + " and " + b.Path();
        if (a.Width() != b.Width() || a.Height() != b.Height()) {
            throw NoVerdict(both + ": " + SizeOf(a) + " and " + SizeOf(b) + " pixels cannot be compared");
        }
        samples = ArrangementOf(a);
        if (samples != ArrangementOf(b)) {
            throw NoVerdict(both + ": samples of " + AliasesOf(samples)[0] + " and of " +
                            AliasesOf(ArrangementOf(b))[0] + " cannot be compared");
        }
        const bool areClips = !a.IsStill() && !b.IsStill();
        const double rates = av_q2d(a.Timing().rate) / av_q2d(b.Timing().rate);
        if (areClips && std::abs(rates - 1) > 0.001) {
            throw NoVerdict(both + ": their rates differ, so their frames cannot be compared");
        }
        for (const JudgedPlane& plane : PlanesOf(samples)) {
            const unsigned columns = plane.format == 2 ? 2 : plane.across;
            if (a.Width() % columns != 0 || a.Height() % plane.down != 0) {
                throw NoVerdict(both + ": " + SizeOf(a) + " pixels share no chroma evenly");
            }
        }
        for (const auto& input : inputs) {
            format = FormatOf(*input, samples);
            input->SetTarget(format, input->Aspect());
        }
    }

    void PrepareJudges(const std::vector<Tolerance>& tolerances) {
        std::size_t channels = 0;
        for (const JudgedPlane& plane : PlanesOf(samples)) {
            channels += plane.names.size();
        }
        if (tolerances.size() != 1 && tolerances.size() != channels) {
            throw UsageError("--tolerance: " + std::to_string(tolerances.size()) + " given, and there are " +
                             std::to_string(channels) + " channels");
        }
        std::size_t next = 0;
        for (JudgedPlane& plane : PlanesOf(samples)) {
            std::vector<Tolerance> own;
            for (std::size_t i = 0; i < plane.names.size(); ++i, ++next) {
                own.push_back(tolerances[tolerances.size() == 1 ? 0 : next]);
            }
            judges.emplace_back(std::move(plane), std::move(own));
        }
    }

    bool EndsBefore(std::size_t i, long frame) { return inputs[i]->EndsBefore(frame); }

    void Judge(long frame, const Zan::Image& first, const Zan::Image& second) {
        ++frames;
        std::int64_t beyond = 0;
        for (PlaneJudge& judge : judges) {
            constexpr Zan::ULong32 kUnused = 0xFFFFFFFF;
            std::vector<Zan::Miscompare> report(reports - lines.size(), Zan::Miscompare{kUnused, 0, 0, 0});
            beyond += judge.Judge(first, second, report);
            for (const Zan::Miscompare& each : report) {
                if (each.x != kUnused) {
                    lines.push_back(LineOf(frame, judge.Plane(), each));
                }
            }
        }
        components += beyond;
        if (beyond > 0 && differing++ == 0 && difference) {
            shown = DifferenceOf(first, second, judges);
        }
    }

    /// "frame 0, x 2, y 1: Cb 128 Y0 17/16 Cr 128 Y1 16", with a stroke where the two differ.
    static std::string LineOf(long frame, const JudgedPlane& plane, const Zan::Miscompare& each) {
        std::string line = "  frame " + std::to_string(frame) + ", x " +
                           std::to_string(each.x * plane.across) + ", y " +
                           std::to_string(each.y * plane.down) + ":";
        for (std::size_t i = 0; i < plane.names.size(); ++i) {
            const Zan::ULong32 a = each.first >> (8 * i) & 0xFF, b = each.second >> (8 * i) & 0xFF;
            line.append(" ").append(plane.names[i]).append(" ").append(std::to_string(a));
            if (a != b) {
                line.append("/").append(std::to_string(b));
            }
        }
        return line;
    }

    void Print(bool isEqual) const {
        std::printf("%ld frame%s of %ux%u, samples of %s\n", frames, frames == 1 ? "" : "s", format.width,
                    format.height, AliasesOf(samples)[0].c_str());
        std::printf("beyond the tolerance: %lld samples, in %ld frame%s\n",
                    static_cast<long long>(components), differing, differing == 1 ? "" : "s");
        std::printf("largest differences:");
        for (const PlaneJudge& judge : judges) {
            for (std::size_t i = 0; i < judge.Plane().names.size(); ++i) {
                const auto most = static_cast<long>(judge.Largest(i));
                std::printf(most != 0 ? " %s %+ld" : " %s %ld", judge.Plane().names[i], most);
            }
        }
        std::printf("\n");
        if (!lines.empty()) {
            std::printf("the first, as A/B:\n");
            for (const std::string& line : lines) {
                std::printf("%s\n", line.c_str());
            }
        }
        if (isShort) {
            std::printf("%s ends %ld frames after the first that was compared, and %s does not\n",
                        inputs[shorter]->Path().c_str(), frames, inputs[1 - shorter]->Path().c_str());
        }
        std::printf("%s\n", isEqual ? "equal within the tolerance" : "not equal");
    }

    std::size_t reports;
    bool isQuiet;
    Interval part;
    std::optional<OutputFile> difference;
    std::array<std::unique_ptr<Reader>, 2> inputs;
    Zan::ConverterFormat samples = Zan::kFmtRGB32;
    PictureFormat format;
    std::vector<PlaneJudge> judges;
    long frames = 0, differing = 0;
    std::int64_t components = 0;
    std::vector<std::string> lines;
    Raster shown;
    bool isShort = false;
    std::size_t shorter = 0;
};

/// Whatever keeps it from a verdict is a status of its own, since 1 is a verdict.
int Compare(const Arguments& arguments) {
    if (arguments.Has("quiet")) {
        console::BeQuiet();
    }
    try {
        return Comparison(arguments).Run();
    } catch (const UsageError&) {
        throw;
    } catch (const std::bad_alloc&) {
        throw NoVerdict("out of memory");
    } catch (const std::exception& error) {
        throw NoVerdict(error.what());
    }
}

std::vector<Option> Options() {
    std::vector<Option> options = {
        {.name = "tolerance",
         .kind = ValueKind::kText,
         .value = "-N,+N",
         .help = "how much lower and higher samples of A may be than those of B, or N for both; one for all "
                 "channels, or one for each in the order in which they are printed, with colons between",
         .initial = "0"},
        {.name = "report",
         .kind = ValueKind::kInteger,
         .value = "N",
         .help = "print the first N differences",
         .initial = "10",
         .least = 0,
         .most = kMostReports},
        {.name = "difference",
         .kind = ValueKind::kPngPicture,
         .value = "FILE.png",
         .help = "write a picture of the first frame that differs: differences beyond the tolerance, "
                 "sixteenfold, on black"}};
    AddCommonOptions(options, {{"frames", "compare frames A to B only, counted from 0; A- goes to the end"},
                               {"size", "size of raw frames"},
                               {"rate"},
                               {"raw"},
                               {"threads", "threads of each decoder; 0: as many as there are processors"},
                               {"keep-going"},
                               {"quiet", "print nothing; the exit status tells"}});
    return options;
}

}  // namespace

const Command kCompareCommand = {
    .name = "compare",
    .summary = "compare two clips or pictures sample by sample",
    .description =
        "Compares the samples of A and B as they are stored, in 8 bits, frame by frame: how many differ "
        "beyond "
        "a tolerance, the largest difference A - B of each channel, and where the first ones are. Sizes, "
        "samples and rates must be the same.",
    .inputs = {{"A", "clip, picture or sequence; - is standard input"}, {"B", "what it is compared with"}},
    .options = Options(),
    .examples = {{"tesselu compare a.png b.png --tolerance -1,+2 --difference d.png",
                  "A may be up to 1 lower and 2 higher than B"},
                 {"tesselu compare a.mkv b.y4m --tolerance 0:1:0:1 --quiet && echo same",
                  "luma of 4:2:2 may differ by 1"}},
    .statuses = {"the two are equal within the tolerance", "they are not",
                 "they could not be compared, or the call is wrong"},
    .execute = Compare,
};

}  // namespace tool
