#include "media/Planes.h"

#include <cstring>

#include "media/Samples.h"

namespace tool {
namespace {

constexpr int kBlackLuma = 16, kBlackChroma = 128;

std::uint8_t* LineOf(const AVFrame& planes, int plane, unsigned y) {
    return planes.data[plane] + std::ptrdiff_t{planes.linesize[plane]} * y;
}

void FullToPlanes(const Zan::Image& picture, AVFrame& planes) {
    const bool keepsAlpha = planes.format == AV_PIX_FMT_YUVA444P;
    for (unsigned y = 0; y < picture.GetHeight(); ++y) {
        const std::uint8_t* in = Line(picture, y);
        std::uint8_t *luma = LineOf(planes, 0, y), *cb = LineOf(planes, 1, y), *cr = LineOf(planes, 2, y);
        std::uint8_t* const alpha = keepsAlpha ? LineOf(planes, 3, y) : nullptr;
        for (unsigned x = 0; x < picture.GetWidth(); ++x, in += 4) {
            const int opacity = keepsAlpha ? in[3] : 255;
            cb[x] = Unshaped(in[0], kBlackChroma, opacity);
            luma[x] = Unshaped(in[1], kBlackLuma, opacity);
            cr[x] = Unshaped(in[2], kBlackChroma, opacity);
            if (keepsAlpha) {
                alpha[x] = in[3];
            }
        }
    }
}

void FullFromPlanes(const AVFrame& planes, Zan::Image& picture) {
    for (unsigned y = 0; y < picture.GetHeight(); ++y) {
        std::uint8_t* out = Line(picture, y);
        const std::uint8_t *luma = LineOf(planes, 0, y), *cb = LineOf(planes, 1, y),
                           *cr = LineOf(planes, 2, y);
        for (unsigned x = 0; x < picture.GetWidth(); ++x, out += 4) {
            out[0] = cb[x];
            out[1] = luma[x];
            out[2] = cr[x];
        }
    }
}

bool HasFullChroma(const AVFrame& planes) {
    return planes.format == AV_PIX_FMT_YUV444P || planes.format == AV_PIX_FMT_YUVA444P;
}

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
    if (HasFullChroma(planes)) {
        FullToPlanes(picture, planes);
        return;
    }
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
    if (HasFullChroma(planes)) {
        FullFromPlanes(planes, picture);
        return;
    }
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
