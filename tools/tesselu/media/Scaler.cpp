#include "media/Scaler.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <new>

#include "Errors.h"
#include "media/Planes.h"
#include "media/Samples.h"

namespace tool {
namespace {

bool IsFullRange(const AVFrame& frame) {
    switch (frame.format) {
        case AV_PIX_FMT_YUVJ420P:
        case AV_PIX_FMT_YUVJ422P:
        case AV_PIX_FMT_YUVJ444P:
        case AV_PIX_FMT_YUVJ440P:
        case AV_PIX_FMT_YUVJ411P:
            return true;
        default:
            return frame.color_range == AVCOL_RANGE_JPEG;
    }
}

bool IsRgb(const AVFrame& frame) {
    const AVPixFmtDescriptor* format = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame.format));
    return format != nullptr && (format->flags & (AV_PIX_FMT_FLAG_RGB | AV_PIX_FMT_FLAG_PAL)) != 0;
}

/// Cuts off what lies beyond `aspect` on two sides. A few lines or columns are not worth a cut.
FramePtr CropToAspect(const AVFrame& frame, double aspect) {
    FramePtr cropped(av_frame_clone(&frame));
    if (!cropped) {
        throw std::bad_alloc();
    }
    const double pixelAspect = av_q2d(PixelAspectOf(frame));
    const double wantedWidth = aspect * frame.height / pixelAspect;
    const double wantedHeight = frame.width * pixelAspect / aspect;
    constexpr double kTolerance = 1.01;
    // What goes on either side, in whole steps; something stays.
    const auto margin = [](int side, double wanted, int step) {
        const long steps = std::lround((side - wanted) / (2.0 * step));
        return static_cast<std::size_t>(std::clamp<long>(steps, 0, std::max(side - step, 0) / (2 * step)) *
                                        step);
    };
    if (frame.width > wantedWidth * kTolerance) {
        cropped->crop_left = cropped->crop_right = margin(frame.width, wantedWidth, 2);
    } else if (frame.height > wantedHeight * kTolerance) {
        // Whole groups of four lines, so that fields and their chroma keep their places.
        cropped->crop_top = cropped->crop_bottom = margin(frame.height, wantedHeight, 4);
    }
    CheckLibav(av_frame_apply_cropping(cropped.get(), AV_FRAME_CROP_UNALIGNED), "cropping");
    return cropped;
}

bool IsGrey(const AVFrame& frame) {
    const AVPixFmtDescriptor* format = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame.format));
    return format != nullptr && format->nb_components <= 2 && (format->flags & AV_PIX_FMT_FLAG_PAL) == 0;
}

Levels LevelsOf(const AVFrame& frame) {
    return {ColourSpaceOf(frame), IsFullRange(frame)};
}

/// A frame to be written anew whenever its size changes.
AVFrame& Sized(FramePtr& frame, AVPixelFormat format, const AVFrame& like) {
    if (!frame || frame->format != format || frame->width != like.width || frame->height != like.height) {
        frame = NewFrame(format, like.width, like.height);
    }
    return *frame;
}

std::uint8_t* At(const AVFrame& frame, int plane, int y) {
    return frame.data[plane] + std::ptrdiff_t{y} * frame.linesize[plane];
}

/// Luma out of `luma` (every `step` bytes), chroma without colour.
void FillGrey(AVFrame& out, const AVFrame& luma, int offset, int step) {
    for (int y = 0; y < out.height; ++y) {
        const std::uint8_t* in = At(luma, 0, y) + offset;
        std::uint8_t* line = At(out, 0, y);
        for (int x = 0; x < out.width; ++x) {
            line[x] = in[std::ptrdiff_t{x} * step];
        }
        for (const int plane : {1, 2}) {
            std::memset(At(out, plane, y), 128, static_cast<std::size_t>(out.width));
        }
    }
}

/// One byte a pixel of what lies in the same plane or beside it.
void CopyBytes(const AVFrame& in, int offset, int step, AVFrame& out, int plane) {
    for (int y = 0; y < out.height; ++y) {
        const std::uint8_t* from = At(in, 0, y) + offset;
        std::uint8_t* line = At(out, plane, y);
        for (int x = 0; x < out.width; ++x) {
            line[x] = from[std::ptrdiff_t{x} * step];
        }
    }
}

