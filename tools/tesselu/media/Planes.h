#ifndef TESSELU_TOOLS_MEDIA_PLANES_H
#define TESSELU_TOOLS_MEDIA_PLANES_H

#include <optional>

#include "media/Picture.h"

namespace tool {

/// Takes packed 4:2:2 apart into the planes Y, Cb and Cr of a frame in YUV422P, and pictures of full chroma
/// into those of one in YUV444P; no sample changes. Into YUVA422P and YUVA444P alpha goes along, and the
/// colours are divided by it.
void ToPlanes(const Zan::Image& picture, AVFrame& planes);

/// How the pictures of a run go as frames: its own samples by `ToPlanes`, those that were asked for one by
/// one.
struct StoredFrames {
    std::optional<Zan::ConverterFormat> samples = {};
    AVPixelFormat format = AV_PIX_FMT_YUV422P;

    void Fill(const Zan::Image& picture, AVFrame& frame) const;
};

/// The other way round: packs the planes of a frame in YUV422P or YUV444P. Alpha stays as it was.
void FromPlanes(const AVFrame& planes, Zan::Image& picture);

/// What a sample was before it was multiplied with `alpha`, about the level of black.
inline std::uint8_t Unshaped(int sample, int black, int alpha) {
    if (alpha == 0) {
        return static_cast<std::uint8_t>(black);
    }
    const int scaled = (sample - black) * 255;
    const int straight = black + (scaled >= 0 ? scaled + alpha / 2 : scaled - alpha / 2) / alpha;
    return static_cast<std::uint8_t>(straight < 0 ? 0 : straight > 255 ? 255 : straight);
}

}  // namespace tool

#endif  // TESSELU_TOOLS_MEDIA_PLANES_H
