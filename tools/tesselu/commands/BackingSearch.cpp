#include "commands/BackingSearch.h"

#include <TesselU/key/GenerateCrCbGradient.h>

#include <charconv>
#include <cmath>
#include <iterator>

#include "Errors.h"
#include "commands/ColourMatrix.h"
#include "commands/Lines.h"
#include "commands/ToneEffect.h"
#include "media/PngEncoder.h"
#include "run/OutputFile.h"

namespace tool {
namespace {

/// The shortest text that reads back as the same number.
std::string Plain(double number) {
    char text[32];
    const auto [end, error] = std::to_chars(std::begin(text), std::end(text), number);
    static_cast<void>(error);
    return {text, end};
}

/// Chroma of a colour, in code values.
ChromaCount CountOf(const Colour& colour, LumaWeights weights) {
    const bool isBt709 = weights == LumaWeights::kBt709;
    const double red = isBt709 ? 0.2126 : 0.299, blue = isBt709 ? 0.0722 : 0.114;
    const double y = red * colour.red + (1 - red - blue) * colour.green + blue * colour.blue;
    const auto code = [y](int sample, double weight) {
        return static_cast<unsigned>(std::lround(128 + 112 * (sample - y) / (1 - weight) / 255));
    };
    ChromaCount count;
    count.Add(code(colour.blue, blue), code(colour.red, red));
    return count;
}

SharedPicture SampledPicture(Reader& input, long at, const PictureFormat& format) {
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
    again->SetTarget(format, again->Aspect());
    if (again->EndsBefore(at)) {
        throw UsageError("--at " + std::to_string(at) + ": " + input.Path() + " ends before it");
    }
    return again->PictureAt(at, 0);
}

}  // namespace

BackingEstimate FindBacking(const KeyOptions& options, Reader& input, const PictureFormat& format) {
    ChromaCount sample;
    const char* what = "--color";
    const char* where = "";
    if (options.backing) {
        sample = CountOf(*options.backing, format.weights);
    } else {
        const SharedPicture picture = SampledPicture(input, options.at, format);
        if (const std::optional<Spot>& spot = options.spot) {
            if (spot->x >= format.width || spot->y >= format.height) {
                throw UsageError("--pick: the picture has " + std::to_string(format.width) + "x" +
                                 std::to_string(format.height) + " pixels");
            }
            sample = CountDisc(*picture, spot->x, spot->y, spot->radius);
            what = "--pick";
            where = " at that place";
        } else {
            sample = HeaviestPeak(CountBorder(*picture));
            what = "--auto";
            where = " along the border of the picture";
        }
    }
    const std::optional<BackingEstimate> settings = EstimateBacking(sample, options.wishes);
    if (!settings) {
        throw UsageError(std::string(what) + ": there is no colour" + where +
                         "; --color, --pick or --hue tell the backing");
    }
    return *settings;
}

std::string TextOf(const BackingEstimate& settings, double saturation) {
    std::string text = "--hue " + Plain(settings.hueAngle) + " --acceptance " +
                       Plain(settings.acceptanceAngle) + " --saturation " + Plain(saturation);
    text += " --offset=" + Plain(settings.keyOffset) + " --gain " + Plain(settings.keyGain);
    text += " --spill " + Plain(settings.spillGain) + " --spill-angle " + Plain(settings.spillAngle);
    return text;
}

void DrawChromaPlane(const std::string& path, Zan::ChromaKeyerYUV& keyer, Zan::ProcessingStyleEnum style,
                     LumaWeights weights) {
    constexpr unsigned kSide = 512;
    OutputFile file(path);
    PictureFormat format;
    format.width = format.height = kSide;
    format.hasFullChroma = true;
    const ImagePtr chroma = NewPicture(format), dropped = NewPicture(format), wedge = NewKey(format);
    Zan::ImageView from = Whole(*chroma), to = Whole(*dropped), keyOut = Whole(*wedge);
    CheckStatus("key", Zan::GenerateCrCbGradient(from));
    CheckStatus("key", keyer.Do(from, nullptr, to, &keyOut, style));
    const ImagePtr rgb = NewRgb(kSide, kSide);
    Zan::ImageView colours = Whole(*rgb);
    Zan::ColorSpaceConverter converter;
    ConvertBy("key", converter, from, colours, RgbMatrixOf(weights, Sense::kToRgb));
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

}  // namespace tool
