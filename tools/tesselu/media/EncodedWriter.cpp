#include "media/EncodedWriter.h"

#include <cerrno>
#include <new>

#include "Errors.h"
#include "media/Planes.h"
#include "media/Samples.h"

namespace tool {
namespace {

bool Takes(const AVCodec& codec, AVPixelFormat samples) {
    for (const AVPixelFormat* format = codec.pix_fmts; format != nullptr && *format != AV_PIX_FMT_NONE;
         ++format) {
        if (*format == samples) {
            return true;
        }
    }
    return false;
}

struct Label {
    AVColorSpace space;
    AVColorPrimaries primaries;
    AVColorTransferCharacteristic transfer;
};

Label LabelOf(LumaWeights weights) {
    switch (weights) {
        case LumaWeights::kBt709:
            return {AVCOL_SPC_BT709, AVCOL_PRI_BT709, AVCOL_TRC_BT709};
        case LumaWeights::kBt2020:
            return {AVCOL_SPC_BT2020_NCL, AVCOL_PRI_BT2020, AVCOL_TRC_BT2020_10};
        default:
            return {AVCOL_SPC_SMPTE170M, AVCOL_PRI_SMPTE170M, AVCOL_TRC_SMPTE170M};
    }
}

const AVCodec* FindEncoder(AVCodecID id, AVPixelFormat samples) {
    void* walk = nullptr;
    while (const AVCodec* codec = av_codec_iterate(&walk)) {
        if (codec->id == id && av_codec_is_encoder(codec) != 0 && Takes(*codec, samples)) {
            return codec;
        }
    }
    return nullptr;
}

}  // namespace

int EncodedWriter::WriteBytes(void* self, std::uint8_t* bytes, int size) {
    auto& writer = *static_cast<EncodedWriter*>(self);
    try {
        writer.file.Write(bytes, static_cast<std::size_t>(size));
        return size;
    } catch (...) {
        writer.fault = std::current_exception();
        return AVERROR(EIO);
    }
}

std::int64_t EncodedWriter::SeekBytes(void* self, std::int64_t offset, int whence) {
    auto& writer = *static_cast<EncodedWriter*>(self);
    if ((whence & AVSEEK_SIZE) != 0) {
        return AVERROR(ENOSYS);
    }
    return writer.file.Seek(offset, whence & ~AVSEEK_FORCE);
}

void EncodedWriter::Check(int result, const char* about) {
    if (fault) {
        std::rethrow_exception(fault);
    }
    CheckLibav(result, file.Path() + about);
    if (io->error < 0) {
        CheckLibav(io->error, file.Path() + about);
    }
}

EncodedWriter::EncodedWriter(const std::string& path, const PictureFormat& newFormat,
                             const StoredFrames& newStored, Kind kind, int threads)
    : format(newFormat), stored(newStored), file(path) {
    OpenOutput(kind);
    OpenEncoder(kind, threads);
    stream = avformat_new_stream(output.get(), nullptr);
    if (stream == nullptr) {
        throw std::bad_alloc();
    }
    constexpr const char* kAbout = ": cannot be written";
    Check(avcodec_parameters_from_context(stream->codecpar, codec.get()), kAbout);
    stream->time_base = codec->time_base;
    stream->avg_frame_rate = format.rate;
    stream->r_frame_rate = format.rate;
    stream->sample_aspect_ratio = format.pixelAspect;
    AVDictionary* options = nullptr;
    // Without a way back the index of MP4 and QuickTime comes in pieces.
    if (kind != kLosslessMatroska && !file.IsSeekable()) {
        av_dict_set(&options, "movflags", "frag_keyframe+empty_moov", 0);
    }
    const int started = avformat_write_header(output.get(), &options);
    av_dict_free(&options);
    Check(started, kAbout);
    planes = NewFrame(codec->pix_fmt, codec->width, codec->height);
}

EncodedWriter::~EncodedWriter() = default;

void EncodedWriter::OpenOutput(Kind kind) {
    AVFormatContext* context = nullptr;
    const char* const container = kind == kH264Mp4 ? "mp4" : kind == kLosslessQuickTime ? "mov" : "matroska";
    CheckLibav(avformat_alloc_output_context2(&context, nullptr, container, nullptr),
               file.Path() + ": cannot be written");
    output.reset(context);
    constexpr int kBufferSize = 1 << 16;
    auto* buffer = static_cast<unsigned char*>(av_malloc(kBufferSize));
    if (buffer == nullptr) {
        throw std::bad_alloc();
    }
    io.reset(avio_alloc_context(buffer, kBufferSize, 1, this, nullptr, WriteBytes,
                                file.IsSeekable() ? SeekBytes : nullptr));
    if (!io) {
        av_free(buffer);
        throw std::bad_alloc();
    }
    output->pb = io.get();
}

void EncodedWriter::OpenEncoder(Kind kind, int threads) {
    const AVPixelFormat samples = stored.format;
    const AVCodec* encoder = FindEncoder(kind == kH264Mp4 ? AV_CODEC_ID_H264 : AV_CODEC_ID_FFV1, samples);
    if (encoder == nullptr) {
        throw Failure(file.Path() + ": the libavcodec of this machine has no encoder for it in " +
                      av_get_pix_fmt_name(samples) + "; use .mkv or .y4m");
    }
    codec.reset(avcodec_alloc_context3(encoder));
    if (!codec) {
        throw std::bad_alloc();
    }
    codec->width = static_cast<int>(format.width);
    codec->height = static_cast<int>(format.height);
    codec->pix_fmt = samples;
    codec->time_base = av_inv_q(format.rate);
    codec->framerate = format.rate;
    codec->sample_aspect_ratio = format.pixelAspect;
    const Label label = LabelOf(format.weights);
    const bool isRgb = (av_pix_fmt_desc_get(samples)->flags & AV_PIX_FMT_FLAG_RGB) != 0;
    codec->color_range = HasFullRange(samples) ? AVCOL_RANGE_JPEG : AVCOL_RANGE_MPEG;
    codec->colorspace = isRgb ? AVCOL_SPC_RGB : label.space;
    codec->color_primaries = label.primaries;
    codec->color_trc = label.transfer;
    codec->thread_count = threads;
    if (format.IsInterlaced()) {
        codec->flags |= AV_CODEC_FLAG_INTERLACED_DCT | AV_CODEC_FLAG_INTERLACED_ME;
        // Both fields of a picture are stored together, line by line.
        codec->field_order = format.scan == Zan::kUpperFieldFirst ? AV_FIELD_TB : AV_FIELD_BT;
    } else {
        codec->field_order = AV_FIELD_PROGRESSIVE;
    }
    if ((output->oformat->flags & AVFMT_GLOBALHEADER) != 0) {
        codec->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    }

    AVDictionary* options = nullptr;
    if (kind != kH264Mp4) {
        codec->level = 3;
        codec->gop_size = 1;
        av_dict_set(&options, "slicecrc", "1", 0);
        // What can be coded at once must not depend on the machine.
        constexpr unsigned kLarge = 1280 * 720;
        codec->slices = format.width * format.height >= kLarge ? 16 : 4;
    } else {
        av_dict_set(&options, "crf", "18", 0);
    }
    const int opened = avcodec_open2(codec.get(), encoder, &options);
    av_dict_free(&options);
    CheckLibav(opened, file.Path() + ": the encoder refuses the format");
}

void EncodedWriter::Write(const Zan::Image& picture) {
    CheckLibav(av_frame_make_writable(planes.get()), file.Path());
    stored.Fill(picture, *planes);
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
    Check(avcodec_send_frame(codec.get(), picture), ": cannot be encoded");
    for (;;) {
        const int received = avcodec_receive_packet(codec.get(), packet.get());
        if (received == AVERROR(EAGAIN) || received == AVERROR_EOF) {
            return;
        }
        Check(received, ": cannot be encoded");
        packet->stream_index = stream->index;
        if (packet->duration == 0) {
            packet->duration = 1;
        }
        av_packet_rescale_ts(packet.get(), codec->time_base, stream->time_base);
        Check(av_interleaved_write_frame(output.get(), packet.get()), ": cannot be written");
    }
}

void EncodedWriter::Finish() {
    Drain(nullptr);
    Check(av_write_trailer(output.get()), ": cannot be written");
    avio_flush(io.get());
    Check(0, ": cannot be written");
    file.Keep();
}

}  // namespace tool
