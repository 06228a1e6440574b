#ifndef TESSELU_TONE_BASECOLORCORRECTION_H
#define TESSELU_TONE_BASECOLORCORRECTION_H

#include <TesselU/foundation/ProcessingStyle.h>
#include <TesselU/foundation/Status.h>
#include <TesselU/foundation/Types.h>

#include <cstddef>

namespace Zan {

class ImageView;

namespace BaseCC {

#pragma pack(push, 1)
/// What to correct. Hosts fill it by layout: 38 bytes without padding. A parameter of 0 asks for nothing; the
/// range of all others is -255 to 255, to which larger ones are limited.
struct tagBASECOLORCORRINFO {
    ULong32 size = 38;  ///< of the record in bytes, at least 38
    /// Bit 0: studio range; bit 0 or bit 1: legal luma and chroma; bit 2: narrow chroma.
    std::int16_t flags = 0;
    std::int16_t brightness = 0;  ///< added to luma
    std::int16_t contrast = 0;    ///< slope of luma about mid grey
    std::int16_t lumaHigh = 0;    ///< white end of luma
    std::int16_t lumaMid = 0;     ///< gamma of luma: above 0 brighter
    std::int16_t lumaLow = 0;     ///< black end of luma
    std::int16_t hue = 0;         ///< rotation of chroma, 256 for 180 degrees
    std::int16_t saturation = 0;  ///< gain of chroma
    std::int16_t redHigh = 0;     ///< white end of red, gamma, black end
    std::int16_t redMid = 0;
    std::int16_t redLow = 0;
    std::int16_t greenHigh = 0;
    std::int16_t greenMid = 0;
    std::int16_t greenLow = 0;
    std::int16_t blueHigh = 0;
    std::int16_t blueMid = 0;
    std::int16_t blueLow = 0;
};
#pragma pack(pop)

static_assert(sizeof(tagBASECOLORCORRINFO) == 38, "the record is packed");
static_assert(offsetof(tagBASECOLORCORRINFO, flags) == 4);
static_assert(offsetof(tagBASECOLORCORRINFO, brightness) == 6);
static_assert(offsetof(tagBASECOLORCORRINFO, contrast) == 8);
static_assert(offsetof(tagBASECOLORCORRINFO, lumaHigh) == 10);
static_assert(offsetof(tagBASECOLORCORRINFO, lumaMid) == 12);
static_assert(offsetof(tagBASECOLORCORRINFO, lumaLow) == 14);
static_assert(offsetof(tagBASECOLORCORRINFO, hue) == 16);
static_assert(offsetof(tagBASECOLORCORRINFO, saturation) == 18);
static_assert(offsetof(tagBASECOLORCORRINFO, redHigh) == 20);
static_assert(offsetof(tagBASECOLORCORRINFO, redMid) == 22);
static_assert(offsetof(tagBASECOLORCORRINFO, redLow) == 24);
static_assert(offsetof(tagBASECOLORCORRINFO, greenHigh) == 26);
static_assert(offsetof(tagBASECOLORCORRINFO, greenMid) == 28);
static_assert(offsetof(tagBASECOLORCORRINFO, greenLow) == 30);
static_assert(offsetof(tagBASECOLORCORRINFO, blueHigh) == 32);
static_assert(offsetof(tagBASECOLORCORRINFO, blueMid) == 34);
static_assert(offsetof(tagBASECOLORCORRINFO, blueLow) == 36);

/// A colour corrector for YCrCb 4:2:2, driven by one record. The stages that the record asks for work in this
/// order, in one pass over the picture:
///
/// 1. Luma: levels and gamma by low, mid and high, then contrast and brightness.
/// 2. Chroma: rotation by the hue, then the gain of the saturation.
/// 3. Levels and gamma of red, green and blue, each with its own triple. A pair of pixels that shares chroma
///    gets that of its first pixel.
/// 4. Legal limits: luma 16 to 235 and chroma 16 to 240; narrow chroma is 44 to 212 instead, and by itself
///    leaves luma alone.
///
/// Levels map black to `low` and white to 255 + `high`; `mid` bends what lies between with the exponent
/// 1 / (mid / 50 + 1), below 1 with 1 / (mid / 260 + 1). Studio range reckons luma levels on 16 to 235.
///
/// Brightness by itself or with contrast, on a processor where `CPUfeatures::IsSSE2usable` and into an image
/// whose address and pitch are multiples of 16, is subtracted where it is otherwise added. Beside a luma
/// triple it is always added.
///
/// The object has no content: copies are equal, and any number of calls may run at once.
class TESSELU_API BaseColorCorrection {
public:
    /// Corrects `source` into `destination`, which may be the same image. Both are packed `kYCrCb` of `k422`
    /// or `k4224`, taken as words of Cb, Y0, Cr, Y1. Alpha is not touched, and neither is an odd last pixel.
    ///
    /// Whole images are corrected, whatever the regions of the views; the field is that of `source`, and
    /// taken on both images. `style` is not looked at. A record whose bytes 4 to 37 are all 0 changes
    /// nothing: the picture is not even copied. Nothing is written unless the result is 0.
    ///
    /// Returns, the first that applies: 72 without `CPUfeatures`; 4 when `info.size` is below 38; 1 for an
    /// image that is null; 4 for another kind of picture; 1 without memory; 0 for the record that changes
    /// nothing; 1 when a line is longer than the pitch of an image, which is 0 with a single line; 4 when
    /// `source` is larger than `destination` in either direction; 98 for `kFirstField`, `kSecondField` and
    /// fields of bottom-left images; 1 when the record asks for nothing that can be done (flags without a
    /// meaning, a hue of 1 or -1 without saturation); else 0.
    /// @throws what `CPUfeatures::Instance` throws.
    Long32 Do(ImageView& source, ImageView& destination, const tagBASECOLORCORRINFO& info,
              ProcessingStyleEnum style);
};

}  // namespace BaseCC
}  // namespace Zan

#endif  // TESSELU_TONE_BASECOLORCORRECTION_H
