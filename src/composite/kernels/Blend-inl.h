// What the kernels of the blends share, for one target.

#if defined(TESSELU_SRC_COMPOSITE_KERNELS_BLEND_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef TESSELU_SRC_COMPOSITE_KERNELS_BLEND_INL_H
#undef TESSELU_SRC_COMPOSITE_KERNELS_BLEND_INL_H
#else
#define TESSELU_SRC_COMPOSITE_KERNELS_BLEND_INL_H
#endif

#include <type_traits>

#include "simd/Extra-inl.h"
#include "simd/Walk-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Zan {
namespace HWY_NAMESPACE {

using namespace simd::HWY_NAMESPACE;
using simd::PlaneUse;

/// 32-bit pixels.
constexpr PlaneUse PixelPlane(std::size_t index) {
    return {.index = index, .bytesPer16 = 64};
}

/// Pairs of 4:2:2 pixels.
constexpr PlaneUse PairPlane(std::size_t index) {
    return {.index = index, .bytesPer16 = 32, .columns = 2};
}

#if HWY_TARGET != HWY_SCALAR

/// The constants of BlendBytes. A kernel that blends in a branch of its step holds them as a member:
/// compilers make constants in a branch anew each time.
struct BlendConstants {
    VU8 middle;
    VU16 high, reciprocal;

    HWY_INLINE HWY_ATTR BlendConstants()
        : middle(hn::Set(DU8(), 0x80)), high(hn::Set(DU16(), 0x8000)), reciprocal(hn::Set(DU16(), 257)) {}
};

/// x ^ 0x80: a byte as a signed number around 128, which the signed operand of a multiply-add can hold.
HWY_INLINE HWY_ATTR VI8 Centred(VU8 v, const BlendConstants& constants = BlendConstants()) {
    return hn::BitCast(DI8(), hn::Xor(v, constants.middle));
}

/// Div255Round for t - 32640, t being (255 - alpha) * a + alpha * b. With u = t + 128,
/// (u + (u >> 8)) >> 8 is (u * 257) >> 16.
HWY_INLINE HWY_ATTR VI16 Div255RoundCentred(VI16 v, const BlendConstants& constants = BlendConstants()) {
    const VU16 u = hn::Xor(hn::BitCast(DU16(), v), constants.high);
    return hn::BitCast(DI16(), hn::MulHigh(u, constants.reciprocal));
}

/// The weights of the two sources for bytes that InterleaveLower and InterleaveUpper bring together: 255 less
/// alpha, alpha, and so on.
struct Weights {
    VU8 lower, upper;
};

HWY_INLINE HWY_ATTR Weights WeightsOf(VU8 alpha) {
    const DU8 d;
    const VU8 rest = hn::Not(alpha);
    return {hn::InterleaveLower(d, rest, alpha), hn::InterleaveUpper(d, rest, alpha)};
}

/// BlendByAlpha on every byte.
HWY_INLINE HWY_ATTR VU8 BlendBytes(VU8 a, VU8 b, const Weights& weights,
                                   const BlendConstants& constants = BlendConstants()) {
    const DI8 di;
    const VI8 ca = Centred(a, constants), cb = Centred(b, constants);
    const VI16 low = MulAddPairs(weights.lower, hn::InterleaveLower(di, ca, cb));
    const VI16 high = MulAddPairs(weights.upper, hn::InterleaveUpper(di, ca, cb));
    return PackToBytes(Div255RoundCentred(low, constants), Div255RoundCentred(high, constants));
}

/// Weights of a vector of words out of keys: `words` holds 255 less alpha and alpha of each key as one 16-bit
/// lane.
struct WeightSpread {
    VU8 toLower, toUpper;

