// gallery_operations A B FOLDER: a PNG picture of each operation of the library on the pictures A and B, and
// a line for it on standard output: "file<tab>family<tab>operation".

#include <TesselU/TesselU.h>
#include <TesselU/filter/DeepDefocus.h>
#include <TesselU/filter/NoiseReduction.h>
#include <TesselU/filter/NoiseSource.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "commands/ScopePicture.h"
#include "media/PngEncoder.h"
#include "media/Reader.h"

namespace {

using namespace Zan;
using tool::ImagePtr;
using tool::Line;
using tool::Whole;

constexpr double kHalfWay = 0.5;

void Check(Long32 status) {
    if (status != kStatusOk) {
        throw std::runtime_error("the library returned status " + std::to_string(status));
    }
}

ULong32* Words(const ImagePtr& image, ULong32 channel = 0) {
    return static_cast<ULong32*>(image->GetMemoryPointer(channel));
}

Long32 Pitch(const ImagePtr& image, ULong32 channel = 0) {
    return static_cast<Long32>(image->GetPitch(channel));
}

class Gallery {
public:
    Gallery(const std::string& a, const std::string& b, std::string newFolder)
        : folder(std::move(newFolder)) {
        for (const auto& [path, picture] : {std::pair(&a, &rgbA), {&b, &rgbB}}) {
            tool::Reader reader(*path);
            format.width = reader.Width();
            format.height = reader.Height();
            *picture = Load(reader);
        }
        key = New(kFmtAlpha8);
        DrawKey(48);
        oval = New(kFmtAlpha8);
        DrawMask(*oval, 3, 0.5F);
    }

    void Compositing() {
        Show("compositor", "Fill", [&](ImageView& out) {
            Copy(rgbA, out);
            const Rectangle part(Side(0.25), Side(0.1), Side(0.75), Side(0.4));
            ImageView region(out.GetImage(), part, kFrame);
            Check(compositor.Fill(region, 0xFF2060C0, 0xFFFFFFFF, kBestAvailable));
        });
        Show("compositor", "Fill under a mask", [&](ImageView& out) {
            Copy(rgbA, out);
            Check(compositor.Fill(out, 0xFF0000FF, 0x000000FF, kBestAvailable));
        });
        Show("compositor", "ReadTwoSourcesWriteDst", [&](ImageView& out) {
            ImageView a = Whole(*rgbA), b = Whole(*rgbB);
            Check(compositor.ReadTwoSourcesWriteDst(a, b, out, kBestAvailable));
        });
        Show("compositor", "CrossDissolve", [&](ImageView& out) {
            ImageView a = Whole(*rgbA), b = Whole(*rgbB);
            Check(compositor.CrossDissolve(a, b, out, kHalfWay, kBestAvailable));
        });
        Show("compositor", "CompositeTwoSources", [&](ImageView& out) {
            const ImagePtr front = WithAlpha(rgbB);
            ImageView a = Whole(*rgbA), b = Whole(*front);
            Check(compositor.CompositeTwoSources(a, b, out, kBestAvailable));
        });
        Show("compositor", "CompositeTwoSrcAndAlpha", [&](ImageView& out) {
            ImageView a = Whole(*rgbA), b = Whole(*rgbB), alpha = Whole(*oval);
            Check(compositor.CompositeTwoSrcAndAlpha(a, b, alpha, out, kBestAvailable));
        });
        Show("compositor", "CompositeUnshapedAoverBwithFadeOfA", [&](ImageView& out) {
            const ImagePtr front = WithAlpha(rgbB);
            ImageView a = Whole(*front), b = Whole(*rgbA);
            out.GetImage()->SetPixelShaping(kShaped);
            Check(compositor.CompositeUnshapedAoverBwithFadeOfA(a, b, out, 0.7, kBestAvailable));
            out.GetImage()->SetPixelShaping(kUnshaped);
        });
        Show("compositor", "AoverB", [&](ImageView& out) { AoverB(out); });
        Show("compositor", "CompositeTwoSrcAndAlphaGradient", [&](ImageView& out) {
            ImageView a = Whole(*rgbA), b = Whole(*rgbB), map = Whole(*key);
            Check(compositor.CompositeTwoSrcAndAlphaGradient(a, b, map, out, kHalfWay, 24, kBestAvailable));
        });
        Show("compositor", "CompositeTwoSrcAndAlphaGradientWithBorder", [&](ImageView& out) {
            ImageView a = Whole(*rgbA), b = Whole(*rgbB), map = Whole(*key);
            Check(compositor.CompositeTwoSrcAndAlphaGradientWithBorder(a, b, map, out, kHalfWay, 4, 20, 12,
                                                                       0xFFFFC000, kBestAvailable));
        });
    }

