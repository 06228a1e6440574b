#include <TesselU/convert/ColorSpaceConverter.h>
#include <TesselU/image/FieldHelpers.h>
#include <TesselU/key/ChromaKeyerYUV.h>

#include <algorithm>
#include <cstring>

#include "Commands.h"
#include "Errors.h"
#include "commands/BackingSearch.h"
#include "commands/ColourMatrix.h"
#include "commands/KeyOptions.h"
#include "commands/Lines.h"
#include "commands/MatteEdge.h"
#include "commands/StraightOutput.h"
#include "commands/ToneEffect.h"
#include "run/Effect.h"

namespace tool {
namespace {

/// Makes a matte of a picture's chroma or luma, puts the picture over another one by it, and writes what
/// there is on the way. The matte is low on the backing.
class Key : public Effect {
public:
    explicit Key(const Arguments& arguments)
        : options(arguments), edge(options.choke, options.feather), straight("key", options.isShaped) {}

    PictureFormat InputFormat(const Reader& input, const PictureFormat& run) override {
        PictureFormat format = run;
        if (asked++ == 0) {
            ChooseSampling(input);
            format.hasAlpha = !isFull && input.HasAlpha();
            format.hasFullChroma = isFull;
            inputFormat = format;
        } else if (options.hasClip && asked == 2) {
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
        if (!options.hasPlate) {
            return StraightOutput::Format(run, isFull, options.carrier);
        }
        PictureFormat format = run;
        format.hasAlpha = false;
        format.hasFullChroma = isFull && options.outHoldsFullChroma;
        return format;
    }

    std::vector<SideOutput> SideOutputs(const PictureFormat& run) override {
        std::vector<SideOutput> sides;
        if (!options.matte.empty()) {
            PictureFormat grey = run;
            grey.hasAlpha = false;
            grey.samples = Zan::kFmtAlpha8;
            sides.push_back({"--matte", options.matte, grey});
        }
        if (!options.foreground.empty()) {
            sides.push_back({"--foreground", options.foreground,
                             StraightOutput::Format(run, isFull, options.foregroundCarrier)});
        }
        return sides;
    }

    std::vector<std::pair<std::string, std::string>> Pictures() const override {
        if (options.plane.empty()) {
            return {};
        }
        return {{"--plane", options.plane}};
    }

    long PicturesOfStills() const override { return 1; }

    void Prepare(const PictureFormat& run) override {
        PictureFormat format = run;
        format.hasAlpha = false;
        format.hasFullChroma = isFull;
        pixels = format;
        straight.Prepare(run, isFull);
        if (isFull) {
            clean = NewPicture(format);
            key = NewKey(format);
            if (!options.outHoldsFullChroma) {
                mixed = NewPicture(format);
            }
        } else {
            // The key is the alpha of the picture that was cleaned, so that both are one picture.
            PictureFormat withAlpha = format;
            withAlpha.samples = Zan::kFmtCbYCrY4;
            clean = NewPicture(withAlpha);
            key = AlphaOf(*clean);
            if (HasMask()) {
                masked = NewPicture(withAlpha);
            }
            if (options.IsByAlpha() && options.split && !options.hasPlate) {
                shown = NewPicture(withAlpha);
                shownKey = AlphaOf(*shown);
            }
        }
        if (options.plateColour) {
            MakePlate();
        }
        if (options.IsReworked()) {
            edge.Prepare(format);
        }
        byAlpha.SetKeyOffset(1);
        byAlpha.SetSpillSuppressionGain(0);
    }

    void Look(std::span<Reader* const> inputs) override {
        if (options.luma) {
            return;
        }
        settings = options.settings ? options.settings : FindBacking(options, *inputs[0], inputFormat);
        const GivenSettings& given = options.given;
        Override(settings->hueAngle, given.hue);
        Override(settings->acceptanceAngle, given.acceptance);
        Override(settings->spillAngle, given.spillAngle);
        Override(settings->spillGain, given.spill);
        Override(settings->keyOffset, given.offset);
        Override(settings->keyGain, given.gain);
        settings->ApplyTo(keyer);
        keyer.SetSaturationMinimum(given.saturation);
        if (!options.plane.empty()) {
            DrawChromaPlane(options.plane, keyer, options.style, pixels.weights);
        }
        keyer.SetInvertKeyAfterPostProcessing(!options.isInverted);
    }

    std::string Found() const override {
        const bool isFound = settings && !options.settings;
        return isFound ? TextOf(*settings, options.given.saturation) : "";
    }

    void Make(std::span<Zan::ImageView> inputs, Zan::ImageView& output, const Moment& moment) override {
        MakeAll(inputs, {&output, 1}, moment);
    }

    void MakeAll(std::span<Zan::ImageView> inputs, std::span<Zan::ImageView> outputs,
                 const Moment&) override {
        const Zan::WhichFieldEnum field = outputs[0].GetFieldOfInterest();
        Zan::ImageView source = Source(inputs, field), keyOut = Whole(*key, field),
                       cleaned = Whole(*clean, field);
        if (options.IsByAlpha()) {
            if (options.luma) {
                KeyByLuma(source, field);
            } else {
                SetSplit(keyer, field, false);
                Check(keyer.Do(source, nullptr, cleaned, &keyOut, options.style));
            }
            edge.Apply(cleaned, keyOut);
            Finish(inputs, outputs[0], byAlpha, cleaned, nullptr, Zan::kBestAvailable);
        } else {
            Finish(inputs, outputs[0], keyer, source, &keyOut, options.style);
            const bool isWhole = !options.split;
            if (outputs.size() > 1 && !(isWhole && (!options.hasPlate || options.foreground.empty()))) {
                SetSplit(keyer, field, false);
                Check(keyer.Do(source, nullptr, cleaned, &keyOut, options.style));
            }
        }
        std::size_t next = 1;
        if (!options.matte.empty()) {
            CopyLines(*key, outputs[next++], pixels.width);
        }
        if (!options.foreground.empty()) {
            straight.Put(*clean, *key, outputs[next], options.foregroundCarrier);
        }
    }

private:
    static void Check(Zan::Long32 status) { CheckStatus("key", status); }
    static void Override(double& setting, const std::optional<double>& value) {
        setting = value.value_or(setting);
    }

    bool HasMask() const { return options.hasGarbage || inputFormat.hasAlpha; }

    void ChooseSampling(const Reader& input) {
        const bool isMasked = options.hasGarbage || input.HasAlpha();
        isFull =
            options.asksFull || (!options.asksPairs && input.IsStill() && !isMasked && !options.IsByAlpha());
        if (input.HasAlpha() && options.asksFull) {
            throw UsageError("--444: " + input.Path() +
                             " has alpha, which counts as a mask, and that is for 4:2:2");
        }
        if (input.HasAlpha() && options.style == Zan::kFP) {
            throw UsageError("--style fp: " + input.Path() +
                             " has alpha, which the fixed code path does not take");
        }
    }

    /// The alpha plane of a picture, as a picture of its own.
    static ImagePtr AlphaOf(const Zan::Image& picture) {
        return std::make_unique<Zan::Image>(
            Line(picture, 0, kAlphaChannel), picture.GetPitch(kAlphaChannel),
            Zan::ImageDescriptor(picture.GetWidth(), picture.GetHeight(), Zan::kAlphaOnly,
                                 picture.GetScanStyle(), picture.GetFieldPacking(), Zan::kTopLeft, 1.0F),
            1, 1);
    }

    void MakePlate() {
        PictureFormat rgb = pixels;
        rgb.samples = Zan::kFmtRGB32;
        const ImagePtr flat = NewPicture(rgb);
        const Colour& colour = *options.plateColour;
        const std::uint8_t pixel[] = {static_cast<std::uint8_t>(colour.blue),
                                      static_cast<std::uint8_t>(colour.green),
                                      static_cast<std::uint8_t>(colour.red), 255};
        for (unsigned y = 0; y < pixels.height; ++y) {
            for (unsigned x = 0; x < pixels.width; ++x) {
                std::memcpy(Line(*flat, y) + std::size_t{4} * x, pixel, sizeof pixel);
            }
        }
        plate = NewPicture(pixels);
        Zan::ImageView from = Whole(*flat), to = Whole(*plate);
        ConvertBy("key", converter, from, to, RgbMatrixOf(pixels.weights, Sense::kFromRgb));
    }

    /// The field of the input that is keyed: with the mask as its alpha if there is one.
    Zan::ImageView Source(std::span<Zan::ImageView> inputs, Zan::WhichFieldEnum field) {
        if (!HasMask()) {
            return inputs[0];
        }
        Zan::ImageView source = Whole(*masked, field);
        if (inputFormat.hasAlpha) {
            ConvertBy("key", converter, inputs[0], source);
        } else {
            CopyLines(*inputs[0].GetImage(), source, std::size_t{2} * pixels.width);
            ForLines(source,
                     [&](unsigned y) { std::memset(Line(*masked, y, kAlphaChannel), 255, pixels.width); });
        }
        if (options.hasGarbage) {
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
        Check(options.luma->Do(source, keyOut, Zan::kBestAvailable));
    }

    void SetSplit(Zan::ChromaKeyerYUV& of, Zan::WhichFieldEnum field, bool isOn) const {
        constexpr Zan::ULong32 kAll = 0xFFFFFFFF;
        if (!isOn) {
            of.SetSplitScreenHeight(kAll, true);
            return;
        }
        long lines = std::min<long>(options.split->Lines(pixels.height), pixels.height);
        if (field != Zan::kFrame) {
            lines =
                Zan::GetSpatialField(clean.get(), field) == Zan::kUpperField ? (lines + 1) / 2 : lines / 2;
        }
        of.SetSplitScreenHeight(static_cast<Zan::ULong32>(lines), !options.isSplitBelow);
    }

    /// The output of the run: over the background, or with alpha.
    void Finish(std::span<Zan::ImageView> inputs, Zan::ImageView& output, Zan::ChromaKeyerYUV& by,
                Zan::ImageView& source, Zan::ImageView* keyOut, Zan::ProcessingStyleEnum path) {
        const Zan::WhichFieldEnum field = output.GetFieldOfInterest();
        SetSplit(by, field, options.split.has_value());
        if (!options.hasPlate) {
            if (options.IsByAlpha() && !options.split) {
                straight.Put(*clean, *key, output, options.carrier);
            } else if (options.IsByAlpha()) {
                Zan::ImageView view = Whole(*shown, field), alpha = Whole(*shownKey, field);
                Check(by.Do(source, nullptr, view, &alpha, path));
                straight.Put(*shown, *shownKey, output, options.carrier);
            } else {
                Zan::ImageView view = Whole(*clean, field);
                Check(by.Do(source, nullptr, view, keyOut, path));
                straight.Put(*clean, *key, output, options.carrier);
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
        ConvertBy("key", converter, view, output);
    }

    KeyOptions options;

    int asked = 0;                      ///< inputs whose format was told
    bool isFull = false;                ///< every pixel has chroma of its own
    PictureFormat inputFormat, pixels;  ///< of the input; of what is keyed
    Zan::ConverterFormat maskSamples = Zan::kFmtAlpha8;
    std::optional<BackingEstimate> settings;
    MatteEdge edge;
    StraightOutput straight;
    ImagePtr masked, clean, key, mixed, plate, shown, shownKey;
    Zan::ChromaKeyerYUV keyer;
    Zan::ChromaKeyerYUV byAlpha;  ///< whose key is the alpha of the foreground
    Zan::ColorSpaceConverter converter;
};

}  // namespace

const Command kKeyCommand = {
    .name = "key",
    .summary = "cut a picture out of its coloured backing",
    .description =
        "Makes a matte of how close the chroma of IN comes to that of a green or blue backing, takes the "
        "colour that the backing threw out of the picture, and puts it over a background, frame by frame or "
        "field by field. What was found out about the backing is printed as options that say the same.",
    .inputs = {{"IN", "clip, picture or sequence; - is standard input"}},
    .options = OptionsOfKey(),
    .moreInputs = MoreInputsOfKey,
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
