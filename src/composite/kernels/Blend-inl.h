// What the kernels of the blends share, for one target.

#if defined(TESSELU_SRC_COMPOSITE_KERNELS_BLEND_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef TESSELU_SRC_COMPOSITE_KERNELS_BLEND_INL_H
#undef TESSELU_SRC_COMPOSITE_KERNELS_BLEND_INL_H
#else
#define TESSELU_SRC_COMPOSITE_KERNELS_BLEND_INL_H
#endif

#include "simd/Extra-inl.h"
#include "simd/Job.h"

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

/// x ^ 0x80: a byte as a signed number around 128, which the signed operand of a multiply-add can hold.
HWY_INLINE HWY_ATTR VI8 Centred(VU8 v) {
    return hn::BitCast(DI8(), hn::Xor(v, hn::Set(DU8(), 0x80)));
}

/// Div255Round for t - 32640, t being (255 - alpha) * a + alpha * b. With u = t + 128,
/// (u + (u >> 8)) >> 8 is (u * 257) >> 16.
HWY_INLINE HWY_ATTR VI16 Div255RoundCentred(VI16 v) {
    const DU16 d;
    const VU16 u = hn::Xor(hn::BitCast(d, v), hn::Set(d, 0x8000));
    return hn::BitCast(DI16(), hn::MulHigh(u, hn::Set(d, 257)));
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
HWY_INLINE HWY_ATTR VU8 BlendBytes(VU8 a, VU8 b, const Weights& weights) {
    const DI8 di;
    const VI8 ca = Centred(a), cb = Centred(b);
    const VI16 low = MulAddPairs(weights.lower, hn::InterleaveLower(di, ca, cb));
    const VI16 high = MulAddPairs(weights.upper, hn::InterleaveUpper(di, ca, cb));
    return PackToBytes(Div255RoundCentred(low), Div255RoundCentred(high));
}

/// Weights of a vector of words out of keys: `words` holds 255 less alpha and alpha of each key as one 16-bit
/// lane, `first` is the lane of the vector's first key in every block.
template <std::size_t first>
HWY_INLINE HWY_ATTR Weights WeightsOfPixels(VU8 words) {
    // Each lane for the four bytes of a pixel.
    constexpr std::uint8_t f = 2 * first;
    alignas(16) static constexpr std::uint8_t kLower[16] = {
        f,     f + 1, f,     f + 1, f,     f + 1, f,     f + 1,  // pixel 0
        f + 2, f + 3, f + 2, f + 3, f + 2, f + 3, f + 2, f + 3};
    alignas(16) static constexpr std::uint8_t kUpper[16] = {
        f + 4, f + 5, f + 4, f + 5, f + 4, f + 5, f + 4, f + 5,  // pixel 2
        f + 6, f + 7, f + 6, f + 7, f + 6, f + 7, f + 6, f + 7};
    return {hn::TableLookupBytes(words, InEveryBlock(kLower)),
            hn::TableLookupBytes(words, InEveryBlock(kUpper))};
}

/// The same for pairs of 4:2:2 pixels, whose eight keys are all lanes of a block: the first key of a pair is
/// for three bytes, the second for the last.
HWY_INLINE HWY_ATTR Weights WeightsOfPairs(VU8 words) {
    alignas(16) static constexpr std::uint8_t kLower[16] = {0, 1, 0, 1, 0, 1, 2, 3, 4, 5, 4, 5, 4, 5, 6, 7};
    alignas(16) static constexpr std::uint8_t kUpper[16] = {8,  9,  8,  9,  8,  9,  10, 11,
                                                            12, 13, 12, 13, 12, 13, 14, 15};
    return {hn::TableLookupBytes(words, InEveryBlock(kLower)),
            hn::TableLookupBytes(words, InEveryBlock(kUpper))};
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
