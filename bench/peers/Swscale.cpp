extern "C" {
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

void EnterOne(Contest& contest, const char* name, const Size& size, const Picture& from, const Picture& to,
              int flags) {
    const int w = static_cast<int>(size.width), h = static_cast<int>(size.height);
    const std::shared_ptr<SwsContext> context(
        sws_getContext(w, h, from.format, w, h, to.format, flags, nullptr, nullptr, nullptr),
        sws_freeContext);
    contest.Enter(kSwscale, name, Promise::kApproximate, [=] {
        if (context == nullptr)
            return 1;
        return sws_scale(context.get(), from.data, from.pitch, 0, h, to.data, to.pitch) == h ? 0 : 1;
    });
}

void Enter(Contests& contests, const Pictures& p) {
    av_log_set_level(AV_LOG_ERROR);
    const int w = static_cast<int>(p.size.width);
    std::uint8_t* chroma = p.planar + p.size.pixels();
    const Picture uyvy = {AV_PIX_FMT_UYVY422, {p.a}, {2 * w}}, bgra = {AV_PIX_FMT_BGRA, {p.a}, {4 * w}};
    const Picture i420 = {
        AV_PIX_FMT_YUV420P, {p.planar, chroma, chroma + p.size.pixels() / 4}, {w, w / 2, w / 2}};
    const Picture uyvyOut = {AV_PIX_FMT_UYVY422, {p.out}, {2 * w}};
    const Picture yuyvOut = {AV_PIX_FMT_YUYV422, {p.out}, {2 * w}};
    const Picture bgraOut = {AV_PIX_FMT_BGRA, {p.out}, {4 * w}};

    const auto enter = [&](Operation operation, const Picture& from, const Picture& to) {
        EnterOne(contests[operation], "swscale fast", p.size, from, to, SWS_FAST_BILINEAR);
        EnterOne(contests[operation], "swscale accurate", p.size, from, to,
                 SWS_BICUBIC | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT | SWS_FULL_CHR_H_INP);
    };
    enter(Operation::kPairsToPixels, uyvy, bgraOut);
    enter(Operation::kPixelsToPairs, bgra, uyvyOut);
    enter(Operation::kPlanarToPixels, i420, bgraOut);
    EnterOne(contests[Operation::kSwapPairs], "swscale fast", p.size, uyvy, yuyvOut, SWS_FAST_BILINEAR);
}

}  // namespace

Peer Swscale() {
    const unsigned version = swscale_version();
    return {kSwscale,
            std::to_string(AV_VERSION_MAJOR(version)) + "." + std::to_string(AV_VERSION_MINOR(version)) +
                "." + std::to_string(AV_VERSION_MICRO(version)),
            Enter};
}

}  // namespace bench
