#ifndef TESSELU_TOOLS_MEDIA_SCALER_H
#define TESSELU_TOOLS_MEDIA_SCALER_H

#include "media/Picture.h"

namespace tool {

/// Brings decoded frames of any format to packed 4:2:2 of one size, at video levels and with the luma weights
/// of the run. This is the only use of libswscale.
class Scaler {
public:
    Scaler(const PictureFormat& target, double aspect, bool interlacedSource);

    /// Frames are cropped about their centre to the wanted aspect first, and interlaced ones are scaled field
    /// by field. The result stays valid until the next call.
    Zan::Image& Convert(const AVFrame& frame);

private:
    void Prepare(const AVFrame& frame, int fields);

    PictureFormat target;
    double aspect;  ///< width over height of the part of a frame that is shown
    bool interlacedSource;
    FramePtr packed;
    ImagePtr picture;
    SwsPtr sws;
    int preparedFor[6] = {-1, -1, -1, -1, -1, -1};  ///< the frame properties that `sws` was made for
};

/// The luma weights that the samples of `frame` were made with, by its label or, without one, its size.
AVColorSpace ColourSpaceOf(const AVFrame& frame);

/// Width of a pixel over its height, 1 where nothing is said.
AVRational PixelAspectOf(const AVFrame& frame);

}  // namespace tool

#endif  // TESSELU_TOOLS_MEDIA_SCALER_H
