#include <TesselU/convert/ColorSpaceConverter.h>
#include <TesselU/filter/NoiseReduction.h>
#include <TesselU/image/FieldHelpers.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <numbers>
#include <optional>
#include <thread>

#include "Commands.h"
#include "Errors.h"
#include "cli/Arguments.h"
#include "commands/NoiseEstimate.h"
#include "foundation/Worker.h"
#include "run/Effect.h"
#include "run/Stopwatch.h"

namespace tool {
namespace {

constexpr unsigned kMostSide = 15, kMostSamples = 257;
constexpr unsigned kLevelsKept = 3;  ///< the class means over so many pictures
constexpr long kPicturesLookedAt = 5;
constexpr unsigned kLeastRows = 16;  ///< of a strip

const std::vector<std::string> kMethods = {"adaptive", "temporal"};
const std::vector<std::string> kStrengths = {"light", "medium", "strong"};
constexpr double kStrengthFactors[] = {0.7, 1.0, 1.4};

struct WindowSize {
    unsigned width = 3, height = 3, frames = 3;
};

/// WxHxT
WindowSize WindowOf(const Arguments& arguments) {
    const std::string text = arguments.Text("window");
    WindowSize size;
    int read = 0;
    const bool isRead =
        std::sscanf(text.c_str(), "%3ux%3ux%3u%n", &size.width, &size.height, &size.frames, &read) == 3 &&
        static_cast<std::size_t>(read) == text.size();
    const auto isOdd = [](unsigned side) { return side % 2 == 1 && side <= kMostSide; };
    if (!isRead || !isOdd(size.width) || !isOdd(size.height) || !isOdd(size.frames) ||
        size.width * size.height * size.frames > kMostSamples) {
        throw UsageError(
            "--window " + text +
            ": three odd numbers up to 15, WIDTHxHEIGHTxFRAMES, of 257 samples together at most");
    }
    return size;
}

/// Frames of packed 4:2:2, with the one to be cleaned in the middle, or a field of each.
struct Scene {
    std::array<Zan::ULong32*, kMostSide> frames{};
    Zan::ULong32 width = 0, height = 0, pitch = 0;
};

/// Rows of a plane, of `pitch` bytes each.
Zan::ULong32* Row(Zan::ULong32* first, Zan::ULong32 pitch, Zan::ULong32 row) {
    return reinterpret_cast<Zan::ULong32*>(reinterpret_cast<unsigned char*>(first) +
                                           std::size_t{pitch} * row);
}

/// How pictures are cleaned.
struct Cleaning {
    bool isTemporal = false, limits = false;
    WindowSize window;
    unsigned char low = 0, high = 0;  ///< thresholds of motion
    double weights[3] = {1, 1, 1};    ///< of the channels' motion

    Zan::Long32 Do(Zan::NoiseReduction& filter, Scene scene, Zan::ULong32* to, Zan::ULong32 pitch) const {
        double motion[3] = {weights[0], weights[1], weights[2]};
        if (isTemporal) {
            return filter.DoFilterSAT(scene.frames[0], scene.frames[1], scene.frames[2], to, scene.width,
                                      scene.height, scene.pitch, pitch, low, high, nullptr, motion, 0);
        }
        constexpr double kDetail = 1;
        constexpr Zan::ULong32 kPairs = 2, kForRealTime = 3;
        return filter.DoFilterSSF(scene.frames.data(), to, scene.width, scene.height, scene.pitch, pitch,
                                  nullptr, window.width, window.height, window.frames,
                                  static_cast<Zan::NoiseReduction::AlphaControlEnum>(3), limits, kDetail,
                                  kPairs, kForRealTime);
    }
};

/// A strip of a picture, for a thread of its own. The rows that its windows reach are filtered with it, into
/// memory of its own: what is there beyond the strip's edges is not what the whole picture has there.
struct CleanedStrip {
    Zan::NoiseReduction filter;
    const Cleaning* cleaning = nullptr;
    Scene scene;
    Zan::ULong32* to = nullptr;
    Zan::ULong32 pitch = 0;
    Zan::Strip strip;
    std::vector<Zan::ULong32> rows;
    double seconds = 0;

