// What the kernels need and Highway lacks. All of it works within 128-bit blocks, as interleaving does, so
// that Interleave..., then one of these, then Pack... leaves bytes in their order.

#if defined(TESSELU_SRC_SIMD_EXTRA_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef TESSELU_SRC_SIMD_EXTRA_INL_H
#undef TESSELU_SRC_SIMD_EXTRA_INL_H
#else
#define TESSELU_SRC_SIMD_EXTRA_INL_H
#endif

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace Zan::simd {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET != HWY_SCALAR

using DU8 = hn::ScalableTag<std::uint8_t>;
using DI8 = hn::ScalableTag<std::int8_t>;
using DU16 = hn::ScalableTag<std::uint16_t>;
using DI16 = hn::ScalableTag<std::int16_t>;
using DU32 = hn::ScalableTag<std::uint32_t>;
using DI32 = hn::ScalableTag<std::int32_t>;
using DU64 = hn::ScalableTag<std::uint64_t>;
using VU8 = hn::Vec<DU8>;
using VI8 = hn::Vec<DI8>;
using VU16 = hn::Vec<DU16>;
using VI16 = hn::Vec<DI16>;
using VU32 = hn::Vec<DU32>;
using VI32 = hn::Vec<DI32>;
using VU64 = hn::Vec<DU64>;

/// a[2i] * b[2i] + a[2i+1] * b[2i+1] in 16 bits. The sums must fit: what happens beyond differs by target.
HWY_INLINE HWY_ATTR VI16 MulAddPairs(VU8 a, VI8 b) {
#if HWY_TARGET == HWY_AVX3
    return VI16{_mm512_maddubs_epi16(a.raw, b.raw)};
#elif HWY_TARGET == HWY_AVX2
    return VI16{_mm256_maddubs_epi16(a.raw, b.raw)};
#elif HWY_TARGET == HWY_SSSE3
    return VI16{_mm_maddubs_epi16(a.raw, b.raw)};
#else
    const DI16 d;
    const VI16 a16 = hn::BitCast(d, a), b16 = hn::BitCast(d, b);
    const VI16 evenA = hn::And(a16, hn::Set(d, 0xFF)), evenB = hn::ShiftRight<8>(hn::ShiftLeft<8>(b16));
    const VI16 oddA = hn::BitCast(d, hn::ShiftRight<8>(hn::BitCast(DU16(), a16))),
               oddB = hn::ShiftRight<8>(b16);
    return hn::Add(hn::Mul(evenA, evenB), hn::Mul(oddA, oddB));
#endif
}

/// a[2i] * b[2i] + a[2i+1] * b[2i+1] in 32 bits.
HWY_INLINE HWY_ATTR VI32 MulAddPairs(VI16 a, VI16 b) {
#if HWY_TARGET == HWY_AVX3
    return VI32{_mm512_madd_epi16(a.raw, b.raw)};
#elif HWY_TARGET == HWY_AVX2
    return VI32{_mm256_madd_epi16(a.raw, b.raw)};
#elif HWY_TARGET == HWY_SSSE3
    return VI32{_mm_madd_epi16(a.raw, b.raw)};
#else
    const DI32 d;
    const VI32 a32 = hn::BitCast(d, a), b32 = hn::BitCast(d, b);
    const VI32 evenA = hn::ShiftRight<16>(hn::ShiftLeft<16>(a32)),
               evenB = hn::ShiftRight<16>(hn::ShiftLeft<16>(b32));
    return hn::Add(hn::Mul(evenA, evenB), hn::Mul(hn::ShiftRight<16>(a32), hn::ShiftRight<16>(b32)));
#endif
}

/// sum + MulAddPairs(a, b). `Fused`, on AVX-512 alone, by VNNI's one instruction: Highway's target for it
/// also takes instructions that processors with VNNI need not have.
template <bool Fused>
HWY_INLINE HWY_ATTR VI32 AddMulAddPairs(VI32 sum, VI16 a, VI16 b) {
#if HWY_TARGET == HWY_AVX3
    if constexpr (Fused) {
        __asm__("vpdpwssd %2, %1, %0" : "+v"(sum.raw) : "v"(a.raw), "v"(b.raw));
        return sum;
    }
#endif
    return hn::Add(sum, MulAddPairs(a, b));
}

/// Limits to 0...255; each 128-bit block holds the block of `low`, then the block of `high`.
HWY_INLINE HWY_ATTR VU8 PackToBytes(VI16 low, VI16 high) {
#if HWY_TARGET == HWY_AVX3
    return VU8{_mm512_packus_epi16(low.raw, high.raw)};
#elif HWY_TARGET == HWY_AVX2
    return VU8{_mm256_packus_epi16(low.raw, high.raw)};
#elif HWY_TARGET == HWY_SSSE3
    return VU8{_mm_packus_epi16(low.raw, high.raw)};
#else
    const hn::Half<DU8> h;
    return hn::Combine(DU8(), hn::DemoteTo(h, high), hn::DemoteTo(h, low));
#endif
}

/// Limits to signed 16 bits; blocks as above.
HWY_INLINE HWY_ATTR VI16 PackToShorts(VI32 low, VI32 high) {
#if HWY_TARGET == HWY_AVX3
    return VI16{_mm512_packs_epi32(low.raw, high.raw)};
#elif HWY_TARGET == HWY_AVX2
    return VI16{_mm256_packs_epi32(low.raw, high.raw)};
#elif HWY_TARGET == HWY_SSSE3
    return VI16{_mm_packs_epi32(low.raw, high.raw)};
#else
    const hn::Half<DI16> h;
    return hn::Combine(DI16(), hn::DemoteTo(h, high), hn::DemoteTo(h, low));
#endif
}

/// Limits to signed 8 bits; blocks as above.
HWY_INLINE HWY_ATTR VI8 PackToSignedBytes(VI16 low, VI16 high) {
#if HWY_TARGET == HWY_AVX3
    return VI8{_mm512_packs_epi16(low.raw, high.raw)};
#elif HWY_TARGET == HWY_AVX2
    return VI8{_mm256_packs_epi16(low.raw, high.raw)};
#elif HWY_TARGET == HWY_SSSE3
    return VI8{_mm_packs_epi16(low.raw, high.raw)};
#else
    const hn::Half<DI8> h;
    return hn::Combine(DI8(), hn::DemoteTo(h, high), hn::DemoteTo(h, low));
#endif
}

/// The even 16-bit lanes of `even` and the odd ones of `odd`.
HWY_INLINE HWY_ATTR VI16 MergeEvenOdd(VI16 even, VI16 odd) {
#if HWY_TARGET == HWY_AVX3
    return VI16{_mm512_mask_blend_epi16(0xAAAAAAAAU, even.raw, odd.raw)};
#elif HWY_TARGET == HWY_AVX2
    return VI16{_mm256_blend_epi16(even.raw, odd.raw, 0xAA)};
#else
    return hn::OddEven(odd, even);
#endif
}

/// The high halves of the lanes of `even` and of `odd`, in turn.
HWY_INLINE HWY_ATTR VI16 HighHalves(VI32 even, VI32 odd) {
    const DI16 d;
#if HWY_TARGET == HWY_AVX3
    alignas(16) static constexpr std::uint8_t kHighToLow[16] = {2,  3,  2,  3,  6,  7,  6,  7,
                                                                10, 11, 10, 11, 14, 15, 14, 15};
    const __m512i order = hn::LoadDup128(DU8(), kHighToLow).raw;
    return VI16{_mm512_mask_shuffle_epi8(odd.raw, 0x3333333333333333U, even.raw, order)};
#elif HWY_TARGET == HWY_SSSE3
    const DU32 du;
    const VU32 low = hn::ShiftRight<16>(hn::BitCast(du, even));
    return hn::BitCast(d, hn::Or(low, hn::And(hn::BitCast(du, odd), hn::Set(du, 0xFFFF0000U))));
#else
    return MergeEvenOdd(hn::BitCast(d, hn::ShiftRight<16>(even)), hn::BitCast(d, odd));
#endif
}

/// Each block holds the even lanes of the block of `low`, then those of `high`.
HWY_INLINE HWY_ATTR VU32 EvenLanes(VU32 low, VU32 high) {
#if HWY_TARGET == HWY_AVX3
    return VU32{_mm512_castps_si512(
        _mm512_shuffle_ps(_mm512_castsi512_ps(low.raw), _mm512_castsi512_ps(high.raw), 0x88))};
#elif HWY_TARGET == HWY_AVX2
    return VU32{_mm256_castps_si256(
        _mm256_shuffle_ps(_mm256_castsi256_ps(low.raw), _mm256_castsi256_ps(high.raw), 0x88))};
#else
    return hn::ConcatEven(DU32(), high, low);
#endif
}

/// The same with the odd lanes.
HWY_INLINE HWY_ATTR VU32 OddLanes(VU32 low, VU32 high) {
#if HWY_TARGET == HWY_AVX3
    return VU32{_mm512_castps_si512(
        _mm512_shuffle_ps(_mm512_castsi512_ps(low.raw), _mm512_castsi512_ps(high.raw), 0xDD))};
#elif HWY_TARGET == HWY_AVX2
    return VU32{_mm256_castps_si256(
        _mm256_shuffle_ps(_mm256_castsi256_ps(low.raw), _mm256_castsi256_ps(high.raw), 0xDD))};
#else
    return hn::ConcatOdd(DU32(), high, low);
#endif
}

/// Block b gets the lanes b, b + n, b + 2n ... of n blocks, so that later shuffles inside blocks leave the
/// result in order. With 32-bit lanes on AVX2: block 0 = lanes 0, 2, 4, 6; block 1 = lanes 1, 3, 5, 7.
template <class D>
HWY_INLINE HWY_ATTR hn::Vec<D> DealToBlocks(D d, hn::Vec<D> v) {
    using T = hn::TFromD<D>;
    constexpr std::size_t kLanes = HWY_LANES(T), kBlocks = HWY_LANES(std::uint8_t) / 16;
    if constexpr (kBlocks == 1) {
        return v;
    } else {
        alignas(64) T from[kLanes];
        for (std::size_t i = 0; i < kLanes; ++i) {
            from[i] = static_cast<T>(i % (kLanes / kBlocks) * kBlocks + i / (kLanes / kBlocks));
        }
        return hn::TableLookupLanes(v, hn::SetTableIndices(d, from));
    }
}

/// The way back from DealToBlocks.
template <class D>
HWY_INLINE HWY_ATTR hn::Vec<D> GatherFromBlocks(D d, hn::Vec<D> v) {
    using T = hn::TFromD<D>;
    constexpr std::size_t kLanes = HWY_LANES(T), kBlocks = HWY_LANES(std::uint8_t) / 16;
    if constexpr (kBlocks == 1) {
        return v;
    } else {
        alignas(64) T from[kLanes];
        for (std::size_t i = 0; i < kLanes; ++i) {
            from[i] = static_cast<T>(i % kBlocks * (kLanes / kBlocks) + i / kBlocks);
        }
        return hn::TableLookupLanes(v, hn::SetTableIndices(d, from));
    }
}

/// GatherFromBlocks with 16-bit lanes, up to four blocks.
HWY_INLINE HWY_ATTR VU16 GatherWords(VU16 v) {
#if HWY_TARGET == HWY_AVX2
    // Halves of blocks first, then words inside.
    alignas(16) static constexpr std::uint8_t kInTurn[16] = {0, 1, 8,  9,  2, 3, 10, 11,
                                                             4, 5, 12, 13, 6, 7, 14, 15};
    const VU8 halves{_mm256_permute4x64_epi64(v.raw, 0xD8)};
    return hn::BitCast(DU16(), hn::TableLookupBytes(halves, hn::LoadDup128(DU8(), kInTurn)));
#elif HWY_TARGET == HWY_AVX3
    alignas(64) static constexpr std::uint16_t kFrom[32] = {0,  8,  16, 24, 1,  9,  17, 25, 2,  10, 18,
                                                            26, 3,  11, 19, 27, 4,  12, 20, 28, 5,  13,
                                                            21, 29, 6,  14, 22, 30, 7,  15, 23, 31};
    return VU16{_mm512_permutexvar_epi16(hn::Load(DU16(), kFrom).raw, v.raw)};
#else
    return v;
#endif
}

/// The lower halves of all blocks, then the upper ones.
HWY_INLINE HWY_ATTR VU64 HalvesApart(VU64 v) {
    constexpr std::size_t kBlocks = HWY_LANES(std::uint8_t) / 16;
    if constexpr (kBlocks == 1) {
        return v;
    } else {
        alignas(64) std::uint64_t from[2 * kBlocks];
        for (std::size_t i = 0; i < 2 * kBlocks; ++i) {
            from[i] = i < kBlocks ? 2 * i : 2 * (i - kBlocks) + 1;
        }
        return hn::TableLookupLanes(v, hn::SetTableIndices(DU64(), from));
    }
}

/// One 16-byte pattern in every block.
HWY_INLINE HWY_ATTR VU8 InEveryBlock(const std::uint8_t* pattern) {
    return hn::LoadDup128(DU8(), pattern);
}

#endif  // HWY_TARGET

}  // namespace HWY_NAMESPACE
}  // namespace Zan::simd
HWY_AFTER_NAMESPACE();

#endif  // include guard
