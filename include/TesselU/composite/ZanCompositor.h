#ifndef TESSELU_COMPOSITE_ZANCOMPOSITOR_H
#define TESSELU_COMPOSITE_ZANCOMPOSITOR_H

#include <TesselU/foundation/CPUcapabilities.h>
#include <TesselU/foundation/ProcessingStyle.h>
#include <TesselU/foundation/Status.h>
#include <TesselU/foundation/Types.h>

namespace Zan {

class ImageView;

/// Blends, wipes, fills and memory passes.
///
/// The object is its MMX-only flag; operations keep nothing between calls and may run on several threads.
///
/// Raw-pointer operations take pixels as 32-bit words of four 8-bit samples (byte 0 lowest), sizes in pixels
/// and rows, and signed pitches in bytes from one row to the next. They trust their caller: nothing but the
/// code path is checked. `codePath` is 0 (`kFlp`), 1 (`kFP`) or 2 (`kInt_MMXorSIMD`); a path that the
/// operation lacks returns 100 with no pixel touched. Pitches of image planes are taken in whole pixels
/// unless an operation says otherwise. Paths may differ by one code value, and some leave the last pixels
/// of a row, beyond their last whole block, unwritten; each operation says where. A destination may be a
/// source, or lie beside it by 16 pixels or more: rows are made from the first on, each from left to right.
///
/// View operations work on the smallest width and height among their views and never touch memory outside
/// an image: a selection that leaves its plane returns 98.
class TESSELU_API ZanCompositor {
public:
    ZanCompositor() noexcept = default;
    ZanCompositor(const ZanCompositor&) noexcept = default;
    ZanCompositor& operator=(const ZanCompositor&) noexcept = default;
    ~ZanCompositor() = default;

    /// Keeps the operations away from their integer-SSE kernels. An SSE2 kernel is not held back.
    void SetMMXonlyStyle(bool only) noexcept { mmxOnly = only; }

    /// Mixes two pictures: `fade`, limited to 0...1, is the weight of `srcA`. All four samples of a word are
    /// blended alike. Path 0 rounds in double precision, path 1 and SSE2 use weights of 256, the SSE and MMX
    /// forms weights of 255 (and come out up to one lower in the columns beyond their last block).
    Long32 CrossDissolve(ULong32* srcA, ULong32* srcB, ULong32* dst, ULong32 width, ULong32 height,
                         Long32 pitchA, Long32 pitchB, Long32 pitchDst, double fade, unsigned int codePath);

    /// Puts `srcB` over `srcA` by the alpha in byte 3 of `srcB`. Path 2 only; the last width mod 4 pixels of
    /// a row stay unwritten.
    Long32 CompositeTwoSources(ULong32* srcA, ULong32* srcB, ULong32* dst, ULong32 width, ULong32 height,
                               Long32 pitchA, Long32 pitchB, Long32 pitchDst, unsigned int codePath);

    /// Blends by a plane of one alpha byte per pixel: 0 gives `srcA`, 255 gives `srcB`. Paths 1 and 2; path 2
    /// leaves the last width mod 8 pixels of a row unwritten and takes all pitches in bytes.
    Long32 CompositeTwoSrcAndAlpha(ULong32* srcA, ULong32* srcB, ULong32* alpha, ULong32* dst, ULong32 width,
                                   ULong32 height, Long32 pitchA, Long32 pitchB, Long32 pitchAlpha,
                                   Long32 pitchDst, unsigned int codePath);

    /// Blends by a gradient plane of one byte per pixel through alpha = (g - threshold) * gain, both
    /// nominally 0...1 and not limited. Paths 1 and 2; path 2 leaves the last width mod 8 pixels of a row
    /// unwritten where it has its SSE form. All pitches in bytes.
    Long32 CompositeTwoSrcAndAlphaGradient(ULong32* srcA, ULong32* srcB, ULong32* alpha, ULong32* dst,
                                           ULong32 width, ULong32 height, Long32 pitchA, Long32 pitchB,
                                           Long32 pitchAlpha, Long32 pitchDst, double threshold, double gain,
                                           unsigned int codePath);

