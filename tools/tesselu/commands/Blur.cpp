#include <TesselU/convert/ColorSpaceConverter.h>
#include <TesselU/filter/DeepDefocusMT.h>
#include <TesselU/image/FieldHelpers.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <optional>
#include <thread>

#include "Commands.h"
#include "Errors.h"
#include "cli/Arguments.h"
#include "run/Effect.h"
#include "run/RunOptions.h"
#include "run/Stopwatch.h"

namespace tool {
namespace {

constexpr double kLargestBox = 16384;
constexpr long kMostPasses = 8, kMostWorkers = 64;

/// The sides of a box, in pixels of a frame.
struct Box {
    double width = 1, height = 1;
};

/// A part of the picture, in pixels of a frame.
struct Region {
    unsigned x = 0, y = 0, width = 0, height = 0;
};

/// W or WxH
Box BoxOf(const Arguments& arguments, const std::string& option) {
    const std::string text = arguments.Text(option);
    const auto side = [&](const std::string& word) {
        std::size_t read = 0;
        double value = 0;
        try {
            value = std::stod(word, &read);
        } catch (const std::exception&) {
            read = std::string::npos;
        }
        if (read != word.size() || !(value >= 1 && value <= kLargestBox)) {
            throw UsageError("--" + option + " " + text +
                             ": the side of a box in pixels, or WIDTHxHEIGHT, each 1 or more");
        }
        return value;
    };
    const std::size_t cross = text.find('x');
    const double width = side(text.substr(0, cross));
    return {width, cross == std::string::npos ? width : side(text.substr(cross + 1))};
}

/// X,Y,WIDTH,HEIGHT
std::optional<Region> RegionOf(const Arguments& arguments) {
    if (!arguments.Has("region")) {
        return std::nullopt;
    }
    const std::vector<double> values = arguments.Reals("region");
    const bool areWhole =
        std::all_of(values.begin(), values.end(), [](double value) { return value == std::floor(value); });
    if (values.size() != 4 || !areWhole || values[2] == 0 || values[3] == 0) {
        throw UsageError("--region " + arguments.Text("region") +
                         ": four whole numbers, X,Y,WIDTH,HEIGHT, of which the last two are not 0");
    }
    const auto whole = [&](std::size_t i) { return static_cast<unsigned>(values[i]); };
    return Region{whole(0), whole(1), whole(2), whole(3)};
}

/// The odd number that is nearest, upwards where two are.
double Odd(double size) {
    const double whole = std::floor(size + 0.5);
    return std::fmod(whole, 2) == 0 ? whole + 1 : whole;
}

/// Blurs in Cb, Y, Cr and alpha, colours multiplied with it where there is some, field by field.
class Blur : public Effect {
public:
    explicit Blur(const Arguments& arguments)
        : from(BoxOf(arguments, "size")),
          to(arguments.Has("until") ? BoxOf(arguments, "until") : from),
          isGrowing(arguments.Has("until")),
          region(RegionOf(arguments)),
          passes(arguments.Integer("passes")),
          style(StyleOf(arguments)) {
        const long threads = arguments.Integer("threads");
        workers = static_cast<unsigned>(
            std::clamp<long>(threads != 0 ? threads : static_cast<long>(std::thread::hardware_concurrency()),
                             1, kMostWorkers));
    }

    long PicturesOfStills() const override { return isGrowing ? 50 : 1; }
    double SecondsElsewhere() const override { return elsewhere; }

    void Prepare(const PictureFormat& run) override {
        const unsigned rows = run.IsInterlaced() ? run.height / 2 : run.height;
        const double width = Odd(std::max(from.width, to.width)),
                     height = Side(std::max(from.height, to.height), run.IsInterlaced());
        if (width >= run.width || height >= rows) {
            const bool isFirst =
                Odd(from.width) >= run.width || Side(from.height, run.IsInterlaced()) >= rows;
            throw UsageError(std::string(isFirst ? "--size" : "--until") +
                             ": the box must be smaller than the picture, which has " +
                             std::to_string(run.width) + "x" + std::to_string(run.height) + " pixels");
        }
        if (region && (region->x + std::uint64_t{region->width} > run.width ||
                       region->y + std::uint64_t{region->height} > run.height)) {
            throw UsageError("--region: the picture has " + std::to_string(run.width) + "x" +
                             std::to_string(run.height) + " pixels");
        }
        PictureFormat format = run;
        format.samples = run.hasAlpha ? Zan::kFmtCbYCrAShaped : Zan::kFmtCbYCrA;
        before = NewPicture(format);
        after = NewPicture(format);
        if (workers > 1) {
            several = std::make_unique<Zan::DeepDefocusMT>(workers, 8);
        }
    }

    void Make(std::span<Zan::ImageView> inputs, Zan::ImageView& output, const Moment& moment) override {
        const Zan::WhichFieldEnum field = output.GetFieldOfInterest();
        Zan::ImageView source = Whole(*before, field), destination = Whole(*after, field);
        Check(converter.Do(inputs[0], source, Zan::kBestAvailable, nullptr, nullptr));
        if (isGrowing && moment.pictures == 0) {
            throw UsageError(
                "--until: the length of the input is not known before it ends; --length N tells it");
        }
        const double position = isGrowing ? moment.Position() : 0;
        const double width = Odd(from.width + (to.width - from.width) * position),
                     height = Side(from.height + (to.height - from.height) * position, field != Zan::kFrame);
        if (width == 1 && height == 1) {
            Check(converter.Do(source, output, Zan::kBestAvailable, nullptr, nullptr));
            return;
        }
        const Part part = PartOf(source);
        for (long pass = 0; pass < passes; ++pass) {
            if (region) {
                CopyField(source, destination);
            }
            Check(Filter(source, destination, width, height, part));
            std::swap(source, destination);
        }
        Check(converter.Do(source, output, Zan::kBestAvailable, nullptr, nullptr));
    }

private:
    /// Columns and rows of a view.
    struct Part {
        Zan::ULong32 left, right, top, bottom;
    };

