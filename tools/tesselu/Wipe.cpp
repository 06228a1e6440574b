#include "Wipe.h"

#include <TesselU/composite/ZanCompositor.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>

#include "Errors.h"
#include "Interrupt.h"
#include "OutputFile.h"
#include "Patterns.h"
#include "ProgressBar.h"
#include "Stopwatch.h"
#include "media/ContactSheet.h"
#include "media/FieldSampling.h"
#include "media/Reader.h"
#include "media/Writer.h"

namespace tool {

Wiper::Wiper(const PictureFormat& format, unsigned pattern, double newSoftness,
             Zan::ProcessingStyleEnum newStyle)
    : key(NewKey(format)), softness(newSoftness), style(newStyle) {
    RequireDrawn(pattern);
    DrawPattern(*key, pattern, format.Aspect());
}

void Wiper::Wipe(Zan::Image& from, Zan::Image& to, Zan::Image& destination, Zan::WhichFieldEnum field,
                 double moment) {
    // Position 1 gives the first source whole, position 0 leaves a trace of it where the key is 0. So the end
    // of the wipe is asked for from the other side.
    const bool atEnd = moment >= 1;
    Zan::ImageView first = Whole(atEnd ? to : from, field);
    Zan::ImageView second = Whole(atEnd ? from : to, field);
    Zan::ImageView keyView = Whole(*key, field);
    Zan::ImageView out = Whole(destination, field);
    Zan::ZanCompositor compositor;
    Zan::Long32 status = Zan::kStatusOk;
    {
        const Stopwatch running(seconds);
        status = compositor.CompositeTwoSrcAndAlphaGradient(first, second, keyView, out,
                                                            atEnd ? 1 : 1 - moment, softness, style);
    }
    if (status != Zan::kStatusOk)
        throw Failure("wipe: the library returned status " + std::to_string(status));
}

namespace {

constexpr long kPicturesOfTwoStills = 50;

/// A side of the picture as 4:2:2 and fields need it.
unsigned Even(unsigned side) {
    return std::max(side & ~1U, 2U);
}

PictureFormat FormatOf(const WipeOptions& options, const Reader& a, const Reader& b) {
    const Reader& leader = a.IsStill() ? b : a;
    PictureFormat format;
    format.width = options.size ? options.size->width : Even(a.Width());
    format.height = options.size ? options.size->height : Even(a.Height());
    format.scan = options.scan.value_or(leader.Scan());
    format.weights = leader.IsStill() ? LumaWeights::kBt601 : leader.Weights();
    format.rate = leader.IsStill() ? AVRational{25, 1}
                                   : FieldSampling(leader.Scan(), false, format.scan).Rate(leader.Rate());
    if (options.size) {
        const double aspect = a.Aspect() * format.height / format.width;
        format.pixelAspect = std::abs(aspect - 1) < 0.01 ? AVRational{1, 1} : av_d2q(aspect, 255);
    } else
        format.pixelAspect = a.PixelAspect();
    return format;
}

long PicturesOf(const WipeOptions& options, const Reader& a, const FieldSampling& samplingA, const Reader& b,
                const FieldSampling& samplingB) {
    if (options.frames)
        return *options.frames;
    if (a.IsStill() && b.IsStill())
        return kPicturesOfTwoStills;
    long pictures = std::numeric_limits<long>::max();
    if (!a.IsStill())
        pictures = std::min(pictures, samplingA.Pictures(a.CountFrames()));
    if (!b.IsStill())
        pictures = std::min(pictures, samplingB.Pictures(b.CountFrames()));
    return pictures;
}

void PrintSummary(const PictureFormat& format, long pictures, double wipe, double conversion) {
    const char* scan = format.IsInterlaced() ? "i" : "p";
    const double rate = av_q2d(format.rate);
    const double whole = wipe + conversion;
    std::printf("%ld frames of %ux%u%s at %.4g a second\n", pictures, format.width, format.height, scan,
                rate);
    std::printf("library: %.3f ms of processor time a frame (wipe %.3f",
                whole * 1e3 / static_cast<double>(pictures), wipe * 1e3 / static_cast<double>(pictures));
    if (conversion > 0)
        std::printf(", conversion to RGB %.3f", conversion * 1e3 / static_cast<double>(pictures));
    std::printf("), %.0f times real time\n", static_cast<double>(pictures) / rate / whole);
}

void RefuseOverwriting(const WipeOptions& options) {
    RefuseSameFile("-o", options.output, options.fileA);
    RefuseSameFile("-o", options.output, options.fileB);
    if (options.sheet.empty())
        return;
    RefuseSameFile("--sheet", options.sheet, options.fileA);
    RefuseSameFile("--sheet", options.sheet, options.fileB);
    RefuseSameFile("--sheet", options.sheet, options.output);
}

}  // namespace

void RunWipe(const WipeOptions& options) {
    CheckOutputName(options.output);
    RequireDrawn(options.pattern);
    RefuseOverwriting(options);

    Reader a(options.fileA);
    Reader b(options.fileB);
    const PictureFormat format = FormatOf(options, a, b);
    const FieldSampling samplingA(a.Scan(), a.IsStill(), format.scan);
    const FieldSampling samplingB(b.Scan(), b.IsStill(), format.scan);
    const long pictures = PicturesOf(options, a, samplingA, b, samplingB);
    a.SetTarget(format, a.Aspect());
    b.SetTarget(format, a.Aspect());

    Wiper wiper(format, options.pattern, options.softness, options.style);
    const std::unique_ptr<Writer> writer = OpenWriter(options.output, format);
    std::optional<ContactSheet> sheet;
    if (!options.sheet.empty())
        sheet.emplace(options.sheet, format, pictures);

    const ImagePtr mixed = NewPicture(format);
    const int fields = format.IsInterlaced() ? 2 : 1;
    const long moments = pictures * fields;
    ProgressBar progress("wiping", pictures);
    for (long picture = 0; picture < pictures; ++picture) {
        for (int field = 0; field < fields; ++field) {
            StopIfInterrupted();
            const Zan::WhichFieldEnum which = fields == 1  ? Zan::kFrame
                                              : field == 0 ? Zan::kFirstField
                                                           : Zan::kSecondField;
            const double moment =
                moments > 1 ? static_cast<double>(picture * fields + field) / static_cast<double>(moments - 1)
                            : 0.5;
            wiper.Wipe(a.FrameAt(samplingA.FrameOf(picture, field)),
                       b.FrameAt(samplingB.FrameOf(picture, field)), *mixed, which, moment);
        }
        writer->Write(*mixed);
        if (sheet)
            sheet->Look(*mixed);
        progress.Show(picture + 1);
    }
    StopIfInterrupted();
    if (sheet)
        sheet->Finish();
    writer->Finish();
    const double conversion = writer->LibrarySeconds();
    PrintSummary(format, pictures, wiper.Seconds(), conversion);
    if (sheet)
        std::printf(
            "sheet: %ld pictures converted to RGB, %.3f ms each\n", sheet->Conversion().Pictures(),
            sheet->Conversion().Seconds() * 1e3 / static_cast<double>(sheet->Conversion().Pictures()));
}

}  // namespace tool
