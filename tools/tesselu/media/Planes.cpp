#include "media/Planes.h"

#include <cstring>

#include "media/Samples.h"

namespace tool {
namespace {

constexpr int kBlackLuma = 16, kBlackChroma = 128;

void Unshape(const Zan::Image& picture, AVFrame& planes) {
    const unsigned pairs = picture.GetWidth() / 2;
    for (unsigned y = 0; y < picture.GetHeight(); ++y) {
        const auto line = [&](int plane) {
            return planes.data[plane] + std::ptrdiff_t{planes.linesize[plane]} * y;
        };
        const std::uint8_t* alpha = Line(picture, y, kAlphaChannel);
        std::memcpy(line(3), alpha, picture.GetWidth());
        std::uint8_t *luma = line(0), *cb = line(1), *cr = line(2);
        for (unsigned i = 0; i < pairs; ++i) {
            const int left = alpha[2 * i], right = alpha[2 * i + 1];
            luma[2 * i] = Unshaped(luma[2 * i], kBlackLuma, left);
            luma[2 * i + 1] = Unshaped(luma[2 * i + 1], kBlackLuma, right);
            // Chroma of a pair was multiplied with the alphas of both.
            const int both = (left + right + 1) / 2;
            cb[i] = Unshaped(cb[i], kBlackChroma, both);
            cr[i] = Unshaped(cr[i], kBlackChroma, both);
        }
    }
}

}  // namespace

void ToPlanes(const Zan::Image& picture, AVFrame& planes) {
    const unsigned pairs = picture.GetWidth() / 2;
    for (unsigned y = 0; y < picture.GetHeight(); ++y) {
        const std::uint8_t* in = Line(picture, y);
        std::uint8_t* luma = planes.data[0] + std::ptrdiff_t{planes.linesize[0]} * y;
        std::uint8_t* cb = planes.data[1] + std::ptrdiff_t{planes.linesize[1]} * y;
        std::uint8_t* cr = planes.data[2] + std::ptrdiff_t{planes.linesize[2]} * y;
        for (unsigned i = 0; i < pairs; ++i) {
            cb[i] = in[4 * i];
            luma[2 * i] = in[4 * i + 1];
            cr[i] = in[4 * i + 2];
            luma[2 * i + 1] = in[4 * i + 3];
        }
    }
    if (planes.format == AV_PIX_FMT_YUVA422P) {
        Unshape(picture, planes);
    }
}

void StoredFrames::Fill(const Zan::Image& picture, AVFrame& frame) const {
    if (samples) {
        CopyToFrame(picture, *samples, frame);
    } else {
        ToPlanes(picture, frame);
    }
}

void FromPlanes(const AVFrame& planes, Zan::Image& picture) {
    const unsigned pairs = picture.GetWidth() / 2;
    for (unsigned y = 0; y < picture.GetHeight(); ++y) {
        std::uint8_t* out = Line(picture, y);
        const std::uint8_t* luma = planes.data[0] + std::ptrdiff_t{planes.linesize[0]} * y;
        const std::uint8_t* cb = planes.data[1] + std::ptrdiff_t{planes.linesize[1]} * y;
        const std::uint8_t* cr = planes.data[2] + std::ptrdiff_t{planes.linesize[2]} * y;
        for (unsigned i = 0; i < pairs; ++i) {
            out[4 * i] = cb[i];
            out[4 * i + 1] = luma[2 * i];
            out[4 * i + 2] = cr[i];
            out[4 * i + 3] = luma[2 * i + 1];
        }
    }
}

}  // namespace tool
