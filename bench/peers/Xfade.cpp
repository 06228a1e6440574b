// libav wants the limits of integer types before it.
#include <cstdint>

extern "C" {
#include <libavfilter/avfilter.h>
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
#include <libavutil/frame.h>
#include <libavutil/log.h>
#include <libavutil/pixfmt.h>
}

#include <memory>
#include <string>

#include "peers/Peers.h"

namespace bench {

namespace {

/// FFmpeg's filter of transitions, half way through one. It takes planes, and draws its own gradient, so that
/// its pictures are not ours.
class Transition {
public:
    Transition(const Pictures& p, AVPixelFormat format, int planes, const char* name) {
        const std::string size = std::to_string(p.size.width) + "x" + std::to_string(p.size.height);
        const std::string input = "video_size=" + size + ":pix_fmt=" + std::to_string(format) +
                                  ":time_base=1/1000000:frame_rate=25:pixel_aspect=1/1";
        const std::string effect = "transition=" + std::string(name) + ":duration=60:offset=0";
        graph.reset(avfilter_graph_alloc());
        graph->nb_threads = 1;
        AVFilterContext* filter = nullptr;
        isReady = Create(&from, "buffer", "a", input.c_str()) && Create(&to, "buffer", "b", input.c_str()) &&
                  Create(&filter, "xfade", "x", effect.c_str()) &&
                  Create(&sink, "buffersink", "out", nullptr) && avfilter_link(from, 0, filter, 0) == 0 &&
                  avfilter_link(to, 0, filter, 1) == 0 && avfilter_link(filter, 0, sink, 0) == 0 &&
                  avfilter_graph_config(graph.get(), nullptr) >= 0;
        first = Wrap(p, format, planes, p.a);
        second = Wrap(p, format, planes, p.b);
        made.reset(av_frame_alloc());
        // The transition begins at the first picture; all others come in its middle.
        isReady = isReady && Make(0) == 0;
    }

    int Run() {
        constexpr std::int64_t kMiddle = 30000000;
        return isReady ? Make(kMiddle + ++count) : 1;
    }

private:
    struct Free {
        void operator()(AVFilterGraph* g) const { avfilter_graph_free(&g); }
        void operator()(AVFrame* frame) const { av_frame_free(&frame); }
    };
    using Frame = std::unique_ptr<AVFrame, Free>;

    bool Create(AVFilterContext** context, const char* filter, const char* name, const char* settings) {
        return avfilter_graph_create_filter(context, avfilter_get_by_name(filter), name, settings, nullptr,
                                            graph.get()) >= 0;
    }

    /// The bytes of a picture as planes of full size, one behind the other.
    static Frame Wrap(const Pictures& p, AVPixelFormat format, int planes, std::uint8_t* memory) {
        Frame frame(av_frame_alloc());
        frame->format = format;
        frame->width = static_cast<int>(p.size.width);
        frame->height = static_cast<int>(p.size.height);
        frame->sample_aspect_ratio = {1, 1};
        for (int i = 0; i < planes; ++i) {
            frame->data[i] = memory + static_cast<std::size_t>(i) * p.size.pixels();
            frame->linesize[i] = static_cast<int>(p.size.width);
        }
        frame->buf[0] = av_buffer_create(
            memory, static_cast<std::size_t>(planes) * p.size.pixels(), [](void*, std::uint8_t*) {}, nullptr,
            AV_BUFFER_FLAG_READONLY);
        return frame;
    }

    int Make(std::int64_t time) {
        first->pts = second->pts = time;
        if (av_buffersrc_add_frame_flags(from, first.get(), AV_BUFFERSRC_FLAG_KEEP_REF) < 0 ||
            av_buffersrc_add_frame_flags(to, second.get(), AV_BUFFERSRC_FLAG_KEEP_REF) < 0) {
            return 1;
        }
        const int status = av_buffersink_get_frame(sink, made.get());
        av_frame_unref(made.get());
        return status < 0 ? 1 : 0;
    }

    std::unique_ptr<AVFilterGraph, Free> graph;
    AVFilterContext *from = nullptr, *to = nullptr, *sink = nullptr;
    Frame first, second, made;
    std::int64_t count = 0;
    bool isReady = false;
};

void Enter(Contests& contests, const Pictures& p) {
    av_log_set_level(AV_LOG_QUIET);
    const auto enter = [&](Operation operation, const char* name, const char* transition,
                           AVPixelFormat format, int planes) {
        contests[operation].Enter(
            kXfade, name, Promise::kNone,
            [work = std::make_shared<Transition>(p, format, planes, transition)] { return work->Run(); });
    };
    // There is no 4:2:2 in it: three planes of full size come nearest.
    enter(Operation::kDissolveViewPixels, "xfade fade, GBRAP", "fade", AV_PIX_FMT_GBRAP, 4);
    enter(Operation::kDissolveViewPairs, "xfade fade, 4:4:4", "fade", AV_PIX_FMT_YUV444P, 3);
    enter(Operation::kWipePixels, "xfade smoothleft, GBRAP", "smoothleft", AV_PIX_FMT_GBRAP, 4);
    enter(Operation::kWipePairs, "xfade smoothleft, 4:4:4", "smoothleft", AV_PIX_FMT_YUV444P, 3);
}

// It has no vector code.
std::string Limit(Level) {
    return "C";
}

}  // namespace

Peer Xfade() {
    const unsigned version = avfilter_version();
    return {kXfade,
            std::to_string(version >> 16) + "." + std::to_string(version >> 8 & 255) + "." +
                std::to_string(version & 255),
            Limit, Enter};
}

}  // namespace bench
