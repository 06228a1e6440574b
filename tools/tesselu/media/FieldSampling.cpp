#include "media/FieldSampling.h"

#include <algorithm>

namespace tool {

FieldSampling::FieldSampling(Zan::ScanStyleEnum source, bool still, Zan::ScanStyleEnum output) {
    if (still)
        perPicture = 0;
    else if (output != Zan::kProgressive && source == Zan::kProgressive) {
        perPicture = 2;
        secondLater = 1;
    } else if (output != Zan::kProgressive && source != output)
        secondLater = 1;
}

long FieldSampling::FrameOf(long picture, int field) const noexcept {
    return picture * perPicture + field * secondLater;
}

long FieldSampling::Pictures(long frames) const noexcept {
    if (perPicture == 2)
        return std::max(frames / 2, 1L);
    return std::max(frames - secondLater, 1L);
}

AVRational FieldSampling::Rate(AVRational frames) const noexcept {
    return perPicture == 2 ? av_div_q(frames, {2, 1}) : frames;
}

}  // namespace tool
