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

// ---- 4:2:2 -----------------------------------------------------------------------------------------------

/// Cb, Y0, Cr, Y1, or Y0, Cb, Y1, Cr.
template <bool LumaFirst>
struct Packed422 {
    static constexpr auto kPlanes = kPairPlanes;
    static constexpr std::size_t kColumns = 2;
    static constexpr std::size_t kLines = 1;
    static constexpr bool kHasAlpha = false;
    static constexpr std::size_t kLuma = LumaFirst ? 0 : 1;
    static constexpr std::size_t kChroma = LumaFirst ? 1 : 0;
};

template <bool LumaFirst>
struct Packed422Reader : Packed422<LumaFirst> {
    using P = Packed422<LumaFirst>;

    Pixel Load(const Rows& at, std::size_t line, std::size_t x) const {
        const std::uint8_t* pair = at.in[0][line] + x / 2 * 4;
        return {{pair[P::kChroma], pair[x % 2 * 2 + P::kLuma], pair[P::kChroma + 2], 0}};
    }

#if HWY_TARGET != HWY_SCALAR
    /// Samples times 2^Shift, up to 6, in quad order: one product each takes the place of a mask and a shift.
    template <int Shift>
    HWY_INLINE HWY_ATTR PairLanes LoadPairs(const Rows& at, std::size_t line, std::size_t x) const {
        const DI8 d;
        const VU8 v = ToQuadOrder<2>(hn::LoadU(DU8(), at.in[0][line] + 2 * x));
        const VI16 low = MulAddPairs(v, hn::BitCast(d, hn::Set(DU16(), 1U << Shift)));
        const VI16 high = MulAddPairs(v, hn::BitCast(d, hn::Set(DU16(), 0x100U << Shift)));
        const VI16 none = hn::Zero(DI16());
        return LumaFirst ? PairLanes{high, low, none} : PairLanes{low, high, none};
    }
    HWY_INLINE HWY_ATTR PairLanes LoadLanes(const Rows& at, std::size_t line, std::size_t x) const {
        return LoadPairs<0>(at, line, x);
    }
#endif
};

/// An odd last column writes its luma and the chroma; the place of its neighbour stays as it was.
template <bool LumaFirst>
struct Packed422Writer : Packed422<LumaFirst> {
    using P = Packed422<LumaFirst>;

    void Put(const Rows& at, std::size_t x, const Block& block) const {
        for (std::size_t k = 0; k < block.columns; k += 2) {
            std::uint8_t* pair = at.out[0][0] + (x + k) * 2;
            pair[P::kChroma] = MeanOf(block, 0, k, 2);
            pair[P::kLuma] = block.pixel[0][k].sample[1];
            pair[P::kChroma + 2] = MeanOf(block, 2, k, 2);
            if (k + 1 < block.columns) {
                pair[P::kLuma + 2] = block.pixel[0][k + 1].sample[1];
            }
        }
    }

#if HWY_TARGET != HWY_SCALAR
    static constexpr std::size_t kSteps = 1;

    using Lanes = LaneBlock<kSteps>;

    /// Limits the samples to 0...255. They are in quad order, or in memory order.
    template <bool InOrder, class Store>
    HWY_INLINE HWY_ATTR void PutLanes(const Rows& at, std::size_t x, const Lanes& lanes, Store store) const {
        PutPairs<InOrder>(at.out[0][0] + 2 * x, lanes.luma[0], lanes.chroma[0], store);
    }

