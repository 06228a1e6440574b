#include <TesselU/convert/ColorSpaceConverter.h>
#include <TesselU/overlay/Mixup.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <fstream>
#include <sstream>

#include "Commands.h"
#include "Errors.h"
#include "cli/Arguments.h"
#include "commands/ColourMatrix.h"
#include "commands/Lines.h"
#include "commands/ToneEffect.h"
#include "media/Samples.h"
#include "media/Writer.h"
#include "run/Effect.h"
#include "run/RunOptions.h"

namespace tool {
namespace {

constexpr double kFarthest = 1e6;  ///< pixels

/// Where a side of the foreground lies: at a number, or by name.
enum class Side { kNumber, kNear, kMiddle, kFar };

struct Place {
    Side across = Side::kMiddle, down = Side::kMiddle;
    double x = 0, y = 0;

    bool IsNamed() const { return across != Side::kNumber; }
};

struct NamedPlace {
    const char* name;
    Side across, down;
};
constexpr NamedPlace kPlaces[] = {
    {"center", Side::kMiddle, Side::kMiddle}, {"top-left", Side::kNear, Side::kNear},
    {"top", Side::kMiddle, Side::kNear},      {"top-right", Side::kFar, Side::kNear},
    {"left", Side::kNear, Side::kMiddle},     {"right", Side::kFar, Side::kMiddle},
    {"bottom-left", Side::kNear, Side::kFar}, {"bottom", Side::kMiddle, Side::kFar},
    {"bottom-right", Side::kFar, Side::kFar},
};

/// A number from -kFarthest to kFarthest.
std::optional<double> Coordinate(std::string_view text) {
    double number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size() || !(std::abs(number) <= kFarthest)) {
        return std::nullopt;
    }
    return number;
}

Place PlaceOf(const std::string& option, const std::string& text) {
    for (const NamedPlace& known : kPlaces) {
        if (text == known.name) {
            return {known.across, known.down};
        }
    }
    const std::size_t comma = text.find(',');
    const auto x = Coordinate(std::string_view(text).substr(0, comma));
    const auto y =
        comma == std::string::npos ? std::nullopt : Coordinate(std::string_view(text).substr(comma + 1));
    if (!x || !y) {
        throw UsageError(option + " " + text +
                         ": X,Y in pixels, or center, top, top-left, left, bottom-right ...");
    }
    return {Side::kNumber, Side::kNumber, *x, *y};
}

/// Where the foreground's top left corner is at a picture of the run.
struct KeyPosition {
    double picture, x, y;
};

/// Lines of "frame x y". What follows a # is no part of them.
std::vector<KeyPosition> ReadPath(const std::string& path) {
    std::ifstream file(path);
    if (!file) {
        throw Failure("--path " + path + ": cannot be read");
    }
    std::vector<KeyPosition> positions;
    std::string line;
    for (int number = 1; std::getline(file, line); ++number) {
        std::istringstream words(line.substr(0, line.find('#')));
        std::vector<std::optional<double>> values;
        for (std::string word; words >> word;) {
            values.push_back(Coordinate(word));
        }
        if (values.empty()) {
            continue;
        }
        const auto complain = [&](const char* what) {
            throw UsageError("--path " + path + ": line " + std::to_string(number) + ": " + what);
        };
        if (values.size() != 3 || !values[0] || !values[1] || !values[2]) {
            complain("three numbers, frame x y");
        }
        if (*values[0] < 0 || (!positions.empty() && *values[0] <= positions.back().picture)) {
            complain("frames count from 0 and rise");
        }
        positions.push_back({*values[0], *values[1], *values[2]});
    }
    if (positions.empty()) {
        throw UsageError("--path " + path + ": has no line with a position");
    }
    return positions;
}

KeyPosition PositionAt(const std::vector<KeyPosition>& path, double picture) {
    const auto after = std::find_if(path.begin(), path.end(),
                                    [picture](const KeyPosition& each) { return each.picture >= picture; });
    if (after == path.begin() || after == path.end()) {
        return after == path.end() ? path.back() : path.front();
    }
    const KeyPosition& before = *(after - 1);
    const double part = (picture - before.picture) / (after->picture - before.picture);
    return {picture, before.x + (after->x - before.x) * part, before.y + (after->y - before.y) * part};
}

bool IsOneOfRgb(std::optional<Zan::ConverterFormat> samples) {
    return samples == Zan::kFmtRGB32 || samples == Zan::kFmtRGB24;
}

/// Puts the foreground over the background at a place that may change from field to field. In RGB from
/// pictures to pictures, else in 4:2:2.
class Overlay : public Effect {
public:
    explicit Overlay(const Arguments& arguments)
        : subPixel(!arguments.Has("whole")),
          isShaped(arguments.Has("shaped")),
          beyond(arguments.Has("loop")   ? Beyond::kAgain
                 : arguments.Has("hold") ? Beyond::kLastFrame
                                         : Beyond::kNothing),
          style(StyleOf(arguments)) {
        if (arguments.Has("loop") && arguments.Has("hold")) {
            throw UsageError("--hold and --loop: one or the other");
        }
        if (arguments.Has("path")) {
            for (const char* option : {"at", "to", "margin"}) {
                if (arguments.Has(option)) {
                    throw UsageError(std::string("--") + option + ": --path tells all positions");
                }
            }
            path = ReadPath(arguments.Text("path"));
        }
        from = PlaceOf("--at", arguments.Text("at"));
        if (arguments.Has("to")) {
            to = PlaceOf("--to", arguments.Text("to"));
        }
        if (arguments.Has("margin") && !from.IsNamed() && !(to && to->IsNamed())) {
            throw UsageError("--margin: X,Y says it already; it is for places with a name");
        }
        margin = arguments.Real("margin");
        OutputOptions out;
        out.kind = arguments.Text("kind");
        makesPictures = IsSequenceOutput(arguments.Text("output"), out);
        holdsAlpha = HoldsAlpha(arguments.Text("output"), out);
    }