    void PlainMemory() {
        const ULong32 w = format.width, h = format.height;
        Show("compositor, plain memory", "CompositeTwoSrcCSCAndAlphaGradient", [&](ImageView& out) {
            const ImagePtr a = Converted(rgbA, kFmtCbYCrY), b = Converted(rgbB, kFmtCbYCrY);
            Check(compositor.CompositeTwoSrcCSCAndAlphaGradient(
                Words(a), Words(b), Words(key), static_cast<ULong32*>(out.GetMemoryPointer(0)), w, h,
                Pitch(a), Pitch(b), Pitch(key), out.GetPitch(0), kHalfWay, 0.1, kInt_MMXorSIMD));
        });
        Show("compositor, plain memory", "SumOfAbsDiffs", [&](ImageView& out) {
            const ImagePtr sums = New(kFmtAlpha8);
            Check(compositor.SumOfAbsDiffs(Words(rgbA), Words(rgbB), Line(*sums, 0), w, h, Pitch(rgbA),
                                           Pitch(rgbB), Pitch(sums), kFP));
            Spread(*sums, out);
        });
        Show("compositor, plain memory", "XSubPixelPosition", [&](ImageView& out) {
            Check(compositor.XSubPixelPosition(Words(rgbA), static_cast<ULong32*>(out.GetMemoryPointer(0)), w,
                                               h, Pitch(rgbA), out.GetPitch(0), kHalfWay, kFP));
        });
    }

    void Conversions() {
        for (const auto& [samples, name] : {std::pair(kFmtCbYCrY, "to packed 4:2:2 and back"),
                                            {kFmtPlanar420, "to planar 4:2:0 and back"},
                                            {kFmtPlanar411, "to planar 4:1:1 and back"},
                                            {kFmtCbYCrYMono, "to monochrome and back"}}) {
            Show("converter", name, [&, wanted = samples](ImageView& out) {
                const ImagePtr between = Converted(rgbA, wanted);
                ImageView from = Whole(*between);
                Check(converter.Do(from, out, kBestAvailable, nullptr, nullptr));
            });
        }
        Show("converter", "Shape", [&](ImageView& out) {
            const ImagePtr picture = WithAlpha(rgbA);
            ImageView view = Whole(*picture);
            Check(converter.Shape(view, kBestAvailable));
            Copy(picture, out);
        });
        Show("converter", "Unshape", [&](ImageView& out) {
            const ImagePtr picture = WithAlpha(rgbA);
            ImageView view = Whole(*picture);
            Check(converter.Shape(view, kBestAvailable));
            Check(converter.Unshape(view, kBestAvailable));
            Copy(picture, out);
        });
    }

    void Masks() {
        const char* const names[] = {"half plane", "rectangle", "ellipse"};
        for (ULong32 shape = 1; shape <= 3; ++shape) {
            Show("masks", names[shape - 1], [&](ImageView& out) {
                const ImagePtr mask = New(kFmtAlpha8);
                std::memset(Line(*mask, 0), 0, mask->GetMemorySize(0));
                DrawMask(*mask, shape, 0.3F);
                Spread(*mask, out);
            });
        }
    }