    HWY_INLINE HWY_ATTR Weights operator()(VU8 words) const {
        return {hn::TableLookupBytes(words, toLower), hn::TableLookupBytes(words, toUpper)};
    }
};

/// `first` is the lane of the vector's first key in every block.
template <std::size_t first>
HWY_INLINE HWY_ATTR WeightSpread SpreadToPixels() {
    // Each lane for the four bytes of a pixel.
    constexpr std::uint8_t f = 2 * first;
    alignas(16) static constexpr std::uint8_t kLower[16] = {
        f,     f + 1, f,     f + 1, f,     f + 1, f,     f + 1,  // pixel 0
        f + 2, f + 3, f + 2, f + 3, f + 2, f + 3, f + 2, f + 3};
    alignas(16) static constexpr std::uint8_t kUpper[16] = {
        f + 4, f + 5, f + 4, f + 5, f + 4, f + 5, f + 4, f + 5,  // pixel 2
        f + 6, f + 7, f + 6, f + 7, f + 6, f + 7, f + 6, f + 7};
    return {InEveryBlock(kLower), InEveryBlock(kUpper)};
}

/// For pairs of 4:2:2 pixels, whose eight keys are all lanes of a block: the first key of a pair is for three
/// bytes, the second for the last.
HWY_INLINE HWY_ATTR WeightSpread SpreadToPairs() {
    alignas(16) static constexpr std::uint8_t kLower[16] = {0, 1, 0, 1, 0, 1, 2, 3, 4, 5, 4, 5, 4, 5, 6, 7};
    alignas(16) static constexpr std::uint8_t kUpper[16] = {8,  9,  8,  9,  8,  9,  10, 11,
                                                            12, 13, 12, 13, 12, 13, 14, 15};
    return {InEveryBlock(kLower), InEveryBlock(kUpper)};
}
HWY_INLINE HWY_ATTR Weights WeightsOfPairs(VU8 words) {
    return SpreadToPairs()(words);
}

/// The bytes of `v` by their places in every block.
template <std::size_t... from>
HWY_INLINE HWY_ATTR VU8 Spread(VU8 v) {
    alignas(16) static constexpr std::uint8_t kFrom[16] = {from...};
    return hn::TableLookupBytes(v, InEveryBlock(kFrom));
}

/// Keys as they lie in memory; or dealt out to the blocks in lanes of D.
struct InOrder {};
HWY_INLINE HWY_ATTR VU8 Dealt(InOrder, VU8 v) {
    return v;
}
template <class D>
HWY_INLINE HWY_ATTR VU8 Dealt(D d, VU8 v) {
    return hn::BitCast(DU8(), DealToBlocks(d, hn::BitCast(d, v)));
}

/// True when all are 0 or 255. A kernel holds it for its constants.
struct ExtremeTest {
    VU8 all, limit;

#if HWY_TARGET == HWY_SSSE3
    static constexpr std::uint8_t kLimit = 126;
#else
    static constexpr std::uint8_t kLimit = 0xFE;
#endif
    HWY_INLINE HWY_ATTR ExtremeTest() : all(hn::Set(DU8(), 255)), limit(hn::Set(DU8(), kLimit)) {}