    void Meet(std::span<Reader* const> inputs, const PictureFormat& run) override {
        const Reader &logo = *inputs[0], &behind = *inputs[1];
        isStill = logo.IsStill();
        keepsAlpha = holdsAlpha && behind.HasAlpha();
        comesAsRgb = IsOneOfRgb(logo.Samples(run));
        isRgb = comesAsRgb && makesPictures && !run.IsInterlaced() && IsOneOfRgb(behind.Samples(run));
        width = logo.Width();
        height = logo.Height();
        const FieldUse fields = Timeline(run, logo.Timing()).Fields();
        hasFields = run.IsInterlaced() && logo.Timing().scan != Zan::kProgressive &&
                    (fields == FieldUse::kFrames || fields == FieldUse::kFieldLater);
        frontFormat = run;
        frontFormat.pixelAspect = logo.PixelAspect();
        frontFormat.width = comesAsRgb ? width : width & ~1U;
        frontFormat.height = height;
        frontFormat.hasAlpha = logo.HasAlpha();
        if (frontFormat.width == 0) {
            throw UsageError(logo.Path() + ": too small");
        }
        if (comesAsRgb) {
            frontFormat.samples = Zan::kFmtRGB32;
        } else if (logo.HasAlpha() && logo.Samples(run) == Zan::kFmtCbYCrY4 && !isShaped && !keepsAlpha &&
                   logo.WeightsOfSamples() == run.weights) {
            frontFormat.samples = Zan::kFmtCbYCrY4;
        } else {
            frontFormat.comesShaped = isShaped;
        }
        if (!comesAsRgb) {
            width = frontFormat.width;
        }
    }

    PictureFormat InputFormat(const Reader&, const PictureFormat& run) override {
        return asked++ == 0 ? frontFormat : OutputFormat(run);
    }

