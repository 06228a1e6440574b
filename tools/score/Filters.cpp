#include <cmath>
#include <cstdio>

#include "Errors.h"
#include "Keying.h"
#include "media/Libav.h"

namespace score {
namespace {

std::string Text(const char* format, double value) {
    char text[64];
    std::snprintf(text, sizeof text, format, value);
    return text;
}

/// The frame as planes, fully opaque.
tool::FramePtr PlanesOf(const Frame& frame, bool isPairs) {
    tool::FramePtr made = tool::NewFrame(isPairs ? AV_PIX_FMT_YUVA422P : AV_PIX_FMT_YUVA444P,
                                         static_cast<int>(frame.width), static_cast<int>(frame.height));
    made->colorspace = AVCOL_SPC_BT709;
    made->color_range = AVCOL_RANGE_MPEG;
    made->sample_aspect_ratio = {1, 1};
    made->pts = 0;
    for (unsigned y = 0; y < frame.height; ++y) {
        const std::uint8_t* const row = tool::Line(isPairs ? *frame.pairs : *frame.pixels, y);
        const auto out = [&](int plane) {
            return made->data[plane] + std::ptrdiff_t{y} * made->linesize[plane];
        };
        for (std::size_t x = 0; x < frame.width; ++x) {
            out(0)[x] = row[isPairs ? 2 * x + 1 : 4 * x + 1];
            out(3)[x] = 255;
        }
        for (std::size_t x = 0; x < (isPairs ? frame.width / 2 : frame.width); ++x) {
            out(1)[x] = row[4 * x];
            out(2)[x] = row[4 * x + 2];
        }
    }
    return made;
}

}  // namespace

Made KeyByFilters(const Frame& frame, Sampling sampling, Plate plate, const FilterSettings& settings) {
    const bool isPairs = sampling == Sampling::kPairs;
    const PlateChroma chroma = ChromaOf(plate);
    char colour[16];
    std::snprintf(colour, sizeof colour, "0x%02X%02X%02X", static_cast<unsigned>(chroma.luma + 0.5),
                  static_cast<unsigned>(chroma.cb + 0.5), static_cast<unsigned>(chroma.cr + 0.5));
    std::string chain = "buffer@in=video_size=" + std::to_string(frame.width) + "x" +
                        std::to_string(frame.height) + (isPairs ? ":pix_fmt=yuva422p" : ":pix_fmt=yuva444p") +
                        ":time_base=1/25:pixel_aspect=1/1,";
    chain += "chromakey=yuv=1:color=" + std::string(colour) + Text(":similarity=%.5f", settings.similarity) +
             Text(":blend=%.5f", settings.blend);
    chain += ",scale=flags=accurate_rnd+full_chroma_int+bicubic:in_color_matrix=bt709:in_range=limited";
    chain += ",format=rgba,despill=type=";
    chain += plate == Plate::kGreen ? "green" : "blue";
    chain += Text(":mix=%.5f", settings.mix) + Text(":expand=%.5f", settings.expand) +
             Text(":brightness=%.5f", settings.brightness);
    chain += Text(plate == Plate::kGreen ? ":green=%.5f" : ":green=0:blue=%.5f", settings.scale);
    chain += ",format=rgba,buffersink@out";

    const tool::GraphPtr graph(avfilter_graph_alloc());
    graph->nb_threads = 1;
    AVFilterInOut *in = nullptr, *out = nullptr;
    tool::CheckLibav(avfilter_graph_parse2(graph.get(), chain.c_str(), &in, &out), chain);
    tool::CheckLibav(avfilter_graph_config(graph.get(), nullptr), chain);
    const tool::FramePtr planes = PlanesOf(frame, isPairs), keyed = tool::NewFrame();
    tool::CheckLibav(
        av_buffersrc_add_frame(avfilter_graph_get_filter(graph.get(), "buffer@in"), planes.get()), chain);
    tool::CheckLibav(
        av_buffersink_get_frame(avfilter_graph_get_filter(graph.get(), "buffersink@out"), keyed.get()),
        chain);

    const std::array<Samples, 3>& background = isPairs ? frame.backgroundOfPairs : frame.background;
    Made made = {Samples(frame.alpha.size()), {}};
    for (Samples& samples : made.composite) {
        samples.resize(frame.alpha.size());
    }
    for (std::size_t y = 0; y < frame.height; ++y) {
        const std::uint8_t* const row = keyed->data[0] + static_cast<std::ptrdiff_t>(y) * keyed->linesize[0];
        for (std::size_t x = 0; x < frame.width; ++x) {
            const std::size_t at = y * frame.width + x;
            const float alpha = row[4 * x + 3], share = alpha / 255.0F;
            made.alpha[at] = alpha;
            for (std::size_t i = 0; i < 3; ++i) {
                made.composite[i][at] =
                    static_cast<float>(row[4 * x + i]) * share + background[i][at] * (1.0F - share);
            }
        }
    }
    return made;
}

}  // namespace score
