#include "media/Deinterlacer.h"

#include <cmath>
#include <new>

#include "Errors.h"

namespace tool {
namespace {

constexpr const char* kAbout = "deinterlacing";
constexpr int kTicks = 1'000'000;  ///< a second, in the time base of the filter

const AVFilter* FindFilter() {
    for (const char* name : {"bwdif", "yadif"}) {
        if (const AVFilter* filter = avfilter_get_by_name(name)) {
            return filter;
        }
    }
    throw Failure("the libavfilter of this machine cannot deinterlace; choose --scan tff or bff");
}

}  // namespace

Deinterlacer::Deinterlacer(bool newEveryField, int newThreads)
    : everyField(newEveryField), threads(newThreads) {}

void Deinterlacer::Build(const AVFrame& frame) {
    graph.reset(avfilter_graph_alloc());
    if (!graph) {
        throw std::bad_alloc();
    }
    graph->nb_threads = threads;
    const AVRational aspect = frame.sample_aspect_ratio;
    const std::string format =
        "video_size=" + std::to_string(frame.width) + "x" + std::to_string(frame.height) +
        ":pix_fmt=" + std::to_string(frame.format) + ":time_base=1/" + std::to_string(kTicks) +
        ":pixel_aspect=" + std::to_string(aspect.num) + "/" + std::to_string(std::max(aspect.den, 1));
    AVFilterContext* filter = nullptr;
    const std::string settings =
        std::string("mode=") + (everyField ? "send_field" : "send_frame") + ":deint=interlaced";
    CheckLibav(avfilter_graph_create_filter(&source, avfilter_get_by_name("buffer"), "in", format.c_str(),
                                            nullptr, graph.get()),
               kAbout);
    CheckLibav(avfilter_graph_create_filter(&filter, FindFilter(), "deinterlace", settings.c_str(), nullptr,
                                            graph.get()),
               kAbout);
    CheckLibav(avfilter_graph_create_filter(&sink, avfilter_get_by_name("buffersink"), "out", nullptr,
                                            nullptr, graph.get()),
               kAbout);
    CheckLibav(avfilter_link(source, 0, filter, 0), kAbout);
    CheckLibav(avfilter_link(filter, 0, sink, 0), kAbout);
    CheckLibav(avfilter_graph_config(graph.get(), nullptr), kAbout);
}

void Deinterlacer::Send(AVFrame* frame, double time) {
    if (frame == nullptr) {
        if (graph) {
            CheckLibav(av_buffersrc_add_frame(source, nullptr), kAbout);
        }
        return;
    }
    if (!graph) {
        Build(*frame);
    }
    frame->pts = std::llround(time * kTicks);
    CheckLibav(av_buffersrc_add_frame(source, frame), kAbout);
}

bool Deinterlacer::Receive(AVFrame& into, double& time) {
    if (!graph) {
        return false;
    }
    av_frame_unref(&into);
    const int received = av_buffersink_get_frame(sink, &into);
    if (received == AVERROR(EAGAIN) || received == AVERROR_EOF) {
        return false;
    }
    CheckLibav(received, kAbout);
    time = static_cast<double>(into.pts) * av_q2d(av_buffersink_get_time_base(sink));
    return true;
}

}  // namespace tool