    PictureFormat OutputFormat(const PictureFormat& run) override {
        PictureFormat format = run;
        format.hasAlpha = keepsAlpha;
        if (isRgb) {
            format.samples = keepsAlpha ? Zan::kFmtRGB32 : Zan::kFmtRGB24;
        }
        return format;
    }

    Beyond BeyondEndOf(std::size_t input) const override { return input == 0 ? beyond : Beyond::kNothing; }
    long PicturesOfStills() const override { return to || path.size() > 1 ? 50 : 1; }

    void Prepare(const PictureFormat& run) override {
        if (comesAsRgb && !isRgb) {
            fromRgb = RgbMatrixOf(run.weights, Sense::kFromRgb);
        }
        PictureFormat format = frontFormat;
        if (!hasFields) {
            format.scan = Zan::kProgressive;
        }
        // Pairs must be whole, and a field must lie on lines of its own.
        format.width = isRgb ? width : (width + 1) & ~1U;
        const auto placed = [&](unsigned lines) {
            return (static_cast<long>(run.height) - static_cast<long>(lines)) / 2;
        };
        format.height = height + (hasFields && placed(height) % 2 != 0 ? 2 : 0);
        if (comesAsRgb) {
            format.samples = Zan::kFmtRGB32;
            rgb = NewPicture(format);
            rgb->SetPixelShaping(isShaped || !isRgb ? Zan::kShaped : Zan::kUnshaped);
            if (!isRgb) {
                format.samples = Zan::kFmtCbYCrY4Shaped;
            }
        }
        if (!isRgb) {
            // An image of its own where the input's has other lines or fields than those that it shows.
            if (comesAsRgb || format.height != height || run.IsInterlaced()) {
                format.hasAlpha = format.hasAlpha || format.height != height;
                front = NewPicture(format);
                Clear(*front);
            }
        }
        if (rgb) {
            Clear(*rgb);
        }
        if (isRgb) {
            if (isShaped && keepsAlpha) {
                PictureFormat behind = run;
                behind.samples = Zan::kFmtRGB32Shaped;
                shapedBack = NewPicture(behind);
            }
        }
        left = (static_cast<long>(run.width) - static_cast<long>(format.width)) / 2;
        if (!isRgb && left % 2 != 0) {
            --left;
        }
        top = placed(format.height);
        runWidth = run.width;
        runHeight = run.height;
    }

    void Make(std::span<Zan::ImageView> inputs, Zan::ImageView& output, const Moment& moment) override {
        const KeyPosition at = PositionOf(moment);
        Zan::ImageView foreground = Front(inputs[0], moment), result = InSpace(output);
        if (shapedBack) {
            Zan::ImageView behind = Whole(*shapedBack);
            CopyLines(*inputs[1].GetImage(), behind, std::size_t{4} * runWidth);
            shapedBack->SetPixelShaping(Zan::kUnshaped);
            CheckStatus("overlay", converter.Shape(behind, style));
            Mix(foreground, behind, result, at);
            output.GetImage()->SetPixelShaping(Zan::kShaped);
            CheckStatus("overlay", converter.Unshape(output, style));
            return;
        }
        Zan::ImageView behind = InSpace(inputs[1]);
        Mix(foreground, behind, result, at);
    }

private:
    void Mix(Zan::ImageView& foreground, Zan::ImageView& behind, Zan::ImageView& result,
             const KeyPosition& at) {
        CheckStatus("overlay", mixup.DoAt(foreground, behind, result, at.x - static_cast<double>(left),
                                          at.y - static_cast<double>(top), subPixel, style));
    }

    /// In pixels of the output, of the top left corner.
    KeyPosition PositionOf(const Moment& moment) const {
        const double now = static_cast<double>(moment.picture) +
                           static_cast<double>(moment.field) / static_cast<double>(moment.fields);
        if (!path.empty()) {
            return PositionAt(path, now);
        }
        const KeyPosition start = Resolved(from);
        if (!to) {
            return start;
        }
        if (moment.pictures == 0) {
            throw UsageError(
                "--to: the length of the inputs is not known before they end; --length N tells it");
        }
        const KeyPosition end = Resolved(*to);
        const double part = moment.Position();
        return {now, start.x + (end.x - start.x) * part, start.y + (end.y - start.y) * part};
    }

