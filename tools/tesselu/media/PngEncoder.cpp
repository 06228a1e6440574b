#include "media/PngEncoder.h"

#include <algorithm>
#include <new>

#include "Errors.h"

namespace tool {
namespace {

constexpr const char* kAbout = "encoding a PNG picture";

}  // namespace

PngEncoder::PngEncoder(AVPixelFormat samples, int width, int height, int effort, int threads) {
    const AVCodec* encoder = avcodec_find_encoder(AV_CODEC_ID_PNG);
    if (encoder == nullptr) {
        throw Failure("the libavcodec of this machine has no PNG encoder");
    }
    codec.reset(avcodec_alloc_context3(encoder));
    if (!codec) {
        throw std::bad_alloc();
    }
    codec->width = width;
    codec->height = height;
    codec->pix_fmt = samples;
    codec->time_base = {1, 25};
    codec->compression_level = effort;
    codec->thread_count = threads;
    AVDictionary* options = nullptr;
    av_dict_set(&options, "pred", "mixed", 0);
    const int opened = avcodec_open2(codec.get(), encoder, &options);
    av_dict_free(&options);
    CheckLibav(opened, kAbout);
}

void PngEncoder::Send(const AVFrame* picture) {
    CheckLibav(avcodec_send_frame(codec.get(), picture), kAbout);
}

const AVPacket* PngEncoder::Receive() {
    const int received = avcodec_receive_packet(codec.get(), packet.get());
    if (received == AVERROR(EAGAIN) || received == AVERROR_EOF) {
        return nullptr;
    }
    CheckLibav(received, kAbout);
    return packet.get();
}

void WritePng(OutputFile& file, const Raster& picture) {
    const FramePtr frame =
        NewFrame(AV_PIX_FMT_RGB24, static_cast<int>(picture.width), static_cast<int>(picture.height));
    for (unsigned y = 0; y < picture.height; ++y) {
        std::copy_n(picture.At(0, y), std::size_t{picture.width} * 3,
                    frame->data[0] + std::ptrdiff_t{frame->linesize[0]} * y);
    }
    WritePng(file, *frame);
}

void WritePng(OutputFile& file, const AVFrame& picture) {
    constexpr int kMostEffort = 9;
    PngEncoder encoder(static_cast<AVPixelFormat>(picture.format), picture.width, picture.height, kMostEffort,
                       1);
    encoder.Send(&picture);
    encoder.Send(nullptr);
    const AVPacket* packet = encoder.Receive();
    if (packet == nullptr) {
        throw Failure(file.Path() + ": cannot be encoded");
    }
    file.Write(packet->data, static_cast<std::size_t>(packet->size));
    file.Keep();
}

}  // namespace tool
