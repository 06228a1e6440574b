// Whole colours through a lattice, or their channels through curves.

#include "tone/kernels/Colours.h"

#include <cstring>

#include "tone/kernels/LatticeFormula.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "tone/kernels/Colours.cpp"
#include "simd/Foreach.h"
// After it: these are compiled once per target.
#include "simd/ByteTable-inl.h"
#include "simd/Walk-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Zan {
namespace HWY_NAMESPACE {
namespace {

using namespace simd::HWY_NAMESPACE;
using simd::PlaneUse;

using Place = simd::Place<1, 1>;
constexpr PlaneUse kPixels32[] = {{.index = 0, .bytesPer16 = 64}};
constexpr PlaneUse kPixels24[] = {{.index = 0, .bytesPer16 = 48}};

/// The identity, or a part of it.
struct Keep32 {
    using Place = HWY_NAMESPACE::Place;
    static constexpr auto& kSources = kPixels32;
    static constexpr auto& kDestinations = kPixels32;
    std::uint32_t kept;

    void Unit(const Place& at, std::size_t x) const {
        std::uint32_t word;
        std::memcpy(&word, at.in[0][0] + 4 * x, sizeof word);
        word &= kept;
        std::memcpy(at.out[0][0] + 4 * x, &word, sizeof word);
    }

#if HWY_TARGET != HWY_SCALAR
    static constexpr std::size_t kStep = kLineVectors * kVectorBytes / 4;

    template <class Put>
    HWY_INLINE HWY_ATTR void Step(const Place& at, std::size_t x, Put put) const {
        const VU8 mask = hn::BitCast(DU8(), hn::Set(DU32(), kept));
        PutLine(at.out[0][0] + 4 * x, put, [&](std::size_t i) HWY_ATTR {
            return hn::And(hn::LoadU(DU8(), at.in[0][0] + 4 * x + i * kVectorBytes), mask);
        });
    }
#endif
};

struct Keep24 {
    using Place = HWY_NAMESPACE::Place;
    static constexpr auto& kSources = kPixels24;
    static constexpr auto& kDestinations = kPixels24;

    void Unit(const Place& at, std::size_t x) const { Row(at, x, 1); }
    bool Row(const Place& at, std::size_t columns) const { return Row(at, 0, columns); }

private:
    static bool Row(const Place& at, std::size_t x, std::size_t columns) {
        std::memmove(at.out[0][0] + 3 * x, at.in[0][0] + 3 * x, 3 * columns);
        return true;
    }
};

// ---- The lattice ---------------------------------------------------------------------------------------

#if HWY_TARGET != HWY_SCALAR

/// Where pixels stand in the lattice. Each lane is a pixel, B, G, R and A from its lowest byte on.
struct Cells {
    VU32 origin;           ///< index of a point
    VI16 outer;            ///< fractions of blue, in the lower half of a lane, and red
    VI16 green;            ///< fraction of green, in both halves
    std::int16_t perCell;  ///< what is a whole cell
};

/// Positions by arithmetic: samples stand at sample * (size - 1) / 255, and fractions are 255ths. The index
/// of a point is one product of 16 bits and a sum.
class DefaultDomain {
public:
    static bool Serves(const ColourLattice& lattice) {
        return lattice.hasDefaultDomain && lattice.step[0] <= 32767;
    }

    explicit DefaultDomain(const ColourLattice& lattice) : step(lattice.step), cells(lattice.size - 1) {}

    static int Shift(const ColourLattice& lattice) { return lattice.shift - 6; }
    static std::int32_t Addend(const ColourLattice& lattice) { return lattice.addend >> 6; }

