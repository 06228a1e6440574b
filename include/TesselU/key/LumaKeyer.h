#ifndef TESSELU_KEY_LUMAKEYER_H
#define TESSELU_KEY_LUMAKEYER_H

#include <TesselU/foundation/CPUcapabilities.h>
#include <TesselU/foundation/ProcessingStyle.h>
#include <TesselU/foundation/Status.h>
#include <TesselU/foundation/Types.h>

namespace Zan {

class ImageView;

/// A key from the luma of a picture, through a table of 256 bytes. `LinearKeyer` is its twin for alpha.
///
/// A new table is the identity, so that `Do` copies luma.
class TESSELU_API LumaKeyer {
public:
    LumaKeyer() noexcept;

    /// Fills the table as `LinearKeyer::Set` does, with the same return values.
    Long32 Set(double center, double halfWidth, double softness, double level, double offset,
               bool invert) noexcept;

    /// One entry of the table.
    void SetLUT(unsigned char index, unsigned char value) noexcept { lut[index] = value; }
    unsigned char GetLUT(unsigned char index) const noexcept { return lut[index]; }

    /// Makes `key` from the luma of `source`, bytes 1 and 3 of each pair of pixels whatever the component
    /// order, over the smallest width and height of the two views. An odd last pixel of a row stays as it
    /// was. With `k422` the key is the table's entry g. With `k4224` g is multiplied into what the key holds:
    /// d becomes (t + (t >> 8)) >> 8 with t = g * d + 128, so that a picture with alpha can bring its key
    /// along; a key full of 255 gives g itself.
    ///
    /// `source` is YCrCb `k422` or `k4224`; `key` is `kAlphaOnly`, and has one byte a pixel whatever its
    /// depth. What lies beyond the end of a plane is left out. The style does not matter.
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

#endif  // TESSELU_KEY_LUMAKEYER_H
