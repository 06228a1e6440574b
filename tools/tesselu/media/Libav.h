#ifndef TESSELU_TOOLS_MEDIA_LIBAV_H
#define TESSELU_TOOLS_MEDIA_LIBAV_H

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavfilter/avfilter.h>
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
#include <libavformat/avformat.h>
#include <libavutil/display.h>
#include <libavutil/imgutils.h>
#include <libavutil/opt.h>
#include <libavutil/pixdesc.h>
#include <libswscale/swscale.h>
}

#include <memory>
#include <string>

namespace tool {

struct FreeInput {
    void operator()(AVFormatContext* context) const noexcept { avformat_close_input(&context); }
};
struct FreeCodec {
    void operator()(AVCodecContext* context) const noexcept { avcodec_free_context(&context); }
};
struct FreeFrame {
    void operator()(AVFrame* frame) const noexcept { av_frame_free(&frame); }
};
struct FreePacket {
    void operator()(AVPacket* packet) const noexcept { av_packet_free(&packet); }
};
struct FreeSws {
    void operator()(SwsContext* context) const noexcept { sws_freeContext(context); }
};

struct FreeGraph {
    void operator()(AVFilterGraph* graph) const noexcept { avfilter_graph_free(&graph); }
};

using InputPtr = std::unique_ptr<AVFormatContext, FreeInput>;
using CodecPtr = std::unique_ptr<AVCodecContext, FreeCodec>;
using FramePtr = std::unique_ptr<AVFrame, FreeFrame>;
using PacketPtr = std::unique_ptr<AVPacket, FreePacket>;
using GraphPtr = std::unique_ptr<AVFilterGraph, FreeGraph>;
using SwsPtr = std::unique_ptr<SwsContext, FreeSws>;

/// These throw `std::bad_alloc` instead of returning null.
FramePtr NewFrame();
PacketPtr NewPacket();
/// A frame with memory of its own.
FramePtr NewFrame(AVPixelFormat format, int width, int height);

/// The words for a negative libav result.
std::string LibavText(int error);

/// Throws `Failure` "about: what libav says" for a negative result; returns the result otherwise.
int CheckLibav(int result, const std::string& about);

/// The name of a local file as libav must hear it: no protocol is ever read out of it.
std::string LocalFile(const std::string& path);

}  // namespace tool

#endif  // TESSELU_TOOLS_MEDIA_LIBAV_H
