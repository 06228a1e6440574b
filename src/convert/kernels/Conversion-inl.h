// A conversion for one target: a reader, an arithmetic and a writer put together.
//
// A reader or writer names the planes that it touches (`kPlanes`), and fetches or stores one of the exchange
// types below: two neighbouring pixels for the formulas, many in vectors. An arithmetic has
//
//     static constexpr std::size_t kUnit;                     // columns of a unit
//     void Unit(reader, writer, at, x) const;                 // the formula on the unit at column x
//     void Tail(reader, writer, at, x, columns) const;        // what is left beyond the last whole group
//     static void WithForm(job, run);                         // run(arithmetic or the vector form of it)
//
// and a vector form, which is an arithmetic whose results are those of the formula for the coefficients of
// the call,
//
//     static constexpr std::size_t kStep;                     // columns of a step
//     void Step(reader, writer, at, x, put) const;

#if defined(TESSELU_SRC_CONVERT_KERNELS_CONVERSION_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef TESSELU_SRC_CONVERT_KERNELS_CONVERSION_INL_H
#undef TESSELU_SRC_CONVERT_KERNELS_CONVERSION_INL_H
#else
#define TESSELU_SRC_CONVERT_KERNELS_CONVERSION_INL_H
#endif

#include <algorithm>
#include <concepts>
#include <cstring>

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

/// The rows of up to four planes on either side, by channel.
using Rows = simd::Place<4, 4, 2>;

// ---- What readers give and writers take
// --------------------------------------------------------------------

/// Neighbours of 4:2:2.
template <class R>
concept ReadsChromaPair = requires(const R reader, const Rows& at, std::size_t x) {
    { reader.Pair(at, x, x, x) } -> std::same_as<ChromaPair>;
};
template <class W>
concept WritesChromaPair = requires(const W writer, const Rows& at, std::size_t x, const ChromaPair& pair) {
    writer.Put(at, x, x, pair, x);
};

/// Neighbours with all their samples.
template <class R>
concept ReadsPixelPair = requires(const R reader, const Rows& at, std::size_t x) {
    { reader.Pair(at, x, x, x) } -> std::same_as<PixelPair>;
};
template <class W>
concept WritesPixelPair = requires(const W writer, const Rows& at, std::size_t x, const PixelPair& pair) {
    writer.Put(at, x, x, pair, x);
};

/// Four bytes of two neighbours as they lie in memory.
template <class R>
concept ReadsPairBytes = requires(const R reader, const Rows& at, std::size_t x) {
    { reader.Bytes(at, x) } -> std::same_as<const std::uint8_t*>;
};

#if HWY_TARGET != HWY_SCALAR

/// Pixels whose samples fill a vector of 16-bit lanes.
constexpr std::size_t kVectorPixels = kVectorBytes / 2;
constexpr std::size_t kBlocks = kVectorBytes / 16;

// Vectors of several blocks hold pixels in quad order between reader and writer: block L of n has the four
// pixels that come L-th and the four that come (n + L)-th. AVX2: block 0 = pixels 0-3 and 8-11, block 1 = 4-7
// and 12-15. Interleaving and packing within blocks then leave the pixels of the result in order.

/// Samples of 4:2:2 in 16-bit lanes: (Cb, Cr) and (Y0, Y1) in each pair.
struct ChromaPairs {
    VI16 chroma;
    VI16 luma;
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

/// Two words as the factor of MulAddPairs.
HWY_INLINE HWY_ATTR VI16 WordPairs(int first, int second) {
    const auto low = static_cast<std::uint32_t>(first) & 0xFFFFU;
    const auto high = static_cast<std::uint32_t>(second) & 0xFFFFU;
    return hn::BitCast(DI16(), hn::Set(DU32(), low | high << 16));
}

#endif  // HWY_TARGET

// ---- The kernel
// --------------------------------------------------------------------------------------------

template <class Reader, class Arithmetic, class Writer, class LinesType>
struct Conversion {
    using Place = Rows;
    using Lines = LinesType;
    static constexpr auto kSources = Reader::kPlanes;
    static constexpr auto kDestinations = Writer::kPlanes;
    static constexpr std::size_t kUnit = Arithmetic::kUnit;
    Arithmetic arithmetic;

    void Unit(const Place& at, std::size_t x) const { arithmetic.Unit(Reader(), Writer(), at, x); }
    void Tail(const Place& at, std::size_t x, std::size_t columns) const {
        arithmetic.Tail(Reader(), Writer(), at, x, columns);
    }
#if HWY_TARGET != HWY_SCALAR
    static constexpr std::size_t kStep = Arithmetic::kStep;

    template <class Put>
    HWY_INLINE HWY_ATTR void Step(const Place& at, std::size_t x, Put put) const {
        arithmetic.Step(Reader(), Writer(), at, x, put);
    }
#endif
};

/// Runs a conversion whose main loop covers whole groups of `Group` columns.
template <class Reader, class Arithmetic, class Writer, std::size_t Group, class Lines = simd::SingleLines>
void Convert(const ConversionJob& job) {
    static_assert(Group % Arithmetic::kUnit == 0);
    simd::Job<4, 4> planes = job.planes;
    planes.whole = planes.width - planes.width % Group;
    Arithmetic::WithForm(job, [&](const auto& arithmetic) {
        using Form = std::remove_cvref_t<decltype(arithmetic)>;
        Walk(Conversion<Reader, Form, Writer, Lines>{arithmetic}, planes);
    });
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#endif  // include guard
