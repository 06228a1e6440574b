// Overlays at whole pixels.

#include <array>

#include "overlay/kernels/Overlay.h"
#include "overlay/kernels/OverlayFormulas.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "overlay/kernels/WholePixels.cpp"
#include "simd/Foreach.h"
// After it: these are compiled once per target.
#include "overlay/kernels/Overlay-inl.h"
#include "simd/Walk-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Zan {
namespace HWY_NAMESPACE {
namespace {

// ---- RGB ----------------------------------------------------------------------------------------------

template <bool premultiplied>
struct Over24 {
    using Place = simd::Place<4, 2>;
    static constexpr PlaneUse kSources[] = {TriplePlane(kBack), PixelPlane(kFore)};
    static constexpr PlaneUse kDestinations[] = {TriplePlane(kOut)};

    void Unit(const Place& at, std::size_t x) const {
        const std::uint8_t *b = at.in[kBack][0] + 3 * x, *f = at.in[kFore][0] + 4 * x;
        std::uint8_t* out = at.out[kOut][0] + 3 * x;
        const unsigned a = f[3];
        for (std::size_t i = 0; i < 3; ++i) {
            out[i] = premultiplied ? PremultipliedOver(b[i], f[i], a) : BlendByAlpha(b[i], f[i], a);
        }
    }

#if HWY_TARGET != HWY_SCALAR
    static constexpr std::size_t kStep = kVectorBytes;

    template <class Put>
    HWY_INLINE HWY_ATTR void Step(const Place& at, std::size_t x, Put put) const {
        const DU8 d;
        VU32 pixels[4];
        LoadTriples(at.in[kBack][0] + 3 * x, pixels);
        for (std::size_t i = 0; i < 4; ++i) {
            const VU8 b = hn::BitCast(d, pixels[i]);
            const VU8 f = hn::LoadU(d, at.in[kFore][0] + 4 * x + i * kVectorBytes);
            pixels[i] = hn::BitCast(
                DU32(), premultiplied ? OverPixels(b, f) : BlendBytes(b, f, WeightsOf(AlphasOf(f))));
        }
        PutTriples(at.out[kOut][0] + 3 * x, pixels, put);
    }
#endif
};

struct Opaque32 {
    using Place = simd::Place<4, 2>;
    static constexpr PlaneUse kSources[] = {TriplePlane(kFore)};
    static constexpr PlaneUse kDestinations[] = {PixelPlane(kOut)};

    void Unit(const Place& at, std::size_t x) const {
        const std::uint8_t* f = at.in[kFore][0] + 3 * x;
        std::uint8_t* out = at.out[kOut][0] + 4 * x;
        const std::uint8_t pixel[3] = {f[0], f[1], f[2]};
        for (std::size_t i = 0; i < 3; ++i) {
            out[i] = pixel[i];
        }
        out[3] = 255;
    }

#if HWY_TARGET != HWY_SCALAR
    static constexpr std::size_t kStep = kVectorBytes;

    template <class Put>
    HWY_INLINE HWY_ATTR void Step(const Place& at, std::size_t x, Put put) const {
        const DU32 d;
        VU32 pixels[4];
        LoadTriples(at.in[kFore][0] + 3 * x, pixels);
        for (std::size_t i = 0; i < 4; ++i) {
            put(DU8(), hn::BitCast(DU8(), hn::Or(pixels[i], hn::Set(d, 0xFF000000U))),
                at.out[kOut][0] + 4 * x + i * kVectorBytes);
        }
    }
#endif
};

template <bool premultiplied>
struct Over32 {
    using Place = simd::Place<4, 2>;
    static constexpr PlaneUse kSources[] = {PixelPlane(kBack), PixelPlane(kFore)};
    static constexpr PlaneUse kDestinations[] = {PixelPlane(kOut)};

    void Unit(const Place& at, std::size_t x) const {
        const std::uint8_t *b = at.in[kBack][0] + 4 * x, *f = at.in[kFore][0] + 4 * x;
        std::uint8_t* out = at.out[kOut][0] + 4 * x;
        premultiplied ? PremultipliedPixelOver(b, f, out) : UnitePixel(b, f, out);
    }

#if HWY_TARGET != HWY_SCALAR
    static constexpr std::size_t kStep = kLineVectors * kVectorBytes / 4;

