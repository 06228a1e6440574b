#include "media/RgbConversion.h"

#include <string>

#include "Errors.h"
#include "media/Planes.h"
#include "run/Stopwatch.h"

namespace tool {
namespace {

/// YCrCb at video levels to full RGB with the luma weights of ITU-R BT.709, in memory order (Cb, Y, Cr, A to
/// B, G, R, A). The library's own default is BT.601.
struct Bt709Matrix {
    static constexpr double kRed = 0.2126, kBlue = 0.0722, kGreen = 1 - kRed - kBlue;
    static constexpr double kLuma = 255.0 / 219, kChroma = 255.0 / 224;

    // clang-format off
    double values[16] = {
        kChroma * 2 * (1 - kBlue),                  kLuma, 0,                                        0,
        -kChroma * 2 * (1 - kBlue) * kBlue / kGreen, kLuma, -kChroma * 2 * (1 - kRed) * kRed / kGreen, 0,
        0,                                          kLuma, kChroma * 2 * (1 - kRed),                 0,
        0,                                          0,     0,                                        1};
    // clang-format on
};

}  // namespace

RgbConversion::RgbConversion(const PictureFormat& format)
    : colour(format), hasAlpha(format.hasAlpha), rgb(NewRgb(format.width, format.height)) {
    colour.hasAlpha = false;
}

const Zan::Image& RgbConversion::Convert(const Zan::Image& picture) {
    Bt709Matrix bt709;
    double* const matrix = colour.weights == LumaWeights::kBt709 ? bt709.values : nullptr;
    const ImagePtr opaque = WrapPicture(colour, Line(picture, 0), picture.GetPitch(0));
    Zan::ImageView source = Whole(*opaque);
    Zan::ImageView destination = Whole(*rgb);
    Zan::Long32 status = Zan::kStatusOk;
    {
        const Stopwatch running(seconds);
        status = converter.Do(source, destination, Zan::kBestAvailable, matrix, nullptr);
    }
    if (status != Zan::kStatusOk) {
        throw Failure("conversion to RGB: the library returned status " + std::to_string(status));
    }
    return *rgb;
}

bool RgbConversion::Serves(AVPixelFormat format) {
    const AVPixFmtDescriptor* about = av_pix_fmt_desc_get(format);
    constexpr std::uint64_t kOther = AV_PIX_FMT_FLAG_PLANAR | AV_PIX_FMT_FLAG_BITSTREAM |
                                     AV_PIX_FMT_FLAG_PAL | AV_PIX_FMT_FLAG_HWACCEL | AV_PIX_FMT_FLAG_BAYER |
                                     AV_PIX_FMT_FLAG_FLOAT;
    if (about == nullptr || (about->flags & AV_PIX_FMT_FLAG_RGB) == 0 || (about->flags & kOther) != 0) {
        return false;
    }
    for (int i = 0; i < about->nb_components; ++i) {
        if (about->comp[i].depth != 8 || about->comp[i].shift != 0) {
            return false;
        }
    }
    return true;
}

void RgbConversion::Fill(const Zan::Image& picture, AVFrame& samples) {
    Convert(picture);
    const AVPixFmtDescriptor& about = *av_pix_fmt_desc_get(static_cast<AVPixelFormat>(samples.format));
    const int step = about.comp[0].step;
    const int red = about.comp[0].offset, green = about.comp[1].offset, blue = about.comp[2].offset;
    // The byte that is left over: alpha, or nothing.
    const int fourth = 6 - red - green - blue;
    const bool keepsAlpha = (about.flags & AV_PIX_FMT_FLAG_ALPHA) != 0 && hasAlpha;
    const unsigned alphaStep = colour.hasFullChroma ? 4 : 1;
    for (unsigned y = 0; y < rgb->GetHeight(); ++y) {
        const std::uint8_t* bgra = Line(*rgb, y);
        const std::uint8_t* alpha = nullptr;
        if (keepsAlpha) {
            alpha = colour.hasFullChroma ? Line(picture, y) + 3 : Line(picture, y, kAlphaChannel);
        }
        std::uint8_t* out = samples.data[0] + std::ptrdiff_t{samples.linesize[0]} * y;
        for (unsigned x = 0; x < rgb->GetWidth(); ++x, bgra += 4, out += step) {
            const int opacity = keepsAlpha ? alpha[x * alphaStep] : 255;
            out[red] = Unshaped(bgra[2], 0, opacity);
            out[green] = Unshaped(bgra[1], 0, opacity);
            out[blue] = Unshaped(bgra[0], 0, opacity);
            if (step == 4) {
                out[fourth] = static_cast<std::uint8_t>(opacity);
            }
        }
    }
}

namespace {

/// RGB of 24 bits, or of 32 with alpha, on black.
Raster OnBlack(const Zan::Image& picture) {
    const unsigned step = picture.GetChannelSampling() == Zan::k444 ? 3 : 4;
    Raster raster(picture.GetWidth(), picture.GetHeight());
    for (unsigned y = 0; y < raster.height; ++y) {
        const std::uint8_t* bgra = Line(picture, y);
        std::uint8_t* out = raster.At(0, y);
        for (unsigned x = 0; x < raster.width; ++x, bgra += step, out += 3) {
            const int alpha = step == 4 ? bgra[3] : 255;
            for (int i = 0; i < 3; ++i) {
                out[i] = static_cast<std::uint8_t>((bgra[2 - i] * alpha + 127) / 255);
            }
        }
    }
    return raster;
}

}  // namespace

Raster RgbConversion::ToRaster(const Zan::Image& picture) {
    if (picture.GetColorSpace() == Zan::kRGB) {
        return OnBlack(picture);
    }
    Convert(picture);
    Raster raster(rgb->GetWidth(), rgb->GetHeight());
    for (unsigned y = 0; y < raster.height; ++y) {
        const std::uint8_t* bgra = Line(*rgb, y);
        std::uint8_t* out = raster.At(0, y);
        for (unsigned x = 0; x < raster.width; ++x, bgra += 4, out += 3) {
            out[0] = bgra[2];
            out[1] = bgra[1];
            out[2] = bgra[0];
        }
    }
    return raster;
}

}  // namespace tool
