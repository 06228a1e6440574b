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

#include <unistd.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "Ours.h"
#include "peers/Peers.h"

namespace bench {

namespace {

/// A layout of planes one behind the other, as the filters take them.
struct Layout {
    AVPixelFormat format;
    int planes;
    int chromaShift;  ///< of the width of planes 1 and 2
};
constexpr Layout kBgra = {AV_PIX_FMT_BGRA, 1, 0}, kGbrap = {AV_PIX_FMT_GBRAP, 4, 0},
                 kGbrp = {AV_PIX_FMT_GBRP, 3, 0}, k444 = {AV_PIX_FMT_YUV444P, 3, 0},
                 k422 = {AV_PIX_FMT_YUV422P, 3, 1}, k422A = {AV_PIX_FMT_YUVA422P, 4, 1};

/// A chain of FFmpeg's filters on one thread: "[a][b]..." or "[a]...", one picture in and one out.
class Filters {
public:
    Filters(const Size& pictureSize, const Layout& layout, const std::string& chain,
            const std::vector<std::uint8_t*>& pictures)
        : Filters(pictureSize, std::vector<Layout>(pictures.size(), layout), chain, pictures) {}

    /// Each picture in a layout of its own.
    Filters(const Size& pictureSize, const std::vector<Layout>& layouts, const std::string& chain,
            const std::vector<std::uint8_t*>& pictures)
        : size(pictureSize) {
        graph.reset(avfilter_graph_alloc());
        graph->nb_threads = 1;
        std::string text;
        for (std::size_t i = 0; i < pictures.size(); ++i) {
            const std::string name(1, static_cast<char>('a' + i));
            text += "buffer@" + name + "=video_size=" + size.Text() +
                    ":pix_fmt=" + std::to_string(layouts[i].format) +
                    ":time_base=1/1000000:frame_rate=25:pixel_aspect=1/1[" + name + "];";
        }
        text += chain + ",buffersink@out";
        AVFilterInOut *in = nullptr, *out = nullptr;
        isReady = avfilter_graph_parse2(graph.get(), text.c_str(), &in, &out) >= 0 && in == nullptr &&
                  out == nullptr && avfilter_graph_config(graph.get(), nullptr) >= 0;
        avfilter_inout_free(&in);
        avfilter_inout_free(&out);
        for (std::size_t i = 0; isReady && i < pictures.size(); ++i) {
            const std::string name = std::string("buffer@") + static_cast<char>('a' + i);
            inputs.push_back(
                {avfilter_graph_get_filter(graph.get(), name.c_str()), Wrap(pictures[i], layouts[i])});
        }
        sink = isReady ? avfilter_graph_get_filter(graph.get(), "buffersink@out") : nullptr;
        made.reset(av_frame_alloc());
    }

    /// The pictures once more, at a time in microseconds; a status other than 0 says that it cannot.
    int Run(std::int64_t time) {
        if (!isReady) {
            return 1;
        }
        for (const auto& [source, frame] : inputs) {
            frame->pts = time;
            if (av_buffersrc_add_frame_flags(source, frame.get(), AV_BUFFERSRC_FLAG_KEEP_REF) < 0) {
                return 1;
            }
        }
        const int status = av_buffersink_get_frame(sink, made.get());
        av_frame_unref(made.get());
        return status < 0 ? 1 : 0;
    }

private:
    struct Free {
        void operator()(AVFilterGraph* g) const { avfilter_graph_free(&g); }
        void operator()(AVFrame* frame) const { av_frame_free(&frame); }
    };
    using Frame = std::unique_ptr<AVFrame, Free>;
    struct Input {
        AVFilterContext* source;
        Frame frame;
    };

    Frame Wrap(std::uint8_t* memory, const Layout& layout) const {
        Frame frame(av_frame_alloc());
        frame->format = layout.format;
        frame->width = static_cast<int>(size.width);
        frame->height = static_cast<int>(size.height);
        frame->sample_aspect_ratio = {1, 1};
        std::size_t offset = 0;
        for (int i = 0; i < layout.planes; ++i) {
            const std::size_t pitch = layout.planes == 1
                                          ? 4 * size.width
                                          : size.width >> (i == 1 || i == 2 ? layout.chromaShift : 0);
            frame->data[i] = memory + offset;
            frame->linesize[i] = static_cast<int>(pitch);
            offset += pitch * size.height;
        }
        frame->buf[0] = av_buffer_create(
            memory, offset, [](void*, std::uint8_t*) {}, nullptr, AV_BUFFER_FLAG_READONLY);
        return frame;
    }

