#ifndef TESSELU_TOOLS_MEDIA_SCALER_H
#define TESSELU_TOOLS_MEDIA_SCALER_H

#include <vector>

#include "media/Picture.h"
#include "media/Resampler.h"

namespace tool {

/// How a frame must be turned, clockwise, before it is shown. Cameras that are held upright leave that to us.
enum class Turn { kNone, kQuarter, kHalf, kThreeQuarters };

inline bool SwapsSides(Turn turn) {
    return turn == Turn::kQuarter || turn == Turn::kThreeQuarters;
}

/// Brings decoded frames of any format to the pictures of the run.
class Scaler {
public:
    /// `aspect` is width over height of what is shown of a frame, once it is turned.
    Scaler(const PictureFormat& target, double aspect, Turn turn);

    /// Frames are cropped about their centre to the wanted aspect first. Those that are labelled as
    /// interlaced are scaled field by field. What is transparent becomes black; alpha itself is kept where
    /// pictures have it.
    void Convert(const AVFrame& frame, Zan::Image& picture);

    /// Frames are bytes of the target's samples and size, whatever their pixel format says.
    void TakeBytes() { areBytes = true; }

private:
    void ConvertSamples(const AVFrame& frame, Zan::Image& picture);
    void ConvertColour(const AVFrame& source, const Levels& levels, bool byField, Zan::Image& picture);
    void ConvertAlpha(const AVFrame* alpha, bool byField, Zan::Image& picture);
    void ConvertFullAlpha(const AVFrame* alpha, bool byField, Zan::Image& picture);
    void PackTurned(Zan::Image& picture) const;

    PictureFormat target;
    double aspect;
    Turn turn;
    FramePtr planes;       ///< of the size of the target, still to be packed
    FramePtr turned;       ///< 4:4:4, still to be turned; unused without a turn
    FramePtr turnedAlpha;  ///< one byte a pixel, still to be turned
    FramePtr fullAlpha;    ///< of the size of the target, one byte a pixel, still to be packed
    FramePtr shaped;       ///< of the size of the source, with alpha, 4:4:4 or RGB
    FramePtr grey;         ///< of the size of the source
    FramePtr withChroma;   ///< of the size of the source, grey made 4:4:4
    Resampler toShaped, toGrey, colour, alphaPlane;
    bool areBytes = false;
    std::vector<std::uint8_t> bytes;
};

/// The weights of luma that the samples of `frame` were made with, by its label or, without one, its size.
AVColorSpace ColourSpaceOf(const AVFrame& frame);
/// By the size alone.
AVColorSpace UsualColourSpace(int width, int height);

/// Some pixel of such a frame may be transparent.
bool ShowsAlpha(const AVFrame& frame);

/// How `frame` is to be turned by its own label or, without one, that of its stream. Mirrored labels and
/// angles in between are not followed.
Turn TurnOf(const AVFrame& frame, const AVStream& stream);

/// Width of a pixel over its height, 1 where nothing is said.
AVRational PixelAspectOf(const AVFrame& frame);

}  // namespace tool

#endif  // TESSELU_TOOLS_MEDIA_SCALER_H