    /// What is in the middle stands where the library centres it.
    KeyPosition Resolved(const Place& place) const {
        const auto along = [this](Side side, double number, long middle, unsigned whole, unsigned own) {
            switch (side) {
                case Side::kNear:
                    return margin;
                case Side::kMiddle:
                    return static_cast<double>(middle);
                case Side::kFar:
                    return static_cast<double>(whole) - static_cast<double>(own) - margin;
                default:
                    return number;
            }
        };
        return {0, along(place.across, place.x, left, runWidth, width),
                along(place.down, place.y, top, runHeight, height)};
    }

    static void Clear(Zan::Image& picture) {
        const bool isPair = picture.GetColorSpace() == Zan::kYCrCb;
        for (unsigned y = 0; y < picture.GetHeight(); ++y) {
            std::uint8_t* line = Line(picture, y);
            if (!isPair) {
                std::memset(line, 0, std::size_t{4} * picture.GetWidth());
                continue;
            }
            for (unsigned x = 0; x < picture.GetWidth(); ++x, line += 2) {
                line[0] = 128;
                line[1] = 16;
            }
            if (HasAlpha(picture)) {
                std::memset(Line(picture, y, kAlphaChannel), 0, picture.GetWidth());
            }
        }
    }

    /// The foreground as the library gets it. It is the same for both fields of a picture, mostly.
    Zan::ImageView Front(Zan::ImageView& input, const Moment& moment) {
        Zan::Image& image = *input.GetImage();
        if (!front && !rgb) {
            return Whole(image);
        }
        Zan::Image& ready = front ? *front : *rgb;
        const bool isReady = (isStill && made) || (moment.field > 0 && made == &image);
        if (isReady) {
            return Whole(ready);
        }
        made = &image;
        const auto copy = [&](Zan::Image& copied) {
            const std::size_t bytes = image.GetColorSpace() == Zan::kRGB ? 4 : 2;
            for (unsigned y = 0; y < height; ++y) {
                std::memcpy(Line(copied, y), Line(image, y), bytes * width);
                if (HasAlpha(image)) {
                    std::memcpy(Line(copied, y, kAlphaChannel), Line(image, y, kAlphaChannel), width);
                } else if (HasAlpha(copied)) {
                    std::memset(Line(copied, y, kAlphaChannel), 255, width);
                }
            }
        };
        if (!rgb) {
            copy(ready);
            return Whole(ready);
        }
        copy(*rgb);
        if (isRgb) {
            return Whole(ready);
        }
        // The pair of an odd last column has the chroma of that column, and an end that is transparent.
        const bool isOdd = width % 2 != 0;
        for (unsigned y = 0; isOdd && y < height; ++y) {
            std::memcpy(Line(*rgb, y) + std::size_t{4} * width, Line(*rgb, y) + std::size_t{4} * (width - 1),
                        4);
        }
        Zan::ImageView whole = Whole(*rgb), shaped = Whole(*front);
        if (!isShaped) {
            rgb->SetPixelShaping(Zan::kUnshaped);
            CheckStatus("overlay", converter.Shape(whole, style));
        }
        ConvertBy("overlay", converter, whole, shaped, fromRgb);
        for (unsigned y = 0; isOdd && y < height; ++y) {
            Line(*front, y)[2 * width + 1] = 16;
            Line(*front, y, kAlphaChannel)[width] = 0;
        }
        return shaped;
    }

    bool subPixel, isShaped;
    Beyond beyond;
    Zan::ProcessingStyleEnum style;
    Place from;
    std::optional<Place> to;
    std::vector<KeyPosition> path;
    double margin = 0;
    bool makesPictures = false, holdsAlpha = false;