    Size size;
    std::unique_ptr<AVFilterGraph, Free> graph;
    std::vector<Input> inputs;
    AVFilterContext* sink = nullptr;
    Frame made;
    bool isReady = false;
};

/// The filter of transitions, half way through one. It draws its own gradient, so that its pictures are not
/// ours.
void EnterTransitions(Contests& contests, const Pictures& p) {
    const auto enter = [&](Operation operation, const char* name, const char* transition,
                           const Layout& layout) {
        const std::string chain =
            std::string("[a][b]xfade=transition=") + transition + ":duration=60:offset=0";
        auto work = std::make_shared<Filters>(p.size, layout, chain, std::vector{p.a, p.b});
        // The transition begins at the first picture; all others come in its middle.
        const bool isReady = work->Run(0) == 0;
        contests[operation].Enter(kAvfilter, name, Promise::kNone,
                                  [isReady, work, time = std::int64_t{30000000}]() mutable {
                                      return isReady ? work->Run(++time) : 1;
                                  });
    };
    // There is no 4:2:2 in it: three planes of full size come nearest.
    enter(Operation::kDissolveViewPixels, "xfade fade, GBRAP", "fade", kGbrap);
    enter(Operation::kDissolveViewPairs, "xfade fade, 4:4:4", "fade", k444);
    for (const Operation wipe : {Operation::kWipePixels, Operation::kWipeEdgePixels}) {
        enter(wipe, "xfade smoothleft, GBRAP", "smoothleft", kGbrap);
    }
    for (const Operation wipe : {Operation::kWipePairs, Operation::kWipeEdgePairs}) {
        enter(wipe, "xfade smoothleft, 4:4:4", "smoothleft", k444);
    }
}

/// The look as a file, for as long as filters that read it are made.
class CubeFile {
public:
    CubeFile()
        : path(std::filesystem::temp_directory_path() / ("bench-" + std::to_string(getpid()) + ".cube")) {
        std::ofstream file(path);
        file << CubeText();
        if (!file) {
            throw std::runtime_error(path.string() + ": cannot be written");
        }
    }
    ~CubeFile() {
        std::error_code ignored;
        std::filesystem::remove(path, ignored);
    }
    CubeFile(const CubeFile&) = delete;
    CubeFile& operator=(const CubeFile&) = delete;