    template <class Store>
    HWY_INLINE HWY_ATTR void PutDealt(const Rows& at, std::size_t x, const DealtBytes& bytes,
                                      Store store) const {
        const DU8 d;
        const VU8 first = LumaFirst ? bytes.luma : bytes.chroma;
        const VU8 second = LumaFirst ? bytes.chroma : bytes.luma;
        std::uint8_t* to = at.out[0][0] + 2 * x;
        store(d, hn::InterleaveLower(d, first, second), to);
        store(d, hn::InterleaveUpper(d, first, second), to + kVectorBytes);
    }

protected:
    template <bool InOrder, class Store>
    static HWY_INLINE HWY_ATTR void PutPairs(std::uint8_t* to, VI16 luma, VI16 chroma, Store store) {
        alignas(16) static constexpr std::uint8_t kInterleave[16] = {0, 8,  1, 9,  2, 10, 3, 11,
                                                                     4, 12, 5, 13, 6, 14, 7, 15};
        const VU8 samples = LumaFirst ? PackToBytes(luma, chroma) : PackToBytes(chroma, luma);
        const VU8 pixels = hn::TableLookupBytes(samples, InEveryBlock(kInterleave));
        store(DU8(), InOrder ? pixels : FromQuadOrder(pixels), to);
    }
#endif
};

using CbYCrYReader = Packed422Reader<false>;
using CbYCrYWriter = Packed422Writer<false>;
using YCbYCrReader = Packed422Reader<true>;
using YCbYCrWriter = Packed422Writer<true>;

/// The same, with alpha in a plane of its own.
struct CbYCrY4Reader : CbYCrYReader {
    static constexpr auto kPlanes = kPairAlphaPlanes;
    static constexpr bool kHasAlpha = true;

    Pixel Load(const Rows& at, std::size_t line, std::size_t x) const {
        Pixel pixel = CbYCrYReader::Load(at, line, x);
        pixel.sample[3] = at.in[3][line][x];
        return pixel;
    }

#if HWY_TARGET != HWY_SCALAR
    /// Alpha as it is, in quad order.
    template <int Shift>
    HWY_INLINE HWY_ATTR PairLanes LoadPairs(const Rows& at, std::size_t line, std::size_t x) const {
        PairLanes pairs = CbYCrYReader::LoadPairs<Shift>(at, line, x);
        const VI16 alpha = hn::PromoteTo(DI16(), hn::LoadU(hn::Half<DU8>(), at.in[3][line] + x));
        pairs.alpha = hn::BitCast(DI16(), ToQuadOrder<2>(hn::BitCast(DU8(), alpha)));
        return pairs;
    }
    HWY_INLINE HWY_ATTR PairLanes LoadLanes(const Rows& at, std::size_t line, std::size_t x) const {
        return LoadPairs<0>(at, line, x);
    }
#endif
};

struct CbYCrY4Writer : CbYCrYWriter {
    static constexpr auto kPlanes = kPairAlphaPlanes;
    static constexpr bool kHasAlpha = true;

    void Put(const Rows& at, std::size_t x, const Block& block) const {
        CbYCrYWriter::Put(at, x, block);
        for (std::size_t k = 0; k < block.columns; ++k) {
            at.out[3][0][x + k] = block.pixel[0][k].sample[3];
        }
    }

#if HWY_TARGET != HWY_SCALAR
    static constexpr std::size_t kSteps = 2;
    using Lanes = LaneBlock<kSteps>;

    template <bool InOrder, class Store>
    HWY_INLINE HWY_ATTR void PutLanes(const Rows& at, std::size_t x, const Lanes& lanes, Store store) const {
        for (std::size_t i = 0; i < kSteps; ++i) {
            PutPairs<false>(at.out[0][0] + 2 * (x + i * kVectorPixels), lanes.luma[i], lanes.chroma[i],
                            store);
        }
        store(DU8(), BytesInOrder(lanes.alpha[0], lanes.alpha[1]), at.out[3][0] + x);
    }
#endif
};

// ---- Three and four bytes a pixel ------------------------------------------------------------------------

/// The first two samples of the matrix lie the other way round where luma comes first.
template <std::size_t Bytes, bool LumaFirst>
struct PackedPixels {
    static constexpr auto kPlanes = [] {
        if constexpr (Bytes == 4) {
            return kPixels32Planes;
        } else {
            return kPixels24Planes;
        }
    }();
    static constexpr std::size_t kColumns = 1;
    static constexpr std::size_t kLines = 1;
    static constexpr bool kHasAlpha = Bytes == 4;