    Zan::Long32 Run() noexcept {
        const Stopwatch running(seconds);
        const Zan::ULong32 reach = cleaning->isTemporal ? 0 : cleaning->window.height / 2;
        const Zan::ULong32 above = std::min(strip.first, reach);
        const Zan::ULong32 below = std::min(scene.height - strip.first - strip.rows, reach);
        Scene part = scene;
        for (Zan::ULong32*& frame : part.frames) {
            frame = frame == nullptr ? nullptr : Row(frame, scene.pitch, strip.first - above);
        }
        part.height = above + strip.rows + below;
        if (reach == 0) {
            return cleaning->Do(filter, part, Row(to, pitch, strip.first), pitch);
        }
        const std::size_t words = (std::size_t{scene.width} + 1) / 2;
        const auto bytes = static_cast<Zan::ULong32>(words * sizeof(Zan::ULong32));
        const Zan::Long32 status = cleaning->Do(filter, part, rows.data(), bytes);
        for (Zan::ULong32 y = 0; y < strip.rows; ++y) {
            std::memcpy(Row(to, pitch, strip.first + y), rows.data() + words * (above + y), bytes);
        }
        return status;
    }
};

/// Takes noise out of 4:2:2 samples, each field by those of its parity around it. Alpha is divided out of the
/// colours before and multiplied into them again behind it.
class Denoise : public Effect {
public:
    explicit Denoise(const Arguments& arguments)
        : isTemporal(arguments.Choice("method") == 1),
          limits(arguments.Has("limit")),
          follows(arguments.Has("follow")),
          strength(kStrengthFactors[arguments.Choice("strength")]) {
        if (isTemporal && (follows || limits || arguments.Has("window"))) {
            throw UsageError(std::string("--") +
                             (follows  ? "follow"
                              : limits ? "limit"
                                       : "window") +
                             " is for --method adaptive");
        }
        window = isTemporal ? WindowSize{1, 1, 3} : WindowOf(arguments);
        const auto threads = static_cast<unsigned>(arguments.Integer("threads"));
        // What a picture measures, which the level follows, is of the whole of it.
        workers = follows ? 1 : Zan::WorkersFor(threads != 0 ? threads : std::thread::hardware_concurrency());
        if (arguments.Text("level") == "auto") {
            return;
        }
        const std::string text = arguments.Text("level");
        double luma = 0, chroma = 0;
        int read = 0;
        const int count = std::sscanf(text.c_str(), "%lf%n,%lf%n", &luma, &read, &chroma, &read);
        if (count < 1 || static_cast<std::size_t>(read) != text.size() || !(luma >= 0 && luma < 255) ||
            !(chroma >= 0 && chroma < 255)) {
            throw UsageError("--level " + text +
                             ": auto, or the deviation of the noise in code values, Y or Y,C");
        }
        level = NoiseEstimate{luma, count == 2 ? chroma : luma};
    }

    Surroundings PicturesAround() const override {
        const unsigned reach = window.frames / 2;
        return {reach + (follows ? kLevelsKept : 0), reach};
    }
    long PicturesOfStills() const override { return 1; }
    double SecondsElsewhere() const override {
        double sum = 0;
        for (unsigned i = 0; strips && i < strips->Count(); ++i) {
            sum += (*strips)[i].seconds;
        }
        return sum;
    }

    PictureFormat InputFormat(const Reader& input, const PictureFormat& run) override {
        inputFormat = run;
        hasAlpha = inputFormat.hasAlpha = input.HasAlpha();
        return inputFormat;
    }

    void Prepare(const PictureFormat& run) override {
        keepsAlpha = run.hasAlpha;
        PictureFormat format = inputFormat;
        if (follows) {
            scratch = NewPicture(format);
        }
        const unsigned rows = format.IsInterlaced() ? format.height / 2 : format.height;
        if (const unsigned count = std::min(workers, rows / kLeastRows); count > 1) {
            strips.emplace(count, [] { return CleanedStrip(); });
            const std::size_t words = (std::size_t{format.width} + 1) / 2;
            for (unsigned i = 0; i < count; ++i) {
                (*strips)[i].rows.resize(words * (rows / count + count + window.height));
            }
        }
        if (!hasAlpha) {
            return;
        }
        format.samples = Zan::kFmtCbYCrY4;
        for (unsigned i = 0; i < window.frames; ++i) {
            straight.push_back(NewPicture(format));
        }
        made = NewPicture(format);
        format.samples = Zan::kFmtCbYCrY4Shaped;
        shaped = NewPicture(format);
    }

    void Look(std::span<Reader* const> inputs) override {
        if (!level) {
            level = Estimated(*inputs[0]);
            isEstimated = true;
        }
        const auto prepare = [&](Zan::NoiseReduction& filter) {
            // Of the mean absolute difference from the mean, which the class compares it with.
            const double part = strength * std::sqrt(2 / std::numbers::pi);
            float levels[3] = {static_cast<float>(level->chroma * part),
                               static_cast<float>(level->luma * part),
                               static_cast<float>(level->chroma * part)};
            filter.SetBaseNoiseLevel(levels);
            filter.AutomaticNoiseLevelAdjustment(follows);
        };
        std::for_each(reduction.begin(), reduction.end(), prepare);
        for (unsigned i = 0; strips && i < strips->Count(); ++i) {
            prepare((*strips)[i].filter);
        }
        cleaning = {isTemporal, limits, window};
        // The largest of six differences, each of the noise of two pictures, stays below the first threshold
        // all but always.
        const double deviation = std::max(level->luma, 0.1) * strength;
        const auto threshold = [](double value) {
            return static_cast<unsigned char>(std::clamp(std::lround(value), 0L, 255L));
        };
        cleaning.low = threshold(4 * deviation);
        cleaning.high = threshold(8 * deviation);
        cleaning.weights[0] = cleaning.weights[2] =
            std::clamp(level->luma / std::max(level->chroma, 0.1), 0.25, 4.0);
    }