    /// Tone and colour, each beside the untouched picture.
    void Tone() {
        Beside("LookUpTable, the curve of video", [&](ImageView& out) {
            LookUpTable table(3);
            table.SetLUTtoGammaCorrect(1, kGammaVideoEncode, 0, 1);
            On422(table, out);
        });
        Beside("LookUpTable, component and alpha", [&](ImageView& out) { ByAlpha(out); });
        Beside("InvertLUT", [&](ImageView& out) {
            InvertLUT table;
            On422(table, out);
        });
        Beside("Posterize", [&](ImageView& out) {
            Posterize posterize;
            posterize.SetLevels(6);
            On422(posterize, out);
        });
        Beside("PosterizeLUT, luma alone", [&](ImageView& out) {
            PosterizeLUT table;
            table.SetLevels(PosterizeLUT::kChannelY, 4);
            On422(table, out);
        });
        Beside("CubeLUT", [&](ImageView& out) {
            // Red where there was green, darker blue.
            CubeLUT cube = CubeOf(
                "LUT_3D_SIZE 2\n0 0 0\n0 1 0\n1 0 0\n1 1 0\n"
                "0 0 .6\n0 1 .6\n1 0 .6\n1 1 .6\n");
            ImageView source = Whole(*rgbA);
            Check(cube.Do(source, out, kBestAvailable));
        });
        Beside("LookUpTable3D, plain memory", [&](ImageView& out) {
            const CubeLUT cube = CubeOf("LUT_1D_SIZE 2\n1 1 1\n0 0 0\n");
            const LookUpTable3D& table = cube;
            Check(table.Do(Words(rgbA), static_cast<ULong32*>(out.GetMemoryPointer(0)), format.width,
                           format.height, rgbA->GetPitch(0), out.GetImage()->GetPitch(0), 0));
        });
        Measured("Histogram", false);
        Measured("Histogram, one of green for each column", true);
        Beside("ColorAdjustment, contrast", [&](ImageView& out) {
            ColorAdjustment adjustment;
            adjustment.SetContrast(1.5);
            adjustment.SetBrightness(-0.15);
            Adjusted(adjustment, out);
        });
        Beside("ColorAdjustment, hue and saturation", [&](ImageView& out) {
            ColorAdjustment adjustment;
            adjustment.SetHue(60);
            adjustment.SetSaturation(0.7);
            Adjusted(adjustment, out);
        });
        Beside("BaseColorCorrection, luma levels", [&](ImageView& out) {
            BaseCC::tagBASECOLORCORRINFO record;
            record.lumaLow = 40;
            record.lumaMid = 40;
            Corrected(record, out);
        });
        Beside("BaseColorCorrection, hue and saturation", [&](ImageView& out) {
            BaseCC::tagBASECOLORCORRINFO record;
            record.hue = -64;
            record.saturation = 60;
            Corrected(record, out);
        });
        Beside("BaseColorCorrection, levels of red and blue", [&](ImageView& out) {
            BaseCC::tagBASECOLORCORRINFO record;
            record.redLow = 60;
            record.blueHigh = -120;
            Corrected(record, out);
        });
        Beside("BaseColorCorrection, limits of chroma", [&](ImageView& out) {
            BaseCC::tagBASECOLORCORRINFO record;
            record.saturation = -30;
            record.flags = 6;
            Corrected(record, out);
        });
    }

    void Keys() {
        const auto show = [this](const char* operation, double acceptance, bool showsKey) {
            Show("key", operation, [&](ImageView& out) {
                const ImagePtr front = Converted(rgbA, kFmtCbYCrA), back = Converted(rgbB, kFmtCbYCrA),
                               made = New(kFmtCbYCrA);
                ChromaKeyerYUV keyer;
                keyer.SetHueAngle(236);  // green
                keyer.SetAcceptanceAngle(acceptance);
                keyer.SetSpillSuppressionAngle(236);
                keyer.SetKeyGain(3);
                keyer.SetInvertKeyAfterPostProcessing(true);
                keyer.SetSplitScreenHeight(showsKey ? format.height / 2 : 0xFFFFFFFF, true);
                ImageView a = Whole(*front), b = Whole(*back), mixed = Whole(*made);
                Check(keyer.Do(a, &b, mixed, nullptr, kBestAvailable));
                Check(converter.Do(mixed, out, kBestAvailable, nullptr, nullptr));
            });
        };
        show("ChromaKeyerYUV, green becomes the second picture", 90, false);
        show("ChromaKeyerYUV, the key below a split", 90, true);
        Show("key", "LumaKeyer", [&](ImageView& out) {
            const ImagePtr source = Converted(rgbB, kFmtCbYCrY), made = New(kFmtAlpha8);
            LumaKeyer keyer;
            Check(keyer.Set(0.5, 0.1, 0.3, 1, 0, false));
            ImageView from = Whole(*source), to = Whole(*made);
            Check(keyer.Do(from, to, kBestAvailable));
            Spread(*made, out);
        });
        Show("key", "LinearKeyer", [&](ImageView& out) {
            const ImagePtr source = Converted(WithAlpha(rgbA), kFmtCbYCrY4), made = New(kFmtAlpha8);
            LinearKeyer keyer;
            Check(keyer.Set(0.5, 0.05, 0.2, 1, 0, false));
            ImageView from = Whole(*source), to = Whole(*made);
            Check(keyer.Do(from, to, kBestAvailable));
            Spread(*made, out);
        });
        Show("key", "GenerateCrCbGradient", [&](ImageView& out) {
            const ImagePtr plane = New(kFmtCbYCrA);
            ImageView whole = Whole(*plane);
            Check(GenerateCrCbGradient(whole));
            Check(converter.Do(whole, out, kBestAvailable, nullptr, nullptr));
        });
    }