    /// Where sample `j` lies.
    static constexpr std::size_t Place(std::size_t j) { return LumaFirst && j < 2 ? 1 - j : j; }
};

template <std::size_t Bytes, bool LumaFirst>
struct PixelsReader : PackedPixels<Bytes, LumaFirst> {
    using P = PackedPixels<Bytes, LumaFirst>;

    Pixel Load(const Rows& at, std::size_t line, std::size_t x) const {
        const std::uint8_t* p = at.in[0][line] + Bytes * x;
        Pixel pixel{};
        for (std::size_t j = 0; j < Bytes; ++j) {
            pixel.sample[j] = p[P::Place(j)];
        }
        return pixel;
    }

#if HWY_TARGET != HWY_SCALAR
    /// Two vectors of pixels in memory order, 32 bits each and samples in the order of the matrix; without
    /// alpha its byte is 0.
    HWY_INLINE HWY_ATTR void LoadPixels(const Rows& at, std::size_t line, std::size_t x,
                                        VU32 (&pixels)[2]) const {
        const DU8 d;
        const DU32 d32;
        const std::uint8_t* p = at.in[0][line] + Bytes * x;
        if constexpr (Bytes == 4) {
            for (std::size_t i = 0; i < 2; ++i) {
                const VU8 v = hn::LoadU(d, p + i * kVectorBytes);
                pixels[i] = hn::BitCast(d32, LumaFirst ? hn::TableLookupBytes(v, SwappedPixels()) : v);
            }
        } else {
            // Block b of a vector takes the 12 bytes that it needs. The second vector is loaded from where it
            // ends with the last pixel, so that nothing beyond is read.
            alignas(16) static constexpr std::uint8_t kSpread[16] = {
                LumaFirst ? 1 : 0,  LumaFirst ? 0 : 1,  2,  0x80,
                LumaFirst ? 4 : 3,  LumaFirst ? 3 : 4,  5,  0x80,
                LumaFirst ? 7 : 6,  LumaFirst ? 6 : 7,  8,  0x80,
                LumaFirst ? 10 : 9, LumaFirst ? 9 : 10, 11, 0x80};
            const VU8 spread = InEveryBlock(kSpread);
            for (std::size_t i = 0; i < 2; ++i) {
                const VU32 v = hn::BitCast(d32, hn::LoadU(d, p + i * (kVectorBytes / 2)));
                const VU32 dealt = DealTriples(v, i == 0 ? 0 : kBlocks);
                pixels[i] = hn::BitCast(d32, hn::TableLookupBytesOr0(hn::BitCast(d, dealt), spread));
            }
        }
    }

    /// In quad order, or in memory order.
    template <bool InOrder>
    HWY_INLINE HWY_ATTR PixelPairs LoadPairs(const Rows& at, std::size_t line, std::size_t x) const {
        const DU32 d32;
        VU32 pixels[2];
        LoadPixels(at, line, x, pixels);
        if constexpr (InOrder) {
            return {hn::ConcatEven(d32, pixels[1], pixels[0]), hn::ConcatOdd(d32, pixels[1], pixels[0])};
        } else {
            return {EvenLanes(pixels[0], pixels[1]), OddLanes(pixels[0], pixels[1])};
        }
    }