    HWY_INLINE HWY_ATTR Cells operator()(VU32 words) const {
        const DU16 d;
        const VU16 low = hn::BitCast(d, hn::Set(DU32(), 0x00FF00FFU));
        const VU16 outer = hn::And(hn::BitCast(d, words), low);
        const VU16 green =
            hn::And(hn::BitCast(d, hn::ShiftRight<8>(words)), hn::BitCast(d, hn::Set(DU32(), 0xFFU)));
        const auto placed = [&](VU16 sample, VU16& cell) HWY_ATTR {
            const VU16 position = hn::Mul(sample, hn::Set(d, static_cast<std::uint16_t>(cells)));
            // position / 255: exact up to 65534.
            cell = hn::MulHigh(hn::Add(position, hn::Set(d, 1)), hn::Set(d, 257));
            // position - 255 * cell
            return hn::And(hn::Add(position, cell), hn::Set(d, 255));
        };
        VU16 outerCell, greenCell;
        const VU16 outerPart = placed(outer, outerCell), greenPart = placed(green, greenCell);
        const DI16 di;
        const VI16 outerStep = hn::BitCast(di, hn::Set(DU32(), step[0] | step[2] << 16));
        const VI16 greenStep = hn::BitCast(di, hn::Set(DU32(), step[1]));
        const VI32 index = hn::Add(MulAddPairs(hn::BitCast(di, outerCell), outerStep),
                                   MulAddPairs(hn::BitCast(di, greenCell), greenStep));
        const VU32 green32 = hn::BitCast(DU32(), greenPart);
        return {hn::BitCast(DU32(), index), hn::BitCast(di, outerPart),
                hn::BitCast(di, hn::Or(green32, hn::ShiftLeft<16>(green32))), 255};
    }

private:
    const std::uint32_t* step;
    std::uint32_t cells;
};

/// Positions from the tables of the lattice.
class AnyDomain {
public:
    explicit AnyDomain(const ColourLattice& newLattice) : lattice(newLattice) {}

    static int Shift(const ColourLattice& lattice) { return lattice.shift; }
    static std::int32_t Addend(const ColourLattice& lattice) { return lattice.addend; }

    HWY_INLINE HWY_ATTR Cells operator()(VU32 words) const {
        const DU32 d;
        const DI32 di;
        const VU32 byte = hn::Set(d, 0xFFU);
        const VI32 blue = hn::BitCast(di, hn::And(words, byte));
        const VI32 green = hn::BitCast(di, hn::And(hn::ShiftRight<8>(words), byte));
        const VI32 red = hn::BitCast(di, hn::And(hn::ShiftRight<16>(words), byte));
        const VU32 origin = hn::Add(hn::Add(hn::GatherIndex(d, lattice.origin[0], blue),
                                            hn::GatherIndex(d, lattice.origin[1], green)),
                                    hn::GatherIndex(d, lattice.origin[2], red));
        const VU32 ofBlue = hn::GatherIndex(d, lattice.fraction[0], blue);
        const VU32 ofGreen = hn::GatherIndex(d, lattice.fraction[1], green);
        const VU32 ofRed = hn::GatherIndex(d, lattice.fraction[2], red);
        const DI16 d16;
        return {origin, hn::BitCast(d16, hn::Or(ofBlue, hn::ShiftLeft<16>(ofRed))),
                hn::BitCast(d16, hn::Or(ofGreen, hn::ShiftLeft<16>(ofGreen))),
                static_cast<std::int16_t>(kCellParts)};
    }

private:
    const ColourLattice& lattice;
};

/// Block b gets the channels of point index[4 * b], in its lower half.
HWY_INLINE HWY_ATTR VI16 PointsAt(const ColourLattice::Point* points, const std::uint32_t* index) {
#if HWY_TARGET == HWY_AVX3 || HWY_TARGET == HWY_AVX2
    const auto two = [&](std::size_t block) HWY_ATTR {
        const auto at = [&](std::size_t i) {
            return reinterpret_cast<const __m128i*>(points + index[4 * i]);
        };
        return _mm256_inserti128_si256(_mm256_castsi128_si256(_mm_loadu_si128(at(block))),
                                       _mm_loadu_si128(at(block + 1)), 1);
    };
#endif
#if HWY_TARGET == HWY_AVX3
    return VI16{_mm512_inserti64x4(_mm512_castsi256_si512(two(0)), two(2), 1)};
#elif HWY_TARGET == HWY_AVX2
    return VI16{two(0)};
#else
    return hn::LoadU(DI16(), points[index[0]].data());
#endif
}

/// Pixels, a lane each, through a lattice: the colour in the low three bytes, 0 in the fourth.
template <class Domain>
class Tetrahedra {
public:
    explicit Tetrahedra(const ColourLattice& newLattice) : lattice(newLattice), domain(newLattice) {}

