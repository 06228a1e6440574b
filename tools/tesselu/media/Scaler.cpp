#include "media/Scaler.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <new>

#include "Errors.h"

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
    if (!cropped)
        throw std::bad_alloc();
    const double pixelAspect = av_q2d(PixelAspectOf(frame));
    const double wantedWidth = aspect * frame.height / pixelAspect;
    const double wantedHeight = frame.width * pixelAspect / aspect;
    constexpr double kTolerance = 1.01;
    if (frame.width > wantedWidth * kTolerance)
        cropped->crop_left = cropped->crop_right =
            static_cast<std::size_t>(std::lround((frame.width - std::max(wantedWidth, 2.0)) / 4) * 2);
    else if (frame.height > wantedHeight * kTolerance)
        // Whole groups of four lines, so that fields and their chroma keep their places.
        cropped->crop_top = cropped->crop_bottom =
            static_cast<std::size_t>(std::lround((frame.height - std::max(wantedHeight, 4.0)) / 8) * 4);
    CheckLibav(av_frame_apply_cropping(cropped.get(), AV_FRAME_CROP_UNALIGNED), "cropping");
    return cropped;
}

/// Lines of one field can be picked out of every plane.
bool HasWholeFields(const AVFrame& frame) {
    const AVPixFmtDescriptor* format = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame.format));
    return format != nullptr && frame.height % (2 << format->log2_chroma_h) == 0;
}

}  // namespace

AVColorSpace ColourSpaceOf(const AVFrame& frame) {
    if (IsRgb(frame))
        return AVCOL_SPC_RGB;
    switch (frame.colorspace) {
        case AVCOL_SPC_BT709:
        case AVCOL_SPC_BT470BG:
        case AVCOL_SPC_SMPTE170M:
        case AVCOL_SPC_SMPTE240M:
        case AVCOL_SPC_FCC:
        case AVCOL_SPC_BT2020_NCL:
            return frame.colorspace;
        default:
            // The custom of the field: high definition is BT.709, everything smaller BT.601.
            return frame.width > 1024 || frame.height > 576 ? AVCOL_SPC_BT709 : AVCOL_SPC_SMPTE170M;
    }
}

AVRational PixelAspectOf(const AVFrame& frame) {
    const AVRational aspect = frame.sample_aspect_ratio;
    return aspect.num > 0 && aspect.den > 0 ? aspect : AVRational{1, 1};
}

Turn TurnOf(const AVFrame& frame, const AVStream& stream) {
    const std::uint8_t* matrix = av_stream_get_side_data(&stream, AV_PKT_DATA_DISPLAYMATRIX, nullptr);
    if (const AVFrameSideData* own = av_frame_get_side_data(&frame, AV_FRAME_DATA_DISPLAYMATRIX))
        matrix = own->data;
    if (matrix == nullptr)
        return Turn::kNone;
    // libav counts the angle against the clock; there is none for a matrix without an inverse.
    const double angle = -av_display_rotation_get(reinterpret_cast<const std::int32_t*>(matrix));
    if (!std::isfinite(angle))
        return Turn::kNone;
    return static_cast<Turn>((std::lround(angle / 90) + 4) % 4);
}

Scaler::Scaler(const PictureFormat& newTarget, double newAspect, bool newInterlacedSource, Turn newTurn)
    : target(newTarget),
      aspect(newAspect),
      interlacedSource(newInterlacedSource),
      turn(newTurn),
      packed(NewFrame(AV_PIX_FMT_UYVY422, static_cast<int>(target.width), static_cast<int>(target.height))),
      picture(WrapPicture(target, *packed)) {
    if (turn != Turn::kNone)
        scaled = SwapsSides(turn) ? NewFrame(AV_PIX_FMT_YUV444P, packed->height, packed->width)
                                  : NewFrame(AV_PIX_FMT_YUV444P, packed->width, packed->height);
}

Zan::Image& Scaler::Convert(const AVFrame& frame) {
    const FramePtr source = CropToAspect(frame, SwapsSides(turn) ? 1 / aspect : aspect);
    const bool byField = interlacedSource && turn == Turn::kNone &&
                         static_cast<unsigned>(source->height) != target.height && HasWholeFields(*source) &&
                         target.height % 2 == 0;
    Scale(*source, byField ? 2 : 1);
    if (turn != Turn::kNone)
        PackTurned();
    return *picture;
}