    int asked = 0;                            ///< inputs whose format was told
    bool isStill = false, hasFields = false;  ///< of the foreground
    bool comesAsRgb = false, isRgb = false;   ///< the foreground; all
    bool keepsAlpha = false;                  ///< of the background
    PictureFormat frontFormat;
    unsigned width = 0, height = 0;  ///< of what is shown of the foreground
    unsigned runWidth = 0, runHeight = 0;
    long left = 0, top = 0;  ///< where the library centres it
    ImagePtr rgb, front, shapedBack;
    const Zan::Image* made = nullptr;  ///< what `front` was made of
    std::optional<ColourMatrix> fromRgb;
    Zan::MixupPosition::Mixup mixup;
    Zan::ColorSpaceConverter converter;
};

}  // namespace

const Command kOverlayCommand = {
    .name = "overlay",
    .summary = "put a logo or clip anywhere on another, moving by fractions of a pixel",
    .description =
        "Puts FG, in its own size, over BG by the alpha of FG, at a place that stays or moves evenly, field "
        "by "
        "field where fields are kept. What lies between pixels is interpolated. BG gives the output its "
        "size, "
        "and keeps its alpha if it has some.",
    .inputs = {{"FG", "clip, picture or sequence, with alpha or without; - is standard input"},
               {"BG", "clip, picture or sequence behind it"}},
    .options =
        {{.name = "at",
          .kind = ValueKind::kText,
          .value = "X,Y|PLACE",
          .help = "place of the top left corner of FG in pixels of BG, with fractions, or top-left, top, "
                  "top-right, left, center, right, bottom-left, bottom, bottom-right",
          .initial = "center"},
         {.name = "to",
          .kind = ValueKind::kText,
          .value = "X,Y|PLACE",
          .help = "where it is in the last field of the run, moving there evenly"},
         {.name = "margin",
          .kind = ValueKind::kReal,
          .value = "N",
          .help = "pixels between FG and the border that a place is named for",
          .initial = "0",
          .least = -kFarthest,
          .most = kFarthest},
         {.name = "path",
          .kind = ValueKind::kText,
          .value = "FILE",
          .help = "positions in lines of 'frame x y', between which it moves evenly"},
         {.name = "whole", .help = "round positions to whole pixels, and to pairs of them in 4:2:2"},
         {.name = "shaped", .help = "colours of FG are multiplied by its alpha, which those of PNG are not"},
         {.name = "hold", .help = "a clip FG that ends before BG stays with its last frame"},
         {.name = "loop", .help = "it begins anew"},
         {.name = "kind",
          .kind = ValueKind::kText,
          .value = "KIND",
          .help = "kind of the output where its name does not say it: mkv, mov, mp4, y4m, or raw frames in a "
                  "pixel format such as uyvy422, yuv422p or rgba"},
         {.name = "size",
          .kind = ValueKind::kSize,
          .value = "WIDTHxHEIGHT",
          .help = "size of the output, and of raw frames [as BG]"},
         {.name = "length",
          .kind = ValueKind::kInteger,
          .value = "N",
          .help = "frames of the whole run [those of the shortest clip; of stills 1, or 50 of a moving one]",
          .least = 1,
          .most = static_cast<double>(kMostPictures)}},
    .examples = {{"tesselu overlay logo.png clip.mkv -o out.mkv --at top-right --margin 32", "a logo"},
                 {"tesselu overlay logo.png clip.mkv -o out.mkv --at 0,40 --to 31.25,40",
                  "the same, drifting by an eighth of a pixel a frame in 250 frames"},
                 {"tesselu overlay sting.mov clip.mkv -o out.mkv --loop --path path.txt",
                  "a clip with alpha that repeats, along a path"}},
    .frameInput = 1,
    .makeEffect = [](const Arguments& arguments) -> std::unique_ptr<Effect> {
        return std::make_unique<Overlay>(arguments);
    },
};

}  // namespace tool
