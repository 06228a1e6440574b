// Readers and writers of the packed formats.

#if defined(TESSELU_SRC_CONVERT_KERNELS_PACKED_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef TESSELU_SRC_CONVERT_KERNELS_PACKED_INL_H
#undef TESSELU_SRC_CONVERT_KERNELS_PACKED_INL_H
#else
#define TESSELU_SRC_CONVERT_KERNELS_PACKED_INL_H
#endif

#include "convert/kernels/Conversion-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Zan {
namespace HWY_NAMESPACE {
namespace {

// ---- 4:2:2
// -------------------------------------------------------------------------------------------------

/// Cb, Y0, Cr, Y1, or Y0, Cb, Y1, Cr.
template <bool LumaFirst>
struct Packed422 {
    static constexpr auto kPlanes = kPairPlanes;
    static constexpr std::size_t kLuma = LumaFirst ? 0 : 1;
    static constexpr std::size_t kChroma = LumaFirst ? 1 : 0;
};

template <bool LumaFirst>
struct Packed422Reader : Packed422<LumaFirst> {
    using P = Packed422<LumaFirst>;

    ChromaPair Pair(const Rows& at, std::size_t line, std::size_t x, std::size_t) const {
        const std::uint8_t* p = at.in[0][line] + 2 * x;
        return {p[P::kChroma], p[P::kChroma + 2], {p[P::kLuma], p[P::kLuma + 2]}};
    }

#if HWY_TARGET != HWY_SCALAR
    /// Samples times 2^Shift, up to 6: one product each takes the place of a mask and a shift.
    template <int Shift>
    HWY_INLINE HWY_ATTR ChromaPairs LoadShifted(const Rows& at, std::size_t line, std::size_t x) const {
        const DI8 d;
        const VU8 v = ToQuadOrder<2>(hn::LoadU(DU8(), at.in[0][line] + 2 * x));
        const VI16 low = MulAddPairs(v, hn::BitCast(d, hn::Set(DU16(), 1U << Shift)));
        const VI16 high = MulAddPairs(v, hn::BitCast(d, hn::Set(DU16(), 0x100U << Shift)));
        return LumaFirst ? ChromaPairs{high, low} : ChromaPairs{low, high};
    }
#endif
};

/// An odd last column writes its luma and the chroma; the place of its neighbour stays as it was.
template <bool LumaFirst>
struct Packed422Writer : Packed422<LumaFirst> {
    using P = Packed422<LumaFirst>;