    std::string Found() const override {
        if (!isEstimated) {
            return {};
        }
        char text[64];
        std::snprintf(text, sizeof text, "--level %.2f,%.2f", level->luma, level->chroma);
        return text;
    }

    void Make(std::span<Zan::ImageView> inputs, Zan::ImageView& output, const Moment& moment) override {
        const Zan::WhichFieldEnum field = output.GetFieldOfInterest();
        Zan::NoiseReduction& filter = reduction[static_cast<std::size_t>(moment.field)];
        if (follows && (!last || moment.picture != *last + 1)) {
            // The level follows the three pictures before.
            for (unsigned i = 0; i < kLevelsKept; ++i) {
                if (moment.picture + static_cast<long>(i) >= static_cast<long>(kLevelsKept)) {
                    Zan::ImageView to = Whole(*scratch, field);
                    std::vector<Zan::ImageView> frames = Straight(inputs.subspan(i, window.frames), field);
                    Filter(filter, frames, to);
                }
            }
        }
        if (moment.field + 1 == moment.fields) {
            last = moment.picture;
        }
        const std::span<Zan::ImageView> shown = inputs.last(window.frames);
        std::vector<Zan::ImageView> frames = Straight(shown, field);
        if (!hasAlpha) {
            Filter(filter, frames, output);
            return;
        }
        // With its alpha; the colours are written over.
        Zan::ImageView after = Whole(*made, field), onBlack = Whole(*shaped, field);
        Convert(shown[shown.size() / 2], after);
        Filter(filter, frames, after);
        if (keepsAlpha) {
            Convert(after, output);
            return;
        }
        // Where the output drops alpha, what is transparent is black.
        Convert(after, onBlack);
        Convert(onBlack, output);
    }

private:
    /// Lines of a field lie two of a frame apart.
    struct Lines {
        explicit Lines(const Zan::ImageView& view) {
            const Zan::Image& image = *view.GetImage();
            const Zan::WhichFieldEnum field = view.GetFieldOfInterest();
            const bool isFrame = field == Zan::kFrame;
            const bool isUpper = isFrame || Zan::GetSpatialField(&image, field) == Zan::kUpperField;
            first = reinterpret_cast<Zan::ULong32*>(Line(image, isUpper ? 0 : 1));
            pitch = image.GetPitch(0) * (isFrame ? 1 : 2);
            height = image.GetHeight() / (isFrame ? 1 : 2);
        }
        Zan::ULong32* first;
        Zan::ULong32 pitch, height;
    };

    static void Check(Zan::Long32 status) {
        if (status != Zan::kStatusOk) {
            throw Failure("denoise: the library returned status " + std::to_string(status));
        }
    }

    void Convert(Zan::ImageView& from, Zan::ImageView& to) {
        Check(converter.Do(from, to, Zan::kBestAvailable, nullptr, nullptr));
    }

    /// Colours that are not multiplied with alpha: of frames without it they are there.
    std::vector<Zan::ImageView> Straight(std::span<Zan::ImageView> frames, Zan::WhichFieldEnum field) {
        if (!hasAlpha) {
            return {frames.begin(), frames.end()};
        }
        std::vector<Zan::ImageView> views;
        for (std::size_t i = 0; i < frames.size(); ++i) {
            views.push_back(Whole(*straight[i], field));
            Convert(frames[i], views.back());
        }
        return views;
    }

    void Filter(Zan::NoiseReduction& filter, std::span<Zan::ImageView> frames, Zan::ImageView& output) {
        const Lines to(output);
        Scene scene;
        for (std::size_t i = 0; i < frames.size(); ++i) {
            const Lines lines(frames[i]);
            scene.frames[i] = lines.first;
            scene.pitch = lines.pitch;
        }
        scene.width = output.GetImage()->GetWidth();
        scene.height = to.height;
        if (!strips) {
            Check(cleaning.Do(filter, scene, to.first, to.pitch));
            return;
        }
        for (unsigned i = 0; i < strips->Count(); ++i) {
            CleanedStrip& strip = (*strips)[i];
            strip.cleaning = &cleaning;
            strip.scene = scene;
            strip.to = to.first;
            strip.pitch = to.pitch;
            strip.strip = Zan::StripOf(scene.height, strips->Count(), i);
        }
        Check(strips->RunAll());
    }