/// Packed RGB with alpha, of 8 or 16 bits a sample, whose high bytes can be taken as they are.
bool IsPackedRgba(const AVFrame& frame) {
    switch (frame.format) {
        case AV_PIX_FMT_RGBA:
        case AV_PIX_FMT_BGRA:
        case AV_PIX_FMT_ARGB:
        case AV_PIX_FMT_ABGR:
        case AV_PIX_FMT_RGBA64LE:
        case AV_PIX_FMT_RGBA64BE:
        case AV_PIX_FMT_BGRA64LE:
        case AV_PIX_FMT_BGRA64BE:
            return true;
        default:
            return false;
    }
}

/// Into the planes G, B, R and alpha, rounded to 8 bits.
void Unpack(const AVFrame& packed, AVFrame& planes) {
    const AVPixFmtDescriptor& about = *av_pix_fmt_desc_get(static_cast<AVPixelFormat>(packed.format));
    const bool isWide = about.comp[0].depth == 16;
    const int high = (about.flags & AV_PIX_FMT_FLAG_BE) == 0 ? 1 : 0;
    constexpr int kComponentOfPlane[] = {1, 2, 0, 3};
    for (int plane = 0; plane < 4; ++plane) {
        const AVComponentDescriptor& component = about.comp[kComponentOfPlane[plane]];
        if (!isWide) {
            CopyBytes(packed, component.offset, component.step, planes, plane);
            continue;
        }
        for (int y = 0; y < planes.height; ++y) {
            const std::uint8_t* in = At(packed, 0, y) + component.offset;
            std::uint8_t* line = At(planes, plane, y);
            for (int x = 0; x < planes.width; ++x, in += component.step) {
                line[x] = static_cast<std::uint8_t>((in[high] * 256 + in[1 - high] + 128) / 257);
            }
        }
    }
}

/// Multiplies the first three planes with the fourth, about the level that black has there.
void Shape(AVFrame& frame, int blackLuma, int blackChroma) {
    for (int y = 0; y < frame.height; ++y) {
        const std::uint8_t* alpha = At(frame, 3, y);
        for (int plane = 0; plane < 3; ++plane) {
            const int black = plane == 0 ? blackLuma : blackChroma;
            std::uint8_t* line = At(frame, plane, y);
            for (int x = 0; x < frame.width; ++x) {
                const int product = (line[x] - black) * alpha[x];
                line[x] =
                    static_cast<std::uint8_t>(black + (product >= 0 ? product + 127 : product - 127) / 255);
            }
        }
    }
}

}  // namespace

AVColorSpace ColourSpaceOf(const AVFrame& frame) {
    if (IsRgb(frame)) {
        return AVCOL_SPC_RGB;
    }
    switch (frame.colorspace) {
        case AVCOL_SPC_BT709:
        case AVCOL_SPC_BT470BG:
        case AVCOL_SPC_SMPTE170M:
        case AVCOL_SPC_SMPTE240M:
        case AVCOL_SPC_FCC:
        case AVCOL_SPC_BT2020_NCL:
            return frame.colorspace;
        default:
            return UsualColourSpace(frame.width, frame.height);
    }
}

AVColorSpace UsualColourSpace(int width, int height) {
    // The custom of the field: high definition is BT.709, everything smaller BT.601.
    return width > 1024 || height > 576 ? AVCOL_SPC_BT709 : AVCOL_SPC_SMPTE170M;
}

AVRational PixelAspectOf(const AVFrame& frame) {
    const AVRational aspect = frame.sample_aspect_ratio;
    return aspect.num > 0 && aspect.den > 0 ? aspect : AVRational{1, 1};
}

