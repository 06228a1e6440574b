#include <TesselU/tone/Posterize.h>

#include "foundation/ClassCapabilities.h"
#include "foundation/PathSelection.h"
#include "tone/PairViews.h"
#include "tone/PosterizeFormulas.h"
#include "tone/kernels/LookUp.h"

namespace Zan {

constinit CPUcapabilities& Posterize::CPUinstructionSet = classCapabilities[kOwnerPosterize];

Posterize::Posterize() noexcept {
    SetLevels(255.0);
}

Long32 Posterize::Store(int channel, double newLevels) noexcept {
    levels[channel] = LimitedLevels(newLevels);
    const int centre = channel == kChannelY ? kLumaBlack : kChromaCentre;
    for (int v = 0; v < 256; ++v) {
        inDoubles[channel][v] = Posterized(v, centre, levels[channel]);
        inFixedPoint[channel][v] = PosterizedFixed(v, centre, levels[channel]);
    }
    return levels[channel] == newLevels ? kStatusOk : kStatusBadArgument;
}

Long32 Posterize::SetLevels(double newLevels) noexcept {
    Store(kChannelCb, newLevels);
    Store(kChannelY, newLevels);
    return Store(kChannelCr, newLevels);
}

Long32 Posterize::SetLevels(WhichChannelEnum channel, double newLevels) noexcept {
    return channel < kChannelCb || channel > kChannelCr ? kStatusBadArgument : Store(channel, newLevels);
}

double Posterize::GetLevels(WhichChannelEnum channel) const noexcept {
    return channel < kChannelCb || channel > kChannelCr ? -1.0 : levels[channel];
}

Long32 Posterize::Do(ImageView& source, ImageView& destination, ProcessingStyleEnum style) const {
    static constexpr StyleRule kStyles = {Ask::kFloat, Ask::kScalar, Ask::kScalar,
                                          Ask::kFloat, Ask::kScalar, Ask::kFloat};

    PairViews pairs;
    if (const Long32 status = SelectPairs(source, destination, pairs); status != kStatusOk) {
        return status;
    }
    const auto& made = kStyles(static_cast<unsigned>(style)) == Ask::kScalar ? inFixedPoint : inDoubles;
    LookUpPairs(pairs.source.In(PitchUnit::kWordsBelow), pairs.destination.In(PitchUnit::kWordsBelow),
                pairs.size.width, pairs.size.height, {made[kChannelCb], made[kChannelY], made[kChannelCr]});
    return kStatusOk;
}

}  // namespace Zan
