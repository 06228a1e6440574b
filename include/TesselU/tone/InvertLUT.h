#ifndef TESSELU_TONE_INVERTLUT_H
#define TESSELU_TONE_INVERTLUT_H

#include <TesselU/tone/LookUpTable.h>

namespace Zan {

/// A negative of 4:2:2 pictures, channel by channel: four tables of 256 entries, of which the first three
/// begin inverted and that of alpha as identity. `Do` is that of `LookUpTable`; alpha goes into a destination
/// that has a plane for it.
class TESSELU_API InvertLUT : public LookUpTable {
public:
    /// Tables, and so positions of bytes in a pair of pixels.
    enum WhichChannelEnum : int { kChannelCb = 0, kChannelY = 1, kChannelCr = 2, kChannelAlpha = 3 };

    InvertLUT();

    /// Inverts a channel or leaves it alone. Inverted, chroma is 256 - v, at most 255 (neutral 128 stays),
    /// luma 250 - v, at least 0 (black 16 and white 235 become 234 and 15), alpha 255 - v.
    void SetInvert(WhichChannelEnum channel, bool invert) noexcept;

private:
    static CPUcapabilities& CPUinstructionSet;
};

}  // namespace Zan

#endif  // TESSELU_TONE_INVERTLUT_H