Turn TurnOf(const AVFrame& frame, const AVStream& stream) {
    const std::uint8_t* matrix = av_stream_get_side_data(&stream, AV_PKT_DATA_DISPLAYMATRIX, nullptr);
    if (const AVFrameSideData* own = av_frame_get_side_data(&frame, AV_FRAME_DATA_DISPLAYMATRIX)) {
        matrix = own->data;
    }
    if (matrix == nullptr) {
        return Turn::kNone;
    }
    // libav counts the angle against the clock; there is none for a matrix without an inverse.
    const double angle = -av_display_rotation_get(reinterpret_cast<const std::int32_t*>(matrix));
    if (!std::isfinite(angle)) {
        return Turn::kNone;
    }
    return static_cast<Turn>((std::lround(angle / 90) + 4) % 4);
}

bool ShowsAlpha(const AVFrame& frame) {
    const AVPixFmtDescriptor* format = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame.format));
    if (format == nullptr || (format->flags & AV_PIX_FMT_FLAG_ALPHA) == 0) {
        return false;
    }
    if ((format->flags & AV_PIX_FMT_FLAG_PAL) == 0) {
        return true;
    }
    constexpr int kColours = 256;
    const auto* palette = reinterpret_cast<const std::uint32_t*>(frame.data[1]);
    return std::any_of(palette, palette + kColours, [](std::uint32_t colour) {
        return colour >> 24 != 255 && colour != 0;  // entries that are not used are 0
    });
}

Scaler::Scaler(const PictureFormat& newTarget, double newAspect, Turn newTurn)
    : target(newTarget), aspect(newAspect), turn(newTurn) {
    if (turn == Turn::kNone) {
        return;
    }
    const int width = static_cast<int>(target.width), height = static_cast<int>(target.height);
    const bool swaps = SwapsSides(turn);
    turned = NewFrame(AV_PIX_FMT_YUV444P, swaps ? height : width, swaps ? width : height);
    if (target.hasAlpha) {
        turnedAlpha = NewFrame(AV_PIX_FMT_GRAY8, turned->width, turned->height);
    }
}

/// Samples go as they are where the picture can take them. Others are brought to frames that it can take.
void Scaler::ConvertSamples(const AVFrame& frame, Zan::Image& picture) {
    const Zan::ConverterFormat samples = *target.samples;
    if (areBytes) {
        const auto format = static_cast<AVPixelFormat>(frame.format);
        bytes.resize(static_cast<std::size_t>(
            CheckLibav(av_image_get_buffer_size(format, frame.width, frame.height, 1), "raw frames")));
        if (bytes.size() < BytesOfFrame(samples, target.width, target.height)) {
            throw Failure("a raw frame is too short");
        }
        CheckLibav(av_image_copy_to_buffer(bytes.data(), static_cast<int>(bytes.size()), frame.data,
                                           frame.linesize, format, frame.width, frame.height, 1),
                   "raw frames");
        CopyFromBytes(bytes.data(), samples, picture);
        return;
    }
    FramePtr source = CropToAspect(frame, aspect);
    const Levels levels = LevelsOf(frame), video = {levels.space, false};
    if (HoldsSamplesOf(*source, samples, target.width, target.height) &&
        (IsGrey(*source) || IsRgb(*source) || !levels.isFull)) {
        CopyFromFrame(*source, samples, picture);
        return;
    }
    const bool byField = frame.interlaced_frame != 0 && target.IsInterlaced();
    if (byField && !HasWholeFields(*source)) {
        source = WithWholeFields(*source);
    }
    if (!planes) {
        planes = NewFrame(FramesOf(samples), static_cast<int>(target.width), static_cast<int>(target.height));
    }
    colour.Convert(*source, levels, *planes, video, byField);
    CopyFromFrame(*planes, samples, picture);
}

