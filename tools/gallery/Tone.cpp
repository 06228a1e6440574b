#include "Gallery.h"

#include <algorithm>
#include <string_view>
#include <vector>

#include "commands/ScopePicture.h"

namespace gallery {
namespace {

CubeLUT CubeOf(std::string_view text) {
    CubeLUT cube;
    ULong32 line = 0;
    Check(cube.Read(text.data(), text.size(), line));
    return cube;
}

}  // namespace

void Gallery::Tone() {
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

/// An operation from 4:2:2 to 4:2:2 on the first picture.
template <class Operation>
void Gallery::On422(Operation& operation, ImageView& out) {
    const ImagePtr before = Converted(rgbA, kFmtCbYCrY), after = New(kFmtCbYCrY);
    ImageView from = Whole(*before), to = Whole(*after);
    Check(operation.Do(from, to, kBestAvailable));
    Check(converter.Do(to, out, kBestAvailable, nullptr, nullptr));
}

void Gallery::Corrected(const BaseCC::tagBASECOLORCORRINFO& record, ImageView& out) {
    struct {
        const BaseCC::tagBASECOLORCORRINFO& record;
        Long32 Do(ImageView& from, ImageView& to, ProcessingStyleEnum style) const {
            return BaseCC::BaseColorCorrection().Do(from, to, record, style);
        }
    } correction{record};
    On422(correction, out);
}

void Gallery::Adjusted(ColorAdjustment& adjustment, ImageView& out) {
    ImageView source = Whole(*rgbA);
    Check(adjustment.Do(source, out, kInt_MMXorSIMD));
}

/// Luma by its alpha: dark outside of the oval.
void Gallery::ByAlpha(ImageView& out) {
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
void Gallery::Measured(const char* operation, bool byColumn) {
    std::vector<tool::Trace> traces = {{"R", {255, 96, 96}}, {"G", {96, 255, 96}}, {"B", {112, 144, 255}}};
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

}  // namespace gallery