    HWY_INLINE HWY_ATTR VU8 operator()(VU32 words) const {
        constexpr std::size_t kLanes = HWY_LANES(std::uint32_t);
        const DI16 d;
        const DU32 d32;
        const Cells cells = domain(words);
        // The fractions in their order, in both halves of a lane.
        const VI16 swapped = hn::BitCast(d, hn::RotateRight<16>(hn::BitCast(d32, cells.outer)));
        const VI16 larger = hn::Max(cells.outer, swapped), smaller = hn::Min(cells.outer, swapped);
        const VI16 first = hn::Max(larger, cells.green), third = hn::Min(smaller, cells.green);
        const VI16 second = hn::Max(smaller, hn::Min(larger, cells.green));
        // The steps along the axes of the first and of the third.
        const auto isBlueLarger = hn::Gt(hn::BitCast(DI32(), swapped), hn::BitCast(DI32(), cells.outer));
        const auto isGreenFirst = hn::Gt(hn::BitCast(DI32(), cells.green), hn::BitCast(DI32(), larger));
        const auto isGreenThird = hn::Gt(hn::BitCast(DI32(), smaller), hn::BitCast(DI32(), cells.green));
        const std::uint32_t* const step = lattice.step;
        const VI32 ofBlue = hn::Set(DI32(), static_cast<std::int32_t>(step[0]));
        const VI32 ofGreen = hn::Set(DI32(), static_cast<std::int32_t>(step[1]));
        const VI32 ofRed = hn::Set(DI32(), static_cast<std::int32_t>(step[2]));
        const VI32 firstStep =
            hn::IfThenElse(isGreenFirst, ofGreen, hn::IfThenElse(isBlueLarger, ofBlue, ofRed));
        const VI32 thirdStep =
            hn::IfThenElse(isGreenThird, ofGreen, hn::IfThenElse(isBlueLarger, ofRed, ofBlue));
        const std::uint32_t all = step[0] + step[1] + step[2];
        const VU32 last = hn::Add(cells.origin, hn::Set(d32, all));
        alignas(64) std::uint32_t at[3][kLanes];
        hn::Store(cells.origin, d32, at[0]);
        hn::Store(hn::Add(cells.origin, hn::BitCast(d32, firstStep)), d32, at[1]);
        hn::Store(hn::Sub(last, hn::BitCast(d32, thirdStep)), d32, at[2]);
        // Weights of the origin and of the point one step on; of the point two steps on and of the last.
        const VI16 near =
            hn::Sub(MergeEvenOdd(hn::Set(d, cells.perCell), first), MergeEvenOdd(first, second));
        const VI16 far = hn::Sub(MergeEvenOdd(second, third), MergeEvenOdd(third, hn::Zero(d)));
        const ColourLattice::Point* const points = lattice.points.data();
        // No addend in the fourth lane leaves 0 there.
        const VI32 addend = hn::BitCast(
            DI32(), hn::And(hn::Set(d32, static_cast<std::uint32_t>(Domain::Addend(lattice))), Colours()));
        const int shift = Domain::Shift(lattice);
        const auto pixel = [&](std::size_t k, VI32 nearWeights, VI32 farWeights) HWY_ATTR {
            const VI16 p0 = PointsAt(points, at[0] + k), p1 = PointsAt(points, at[1] + k);
            const VI16 p2 = PointsAt(points, at[2] + k), p3 = PointsAt(points + all, at[0] + k);
            const VI32 sum = hn::Add(MulAddPairs(hn::InterleaveLower(d, p0, p1), hn::BitCast(d, nearWeights)),
                                     MulAddPairs(hn::InterleaveLower(d, p2, p3), hn::BitCast(d, farWeights)));
            return hn::ShiftRightSame(hn::Add(sum, addend), shift);
        };
        const VI32 n = hn::BitCast(DI32(), near), f = hn::BitCast(DI32(), far);
        const VI32 made0 = pixel(0, hn::Broadcast<0>(n), hn::Broadcast<0>(f));
        const VI32 made1 = pixel(1, hn::Broadcast<1>(n), hn::Broadcast<1>(f));
        const VI32 made2 = pixel(2, hn::Broadcast<2>(n), hn::Broadcast<2>(f));
        const VI32 made3 = pixel(3, hn::Broadcast<3>(n), hn::Broadcast<3>(f));
        return PackToBytes(PackToShorts(made0, made1), PackToShorts(made2, made3));
    }

private:
    static HWY_INLINE HWY_ATTR VU32 Colours() {
        alignas(16) static constexpr std::uint32_t kColours[4] = {~0U, ~0U, ~0U, 0};
        return hn::LoadDup128(DU32(), kColours);
    }

