#ifndef TESSELU_TONE_COLORADJUSTMENT_H
#define TESSELU_TONE_COLORADJUSTMENT_H

#include <TesselU/foundation/CPUcapabilities.h>
#include <TesselU/foundation/ProcessingStyle.h>
#include <TesselU/foundation/Status.h>
#include <TesselU/foundation/Types.h>

namespace Zan {

class ImageView;

/// The processing amplifier: brightness, contrast, saturation, hue and a luma gamma, from one view to
/// another or in place.
///
/// The steps work on 8-bit samples of YCrCb with black at 16 and neutral chroma at 128. `trunc` goes toward
/// zero; every result is limited to 0...255, and to nothing narrower. With c and s the cosine and the sine
/// of the hue, u = Cb - 128 and v = Cr - 128, in this order:
///
/// 1. contrast, unless exactly 1: Y = trunc((Y - 16) * contrast + 16)
/// 2. brightness: Y = Y + trunc(brightness * 255)
/// 3. gamma, in 4:2:2 alone, unless exactly 1: Y = trunc(255 * (Y / 255)^gamma + 0.5)
/// 4. hue, unless c is exactly 1: Cb = trunc(u * c + v * s) + 128, Cr = trunc(v * c - u * s) + 128
/// 5. saturation, unless exactly 1: trunc((C - 128) * saturation + 128) for either C
///
/// so that a neutral setting changes nothing. Alpha is carried over. RGB goes through the default matrices
/// of `ConversionMatrix.h` in double precision, with truncation, in either direction and whatever the
/// settings: grey 128 comes out as 126, white as 254.
///
/// Operations keep nothing between calls and may run on several threads, unless a setting changes meanwhile.
class TESSELU_API ColorAdjustment {
public:
    /// Neutral settings.
    ColorAdjustment() noexcept = default;
    ColorAdjustment(const ColorAdjustment&) noexcept = default;
    ColorAdjustment& operator=(const ColorAdjustment&) noexcept = default;
    ~ColorAdjustment() = default;

    // Values beyond a range are limited to it. What is not a number leaves a setting as it was.

    /// What is added to luma, in units of full scale: -1 to 1.
    void SetBrightness(double value) noexcept;
    /// Gain of luma around black: 0 to 127.99609375.
    void SetContrast(double value) noexcept;
    /// Gain of chroma around neutral: 0 to 127.99609375.
    void SetSaturation(double value) noexcept;
    /// Turn of chroma in degrees: -180 to 180. Since a degree is taken as 0.017453292500000002, half a turn
    /// falls short of it by 3.6e-9, which truncation shows: it is no mirror.
    void SetHue(double degrees) noexcept;
    /// Exponent of the luma gamma: 0 or more. With 0 all luma becomes 255.
    void SetYgamma(double exponent) noexcept;

    /// Does nothing.
    void SetContrastCenter(double) noexcept {}
    /// Does nothing.
    void SetHueOffset(double, double) noexcept {}

    /// Names the kernels of processors without SSE2. Results are the same.
    void SetMMXonlyStyle(bool only) noexcept { mmxOnly = only; }

    /// Adjusts the picture of `source` into `destination`, over the smaller of the two widths and heights.
    ///
    /// `kFlp` takes both views as RGB `k4444` or `k444`, both as YCrCb `k422`, where an odd last pixel stays
    /// as it was, or `source` as YCrCb `k4444`, and then any packed `destination` of 8 bits a sample, which
    /// is written 4 bytes a pixel, as many whole pixels as its plane holds. Samples are taken in the
    /// component order of `source`.
    ///
    /// `kInt_MMXorSIMD` takes one of the formats `kFmtRGB32`, `kFmtCbYCrA`, `kFmtRGB24` and `kFmtYCbCrA`, the
    /// same on both sides. Where both styles take a format they give the same bytes.
    ///
    /// Returns 0, also where there is nothing to do; 2 for a view that is not packed, 1 for one without
    /// memory, `source` before `destination`; then 100 for a style other than these, `kFP` and `kFlp_SIMD`,
    /// which give 4; 2 (`kFlp`) or 4 for other formats, and for samples of more than 8 bits; 98 when a
    /// selection leaves its image.
    Long32 Do(ImageView& source, ImageView& destination, ProcessingStyleEnum style);

private:
    static CPUcapabilities& CPUinstructionSet;

    double brightness = 0;
    double contrast = 1;
    double saturation = 1;
    double hue = 0;
    double yGamma = 1;
    bool mmxOnly = false;
    double contrastStep = 1.0 / 256;
    double saturationStep = 1.0 / 256;

    /// The turn of `hue`, worked out when it is set: also in halves of 16 bits where kernels can take those.
    struct Turn {
        double cosine = 1;
        double sine = 0;
        short halves[3][2] = {};  ///< of the cosine, the sine, the negative sine
        bool hasHalves = false;
    };
    Turn turn;
    unsigned char gammaTable[256] = {};  ///< of `yGamma`, unless that is 1
};

}  // namespace Zan

#endif  // TESSELU_TONE_COLORADJUSTMENT_H
