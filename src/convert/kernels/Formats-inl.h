// Readers and writers of the converter's formats, portable and for vectors.
//
// Vectors hold a pixel pair in each 32-bit lane and are in quad order: with n blocks of 16 bytes, block L
// holds the four pixels that come L-th and the four that come (n + L)-th. That is what interleaving and
// packing within blocks need to leave the pixels of the result in their order.

#if defined(TESSELU_SRC_CONVERT_KERNELS_FORMATS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef TESSELU_SRC_CONVERT_KERNELS_FORMATS_INL_H
#undef TESSELU_SRC_CONVERT_KERNELS_FORMATS_INL_H
#else
#define TESSELU_SRC_CONVERT_KERNELS_FORMATS_INL_H
#endif

#include "convert/kernels/Conversion-inl.h"
#include "convert/kernels/ConversionFormulas.h"

HWY_BEFORE_NAMESPACE();
namespace Zan {
namespace HWY_NAMESPACE {

#if HWY_TARGET != HWY_SCALAR

constexpr std::size_t kVectorBytes = HWY_LANES(std::uint8_t);
constexpr std::size_t kBlocks = kVectorBytes / 16;
/// Pixels whose samples fill a vector of 16-bit lanes.
constexpr std::size_t kVectorPixels = kVectorBytes / 2;

/// From memory order to quad order, in units of `Words` 32-bit words: block L gets the units L, L + n, ...
template <std::size_t Words>
HWY_INLINE HWY_ATTR VU8 Deal(VU8 v) {
    if constexpr (kBlocks == 1) {
        return v;
    } else {
        const DU32 d;
        constexpr std::size_t kUnits = 4 / Words;
        alignas(64) std::uint32_t from[kVectorBytes / 4];
        for (std::size_t i = 0; i < kVectorBytes / 4; ++i) {
            const std::size_t block = i / 4, unit = i % 4 / Words, word = i % Words;
            static_assert(kUnits >= 2);
            from[i] = static_cast<std::uint32_t>((unit * kBlocks + block) * Words + word);
        }
        return hn::BitCast(DU8(), hn::TableLookupLanes(hn::BitCast(d, v), hn::SetTableIndices(d, from)));
    }
}

/// From quad order back to memory order, for a result of 8 bytes a quad.
HWY_INLINE HWY_ATTR VU8 CollectPairs(VU8 v) {
    if constexpr (kBlocks == 1) {
        return v;
    } else {
        const DU32 d;
        alignas(64) std::uint32_t from[kVectorBytes / 4];
        for (std::size_t i = 0; i < kVectorBytes / 4; ++i) {
            const std::size_t quad = i / 2, word = i % 2;
            from[i] = static_cast<std::uint32_t>(quad % kBlocks * 4 + quad / kBlocks * 2 + word);
        }
        return hn::BitCast(DU8(), hn::TableLookupLanes(hn::BitCast(d, v), hn::SetTableIndices(d, from)));
    }
}

/// Whether pixels that become pairs stay in memory order: where lanes can be picked across blocks as cheaply
/// as within them.
constexpr bool kPairsInOrder = kBlocks == 1 || HWY_TARGET == HWY_AVX3;

/// Samples of 4:2:2 in 16-bit lanes: (Cb, Cr) and (Y0, Y1) in each pair.
struct ChromaPairs {
    VI16 chroma;
    VI16 luma;
};

/// The even and the odd pixel of each pair.
struct PixelPairs {
    VU32 even;
    VU32 odd;
};

/// Components 0 to 3 in 16-bit lanes, a lane a pixel.
struct Components {
    VI16 of[4];
};

#endif  // HWY_TARGET

// ---- Packed 4:2:2 ----------------------------------------------------------------------------------------

/// Cb, Y0, Cr, Y1, or Y0, Cb, Y1, Cr.
template <bool LumaFirst>
struct Packed422 {
    static constexpr PlaneUse kPlanes[] = {{.channel = 0, .bytesPer16 = 32, .columns = 2, .inWords = true}};
    static constexpr std::size_t kLuma = LumaFirst ? 0 : 1;
    static constexpr std::size_t kChroma = LumaFirst ? 1 : 0;
};

template <bool LumaFirst>
struct Packed422Reader : Packed422<LumaFirst> {
    using P = Packed422<LumaFirst>;