    HWY_INLINE HWY_ATTR bool operator()(VU8 v) const {
        // 255 and 0 become 0 and 1.
        const VU8 next = hn::Sub(v, all);
#if HWY_TARGET == HWY_AVX3
        return _mm512_test_epi8_mask(next.raw, limit.raw) == 0;
#elif HWY_TARGET == HWY_AVX2
        return _mm256_testz_si256(next.raw, limit.raw) != 0;
#elif HWY_TARGET == HWY_SSSE3
        return _mm_movemask_epi8(hn::SaturatedAdd(next, limit).raw) == 0;
#else
        return hn::AllTrue(DU8(), hn::Eq(hn::And(next, limit), hn::Zero(DU8())));
#endif
    }
};

HWY_INLINE HWY_ATTR bool AreZero(VU8 v) {
#if HWY_TARGET == HWY_AVX3
    return _mm512_test_epi8_mask(v.raw, v.raw) == 0;
#elif HWY_TARGET == HWY_AVX2
    return _mm256_testz_si256(v.raw, v.raw) != 0;
#else
    return hn::AllTrue(DU8(), hn::Eq(v, hn::Zero(DU8())));
#endif
}

/// True when all are 0, or all are 255, of bytes that are one or the other.
HWY_INLINE HWY_ATTR bool AreAlike(VU8 v) {
    const DI8 d;
    const auto full = hn::Lt(hn::BitCast(d, v), hn::Zero(d));
    return hn::AllFalse(d, full) || hn::AllTrue(d, full);
}

/// Fetches the next stretch of a row of one byte a column, of which a vector is about to be read. Where
/// pictures come from memory and go around the cache, its lines asked for one by one, between those of wider
/// planes, cost a fifth to a third of the time: 8 at once save that. Within the cache there is nothing to
/// save.
template <class Put>
HWY_INLINE HWY_ATTR void FetchStretch(const std::uint8_t* bytes, Put) {
    if constexpr (std::is_same_v<Put, PutAroundCache>) {
        constexpr std::size_t kStretch = 512, kCacheLine = 64;
        if (reinterpret_cast<std::uintptr_t>(bytes) % kStretch < kVectorBytes) {
            for (std::size_t i = 0; i < kStretch; i += kCacheLine) {
                hwy::Prefetch(bytes + i);
            }
        }
    }
}

/// Passes on vectors of source B where all bytes of `isB` are 255, of source A where they are 0. Both are
/// read: processors foresee what is read in one go, and lose more after a gap than the gap has saved.
template <std::size_t vectors, class At, class Put>
HWY_INLINE HWY_ATTR void PassOn(const At& at, std::size_t byte, VU8 isB, Put put) {
    const DU8 d;
    VU8 taken[vectors];
    for (std::size_t i = 0; i < vectors; ++i) {
        taken[i] = hn::IfVecThenElse(isB, hn::LoadU(d, at.in[1][0] + byte + i * kVectorBytes),
                                     hn::LoadU(d, at.in[0][0] + byte + i * kVectorBytes));
    }
    for (std::size_t i = 0; i < vectors; ++i) {
        put(d, taken[i], at.out[0][0] + byte + i * kVectorBytes);
    }
}

/// Entries of a table with `rows` rows, the first of which begins at key `first`.
template <std::size_t rows>
HWY_INLINE HWY_ATTR VU8 LookUp(const std::uint8_t (*row)[16], std::uint8_t first, VU8 keys) {
    const DU8 d;
    const DI8 di;
    // Bits 4 to 6 of a place do not count; a negative one gives 0.
    const auto entries = [&](std::size_t i, VI8 places) HWY_ATTR {
#if HWY_ARCH_X86
        return hn::TableLookupBytes(InEveryBlock(row[i]), hn::BitCast(d, places));
#else
        return hn::TableLookupBytesOr0(InEveryBlock(row[i]),
                                       hn::And(hn::BitCast(d, places), hn::Set(d, 0x8F)));
#endif
    };
    const VU8 above = hn::SaturatedSub(keys, hn::Set(d, first));
    const VI8 one = hn::Set(di, 16);
    if constexpr (rows <= 8) {
        VI8 places = hn::BitCast(di, hn::Min(above, hn::Set(d, static_cast<std::uint8_t>(16 * rows - 1))));
        VU8 found = entries(0, places);
        for (std::size_t i = 1; i < rows; ++i) {
            places = hn::Sub(places, one);
            found = hn::Xor(found, entries(i, places));
        }
        return found;
    } else {
        VI8 low = hn::BitCast(di, above), high = Centred(above);
        VU8 found = hn::Or(entries(0, low), entries(8, high));
        for (std::size_t i = 1; i < 8; ++i) {
            low = hn::SaturatedSub(low, one);
            high = hn::SaturatedSub(high, one);
            found = hn::Xor(found, hn::Xor(entries(i, low), entries(i + 8, high)));
        }
        return found;
    }
}

#endif  // HWY_TARGET

}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#endif  // include guard
