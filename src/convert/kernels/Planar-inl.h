// Readers and writers of the planar formats.

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

#if HWY_TARGET != HWY_SCALAR

/// Eight columns of chroma for each of two units a block, from words of four samples: those of unit u are
/// words `word(u, 0)` and `word(u, 1)` of `samples`.
template <class Word>
HWY_INLINE HWY_ATTR DealtBytes Dealt(const std::uint8_t* luma, VU8 samples, const Word& word) {
    alignas(16) static constexpr std::uint8_t kInTurn[16] = {0, 4,  1, 5,  2,  6,  3,  7,
                                                             8, 12, 9, 13, 10, 14, 11, 15};
    const DU8 d;
    const DU32 d32;
    alignas(64) std::uint32_t from[4 * kBlocks];
    for (std::size_t b = 0; b < kBlocks; ++b) {
        for (std::size_t i = 0; i < 4; ++i) {
            from[4 * b + i] = static_cast<std::uint32_t>(word(b + i / 2 * kBlocks, i % 2));
        }
    }
    const VU32 words = hn::TableLookupLanes(hn::BitCast(d32, samples), hn::SetTableIndices(d32, from));
    return {ToQuadOrder<2>(hn::LoadU(d, luma)),
            hn::TableLookupBytes(hn::BitCast(d, words), InEveryBlock(kInTurn))};
}

/// Pairs of chroma samples apart: a vector of them to half a vector of each.
template <class Store>
HWY_INLINE HWY_ATTR void PutChroma(VU8 chroma, std::uint8_t* cb, std::uint8_t* cr, Store store) {
    alignas(16) static constexpr std::uint8_t kApart[16] = {0, 2, 4, 6, 8, 10, 12, 14,
                                                            1, 3, 5, 7, 9, 11, 13, 15};
    const hn::Half<DU8> half;
    const VU8 apart = hn::BitCast(
        DU8(), HalvesApart(hn::BitCast(DU64(), hn::TableLookupBytes(chroma, InEveryBlock(kApart)))));
    store(half, hn::LowerHalf(half, apart), cb);
    store(half, hn::UpperHalf(half, apart), cr);
}

/// As `BytesInOrder` for chroma of four columns, of which each block of the lanes has four pairs: the pixels
/// of one after the other.
HWY_INLINE HWY_ATTR VU8 PairsInOrder(VI16 first, VI16 second) {
    return hn::BitCast(DU8(), GatherWords(hn::BitCast(DU16(), PackToBytes(first, second))));
}

#endif  // HWY_TARGET

/// Y, Cb and Cr in channels 0 to 2; `Across` columns and `Down` lines share chroma.
template <std::size_t Across, std::size_t Down>
struct Planar {
    static constexpr auto kPlanes = [] {
        if constexpr (Across == 4) {
            return k411Planes;
        } else if constexpr (Down == 2) {
            return k420Planes;
        } else {
            return k422Planes;
        }
    }();
    static constexpr std::size_t kColumns = Across;
    static constexpr std::size_t kLines = Down;
    static constexpr bool kHasAlpha = false;
};

template <std::size_t Across, std::size_t Down>
struct PlanarWriter : Planar<Across, Down> {
    void Put(const Rows& at, std::size_t x, const Block& block) const {
        for (std::size_t line = 0; line < block.lines; ++line) {
            for (std::size_t k = 0; k < block.columns; ++k) {
                at.out[0][line][x + k] = block.pixel[line][k].sample[1];
            }
        }
        for (std::size_t k = 0; k < block.columns; k += Across) {
            at.out[1][0][(x + k) / Across] = MeanOf(block, 0, k, Across);
            at.out[2][0][(x + k) / Across] = MeanOf(block, 2, k, Across);
        }
    }

#if HWY_TARGET != HWY_SCALAR
    static constexpr std::size_t kSteps = Across;

    using Lanes = LumaBytesBlock<Down, Across>;

    /// Limits chroma to 0...255.
    template <bool InOrder, class Store>
    HWY_INLINE HWY_ATTR void PutLanes(const Rows& at, std::size_t x, const Lanes& lanes, Store store) const {
        for (std::size_t line = 0; line < Down; ++line) {
            for (std::size_t i = 0; i < Across / 2; ++i) {
                store(DU8(), lanes.luma[line][i], at.out[0][line] + x + i * kVectorBytes);
            }
        }
        // Chroma of four columns comes half as often, in lanes of one pair each.
        const VU8 chroma = Across == 4 ? PairsInOrder(lanes.chroma[0], lanes.chroma[1])
                                       : BytesInOrder(lanes.chroma[0], lanes.chroma[1]);
        PutChroma(chroma, at.out[1][0] + x / Across, at.out[2][0] + x / Across, store);
    }
#endif
};

