#ifndef TESSELU_OVERLAY_MIXUP_H
#define TESSELU_OVERLAY_MIXUP_H

#include <TesselU/foundation/ProcessingStyle.h>
#include <TesselU/foundation/Status.h>
#include <TesselU/foundation/Types.h>

namespace Zan {

class ImageView;

namespace MixupPosition {

/// Pictures with alpha over pictures: centred, or anywhere by fractions of a pixel.
///
/// Pictures are packed, with 8 bits a sample: RGB `k4444` (32 bits a pixel) or `k444` (24 bits), or YCrCb
/// `k422` (16 bits) or `k4224` (24 bits); words of 4:2:2 are taken as Cb, Y0, Cr, Y1. All pictures of a call
/// have the same colour space. The result has the depth of the background; the foreground may have either.
///
/// **Place.** The pictures of a call are centred on the result: the left edge of a picture is (width of the
/// result - width of the picture) / 2, rounded toward zero, the top edge likewise. In 4:2:2 an odd left edge
/// is one less. Only what lies in the region of its view is taken of a picture, and only the region of the
/// result's view is written; regions are clipped to their images. Pictures with bottom-left origin are taken
/// as they are seen. The field is that of the result's view, `kFrame`, `kUpperField` or `kLowerField`, the
/// upper one being the even lines of the result as it is seen; the other views' fields are not looked at.
///
/// **Background.** The result shows it wherever there is no foreground, and black where it does not reach. A
/// background that starts at the same address as the result is the result itself: what its view selects does
/// not count then.
///
/// **Blend.** With f the foreground, b the background, a and ab their alphas, and
/// D(t) = (t + 128 + ((t + 128) >> 8)) >> 8:
///
/// - straight, over a background without alpha: D((255 - a) * b + a * f)
/// - premultiplied, a foreground with alpha that is `kShaped`: f + D((255 - a) * b), in the low 8 bits; alpha
///   of the background is a sample like the others
/// - straight, over a background with alpha: alpha becomes a + ab - D(a * ab), and with
///   w = a * 255 / that alpha, truncated (0 where it is 0), a sample becomes D((255 - w) * b + w * f)
/// - a foreground without alpha is copied, with alpha 255
///
/// In 4:2:2 the first two take 16 off luma and 128 off chroma before the blend and add it afterwards; the
/// third adds D(w * (f - b)) to b. Chroma takes the alpha of its first pixel. Whole pairs are written: an odd
/// last pixel keeps the background.
///
/// A shaped foreground makes the result's image shaped as well, whatever is returned once it was rendered.
///
/// The object has no content, and any number of calls may run at once.
class TESSELU_API Mixup {
public:
    /// Puts `foreground` over `background` into `result`, all three centred. `style` is not looked at.
    ///
    /// Returns 0; else, the first that applies, with nothing written: 72 without `CPUfeatures`; 1 for a view
    /// without image or an image without memory; 2 for another colour space; 3 when colour spaces differ;
    /// 0x8000001F for a format that is not taken (other samplings, planar pictures, more than 8 bits a
    /// sample, interleaved fields of a progressive scan, other field packings), 0x8000000F without memory or
    /// pitch of an alpha plane (one of a single line has no pitch), foreground before background before
    /// result; 0x8000001C for another field; 3 when the background is not in place and of another depth than
    /// the result, unless the foreground lies outside of the result.
    /// @throws what `CPUfeatures::Instance` throws; any other exception is caught and gives 0x80000008.
    Long32 Do(ImageView& foreground, ImageView& background, ImageView& result, ProcessingStyleEnum style);

    /// The same with the foreground `x` pixels to the right of, and `y` lines below, its centred place.
    ///
    /// Without `subPixel` either is rounded to whole pixels, halves up, and in 4:2:2 `x` then lowered to a
    /// pair. With it they are rounded to 256ths, halves up, and the foreground is interpolated linearly in
    /// premultiplied form, between transparent black where it has no pixels: f and its alpha are the sums of
    /// two or four samples, weighted and rounded once to the nearest. Straight colour becomes the sum of
    /// weight * alpha * colour over that of weight * alpha, to the nearest, so that the colour of transparent
    /// pixels does not show; a foreground without alpha has 255 inside. The blend is the one above. Positions
    /// without a fraction (in 4:2:2: even ones) give what they give without `subPixel`.
    ///
    /// In 4:2:2 chroma moves by half the position, in pairs, with the alpha of even pixels interpolated
    /// likewise; an odd last column of the foreground's region is not taken. Lines of a foreground with field
    /// structure are interpolated inside their field, those of one without, in the frame.
    ///
    /// A position far outside leaves the background. Returns 0x80000003, right after 72, for one that is
    /// infinite or not a number.
    Long32 DoAt(ImageView& foreground, ImageView& background, ImageView& result, double x, double y,
                bool subPixel, ProcessingStyleEnum style);

    /// Centres `source` in `result`: cut where it is larger, surrounded by black where it is smaller. Lines
    /// and bytes are copied as they lie in memory, whatever the origins; alpha comes with its pixel and is 0
    /// outside. A shaped source with alpha makes the result's image shaped. `style` is not looked at.
    ///
    /// Returns what `Do` returns; 3 also when the depths differ.
    Long32 Center(ImageView& source, ImageView& result, ProcessingStyleEnum style);
};

}  // namespace MixupPosition
}  // namespace Zan

#endif  // TESSELU_OVERLAY_MIXUP_H
