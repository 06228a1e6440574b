#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include "Ours.h"
#include "peers/Peers.h"

namespace bench {

namespace {

void Enter(Contests& contests, const Pictures& p) {
    cv::setNumThreads(1);
    const int w = static_cast<int>(p.size.width), h = static_cast<int>(p.size.height);
    const cv::Mat a(h, w, CV_8UC4, p.a), b(h, w, CV_8UC4, p.b), out(h, w, CV_8UC4, p.out);
    const cv::Mat pairsA(h, w, CV_8UC2, p.a), pairsB(h, w, CV_8UC2, p.b), pairsOut(h, w, CV_8UC2, p.out);
    const cv::Mat key(h, w, CV_8UC1, p.key), planar(h + h / 2, w, CV_8UC1, p.planar);
    const cv::Mat scratch(h, w, CV_8UC4, p.scratch);
    const auto enter = [&](Operation operation, Column column, const char* name, Promise promise, auto work) {
        contests[operation].Enter(column, name, promise, [work] {
            try {
                work();
                return 0;
            } catch (const cv::Exception&) {
                return 1;
            }
        });
    };
    constexpr Promise kSame = Promise::kSameBytes, kApproximate = Promise::kApproximate;

    enter(Operation::kDissolvePixels, kOpenCV, "OpenCV addWeighted", kApproximate,
          [=] { cv::addWeighted(a, kFade, b, 1 - kFade, 0, out); });
    enter(Operation::kDissolvePairs, kOpenCV, "OpenCV addWeighted", kApproximate,
          [=] { cv::addWeighted(pairsA, kFade, pairsB, 1 - kFade, 0, pairsOut); });
    enter(Operation::kSumOfAbsDiffs, kOpenCV, "OpenCV absdiff, transform", kApproximate,
          [=, sums = cv::Mat(h, w, CV_8UC1, p.out)] {
              cv::absdiff(a, b, scratch);
              cv::transform(scratch, sums, cv::Matx14f(1, 1, 1, 0));
          });
    enter(Operation::kFill, kOpenCV, "OpenCV setTo", kSame, [=] {
        cv::Mat to = out;
        to.setTo(cv::Scalar(kColour & 255, kColour >> 8 & 255, kColour >> 16 & 255, kColour >> 24));
    });
    enter(Operation::kCopyPixels, kOpenCV, "OpenCV copyTo", kSame, [=] { a.copyTo(out); });
    enter(Operation::kCopyPairs, kOpenCV, "OpenCV copyTo", kSame, [=] { pairsA.copyTo(pairsOut); });
    enter(Operation::kPairsToPixels, kOpenCV, "OpenCV cvtColor", kApproximate,
          [=] { cv::cvtColor(pairsA, out, cv::COLOR_YUV2BGRA_UYVY); });
    enter(Operation::kPlanarToPixels, kOpenCV, "OpenCV cvtColor", kApproximate,
          [=] { cv::cvtColor(planar, out, cv::COLOR_YUV2BGRA_I420); });
    enter(Operation::kSwapPairs, kOpenCV, "OpenCV mixChannels", kSame, [=] {
        static constexpr int kOrder[] = {0, 1, 1, 0};
        cv::Mat to = pairsOut;
        cv::mixChannels(&pairsA, 1, &to, 1, kOrder, 2);
    });
#ifdef TESSELU_BENCH_PIXMAN
    const auto blend = PixmanBlendByPlane(p, p.scratch);
    for (const Operation wipe : {Operation::kWipePixelsRaw, Operation::kWipePixels}) {
        enter(wipe, kPixman, "OpenCV convertTo, pixman_image_composite32", kApproximate,
              [=, alpha = cv::Mat(h, w, CV_8UC1, p.scratch)] {
                  key.convertTo(alpha, CV_8UC1, kGain * 255, -kThreshold * 255 * kGain * 255);
                  blend();
              });
    }
#endif
}

// Limited by LimitByEnvironment.
std::string Limit(Level) {
    static constexpr InstructionSet kNames[] = {
        {CV_CPU_SSE3, "SSE3"}, {CV_CPU_SSE4_1, "SSE4.1"},         {CV_CPU_AVX, "AVX"},
        {CV_CPU_AVX2, "AVX2"}, {CV_CPU_AVX512_SKX, "AVX512_SKX"}, {CV_CPU_NEON, "NEON"}};
    return NamesOf(kNames, [](int flag) { return cv::checkHardwareSupport(flag); });
}

}  // namespace

Peer OpenCV() {
    return {kOpenCV, cv::getVersionString(), Limit, Enter};
}

}  // namespace bench