void Scaler::Convert(const AVFrame& frame, Zan::Image& picture) {
    if (target.samples) {
        ConvertSamples(frame, picture);
        return;
    }
    FramePtr source = CropToAspect(frame, SwapsSides(turn) ? 1 / aspect : aspect);
    const Levels levels = LevelsOf(frame);
    const bool byField = frame.interlaced_frame != 0 && target.IsInterlaced() && turn == Turn::kNone;
    if (byField && !HasWholeFields(*source)) {
        source = WithWholeFields(*source);
    }

    const bool isGrey = IsGrey(frame);
    if (!ShowsAlpha(frame)) {
        if (isGrey) {
            // libswscale takes every grey for one at video levels, so it gets chroma beside it.
            const AVFrame* luma = source.get();
            if (frame.format != AV_PIX_FMT_GRAY8) {
                toGrey.Convert(*source, {levels.space, false}, Sized(grey, AV_PIX_FMT_GRAY8, *source),
                               {levels.space, false}, false);
                luma = grey.get();
            }
            FillGrey(Sized(withChroma, AV_PIX_FMT_YUV444P, *source), *luma, 0, 1);
            ConvertColour(*withChroma, levels, byField, picture);
        } else {
            ConvertColour(*source, levels, byField, picture);
        }
        ConvertAlpha(nullptr, byField, picture);
        return;
    }

    const bool isRgb = IsRgb(frame);
    AVFrame& straight = Sized(shaped, isRgb ? AV_PIX_FMT_GBRAP : AV_PIX_FMT_YUVA444P, *source);
    if (isGrey) {
        const bool isWide = frame.format != AV_PIX_FMT_YA8;
        const int high = frame.format == AV_PIX_FMT_YA16LE ? 1 : 0;
        FillGrey(straight, *source, high, isWide ? 4 : 2);
        CopyBytes(*source, isWide ? 2 + high : 1, isWide ? 4 : 2, straight, 3);
    } else if (IsPackedRgba(frame)) {
        Unpack(*source, straight);
    } else {
        toShaped.Convert(*source, levels, straight, levels, byField);
    }
    if (!target.comesShaped) {
        Shape(straight, isRgb || levels.isFull ? 0 : 16, isRgb ? 0 : 128);
    }
    // The same planes without the fourth.
    const FramePtr opaque =
        ShellOf(isRgb ? AV_PIX_FMT_GBRP : AV_PIX_FMT_YUV444P, straight.width, straight.height);
    const FramePtr alpha = ShellOf(AV_PIX_FMT_GRAY8, straight.width, straight.height);
    for (int plane = 0; plane < 3; ++plane) {
        opaque->data[plane] = straight.data[plane];
        opaque->linesize[plane] = straight.linesize[plane];
    }
    alpha->data[0] = straight.data[3];
    alpha->linesize[0] = straight.linesize[3];
    ConvertColour(*opaque, levels, byField, picture);
    ConvertAlpha(alpha.get(), byField, picture);
}

void Scaler::ConvertColour(const AVFrame& source, const Levels& levels, bool byField, Zan::Image& picture) {
    const Levels video = {target.weights == LumaWeights::kBt709 ? SWS_CS_ITU709 : SWS_CS_ITU601, false};
    if (turn != Turn::kNone) {
        colour.Convert(source, levels, *turned, video, false);
        PackTurned(picture);
        return;
    }
    // libswscale has vectors for planes, and none for packed samples.
    if (!planes) {
        planes = NewFrame(target.hasFullChroma ? AV_PIX_FMT_YUV444P : AV_PIX_FMT_YUV422P,
                          static_cast<int>(target.width), static_cast<int>(target.height));
    }
    colour.Convert(source, levels, *planes, video, byField);
    FromPlanes(*planes, picture);
}

namespace {

/// Where the pixel that is shown at (x, y) lies in a frame that is still to be turned.
struct Place {
    int column, row;
};

Place BeforeTurn(Turn turn, const AVFrame& frame, int x, int y) {
    const int lastColumn = frame.width - 1, lastRow = frame.height - 1;
    switch (turn) {
        case Turn::kQuarter:
            return {y, lastRow - x};
        case Turn::kHalf:
            return {lastColumn - x, lastRow - y};
        case Turn::kThreeQuarters:
            return {lastColumn - y, x};
        default:
            return {x, y};
    }
}

}  // namespace

