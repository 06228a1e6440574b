extern "C" {
#include <libavutil/cpu.h>
#include <libavutil/log.h>
#include <libavutil/pixfmt.h>
#include <libswscale/swscale.h>
}

#include <memory>

#include "peers/Peers.h"

namespace bench {

namespace {

struct Picture {
    AVPixelFormat format;
    std::uint8_t* data[4];
    int pitch[4];
};

void EnterOne(Contest& contest, const char* name, Promise promise, const Size& size, const Picture& from,
              const Picture& to, int flags) {
    const int w = static_cast<int>(size.width), h = static_cast<int>(size.height);
    const std::shared_ptr<SwsContext> context(
        sws_getContext(w, h, from.format, w, h, to.format, flags, nullptr, nullptr, nullptr),
        sws_freeContext);
    contest.Enter(kSwscale, name, promise, [=] {
        if (context == nullptr) {
            return 1;
        }
        return sws_scale(context.get(), from.data, from.pitch, 0, h, to.data, to.pitch) == h ? 0 : 1;
    });
}

void Enter(Contests& contests, const Pictures& p) {
    av_log_set_level(AV_LOG_ERROR);
    const int w = static_cast<int>(p.size.width);
    const auto packed = [](AVPixelFormat format, std::uint8_t* memory, int pitch) {
        return Picture{format, {memory}, {pitch}};
    };
    // The planes one behind the other; `columns`, `lines` share a chroma sample.
    const auto planar = [&](AVPixelFormat format, std::uint8_t* memory, int columns, int lines) {
        const std::size_t luma = p.size.pixels(), chroma = luma / static_cast<std::size_t>(columns * lines);
        return Picture{format,
                       {memory, memory + luma, memory + luma + chroma, memory + luma + 2 * chroma},
                       {w, w / columns, w / columns, w}};
    };
    const Picture uyvy = packed(AV_PIX_FMT_UYVY422, p.a, 2 * w);
    const Picture uyvyOut = packed(AV_PIX_FMT_UYVY422, p.out, 2 * w);
    const Picture yuyv = packed(AV_PIX_FMT_YUYV422, p.a, 2 * w);
    const Picture yuyvOut = packed(AV_PIX_FMT_YUYV422, p.out, 2 * w);
    const Picture bgra = packed(AV_PIX_FMT_BGRA, p.a, 4 * w);
    const Picture bgraOut = packed(AV_PIX_FMT_BGRA, p.out, 4 * w);
    const Picture bgr = packed(AV_PIX_FMT_BGR24, p.a, 3 * w), bgrOut = packed(AV_PIX_FMT_BGR24, p.out, 3 * w);

    constexpr int kAccurate = SWS_BICUBIC | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT | SWS_FULL_CHR_H_INP;
    const auto enter = [&](Operation operation, const Picture& from, const Picture& to,
                           Promise promise = Promise::kApproximate) {
        EnterOne(contests[operation], "swscale fast", promise, p.size, from, to, SWS_FAST_BILINEAR);
        EnterOne(contests[operation], "swscale accurate", promise, p.size, from, to, kAccurate);
    };
    enter(Operation::kPairsToPixels, uyvy, bgraOut);
    enter(Operation::kSwappedToPixels, yuyv, bgraOut);
    enter(Operation::k420ToPixels, planar(AV_PIX_FMT_YUV420P, p.planar, 2, 2), bgraOut);
    enter(Operation::k411ToPixels, planar(AV_PIX_FMT_YUV411P, p.a, 4, 1), bgraOut);
    enter(Operation::kPixelsToPairs, bgra, uyvyOut);
    enter(Operation::kPixelsTo420, bgra, planar(AV_PIX_FMT_YUV420P, p.out, 2, 2));
    enter(Operation::kPixelsTo411, bgra, planar(AV_PIX_FMT_YUV411P, p.out, 4, 1));
    // It has these samples in four planes only.
    enter(Operation::kPixelsToYcc, bgra, planar(AV_PIX_FMT_YUVA444P, p.out, 1, 1), Promise::kNone);
    enter(Operation::kYccToPixels, planar(AV_PIX_FMT_YUVA444P, p.a, 1, 1), bgraOut, Promise::kNone);

    const auto repack = [&](Operation operation, const Picture& from, const Picture& to) {
        EnterOne(contests[operation], "swscale fast", Promise::kApproximate, p.size, from, to,
                 SWS_FAST_BILINEAR);
    };
    repack(Operation::kPairsTo420, uyvy, planar(AV_PIX_FMT_YUV420P, p.out, 2, 2));
    repack(Operation::kPairsTo422, uyvy, planar(AV_PIX_FMT_YUV422P, p.out, 2, 1));
    repack(Operation::kPairsToSwapped, uyvy, yuyvOut);
    repack(Operation::kSwappedToPairs, yuyv, uyvyOut);
    repack(Operation::k422ToPairs, planar(AV_PIX_FMT_YUV422P, p.a, 2, 1), uyvyOut);
    repack(Operation::kPixelsTo24, bgra, bgrOut);
    repack(Operation::k24ToPixels, bgr, bgraOut);
}

// swscale reads the flags when a context is made.
std::string Limit(Level level) {
    av_force_cpu_flags(-1);
#if defined(__x86_64__) || defined(__i386__)
    constexpr int kBaseline =
        AV_CPU_FLAG_MMX | AV_CPU_FLAG_MMXEXT | AV_CPU_FLAG_SSE | AV_CPU_FLAG_SSE2 | AV_CPU_FLAG_CMOV;
    constexpr int kSSSE3 = kBaseline | AV_CPU_FLAG_SSE3 | AV_CPU_FLAG_SSSE3;
    const int all = av_get_cpu_flags();
    switch (level) {
        case Level::kBaseline:
            av_force_cpu_flags(all & kBaseline);
            break;
        case Level::kSSSE3:
            av_force_cpu_flags(all & kSSSE3);
            break;
        case Level::kAVX2:
            av_force_cpu_flags(all & ~(AV_CPU_FLAG_AVX512 | AV_CPU_FLAG_AVX512ICL));
            break;
        case Level::kAll:
            break;
    }
    static constexpr InstructionSet kNames[] = {{AV_CPU_FLAG_SSE2, "SSE2"},    {AV_CPU_FLAG_SSSE3, "SSSE3"},
                                                {AV_CPU_FLAG_SSE4, "SSE4.1"},  {AV_CPU_FLAG_AVX, "AVX"},
                                                {AV_CPU_FLAG_AVX2, "AVX2"},    {AV_CPU_FLAG_AVX512, "AVX512"},
                                                {AV_CPU_FLAG_AVX512ICL, "ICL"}};
    return NamesOf(kNames, [](int flag) { return (av_get_cpu_flags() & flag) != 0; });
#else
    return level == Level::kAll ? "all" : "?";
#endif
}

}  // namespace

Peer Swscale() {
    const unsigned version = swscale_version();
    return {kSwscale,
            std::to_string(AV_VERSION_MAJOR(version)) + "." + std::to_string(AV_VERSION_MINOR(version)) +
                "." + std::to_string(AV_VERSION_MICRO(version)),
            Limit, Enter};
}

}  // namespace bench
