// A conversion for one target: a reader, an arithmetic and a writer put together.
//
// Pixel by pixel, a reader fetches `Pixel`s and a writer stores a `Block` of them; both name their planes
// (`kPlanes`) and how many columns they take together (`kColumns`). An arithmetic has
//
//     void Formula(Block&) const;    // what the vectors must be equal to: whole groups of columns
//     void Doubles(Block&) const;                // the same in double precision: what is left, or everything
//     static void WithForm(job, run);            // run(type of the arithmetic or of the vector form of it)
//
// and a vector form, which is an arithmetic whose results are those of the formula for the coefficients of
// the call,
//
//     template <class Reader, class Writer> static constexpr std::size_t kStep;      // columns of a step
//     void Step(reader, writer, at, x, put) const;
//
// with the exchange types below between reader and writer.

#if defined(TESSELU_SRC_CONVERT_KERNELS_CONVERSION_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef TESSELU_SRC_CONVERT_KERNELS_CONVERSION_INL_H
#undef TESSELU_SRC_CONVERT_KERNELS_CONVERSION_INL_H
#else
#define TESSELU_SRC_CONVERT_KERNELS_CONVERSION_INL_H
#endif

#include <algorithm>
#include <concepts>
#include <cstring>
#include <type_traits>

#include "convert/Layouts.h"
#include "convert/kernels/ConversionFormulas.h"
#include "convert/kernels/ConversionKernels.h"
#include "simd/Extra-inl.h"
#include "simd/Walk-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Zan {
namespace HWY_NAMESPACE {
namespace {

using namespace simd::HWY_NAMESPACE;
using simd::PlaneUse;

/// The rows of up to four planes on either side, by channel. Those of planes that a conversion does not use
/// are not set: to clear them takes as long as some steps.
struct Rows {
    static constexpr std::size_t kSources = 4, kDestinations = 4, kLines = 2, kRows = 2;

    const std::uint8_t* in[kSources][kRows];
    std::uint8_t* out[kDestinations][kLines];
};

template <class R>
concept ReadsPixels = requires(const R reader, const Rows& at, std::size_t x) {
    { reader.Load(at, x, x) } -> std::same_as<Pixel>;
    { R::kHasAlpha } -> std::convertible_to<bool>;
};
template <class W>
concept WritesBlocks = requires(const W writer, const Rows& at, std::size_t x, const Block& block) {
    writer.Put(at, x, block);
};

#if HWY_TARGET != HWY_SCALAR

/// Pixels whose samples fill a vector of 16-bit lanes.
constexpr std::size_t kVectorPixels = kVectorBytes / 2;
constexpr std::size_t kBlocks = kVectorBytes / 16;

// Vectors of several blocks hold pixels in quad order between reader and writer: block L of n has the four
// pixels that come L-th and the four that come (n + L)-th. AVX2: block 0 = pixels 0-3 and 8-11, block 1 = 4-7
// and 12-15. Interleaving and packing within blocks then leave the pixels of the result in order.

/// Samples of 4:2:2 in 16-bit lanes: (Cb, Cr) and (Y0, Y1) in each pair, alpha as luma.
struct PairLanes {
    VI16 chroma;
    VI16 luma;
    VI16 alpha;
};

/// Bytes of luma and of chroma in (Cb, Cr) pairs, `kVectorBytes` columns of each: block b has the eight
/// columns that come b-th and those that come (n + b)-th of n blocks, so that interleaving leaves them in
/// order.
struct DealtBytes {
    VU8 luma;
    VU8 chroma;
};

/// Samples of twice `kVectorPixels` columns from lanes in quad order, limited to 0...255, to bytes in memory
/// order; also pairs of chroma samples.
HWY_INLINE HWY_ATTR VU8 BytesInOrder(VI16 first, VI16 second) {
    return hn::BitCast(DU8(), GatherFromBlocks(DU32(), hn::BitCast(DU32(), PackToBytes(first, second))));
}

/// What one step of a writer of luma and chroma takes (its `Lanes`): for each of `Steps` times
/// `kVectorPixels` columns the luma of a line, chroma in (Cb, Cr) pairs, and alpha.
template <std::size_t Steps>
struct LaneBlock {
    VI16 luma[Steps];
    VI16 chroma[Steps];
    VI16 alpha[Steps];

    HWY_INLINE HWY_ATTR void TakeLuma(std::size_t, const VI16 (&lanes)[Steps]) {
        for (std::size_t i = 0; i < Steps; ++i) {
            luma[i] = lanes[i];
        }
    }
};

/// The same for writers with a plane of luma: bytes in memory order, limited, line by line as they come,
/// which takes half the registers. Chroma serves all lines.
template <std::size_t Lines, std::size_t Steps>
struct LumaBytesBlock {
    VU8 luma[Lines][Steps / 2];
    VI16 chroma[Steps];