    const std::filesystem::path path;
};

// Planes where ours are packed, and settings that come near ours: the same work, not the same bytes. What is
// in the planes is the photograph as ours have it, or noise.
void EnterTones(Contests& contests, const Pictures& p) {
    const auto enter = [&](Operation operation, const std::string& chain, const Layout& layout,
                           std::uint8_t* picture) {
        auto work = std::make_shared<Filters>(p.size, layout, "[a]" + chain, std::vector{picture});
        const std::string name = chain.substr(0, chain.find(":file"));
        contests[operation].Enter(kAvfilter, name.c_str(), Promise::kNone,
                                  [work, time = std::int64_t{0}]() mutable { return work->Run(++time); });
    };
    const std::string tables =
        "lutyuv=y=gammaval(0.45):u=clip((val-128)*1.2+128\\,0\\,255)"
        ":v=clip((val-128)*0.8+128\\,0\\,255)";
    for (const Operation operation : {Operation::kTablesPairs, Operation::kPosterizeTables,
                                      Operation::kPosterizeFlp, Operation::kPosterizeFixed}) {
        enter(operation, tables, k422, p.photoPairs);
    }
    enter(Operation::kInvert, "lutyuv=y=negval:u=negval:v=negval", k422, p.photoPairs);
    enter(Operation::kTablesPairsAndAlpha, tables + ":a=negval", k422A, p.photoPairs);
    const std::string eq = "eq=brightness=0.05:contrast=1.1";
    enter(Operation::kAdjustPairs, eq + ":saturation=1.2", k422, p.photoPairs);
    enter(Operation::kAdjustHue, eq + ",hue=h=20:s=1.2", k422, p.photoPairs);
    enter(Operation::kCorrectPairs, "lutyuv=y=clip(gammaval(0.7)\\,16\\,235),hue=h=20:s=1.2", k422,
          p.photoPairs);

    const CubeFile cube;
    const std::string lut3d = "lut3d=interp=tetrahedral:file=" + cube.path.string();
    const auto planes = [&](const std::uint8_t* pixels) {
        auto memory = std::make_shared<std::vector<std::uint8_t>>(3 * p.size.pixels());
        for (std::size_t i = 0; i < p.size.pixels(); ++i) {
            (*memory)[i] = pixels[4 * i + 1];
            (*memory)[i + p.size.pixels()] = pixels[4 * i];
            (*memory)[i + 2 * p.size.pixels()] = pixels[4 * i + 2];
        }
        return memory;
    };
    for (const auto& [operation, pixels] :
         {std::pair{Operation::kCubePhoto, p.photo}, std::pair{Operation::kCubeRamp, p.ramp},
          std::pair{Operation::kCubeNoise, p.a}}) {
        const auto memory = planes(pixels);
        auto work = std::make_shared<Filters>(p.size, kGbrp, "[a]" + lut3d, std::vector{memory->data()});
        contests[operation].Enter(
            kAvfilter, "lut3d=interp=tetrahedral, GBRP", Promise::kNone,
            [memory, work, time = std::int64_t{0}]() mutable { return work->Run(++time); });
    }
}

// Of planes, the background being noise: the backing's colour as near as they take it.
void EnterKeyers(Contests& contests, const Pictures& p) {
    const auto enter = [&](Operation operation, const char* chain, const Layout& layout,
                           const std::vector<std::uint8_t*>& pictures) {
        auto work = std::make_shared<Filters>(p.size, layout, chain, pictures);
        const std::string text = chain;
        const std::string name = text.substr(text.find_first_not_of("[abk]"));
        contests[operation].Enter(kAvfilter, name.c_str(), Promise::kNone,
                                  [work, time = std::int64_t{0}]() mutable { return work->Run(++time); });
    };
    constexpr const char* kChain = "[a]chromakey=0x00B140:0.2:0.1,despill=green[k];[b][k]overlay=format=auto";
    enter(Operation::kKeyPairs, kChain, k422, {p.photoPairs, p.b});
    enter(Operation::kKeyPixels, kChain, k444, {p.photoYcc, p.b});
    enter(Operation::kKeyPairsFixed, kChain, k422, {p.photoPairs, p.b});
    enter(Operation::kKeyPixelsFixed, kChain, k444, {p.photoYcc, p.b});
    // Alpha alone.
    enter(Operation::kKeyPixels, "[a]colorkey=0x00B140:0.2:0.1", kBgra, {p.photo});
}

// Over noise, as ours.
void EnterOverlaysAndFilters(Contests& contests, const Pictures& p) {
    const auto enter = [&](Operation operation, const char* name, const char* chain,
                           const std::vector<Layout>& layouts, const std::vector<std::uint8_t*>& pictures) {
        auto work = std::make_shared<Filters>(p.size, layouts, chain, pictures);
        // Filters of several frames give the first when they have them.
        std::int64_t time = 0;
        while (time < 20 && work->Run(++time) != 0) {
        }
        contests[operation].Enter(kAvfilter, name, Promise::kNone,
                                  [work, time]() mutable { return work->Run(++time); });
    };
    enter(Operation::kOverlayStraight, "overlay, GBRAP over GBRP", "[a][b]overlay=format=gbrp",
          {kGbrp, kGbrap}, {p.b, p.a});
    enter(Operation::kOverlayUnion, "overlay, GBRAP", "[a][b]overlay=format=gbrp", {kGbrap, kGbrap},
          {p.b, p.a});
    for (const Operation operation : {Operation::kOverlayPairs, Operation::kOverlayPairsShaped}) {
        enter(operation, "overlay, 4:2:2:4 over 4:2:2", "[a][b]overlay=format=yuv422", {k422, k422A},
              {p.b, p.a});
    }
    enter(Operation::kOverlayPairsUnion, "overlay, 4:2:2:4", "[a][b]overlay=format=yuv422", {k422A, k422A},
          {p.b, p.a});
    for (const auto& [operation, chain] :
         {std::pair{Operation::kBlur5, "[a]avgblur=2"}, std::pair{Operation::kBlur31, "[a]avgblur=15"},
          std::pair{Operation::kBlur101, "[a]avgblur=50"}}) {
        enter(operation, chain + 3, chain, {kGbrap}, {p.photo});
    }
    enter(Operation::kDenoise119, "atadenoise=s=9", "[a]atadenoise=s=9", {k422}, {p.photoPairs});
    enter(Operation::kDenoise331, "hqdn3d", "[a]hqdn3d", {k422}, {p.photoPairs});
    enter(Operation::kDenoise333, "hqdn3d", "[a]hqdn3d", {k422}, {p.photoPairs});
    enter(Operation::kDenoiseSAT, "atadenoise=s=5", "[a]atadenoise=s=5", {k422}, {p.photoPairs});
}

void Enter(Contests& contests, const Pictures& p) {
    av_log_set_level(AV_LOG_QUIET);
    EnterTransitions(contests, p);
    EnterTones(contests, p);
    EnterKeyers(contests, p);
    EnterOverlaysAndFilters(contests, p);
}

// Most of its filters have no vector code; what they have is chosen by the processor.
std::string Limit(Level) {
    return "C";
}

}  // namespace

Peer Avfilter() {
    const unsigned version = avfilter_version();
    return {kAvfilter,
            std::to_string(version >> 16) + "." + std::to_string(version >> 8 & 255) + "." +
                std::to_string(version & 255),
            Limit, Enter};
}

}  // namespace bench