void Scaler::ConvertAlpha(const AVFrame* alpha, bool byField, Zan::Image& picture) {
    if (target.hasFullChroma) {
        ConvertFullAlpha(alpha, byField, picture);
        return;
    }
    if (!target.hasAlpha) {
        return;
    }
    const int width = static_cast<int>(target.width), height = static_cast<int>(target.height);
    if (alpha == nullptr) {
        for (unsigned y = 0; y < target.height; ++y) {
            std::memset(Line(picture, y, kAlphaChannel), 255, target.width);
        }
        return;
    }
    if (turn != Turn::kNone) {
        alphaPlane.Convert(*alpha, {}, *turnedAlpha, {}, false);
        for (int y = 0; y < height; ++y) {
            std::uint8_t* line = Line(picture, static_cast<unsigned>(y), kAlphaChannel);
            for (int x = 0; x < width; ++x) {
                const Place from = BeforeTurn(turn, *turnedAlpha, x, y);
                line[x] = At(*turnedAlpha, 0, from.row)[from.column];
            }
        }
        return;
    }
    const FramePtr plane = ShellOf(AV_PIX_FMT_GRAY8, width, height);
    plane->data[0] = Line(picture, 0, kAlphaChannel);
    plane->linesize[0] = static_cast<int>(picture.GetPitch(kAlphaChannel));
    if (alpha->width == width && alpha->height == height) {
        CopyBytes(*alpha, 0, 1, *plane, 0);
        return;
    }
    alphaPlane.Convert(*alpha, {}, *plane, {}, byField);
}

/// Alpha is the fourth byte of a pixel. It is brought to the size of the target in a plane first.
void Scaler::ConvertFullAlpha(const AVFrame* alpha, bool byField, Zan::Image& picture) {
    const int width = static_cast<int>(target.width), height = static_cast<int>(target.height);
    const AVFrame* scaled = target.hasAlpha ? alpha : nullptr;
    if (scaled != nullptr && turn != Turn::kNone) {
        alphaPlane.Convert(*alpha, {}, *turnedAlpha, {}, false);
        scaled = turnedAlpha.get();
    } else if (scaled != nullptr && (alpha->width != width || alpha->height != height)) {
        if (!fullAlpha) {
            fullAlpha = NewFrame(AV_PIX_FMT_GRAY8, width, height);
        }
        alphaPlane.Convert(*alpha, {}, *fullAlpha, {}, byField);
        scaled = fullAlpha.get();
    }
    for (int y = 0; y < height; ++y) {
        std::uint8_t* out = Line(picture, static_cast<unsigned>(y)) + 3;
        for (int x = 0; x < width; ++x, out += 4) {
            const Place from = scaled != nullptr ? BeforeTurn(turn, *scaled, x, y) : Place{};
            *out = scaled != nullptr ? At(*scaled, 0, from.row)[from.column] : 255;
        }
    }
}

void Scaler::PackTurned(Zan::Image& picture) const {
    const auto at = [this](int plane, unsigned x, unsigned y) -> int {
        const Place from = BeforeTurn(turn, *turned, static_cast<int>(x), static_cast<int>(y));
        return At(*turned, plane, from.row)[from.column];
    };
    if (target.hasFullChroma) {
        constexpr int kPlanes[] = {1, 0, 2};  // Cb, Y, Cr
        for (unsigned y = 0; y < target.height; ++y) {
            std::uint8_t* out = Line(picture, y);
            for (unsigned x = 0; x < target.width; ++x, out += 4) {
                for (int i = 0; i < 3; ++i) {
                    out[i] = static_cast<std::uint8_t>(at(kPlanes[i], x, y));
                }
            }
        }
        return;
    }
    for (unsigned y = 0; y < target.height; ++y) {
        std::uint8_t* out = Line(picture, y);
        for (unsigned x = 0; x < target.width; x += 2, out += 4) {
            out[0] = static_cast<std::uint8_t>((at(1, x, y) + at(1, x + 1, y) + 1) / 2);
            out[1] = static_cast<std::uint8_t>(at(0, x, y));
            out[2] = static_cast<std::uint8_t>((at(2, x, y) + at(2, x + 1, y) + 1) / 2);
            out[3] = static_cast<std::uint8_t>(at(0, x + 1, y));
        }
    }
}

}  // namespace tool
