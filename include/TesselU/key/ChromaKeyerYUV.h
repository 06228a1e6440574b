#ifndef TESSELU_KEY_CHROMAKEYERYUV_H
#define TESSELU_KEY_CHROMAKEYERYUV_H

#include <TesselU/foundation/CPUcapabilities.h>
#include <TesselU/foundation/ProcessingStyle.h>
#include <TesselU/foundation/Status.h>
#include <TesselU/foundation/Types.h>

namespace Zan {

class ImageView;

/// The chroma keyer: makes a key of how close the chroma of a picture comes to that of a coloured backing,
/// takes the backing's colour out of the picture, and mixes it with a background.
///
/// **The key is high on the backing.** Where the key is high the result shows the foreground, where it is
/// low the background: with the settings of a new object, grey shows the background. To put a person in
/// front of a background the key is inverted afterwards (`SetInvertKeyAfterPostProcessing(true)`).
///
/// Chroma is a point of the plane of Cb and Cr, neutral at the origin; with b = (Cb - 128) / 128 and
/// r = (Cr - 128) / 128 an angle of 0 points along Cb, one of 90 degrees along Cr. With h the hue angle and
/// t = tan(90 degrees - acceptance / 2), limited to 0...100:
///
/// 1. x = b cos h + r sin h, z = r cos h - b sin h
/// 2. k = x - |z| t, limited to 0...1; 0 if x is below the saturation minimum
/// 3. p = k, or 1 - k if inverted before
/// 4. m = (p + offset) gain, limited to 0...1; 1 - m if inverted after
/// 5. spill: Cb' = Cb - 128 k gain' cos u and Cr' = Cr - 128 k gain' sin u, with the angle u and the gain of
///    the suppression. It follows k of step 2, whatever becomes of the key afterwards.
/// 6. result = background (1 - m) + (Cb', Y, Cr') m, or (Cb', Y, Cr') without a background; the key is 255 m
///
/// Results are rounded to the nearest code value, halves up, and limited to 0...255. A degree is taken as
/// 3.1415026535 / 180, so that a hue of 180 degrees is off the axis by 9e-5, which narrow wedges show.
///
/// Three forms serve the styles. *Float* is double precision in the order written above, its tangent a sine
/// over a cosine. The *SSE* form is single precision, with the saturation decided as in doubles: within one
/// code value of the former. *Fixed* is integers with 7 bits of fraction (cosines, gain) or 6 (suppression),
/// t limited to 0...1, and a saturation minimum on a scale on which full saturation is 0.498: it differs from
/// both for narrow wedges and wherever there is a minimum. All give the same bits on every processor.
///
/// Operations keep nothing between calls and may run on several threads, unless a setting changes meanwhile.
class TESSELU_API ChromaKeyerYUV {
public:
    /// The settings that are named below.
    ChromaKeyerYUV() noexcept;
    ChromaKeyerYUV(const ChromaKeyerYUV&) noexcept = default;
    ChromaKeyerYUV& operator=(const ChromaKeyerYUV&) noexcept = default;
    ~ChromaKeyerYUV() = default;

    // Values beyond a range are limited to it. What is not a number becomes the lower end.

    /// Direction of the backing's chroma in degrees: 0 to 360, at first 0. Blue of full saturation in
    /// ITU-R BT.601 lies at 351, green at 232.
    void SetHueAngle(double degrees) noexcept;
    /// Whole angle of the wedge around the hue in which chroma is keyed, in degrees: 1 to 179, at first 20.
    void SetAcceptanceAngle(double degrees) noexcept;
    /// Chroma along the hue below which nothing is keyed, in units of full scale: 0 to 1, at first 0.
    void SetSaturationMinimum(double minimum) noexcept;
    /// Direction of the chroma that is taken out, in degrees: 0 to 360, at first 20. It is absolute, not
    /// relative to the hue.
    void SetSpillSuppressionAngle(double degrees) noexcept;
    /// How much of it is taken out: 0 (none) to 256, at first 1.
    void SetSpillSuppressionGain(double gain) noexcept;
    /// What is added to the key, in units of full scale: -1 to 1, at first 0.
    void SetKeyOffset(double offset) noexcept;
    /// Gain of the key after the offset: 0 to 256, at first 1.
    void SetKeyGain(double gain) noexcept;
    /// Whether the key is inverted before offset and gain; at first it is not.
    void SetInvertKeyBeforePostProcessing(bool invert) noexcept { invertKeyBefore = invert; }
    /// Whether the key is inverted after offset and gain; at first it is not.
    void SetInvertKeyAfterPostProcessing(bool invert) noexcept { invertKeyAfter = invert; }
    /// Splits the screen: of the rows of the views the first `rows` are processed and the others show the
    /// key as a picture (`top` is true), or the first show the key and the others are processed. At first
    /// 0xFFFFFFFF and true: all rows are processed.
    void SetSplitScreenHeight(ULong32 rows, bool top) noexcept {
        splitScreenHeight = rows;
        splitScreenTop = top;
    }
    /// Changes nothing.
    void SetMMXonlyStyle(bool only) noexcept { mmxOnly = only; }