    void Overlays() {
        Show("overlay", "Mixup::Do", [&](ImageView& out) {
            const ImagePtr front = WithAlpha(rgbB);
            ImageView a = Whole(*front), b = Whole(*rgbA);
            Check(mixup.Do(a, b, out, kBestAvailable));
        });
        Show("overlay", "Mixup::DoAt", [&](ImageView& out) {
            const ImagePtr front = WithAlpha(rgbB);
            ImageView a = Whole(*front), b = Whole(*rgbA);
            Check(
                mixup.DoAt(a, b, out, 0.2 * format.width + 0.5, -0.25 * format.height, true, kBestAvailable));
        });
        Show("overlay", "Mixup::Center", [&](ImageView& out) {
            const Rectangle part(Side(0.2), Side(0.2), Side(0.8), Side(0.8));
            ImageView source(rgbA.get(), part, kFrame);
            Check(mixup.Center(source, out, kBestAvailable));
            ForOpaque(out);
        });
        Crossing();
    }

    void Filters() {
        Show("filter", "DeepDefocus, 15 x 15", [&](ImageView& out) {
            ImageView from = Whole(*rgbA);
            Check(DeepDefocus().Do(from, out, 15, 15, 0, format.width, 0, format.height, kBestAvailable));
        });
        const ImagePtr clean = Converted(rgbA, kFmtCbYCrY), noisy = New(kFmtCbYCrY), made = New(kFmtCbYCrY);
        const ULong32 w = format.width, h = format.height, pitch = clean->GetPitch(0);
        Check(NoiseSource().AddGaussian(Words(clean), Words(noisy), w / 2, h, pitch, pitch, 225, 0));
        const auto show = [&](const char* operation, const ImagePtr& picture) {
            Show("filter", operation, [&](ImageView& out) {
                ImageView from = Whole(*picture);
                Check(converter.Do(from, out, kBestAvailable, nullptr, nullptr));
            });
        };
        show("NoiseSource::AddGaussian, a deviation of 15", noisy);
        NoiseReduction reduction;
        float levels[] = {12, 12, 12};
        reduction.SetBaseNoiseLevel(levels);
        ULong32* frames[] = {Words(noisy)};
        Check(reduction.DoFilterSSF(frames, Words(made), w, h, pitch, pitch, nullptr, 5, 5, 1,
                                    static_cast<NoiseReduction::AlphaControlEnum>(3), false, 1, 2, 3));
        show("NoiseReduction::DoFilterSSF of it, 5 x 5", made);
    }

private:
    /// A disc that crosses by an eighth of a pixel a frame: one line of each of forty frames below the other,
    /// in the upper half by whole pixels, in the lower one between them.
    void Crossing() {
        constexpr unsigned kColumns = 40, kFrames = 40, kZoom = 12, kRows = 4, kGap = 8, kLogo = 20;
        tool::PictureFormat small;
        small.samples = kFmtRGB32;
        small.width = kColumns;
        small.height = kLogo;
        const ImagePtr back = tool::NewPicture(small), made = tool::NewPicture(small);
        small.width = kLogo;
        const ImagePtr disc = tool::NewPicture(small);
        const auto paint = [](Image& image, const std::function<ULong32(unsigned, unsigned)>& word) {
            for (unsigned y = 0; y < image.GetHeight(); ++y) {
                for (unsigned x = 0; x < image.GetWidth(); ++x) {
                    const ULong32 pixel = word(x, y);
                    std::memcpy(Line(image, y) + std::size_t{4} * x, &pixel, sizeof pixel);
                }
            }
        };
        paint(*back, [](unsigned, unsigned) { return 0xFF303848U; });
        paint(*disc, [](unsigned x, unsigned y) {
            const double dx = x - (kLogo - 1) / 2.0, dy = y - (kLogo - 1) / 2.0;
            const double covered = std::clamp(7.5 - std::sqrt(dx * dx + dy * dy), 0.0, 1.0);
            return static_cast<ULong32>(covered * 255 + 0.5) << 24 | 0xFFC040U;
        });
        tool::Raster drawn(kColumns * kZoom, 2 * kFrames * kRows + kGap);
        for (unsigned i = 0; i < 2 * kFrames; ++i) {
            const bool isBetween = i >= kFrames;
            ImageView a = Whole(*disc), b = Whole(*back), out = Whole(*made);
            Check(mixup.DoAt(a, b, out, (i % kFrames) / 8.0 - 2.5, 0, isBetween, kBestAvailable));
            const std::uint8_t* line = Line(*made, kLogo / 2);
            for (unsigned y = i * kRows; y < (i + 1) * kRows; ++y) {
                for (unsigned x = 0; x < kColumns * kZoom; ++x) {
                    for (unsigned c = 0; c < 3; ++c) {
                        drawn.At(x, y + (isBetween ? kGap : 0))[c] = line[4 * (x / kZoom) + 2 - c];
                    }
                }
            }
        }
        Write("overlay", "Mixup::DoAt, an eighth of a pixel a frame", drawn);
    }