void Scaler::Scale(const AVFrame& source, int fields) {
    Prepare(source, fields);
    const AVFrame& out = scaled ? *scaled : *packed;
    for (int field = 0; field < fields; ++field) {
        const std::uint8_t* from[AV_NUM_DATA_POINTERS] = {};
        int fromPitch[AV_NUM_DATA_POINTERS] = {};
        std::uint8_t* to[AV_NUM_DATA_POINTERS] = {};
        int toPitch[AV_NUM_DATA_POINTERS] = {};
        for (std::size_t plane = 0; plane < std::size(from); ++plane) {
            from[plane] = source.data[plane];
            // The second plane of a palette picture is the palette and has no lines.
            if (from[plane] != nullptr && source.linesize[plane] != 0) {
                from[plane] += std::ptrdiff_t{field} * source.linesize[plane];
                fromPitch[plane] = source.linesize[plane] * fields;
            }
            if (out.data[plane] != nullptr) {
                to[plane] = out.data[plane] + std::ptrdiff_t{field} * out.linesize[plane];
                toPitch[plane] = out.linesize[plane] * fields;
            }
        }
        CheckLibav(sws_scale(sws.get(), from, fromPitch, 0, source.height / fields, to, toPitch), "scaling");
    }
}

void Scaler::PackTurned() {
    const int lastColumn = scaled->width - 1, lastRow = scaled->height - 1;
    const auto at = [&](int plane, int x, int y) -> int {
        int column = lastColumn - x, row = lastRow - y;
        if (turn == Turn::kQuarter) {
            column = y;
            row = lastRow - x;
        } else if (turn == Turn::kThreeQuarters) {
            column = lastColumn - y;
            row = x;
        }
        return scaled->data[plane][std::ptrdiff_t{row} * scaled->linesize[plane] + column];
    };
    for (int y = 0; y < packed->height; ++y) {
        std::uint8_t* out = packed->data[0] + std::ptrdiff_t{y} * packed->linesize[0];
        for (int x = 0; x < packed->width; x += 2, out += 4) {
            out[0] = static_cast<std::uint8_t>((at(1, x, y) + at(1, x + 1, y) + 1) / 2);
            out[1] = static_cast<std::uint8_t>(at(0, x, y));
            out[2] = static_cast<std::uint8_t>((at(2, x, y) + at(2, x + 1, y) + 1) / 2);
            out[3] = static_cast<std::uint8_t>(at(0, x + 1, y));
        }
    }
}

void Scaler::Prepare(const AVFrame& frame, int fields) {
    const int space = ColourSpaceOf(frame);
    const int range = IsFullRange(frame) ? 1 : 0;
    const int wanted[] = {frame.width, frame.height, frame.format, space, range, fields};
    static_assert(sizeof wanted == sizeof preparedFor);
    if (sws && std::equal(std::begin(wanted), std::end(wanted), std::begin(preparedFor)))
        return;
    const AVFrame& out = scaled ? *scaled : *packed;
    sws.reset(sws_getContext(frame.width, frame.height / fields, static_cast<AVPixelFormat>(frame.format),
                             out.width, out.height / fields, static_cast<AVPixelFormat>(out.format),
                             SWS_BICUBIC | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INP, nullptr, nullptr, nullptr));
    if (!sws)
        throw Failure("no conversion of the pixel format to 4:2:2");
    const int targetSpace = target.weights == LumaWeights::kBt709 ? SWS_CS_ITU709 : SWS_CS_ITU601;
    const int sourceSpace = space == AVCOL_SPC_RGB ? targetSpace : space;
    constexpr int kUnity = 1 << 16;
    sws_setColorspaceDetails(sws.get(), sws_getCoefficients(sourceSpace), range,
                             sws_getCoefficients(targetSpace), 0, 0, kUnity, kUnity);
    std::copy(std::begin(wanted), std::end(wanted), std::begin(preparedFor));
}

}  // namespace tool
