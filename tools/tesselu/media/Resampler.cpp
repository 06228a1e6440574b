#include "media/Resampler.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <new>

#include "Errors.h"

namespace tool {
namespace {

const AVPixFmtDescriptor& Describe(const AVFrame& frame) {
    const AVPixFmtDescriptor* format = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame.format));
    if (format == nullptr) {
        throw Failure("a frame has no pixel format");
    }
    return *format;
}

bool HasRgbSamples(const AVFrame& frame) {
    return (Describe(frame).flags & (AV_PIX_FMT_FLAG_RGB | AV_PIX_FMT_FLAG_PAL)) != 0;
}

/// Where a line of 4:2:0 chroma lies among the lines of luma that it belongs to, in 256ths of a chroma line:
/// midway in a frame; a quarter down in the upper field, three quarters in the lower one.
int ChromaPosition(const AVFrame& frame, int field, int fields) {
    if (Describe(frame).log2_chroma_h != 1) {
        return -513;  // libswscale's own choice
    }
    return fields == 1 ? 128 : field == 0 ? 64 : 192;
}

}  // namespace

void Resampler::Prepare(Part& part, const AVFrame& from, const Levels& fromLevels, const AVFrame& to,
                        const Levels& toLevels, int field, int fields) {
    const int wanted[] = {from.width,
                          LinesOfField(from.height, field, fields),
                          from.format,
                          fromLevels.space,
                          fromLevels.isFull ? 1 : 0,
                          to.width,
                          LinesOfField(to.height, field, fields),
                          to.format,
                          toLevels.space,
                          fields};
    static_assert(sizeof wanted == sizeof part.madeFor);
    if (part.sws && std::equal(std::begin(wanted), std::end(wanted), std::begin(part.madeFor))) {
        return;
    }
    part.sws.reset(sws_alloc_context());
    if (!part.sws) {
        throw std::bad_alloc();
    }
    const auto set = [&](const char* name, int value) { av_opt_set_int(part.sws.get(), name, value, 0); };
    set("srcw", wanted[0]);
    set("srch", wanted[1]);
    set("src_format", from.format);
    set("dstw", wanted[5]);
    set("dsth", wanted[6]);
    set("dst_format", to.format);
    set("sws_flags", SWS_BICUBIC | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INP | SWS_FULL_CHR_H_INT);
    set("src_v_chr_pos", ChromaPosition(from, field, fields));
    set("dst_v_chr_pos", ChromaPosition(to, field, fields));
    constexpr int kUnity = 1 << 16;
    sws_setColorspaceDetails(part.sws.get(), sws_getCoefficients(fromLevels.space), fromLevels.isFull ? 1 : 0,
                             sws_getCoefficients(toLevels.space), toLevels.isFull ? 1 : 0, 0, kUnity, kUnity);
    if (sws_init_context(part.sws.get(), nullptr, nullptr) < 0) {
        part.sws.reset();
        throw Failure("frames of " + std::to_string(from.width) + "x" + std::to_string(from.height) + " in " +
                      Describe(from).name + " cannot be brought to " + std::to_string(to.width) + "x" +
                      std::to_string(to.height) + " in " + Describe(to).name);
    }
    std::copy(std::begin(wanted), std::end(wanted), std::begin(part.madeFor));
}

void Resampler::Convert(const AVFrame& from, const Levels& fromLevels, AVFrame& to, const Levels& toLevels,
                        bool byField) {
    const int fields = byField && from.height > 1 && to.height > 1 ? 2 : 1;
    // RGB has the weights of whatever it is made of or becomes.
    const Levels left = HasRgbSamples(from) ? Levels{toLevels.space, true} : fromLevels;
    const Levels right = HasRgbSamples(to) ? Levels{fromLevels.space, true} : toLevels;
    for (int field = 0; field < fields; ++field) {
        Part& part = parts[field];
        Prepare(part, from, left, to, right, field, fields);
        const std::uint8_t* source[AV_NUM_DATA_POINTERS] = {};
        int sourcePitch[AV_NUM_DATA_POINTERS] = {};
        std::uint8_t* target[AV_NUM_DATA_POINTERS] = {};
        int targetPitch[AV_NUM_DATA_POINTERS] = {};
        for (std::size_t plane = 0; plane < std::size(source); ++plane) {
            source[plane] = from.data[plane];
            // The second plane of a palette picture is the palette and has no lines.
            if (source[plane] != nullptr && from.linesize[plane] != 0) {
                source[plane] += std::ptrdiff_t{field} * from.linesize[plane];
                sourcePitch[plane] = from.linesize[plane] * fields;
            }
            if (to.data[plane] != nullptr) {
                target[plane] = to.data[plane] + std::ptrdiff_t{field} * to.linesize[plane];
                targetPitch[plane] = to.linesize[plane] * fields;
            }
        }
        CheckLibav(sws_scale(part.sws.get(), source, sourcePitch, 0, LinesOfField(from.height, field, fields),
                             target, targetPitch),
                   "scaling");
    }
}

bool HasWholeFields(const AVFrame& frame) {
    return frame.height % (2 << Describe(frame).log2_chroma_h) == 0 || Describe(frame).log2_chroma_h == 0;
}

FramePtr WithWholeFields(const AVFrame& frame) {
    const int group = 2 << Describe(frame).log2_chroma_h;
    FramePtr whole = NewFrame(static_cast<AVPixelFormat>(frame.format), frame.width,
                              (frame.height + group - 1) / group * group);
    CheckLibav(av_frame_copy_props(whole.get(), &frame), "fields");
    for (int plane = 0; plane < 4 && frame.data[plane] != nullptr; ++plane) {
        const bool isChroma = plane == 1 || plane == 2;
        const int shift = isChroma ? Describe(frame).log2_chroma_h : 0;
        const int lines = AV_CEIL_RSHIFT(frame.height, shift), allLines = whole->height >> shift;
        const int bytes = av_image_get_linesize(static_cast<AVPixelFormat>(frame.format), frame.width, plane);
        for (int y = 0; y < allLines; ++y) {
            int last = y;
            while (last >= lines) {
                last -= 2;
            }
            std::memcpy(whole->data[plane] + std::ptrdiff_t{y} * whole->linesize[plane],
                        frame.data[plane] + std::ptrdiff_t{std::max(last, 0)} * frame.linesize[plane],
                        static_cast<std::size_t>(bytes));
        }
    }
    whole->height = frame.height;
    return whole;
}

FramePtr ShellOf(AVPixelFormat format, int width, int height) {
    FramePtr shell = NewFrame();
    shell->format = format;
    shell->width = width;
    shell->height = height;
    return shell;
}

}  // namespace tool