    /// Alpha of a picture that is shown as it is.
    void ForOpaque(ImageView& view) const {
        for (unsigned y = 0; y < format.height; ++y) {
            for (unsigned x = 0; x < format.width; ++x) {
                Line(*view.GetImage(), y)[4 * x + 3] = 255;
            }
        }
    }

    static CubeLUT CubeOf(std::string_view text) {
        CubeLUT cube;
        ULong32 line = 0;
        Check(cube.Read(text.data(), text.size(), line));
        return cube;
    }

    /// An operation from 4:2:2 to 4:2:2 on the first picture.
    template <class Operation>
    void On422(Operation& operation, ImageView& out) {
        const ImagePtr before = Converted(rgbA, kFmtCbYCrY), after = New(kFmtCbYCrY);
        ImageView from = Whole(*before), to = Whole(*after);
        Check(operation.Do(from, to, kBestAvailable));
        Check(converter.Do(to, out, kBestAvailable, nullptr, nullptr));
    }

    void Corrected(const BaseCC::tagBASECOLORCORRINFO& record, ImageView& out) {
        struct {
            const BaseCC::tagBASECOLORCORRINFO& record;
            Long32 Do(ImageView& from, ImageView& to, ProcessingStyleEnum style) const {
                return BaseCC::BaseColorCorrection().Do(from, to, record, style);
            }
        } correction{record};
        On422(correction, out);
    }

    void Adjusted(ColorAdjustment& adjustment, ImageView& out) {
        ImageView source = Whole(*rgbA);
        Check(adjustment.Do(source, out, kInt_MMXorSIMD));
    }

    /// Luma by its alpha: dark outside of the oval.
    void ByAlpha(ImageView& out) {
        constexpr ULong32 kSteps = 256;
        LookUpTable table(3, kSteps * kSteps, 8);
        for (ULong32 sample = 0; sample < kSteps; ++sample) {
            for (ULong32 alpha = 0; alpha < kSteps; ++alpha) {
                const ULong32 entry = sample * kSteps + alpha;
                table.SetLUT(0, entry, sample);
                table.SetLUT(1, entry, sample < 16 ? sample : 16 + (sample - 16) * (alpha + 85) / 340);
                table.SetLUT(2, entry, sample);
            }
        }
        const ImagePtr before = Converted(WithAlpha(rgbA), kFmtCbYCrY4), after = New(kFmtCbYCrY4);
        Check(table.Do_ButUseComponentAndAlphaYCrCb4224(
            Words(before), Line(*before, 0, tool::kAlphaChannel), Words(after),
            Line(*after, 0, tool::kAlphaChannel), format.width, format.height, Pitch(before),
            Pitch(before, tool::kAlphaChannel), Pitch(after), Pitch(after, tool::kAlphaChannel)));
        ImageView from = Whole(*after);
        Check(converter.Do(from, out, kBestAvailable, nullptr, nullptr));
    }