    /// The soft wipe between two 4:2:2 pictures (Cb, Y0, Cr, Y1 in a word, ITU-R BT.601 levels) into 32-bit
    /// pixels of full-range RGB, opaque. `width` counts pixels and must be at least 16; `key` has a byte a
    /// pixel; rows of `dst` are twice as long as those of the sources. `threshold` and `gain` as in
    /// `CompositeTwoSrcAndAlphaGradient`, but a gain of 1 multiplies by 127, and both wrap in 16 bits. Path 2
    /// only; the last width mod 16 pixels of a row stay unwritten, and without integer SSE, or with the
    /// MMX-only flag, all do.
    Long32 CompositeTwoSrcCSCAndAlphaGradient(ULong32* srcA, ULong32* srcB, ULong32* key, ULong32* dst,
                                              ULong32 width, ULong32 height, Long32 pitchA, Long32 pitchB,
                                              Long32 pitchKey, Long32 pitchDst, double threshold, double gain,
                                              unsigned int codePath);

    /// Writes min(255, |a0-b0| + |a1-b1| + |a2-b2|) for every pixel to a byte plane; byte 3 is not looked at.
    /// Path 1, and path 2 with integer SSE (100 without); path 2 leaves the last width mod 8 pixels
    /// unwritten.
    Long32 SumOfAbsDiffs(ULong32* srcA, ULong32* srcB, unsigned char* dst, ULong32 width, ULong32 height,
                         Long32 pitchA, Long32 pitchB, Long32 pitchDst, ULong32 codePath);

    /// Shifts rows by a fraction of a pixel: `position` 0 moves the picture one whole pixel to the left, near
    /// 1 leaves it in place. The picture fades to zero beyond the right edge. Path 1 only.
    Long32 XSubPixelPosition(ULong32* src, ULong32* dst, ULong32 width, ULong32 height, Long32 pitchSrc,
                             Long32 pitchDst, double position, ULong32 codePath);

    /// Paints a view with a constant, or under a bit mask: (old & ~mask) | (colour & mask).
    ///
    /// `colour` is the value as it stands in memory: one pixel of a 4-byte format, two pixels of a 4:2:2
    /// plane, the low byte on an 8-bit grey plane. `mask` is all ones for a plain fill. A 4:2:2 view of odd
    /// width takes the pair fill, which writes every second word of the row and three bytes at its end.
    /// Formats: packed `k4444`, `k422`, `k4224`, and `kAlphaOnly`. Returns 4 for another format, 1 without
    /// memory.
    Long32 Fill(ImageView& dst, ULong32 colour, ULong32 mask, ProcessingStyleEnum style);

    /// Paints the separate alpha plane of a `k4224` view with the low byte of `value`. Returns 4 for another
    /// sampling, 1 without memory.
    Long32 FillAlpha(ImageView& dst, ULong32 value, ProcessingStyleEnum style);

    /// Reads a view once at full speed; `result` keeps the reads alive and has no other meaning.
    /// Returns 100, with `result` as it was, unless `style` is `kInt_MMXorSIMD` or `kBestAvailable` on SSE2.
    Long32 ReadOnlySingleSource(ImageView& src, ULong32& result, ProcessingStyleEnum style);

    /// Reads two views; as `ReadOnlySingleSource`. The first view's size serves both.
    Long32 ReadOnlyTwoSources(ImageView& srcA, ImageView& srcB, ULong32& result, ProcessingStyleEnum style);

    /// Writes the bitwise or of two views; statuses as `ReadOnlySingleSource`.
    Long32 ReadTwoSourcesWriteDst(ImageView& srcA, ImageView& srcB, ImageView& dst,
                                  ProcessingStyleEnum style);

    /// Mixes two pictures: `fade`, limited to 0...1, is the weight of `srcA`, as in the form for plain
    /// memory.
    ///
    /// Formats: all three `k4444`, or all three `k422` or `k4224`. The alpha plane of a `k4224` destination
    /// is mixed too, in weights of 256 on every path, a source without one counting as 255. An odd last pixel
    /// of 4:2:2 keeps its colour. Returns 4 for another format, 1 when a plane of colour has no memory.
    Long32 CrossDissolve(ImageView& srcA, ImageView& srcB, ImageView& dst, double fade,
                         ProcessingStyleEnum style);

