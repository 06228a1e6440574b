#include "media/PngWriter.h"

#include <algorithm>
#include <fstream>
#include <new>

#include "Errors.h"
#include "media/Libav.h"

namespace tool {

void WritePng(const std::string& path, const Raster& picture) {
    const AVCodec* encoder = avcodec_find_encoder(AV_CODEC_ID_PNG);
    if (encoder == nullptr)
        throw Failure(path + ": the libavcodec of this machine has no PNG encoder");
    const CodecPtr codec(avcodec_alloc_context3(encoder));
    if (!codec)
        throw std::bad_alloc();
    codec->width = static_cast<int>(picture.width);
    codec->height = static_cast<int>(picture.height);
    codec->pix_fmt = AV_PIX_FMT_RGB24;
    codec->time_base = {1, 25};
    codec->compression_level = 9;
    AVDictionary* options = nullptr;
    av_dict_set(&options, "pred", "mixed", 0);
    const int opened = avcodec_open2(codec.get(), encoder, &options);
    av_dict_free(&options);
    CheckLibav(opened, path + ": cannot be encoded");

    const FramePtr frame = NewFrame(AV_PIX_FMT_RGB24, codec->width, codec->height);
    for (unsigned y = 0; y < picture.height; ++y)
        std::copy_n(picture.At(0, y), std::size_t{picture.width} * 3,
                    frame->data[0] + std::ptrdiff_t{frame->linesize[0]} * y);
    frame->pts = 0;
    CheckLibav(avcodec_send_frame(codec.get(), frame.get()), path + ": cannot be encoded");
    CheckLibav(avcodec_send_frame(codec.get(), nullptr), path + ": cannot be encoded");
    const PacketPtr packet = NewPacket();
    CheckLibav(avcodec_receive_packet(codec.get(), packet.get()), path + ": cannot be encoded");

    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(packet->data), packet->size);
    out.close();
    if (!out)
        throw Failure(path + ": cannot be written");
}

}  // namespace tool
