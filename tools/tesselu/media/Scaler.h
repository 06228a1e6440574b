#ifndef TESSELU_TOOLS_MEDIA_SCALER_H
#define TESSELU_TOOLS_MEDIA_SCALER_H

#include "media/Picture.h"

namespace tool {

/// How a frame must be turned, clockwise, before it is shown. Cameras that are held upright leave that to us.
enum class Turn { kNone, kQuarter, kHalf, kThreeQuarters };

inline bool SwapsSides(Turn turn) {
    return turn == Turn::kQuarter || turn == Turn::kThreeQuarters;
}

/// Brings decoded frames of any format to packed 4:2:2 of one size, at video levels and with the luma weights
/// of the run. This is the only use of libswscale.
class Scaler {
public:
    /// `aspect` is width over height of what is shown of a frame, once it is turned.
    Scaler(const PictureFormat& target, double aspect, bool interlacedSource, Turn turn);

    /// Frames are cropped about their centre to the wanted aspect first, and interlaced ones are scaled field
    /// by field. The result stays valid until the next call.
    Zan::Image& Convert(const AVFrame& frame);

private:
    void Prepare(const AVFrame& frame, int fields);
    void Scale(const AVFrame& source, int fields);
    void PackTurned();

    PictureFormat target;
    double aspect;
    bool interlacedSource;
    Turn turn;
    FramePtr packed;
    FramePtr scaled;  ///< 4:4:4, still to be turned; unused without a turn
    ImagePtr picture;
    SwsPtr sws;
    int preparedFor[6] = {-1, -1, -1, -1, -1, -1};  ///< the frame properties that `sws` was made for
};

/// The luma weights that the samples of `frame` were made with, by its label or, without one, its size.
AVColorSpace ColourSpaceOf(const AVFrame& frame);

/// How `frame` is to be turned by its own label or, without one, that of its stream. Mirrored labels and
/// angles in between are not followed.
Turn TurnOf(const AVFrame& frame, const AVStream& stream);

/// Width of a pixel over its height, 1 where nothing is said.
AVRational PixelAspectOf(const AVFrame& frame);

}  // namespace tool

#endif  // TESSELU_TOOLS_MEDIA_SCALER_H