    ChromaPair Pair(const Band& band, std::size_t line, std::size_t x, std::size_t) const {
        const std::uint8_t* p = band.source[line][0] + 2 * x;
        return {p[P::kChroma], p[P::kChroma + 2], {p[P::kLuma], p[P::kLuma + 2]}};
    }

#if HWY_TARGET != HWY_SCALAR
    /// Samples times 2^Shift: one product each takes the place of a mask and a shift.
    template <int Shift>
    HWY_INLINE HWY_ATTR ChromaPairs Load(const Band& band, std::size_t line, std::size_t x) const {
        const DI8 d;
        const VU8 v = Deal<2>(hn::LoadU(DU8(), band.source[line][0] + 2 * x));
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

    void Put(const Band& band, std::size_t line, std::size_t x, const ChromaPair& pair,
             std::size_t columns) const {
        std::uint8_t* p = band.destination[line][0] + 2 * x;
        p[P::kChroma] = pair.cb;
        p[P::kLuma] = pair.y[0];
        p[P::kChroma + 2] = pair.cr;
        if (columns > 1)
            p[P::kLuma + 2] = pair.y[1];
    }

#if HWY_TARGET != HWY_SCALAR
    /// Limits the samples to 0...255. They are in quad order, or in memory order.
    template <bool InOrder, class Store>
    HWY_INLINE HWY_ATTR void Put(const Band& band, std::size_t line, std::size_t x, const ChromaPairs& pairs,
                                 Store store) const {
        alignas(16) static constexpr std::uint8_t kInterleave[16] = {0, 8,  1, 9,  2, 10, 3, 11,
                                                                     4, 12, 5, 13, 6, 14, 7, 15};
        const VU8 samples =
            LumaFirst ? PackToBytes(pairs.luma, pairs.chroma) : PackToBytes(pairs.chroma, pairs.luma);
        const VU8 pixels = hn::TableLookupBytes(samples, InEveryBlock(kInterleave));
        store(DU8(), InOrder ? pixels : CollectPairs(pixels), band.destination[line][0] + 2 * x);
    }
#endif
};

using CbYCrYReader = Packed422Reader<false>;
using CbYCrYWriter = Packed422Writer<false>;
using YCbYCrReader = Packed422Reader<true>;
using YCbYCrWriter = Packed422Writer<true>;

// ---- Four bytes a pixel ----------------------------------------------------------------------------------

struct Packed32 {
    static constexpr PlaneUse kPlanes[] = {{.channel = 0, .bytesPer16 = 64, .inWords = true}};
};

struct Rgb32Reader : Packed32 {
    /// A single pixel counts as its own neighbour.
    PixelPair Pair(const Band& band, std::size_t line, std::size_t x, std::size_t columns) const {
        const std::uint8_t* p = band.source[line][0] + 4 * x;
        PixelPair pair;
        std::memcpy(pair.pixel[0], p, 4);
        std::memcpy(pair.pixel[1], columns > 1 ? p + 4 : p, 4);
        return pair;
    }

#if HWY_TARGET != HWY_SCALAR
    /// In quad order, or in memory order.
    template <bool InOrder>
    HWY_INLINE HWY_ATTR PixelPairs Load(const Band& band, std::size_t line, std::size_t x) const {
        const DU8 d;
        const DU32 d32;
        const std::uint8_t* p = band.source[line][0] + 4 * x;
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
    void Put(const Band& band, std::size_t line, std::size_t x, const PixelPair& pair,
             std::size_t columns) const {
        std::memcpy(band.destination[line][0] + 4 * x, pair.pixel, 4 * columns);
    }

#if HWY_TARGET != HWY_SCALAR
    /// Limits the components to 0...255.
    template <class Store>
    HWY_INLINE HWY_ATTR void Put(const Band& band, std::size_t line, std::size_t x, const Components& c,
                                 Store store) const {
        const DU8 d;
        const DU16 d16;
        const VU8 even = PackToBytes(c.of[0], c.of[2]), odd = PackToBytes(c.of[1], c.of[3]);
        const VU16 first = hn::BitCast(d16, hn::InterleaveLower(d, even, odd));
        const VU16 second = hn::BitCast(d16, hn::InterleaveUpper(d, even, odd));
        std::uint8_t* p = band.destination[line][0] + 4 * x;
        store(d, hn::BitCast(d, hn::InterleaveLower(d16, first, second)), p);
        store(d, hn::BitCast(d, hn::InterleaveUpper(d16, first, second)), p + kVectorBytes);
    }
#endif
};

// ---- Planes ----------------------------------------------------------------------------------------------

/// Y, Cb and Cr in channels 0 to 2, chroma halved both ways.
struct Planar420Reader {
    static constexpr PlaneUse kPlanes[] = {
        {.channel = 0, .bytesPer16 = 16},
        {.channel = 1, .bytesPer16 = 8, .columns = 2, .halfHeight = true},
        {.channel = 2, .bytesPer16 = 8, .columns = 2, .halfHeight = true},
    };

