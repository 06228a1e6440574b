#include <TesselU/tone/InvertLUT.h>

#include <algorithm>

#include "foundation/ClassCapabilities.h"

namespace Zan {

constinit CPUcapabilities& InvertLUT::CPUinstructionSet = classCapabilities[kOwnerInvertLUT];

InvertLUT::InvertLUT() : LookUpTable(4, 256, 8) {
    for (const WhichChannelEnum channel : {kChannelCb, kChannelY, kChannelCr}) {
        SetInvert(channel, true);
    }
}

void InvertLUT::SetInvert(WhichChannelEnum channel, bool invert) noexcept {
    const auto lut = static_cast<ULong32>(channel);
    if (!invert) {
        SetLUTtoIdentity(lut);
        return;
    }
    for (ULong32 v = 0; v < 256; ++v) {
        switch (channel) {
            case kChannelCb:
            case kChannelCr:
                SetLUT(lut, v, std::min<ULong32>(256 - v, 255));
                break;
            case kChannelY:
                SetLUT(lut, v, v < 250 ? 250 - v : 0);
                break;
            case kChannelAlpha:
                SetLUT(lut, v, 255 - v);
                break;
        }
    }
}

}  // namespace Zan