    template <class Put>
    HWY_INLINE HWY_ATTR void Step(const Place& at, std::size_t x, Put put) const {
        const DU8 d;
        PutLine(at.out[kOut][0] + 4 * x, put, [&](std::size_t i) HWY_ATTR {
            const VU8 b = hn::LoadU(d, at.in[kBack][0] + 4 * x + i * kVectorBytes);
            const VU8 f = hn::LoadU(d, at.in[kFore][0] + 4 * x + i * kVectorBytes);
            return premultiplied ? OverPixels(b, f)
                                 : UnitePixels(b, f, hn::ShiftRight<24>(hn::BitCast(DU32(), f)));
        });
    }
#endif
};

// ---- 4:2:2 --------------------------------------------------------------------------------------------

template <bool premultiplied>
struct OverPairs {
    using Place = simd::Place<4, 2>;
    static constexpr PlaneUse kSources[] = {PairPlane(kBack), PairPlane(kFore), PairAlphaPlane(kForeAlpha)};
    static constexpr PlaneUse kDestinations[] = {PairPlane(kOut)};
    static constexpr std::size_t kUnit = 2;

    void Unit(const Place& at, std::size_t x) const {
        const std::uint8_t *b = at.in[kBack][0] + 2 * x, *f = at.in[kFore][0] + 2 * x;
        const std::uint8_t* alpha = at.in[kForeAlpha][0] + x;
        std::uint8_t* out = at.out[kOut][0] + 2 * x;
        const unsigned a[4] = {alpha[0], alpha[0], alpha[0], alpha[1]};
        for (std::size_t i = 0; i < 4; ++i) {
            const int zero = OffsetOfPairByte(i);
            out[i] = premultiplied ? OffsetPremultipliedOver(b[i], f[i], a[i], zero)
                                   : OffsetBlend(b[i], f[i], a[i], zero);
        }
    }

#if HWY_TARGET != HWY_SCALAR
    static constexpr std::size_t kStep = kVectorBytes;

    template <class Put>
    HWY_INLINE HWY_ATTR void Step(const Place& at, std::size_t x, Put put) const {
        const DU8 d;
        const PairAlphas alphas(hn::LoadU(d, at.in[kForeAlpha][0] + x));
        VU8 made[2];
        for (std::size_t i = 0; i < 2; ++i) {
            const VU8 b = hn::LoadU(d, at.in[kBack][0] + 2 * x + i * kVectorBytes);
            const VU8 f = hn::LoadU(d, at.in[kFore][0] + 2 * x + i * kVectorBytes);
            made[i] = premultiplied ? OverPairBytes(b, f, alphas.weights[i])
                                    : BlendPairBytes(b, f, alphas.weights[i]);
        }
        for (std::size_t i = 0; i < 2; ++i) {
            put(d, made[i], at.out[kOut][0] + 2 * x + i * kVectorBytes);
        }
    }
#endif
};

template <bool premultiplied>
struct OverPairsAndAlpha {
    using Place = simd::Place<4, 2>;
    static constexpr PlaneUse kSources[] = {PairPlane(kBack), PairPlane(kFore), PairAlphaPlane(kBackAlpha),
                                            PairAlphaPlane(kForeAlpha)};
    static constexpr PlaneUse kDestinations[] = {PairPlane(kOut), PairAlphaPlane(kOutAlpha)};
    static constexpr std::size_t kUnit = 2;

    void Unit(const Place& at, std::size_t x) const {
        const std::uint8_t *b = at.in[kBack][0] + 2 * x, *f = at.in[kFore][0] + 2 * x;
        const std::uint8_t *ab = at.in[kBackAlpha][0] + x, *a = at.in[kForeAlpha][0] + x;
        std::uint8_t* out = at.out[kOut][0] + 2 * x;
        std::uint8_t alphas[2];
        for (std::size_t k = 0; k < 2; ++k) {
            const unsigned alpha = a[k];
            const AlphaUnion both = AlphaUnion::Of(alpha, ab[k]);
            // The first pixel's alpha is that of bytes 0, 1 and 2.
            for (std::size_t i = 3 * k; i < 3 + k; ++i) {
                out[i] = premultiplied ? OffsetPremultipliedOver(b[i], f[i], alpha, OffsetOfPairByte(i))
                                       : WeightedStep(b[i], f[i], both.weight);
            }
            alphas[k] = premultiplied ? PremultipliedOver(ab[k], alpha, alpha)
                                      : static_cast<std::uint8_t>(both.alpha);
        }
        at.out[kOutAlpha][0][x] = alphas[0];
        at.out[kOutAlpha][0][x + 1] = alphas[1];
    }

#if HWY_TARGET != HWY_SCALAR
    static constexpr std::size_t kStep = kVectorBytes;

