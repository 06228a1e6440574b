#ifndef TESSELU_TONE_POSTERIZELUT_H
#define TESSELU_TONE_POSTERIZELUT_H

#include <TesselU/tone/LookUpTable.h>

namespace Zan {

/// Fewer levels in 4:2:2 pictures, by tables: four of 256 entries, that of alpha being the identity. `Do` is
/// that of `LookUpTable`; alpha goes into a destination that has a plane for it.
///
/// With s = levels / 255 and c = 128 for chroma, 16 for luma, a sample x becomes c + round(round(s * (x - c))
/// / s), limited to 0 ... 255, halves rounded away from zero.
class TESSELU_API PosterizeLUT : public LookUpTable {
public:
    /// Tables, and so positions of bytes in a pair of pixels.
    enum WhichChannelEnum : int { kChannelCb = 0, kChannelY = 1, kChannelCr = 2, kChannelAlpha = 3 };

    /// 255 levels in every channel, which changes nothing.
    PosterizeLUT();

    /// Sets the levels of the three colour channels and makes the tables. Levels from 1 to 255 give 0. Others
    /// are limited, what is not a number to 1, and give -1.
    Long32 SetLevels(double newLevels);
    /// The same for one channel; that of alpha is stored and has no effect. -1 for a channel that there is
    /// not.
    Long32 SetLevels(WhichChannelEnum channel, double newLevels);
    /// The stored value; -1.0 for a channel that there is not.
    double GetLevels(WhichChannelEnum channel) const noexcept;

private:
    static CPUcapabilities& CPUinstructionSet;

    void MakeTables() noexcept;

    double levels[4] = {255.0, 255.0, 255.0, 255.0};
};

}  // namespace Zan

#endif  // TESSELU_TONE_POSTERIZELUT_H