    /// As pairs that share the mean of their chroma, in quad order.
    HWY_INLINE HWY_ATTR PairLanes LoadLanes(const Rows& at, std::size_t line, std::size_t x) const {
        const DI16 d;
        const DU16 du;
        const DU32 d32;
        const PixelPairs in = LoadPairs<false>(at, line, x);
        const VU16 low = hn::Set(du, 0xFF);
        const VU16 sum =
            hn::Add(hn::And(hn::BitCast(du, in.even), low), hn::And(hn::BitCast(du, in.odd), low));
        const VU32 even = hn::And(hn::ShiftRight<8>(in.even), hn::Set(d32, 0xFF));
        const VU32 odd = hn::And(hn::ShiftLeft<8>(in.odd), hn::Set(d32, 0xFF0000));
        return {hn::BitCast(d, hn::ShiftRight<1>(sum)), hn::BitCast(d, hn::Or(even, odd)), AlphaOfPairs(in)};
    }

private:
    static HWY_INLINE HWY_ATTR VU8 SwappedPixels() {
        alignas(16) static constexpr std::uint8_t kSwap[16] = {1, 0, 2,  3,  5,  4,  6,  7,
                                                               9, 8, 10, 11, 13, 12, 14, 15};
        return InEveryBlock(kSwap);
    }

    /// Words 3b + first and the three behind it to block b. The last of them may lie beyond and is not used.
    static HWY_INLINE HWY_ATTR VU32 DealTriples(VU32 v, std::size_t first) {
        constexpr std::size_t kLanes = kVectorBytes / 4;
        alignas(64) std::uint32_t from[kLanes];
        for (std::size_t i = 0; i < kLanes; ++i) {
            from[i] = static_cast<std::uint32_t>(std::min(first + i / 4 * 3 + i % 4, kLanes - 1));
        }
        return hn::TableLookupLanes(v, hn::SetTableIndices(DU32(), from));
    }
#endif
};

template <std::size_t Bytes, bool LumaFirst>
struct PixelsWriter : PackedPixels<Bytes, LumaFirst> {
    using P = PackedPixels<Bytes, LumaFirst>;

    void Put(const Rows& at, std::size_t x, const Block& block) const {
        for (std::size_t line = 0; line < block.lines; ++line) {
            for (std::size_t k = 0; k < block.columns; ++k) {
                std::uint8_t* p = at.out[0][line] + Bytes * (x + k);
                for (std::size_t j = 0; j < Bytes; ++j) {
                    p[P::Place(j)] = block.pixel[line][k].sample[j];
                }
            }
        }
    }

#if HWY_TARGET != HWY_SCALAR
    /// Components of so many times `kVectorPixels` columns are put together: whole vectors of bytes.
    static constexpr std::size_t kSteps = Bytes == 4 ? 1 : 2;
    using Lanes = LaneBlock<kSteps>;

    /// Limits the components to 0...255.
    template <class Store>
    HWY_INLINE HWY_ATTR void PutComponents(const Rows& at, std::size_t line, std::size_t x,
                                           const Components (&components)[kSteps], Store store) const {
        const DU8 d;
        const DU16 d16;
        VU32 pixels[2 * kSteps];
        for (std::size_t i = 0; i < kSteps; ++i) {
            const VI16(&c)[4] = components[i].of;
            const VU8 even = PackToBytes(c[P::Place(0)], c[2]), odd = PackToBytes(c[P::Place(1)], c[3]);
            const VU16 first = hn::BitCast(d16, hn::InterleaveLower(d, even, odd));
            const VU16 second = hn::BitCast(d16, hn::InterleaveUpper(d, even, odd));
            pixels[2 * i] = hn::BitCast(DU32(), hn::InterleaveLower(d16, first, second));
            pixels[2 * i + 1] = hn::BitCast(DU32(), hn::InterleaveUpper(d16, first, second));
        }
        PutPixels(at, line, x, pixels, store);
    }