    template <class Put>
    HWY_INLINE HWY_ATTR void Step(const Place& at, std::size_t x, Put put) const {
        const DU8 d;
        const VU8 a = hn::LoadU(d, at.in[kForeAlpha][0] + x), ab = hn::LoadU(d, at.in[kBackAlpha][0] + x);
        const VU8 united = UniteAlphas(ab, a);
        const PairAlphas alphas(premultiplied ? a : SharesOf(a, united));
        VU8 made[2];
        for (std::size_t i = 0; i < 2; ++i) {
            const VU8 b = hn::LoadU(d, at.in[kBack][0] + 2 * x + i * kVectorBytes);
            const VU8 f = hn::LoadU(d, at.in[kFore][0] + 2 * x + i * kVectorBytes);
            made[i] = premultiplied ? OverPairBytes(b, f, alphas.weights[i])
                                    : StepPairBytes(b, f, alphas.weights[i]);
        }
        for (std::size_t i = 0; i < 2; ++i) {
            put(d, made[i], at.out[kOut][0] + 2 * x + i * kVectorBytes);
        }
        put(d, united, at.out[kOutAlpha][0] + x);
    }
#endif
};

// ---- 4:2:2 with an alpha for each sample ------------------------------------------------------------------

template <bool premultiplied, bool hasBackAlpha>
struct OverPairSamples {
    using Place = simd::Place<4, 2>;
    static constexpr auto kSources = [] {
        std::array<PlaneUse, hasBackAlpha ? 4 : 3> uses{PairPlane(kBack), PairPlane(kFore),
                                                        PairPlane(kForeAlpha)};
        if (hasBackAlpha) {
            uses[uses.size() - 1] = PairAlphaPlane(kBackAlpha);
        }
        return uses;
    }();
    static constexpr auto kDestinations = [] {
        std::array<PlaneUse, hasBackAlpha ? 2 : 1> uses{PairPlane(kOut)};
        if (hasBackAlpha) {
            uses[uses.size() - 1] = PairAlphaPlane(kOutAlpha);
        }
        return uses;
    }();
    static constexpr bool kStaysInCache = true;
    static constexpr std::size_t kUnit = 2;

    void Unit(const Place& at, std::size_t x) const {
        const std::uint8_t *b = at.in[kBack][0] + 2 * x, *f = at.in[kFore][0] + 2 * x;
        const std::uint8_t* const a = at.in[kForeAlpha][0] + 2 * x;
        std::uint8_t* const out = at.out[kOut][0] + 2 * x;
        // Chroma goes over the alpha of the first pixel.
        std::uint8_t ab[4] = {}, alphas[2] = {};
        if constexpr (hasBackAlpha) {
            const std::uint8_t* const back = at.in[kBackAlpha][0] + x;
            ab[0] = ab[1] = ab[2] = back[0];
            ab[3] = back[1];
            alphas[0] = static_cast<std::uint8_t>(AlphaUnion::Of(a[1], ab[1]).alpha);
            alphas[1] = static_cast<std::uint8_t>(AlphaUnion::Of(a[3], ab[3]).alpha);
        }
        for (std::size_t i = 0; i < 4; ++i) {
            const int zero = OffsetOfPairByte(i);
            out[i] = premultiplied  ? OffsetPremultipliedOver(b[i], f[i], a[i], zero)
                     : hasBackAlpha ? WeightedStep(b[i], f[i], AlphaUnion::Of(a[i], ab[i]).weight)
                                    : OffsetBlend(b[i], f[i], a[i], zero);
        }
        if constexpr (hasBackAlpha) {
            at.out[kOutAlpha][0][x] = alphas[0];
            at.out[kOutAlpha][0][x + 1] = alphas[1];
        }
    }

#if HWY_TARGET != HWY_SCALAR
    static constexpr std::size_t kStep = kVectorBytes;