    const ColourLattice& lattice;
    Domain domain;
};

#endif

/// The lattice, in the form that a target has for its domain.
template <class Vectors>
struct MapPixels32 {
    using Place = HWY_NAMESPACE::Place;
    static constexpr auto& kSources = kPixels32;
    static constexpr auto& kDestinations = kPixels32;
    const ColourLattice& lattice;
    std::uint32_t kept;
    Vectors map;

    void Unit(const Place& at, std::size_t x) const {
        const std::uint8_t* const in = at.in[0][0] + 4 * x;
        std::uint8_t* const out = at.out[0][0] + 4 * x;
        out[3] = static_cast<std::uint8_t>(in[3] & kept >> 24);
        MapColour(lattice, in, out);
    }

#if HWY_TARGET != HWY_SCALAR
    static constexpr std::size_t kStep = kLineVectors * kVectorBytes / 4;

    template <class Put>
    HWY_INLINE HWY_ATTR void Step(const Place& at, std::size_t x, Put put) const {
        const VU8 mask = hn::BitCast(DU8(), hn::Set(DU32(), kept & 0xFF000000U));
        PutLine(at.out[0][0] + 4 * x, put, [&](std::size_t i) HWY_ATTR {
            const VU8 words = hn::LoadU(DU8(), at.in[0][0] + 4 * x + i * kVectorBytes);
            return hn::Or(map(hn::BitCast(DU32(), words)), hn::And(words, mask));
        });
    }
#endif
};

template <class Vectors>
struct MapPixels24 {
    using Place = HWY_NAMESPACE::Place;
    static constexpr auto& kSources = kPixels24;
    static constexpr auto& kDestinations = kPixels24;
    const ColourLattice& lattice;
    Vectors map;

    void Unit(const Place& at, std::size_t x) const {
        MapColour(lattice, at.in[0][0] + 3 * x, at.out[0][0] + 3 * x);
    }

#if HWY_TARGET != HWY_SCALAR
    static constexpr std::size_t kStep = kVectorBytes;
    static constexpr bool kStaysInCache = true;

    template <class Put>
    HWY_INLINE HWY_ATTR void Step(const Place& at, std::size_t x, Put) const {
        const DU8 d;
        const DU16 d16;
        VU8 blue, green, red;
        hn::LoadInterleaved3(d, at.in[0][0] + 3 * x, blue, green, red);
        const auto words = [&](VU8 cold, VU8 warm) HWY_ATTR {
            return std::pair(
                hn::BitCast(DU32(), hn::InterleaveLower(d16, hn::BitCast(d16, cold), hn::BitCast(d16, warm))),
                hn::BitCast(DU32(),
                            hn::InterleaveUpper(d16, hn::BitCast(d16, cold), hn::BitCast(d16, warm))));
        };
        const VU8 none = hn::Zero(d);
        const auto [in0, in1] = words(hn::InterleaveLower(d, blue, green), hn::InterleaveLower(d, red, none));
        const auto [in2, in3] = words(hn::InterleaveUpper(d, blue, green), hn::InterleaveUpper(d, red, none));
        const VU32 out0 = hn::BitCast(DU32(), map(in0)), out1 = hn::BitCast(DU32(), map(in1));
        const VU32 out2 = hn::BitCast(DU32(), map(in2)), out3 = hn::BitCast(DU32(), map(in3));
        const auto channel = [&](auto shifted) HWY_ATTR {
            const VU32 byte = hn::Set(DU32(), 0xFFU);
            const auto of = [&](VU32 v) HWY_ATTR { return hn::BitCast(DI32(), hn::And(shifted(v), byte)); };
            return PackToBytes(PackToShorts(of(out0), of(out1)), PackToShorts(of(out2), of(out3)));
        };
        hn::StoreInterleaved3(channel([](VU32 v) HWY_ATTR { return v; }),
                              channel([](VU32 v) HWY_ATTR { return hn::ShiftRight<8>(v); }),
                              channel([](VU32 v) HWY_ATTR { return hn::ShiftRight<16>(v); }), d,
                              at.out[0][0] + 3 * x);
    }
#endif
};

// ---- Curves -------------------------------------------------------------------------------------------

/// A table for each of the first three bytes of a pixel.
struct Curves {
    const std::uint8_t* of[3];

