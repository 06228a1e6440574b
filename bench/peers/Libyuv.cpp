#include <libyuv.h>

#include <array>
#include <cstdlib>
#include <memory>

#include "Ours.h"
#include "peers/Peers.h"

namespace bench {

namespace {

void EnterConversions(Contests& contests, const Pictures& p) {
    const int w = static_cast<int>(p.size.width), h = static_cast<int>(p.size.height);
    const std::size_t pixels = p.size.pixels();
    const std::uint8_t *a = p.a, *shaped = p.shaped;
    const std::uint8_t *y = p.planar, *u = y + pixels, *v = u + pixels / 4;
    const std::uint8_t *u422 = a + pixels, *v422 = u422 + pixels / 2;
    std::uint8_t *out = p.out, *outU = out + pixels, *outV420 = outU + pixels / 4,
                 *outV422 = outU + pixels / 2;
    const auto enter = [&](Operation operation, const char* call, Promise promise, auto work) {
        contests[operation].Enter(kLibyuv, call, promise, work);
    };
    constexpr Promise kSame = Promise::kSameBytes, kApproximate = Promise::kApproximate;

    // What it calls ARGB and RGB24 lies in memory as B, G, R, A and B, G, R.
    enter(Operation::kPairsToPixels, "libyuv UYVYToARGB", kApproximate,
          [=] { return libyuv::UYVYToARGB(a, 2 * w, out, 4 * w, w, h); });
    enter(Operation::kSwappedToPixels, "libyuv YUY2ToARGB", kApproximate,
          [=] { return libyuv::YUY2ToARGB(a, 2 * w, out, 4 * w, w, h); });
    enter(Operation::k420ToPixels, "libyuv I420ToARGB", kApproximate,
          [=] { return libyuv::I420ToARGB(y, w, u, w / 2, v, w / 2, out, 4 * w, w, h); });
    enter(Operation::kPixelsToPairs, "libyuv ARGBToUYVY", kApproximate,
          [=] { return libyuv::ARGBToUYVY(a, 4 * w, out, 2 * w, w, h); });
    enter(Operation::kPixelsTo420, "libyuv ARGBToI420", kApproximate,
          [=] { return libyuv::ARGBToI420(a, 4 * w, out, w, outU, w / 2, outV420, w / 2, w, h); });
    // It rounds the means of chroma up.
    enter(Operation::kPairsTo420, "libyuv UYVYToI420", kApproximate,
          [=] { return libyuv::UYVYToI420(a, 2 * w, out, w, outU, w / 2, outV420, w / 2, w, h); });
    enter(Operation::kPairsTo422, "libyuv UYVYToI422", kSame,
          [=] { return libyuv::UYVYToI422(a, 2 * w, out, w, outU, w / 2, outV422, w / 2, w, h); });
    enter(Operation::k422ToPairs, "libyuv I422ToUYVY", kSame,
          [=] { return libyuv::I422ToUYVY(a, w, u422, w / 2, v422, w / 2, out, 2 * w, w, h); });
    // It has no such conversion, but can put the bytes of four words into any order.
    for (const Operation swap : {Operation::kPairsToSwapped, Operation::kSwappedToPairs}) {
        enter(swap, "libyuv ARGBShuffle", kSame, [=] {
            static constexpr std::uint8_t kOrder[16] = {1, 0, 3, 2, 5, 4, 7, 6, 9, 8, 11, 10, 13, 12, 15, 14};
            return libyuv::ARGBShuffle(a, 2 * w, out, 2 * w, kOrder, w / 2, h);
        });
    }
    enter(Operation::kPixelsTo24, "libyuv ARGBToRGB24", kSame,
          [=] { return libyuv::ARGBToRGB24(a, 4 * w, out, 3 * w, w, h); });
    enter(Operation::k24ToPixels, "libyuv RGB24ToARGB", kSame,
          [=] { return libyuv::RGB24ToARGB(a, 3 * w, out, 4 * w, w, h); });
    enter(Operation::kShape, "libyuv ARGBAttenuate", kApproximate,
          [=] { return libyuv::ARGBAttenuate(a, 4 * w, out, 4 * w, w, h); });
    enter(Operation::kUnshape, "libyuv ARGBUnattenuate", kApproximate,
          [=] { return libyuv::ARGBUnattenuate(shaped, 4 * w, out, 4 * w, w, h); });
}

/// Pairs to pixels, a table for each colour, and back.
void EnterColours(Contests& contests, const Pictures& p) {
    const int w = static_cast<int>(p.size.width), h = static_cast<int>(p.size.height);
    const PairTables tables = TablesOf(Operation::kTablesPairs);
    std::array<std::uint8_t, 1024> colours{};
    for (std::size_t i = 0; i < 256; ++i) {
        colours[4 * i] = tables.cb[i];
        colours[4 * i + 1] = tables.y[i];
        colours[4 * i + 2] = tables.cr[i];
        colours[4 * i + 3] = static_cast<std::uint8_t>(i);
    }
    contests[Operation::kCorrectColours].Enter(
        kLibyuv, "libyuv UYVYToARGB, ARGBColorTable, ARGBToUYVY", Promise::kNone,
        [=, from = p.photoPairs, scratch = p.scratch, out = p.out] {
            return libyuv::UYVYToARGB(from, 2 * w, scratch, 4 * w, w, h) |
                   libyuv::ARGBColorTable(scratch, 4 * w, colours.data(), 0, 0, w, h) |
                   libyuv::ARGBToUYVY(scratch, 4 * w, out, 2 * w, w, h);
        });
}

void EnterOverlaysAndBlurs(Contests& contests, const Pictures& p) {
    const int w = static_cast<int>(p.size.width), h = static_cast<int>(p.size.height);
    contests[Operation::kOverlayShaped].Enter(
        kLibyuv, "libyuv ARGBBlend", Promise::kApproximate, [=, shaped = p.shaped, b = p.b, out = p.out] {
            return libyuv::ARGBBlend(shaped, 4 * w, b, 4 * w, out, 4 * w, w, h);
        });
    struct Release {
        void operator()(void* memory) const { std::free(memory); }
    };
    const std::shared_ptr<std::int32_t> sums(
        static_cast<std::int32_t*>(std::aligned_alloc(64, 16 * p.size.width * (p.size.height + 4) / 64 * 64)),
        Release());
    for (const auto& [operation, radius] :
         {std::pair{Operation::kBlur5, 2}, std::pair{Operation::kBlur31, 15},
          std::pair{Operation::kBlur101, 50}, std::pair{Operation::kBlur5Fixed, 2},
          std::pair{Operation::kBlur31Fixed, 15}}) {
        // Beyond the edges its boxes are smaller.
        contests[operation].Enter(
            kLibyuv, "libyuv ARGBBlur", Promise::kNone, [=, radius = radius, photo = p.photo, out = p.out] {
                return libyuv::ARGBBlur(photo, 4 * w, out, 4 * w, sums.get(), 4 * w, w, h, radius);
            });
    }
}

void Enter(Contests& contests, const Pictures& p) {
    EnterOverlaysAndBlurs(contests, p);
    const int w = static_cast<int>(p.size.width), h = static_cast<int>(p.size.height);
    const std::uint8_t *a = p.a, *b = p.b, *key = p.key;
    std::uint8_t *out = p.out, *scratch = p.scratch;
    const auto enter = [&](Operation operation, const char* call, Promise promise, auto work) {
        contests[operation].Enter(kLibyuv, call, promise, work);
    };
    constexpr Promise kSame = Promise::kSameBytes, kApproximate = Promise::kApproximate;

    // The fraction is that of the second source.
    enter(Operation::kDissolvePixels, "libyuv InterpolatePlane", kApproximate,
          [=] { return libyuv::InterpolatePlane(b, 4 * w, a, 4 * w, out, 4 * w, 4 * w, h, kFadeOf256); });
    enter(Operation::kDissolvePairs, "libyuv InterpolatePlane", kApproximate,
          [=] { return libyuv::InterpolatePlane(b, 2 * w, a, 2 * w, out, 2 * w, 2 * w, h, kFadeOf256); });
    // Its blend wants colours that are multiplied by alpha.
    enter(Operation::kCompositeTwoSources, "libyuv ARGBAttenuate, ARGBBlend", kApproximate, [=] {
        const int status = libyuv::ARGBAttenuate(b, 4 * w, scratch, 4 * w, w, h);
        return status != 0 ? status : libyuv::ARGBBlend(scratch, 4 * w, a, 4 * w, out, 4 * w, w, h);
    });
    enter(Operation::kCompositeByPlane, "libyuv ARGBCopy, ARGBCopyYToAlpha, ARGBAttenuate, ARGBBlend",
          kApproximate, [=] {
              return libyuv::ARGBCopy(b, 4 * w, scratch, 4 * w, w, h) |
                     libyuv::ARGBCopyYToAlpha(key, w, scratch, 4 * w, w, h) |
                     libyuv::ARGBAttenuate(scratch, 4 * w, scratch, 4 * w, w, h) |
                     libyuv::ARGBBlend(scratch, 4 * w, a, 4 * w, out, 4 * w, w, h);
          });
    for (const Operation dissolve : {Operation::kDissolveViewPixels, Operation::kDissolveViewPairs}) {
        const int line = dissolve == Operation::kDissolveViewPixels ? 4 * w : 2 * w;
        enter(dissolve, "libyuv InterpolatePlane", kApproximate,
              [=] { return libyuv::InterpolatePlane(b, line, a, line, out, line, line, h, kFadeOf256); });
    }
    enter(Operation::kOverStraight, "libyuv ARGBAttenuate, ARGBBlend", kApproximate, [=] {
        return libyuv::ARGBAttenuate(b, 4 * w, scratch, 4 * w, w, h) |
               libyuv::ARGBBlend(scratch, 4 * w, a, 4 * w, out, 4 * w, w, h);
    });
    enter(Operation::kOverShaping, "libyuv ARGBAttenuate twice, ARGBBlend", kApproximate, [=] {
        return libyuv::ARGBAttenuate(b, 4 * w, scratch, 4 * w, w, h) |
               libyuv::ARGBAttenuate(a, 4 * w, out, 4 * w, w, h) |
               libyuv::ARGBBlend(scratch, 4 * w, out, 4 * w, out, 4 * w, w, h);
    });
    enter(Operation::kFill, "libyuv ARGBRect", kSame,
          [=] { return libyuv::ARGBRect(out, 4 * w, 0, 0, w, h, kColour); });
    enter(Operation::kCopyPixels, "libyuv ARGBCopy", kSame,
          [=] { return libyuv::ARGBCopy(a, 4 * w, out, 4 * w, w, h); });
    enter(Operation::kCopyPairs, "libyuv CopyPlane", kSame, [=] {
        libyuv::CopyPlane(a, 2 * w, out, 2 * w, 2 * w, h);
        return 0;
    });
    EnterConversions(contests, p);
    EnterColours(contests, p);
}

int FlagsOf(Level level) {
    using namespace libyuv;
    constexpr int kBaseline = kCpuInitialized | kCpuHasX86 | kCpuHasSSE2;
    switch (level) {
        case Level::kBaseline:
            return kBaseline;
        case Level::kSSSE3:
            return kBaseline | kCpuHasSSSE3;
        case Level::kAVX2:
            return kBaseline | kCpuHasSSSE3 | kCpuHasSSE41 | kCpuHasSSE42 | kCpuHasAVX | kCpuHasAVX2 |
                   kCpuHasFMA3 | kCpuHasF16C | kCpuHasERMS;
        case Level::kAll:
            break;
    }
    return -1;
}

std::string Limit(Level level) {
    using namespace libyuv;
    MaskCpuFlags(FlagsOf(level));
    static constexpr InstructionSet kNames[] = {{kCpuHasSSE2, "SSE2"},    {kCpuHasSSSE3, "SSSE3"},
                                                {kCpuHasSSE41, "SSE4.1"}, {kCpuHasAVX, "AVX"},
                                                {kCpuHasAVX2, "AVX2"},    {kCpuHasAVX512BW, "AVX512BW"},
                                                {kCpuHasERMS, "ERMS"},    {kCpuHasAVX512VBMI, "AVX512VBMI"},
                                                {kCpuHasNEON, "NEON"}};
    return NamesOf(kNames, [](int flag) { return TestCpuFlag(flag) != 0; });
}

}  // namespace

void LimitLibyuvForCounting(Level level) {
    libyuv::MaskCpuFlags(FlagsOf(level) & ~libyuv::kCpuHasERMS);
}

std::function<void()> LibyuvPixelsTo444(const Pictures& p) {
    const int w = static_cast<int>(p.size.width), h = static_cast<int>(p.size.height);
    const std::size_t pixels = p.size.pixels();
    return [=, from = p.photo, to = p.scratch] {
        libyuv::ARGBToI444(from, 4 * w, to, w, to + pixels, w, to + 2 * pixels, w, w, h);
    };
}

std::function<void()> Libyuv444ToPixels(const Pictures& p) {
    const int w = static_cast<int>(p.size.width), h = static_cast<int>(p.size.height);
    const std::size_t pixels = p.size.pixels();
    return [=, from = p.scratch, to = p.out] {
        libyuv::I444ToARGB(from, w, from + pixels, w, from + 2 * pixels, w, to, 4 * w, w, h);
    };
}

Peer Libyuv() {
    return {kLibyuv, std::to_string(LIBYUV_VERSION), Limit, Enter};
}

}  // namespace bench
