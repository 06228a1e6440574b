#ifndef TESSELU_TONE_POSTERIZE_H
#define TESSELU_TONE_POSTERIZE_H

#include <TesselU/foundation/CPUcapabilities.h>
#include <TesselU/foundation/ProcessingStyle.h>
#include <TesselU/foundation/Status.h>
#include <TesselU/foundation/Types.h>

namespace Zan {

class ImageView;

/// Fewer levels in 4:2:2 pictures, by arithmetic. Alpha is never touched.
///
/// With s = levels / 255 and c = 128 for chroma, 16 for luma, a sample x becomes c + round(round(s * (x - c))
/// / s), limited to 0 ... 255, halves rounded away from zero.
///
/// In fixed point, with d = x - c, S = trunc(s * 65536), R = trunc(256 / s), and all shifts arithmetic:
/// q = (d * S + 32768 + (65535 if d * S + 32768 < 0)) >> 16, then c + ((q * R + 128 + (255 if q * R + 128 <
/// 0)) >> 8), limited. Below zero it rounds toward zero, so that the two differ for some samples: with 255
/// levels, which otherwise change nothing, chroma 100 becomes 102 here.
class TESSELU_API Posterize {
public:
    /// Positions of bytes in a pair of pixels, whatever the component order.
    enum WhichChannelEnum : int { kChannelCb = 0, kChannelY = 1, kChannelCr = 2 };

    /// 255 levels in every channel.
    Posterize() noexcept;

    /// Sets the levels of all channels. Levels from 1 to 255 give 0. Others are limited, what is not a number
    /// to 1, and give -1.
    Long32 SetLevels(double newLevels) noexcept;
    /// The same for one channel. -1 for a channel that there is not.
    Long32 SetLevels(WhichChannelEnum channel, double newLevels) noexcept;
    /// The stored value; -1.0 for a channel that there is not.
    double GetLevels(WhichChannelEnum channel) const noexcept;

    /// Posterises packed YCrCb `k422` and `k4224` pictures over the smallest width and height of the two
    /// views, which may be the same. `kFP`, `kInt_MMXorSIMD` and `kBestAvailable` work in fixed point, every
    /// other style in floating point. An odd last pixel of a row stays as it was. Of each pitch the two low
    /// bits are cleared.
    ///
    /// Returns 0; 1 without an image or its memory; 4 for another format; 98 when a selection leaves its
    /// image. What leaves it for want of those bits alone is left out.
    Long32 Do(ImageView& source, ImageView& destination, ProcessingStyleEnum style) const;

    /// Stored; nothing here depends on it.
    void SetMMXonlyStyle(bool only) noexcept { mmxOnly = only; }

private:
    static CPUcapabilities& CPUinstructionSet;

    Long32 Store(int channel, double newLevels) noexcept;

    double levels[3];
    bool mmxOnly = false;
    /// What the levels make of each byte, in floating point and in fixed point.
    unsigned char inDoubles[3][256];
    unsigned char inFixedPoint[3][256];
};

}  // namespace Zan

#endif  // TESSELU_TONE_POSTERIZE_H
