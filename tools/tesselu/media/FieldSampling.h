#ifndef TESSELU_TOOLS_MEDIA_FIELDSAMPLING_H
#define TESSELU_TOOLS_MEDIA_FIELDSAMPLING_H

#include "media/Reader.h"

namespace tool {

/// Which frame of a source stands behind each field of an output picture.
///
/// A progressive source sampled for interlaced output gives one frame to each field: frame 2k to the first,
/// frame 2k + 1 to the second. An interlaced source keeps its fields; where the output wants the other field
/// first, it starts one field later. Progressive output takes frames as they are.
class FieldSampling {
public:
    FieldSampling(Zan::ScanStyleEnum source, bool still, Zan::ScanStyleEnum output);

    /// The frame behind `field` (0 the first in time, 1 the second) of output picture `picture`.
    long FrameOf(long picture, int field) const noexcept;
    /// Output pictures out of so many frames.
    long Pictures(long frames) const noexcept;
    /// Output pictures a second out of a source of so many frames a second.
    AVRational Rate(AVRational frames) const noexcept;

private:
    long perPicture = 1;   ///< frames that one output picture uses up
    long secondLater = 0;  ///< how many frames the second field lies after the first
};

}  // namespace tool

#endif  // TESSELU_TOOLS_MEDIA_FIELDSAMPLING_H
