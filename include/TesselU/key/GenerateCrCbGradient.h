#ifndef TESSELU_KEY_GENERATECRCBGRADIENT_H
#define TESSELU_KEY_GENERATECRCBGRADIENT_H

#include <TesselU/foundation/Export.h>
#include <TesselU/foundation/Status.h>
#include <TesselU/foundation/Types.h>

namespace Zan {

class ImageView;

/// Draws the chroma plane, a test picture for keyers: Cb rises from 0 to 255 from left to right, Cr falls
/// from 255 to 0 from top to bottom, luma is 128 and alpha 255.
///
/// YCrCb `k4444`, `k422` and `k4224`, of any packing: words of Cb, Y, Cr, alpha, or Cb, Y, Cr, Y. With n
/// words to a row and h rows, word i of row j has trunc(i * 255 / (n - 1) + 0.5) and trunc(255 - j * 255 / (h
/// - 1)
/// + 0.5), both added up step by step in double precision. In 4:2:2 n and h count as 2 at least, and an odd
/// last pixel keeps its colour but not its alpha. What lies beyond the end of a plane is left out.
///
/// Returns 0; 1 without an image or its memory (the alpha plane of `k4224` may be missing); 4 for another
/// format; 2 for a pitch of the view that is no multiple of 4 (alpha: any); 98 when the selection leaves its
/// image.
TESSELU_API Long32 GenerateCrCbGradient(ImageView& view);

}  // namespace Zan

#endif  // TESSELU_KEY_GENERATECRCBGRADIENT_H