    void Check(Zan::Long32 status) const {
        constexpr Zan::Long32 kNoScale = -5, kSumTooLarge = -10;
        if (status == kNoScale || status == kSumTooLarge) {
            throw Failure("blur: the box has too many pixels for this --style");
        }
        if (status != Zan::kStatusOk) {
            throw Failure("blur: the library returned status " + std::to_string(status));
        }
    }

    /// A field has half the rows.
    static double Side(double height, bool ofField) {
        return Odd(ofField ? std::max(1.0, height / 2) : height);
    }

    Part PartOf(const Zan::ImageView& view) const {
        const Zan::Image& image = *view.GetImage();
        const Zan::WhichFieldEnum field = view.GetFieldOfInterest();
        if (!region) {
            return {0, view.GetWidth(), 0, view.GetHeight()};
        }
        const Zan::ULong32 right = region->x + region->width, bottom = region->y + region->height;
        if (field == Zan::kFrame) {
            return {region->x, right, region->y, bottom};
        }
        // Line k of a field is line 2 k, or the one below, of the frame.
        const Zan::ULong32 skipped = Zan::GetSpatialField(&image, field) == Zan::kUpperField ? 1 : 0;
        return {region->x, right, (region->y + skipped) / 2, (bottom + skipped) / 2};
    }

    static void CopyField(const Zan::ImageView& from, const Zan::ImageView& to) {
        const Zan::Image &source = *from.GetImage(), &destination = *to.GetImage();
        const Zan::WhichFieldEnum field = to.GetFieldOfInterest();
        const bool isFrame = field == Zan::kFrame;
        const unsigned first =
            isFrame || Zan::GetSpatialField(&destination, field) == Zan::kUpperField ? 0 : 1;
        for (unsigned y = first; y < destination.GetHeight(); y += isFrame ? 1 : 2) {
            std::memcpy(Line(destination, y), Line(source, y), std::size_t{4} * destination.GetWidth());
        }
    }

    Zan::Long32 Filter(Zan::ImageView& source, Zan::ImageView& destination, double width, double height,
                       const Part& part) {
        if (!several) {
            return filter.Do(source, destination, width, height, part.left, part.right, part.top, part.bottom,
                             style);
        }
        const double start = WallClock::Now();
        double here = 0;
        Zan::Long32 status = 0;
        {
            const Stopwatch running(here);
            status = several->Do(source, destination, width, height, part.left, part.right, part.top,
                                 part.bottom, style);
        }
        elsewhere += WallClock::Now() - start - here;
        return status;
    }

    Box from, to;
    bool isGrowing;
    std::optional<Region> region;
    long passes;
    Zan::ProcessingStyleEnum style;
    unsigned workers = 1;
    double elsewhere = 0;
    ImagePtr before, after;
    Zan::ColorSpaceConverter converter;
    Zan::DeepDefocus filter;
    std::unique_ptr<Zan::DeepDefocusMT> several;
};

}  // namespace

const Command kBlurCommand = {
    .name = "blur",
    .summary = "blur by the mean of a box of any size",
    .description =
        "Blurs a clip or picture by the mean of a box around each pixel, which mirrors what lies beyond the "
        "edges. A box costs the same whatever its size. Interlaced video is blurred field by field, with "
        "half "
        "of the rows; what is transparent takes no part in colours. Sizes are rounded to odd numbers.",
    .inputs = {{"IN", "clip, picture or sequence; - is standard input"}},
    .options = {{.name = "size",
                 .kind = ValueKind::kText,
                 .value = "W[xH]",
                 .help = "sides of the box in pixels of the frame; 1 leaves the picture as it is",
                 .isRequired = true},
                {.name = "until",
                 .kind = ValueKind::kText,
                 .value = "W[xH]",
                 .help = "sides in the last frame of the run, towards which they grow or shrink evenly"},
                {.name = "length",
                 .kind = ValueKind::kInteger,
                 .value = "N",
                 .help = "frames of the whole run [those of the clip; of a still 1, or 50 with --until]",
                 .least = 1,
                 .most = static_cast<double>(kMostPictures)},
                {.name = "passes",
                 .kind = ValueKind::kInteger,
                 .value = "N",
                 .help = "how often; three come near a Gaussian",
                 .initial = "1",
                 .least = 1,
                 .most = kMostPasses},
                {.name = "region",
                 .kind = ValueKind::kReals,
                 .value = "X,Y,W,H",
                 .help = "blur this part of the picture and leave the others",
                 .least = 0,
                 .most = kLargestSide},
                {.name = "threads",
                 .kind = ValueKind::kInteger,
                 .value = "N",
                 .help = "threads that a picture is blurred on, and of the decoder and the encoder; 0: as "
                         "many as there are processors",
                 .initial = "0",
                 .least = 0,
                 .most = kMostWorkers}},
    .examples = {{"tesselu blur clip.mkv -o out.mkv --size 9 --passes 3", "a soft picture"},
                 {"tesselu blur clip.mkv -o out.mkv --size 1 --until 101", "out of focus, slowly"},
                 {"tesselu blur clip.mkv -o out.mkv --size 41 --region 600,200,180,90", "nobody's number"}},
    .makeEffect = [](const Arguments& arguments) -> std::unique_ptr<Effect> {
        return std::make_unique<Blur>(arguments);
    },
};

}  // namespace tool