    void Put(const Rows& at, std::size_t line, std::size_t x, const ChromaPair& pair,
             std::size_t columns) const {
        std::uint8_t* p = at.out[0][line] + 2 * x;
        p[P::kChroma] = pair.cb;
        p[P::kLuma] = pair.y[0];
        p[P::kChroma + 2] = pair.cr;
        if (columns > 1) {
            p[P::kLuma + 2] = pair.y[1];
        }
    }

#if HWY_TARGET != HWY_SCALAR
    /// Limits the samples to 0...255. They are in quad order, or in memory order.
    template <bool InOrder, class Store>
    HWY_INLINE HWY_ATTR void PutPairs(const Rows& at, std::size_t line, std::size_t x,
                                      const ChromaPairs& pairs, Store store) const {
        alignas(16) static constexpr std::uint8_t kInterleave[16] = {0, 8,  1, 9,  2, 10, 3, 11,
                                                                     4, 12, 5, 13, 6, 14, 7, 15};
        const VU8 samples =
            LumaFirst ? PackToBytes(pairs.luma, pairs.chroma) : PackToBytes(pairs.chroma, pairs.luma);
        const VU8 pixels = hn::TableLookupBytes(samples, InEveryBlock(kInterleave));
        store(DU8(), InOrder ? pixels : FromQuadOrder(pixels), at.out[0][line] + 2 * x);
    }
#endif
};

using CbYCrYReader = Packed422Reader<false>;
using CbYCrYWriter = Packed422Writer<false>;
using YCbYCrReader = Packed422Reader<true>;
using YCbYCrWriter = Packed422Writer<true>;

// ---- Four bytes a pixel ----------------------------------------------------------------------------------

struct Packed32 {
    static constexpr auto kPlanes = kPixels32Planes;
};

struct Rgb32Reader : Packed32 {
    /// A single pixel counts as its own neighbour.
    PixelPair Pair(const Rows& at, std::size_t line, std::size_t x, std::size_t columns) const {
        const std::uint8_t* p = at.in[0][line] + 4 * x;
        PixelPair pair;
        std::memcpy(pair.pixel[0], p, 4);
        std::memcpy(pair.pixel[1], columns > 1 ? p + 4 : p, 4);
        return pair;
    }

#if HWY_TARGET != HWY_SCALAR
    /// In quad order, or in memory order.
    template <bool InOrder>
    HWY_INLINE HWY_ATTR PixelPairs LoadPairs(const Rows& at, std::size_t line, std::size_t x) const {
        const DU8 d;
        const DU32 d32;
        const std::uint8_t* p = at.in[0][line] + 4 * x;
        const VU32 low = hn::BitCast(d32, hn::LoadU(d, p));
        const VU32 high = hn::BitCast(d32, hn::LoadU(d, p + kVectorBytes));
        if constexpr (InOrder) {
            return {hn::ConcatEven(d32, high, low), hn::ConcatOdd(d32, high, low)};
        } else {
            return {EvenLanes(low, high), OddLanes(low, high)};
        }
    }
#endif
};

struct Rgb32Writer : Packed32 {
    void Put(const Rows& at, std::size_t line, std::size_t x, const PixelPair& pair,
             std::size_t columns) const {
        std::memcpy(at.out[0][line] + 4 * x, pair.pixel, 4 * columns);
    }

#if HWY_TARGET != HWY_SCALAR
    /// Limits the components to 0...255.
    template <class Store>
    HWY_INLINE HWY_ATTR void PutPixels(const Rows& at, std::size_t line, std::size_t x, const Components& c,
                                       Store store) const {
        const DU8 d;
        const DU16 d16;
        const VU8 even = PackToBytes(c.of[0], c.of[2]), odd = PackToBytes(c.of[1], c.of[3]);
        const VU16 first = hn::BitCast(d16, hn::InterleaveLower(d, even, odd));
        const VU16 second = hn::BitCast(d16, hn::InterleaveUpper(d, even, odd));
        std::uint8_t* p = at.out[0][line] + 4 * x;
        store(d, hn::BitCast(d, hn::InterleaveLower(d16, first, second)), p);
        store(d, hn::BitCast(d, hn::InterleaveUpper(d16, first, second)), p + kVectorBytes);
    }
#endif
};

// ---- Pairs as four bytes
// -----------------------------------------------------------------------------------

/// 4:2:2 of either order.
struct PairBytesReader {
    static constexpr auto kPlanes = kPairPlanes;

    const std::uint8_t* Bytes(const Rows& at, std::size_t x) const { return at.in[0][0] + 2 * x; }
};

/// `SecondLuma` is the byte that an odd last column leaves alone.
template <std::size_t SecondLuma>
struct PairBytesWriter {
    static constexpr auto kPlanes = kPairPlanes;

    void Put(const Rows& at, std::size_t x, const std::uint8_t (&bytes)[4], std::size_t columns) const {
        std::uint8_t* p = Bytes(at, x);
        for (std::size_t i = 0; i < 4; ++i) {
            if (i != SecondLuma || columns > 1) {
                p[i] = bytes[i];
            }
        }
    }

    std::uint8_t* Bytes(const Rows& at, std::size_t x) const { return at.out[0][0] + 2 * x; }
};

/// The same with an alpha plane, which is copied.
struct PairBytesAlphaReader : PairBytesReader {
    static constexpr auto kPlanes = kPairAlphaPlanes;
};

template <std::size_t SecondLuma>
struct PairBytesAlphaWriter : PairBytesWriter<SecondLuma> {
    static constexpr auto kPlanes = kPairAlphaPlanes;
};

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#endif  // include guard