    explicit Curves(const ColourLattice& table) : of{table.curves[0], table.curves[1], table.curves[2]} {}

    void operator()(const std::uint8_t* in, std::uint8_t* out) const {
        const std::uint8_t made[] = {of[0][in[0]], of[1][in[1]], of[2][in[2]]};
        std::memcpy(out, made, sizeof made);
    }
};

struct CurvePixels32 {
    using Place = HWY_NAMESPACE::Place;
    static constexpr auto& kSources = kPixels32;
    static constexpr auto& kDestinations = kPixels32;
    Curves curves;
    std::uint32_t kept;

    void Unit(const Place& at, std::size_t x) const {
        const std::uint8_t* const in = at.in[0][0] + 4 * x;
        std::uint8_t* const out = at.out[0][0] + 4 * x;
        out[3] = static_cast<std::uint8_t>(in[3] & kept >> 24);
        curves(in, out);
    }
};

struct CurvePixels24 {
    using Place = HWY_NAMESPACE::Place;
    static constexpr auto& kSources = kPixels24;
    static constexpr auto& kDestinations = kPixels24;
    Curves curves;

    void Unit(const Place& at, std::size_t x) const { curves(at.in[0][0] + 3 * x, at.out[0][0] + 3 * x); }
};

#if HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_SSSE3

/// Exchanges rows and columns of 4 by 4 lanes, in each block by itself.
HWY_INLINE HWY_ATTR void Transpose(VU32 (&v)[4]) {
    const DU32 d;
    const DU64 d64;
    const VU64 low01 = hn::BitCast(d64, hn::InterleaveLower(d, v[0], v[1]));
    const VU64 high01 = hn::BitCast(d64, hn::InterleaveUpper(d, v[0], v[1]));
    const VU64 low23 = hn::BitCast(d64, hn::InterleaveLower(d, v[2], v[3]));
    const VU64 high23 = hn::BitCast(d64, hn::InterleaveUpper(d, v[2], v[3]));
    v[0] = hn::BitCast(d, hn::InterleaveLower(d64, low01, low23));
    v[1] = hn::BitCast(d, hn::InterleaveUpper(d64, low01, low23));
    v[2] = hn::BitCast(d, hn::InterleaveLower(d64, high01, high23));
    v[3] = hn::BitCast(d, hn::InterleaveUpper(d64, high01, high23));
}

template <class Table>
struct CurveVectors32 : CurvePixels32 {
    Table blue, green, red;

    CurveVectors32(const CurvePixels32& pixels)
        : CurvePixels32(pixels), blue(curves.of[0]), green(curves.of[1]), red(curves.of[2]) {}

    static constexpr std::size_t kStep = kVectorBytes;

    template <class Put>
    HWY_INLINE HWY_ATTR void Step(const Place& at, std::size_t x, Put put) const {
        alignas(16) static constexpr std::uint8_t kDeal[16] = {0, 4, 8,  12, 1, 5, 9,  13,
                                                               2, 6, 10, 14, 3, 7, 11, 15};
        const DU8 d;
        const DU32 d32;
        const VU8 deal = InEveryBlock(kDeal);
        VU32 v[4];
        for (std::size_t i = 0; i < 4; ++i) {
            v[i] = hn::BitCast(
                d32, hn::TableLookupBytes(hn::LoadU(d, at.in[0][0] + 4 * x + i * kVectorBytes), deal));
        }
        Transpose(v);
        v[0] = hn::BitCast(d32, blue(hn::BitCast(d, v[0])));
        v[1] = hn::BitCast(d32, green(hn::BitCast(d, v[1])));
        v[2] = hn::BitCast(d32, red(hn::BitCast(d, v[2])));
        v[3] = hn::And(v[3], hn::Set(d32, (kept >> 24) * 0x01010101U));
        Transpose(v);
        for (std::size_t i = 0; i < 4; ++i) {
            put(d, hn::TableLookupBytes(hn::BitCast(d, v[i]), deal), at.out[0][0] + 4 * x + i * kVectorBytes);
        }
    }
};

template <class Table>
struct CurveVectors24 : CurvePixels24 {
    Table blue, green, red;