    /// The counts of the second picture beside it, drawn as the program draws them.
    void Measured(const char* operation, bool byColumn) {
        std::vector<tool::Trace> traces = {
            {"R", {255, 96, 96}}, {"G", {96, 255, 96}}, {"B", {112, 144, 255}}};
        const auto width = static_cast<Long32>(format.width), height = static_cast<Long32>(format.height);
        Histogram histogram(3);
        for (Long32 left = 0; left < width; left += byColumn ? 1 : width) {
            ImageView view(rgbB.get(), {left, 0, byColumn ? 1 : width, height}, kFrame);
            histogram.Clear();
            Check(histogram.Do(view, kBestAvailable));
            for (ULong32 i = 0; i < 3; ++i) {
                tool::Counts& counts = traces[i].columns.emplace_back();
                for (ULong32 level = 0; level < counts.size(); ++level) {
                    counts[level] = histogram.Get(2 - i, level);
                }
            }
        }
        tool::Raster drawn = byColumn ? tool::DrawWaveforms({traces[1]}) : tool::DrawHistograms(traces);
        const double fits = std::min(1.0, std::min(static_cast<double>(format.width) / drawn.width,
                                                   static_cast<double>(format.height) / drawn.height));
        drawn = tool::ShrinkToWidth(drawn, static_cast<unsigned>(drawn.width * fits));
        tool::Raster both(2 * format.width, format.height);
        tool::Place(both, RasterOf(*rgbB), 0, 0);
        tool::Place(both, drawn, format.width + (format.width - drawn.width) / 2,
                    (format.height - std::min(drawn.height, format.height)) / 2);
        Write("tone", operation, both);
    }

    void Beside(const char* operation, const std::function<void(ImageView&)>& make) {
        const ImagePtr made = New(kFmtRGB32);
        ImageView out = Whole(*made);
        make(out);
        tool::Raster both(2 * format.width, format.height);
        tool::Place(both, RasterOf(*rgbA), 0, 0);
        tool::Place(both, RasterOf(*made), format.width, 0);
        Write("tone", operation, both);
    }

    ImagePtr New(ConverterFormat samples) const {
        tool::PictureFormat wanted = format;
        wanted.samples = samples;
        return tool::NewPicture(wanted);
    }

    ImagePtr Load(tool::Reader& reader) const {
        tool::PictureFormat wanted = format;
        wanted.samples = kFmtRGB32;
        reader.SetTarget(wanted, reader.Aspect());
        const tool::SharedPicture picture = reader.PictureAt(0, 0);
        ImagePtr own = New(kFmtRGB32);
        for (unsigned y = 0; y < format.height; ++y) {
            std::memcpy(Line(*own, y), Line(*picture, y), std::size_t{format.width} * 4);
        }
        return own;
    }

    Long32 Side(double part) const {
        return static_cast<Long32>(part * (format.width < format.height ? format.width : format.height));
    }

    void Copy(const ImagePtr& from, ImageView& to) const {
        for (unsigned y = 0; y < format.height; ++y) {
            std::memcpy(Line(*to.GetImage(), y), Line(*from, y), std::size_t{format.width} * 4);
        }
    }

    /// Grey to opaque RGB.
    void Spread(const Image& grey, ImageView& to) const {
        for (unsigned y = 0; y < format.height; ++y) {
            std::uint8_t* out = Line(*to.GetImage(), y);
            for (unsigned x = 0; x < format.width; ++x) {
                std::memset(out + 4 * x, Line(grey, y)[x], 3);
                out[4 * x + 3] = 255;
            }
        }
    }

    ImagePtr WithAlpha(const ImagePtr& picture) const {
        ImagePtr made = New(kFmtRGB32);
        for (unsigned y = 0; y < format.height; ++y) {
            std::memcpy(Line(*made, y), Line(*picture, y), std::size_t{format.width} * 4);
            for (unsigned x = 0; x < format.width; ++x) {
                Line(*made, y)[4 * x + 3] = Line(*oval, y)[x];
            }
        }
        return made;
    }

    ImagePtr Converted(const ImagePtr& picture, ConverterFormat samples) {
        ImagePtr made = New(samples);
        ImageView from = Whole(*picture), to = Whole(*made);
        Check(converter.Do(from, to, kBestAvailable, nullptr, nullptr));
        return made;
    }

    void DrawKey(ULong32 pattern) {
        GradientGenerator::WgrGradientData map = {sizeof map, format.width,  format.height, Pitch(key), 8, 8,
                                                  255,        Line(*key, 0), 16 / 9.0F,     0.25F,      0};
        Check(GradientGenerator::WgrGenerateGradient(&map, pattern));
    }