    /// Puts `srcB` over `srcA` by the alpha in byte 3 of `srcB`, word by word: any format will do of which
    /// that makes sense. The length of a row follows from the format of `srcA`. `kInt_MMXorSIMD` and
    /// `kBestAvailable` leave the last words mod 4 of a row unwritten. Returns 100 for a style other than
    /// these, `kFlp` and `kFP`; 1 without memory.
    Long32 CompositeTwoSources(ImageView& srcA, ImageView& srcB, ImageView& dst, ProcessingStyleEnum style);

    /// Puts `srcA` over `srcB` by the alpha plane of `srcA`. All three are 4:2:2 with alpha, `srcA`
    /// `kUnshaped`, `srcB` and `dst` `kShaped2`. The result is shaped without its offsets: luma counts from
    /// 0, chroma is a signed byte; its alpha is 255.
    ///
    /// Alpha planes are walked without a pitch: all lines take the alpha of the first line of `srcA`, and the
    /// alpha plane of `dst` is written in its first line alone. `style` is not looked at. Returns 4 for
    /// another format, 1 when any of the six planes has no memory.
    Long32 AoverB(ImageView& srcA, ImageView& srcB, ImageView& dst, ProcessingStyleEnum style);

    /// Blends by the bytes of `key`, one for every 32-bit word of `srcA`: 0 gives `srcA`, 255 gives `srcB`.
    /// On 4:2:2 one byte serves two pixels. Formats are not looked at. `kInt_MMXorSIMD` and `kBestAvailable`
    /// leave the last words mod 8 of a row unwritten. Returns 100 for `kFlp_SIMD`; 1 without memory.
    Long32 CompositeTwoSrcAndAlpha(ImageView& srcA, ImageView& srcB, ImageView& key, ImageView& dst,
                                   ProcessingStyleEnum style);

    /// Puts `srcA`, its alpha multiplied by `fade` (limited to 0...1), over `srcB` in full strength.
    ///
    /// Formats: RGB `k4444`, `srcA` and `srcB` `kUnshaped`, `dst` `kShaped`. Colour of `srcB` is multiplied
    /// by its alpha first, unless `srcB` is described as `kAlphaOpaque`. With SSE2 and a vector style the
    /// last width mod 8 pixels of a row are those of `srcB`, as with a `fade` of 0. Returns 4 for another
    /// format, 1 without memory.
    Long32 CompositeUnshapedAoverBwithFadeOfA(ImageView& srcA, ImageView& srcB, ImageView& dst, double fade,
                                              ProcessingStyleEnum style);

    /// The soft-edged wipe from `srcB` (position 0) to `srcA` (position 1) along the gradient in `key`.
    ///
    /// `position` is limited to 0...1, `softness` is the width of the edge in code values of the key, limited
    /// to 0...32768. Formats: `srcA`, `srcB` and `dst` all `k4444`, or all `k422` or `k4224` (whose alpha
    /// planes are wiped too); `key` is `kAlphaOnly` of one byte per pixel. Returns 4 for another format, 1
    /// when the key or a plane of colour has no memory.
    Long32 CompositeTwoSrcAndAlphaGradient(ImageView& srcA, ImageView& srcB, ImageView& key, ImageView& dst,
                                           double position, double softness, ProcessingStyleEnum style);

    /// The wipe with a band of colour along its edge. In the direction of the key lie `srcA`, a soft edge of
    /// `softnessA`, the border of `borderWidth`, a soft edge of `softnessB`, and `srcB`; widths are code
    /// values of the key (of one byte), and `position` is limited to 0...1.
    ///
    /// `borderColor` is B, G, R, A from the low byte, and converted to YCrCb where `srcA`, `srcB` and `dst`
    /// are `kYCrCb`. Formats as for the soft wipe; on 4:2:2 `key` may also have two bytes a pixel. Alpha
    /// planes get the border's alpha, and read the key a byte a pixel in every case. Returns 4 for another
    /// format, 1 when the key or a plane of colour has no memory.
    Long32 CompositeTwoSrcAndAlphaGradientWithBorder(ImageView& srcA, ImageView& srcB, ImageView& key,
                                                     ImageView& dst, double position, double softnessA,
                                                     double borderWidth, double softnessB,
                                                     ULong32 borderColor, ProcessingStyleEnum style);

private:
    static CPUcapabilities& CPUinstructionSet;

    bool mmxOnly = false;
};

}  // namespace Zan

#endif  // TESSELU_COMPOSITE_ZANCOMPOSITOR_H