    ChromaPair Pair(const Band& band, std::size_t line, std::size_t x, std::size_t columns) const {
        const std::uint8_t* y = band.source[line][0] + x;
        return {band.source[line][1][x / 2], band.source[line][2][x / 2], {y[0], y[columns > 1 ? 1 : 0]}};
    }

#if HWY_TARGET != HWY_SCALAR
    /// Luma of twice `kVectorPixels` pixels, centred and with the sign turned, in quad order by halves.
    HWY_INLINE HWY_ATTR void LoadLuma(const Band& band, std::size_t line, std::size_t x,
                                      VI16 (&luma)[2]) const {
        // -128 * y + 64 * 32 in one product of byte pairs.
        const DU8 d;
        const VU8 v = Deal<1>(hn::LoadU(d, band.source[line][0] + x)), black = hn::Set(d, 32);
        const VI8 weights = hn::BitCast(DI8(), hn::Set(DU16(), 0x4080));
        luma[0] = MulAddPairs(hn::InterleaveLower(d, v, black), weights);
        luma[1] = MulAddPairs(hn::InterleaveUpper(d, v, black), weights);
    }

    /// Chroma of as many pixels, centred, once a pair: interleaved with themselves, the lower and
    /// upper halves are in the order of the luma.
    HWY_INLINE HWY_ATTR void LoadChroma(const Band& band, std::size_t x, VI16& cb, VI16& cr) const {
        cb = Chroma(band.source[0][1] + x / 2);
        cr = Chroma(band.source[0][2] + x / 2);
    }

private:
    static HWY_INLINE HWY_ATTR VI16 Chroma(const std::uint8_t* p) {
        const DI16 d;
        const auto samples = hn::LoadU(hn::Half<DU8>(), p);
        const VI16 dealt = hn::BitCast(d, Deal<1>(hn::BitCast(DU8(), hn::PromoteTo(d, samples))));
        return hn::Sub(hn::ShiftLeft<7>(dealt), hn::Set(d, 128 * 128));
    }
#endif
};

// ---- Bytes as they are -----------------------------------------------------------------------------------

/// Packed 4:2:2 of either order for repacks; `SecondLuma` is the byte that an odd last column leaves alone.
struct RawPairsReader {
    static constexpr PlaneUse kPlanes[] = {{.channel = 0, .bytesPer16 = 32, .columns = 2, .inWords = true}};

    const std::uint8_t* Bytes(const Band& band, std::size_t line, std::size_t x) const {
        return band.source[line][0] + 2 * x;
    }
};

template <std::size_t SecondLuma>
struct RawPairsWriter {
    static constexpr PlaneUse kPlanes[] = {{.channel = 0, .bytesPer16 = 32, .columns = 2, .inWords = true}};

    void Put(const Band& band, std::size_t line, std::size_t x, const std::uint8_t (&bytes)[4],
             std::size_t columns) const {
        std::uint8_t* p = Bytes(band, line, x);
        for (std::size_t i = 0; i < 4; ++i)
            if (i != SecondLuma || columns > 1)
                p[i] = bytes[i];
    }

    std::uint8_t* Bytes(const Band& band, std::size_t line, std::size_t x) const {
        return band.destination[line][0] + 2 * x;
    }
};

}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#endif  // include guard