    CurveVectors24(const CurvePixels24& pixels)
        : CurvePixels24(pixels), blue(curves.of[0]), green(curves.of[1]), red(curves.of[2]) {}

    static constexpr std::size_t kStep = kVectorBytes;
    static constexpr bool kStaysInCache = true;

    template <class Put>
    HWY_INLINE HWY_ATTR void Step(const Place& at, std::size_t x, Put) const {
        VU8 v[3];
        hn::LoadInterleaved3(DU8(), at.in[0][0] + 3 * x, v[0], v[1], v[2]);
        hn::StoreInterleaved3(blue(v[0]), green(v[1]), red(v[2]), DU8(), at.out[0][0] + 3 * x);
    }
};

#endif

/// Walks with the vectors that serve a lattice.
template <template <class> class Kernel, class... Settings>
HWY_ATTR void WalkLattice(const simd::Job<1, 1>& job, const ColourLattice& lattice, Settings... settings) {
#if HWY_TARGET == HWY_SCALAR
    struct None {};
    Walk(Kernel<None>{lattice, settings..., {}}, job);
#else
    if (DefaultDomain::Serves(lattice)) {
        using Vectors = Tetrahedra<DefaultDomain>;
        Walk(Kernel<Vectors>{lattice, settings..., Vectors(lattice)}, job);
    } else {
        using Vectors = Tetrahedra<AnyDomain>;
        Walk(Kernel<Vectors>{lattice, settings..., Vectors(lattice)}, job);
    }
#endif
}

void RunKeep32(const simd::Job<1, 1>& job, std::uint32_t kept) {
    Walk(Keep32{kept}, job);
}
void RunKeep24(const simd::Job<1, 1>& job, std::uint32_t) {
    Walk(Keep24{}, job);
}
void RunMap32(const simd::Job<1, 1>& job, const ColourLattice& lattice, std::uint32_t kept) {
    WalkLattice<MapPixels32>(job, lattice, kept);
}
void RunMap24(const simd::Job<1, 1>& job, const ColourLattice& lattice, std::uint32_t) {
    WalkLattice<MapPixels24>(job, lattice);
}
void RunCurve32(const simd::Job<1, 1>& job, const ColourLattice& lattice, std::uint32_t kept) {
    const CurvePixels32 pixels{Curves(lattice), kept};
#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_SSSE3
    Walk(pixels, job);
#else
    WithByteTables([&]<class Table>() HWY_ATTR { Walk(CurveVectors32<Table>(pixels), job); });
#endif
}
void RunCurve24(const simd::Job<1, 1>& job, const ColourLattice& lattice, std::uint32_t) {
    const CurvePixels24 pixels{Curves(lattice)};
#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_SSSE3
    Walk(pixels, job);
#else
    WithByteTables([&]<class Table>() HWY_ATTR { Walk(CurveVectors24<Table>(pixels), job); });
#endif
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace Zan {

TESSELU_KERNEL(KeepKernel, kKeepPixels32, RunKeep32);
TESSELU_KERNEL(KeepKernel, kKeepPixels24, RunKeep24);
TESSELU_KERNEL(ColourKernel, kMapPixels32, RunMap32);
TESSELU_KERNEL(ColourKernel, kMapPixels24, RunMap24);
TESSELU_KERNEL(ColourKernel, kCurvePixels32, RunCurve32);
TESSELU_KERNEL(ColourKernel, kCurvePixels24, RunCurve24);

}  // namespace Zan

#endif  // HWY_ONCE
