// Samples times the alpha of their pixels, for one target.

#if defined(TESSELU_SRC_COMPOSITE_KERNELS_ALPHAPRODUCTS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef TESSELU_SRC_COMPOSITE_KERNELS_ALPHAPRODUCTS_INL_H
#undef TESSELU_SRC_COMPOSITE_KERNELS_ALPHAPRODUCTS_INL_H
#else
#define TESSELU_SRC_COMPOSITE_KERNELS_ALPHAPRODUCTS_INL_H
#endif

#include "composite/kernels/Blend-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Zan {
namespace HWY_NAMESPACE {
namespace {

#if HWY_TARGET != HWY_SCALAR

/// Div255Round of the product of every sample and the alpha of its pixel: byte 3 of four of `pixels`.
HWY_INLINE HWY_ATTR VU8 TimesAlpha(VU8 samples, VU8 pixels) {
    const DU8 d;
    const DU16 d16;
    alignas(16) static constexpr std::uint8_t kLower[16] = {3, 0x80, 3, 0x80, 3, 0x80, 3, 0x80,
                                                            7, 0x80, 7, 0x80, 7, 0x80, 7, 0x80};
    alignas(16) static constexpr std::uint8_t kUpper[16] = {11, 0x80, 11, 0x80, 11, 0x80, 11, 0x80,
                                                            15, 0x80, 15, 0x80, 15, 0x80, 15, 0x80};
    const VU8 none = hn::Zero(d);
    const auto product = [&](VU8 words, const std::uint8_t* alphas) HWY_ATTR {
        const VU16 weights = hn::BitCast(d16, hn::TableLookupBytesOr0(pixels, InEveryBlock(alphas)));
        const VU16 t = hn::Add(hn::Mul(hn::BitCast(d16, words), weights), hn::Set(d16, 128));
        return hn::BitCast(DI16(), hn::MulHigh(t, hn::Set(d16, 257)));
    };
    return PackToBytes(product(hn::InterleaveLower(d, samples, none), kLower),
                       product(hn::InterleaveUpper(d, samples, none), kUpper));
}

#endif  // HWY_TARGET

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#endif  // include guard