    HWY_INLINE HWY_ATTR void TakeLuma(std::size_t line, const VI16 (&lanes)[Steps]) {
        for (std::size_t i = 0; i < Steps; i += 2) {
            luma[line][i / 2] = BytesInOrder(lanes[i], lanes[i + 1]);
        }
    }
};

/// The even and the odd pixel of each pair, 32 bits each.
struct PixelPairs {
    VU32 even;
    VU32 odd;
};

/// Components 0 to 3 in 16-bit lanes, a lane a pixel.
struct Components {
    VI16 of[4];
};

/// Whether pixels that become pairs stay in memory order: where lanes can be picked across blocks as cheaply
/// as within them.
constexpr bool kPairsInOrder = kBlocks == 1 || HWY_TARGET == HWY_AVX3;

/// From memory order to quad order, in units of `Words` 32-bit words: block L gets the units L, L + n, ...
template <std::size_t Words>
HWY_INLINE HWY_ATTR VU8 ToQuadOrder(VU8 v) {
    if constexpr (Words == 2) {
        return hn::BitCast(DU8(), DealToBlocks(DU64(), hn::BitCast(DU64(), v)));
    } else {
        return hn::BitCast(DU8(), DealToBlocks(DU32(), hn::BitCast(DU32(), v)));
    }
}

/// From quad order back to memory order, for a result of 8 bytes a quad.
HWY_INLINE HWY_ATTR VU8 FromQuadOrder(VU8 v) {
    return hn::BitCast(DU8(), GatherFromBlocks(DU64(), hn::BitCast(DU64(), v)));
}

/// The alpha of both pixels of each pair.
HWY_INLINE HWY_ATTR VI16 AlphaOfPairs(const PixelPairs& in) {
    const DU32 d;
    const VU32 odd = hn::And(hn::ShiftRight<8>(in.odd), hn::Set(d, 0xFF0000));
    return hn::BitCast(DI16(), hn::Or(hn::ShiftRight<24>(in.even), odd));
}

/// Two words as the factor of MulAddPairs.
HWY_INLINE HWY_ATTR VI16 WordPairs(int first, int second) {
    const auto low = static_cast<std::uint32_t>(first) & 0xFFFFU;
    const auto high = static_cast<std::uint32_t>(second) & 0xFFFFU;
    return hn::BitCast(DI16(), hn::Set(DU32(), low | high << 16));
}

#endif  // HWY_TARGET

// ---- The kernel ------------------------------------------------------------------------------------------

template <ReadsPixels Reader, class Arithmetic, WritesBlocks Writer, class LinesType>
struct Conversion {
    using Place = Rows;
    using Lines = LinesType;
    static constexpr auto kSources = Reader::kPlanes;
    static constexpr auto kDestinations = Writer::kPlanes;
    static constexpr std::size_t kUnit = std::max(Reader::kColumns, Writer::kColumns);
    Arithmetic arithmetic;
    std::uint8_t alphaFill;

    void Unit(const Place& at, std::size_t x) const {
        Block block = Load(at, x, kUnit);
        arithmetic.Formula(block);
        Writer().Put(at, x, block);
    }
    void Tail(const Place& at, std::size_t x, std::size_t columns) const {
        Block block = Load(at, x, columns);
        arithmetic.Doubles(block);
        Writer().Put(at, x, block);
    }
#if HWY_TARGET != HWY_SCALAR
    static constexpr std::size_t kStep = [] {
        if constexpr (requires { Arithmetic::template kStep<Reader, Writer>; }) {
            return Arithmetic::template kStep<Reader, Writer>;
        } else {
            return std::size_t{0};
        }
    }();

    static constexpr bool kStaysInCache = requires {
        requires Arithmetic::kStaysInCache;
    };

    template <class Put>
    HWY_INLINE HWY_ATTR void Step(const Place& at, std::size_t x, Put put) const {
        arithmetic.Step(Reader(), Writer(), at, x, put);
    }
#endif

private:
    Block Load(const Place& at, std::size_t x, std::size_t columns) const {
        Block block;
        block.lines = Lines::kLines;
        block.columns = columns;
        for (std::size_t line = 0; line < Lines::kLines; ++line) {
            for (std::size_t k = 0; k < columns; ++k) {
                Pixel& pixel = block.pixel[line][k];
                pixel = Reader().Load(at, line, x + k);
                if constexpr (!Reader::kHasAlpha && Writer::kHasAlpha) {
                    pixel.sample[3] = alphaFill;
                }
            }
        }
        return block;
    }
};

/// The planes of a job that a kernel uses, and no others: a copy of them all takes longer than a short row.
template <class K>
auto JobOf(const simd::Job<4, 4>& all) {
    constexpr auto count = [](const auto& planes) {
        std::size_t highest = 0;
        for (const PlaneUse& use : planes) {
            highest = std::max(highest, use.index);
        }
        return highest + 1;
    };
    simd::Job<count(K::kSources), count(K::kDestinations)> job;
    std::copy_n(all.source.begin(), job.source.size(), job.source.begin());
    std::copy_n(all.destination.begin(), job.destination.size(), job.destination.begin());
    job.width = all.width;
    job.height = all.height;
    job.whole = all.whole;
    job.isInside = all.isInside;
    return job;
}

/// Runs a conversion.
template <class Reader, class Arithmetic, class Writer, class Lines = simd::SingleLines>
void Convert(const ConversionJob& job) {
    Arithmetic::WithForm(job, [&](auto type) {
        using Form = typename decltype(type)::type;
        using Kernel = Conversion<Reader, Form, Writer, Lines>;
        // Made in place, since a copy takes as long.
        if constexpr (std::is_constructible_v<Form, const ConversionJob&>) {
            Walk(Kernel{Form(job), job.alphaFill}, JobOf<Kernel>(job.planes));
        } else {
            Walk(Kernel{Form(), job.alphaFill}, JobOf<Kernel>(job.planes));
        }
    });
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#endif  // include guard
