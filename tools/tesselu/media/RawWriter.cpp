#include "media/RawWriter.h"

#include "Errors.h"
#include "media/Planes.h"

namespace tool {

AVPixelFormat RawPixelFormat(const std::string& option, const std::string& name) {
    const AVPixelFormat format = av_get_pix_fmt(name.c_str());
    const AVPixFmtDescriptor* about = av_pix_fmt_desc_get(format);
    constexpr std::uint64_t kNoPlainSamples =
        AV_PIX_FMT_FLAG_HWACCEL | AV_PIX_FMT_FLAG_PAL | AV_PIX_FMT_FLAG_BITSTREAM;
    if (about == nullptr || (about->flags & kNoPlainSamples) != 0 || sws_isSupportedOutput(format) == 0 ||
        sws_isSupportedInput(format) == 0) {
        throw UsageError(option + " " + name +
                         ": no pixel format of frames; some are uyvy422, yuv422p, yuv420p, yuva422p, rgba, "
                         "bgra, rgb24, gray");
    }
    return format;
}

RawWriter::RawWriter(const std::string& path, const PictureFormat& newFormat, AVPixelFormat pixelFormat)
    : format(newFormat), file(path) {
    const int width = static_cast<int>(format.width), height = static_cast<int>(format.height);
    planes = NewFrame(format.hasAlpha ? AV_PIX_FMT_YUVA422P : AV_PIX_FMT_YUV422P, width, height);
    if (pixelFormat != planes->format) {
        samples = NewFrame(pixelFormat, width, height);
    }
    if (RgbConversion::Serves(pixelFormat)) {
        conversion.emplace(format);
    }
    const int size = CheckLibav(av_image_get_buffer_size(pixelFormat, width, height, 1), path);
    bytes.resize(static_cast<std::size_t>(size));
}

void RawWriter::Write(const Zan::Image& picture) {
    const AVFrame* out = samples ? samples.get() : planes.get();
    if (conversion) {
        conversion->Fill(picture, *samples);
    } else {
        ToPlanes(picture, *planes);
    }
    if (samples && !conversion) {
        const Levels video = {format.weights == LumaWeights::kBt709 ? SWS_CS_ITU709 : SWS_CS_ITU601, false};
        const AVPixFmtDescriptor& about = *av_pix_fmt_desc_get(static_cast<AVPixelFormat>(samples->format));
        if (about.nb_components == 1) {
            // Luma as it is: libswscale would give grey the full range.
            const FramePtr luma = ShellOf(AV_PIX_FMT_GRAY8, planes->width, planes->height);
            luma->data[0] = planes->data[0];
            luma->linesize[0] = planes->linesize[0];
            resampler.Convert(*luma, video, *samples, video, false);
        } else {
            resampler.Convert(*planes, video, *samples, video, format.IsInterlaced());
        }
    }
    CheckLibav(av_image_copy_to_buffer(bytes.data(), static_cast<int>(bytes.size()), out->data, out->linesize,
                                       static_cast<AVPixelFormat>(out->format), out->width, out->height, 1),
               file.Path());
    file.Write(bytes.data(), bytes.size());
}

void RawWriter::Finish() {
    file.Keep();
}

}  // namespace tool
