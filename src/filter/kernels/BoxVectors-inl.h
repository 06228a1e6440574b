// Vectors of pixels, and the rows of a block.

#if defined(TESSELU_SRC_FILTER_KERNELS_BOXVECTORS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef TESSELU_SRC_FILTER_KERNELS_BOXVECTORS_INL_H
#undef TESSELU_SRC_FILTER_KERNELS_BOXVECTORS_INL_H
#else
#define TESSELU_SRC_FILTER_KERNELS_BOXVECTORS_INL_H
#endif

#include <algorithm>
#include <cstring>

#include "filter/kernels/BoxFormula.h"
#include "simd/Extra-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Zan {
namespace HWY_NAMESPACE {
namespace {

#if HWY_TARGET != HWY_SCALAR

using namespace simd::HWY_NAMESPACE;

using DF32 = hn::ScalableTag<float>;
using VF32 = hn::Vec<DF32>;

constexpr std::size_t kBytes = HWY_LANES(std::uint8_t);
constexpr std::size_t kRows = kBytes / 8;    ///< of a block
constexpr std::size_t kPixels = kBytes / 4;  ///< of a vector
constexpr std::size_t kBlocks = kBytes / 16;

/// 16-bit sums of two bytes each, one of `a` and one of `b`, or their differences: for the lower halves of
/// blocks, then for the upper ones.
struct Halves {
    VU16 lower, upper;
};
template <bool Subtract>
HWY_INLINE HWY_ATTR Halves AddBytes(VU8 a, VU8 b) {
    const DU8 d;
    const DU16 d16;
#if HWY_ARCH_X86
    const VI8 signs = hn::BitCast(DI8(), hn::Set(d16, Subtract ? 0xFF01 : 0x0101));
    return {hn::BitCast(d16, MulAddPairs(hn::InterleaveLower(d, a, b), signs)),
            hn::BitCast(d16, MulAddPairs(hn::InterleaveUpper(d, a, b), signs))};
#else
    const VU8 zero = hn::Zero(d);
    const VU16 la = hn::BitCast(d16, hn::InterleaveLower(d, a, zero)),
               lb = hn::BitCast(d16, hn::InterleaveLower(d, b, zero)),
               ua = hn::BitCast(d16, hn::InterleaveUpper(d, a, zero)),
               ub = hn::BitCast(d16, hn::InterleaveUpper(d, b, zero));
    return {Subtract ? hn::Sub(la, lb) : hn::Add(la, lb), Subtract ? hn::Sub(ua, ub) : hn::Add(ua, ub)};
#endif
}

/// The nearest whole numbers, halves to even, of what fits 31 bits, about which Highway would not be sure.
HWY_INLINE HWY_ATTR VI32 Nearest(VF32 v) {
#if HWY_TARGET == HWY_AVX3
    return VI32{_mm512_cvtps_epi32(v.raw)};
#elif HWY_TARGET == HWY_AVX2
    return VI32{_mm256_cvtps_epi32(v.raw)};
#elif HWY_TARGET == HWY_SSSE3
    return VI32{_mm_cvtps_epi32(v.raw)};
#else
    return hn::NearestInt(v);
#endif
}

/// Hands block i of vector j to `put(v, i)`, as block j.
template <class V, class Put>
HWY_INLINE HWY_ATTR void Turned(const V (&v)[kBlocks], Put put) {
    const DU8 d;
#if HWY_TARGET == HWY_AVX3
    // Fewer shuffles and twice as many stores of half the size would take longer.
    static_cast<void>(d);
    const auto low01 = _mm512_shuffle_i64x2(v[0].raw, v[1].raw, 0x44),
               low23 = _mm512_shuffle_i64x2(v[2].raw, v[3].raw, 0x44),
               high01 = _mm512_shuffle_i64x2(v[0].raw, v[1].raw, 0xEE),
               high23 = _mm512_shuffle_i64x2(v[2].raw, v[3].raw, 0xEE);
    put(VU8{_mm512_shuffle_i64x2(low01, low23, 0x88)}, 0);
    put(VU8{_mm512_shuffle_i64x2(low01, low23, 0xDD)}, 1);
    put(VU8{_mm512_shuffle_i64x2(high01, high23, 0x88)}, 2);
    put(VU8{_mm512_shuffle_i64x2(high01, high23, 0xDD)}, 3);
#elif HWY_TARGET == HWY_AVX2
    const VU8 a = hn::BitCast(d, v[0]), b = hn::BitCast(d, v[1]);
    put(hn::ConcatLowerLower(d, b, a), 0);
    put(hn::ConcatUpperUpper(d, b, a), 1);
#else
    static_assert(kBlocks == 1);
    put(hn::BitCast(d, v[0]), 0);
#endif
}

/// Asks for what is read soon after the next `bytes`: so many rows at once are more than processors follow.
template <std::size_t kCount>
HWY_INLINE HWY_ATTR void FetchAhead(const std::uint8_t* const (&rows)[kCount], std::size_t at,
                                    std::size_t bytes) {
    constexpr std::size_t kLine = 64, kAhead = 12 * kLine;
    for (const std::uint8_t* const row : rows) {
        for (std::size_t i = 0; i < bytes; i += kLine) {
            hwy::Prefetch(row + at + kAhead + i);
        }
    }
}

/// Pixels of a row from column `x` on, of which those beyond `width` are 0.
HWY_INLINE HWY_ATTR VU8 LoadPixels(const std::uint8_t* row, std::size_t x, std::size_t width) {
    const DU8 d;
    if (HWY_LIKELY(x + kPixels <= width)) {
        return hn::LoadU(d, row + 4 * x);
    }
    alignas(kBytes) std::uint8_t some[kBytes] = {};
    std::memcpy(some, row + 4 * x, 4 * (width - x));
    return hn::Load(d, some);
}

/// The rows of a block.
struct Block {
    std::size_t rows;  ///< that are written
    const std::uint8_t *entering[kRows], *leaving[kRows];
    std::uint8_t* out[kRows];

    Block(const BoxJob& job, std::size_t y) : rows(std::min(kRows, job.bottom - y)) {
        const auto reach = static_cast<std::ptrdiff_t>(job.boxHeight / 2);
        for (std::size_t i = 0; i < kRows; ++i) {
            // Of a block that is not full the last row is made again.
            const std::size_t row = y + std::min(i, rows - 1);
            const auto at = static_cast<std::ptrdiff_t>(row);
            entering[i] = job.source.Row(Mirrored(at + reach, job.height));
            leaving[i] = job.source.Row(Mirrored(at - reach - 1, job.height));
            out[i] = job.destination.Row(row);
        }
    }
};

#endif

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#endif  // include guard
