// Shaping and unshaping in vectors, equal to the formulas.

#if defined(TESSELU_SRC_CONVERT_KERNELS_SHAPING_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef TESSELU_SRC_CONVERT_KERNELS_SHAPING_INL_H
#undef TESSELU_SRC_CONVERT_KERNELS_SHAPING_INL_H
#else
#define TESSELU_SRC_CONVERT_KERNELS_SHAPING_INL_H
#endif

#include "convert/kernels/Conversion-inl.h"
#include "simd/Whole-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Zan {
namespace HWY_NAMESPACE {
namespace {

/// What is done to shaped pictures on the way of a conversion.
enum class Shaping { kNone, kUnshapedFirst, kShapedAfter };

#if HWY_TARGET != HWY_SCALAR

/// t / 255, rounded, for the products of two bytes.
HWY_INLINE HWY_ATTR VU16 DividedBy255(VU16 t) {
    const DU16 d;
    return hn::MulHigh(hn::Add(t, hn::Set(d, 128)), hn::Set(d, 257));
}

/// Limits the components to 0...255 and shapes them.
HWY_INLINE HWY_ATTR VI16 ShapedRgbLanes(VI16 c, VI16 alpha) {
    const DI16 d;
    const VI16 limited = hn::Min(hn::Max(c, hn::Zero(d)), hn::Set(d, 255));
    return hn::BitCast(d, DividedBy255(hn::BitCast(DU16(), hn::Mul(limited, alpha))));
}

/// The even lane of each pair in both.
HWY_INLINE HWY_ATTR VI16 EvenTwice(VI16 v) {
    const DU32 d;
    const VU32 even = hn::And(hn::BitCast(d, v), hn::Set(d, 0xFFFF));
    return hn::BitCast(DI16(), hn::Or(even, hn::ShiftLeft<16>(even)));
}

/// Limits luma and chroma to 0...255 and shapes them.
HWY_INLINE HWY_ATTR PairLanes ShapedPairs(const PairLanes& in) {
    const DI16 d;
    const auto around = [&](int zero, VI16 samples, VI16 alpha) HWY_ATTR {
        const VI16 limited = hn::Min(hn::Max(samples, hn::Zero(d)), hn::Set(d, 255));
        const VI16 point = hn::Set(d, static_cast<std::int16_t>(zero));
        const VI16 difference = hn::Sub(limited, point);
        const VI16 magnitude = hn::Abs(difference);
        const VI16 shaped = hn::BitCast(d, DividedBy255(hn::BitCast(DU16(), hn::Mul(magnitude, alpha))));
        const VI16 sign = hn::ShiftRight<15>(difference);
        return hn::Add(hn::Sub(hn::Xor(shaped, sign), sign), point);
    };
    return {around(128, in.chroma, EvenTwice(in.alpha)), around(16, in.luma, in.alpha), in.alpha};
}

/// A word of colour in the low and in the high byte, alpha in the top one.
HWY_INLINE HWY_ATTR VU32 ShapedPixels(VU32 pixels) {
    alignas(16) static constexpr std::uint8_t kAlphaTwice[16] = {3,  0x80, 3,  0x80, 7,  0x80, 7,  0x80,
                                                                 11, 0x80, 11, 0x80, 15, 0x80, 15, 0x80};
    const DU16 d;
    const DU32 d32;
    const VU16 v = hn::BitCast(d, pixels);
    const VU8 alphas = hn::TableLookupBytesOr0(hn::BitCast(DU8(), pixels), InEveryBlock(kAlphaTwice));
    const VU16 alpha = hn::BitCast(d, alphas);
    // Times 255, alpha comes out as it went in.
    const VU16 alphaAndOne = hn::Or(alpha, hn::BitCast(d, hn::Set(d32, 0xFF0000)));
    const VU16 of02 = DividedBy255(hn::Mul(hn::And(v, hn::Set(d, 0xFF)), alpha));
    const VU16 of13 = DividedBy255(hn::Mul(hn::ShiftRight<8>(v), alphaAndOne));
    return hn::BitCast(d32, hn::Or(of02, hn::ShiftLeft<8>(of13)));
}

using DF32 = hn::ScalableTag<float>;
using VF32 = hn::Vec<DF32>;

/// 255 / alpha, and a little more or less where the reciprocal of the formula was rounded up or down: the
/// products with all samples then lie on the same side of every limit.
inline constexpr std::array<float, 256> kFloatReciprocals = [] {
    std::array<float, 256> table{};
    for (unsigned a = 1; a < 256; ++a) {
        const double exact = 255.0 / a, rounded = kReciprocals[a] / 262144.0;
        const double side = rounded > exact ? 1 : rounded < exact ? -1 : 0;
        table[a] = static_cast<float>(exact * (1 + side / 524288));
    }
    return table;
}();

HWY_INLINE HWY_ATTR VF32 ReciprocalsOf(VU32 alpha) {
    return hn::GatherIndex(DF32(), kFloatReciprocals.data(), hn::BitCast(DI32(), alpha));
}

/// Pixels of 32 bits, alpha on top. The quotient in single precision rounds to the reciprocal of the formula
/// or next to it, which gives the same for every sample and alpha. Of a sample's product with it, in 2^-18,
/// bits 18 to 25 are asked for, which are bits 2 to 9 of what is left without the lower 16: the product with
/// the upper half in 16 bits that may wrap, and the upper half of that with the lower; green alone may as
/// well wrap in 32 bits. Alpha 0 ends in 2^31, or 1 less, none of whose products reaches these bits.
struct PixelUnshaper {
    HWY_INLINE HWY_ATTR PixelUnshaper() {
        alignas(16) static constexpr std::uint8_t kLowTwice[16] = {0, 1, 0, 1, 4,  5,  4,  5,
                                                                   8, 9, 8, 9, 12, 13, 12, 13};
        alignas(16) static constexpr std::uint8_t kHighTwice[16] = {2,  3,  2,  3,  6,  7,  6,  7,
                                                                    10, 11, 10, 11, 14, 15, 14, 15};
        alignas(16) static constexpr std::uint8_t kGreen[16] = {1, 0x80, 0x80, 0x80, 5,  0x80, 0x80, 0x80,
                                                                9, 0x80, 0x80, 0x80, 13, 0x80, 0x80, 0x80};
        one = hn::Set(DF32(), 66846720.0F);
        roundingHalf = hn::Set(DF32(), 0.5F);
        lowTwice = InEveryBlock(kLowTwice);
        highTwice = InEveryBlock(kHighTwice);
        greenAlone = InEveryBlock(kGreen);
        lowBytes = hn::Set(DU16(), 0xFF);
        half = hn::Set(DU16(), 2);
        greenHalf = hn::Set(DU32(), 0x20000);
    }

