#include <TesselU/tone/PosterizeLUT.h>

#include "foundation/ClassCapabilities.h"
#include "tone/PosterizeFormulas.h"

namespace Zan {

constinit CPUcapabilities& PosterizeLUT::CPUinstructionSet = classCapabilities[kOwnerPosterizeLUT];

PosterizeLUT::PosterizeLUT() : LookUpTable(4, 256, 8) {}

Long32 PosterizeLUT::SetLevels(double newLevels) {
    for (const WhichChannelEnum channel : {kChannelCb, kChannelY, kChannelCr}) {
        levels[channel] = LimitedLevels(newLevels);
    }
    MakeTables();
    return levels[kChannelCb] == newLevels ? kStatusOk : kStatusBadArgument;
}

Long32 PosterizeLUT::SetLevels(WhichChannelEnum channel, double newLevels) {
    if (channel < kChannelCb || channel > kChannelAlpha) {
        return kStatusBadArgument;
    }
    levels[channel] = LimitedLevels(newLevels);
    MakeTables();
    return levels[channel] == newLevels ? kStatusOk : kStatusBadArgument;
}

double PosterizeLUT::GetLevels(WhichChannelEnum channel) const noexcept {
    return channel < kChannelCb || channel > kChannelAlpha ? -1.0 : levels[channel];
}

void PosterizeLUT::MakeTables() noexcept {
    for (ULong32 v = 0; v < GetNumberOfLUTentries(); ++v) {
        SetLUT(kChannelCb, v, Posterized(v, kChromaCentre, levels[kChannelCb]));
        SetLUT(kChannelY, v, Posterized(v, kLumaBlack, levels[kChannelY]));
        SetLUT(kChannelCr, v, Posterized(v, kChromaCentre, levels[kChannelCr]));
        SetLUT(kChannelAlpha, v, v);
    }
}

}  // namespace Zan
