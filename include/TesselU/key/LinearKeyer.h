#ifndef TESSELU_KEY_LINEARKEYER_H
#define TESSELU_KEY_LINEARKEYER_H

#include <TesselU/foundation/CPUcapabilities.h>
#include <TesselU/foundation/ProcessingStyle.h>
#include <TesselU/foundation/Status.h>
#include <TesselU/foundation/Types.h>

namespace Zan {

class ImageView;

/// A key from the alpha plane of a picture, through a table of 256 bytes. `LumaKeyer` is its twin for luma.
///
/// A new table is the identity, so that `Do` copies alpha.
class TESSELU_API LinearKeyer {
public:
    LinearKeyer() noexcept;

    /// Fills the table: a plateau at `level` over samples from `center - halfWidth` to `center + halfWidth`,
    /// which falls to 0 on both sides in `softness` * 255 + 1 equal steps, then inverted if asked, then moved
    /// by `offset`. All are shares of full scale.
    ///
    /// In numbers, with trunc toward zero: lo = max(center - halfWidth, 0), hi = min(center + halfWidth, 1),
    /// L = level * 255 + 0.5, at most 255. Entries trunc(lo * 255 + 0.5) to trunc(hi * 255 + 0.5) are
    /// trunc(L); the n-th entry beyond either end is trunc(max(L - n * L / (softness * 255 + 1), 0) + 0.5),
    /// L falling step by step; then 255 minus each with `invert`; then trunc(offset * 255 + 0.5) is added,
    /// with - 0.5 for offsets below 0, and each limited to 0 ... 255.
    ///
    /// What is out of range is limited, what is not a number becomes the least value, and the table is made
    /// all the same. Returns 0, or for the last argument out of range: -1 `center`, -2 `halfWidth`, -3
    /// `softness`, -4 `level` (0 ... 1 each), -5 `offset` (-1 ... 1).
    Long32 Set(double center, double halfWidth, double softness, double level, double offset,
               bool invert) noexcept;

    /// One entry of the table.
    void SetLUT(unsigned char index, unsigned char value) noexcept { lut[index] = value; }
    unsigned char GetLUT(unsigned char index) const noexcept { return lut[index]; }

    /// Writes the table's entry of each alpha sample of `source` to `key`, over the smallest width and height
    /// of the two views. `source` is YCrCb `k4224`, of any packing; `key` is `kAlphaOnly`, and gets one byte
    /// a pixel whatever its depth. What lies beyond the end of a plane is left out. The style does not
    /// matter.
    ///
    /// Returns 0; 1 without an image or its memory; 4 for another format; 98 when a selection leaves its
    /// image.
    Long32 Do(ImageView& source, ImageView& key, ProcessingStyleEnum style) const;

    /// Stored; nothing here depends on it.
    void SetMMXonlyStyle(bool only) noexcept { mmxOnly = only; }

private:
    static CPUcapabilities& CPUinstructionSet;

    unsigned char spare = 0;
    unsigned char lut[256];
    bool mmxOnly = false;
};

}  // namespace Zan

#endif  // TESSELU_KEY_LINEARKEYER_H