    template <class Put>
    HWY_INLINE HWY_ATTR void Step(const Place& at, std::size_t x, Put put) const {
        const DU8 d;
        const DU16 d16;
        const DU64 d64;
        VU8 ab = hn::Zero(d), made[2];
        VI16 luma[2];
        if constexpr (hasBackAlpha) {
            ab = hn::BitCast(d, DealToBlocks(d64, hn::BitCast(d64, hn::LoadU(d, at.in[kBackAlpha][0] + x))));
        }
        for (std::size_t i = 0; i < 2; ++i) {
            const VU8 b = hn::LoadU(d, at.in[kBack][0] + 2 * x + i * kVectorBytes);
            const VU8 f = hn::LoadU(d, at.in[kFore][0] + 2 * x + i * kVectorBytes);
            const VU8 a = hn::LoadU(d, at.in[kForeAlpha][0] + 2 * x + i * kVectorBytes);
            VU8 weights = a;
            if constexpr (hasBackAlpha) {
                const VU8 under =
                    i == 0 ? Spread<0, 0, 0, 1, 2, 2, 2, 3, 4, 4, 4, 5, 6, 6, 6, 7>(ab)
                           : Spread<8, 8, 8, 9, 10, 10, 10, 11, 12, 12, 12, 13, 14, 14, 14, 15>(ab);
                const VU8 united = UniteAlphas(under, a);
                luma[i] = hn::BitCast(DI16(), hn::ShiftRight<8>(hn::BitCast(d16, united)));
                if (!premultiplied) {
                    weights = SharesOf(a, united);
                }
            }
            made[i] = premultiplied  ? OverPairBytes(b, f, WeightsOf(weights))
                      : hasBackAlpha ? StepPairBytes(b, f, WeightsOf(weights))
                                     : BlendPairBytes(b, f, WeightsOf(weights));
        }
        for (std::size_t i = 0; i < 2; ++i) {
            put(d, made[i], at.out[kOut][0] + 2 * x + i * kVectorBytes);
        }
        if constexpr (hasBackAlpha) {
            const VU64 dealt = hn::BitCast(d64, PackToBytes(luma[0], luma[1]));
            put(d, hn::BitCast(d, GatherFromBlocks(d64, dealt)), at.out[kOutAlpha][0] + x);
        }
    }
#endif
};

void RunStraight24With32(const OverlayJob& job) {
    Walk(Over24<false>{}, job);
}
void RunPremultiplied24With32(const OverlayJob& job) {
    Walk(Over24<true>{}, job);
}
void RunOpaque32With24(const OverlayJob& job) {
    Walk(Opaque32{}, job);
}
void RunStraight32With32(const OverlayJob& job) {
    Walk(Over32<false>{}, job);
}
void RunPremultiplied32With32(const OverlayJob& job) {
    Walk(Over32<true>{}, job);
}
void RunStraight16With24(const OverlayJob& job) {
    Walk(OverPairs<false>{}, job);
}
void RunPremultiplied16With24(const OverlayJob& job) {
    Walk(OverPairs<true>{}, job);
}
void RunStraight24With24(const OverlayJob& job) {
    Walk(OverPairsAndAlpha<false>{}, job);
}
void RunPremultiplied24With24(const OverlayJob& job) {
    Walk(OverPairsAndAlpha<true>{}, job);
}
void RunStraight16WithSamples(const OverlayJob& job) {
    Walk(OverPairSamples<false, false>{}, job);
}
void RunPremultiplied16WithSamples(const OverlayJob& job) {
    Walk(OverPairSamples<true, false>{}, job);
}
void RunStraight24WithSamples(const OverlayJob& job) {
    Walk(OverPairSamples<false, true>{}, job);
}
void RunPremultiplied24WithSamples(const OverlayJob& job) {
    Walk(OverPairSamples<true, true>{}, job);
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace Zan {

TESSELU_KERNEL(OverlayKernel, kStraight24With32, RunStraight24With32);
TESSELU_KERNEL(OverlayKernel, kPremultiplied24With32, RunPremultiplied24With32);
TESSELU_KERNEL(OverlayKernel, kOpaque32With24, RunOpaque32With24);
TESSELU_KERNEL(OverlayKernel, kStraight32With32, RunStraight32With32);
TESSELU_KERNEL(OverlayKernel, kPremultiplied32With32, RunPremultiplied32With32);
TESSELU_KERNEL(OverlayKernel, kStraight16With24, RunStraight16With24);
TESSELU_KERNEL(OverlayKernel, kPremultiplied16With24, RunPremultiplied16With24);
TESSELU_KERNEL(OverlayKernel, kStraight24With24, RunStraight24With24);
TESSELU_KERNEL(OverlayKernel, kPremultiplied24With24, RunPremultiplied24With24);
TESSELU_KERNEL(OverlayKernel, kStraight16WithSamples, RunStraight16WithSamples);
TESSELU_KERNEL(OverlayKernel, kPremultiplied16WithSamples, RunPremultiplied16WithSamples);
TESSELU_KERNEL(OverlayKernel, kStraight24WithSamples, RunStraight24WithSamples);
TESSELU_KERNEL(OverlayKernel, kPremultiplied24WithSamples, RunPremultiplied24WithSamples);

}  // namespace Zan

#endif  // HWY_ONCE