    /// Pairs with their chroma repeated. Limits the samples to 0...255.
    template <bool InOrder, class Store>
    HWY_INLINE HWY_ATTR void PutLanes(const Rows& at, std::size_t x, const Lanes& lanes, Store store) const {
        const DU32 d;
        Components components[kSteps];
        for (std::size_t i = 0; i < kSteps; ++i) {
            const VU32 chroma = hn::BitCast(d, lanes.chroma[i]);
            const VU32 cb = hn::And(chroma, hn::Set(d, 0xFFFF)), cr = hn::ShiftRight<16>(chroma);
            components[i].of[0] = hn::BitCast(DI16(), hn::Or(cb, hn::ShiftLeft<16>(cb)));
            components[i].of[1] = lanes.luma[i];
            components[i].of[2] = hn::BitCast(DI16(), hn::Or(cr, hn::ShiftLeft<16>(cr)));
            components[i].of[3] = P::kHasAlpha ? lanes.alpha[i] : hn::Zero(DI16());
        }
        PutComponents(at, 0, x, components, store);
    }

    /// Vectors of pixels in memory order, samples in the order of memory.
    template <class Store>
    HWY_INLINE HWY_ATTR void PutPixels(const Rows& at, std::size_t line, std::size_t x,
                                       const VU32 (&pixels)[2 * kSteps], Store store) const {
        const DU8 d;
        std::uint8_t* p = at.out[0][line] + Bytes * x;
        if constexpr (Bytes == 4) {
            for (std::size_t i = 0; i < 2; ++i) {
                store(d, hn::BitCast(d, pixels[i]), p + i * kVectorBytes);
            }
        } else {
            // Three quarters of each vector are left. Each is turned so that what goes to the end of one
            // store and what goes to the start of the next lie there.
            const VU8 a = Compact<0>(pixels[0]), b = Compact<1>(pixels[1]);
            const VU8 c = Compact<2>(pixels[2]), e = Compact<3>(pixels[3]);
            store(d, TakeUpper<1>(a, b), p);
            store(d, TakeUpper<2>(b, c), p + kVectorBytes);
            store(d, TakeUpper<3>(c, e), p + 2 * kVectorBytes);
        }
    }

private:
    /// Quarter i of the three that are left to quarter (i + 4 - Turn) % 4.
    template <std::size_t Turn>
    static HWY_INLINE HWY_ATTR VU8 Compact(VU32 pixels) {
        alignas(16) static constexpr std::uint8_t kPack[16] = {0,  1,  2,  4,  5,    6,    8,    9,
                                                               10, 12, 13, 14, 0x80, 0x80, 0x80, 0x80};
        const DU32 d32;
        const VU32 packed =
            hn::BitCast(d32, hn::TableLookupBytesOr0(hn::BitCast(DU8(), pixels), InEveryBlock(kPack)));
        constexpr std::size_t kLanes = kVectorBytes / 4;
        alignas(64) std::uint32_t from[kLanes];
        for (std::size_t i = 0; i < kLanes; ++i) {
            const std::size_t word = (i + Turn * kBlocks) % kLanes;
            from[i] = static_cast<std::uint32_t>(word < 3 * kBlocks ? word / 3 * 4 + word % 3 : 3);
        }
        return hn::BitCast(DU8(), hn::TableLookupLanes(packed, hn::SetTableIndices(d32, from)));
    }

    /// The upper `Quarters` of `upper`, the rest of `lower`.
    template <std::size_t Quarters>
    static HWY_INLINE HWY_ATTR VU8 TakeUpper(VU8 lower, VU8 upper) {
        const DU32 d32;
        const auto mask = hn::FirstN(d32, (4 - Quarters) * kBlocks);
        return hn::BitCast(DU8(), hn::IfThenElse(mask, hn::BitCast(d32, lower), hn::BitCast(d32, upper)));
    }
#endif
};

/// B, G, R, A, or Cb, Y, Cr, A.
using Pixels32Reader = PixelsReader<4, false>;
using Pixels32Writer = PixelsWriter<4, false>;
using Pixels24Reader = PixelsReader<3, false>;
using Pixels24Writer = PixelsWriter<3, false>;
using YCbCrAReader = PixelsReader<4, true>;
using YCbCrAWriter = PixelsWriter<4, true>;
using YCbCr24Reader = PixelsReader<3, true>;
using YCbCr24Writer = PixelsWriter<3, true>;

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#endif  // include guard
