#include "plain/Entrants.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <memory>
#include <numbers>

#include "Ours.h"
#include "plain/Plain.h"

// One namespace for each build of the plain loops; they differ in the flags of the compiler.
#define TESSELU_PLAIN_DECLARE(BUILD)       \
    namespace bench::plain::BUILD {        \
    extern const Blends kBlends;           \
    extern const Conversions kConversions; \
    extern const Keys kKeys;               \
    extern const Overlays kOverlays;       \
    extern const Filters kFilters;         \
    extern const Tone kTone;               \
    }
TESSELU_PLAIN_DECLARE(native)
#ifdef TESSELU_PLAIN_FLAGS_baseline
TESSELU_PLAIN_DECLARE(baseline)
TESSELU_PLAIN_DECLARE(ssse3)
TESSELU_PLAIN_DECLARE(avx2)
#endif
#undef TESSELU_PLAIN_DECLARE

namespace bench {

namespace {

struct Build {
    const plain::Blends& blends;
    const plain::Conversions& conversions;
    const plain::Tone& tone;
    const plain::Keys& keys;
    const plain::Overlays& overlays;
    const plain::Filters& filters;
    const char* compiler;
};

Build BuildFor(Level level) {
    using namespace plain;
    switch (level) {
#ifdef TESSELU_PLAIN_FLAGS_baseline
        case Level::kBaseline:
            return {baseline::kBlends,
                    baseline::kConversions,
                    baseline::kTone,
                    baseline::kKeys,
                    baseline::kOverlays,
                    baseline::kFilters,
                    TESSELU_BENCH_COMPILER " " TESSELU_PLAIN_FLAGS_baseline};
        case Level::kSSSE3:
            return {ssse3::kBlends,
                    ssse3::kConversions,
                    ssse3::kTone,
                    ssse3::kKeys,
                    ssse3::kOverlays,
                    ssse3::kFilters,
                    TESSELU_BENCH_COMPILER " " TESSELU_PLAIN_FLAGS_ssse3};
        case Level::kAVX2:
            return {avx2::kBlends,
                    avx2::kConversions,
                    avx2::kTone,
                    avx2::kKeys,
                    avx2::kOverlays,
                    avx2::kFilters,
                    TESSELU_BENCH_COMPILER " " TESSELU_PLAIN_FLAGS_avx2};
#endif
        default:
            return {native::kBlends,
                    native::kConversions,
                    native::kTone,
                    native::kKeys,
                    native::kOverlays,
                    native::kFilters,
                    TESSELU_BENCH_COMPILER " " TESSELU_PLAIN_FLAGS_native};
    }
}

/// Three planes one behind the other, the chroma ones with a share of the pixels.
template <class Byte>
struct Planes {
    Planes(Byte* memory, std::size_t pixels, std::size_t share)
        : y(memory), cb(y + pixels), cr(cb + pixels / share) {}