    HWY_INLINE HWY_ATTR VU32 operator()(VU32 pixels) const {
        const DU8 d8;
        const DU16 d16;
        const DU32 d;
        const VF32 alpha = hn::ConvertTo(DF32(), hn::BitCast(DI32(), hn::ShiftRight<24>(pixels)));
        // Nobody looks at what an alpha of 0 gives. Halves go up: to even numbers would be wrong at 158.
        const VU32 reciprocal = hn::BitCast(d, WholePart(hn::Add(hn::Div(one, alpha), roundingHalf)));
        const VU8 bytes = hn::BitCast(d8, reciprocal);
        const VU16 low = hn::BitCast(d16, hn::TableLookupBytes(bytes, lowTwice));
        const VU16 high = hn::BitCast(d16, hn::TableLookupBytes(bytes, highTwice));
        const VU16 v = hn::BitCast(d16, pixels);
        const auto product = [&](VU16 samples) HWY_ATTR {
            return hn::Add(hn::Mul(samples, high), hn::MulHigh(samples, low));
        };
        const VU16 of02 = hn::ShiftRight<2>(hn::Add(product(hn::And(v, lowBytes)), half));
#if HWY_TARGET == HWY_SSSE3
        // Times 64, so that the bits asked for are the upper ones.
        const VU16 green = hn::And(hn::ShiftRight<2>(v), hn::Set(d16, 0x3FC0));
        const VU16 of1 = hn::Add(product(green), hn::Set(d16, 128));
#else
        const VU32 green = hn::BitCast(d, hn::TableLookupBytesOr0(hn::BitCast(d8, pixels), greenAlone));
        const VU32 of1In32 = hn::ShiftRight<10>(hn::Add(hn::Mul(green, reciprocal), greenHalf));
        const VU16 of1 = hn::BitCast(d16, of1In32);
#endif
        const VU16 of13 = hn::OddEven(v, of1);
        return hn::IfVecThenElse(hn::Set(d, 0xFF00FF00), hn::BitCast(d, of13), hn::BitCast(d, of02));
    }

private:
    VF32 one, roundingHalf;
    VU8 lowTwice, highTwice, greenAlone;
    VU16 lowBytes, half;
    VU32 greenHalf;
};

HWY_INLINE HWY_ATTR VU32 UnshapedPixels(VU32 pixels) {
    return PixelUnshaper()(pixels);
}

/// Samples of 0...255 unshaped.
HWY_INLINE HWY_ATTR PairLanes UnshapedPairs(const PairLanes& in) {
    const DI16 d;
    const DU32 du;
    const DF32 df;
    const auto even = [&](VI16 v) HWY_ATTR { return hn::And(hn::BitCast(du, v), hn::Set(du, 0xFFFF)); };
    const auto odd = [&](VI16 v) HWY_ATTR { return hn::ShiftRight<16>(hn::BitCast(du, v)); };
    const VF32 ofEven = ReciprocalsOf(even(in.alpha)), ofOdd = ReciprocalsOf(odd(in.alpha));
    const auto around = [&](int zero, VU32 samples, VF32 reciprocal) HWY_ATTR {
        const VF32 point = hn::Set(df, static_cast<float>(zero));
        const VF32 difference = hn::Sub(hn::ConvertTo(df, hn::BitCast(DI32(), samples)), point);
        const VF32 value = hn::Add(hn::Floor(hn::Mul(difference, reciprocal)), point);
        const VF32 limited = hn::Min(hn::Max(value, hn::Zero(df)), hn::Set(df, 255.0F));
        return hn::BitCast(DU32(), WholePart(limited));
    };
    const auto pair = [&](VU32 low, VU32 high)
                          HWY_ATTR { return hn::BitCast(d, hn::Or(low, hn::ShiftLeft<16>(high))); };
    return {pair(around(128, even(in.chroma), ofEven), around(128, odd(in.chroma), ofEven)),
            pair(around(16, even(in.luma), ofEven), around(16, odd(in.luma), ofOdd)), in.alpha};
}

#endif  // HWY_TARGET

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#endif  // include guard