    void DrawMask(Image& mask, ULong32 shape, float softness) const {
        std::memset(Line(mask, 0), 0, mask.GetMemorySize(0));
        const auto w = static_cast<float>(format.width), h = static_cast<float>(format.height);
        GradientGenerator::WgrMaskData data = {};
        data.structSize = sizeof data;
        data.width = format.width;
        data.height = format.height;
        data.pitch = static_cast<Long32>(mask.GetPitch(0));
        data.bitsPerSample = data.significantBits = 8;
        data.peakValue = 255;
        data.pixels = Line(mask, 0);
        data.aspectRatio = 1;
        data.x0 = w / 5;
        data.y0 = h / 8;
        data.x1 = w - data.x0;
        data.y1 = h - data.y0;
        data.softnessX = data.softnessY = softness;
        Check(GradientGenerator::WgrGenerateMask(&data, shape));
    }

    /// Its result counts from 0, and takes alpha of the first line.
    void AoverB(ImageView& out) {
        const ImagePtr a = New(kFmtCbYCrY4), b = New(kFmtCbYCrY4Shaped), mixed = New(kFmtCbYCrY4Shaped);
        ImageView from = Whole(*rgbB), to = Whole(*a);
        Check(converter.Do(from, to, kBestAvailable, nullptr, nullptr));
        const ImagePtr behind = Converted(rgbA, kFmtCbYCrY);
        for (unsigned y = 0; y < format.height; ++y) {
            std::memcpy(Line(*b, y), Line(*behind, y), std::size_t{format.width} * 2);
            std::memset(Line(*b, y, tool::kAlphaChannel), 255, format.width);
            for (unsigned x = 0; x < format.width; ++x) {
                Line(*a, y, tool::kAlphaChannel)[x] = static_cast<std::uint8_t>(255 * x / (format.width - 1));
            }
        }
        b->SetPixelShaping(kShaped2);
        mixed->SetPixelShaping(kShaped2);
        ImageView viewA = Whole(*a), viewB = Whole(*b), viewMixed = Whole(*mixed);
        Check(compositor.AoverB(viewA, viewB, viewMixed, kBestAvailable));
        for (unsigned y = 0; y < format.height; ++y) {
            for (unsigned i = 0; i < 2 * format.width; ++i) {
                std::uint8_t& sample = Line(*behind, y)[i];
                sample = static_cast<std::uint8_t>(Line(*mixed, y)[i] + (i % 2 == 0 ? 128 : 16));
            }
        }
        ImageView shown = Whole(*behind);
        Check(converter.Do(shown, out, kBestAvailable, nullptr, nullptr));
    }

    void Show(const char* family, const char* operation, const std::function<void(ImageView&)>& make) {
        const ImagePtr made = New(kFmtRGB32);
        ImageView out = Whole(*made);
        std::memset(Line(*made, 0), 0, made->GetMemorySize(0));
        make(out);
        Write(family, operation, RasterOf(*made));
    }

    tool::Raster RasterOf(const Image& rgb) const {
        tool::Raster raster(format.width, format.height);
        for (unsigned y = 0; y < format.height; ++y) {
            for (unsigned x = 0; x < format.width; ++x) {
                for (int i = 0; i < 3; ++i) {
                    raster.At(x, y)[i] = Line(rgb, y)[4 * x + 2 - static_cast<unsigned>(i)];
                }
            }
        }
        return raster;
    }

    void Write(const char* family, const char* operation, const tool::Raster& raster) {
        const std::string name = "operation-" + std::to_string(++count) + ".png";
        tool::OutputFile file(folder + "/" + name);
        tool::WritePng(file, raster);
        std::printf("%s\t%s\t%s\n", name.c_str(), family, operation);
    }

    std::string folder;
    tool::PictureFormat format;
    ImagePtr rgbA, rgbB, key, oval;
    ZanCompositor compositor;
    ColorSpaceConverter converter;
    MixupPosition::Mixup mixup;
    int count = 0;
};

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4) {
        std::fprintf(stderr, "usage: gallery_operations A B FOLDER\n");
        return 2;
    }
    try {
        Gallery gallery(argv[1], argv[2], argv[3]);
        gallery.Compositing();
        gallery.PlainMemory();
        gallery.Conversions();
        gallery.Tone();
        gallery.Masks();
        gallery.Keys();
        gallery.Overlays();
        gallery.Filters();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "gallery_operations: %s\n", error.what());
        return 1;
    }
    return 0;
}