    /// The mean of the first pictures, whatever part of the run is made.
    NoiseEstimate Estimated(Reader& input) const {
        const Zan::WhichFieldEnum which = inputFormat.IsInterlaced() ? Zan::kFirstField : Zan::kFrame;
        const bool isOne = input.IsStill() || !input.Pictures();
        std::unique_ptr<Reader> again;
        Reader* reader = &input;
        if (!isOne) {
            again = input.Again();
            again->SetTarget(inputFormat, again->Aspect());
            again->StayAtEnd();
            reader = again.get();
        }
        NoiseEstimate sum;
        long looked = 0;
        for (long picture = 0; picture < (isOne ? 1 : kPicturesLookedAt); ++picture) {
            if (picture > 0 && reader->EndsBefore(picture)) {
                break;
            }
            const NoiseEstimate one = EstimateNoise(Whole(*reader->PictureAt(picture, 0), which));
            sum.luma += one.luma;
            sum.chroma += one.chroma;
            ++looked;
        }
        const auto hundredths = [looked](double value) {
            return std::round(value / static_cast<double>(looked) * 100) / 100;
        };
        return {hundredths(sum.luma), hundredths(sum.chroma)};
    }

    bool isTemporal, limits, follows;
    double strength;
    WindowSize window;
    Cleaning cleaning;
    unsigned workers = 1;
    std::optional<Zan::StripWorkers<CleanedStrip>> strips;  ///< none: one thread
    std::optional<NoiseEstimate> level;
    bool isEstimated = false;
    PictureFormat inputFormat;
    bool hasAlpha = false, keepsAlpha = false;
    std::optional<long> last;
    std::array<Zan::NoiseReduction, 2> reduction;  ///< of either parity
    std::vector<ImagePtr> straight;
    ImagePtr made, shaped, scratch;
    Zan::ColorSpaceConverter converter;
};

std::vector<Option> Options() {
    return {
        {.name = "method",
         .kind = ValueKind::kChoice,
         .value = "METHOD",
         .help = "adaptive: towards the mean of a window, where that looks like noise; temporal: the mean of "
                 "three pictures, where nothing moves",
         .initial = "adaptive",
         .choices = kMethods},
        {.name = "window",
         .kind = ValueKind::kText,
         .value = "WxHxT",
         .help = "columns, lines and pictures of the window",
         .initial = "3x3x3"},
        {.name = "level",
         .kind = ValueKind::kText,
         .value = "Y[,C]",
         .help = "deviation of the noise of luma and of chroma, in code values; auto: estimated from the "
                 "first pictures, and printed",
         .initial = "auto"},
        {.name = "strength",
         .kind = ValueKind::kChoice,
         .value = "STRENGTH",
         .help = "light, medium or strong",
         .initial = "medium",
         .choices = kStrengths},
        {.name = "limit", .help = "move no sample further than the noise reaches"},
        {.name = "follow",
         .help =
             "let the level follow the noise from picture to picture, which are cleaned on one thread then"},
        {.name = "threads",
         .kind = ValueKind::kInteger,
         .value = "N",
         .help = "threads that a picture is cleaned on, and of the decoder and the encoder; 0: as many as "
                 "there are processors",
         .initial = "0",
         .least = 0,
         .most = Zan::kMostWorkers},
        {.name = "length",
         .kind = ValueKind::kInteger,
         .value = "N",
         .help = "frames of the whole run [those of the clip; 1 of a still]",
         .least = 1,
         .most = static_cast<double>(kMostPictures)}};
}

}  // namespace

const Command kDenoiseCommand = {
    .name = "denoise",
    .summary = "take noise out of clips and pictures",
    .description =
        "Takes noise out of luma and chroma of a clip or picture. Fields are cleaned by the fields of their "
        "parity around them.",
    .inputs = {{"IN", "clip, picture or sequence; - is standard input"}},
    .options = Options(),
    .examples = {{"tesselu denoise clip.mkv -o out.mkv", "the noise is estimated"},
                 {"tesselu denoise clip.mkv -o out.mkv --level 6,4 --window 1x1x9 --strength light",
                  "in time alone, carefully"},
                 {"tesselu denoise clip.mkv -o out.mkv --method temporal",
                  "three pictures where nothing moves"}},
    .without = {"style"},
    .makeEffect = [](const Arguments& arguments) -> std::unique_ptr<Effect> {
        return std::make_unique<Denoise>(arguments);
    },
};

}  // namespace tool
