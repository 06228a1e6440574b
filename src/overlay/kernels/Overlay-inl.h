// What the kernels of the overlays share, for one target: the formulas on vectors.

#if defined(TESSELU_SRC_OVERLAY_KERNELS_OVERLAY_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef TESSELU_SRC_OVERLAY_KERNELS_OVERLAY_INL_H
#undef TESSELU_SRC_OVERLAY_KERNELS_OVERLAY_INL_H
#else
#define TESSELU_SRC_OVERLAY_KERNELS_OVERLAY_INL_H
#endif

#include "composite/kernels/AlphaProducts-inl.h"
#include "composite/kernels/Blend-inl.h"
#include "convert/kernels/Packed-inl.h"
#include "simd/Walk-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Zan {
namespace HWY_NAMESPACE {
namespace {

/// 24-bit pixels.
constexpr PlaneUse TriplePlane(std::size_t index) {
    return {.index = index, .bytesPer16 = 48};
}
/// Alpha of pairs.
constexpr PlaneUse PairAlphaPlane(std::size_t index) {
    return {.index = index, .columns = 2};
}

#if HWY_TARGET != HWY_SCALAR

// ---- Pixels -------------------------------------------------------------------------------------------

/// 24-bit pixels as four vectors of 32 bits, the last byte 0; and back, without it.
HWY_INLINE HWY_ATTR void LoadTriples(const std::uint8_t* from, VU32 (&pixels)[4]) {
    Rows rows;
    rows.in[0][0] = from;
    for (std::size_t i = 0; i < 2; ++i) {
        VU32 half[2];
        Pixels24Reader().LoadPixels(rows, 0, i * kVectorBytes / 2, half);
        pixels[2 * i] = half[0];
        pixels[2 * i + 1] = half[1];
    }
}
template <class Put>
HWY_INLINE HWY_ATTR void PutTriples(std::uint8_t* to, const VU32 (&pixels)[4], Put put) {
    Rows rows;
    rows.out[0][0] = to;
    Pixels24Writer().PutPixels(rows, 0, 0, pixels, put);
}

/// Byte 3 of each pixel in all four.
HWY_INLINE HWY_ATTR VU8 AlphasOf(VU8 pixels) {
    return Spread<3, 3, 3, 3, 7, 7, 7, 7, 11, 11, 11, 11, 15, 15, 15, 15>(pixels);
}
/// Byte 0.
HWY_INLINE HWY_ATTR VU8 LowBytesOf(VU32 pixels) {
    return Spread<0, 0, 0, 0, 4, 4, 4, 4, 8, 8, 8, 8, 12, 12, 12, 12>(hn::BitCast(DU8(), pixels));
}

/// PremultipliedOver with the alphas of `f`: as 255 is odd, the part of `b` that stays and the one that goes
/// are never both halfway, and (255 - a) * b / 255 rounded is b - (a * b / 255 rounded).
HWY_INLINE HWY_ATTR VU8 OverPixels(VU8 b, VU8 f) {
    return hn::Sub(hn::Add(b, f), TimesAlpha(b, f));
}

/// AlphaUnion::weight: a quotient of numbers with 16 and 8 bits, which single precision does not round up to
/// a whole one.
HWY_INLINE HWY_ATTR VU32 ShareOf(VU32 a, VU32 united) {
    const DI32 di;
    const hn::ScalableTag<float> df;
    const VI32 alpha = hn::BitCast(di, a);
    const VI32 part = hn::Sub(hn::ShiftLeft<8>(alpha), alpha);
    const VI32 whole = hn::Max(hn::BitCast(di, united), hn::Set(di, 1));
    return hn::BitCast(DU32(), hn::ConvertTo(di, hn::Div(hn::ConvertTo(df, part), hn::ConvertTo(df, whole))));
}

/// The straight blend of 32 bits over 32, alpha of `f` being `a`.
HWY_INLINE HWY_ATTR VU8 UnitePixels(VU8 b, VU8 f, VU32 a) {
    const DU8 d;
    const DU16 d16;
    const DU32 d32;
    const VU32 ab = hn::ShiftRight<24>(hn::BitCast(d32, b));
    // Products of bytes leave the upper halves of lanes alone.
    const VU16 t = hn::Add(hn::Mul(hn::BitCast(d16, a), hn::BitCast(d16, ab)), hn::Set(d16, 128));
    const VU32 both = hn::BitCast(d32, hn::MulHigh(t, hn::Set(d16, 257)));
    const VU32 united = hn::Sub(hn::Add(a, ab), both);
    const VU8 blended = BlendBytes(b, f, WeightsOf(LowBytesOf(ShareOf(a, united))));
    return hn::BitCast(
        d, hn::Or(hn::And(hn::BitCast(d32, blended), hn::Set(d32, 0xFFFFFF)), hn::ShiftLeft<24>(united)));
}

// ---- 4:2:2 --------------------------------------------------------------------------------------------

/// 255 less alpha and alpha for the bytes of two vectors of pairs, whose pixels have `alphas`.
struct PairAlphas {
    HWY_INLINE HWY_ATTR explicit PairAlphas(VU8 alphas) {
        const DU64 d64;
        const Weights words = WeightsOf(hn::BitCast(DU8(), DealToBlocks(d64, hn::BitCast(d64, alphas))));
        weights[0] = WeightsOfPairs(words.lower);
        weights[1] = WeightsOfPairs(words.upper);
    }
    Weights weights[2];
};

/// Chroma and luma in turn.
HWY_INLINE HWY_ATTR VU8 PairZeros() {
    return hn::BitCast(DU8(), hn::Set(DU16(), kLumaZero << 8 | kChromaZero));
}

/// Quotients of t / 255 for v = t - 32640: rounded, but the next one up where v is below `limit`.
HWY_INLINE HWY_ATTR VI16 DivideBelow(VI16 v, VI16 limit) {
    const DI16 d;
    return Div255RoundCentred(hn::Sub(v, hn::VecFromMask(d, hn::Lt(v, limit))));
}

/// OffsetBlend. With t = (255 - a) * b + a * f, what is shifted is t - 255 * zero, which goes down below
/// -127: there the quotient is one more than the nearest where that matters.
HWY_INLINE HWY_ATTR VU8 BlendPairBytes(VU8 b, VU8 f, const Weights& weights) {
    const DI8 di;
    constexpr std::uint32_t kChroma = static_cast<std::uint16_t>(255 * kChromaZero - 127 - 32640);
    constexpr std::uint32_t kLuma = static_cast<std::uint16_t>(255 * kLumaZero - 127 - 32640);
    const VI16 limit = hn::BitCast(DI16(), hn::Set(DU32(), kLuma << 16 | kChroma));
    const VI8 cb = Centred(b), cf = Centred(f);
    const VI16 low = MulAddPairs(weights.lower, hn::InterleaveLower(di, cb, cf));
    const VI16 high = MulAddPairs(weights.upper, hn::InterleaveUpper(di, cb, cf));
    return PackToBytes(DivideBelow(low, limit), DivideBelow(high, limit));
}

/// OffsetPremultipliedOver: the same over black, to which the foreground is added.
HWY_INLINE HWY_ATTR VU8 OverPairBytes(VU8 b, VU8 f, const Weights& weights) {
    return hn::Add(BlendPairBytes(b, PairZeros(), weights), hn::Sub(f, PairZeros()));
}

/// WeightedStep, where the sum below is t - 255 * b.
HWY_INLINE HWY_ATTR VU8 StepPairBytes(VU8 b, VU8 f, const Weights& weights) {
    const DI8 di;
    const DI16 d;
    const VU8 onlyB = hn::BitCast(DU8(), hn::Set(DU16(), 0x00FF));
    const VI8 cb = Centred(b), cf = Centred(f);
    const auto step = [&](VU8 shares, VI8 both) HWY_ATTR {
        const VI16 limit = hn::Sub(MulAddPairs(onlyB, both), hn::Set(d, 127));
        return DivideBelow(MulAddPairs(shares, both), limit);
    };
    return PackToBytes(step(weights.lower, hn::InterleaveLower(di, cb, cf)),
                       step(weights.upper, hn::InterleaveUpper(di, cb, cf)));
}

/// AlphaUnion::alpha, and what becomes of alpha under a premultiplied foreground: a + ab - a * ab / 255.
HWY_INLINE HWY_ATTR VU8 UniteAlphas(VU8 ab, VU8 a) {
    return BlendBytes(ab, hn::Set(DU8(), 255), WeightsOf(a));
}

/// ShareOf on bytes.
HWY_INLINE HWY_ATTR VU8 SharesOf(VU8 a, VU8 united) {
    const DU8 d;
    const DU16 d16;
    const VU8 none = hn::Zero(d);
    const VU16 zero = hn::Zero(d16);
    const VU16 al = hn::BitCast(d16, hn::InterleaveLower(d, a, none));
    const VU16 ah = hn::BitCast(d16, hn::InterleaveUpper(d, a, none));
    const VU16 ul = hn::BitCast(d16, hn::InterleaveLower(d, united, none));
    const VU16 uh = hn::BitCast(d16, hn::InterleaveUpper(d, united, none));
    const auto share = [&](VU16 x, VU16 y) HWY_ATTR {
        return hn::BitCast(DI32(), ShareOf(hn::BitCast(DU32(), x), hn::BitCast(DU32(), y)));
    };
    return PackToBytes(
        PackToShorts(share(hn::InterleaveLower(d16, al, zero), hn::InterleaveLower(d16, ul, zero)),
                     share(hn::InterleaveUpper(d16, al, zero), hn::InterleaveUpper(d16, ul, zero))),
        PackToShorts(share(hn::InterleaveLower(d16, ah, zero), hn::InterleaveLower(d16, uh, zero)),
                     share(hn::InterleaveUpper(d16, ah, zero), hn::InterleaveUpper(d16, uh, zero))));
}

#endif  // HWY_TARGET

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#endif  // include guard
