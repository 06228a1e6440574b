// Readers of the planar formats.

#if defined(TESSELU_SRC_CONVERT_KERNELS_PLANAR_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef TESSELU_SRC_CONVERT_KERNELS_PLANAR_INL_H
#undef TESSELU_SRC_CONVERT_KERNELS_PLANAR_INL_H
#else
#define TESSELU_SRC_CONVERT_KERNELS_PLANAR_INL_H
#endif

#include "convert/kernels/Conversion-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Zan {
namespace HWY_NAMESPACE {
namespace {

/// Y, Cb and Cr in channels 0 to 2, chroma halved both ways.
struct Planar420Reader {
    static constexpr auto kPlanes = k420Planes;

    ChromaPair Pair(const Rows& at, std::size_t line, std::size_t x, std::size_t columns) const {
        const std::uint8_t* y = at.in[0][line] + x;
        return {at.in[1][line][x / 2], at.in[2][line][x / 2], {y[0], y[columns > 1 ? 1 : 0]}};
    }

#if HWY_TARGET != HWY_SCALAR
    /// Luma of twice `kVectorPixels` pixels, centred and with the sign turned, in quad order by halves.
    HWY_INLINE HWY_ATTR void LoadLuma(const Rows& at, std::size_t line, std::size_t x,
                                      VI16 (&luma)[2]) const {
        // -128 * y + 64 * 32 in one product of byte pairs.
        const DU8 d;
        const VU8 v = ToQuadOrder<1>(hn::LoadU(d, at.in[0][line] + x)), black = hn::Set(d, 32);
        const VI8 weights = hn::BitCast(DI8(), hn::Set(DU16(), 0x4080));
        luma[0] = MulAddPairs(hn::InterleaveLower(d, v, black), weights);
        luma[1] = MulAddPairs(hn::InterleaveUpper(d, v, black), weights);
    }

    /// Chroma of as many pixels, centred, once a pair: interleaved with themselves, the lower and
    /// upper halves are in the order of the luma.
    HWY_INLINE HWY_ATTR void LoadChroma(const Rows& at, std::size_t x, VI16& cb, VI16& cr) const {
        cb = Chroma(at.in[1][0] + x / 2);
        cr = Chroma(at.in[2][0] + x / 2);
    }

private:
    static HWY_INLINE HWY_ATTR VI16 Chroma(const std::uint8_t* p) {
        const DI16 d;
        const auto samples = hn::LoadU(hn::Half<DU8>(), p);
        const VI16 dealt = hn::BitCast(d, ToQuadOrder<1>(hn::BitCast(DU8(), hn::PromoteTo(d, samples))));
        return hn::Sub(hn::ShiftLeft<7>(dealt), hn::Set(d, 128 * 128));
    }
#endif
};

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#endif  // include guard