    /// Keys `foreground` into `result`, over `background` if there is one, and writes the key to `keyOut` if
    /// that is given, over the smallest width and height of all views. `result` may be the picture of the
    /// foreground or of the background.
    ///
    /// The pictures are YCrCb, either all 4:4:4:4 (`k4444`; 32-bit words of Cb, Y, Cr, alpha) or each 4:2:2
    /// with or without an alpha plane (`k422`, `k4224`; words of Cb, Y0, Cr, Y1, which share one key; an odd
    /// last column is left alone). Neither packing nor component order is looked at. `keyOut` is
    /// `kAlphaOnly` and gets one byte a pixel, whatever its depth.
    ///
    /// | | 4:4:4:4 | 4:2:2 |
    /// |---|---|---|
    /// | `kFP` | fixed | fixed |
    /// | `kInt_MMXorSIMD`, `kFlp_SIMD`, `kBestAvailable` | float | SSE form, without SSE float |
    /// | any other | float | float |
    ///
    /// Processed rows: `result` gets the mix. In 4:4:4:4 alpha becomes 255 with a background, and is that of
    /// the foreground without one. In 4:2:2 an alpha plane of the foreground, unless described as `kNoAlpha`
    /// or `kAlphaOpaque`, is multiplied with the key of its pixel (a garbage matte: 0 shows the background),
    /// by the float and SSE forms alone; Cb, Y0 and Cr take the key of the first pixel, Y1 that of the
    /// second. Without a background alpha reaches `keyOut` only. The alpha plane of a 4:2:2:4 result becomes
    /// 255 over the whole work area if there is a background, else it is not touched. `keyOut` gets the key.
    ///
    /// Rows that show the key: `result` gets it as luma with chroma 128, in 4:4:4:4 with the foreground's
    /// alpha. The product with an alpha plane is truncated there. `keyOut` gets the same, or 255 without a
    /// background.
    ///
    /// Returns 0, also where there is nothing to do; 1 for a view without an image; 4 for other formats, or a
    /// `keyOut` that is not `kAlphaOnly`; 1 for a view without memory; 2 if the pitch of foreground,
    /// background or result, doubled for a field, is no multiple of 4; 98 when a selection leaves its image.
    /// Nothing is written then. 1, after all else has been written, if a 4:2:2:4 result that is to become
    /// opaque has no memory for its alpha.
    Long32 Do(ImageView& foreground, ImageView* background, ImageView& result, ImageView* keyOut,
              ProcessingStyleEnum style) const;

private:
    static CPUcapabilities& CPUinstructionSet;

    double hueAngle = 0;
    double acceptanceAngle = 20;
    double saturationMinimum = 0;
    double spillSuppressionAngle = 20;
    double spillSuppressionGain = 1;
    double keyOffset = 0;
    double keyGain = 1;
    bool invertKeyBefore = false;
    bool invertKeyAfter = false;
    ULong32 splitScreenHeight = 0xFFFFFFFFU;
    bool splitScreenTop = true;
    bool mmxOnly = false;

    /// Cosine and sine of an angle, as the float and SSE forms take it, and as the fixed one does.
    struct Direction {
        double cosine, sine, fixedCosine, fixedSine;
    };
    static Direction DirectionOf(double degrees) noexcept;
    Direction hue, spill;
    double slope;  ///< of the wedge
};

}  // namespace Zan

#endif  // TESSELU_KEY_CHROMAKEYERYUV_H
