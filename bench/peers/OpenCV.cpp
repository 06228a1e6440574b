#include <TesselU/convert/ConversionMatrix.h>
#include <TesselU/convert/ConverterFormat.h>
#include <TesselU/tone/Histogram.h>

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <array>
#include <stdexcept>

#include "Ours.h"
#include "Wrapped.h"
#include "peers/Peers.h"

namespace bench {

namespace {

struct Enterer {
    Contests& contests;

    template <class Work>
    void operator()(Operation operation, Column column, const char* name, Promise promise, Work work) const {
        contests[operation].Enter(column, name, promise, [work]() mutable {
            try {
                work();
                return 0;
            } catch (const cv::Exception&) {
                return 1;
            }
        });
    }
};

/// Code values in, code values out: B, G, R, A to Cb, Y, Cr, A or back, in single precision.
cv::Matx<float, 4, 5> Matrix(Zan::ULong32 from, Zan::ULong32 to) {
    double matrix[16], offset[8];
    Zan::DefaultMatrixForFormats(matrix, offset, from, to);
    cv::Matx<float, 4, 5> affine;
    for (int i = 0; i < 4; ++i) {
        double sum = offset[4 + i];
        for (int j = 0; j < 4; ++j) {
            affine(i, j) = static_cast<float>(matrix[4 * i + j]);
            sum += matrix[4 * i + j] * offset[j];
        }
        affine(i, 4) = static_cast<float>(sum);
    }
    return affine;
}

void EnterConversions(Contests& contests, const Pictures& p) {
    const Enterer enter{contests};
    const int w = static_cast<int>(p.size.width), h = static_cast<int>(p.size.height);
    const std::size_t pixels = p.size.pixels();
    const cv::Mat a(h, w, CV_8UC4, p.a), out(h, w, CV_8UC4, p.out), shaped(h, w, CV_8UC4, p.shaped);
    const cv::Mat pairs(h, w, CV_8UC2, p.a), pairsOut(h, w, CV_8UC2, p.out);
    const cv::Mat planar(h + h / 2, w, CV_8UC1, p.planar), planarOut(h + h / 2, w, CV_8UC1, p.out);
    const cv::Mat bgr(h, w, CV_8UC3, p.a), bgrOut(h, w, CV_8UC3, p.out);
    // Two pixels as one with four channels: Cb, Y, Cr, Y. Luma of planes has two then.
    const cv::Mat wide(h, w / 2, CV_8UC4, p.a), wideOut(h, w / 2, CV_8UC4, p.out);
    const auto planes = [&](std::uint8_t* memory) {
        return std::vector<cv::Mat>{cv::Mat(h, w / 2, CV_8UC2, memory),
                                    cv::Mat(h, w / 2, CV_8UC1, memory + pixels),
                                    cv::Mat(h, w / 2, CV_8UC1, memory + pixels + pixels / 2)};
    };
    const auto convert = [&](Operation operation, const cv::Mat& from, const cv::Mat& to, int code,
                             Promise promise = Promise::kApproximate) {
        enter(operation, kOpenCV, "OpenCV cvtColor", promise, [=] { cv::cvtColor(from, to, code); });
    };
    convert(Operation::kPairsToPixels, pairs, out, cv::COLOR_YUV2BGRA_UYVY);
    convert(Operation::kSwappedToPixels, pairs, out, cv::COLOR_YUV2BGRA_YUY2);
    convert(Operation::k420ToPixels, planar, out, cv::COLOR_YUV2BGRA_I420);
    convert(Operation::kPixelsTo420, a, planarOut, cv::COLOR_BGRA2YUV_I420);
    convert(Operation::kPixelsTo24, a, bgrOut, cv::COLOR_BGRA2BGR, Promise::kSameBytes);
    convert(Operation::k24ToPixels, bgr, out, cv::COLOR_BGR2BGRA, Promise::kSameBytes);
    // Whatever the order of the colours.
    convert(Operation::kShape, a, out, cv::COLOR_RGBA2mRGBA);
    convert(Operation::kUnshape, shaped, out, cv::COLOR_mRGBA2RGBA);
    // Of cvtColor's YCrCb the levels are others and there is no alpha.
    const auto transform = [&](Operation operation, Zan::ULong32 from, Zan::ULong32 to) {
        enter(operation, kOpenCV, "OpenCV transform", Promise::kApproximate,
              [=, matrix = Matrix(from, to)] { cv::transform(a, out, matrix); });
    };
    transform(Operation::kPixelsToYcc, Zan::kFmtRGB32, Zan::kFmtCbYCrA);
    transform(Operation::kYccToPixels, Zan::kFmtCbYCrA, Zan::kFmtRGB32);
    for (const Operation swap : {Operation::kPairsToSwapped, Operation::kSwappedToPairs}) {
        enter(swap, kOpenCV, "OpenCV mixChannels", Promise::kSameBytes, [=] {
            static constexpr int kOrder[] = {0, 1, 1, 0};
            cv::Mat to = pairsOut;
            cv::mixChannels(&pairs, 1, &to, 1, kOrder, 2);
        });
    }
    static constexpr int kApart[] = {1, 0, 3, 1, 0, 2, 2, 3}, kTogether[] = {0, 1, 1, 3, 2, 0, 3, 2};
    enter(Operation::kPairsTo422, kOpenCV, "OpenCV mixChannels", Promise::kSameBytes,
          [=, to = planes(p.out)]() mutable { cv::mixChannels(&wide, 1, to.data(), 3, kApart, 4); });
    enter(Operation::k422ToPairs, kOpenCV, "OpenCV mixChannels", Promise::kSameBytes,
          [=, from = planes(p.a), to = wideOut]() mutable {
              cv::mixChannels(from.data(), 3, &to, 1, kTogether, 4);
          });
}

std::array<cv::Mat, 4> Counts(const cv::Mat& pixels) {
    static constexpr int kEntries = 256;
    static constexpr float kRange[] = {0, 256};
    const float* ranges = kRange;
    std::array<cv::Mat, 4> counts;
    for (int c = 0; c < 4; ++c) {
        cv::calcHist(&pixels, 1, &c, cv::noArray(), counts[static_cast<std::size_t>(c)], 1, &kEntries,
                     &ranges);
    }
    return counts;
}

/// Its counts are those of ours, or the program ends.
void EnterHistogram(Contests& contests, Operation operation, const Size& size, std::uint8_t* picture) {
    const cv::Mat pixels(static_cast<int>(size.height), static_cast<int>(size.width), CV_8UC4, picture);
    Zan::Histogram ours(4, 256);
    const auto counts = Counts(pixels);
    bool areEqual = ours.Do(Pixels(size, picture)->view, Zan::kBestAvailable) == 0;
    for (Zan::ULong32 i = 0; i < 1024; ++i) {
        // Floats: exact to 2^24, more than the pixels of any size that is usual.
        areEqual = areEqual && counts[i / 256].at<float>(static_cast<int>(i % 256)) ==
                                   static_cast<float>(ours.Get(i / 256, i % 256));
    }
    if (!areEqual) {
        throw std::runtime_error("our histogram is not that of OpenCV");
    }
    contests[operation].Enter(kOpenCV, "OpenCV calcHist", Promise::kNone, [pixels] {
        Counts(pixels);
        return 0;
    });
}

void EnterTones(Contests& contests, const Pictures& p) {
    const Enterer enter{contests};
    const int w = static_cast<int>(p.size.width), h = static_cast<int>(p.size.height);
    const cv::Mat pairs(h, w / 2, CV_8UC4, p.photoPairs), pairsOut(h, w / 2, CV_8UC4, p.out);
    const cv::Mat alpha(h, w, CV_8UC1, p.photoPairs + 2 * p.size.pixels()),
        alphaOut(h, w, CV_8UC1, p.out + 2 * p.size.pixels());
    for (const Operation operation :
         {Operation::kTablesPairs, Operation::kTablesPairsAndAlpha, Operation::kInvert,
          Operation::kPosterizeTables, Operation::kPosterizeFlp, Operation::kPosterizeFixed}) {
        const PairTables tables = TablesOf(operation);
        cv::Mat lut(1, 256, CV_8UC4), alphaLut(1, 256, CV_8UC1);
        for (int i = 0; i < 256; ++i) {
            lut.at<cv::Vec4b>(i) = {tables.cb[i], tables.y[i], tables.cr[i], tables.y[i]};
            alphaLut.at<std::uint8_t>(i) = tables.alpha[i];
        }
        const bool hasAlpha = operation == Operation::kTablesPairsAndAlpha;
        enter(operation, kOpenCV, "OpenCV LUT", Promise::kSameBytes, [=] {
            cv::LUT(pairs, lut, pairsOut);
            if (hasAlpha) {
                cv::LUT(alpha, alphaLut, alphaOut);
            }
        });
    }
    EnterHistogram(contests, Operation::kHistogramPhoto, p.size, p.photo);
    EnterHistogram(contests, Operation::kHistogramRamp, p.size, p.ramp);
    EnterHistogram(contests, Operation::kHistogramNoise, p.size, p.a);
#ifdef TESSELU_BENCH_LIBYUV
    // Luma through a table; chroma, where a rotation wants a table of pairs, through one as well.
    const PairTables tables = TablesOf(Operation::kTablesPairs);
    const cv::Mat planes(3 * h, w, CV_8UC1, p.scratch);
    cv::Mat lut(1, 256, CV_8UC1);
    std::copy_n(tables.y, 256, lut.ptr<std::uint8_t>());
    enter(Operation::kAdjustPixels, kOpenCV, "libyuv ARGBToI444, OpenCV LUT, libyuv I444ToARGB",
          Promise::kNone, [=, there = LibyuvPixelsTo444(p), back = Libyuv444ToPixels(p)] {
              there();
              for (int i = 0; i < 3; ++i) {
                  const cv::Mat plane = planes.rowRange(i * h, (i + 1) * h);
                  cv::LUT(plane, lut, plane);
              }
              back();
          });
#endif
}

void EnterKeyers(Contests& contests, const Pictures& p) {
    const Enterer enter{contests};
    const int w = static_cast<int>(p.size.width), h = static_cast<int>(p.size.height);
    // A hard key, of colours that it takes for green.
    const cv::Mat photo(h, w, CV_8UC4, p.photo), keys(h, w, CV_8UC1, p.out);
    for (const Operation operation : {Operation::kKeyPairs, Operation::kKeyPixels}) {
        enter(operation, kOpenCV, "OpenCV cvtColor to HSV, inRange", Promise::kNone,
              [=, hsv = cv::Mat(h, w, CV_8UC3, p.scratch)]() mutable {
                  cv::cvtColor(photo, hsv, cv::COLOR_BGR2HSV);
                  cv::inRange(hsv, cv::Scalar(45, 80, 40), cv::Scalar(85, 255, 255), keys);
              });
    }
    cv::Mat lut(1, 256, CV_8UC1);
    std::array<std::uint8_t, 256> table;
    TableOfKeys(table);
    std::copy(table.begin(), table.end(), lut.ptr<std::uint8_t>());
    const cv::Mat alpha(h, w, CV_8UC1, p.photoPairs + 2 * p.size.pixels());
    enter(Operation::kKeyOfAlpha, kOpenCV, "OpenCV LUT", Promise::kSameBytes,
          [=] { cv::LUT(alpha, lut, keys); });
    enter(Operation::kKeyOfLuma, kOpenCV, "OpenCV extractChannel, LUT", Promise::kSameBytes,
          [=, pairs = cv::Mat(h, w, CV_8UC2, p.photoPairs), luma = cv::Mat(h, w, CV_8UC1, p.scratch)] {
              cv::extractChannel(pairs, luma, 1);
              cv::LUT(luma, lut, keys);
          });
}

void EnterNoise(Contests& contests, const Pictures& p) {
    const Enterer enter{contests};
    const int w = static_cast<int>(p.size.width), h = static_cast<int>(p.size.height);
    const cv::Mat photo(h, w, CV_8UC4, p.photo), out(h, w, CV_8UC4, p.out);
    for (const auto& [operation, box] :
         {std::pair{Operation::kBlur5, 5}, std::pair{Operation::kBlur31, 31},
          std::pair{Operation::kBlur101, 101}, std::pair{Operation::kBlur5Fixed, 5},
          std::pair{Operation::kBlur31Fixed, 31}}) {
        enter(operation, kOpenCV, "OpenCV blur", Promise::kApproximate, [=, box = box] {
            cv::blur(photo, out, cv::Size(box, box), cv::Point(-1, -1), cv::BORDER_REFLECT_101);
        });
    }
    const cv::Mat noise(h, w, CV_16SC4);
    enter(Operation::kNoiseUniform, kOpenCV, "OpenCV randu, add", Promise::kNone, [=]() mutable {
        cv::randu(noise, cv::Scalar::all(-kNoiseReach), cv::Scalar::all(kNoiseReach + 1));
        cv::add(photo, noise, out, cv::noArray(), CV_8U);
    });
    enter(Operation::kNoiseGaussian, kOpenCV, "OpenCV randn, add", Promise::kNone, [=]() mutable {
        cv::randn(noise, cv::Scalar::all(0), cv::Scalar::all(10));
        cv::add(photo, noise, out, cv::noArray(), CV_8U);
    });
}

void Enter(Contests& contests, const Pictures& p) {
    cv::setNumThreads(1);
    const int w = static_cast<int>(p.size.width), h = static_cast<int>(p.size.height);
    const cv::Mat a(h, w, CV_8UC4, p.a), b(h, w, CV_8UC4, p.b), out(h, w, CV_8UC4, p.out);
    const cv::Mat pairsA(h, w, CV_8UC2, p.a), pairsB(h, w, CV_8UC2, p.b), pairsOut(h, w, CV_8UC2, p.out);
    const cv::Mat key(h, w, CV_8UC1, p.key);
    const cv::Mat scratch(h, w, CV_8UC4, p.scratch);
    const Enterer enter{contests};
    constexpr Promise kSame = Promise::kSameBytes, kApproximate = Promise::kApproximate;
    EnterConversions(contests, p);
    EnterTones(contests, p);
    EnterKeyers(contests, p);
    EnterNoise(contests, p);

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