    Byte *y, *cb, *cr;
};

void EnterPlainConversions(Contests& contests, const Pictures& p, const plain::Conversions& c) {
    const std::size_t pixels = p.size.pixels(), width = p.size.width, height = p.size.height;
    const auto* a = reinterpret_cast<const std::uint32_t*>(p.a);
    auto* out = reinterpret_cast<std::uint32_t*>(p.out);
    auto* words = reinterpret_cast<std::uint16_t*>(p.out);
    const std::uint8_t *a8 = p.a, *alpha = p.a + 2 * pixels;
    std::uint8_t *out8 = p.out, *alphaOut = p.out + 2 * pixels;
    const auto enter = [&](Operation operation, auto work) {
        contests[operation].EnterWork(kPlain, "plain", Promise::kSameBytes, work);
    };
    enter(Operation::kPairsToPixels, [=] { c.PairsToPixels(a, out, pixels); });
    enter(Operation::kSwappedToPixels, [=] { c.SwappedToPixels(a, out, pixels); });
    enter(Operation::kPairsAlphaToPixels, [=] { c.PairsAlphaToPixels(a, alpha, out, pixels); });
    enter(Operation::kYccToPixels, [=] { c.YccToPixels(a, out, pixels); });
    enter(Operation::kPixelsToPairs, [=] { c.PixelsToPairs(a, out, pixels); });
    enter(Operation::kPixelsToPairsAlpha, [=] { c.PixelsToPairsAlpha(a, out, alphaOut, pixels); });
    enter(Operation::kPixelsToYcc, [=] { c.PixelsToYcc(a, out, pixels); });
    enter(Operation::kPairsToSwapped, [=] { c.SwapPairs(a, out, pixels); });
    enter(Operation::kSwappedToPairs, [=] { c.SwapPairs(a, out, pixels); });
    enter(Operation::kPixelsTo24, [=] { c.PixelsTo24(a8, out8, pixels); });
    enter(Operation::k24ToPixels, [=] { c.Pixels24ToPixels(a8, out8, pixels); });
    enter(Operation::kShape, [=] { c.Shape(a, out, pixels); });

    const Planes<const std::uint8_t> from420(p.planar, pixels, 4), from422(p.a, pixels, 2),
        from411(p.a, pixels, 4);
    const Planes<std::uint8_t> to420(p.out, pixels, 4), to422(p.out, pixels, 2), to411(p.out, pixels, 4);
    enter(Operation::k420ToPixels, [=] {
        for (std::size_t y = 0; y < height; ++y) {
            const std::size_t chroma = y / 2 * (width / 2);
            c.Line420ToPixels(from420.y + y * width, from420.cb + chroma, from420.cr + chroma,
                              words + 2 * y * width, width);
        }
    });
    enter(Operation::k411ToPixels,
          [=] { c.Planar411ToPixels(from411.y, from411.cb, from411.cr, out, pixels); });
    enter(Operation::k422ToPairs,
          [=] { c.Planar422ToPairs(from422.y, from422.cb, from422.cr, out8, pixels); });
    enter(Operation::kPixelsTo411, [=] { c.PixelsTo411(a, to411.y, to411.cb, to411.cr, pixels); });
    enter(Operation::kPairsTo422, [=] { c.PairsTo422(a, to422.y, to422.cb, to422.cr, pixels); });
    enter(Operation::kPixelsTo420, [=] {
        for (std::size_t y = 0; y < height; y += 2) {
            const std::size_t chroma = y * width / 4;
            c.LinesTo420(a + y * width, to420.y + y * width, to420.cb + chroma, to420.cr + chroma, width);
        }
    });
    enter(Operation::kPairsTo420, [=] {
        for (std::size_t y = 0; y < height; y += 2) {
            const std::size_t chroma = y * width / 4;
            c.PairLinesTo420(a + y * width / 2, to420.y + y * width, to420.cb + chroma, to420.cr + chroma,
                             width);
        }
    });

    std::array<std::uint32_t, 256> reciprocals{};
    for (std::uint32_t i = 1; i < 256; ++i) {
        reciprocals[i] = static_cast<std::uint32_t>(255.0 * 262144 / i + 0.5);
    }
    enter(Operation::kUnshape, [=, shaped = reinterpret_cast<const std::uint32_t*>(p.shaped)] {
        c.Unshape(shaped, out, pixels, reciprocals.data());
    });
}

}  // namespace

const char* PlainCompiler(Level level) {
    return BuildFor(level).compiler;
}

namespace {

/// The border of the bordered wipes, key by key.
plain::Border PlainBorder(std::uint32_t colour) {
    constexpr double kTotal = 2 * kBorderSoftness + kBorderWidth;
    constexpr double kStart = (-kTotal / 255 + (255 + kTotal) / 255 * kPosition) * 255;
    constexpr double kEnd1 = 255 * kBorderSoftness / kTotal,
                     kEnd2 = 255 * (kBorderSoftness + kBorderWidth) / kTotal;
    plain::Border border;
    border.colour = colour;
    for (int key = 0; key < 256; ++key) {
        const double d = std::clamp((key - kStart) * 255 / kTotal, 0.0, 255.0);
        const double share = d <= kEnd1 ? 255 * d / kEnd1 : d < kEnd2 ? 256 : 255 * (255 - d) / (255 - kEnd2);
        border.share[key] = static_cast<std::uint32_t>(share + 0.5);
        border.isB[key] = d >= kEnd2 ? 0xFFFFFFFF : 0;
    }
    return border;
}

void EnterPlainTone(Contests& contests, const Pictures& p, const plain::Tone& tone) {
    const std::size_t pixels = p.size.pixels();
    const std::uint8_t* from = p.photoPairs;
    std::uint8_t* to = p.out;
    for (const Operation operation :
         {Operation::kTablesPairs, Operation::kTablesPairsAndAlpha, Operation::kInvert,
          Operation::kPosterizeTables, Operation::kPosterizeFlp, Operation::kPosterizeFixed}) {
        const bool hasAlpha = operation == Operation::kTablesPairsAndAlpha;
        contests[operation].EnterWork(kPlain, "plain", Promise::kSameBytes,
                                      [=, &tone, t = std::make_shared<PairTables>(TablesOf(operation))] {
                                          tone.TablesOfPairs(from, to, pixels, t->cb, t->y, t->cr);
                                          if (hasAlpha) {
                                              tone.Table(from + 2 * pixels, to + 2 * pixels, pixels,
                                                         t->alpha);
                                          }
                                      });
    }
    for (const auto& [operation, picture] :
         {std::pair{Operation::kHistogramPhoto, p.photo}, std::pair{Operation::kHistogramRamp, p.ramp},
          std::pair{Operation::kHistogramNoise, p.a}}) {
        contests[operation].EnterWork(
            kPlain, "plain", Promise::kNone,
            [=, &tone, picture = picture, counts = std::make_shared<std::array<std::uint32_t, 1024>>()] {
                tone.Histogram(picture, pixels, counts->data());
            });
    }
}

/// The setup of the keys, as one derives it from the formulas.
plain::FloatKey PlainKey() {
    constexpr double kDegree = std::numbers::pi / 180;
    const double hue = kKeyHue * kDegree;
    return {std::cos(hue),
            std::sin(hue),
            std::tan((90 - kKeyAcceptance / 2) * kDegree),
            kKeySaturation,
            kKeyOffset,
            kKeyGain,
            std::cos(hue) * kKeySpillGain,
            std::sin(hue) * kKeySpillGain};
}
plain::FixedKey PlainFixedKey() {
    const plain::FloatKey key = PlainKey();
    const auto round = [](double value) { return static_cast<int>(std::lround(value)); };
    return {round(key.cosine * 128),    round(key.sine * 128),   round(std::min(key.slope, 1.0) * 128),
            round(key.minimum * 32640), round(key.offset * 255), round(key.gain * 128),
            round(key.spillB * 64),     round(key.spillR * 64)};
}

void EnterPlainKeys(Contests& contests, const Pictures& p, const plain::Keys& keys, const plain::Tone& tone) {
    const std::size_t pixels = p.size.pixels();
    const auto words = [](const std::uint8_t* memory) {
        return reinterpret_cast<const std::uint32_t*>(memory);
    };
    const std::uint32_t *pairs = words(p.photoPairs), *ycc = words(p.photoYcc), *back = words(p.b);
    auto* out = reinterpret_cast<std::uint32_t*>(p.out);
    auto* keysOfPairs = reinterpret_cast<std::uint16_t*>(p.scratch);
    std::uint8_t *keysOut = p.scratch, *out8 = p.out;
    const auto enter = [&](Operation operation, const char* name, Promise promise, auto work) {
        contests[operation].EnterWork(kPlain, name, promise, work);
    };
    const plain::FloatKey key = PlainKey();
    const plain::FixedKey fixed = PlainFixedKey();
    enter(Operation::kKeyPairs, "plain, single precision, -ffast-math", Promise::kApproximate,
          [=, &keys] { keys.Pairs(pairs, back, out, keysOfPairs, pixels, key); });
    enter(Operation::kKeyPixels, "plain, double precision, -ffast-math", Promise::kApproximate,
          [=, &keys] { keys.Pixels(ycc, back, out, keysOut, pixels, key); });
    enter(Operation::kKeyPairsFixed, "plain", Promise::kSameBytes,
          [=, &keys] { keys.PairsFixed(pairs, back, out, keysOfPairs, pixels, fixed); });
    enter(Operation::kKeyPixelsFixed, "plain", Promise::kSameBytes,
          [=, &keys] { keys.PixelsFixed(ycc, back, out, keysOut, pixels, fixed); });
    std::array<std::uint8_t, 256> table;
    TableOfKeys(table);
    enter(Operation::kKeyOfAlpha, "plain", Promise::kSameBytes,
          [=, &tone, alpha = p.photoPairs + 2 * pixels] { tone.Table(alpha, out8, pixels, table.data()); });
    enter(Operation::kKeyOfLuma, "plain", Promise::kSameBytes,
          [=, &keys, luma = p.photoPairs] { keys.TableOfLuma(luma, out8, pixels, table.data()); });
}

void EnterPlainOverlays(Contests& contests, const Pictures& p, const plain::Overlays& overlays) {
    const std::size_t pixels = p.size.pixels(), plane = 2 * pixels;
    const std::uint8_t *a8 = p.a, *b8 = p.b;
    std::uint8_t* out8 = p.out;
    const auto* a = reinterpret_cast<const std::uint32_t*>(p.a);
    const auto* b = reinterpret_cast<const std::uint32_t*>(p.b);
    const auto* shaped = reinterpret_cast<const std::uint32_t*>(p.shaped);
    auto* out = reinterpret_cast<std::uint32_t*>(p.out);
    const auto enter = [&](Operation operation, auto work) {
        contests[operation].EnterWork(kPlain, "plain", Promise::kSameBytes, work);
    };
    enter(Operation::kOverlayShaped, [=, &overlays] { overlays.Shaped(shaped, b, out, pixels); });
    enter(Operation::kOverlayStraight, [=, &overlays] { overlays.Straight24(a8, b8, out8, pixels); });
    enter(Operation::kOverlayUnion, [=, &overlays] { overlays.Union(a, b, out, pixels); });
    enter(Operation::kOverlayPairs, [=, &overlays] { overlays.Pairs(a8, a8 + plane, b8, out8, pixels); });
    enter(Operation::kOverlayPairsShaped,
          [=, &overlays] { overlays.PairsShaped(a8, a8 + plane, b8, out8, pixels); });
    enter(Operation::kOverlayPairsUnion, [=, &overlays] {
        overlays.PairsUnion(a8, a8 + plane, b8, b8 + plane, out8, out8 + plane, pixels);
    });
}

void EnterPlainFilters(Contests& contests, const Pictures& p, const plain::Filters& filters) {
    const std::size_t pixels = p.size.pixels(), width = p.size.width, height = p.size.height;
    std::uint8_t* out = p.out;
    const auto enter = [&](Operation operation, auto work) {
        contests[operation].EnterWork(kPlain, "plain", Promise::kSameBytes, work);
    };
    const auto frames = std::make_shared<NoisyFrames>(p);
    for (const auto& [operation, window] :
         {std::pair{Operation::kDenoise119, kWindow119}, std::pair{Operation::kDenoise331, kWindow331},
          std::pair{Operation::kDenoise333, kWindow333}}) {
        enter(operation, [=, window = window, &filters, keep = frames, from = frames->Pointers()] {
            static constexpr float kLevelsOfNoise[3] = {kNoiseLevel, kNoiseLevel, kNoiseLevel};
            filters.Adaptive(from.data(), out, width, height, window, kLevelsOfNoise,
                             static_cast<float>(kDetail));
        });
    }
    enter(Operation::kDenoiseSAT, [=, &filters, keep = frames, from = frames->Pointers()] {
        filters.Temporal(from[0], from[1], from[2], out, pixels, kLowMotion, kHighMotion);
    });
    const std::uint8_t* photo = p.photo;
    enter(Operation::kNoiseUniform,
          [=, &filters] { filters.Uniform(photo, out, 4 * pixels, -kNoiseReach, kNoiseReach); });
    enter(Operation::kNoiseGaussian,
          [=, &filters] { filters.Gaussian(photo, out, 4 * pixels, kNoiseVariance, 0); });
    enter(Operation::kNoiseBits, [=, &filters] { filters.BitErrors(photo, out, 4 * pixels, kNoiseErrors); });
}

}  // namespace

void EnterPlain(Contests& contests, const Pictures& p, Level level) {
    const plain::Blends& blends = BuildFor(level).blends;
    const std::size_t pixels = p.size.pixels();
    const std::uint8_t *a8 = p.a, *b8 = p.b, *key = p.key;
    std::uint8_t* out8 = p.out;
    const auto* a = reinterpret_cast<const std::uint32_t*>(p.a);
    const auto* b = reinterpret_cast<const std::uint32_t*>(p.b);
    auto* out = reinterpret_cast<std::uint32_t*>(p.out);
    const auto enter = [&](Operation operation, auto work) {
        contests[operation].EnterWork(kPlain, "plain", Promise::kSameBytes, work);
    };

    enter(Operation::kDissolvePixels,
          [=, &blends] { blends.Dissolve(a8, b8, out8, 4 * pixels, kFadeOf256); });
    enter(Operation::kDissolvePairs, [=, &blends] { blends.Dissolve(a8, b8, out8, 2 * pixels, kFadeOf256); });
    enter(Operation::kCompositeTwoSources, [=, &blends] { blends.CompositeTwoSources(a, b, out, pixels); });
    enter(Operation::kCompositeByPlane, [=, &blends] { blends.CompositeByPlane(a, b, key, out, pixels); });
    const plain::Ramp ramp = {static_cast<int>(kThreshold * 32640), static_cast<int>(kGain * 32640)};
    for (const Operation wipe : {Operation::kWipePixelsRaw, Operation::kWipePixels}) {
        enter(wipe, [=, &blends] { blends.WipePixels(a, b, key, out, pixels, ramp); });
    }
    const std::uint8_t* edge = p.edgeKey;
    enter(Operation::kWipeEdgePixels, [=, &blends] { blends.WipePixels(a, b, edge, out, pixels, ramp); });
    const plain::Ramp rampOfPairs = {static_cast<int>(kThreshold * 65280), static_cast<int>(kGain * 65280)};
    enter(Operation::kWipePairs, [=, &blends] { blends.WipePairs(a, b, key, out, pixels, rampOfPairs); });
    enter(Operation::kWipeEdgePairs,
          [=, &blends] { blends.WipePairs(a, b, edge, out, pixels, rampOfPairs); });
    enter(Operation::kWipePairsAndAlpha, [=, &blends] {
        blends.WipePairs(a, b, key, out, pixels, rampOfPairs);
        blends.WipeBytes(a8 + 2 * pixels, b8 + 2 * pixels, key, out8 + 2 * pixels, pixels, rampOfPairs);
    });
    // The colour of the pairs is worked out by the library: the same word stands in the two luma bytes.
    const auto border = std::make_shared<plain::Border>(PlainBorder(kBorderColour));
    const auto borderOfPairs = std::make_shared<plain::Border>(PlainBorder(kBorderColourOfPairs));
    enter(Operation::kBorderPixels, [=, &blends] { blends.BorderPixels(a, b, key, out, pixels, *border); });
    enter(Operation::kBorderPairs,
          [=, &blends] { blends.BorderPairs(a, b, key, out, pixels, *borderOfPairs); });
    enter(Operation::kBorderEdgePixels,
          [=, &blends] { blends.BorderPixels(a, b, edge, out, pixels, *border); });
    enter(Operation::kBorderEdgePairs,
          [=, &blends] { blends.BorderPairs(a, b, edge, out, pixels, *borderOfPairs); });
    enter(Operation::kDissolveViewPixels,
          [=, &blends] { blends.Dissolve(a8, b8, out8, 4 * pixels, kFadeOf256); });
    enter(Operation::kDissolveViewPairs,
          [=, &blends] { blends.Dissolve(a8, b8, out8, 2 * pixels, kFadeOf256); });
    enter(Operation::kOverStraight, [=, &blends] { blends.OverStraight(b, a, out, pixels, kOverFadeOf256); });
    enter(Operation::kOverShaping, [=, &blends] { blends.OverShaping(b, a, out, pixels, kOverFadeOf256); });
    enter(Operation::kOverPairs, [=, &blends, size = p.size] {
        const std::size_t line = size.width / 2;
        for (std::size_t y = 0; y < size.height; ++y) {
            blends.OverPairs(b + y * line, a + y * line, b8 + 2 * pixels, out + y * line, size.width);
        }
    });
    enter(Operation::kSumOfAbsDiffs, [=, &blends] { blends.SumOfAbsDiffs(a8, b8, out8, pixels); });

    enter(Operation::kFill, [=, &blends] { blends.Fill(out, pixels, kColour); });
    contests[Operation::kFill].EnterWork(kPlain, "memset", Promise::kSameBytes,
                                         [=] { std::memset(out, kColour & 255, 4 * pixels); });
    enter(Operation::kCopyPixels, [=, &blends] { blends.Copy(a, out, pixels); });
    enter(Operation::kCopyPairs, [=, &blends] { blends.Copy(a, out, pixels / 2); });
    contests[Operation::kCopyPixels].EnterWork(kPlain, "memcpy", Promise::kSameBytes,
                                               [=] { std::memcpy(out, a, 4 * pixels); });
    contests[Operation::kCopyPairs].EnterWork(kPlain, "memcpy", Promise::kSameBytes,
                                              [=] { std::memcpy(out, a, 2 * pixels); });

    EnterPlainConversions(contests, p, BuildFor(level).conversions);
    EnterPlainTone(contests, p, BuildFor(level).tone);
    EnterPlainKeys(contests, p, BuildFor(level).keys, BuildFor(level).tone);
    EnterPlainOverlays(contests, p, BuildFor(level).overlays);
    EnterPlainFilters(contests, p, BuildFor(level).filters);
}

void EnterCopies(Contests& contests, const Pictures& p) {
    for (Contest& contest : contests) {
        // Half of the bytes that are read and written in all: a copy reads as many as it writes.
        const auto bytes = static_cast<std::size_t>((contest.bytesRead + contest.bytesWritten) / 2 *
                                                    static_cast<double>(p.size.pixels()));
        // More than a picture has goes from the second source to a second destination.
        const std::size_t most = 4 * p.size.pixels();
        contest.EnterWork(kCopy, "copy", Promise::kNone, [=, a = p.a, b = p.b, out = p.out, to = p.scratch] {
            std::memcpy(out, a, std::min(bytes, most));
            for (std::size_t done = most; done < bytes; done += most) {
                std::memcpy(to, b, std::min(bytes - done, most));
            }
        });
    }
}

}  // namespace bench
