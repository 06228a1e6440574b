#include "media/EncodedWriter.h"

#include <new>

#include "Errors.h"
#include "media/Planes.h"

namespace tool {
namespace {

bool TakesPlanar422(const AVCodec& codec) {
    for (const AVPixelFormat* format = codec.pix_fmts; format != nullptr && *format != AV_PIX_FMT_NONE;
         ++format)
        if (*format == AV_PIX_FMT_YUV422P)
            return true;
    return false;
}

const AVCodec* FindEncoder(AVCodecID id) {
    void* walk = nullptr;
    while (const AVCodec* codec = av_codec_iterate(&walk))
        if (codec->id == id && av_codec_is_encoder(codec) != 0 && TakesPlanar422(*codec))
            return codec;
    return nullptr;
}

}  // namespace

void EncodedWriter::FreeOutput::operator()(AVFormatContext* context) const noexcept {
    avio_closep(&context->pb);
    avformat_free_context(context);
}

EncodedWriter::EncodedWriter(const std::string& path, const PictureFormat& newFormat, Kind kind)
    : format(newFormat), file(path) {
    AVFormatContext* context = nullptr;
    CheckLibav(avformat_alloc_output_context2(&context, nullptr, kind == kH264Mp4 ? "mp4" : "matroska",
                                              LocalFile(path).c_str()),
               path + ": cannot be written");
    output.reset(context);
    CheckLibav(avio_open(&output->pb, LocalFile(path).c_str(), AVIO_FLAG_WRITE),
               path + ": cannot be written");
    OpenEncoder(kind);
    stream = avformat_new_stream(output.get(), nullptr);
    if (stream == nullptr)
        throw std::bad_alloc();
    CheckLibav(avcodec_parameters_from_context(stream->codecpar, codec.get()), path + ": cannot be written");
    stream->time_base = codec->time_base;
    stream->avg_frame_rate = format.rate;
    stream->r_frame_rate = format.rate;
    stream->sample_aspect_ratio = format.pixelAspect;
    CheckLibav(avformat_write_header(output.get(), nullptr), path + ": cannot be written");
    planes = NewFrame(AV_PIX_FMT_YUV422P, codec->width, codec->height);
}

EncodedWriter::~EncodedWriter() = default;

void EncodedWriter::OpenEncoder(Kind kind) {
    const AVCodec* encoder = FindEncoder(kind == kH264Mp4 ? AV_CODEC_ID_H264 : AV_CODEC_ID_FFV1);
    if (encoder == nullptr)
        throw Failure(file.Path() +
                      ": the libavcodec of this machine has no encoder for it in 4:2:2; use .mkv or .y4m");
    codec.reset(avcodec_alloc_context3(encoder));
    if (!codec)
        throw std::bad_alloc();
    codec->width = static_cast<int>(format.width);
    codec->height = static_cast<int>(format.height);
    codec->pix_fmt = AV_PIX_FMT_YUV422P;
    codec->time_base = av_inv_q(format.rate);
    codec->framerate = format.rate;
    codec->sample_aspect_ratio = format.pixelAspect;
    const bool is709 = format.weights == LumaWeights::kBt709;
    codec->color_range = AVCOL_RANGE_MPEG;
    codec->colorspace = is709 ? AVCOL_SPC_BT709 : AVCOL_SPC_SMPTE170M;
    codec->color_primaries = is709 ? AVCOL_PRI_BT709 : AVCOL_PRI_SMPTE170M;
    codec->color_trc = is709 ? AVCOL_TRC_BT709 : AVCOL_TRC_SMPTE170M;
    codec->thread_count = 0;
    if (format.IsInterlaced()) {
        codec->flags |= AV_CODEC_FLAG_INTERLACED_DCT | AV_CODEC_FLAG_INTERLACED_ME;
        // Both fields of a picture are stored together, line by line.
        codec->field_order = format.scan == Zan::kUpperFieldFirst ? AV_FIELD_TB : AV_FIELD_BT;
    } else
        codec->field_order = AV_FIELD_PROGRESSIVE;
    if ((output->oformat->flags & AVFMT_GLOBALHEADER) != 0)
        codec->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;

    AVDictionary* options = nullptr;
    if (kind == kLosslessMatroska) {
        codec->level = 3;
        codec->gop_size = 1;
        av_dict_set(&options, "slicecrc", "1", 0);
    } else
        av_dict_set(&options, "crf", "18", 0);
    const int opened = avcodec_open2(codec.get(), encoder, &options);
    av_dict_free(&options);
    CheckLibav(opened, file.Path() + ": the encoder refuses the format");
}

void EncodedWriter::Write(Zan::Image& picture) {
    CheckLibav(av_frame_make_writable(planes.get()), file.Path());
    ToPlanes(picture, {planes->data[0], planes->data[1], planes->data[2]},
             {planes->linesize[0], planes->linesize[1], planes->linesize[2]});
    planes->pts = written++;
    planes->sample_aspect_ratio = format.pixelAspect;
    planes->color_range = codec->color_range;
    planes->colorspace = codec->colorspace;
    planes->color_primaries = codec->color_primaries;
    planes->color_trc = codec->color_trc;
    planes->interlaced_frame = format.IsInterlaced() ? 1 : 0;
    planes->top_field_first = format.scan == Zan::kUpperFieldFirst ? 1 : 0;
    Drain(planes.get());
}

void EncodedWriter::Drain(AVFrame* picture) {
    CheckLibav(avcodec_send_frame(codec.get(), picture), file.Path() + ": cannot be encoded");
    for (;;) {
        const int received = avcodec_receive_packet(codec.get(), packet.get());
        if (received == AVERROR(EAGAIN) || received == AVERROR_EOF)
            return;
        CheckLibav(received, file.Path() + ": cannot be encoded");
        packet->stream_index = stream->index;
        if (packet->duration == 0)
            packet->duration = 1;
        av_packet_rescale_ts(packet.get(), codec->time_base, stream->time_base);
        CheckLibav(av_interleaved_write_frame(output.get(), packet.get()),
                   file.Path() + ": cannot be written");
        CheckLibav(output->pb->error, file.Path() + ": cannot be written");
    }
}

void EncodedWriter::Finish() {
    Drain(nullptr);
    CheckLibav(av_write_trailer(output.get()), file.Path() + ": cannot be written");
    CheckLibav(output->pb->error, file.Path() + ": cannot be written");
    CheckLibav(avio_closep(&output->pb), file.Path() + ": cannot be written");
    file.Keep();
}

}  // namespace tool