template <std::size_t Across, std::size_t Down>
struct PlanarReader : Planar<Across, Down> {
    Pixel Load(const Rows& at, std::size_t line, std::size_t x) const {
        return {{at.in[1][line][x / Across], at.in[0][line][x], at.in[2][line][x / Across], 0}};
    }

#if HWY_TARGET != HWY_SCALAR
    HWY_INLINE HWY_ATTR DealtBytes LoadDealt(const Rows& at, std::size_t line, std::size_t x) const {
        const hn::Half<DU8> half;
        const VU8 samples = hn::Combine(DU8(), hn::LoadU(half, at.in[2][line] + x / Across),
                                        hn::LoadU(half, at.in[1][line] + x / Across));
        return Dealt(at.in[0][line] + x, samples,
                     [](std::size_t unit, std::size_t i) { return unit + i * 2 * kBlocks; });
    }

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
        cb = Chroma(at.in[1][0] + x / Across);
        cr = Chroma(at.in[2][0] + x / Across);
    }

private:
    static HWY_INLINE HWY_ATTR VI16 Chroma(const std::uint8_t* p) {
        const DI16 d;
        VI16 samples;
        if constexpr (Across == 4) {
            const DU32 d32;
            const VU32 once = hn::PromoteTo(d32, hn::LoadU(hn::Rebind<std::uint8_t, DU32>(), p));
            samples = hn::BitCast(d, hn::Or(once, hn::ShiftLeft<16>(once)));
        } else {
            samples = hn::PromoteTo(d, hn::LoadU(hn::Half<DU8>(), p));
        }
        const VI16 dealt = hn::BitCast(d, ToQuadOrder<1>(hn::BitCast(DU8(), samples)));
        return hn::Sub(hn::ShiftLeft<7>(dealt), hn::Set(d, 128 * 128));
    }
#endif
};

using Planar420Reader = PlanarReader<2, 2>;
using Planar422Reader = PlanarReader<2, 1>;
using Planar411Reader = PlanarReader<4, 1>;
using Planar420Writer = PlanarWriter<2, 2>;
using Planar422Writer = PlanarWriter<2, 1>;
using Planar411Writer = PlanarWriter<4, 1>;

/// Y in channel 0; channel 1 has 8 Cb and then 8 Cr for every 16 columns.
struct Grouped {
    static constexpr auto kPlanes = kGroupedPlanes;
    static constexpr std::size_t kColumns = 2;
    static constexpr std::size_t kLines = 1;
    static constexpr bool kHasAlpha = false;

    /// Of Cb; Cr comes 8 bytes later.
    static constexpr std::size_t ChromaByte(std::size_t x) { return x / 16 * 16 + x / 2 % 8; }
};

struct GroupedReader : Grouped {
    Pixel Load(const Rows& at, std::size_t line, std::size_t x) const {
        return {{at.in[1][line][ChromaByte(x)], at.in[0][line][x], at.in[1][line][ChromaByte(x) + 8], 0}};
    }

#if HWY_TARGET != HWY_SCALAR
    HWY_INLINE HWY_ATTR DealtBytes LoadDealt(const Rows& at, std::size_t line, std::size_t x) const {
        return Dealt(at.in[0][line] + x, hn::LoadU(DU8(), at.in[1][line] + x),
                     [](std::size_t unit, std::size_t i) { return unit / 2 * 4 + unit % 2 + i * 2; });
    }
#endif
};

struct GroupedWriter : Grouped {
    void Put(const Rows& at, std::size_t x, const Block& block) const {
        for (std::size_t k = 0; k < block.columns; ++k) {
            at.out[0][0][x + k] = block.pixel[0][k].sample[1];
        }
        for (std::size_t k = 0; k < block.columns; k += 2) {
            at.out[1][0][ChromaByte(x + k)] = MeanOf(block, 0, k, 2);
            at.out[1][0][ChromaByte(x + k) + 8] = MeanOf(block, 2, k, 2);
        }
    }

#if HWY_TARGET != HWY_SCALAR
    static constexpr std::size_t kSteps = 2;

    using Lanes = LumaBytesBlock<1, 2>;

    /// Limits chroma to 0...255.
    template <bool InOrder, class Store>
    HWY_INLINE HWY_ATTR void PutLanes(const Rows& at, std::size_t x, const Lanes& lanes, Store store) const {
        alignas(16) static constexpr std::uint8_t kApart[16] = {0, 2, 4, 6, 8, 10, 12, 14,
                                                                1, 3, 5, 7, 9, 11, 13, 15};
        store(DU8(), lanes.luma[0][0], at.out[0][0] + x);
        const VU8 chroma = BytesInOrder(lanes.chroma[0], lanes.chroma[1]);
        store(DU8(), hn::TableLookupBytes(chroma, InEveryBlock(kApart)), at.out[1][0] + x);
    }
#endif
};

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#endif  // include guard
