// The wipe with a border along its edge.

#include "composite/kernels/Blend.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "composite/kernels/Border.cpp"
#include "simd/Foreach.h"
// After it: these are compiled once per target.
#include "composite/kernels/Blend-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Zan {
namespace HWY_NAMESPACE {
namespace {

#if HWY_TARGET != HWY_SCALAR

/// What a vector of keys says: of what is left to the source, out of 256, less 256 and so negative, the low
/// byte and the high bit (0 or 1); and 255 where source B counts.
struct Shares {
    VU8 low, high, isB;
};

/// UnderBorder on every byte: c + ((256 - share) * (s - c) + 128) / 256 as a rounded product. `lower` and
/// `upper` are -128 times what is left to the source, for the bytes that InterleaveLower and InterleaveUpper
/// bring together.
HWY_INLINE HWY_ATTR VU8 UnderBorder(VU8 source, VI16 colour, VI16 lower, VI16 upper) {
    const DU8 d;
    const DI16 di;
    const VU8 none = hn::Zero(d);
    const VI16 low = hn::Sub(colour, hn::BitCast(di, hn::InterleaveLower(d, source, none)));
    const VI16 high = hn::Sub(colour, hn::BitCast(di, hn::InterleaveUpper(d, source, none)));
    return PackToBytes(hn::Add(colour, hn::MulFixedPoint15(low, lower)),
                       hn::Add(colour, hn::MulFixedPoint15(high, upper)));
}

/// The border's bytes for words that are interleaved with zeros.
HWY_INLINE HWY_ATTR VI16 LanesOf(const BorderColour& colour) {
    const auto lane = [&](unsigned i) { return std::uint64_t{colour.byte[i]} << (16 * i); };
    return hn::BitCast(DI16(), hn::Set(DU64(), lane(0) | lane(1) | lane(2) | lane(3)));
}

/// -128 times what is left to the source, the lower and the upper halves of all blocks.
struct ShareLanes {
    VI16 lower, upper;

    HWY_INLINE HWY_ATTR explicit ShareLanes(const Shares& shares) {
        const DU8 d;
        const DI16 di;
        lower = hn::ShiftLeft<7>(hn::BitCast(di, hn::InterleaveLower(d, shares.low, shares.high)));
        upper = hn::ShiftLeft<7>(hn::BitCast(di, hn::InterleaveUpper(d, shares.low, shares.high)));
    }
};

/// Bytes by their places in every block. Kernels hold these: see BlendConstants.
struct Places {
    VU8 from;

    HWY_INLINE HWY_ATTR VU8 operator()(VU8 v) const { return hn::TableLookupBytes(v, from); }
    HWY_INLINE HWY_ATTR VI16 operator()(VI16 v) const {
        return hn::BitCast(DI16(), (*this)(hn::BitCast(DU8(), v)));
    }
};
template <std::size_t... from>
HWY_INLINE HWY_ATTR Places PlacesFrom() {
    alignas(16) static constexpr std::uint8_t kFrom[16] = {from...};
    return {InEveryBlock(kFrom)};
}

/// Lanes `first` and the one after it, each four times over.
template <std::size_t first>
HWY_INLINE HWY_ATTR Places LanesOfPixels() {
    constexpr std::size_t f = 2 * first;
    return PlacesFrom<f, f + 1, f, f + 1, f, f + 1, f, f + 1, f + 2, f + 3, f + 2, f + 3, f + 2, f + 3, f + 2,
                      f + 3>();
}

/// Lanes `first` to `first` + 3: of each two the first three times over, the second once.
template <std::size_t first>
HWY_INLINE HWY_ATTR Places LanesOfPairs() {
    constexpr std::size_t f = 2 * first;
    return PlacesFrom<f, f + 1, f, f + 1, f, f + 1, f + 2, f + 3, f + 4, f + 5, f + 4, f + 5, f + 4, f + 5,
                      f + 6, f + 7>();
}

/// Bytes `f` to `f` + 3, each four times over.
template <std::size_t f>
HWY_INLINE HWY_ATTR Places BytesOfPixels() {
    return PlacesFrom<f, f, f, f, f + 1, f + 1, f + 1, f + 1, f + 2, f + 2, f + 2, f + 2, f + 3, f + 3, f + 3,
                      f + 3>();
}

/// Bytes `f` to `f` + 7: of each two the first three times over, the second once.
template <std::size_t f>
HWY_INLINE HWY_ATTR Places BytesOfPairs() {
    return PlacesFrom<f, f, f, f + 1, f + 2, f + 2, f + 2, f + 3, f + 4, f + 4, f + 4, f + 5, f + 6, f + 6,
                      f + 6, f + 7>();
}

/// True when one source alone counts.
HWY_INLINE HWY_ATTR bool HaveOneSource(const Shares& shares) {
    return AreZero(shares.low) && AreZero(hn::Sub(shares.high, hn::Set(DU8(), 1))) && AreAlike(shares.isB);
}

/// Source B where the mask says so, else source A.
HWY_INLINE HWY_ATTR VU8 Choose(VU8 isB, VU8 a, VU8 b) {
    return hn::IfVecThenElse(isB, b, a);
}

#endif  // HWY_TARGET

// ---- How keys become shares -------------------------------------------------------------------------------

#if HWY_TARGET != HWY_SCALAR

/// Keys of `limit` (0 to 256) or more.
struct Limit {
    std::uint8_t least, ever;

    explicit Limit(unsigned limit)
        : least(static_cast<std::uint8_t>(std::min(limit, 255U))),
          ever(static_cast<std::uint8_t>(limit < 256 ? 255 : 0)) {}

    /// 255 where it is reached.
    HWY_INLINE HWY_ATTR VU8 ReachedBy(VU8 keys) const {
        const DU8 d;
        const VU8 reached = hn::VecFromMask(d, hn::Eq(hn::Max(keys, hn::Set(d, least)), keys));
        return hn::And(reached, hn::Set(d, ever));
    }
};

#endif

template <std::size_t rows>
struct ByteKeys {
    static constexpr PlaneUse kUse = {.index = 2};
    const BorderMap& map;
#if HWY_TARGET != HWY_SCALAR
    Limit border{map.border}, sourceB{map.sourceB};
    std::uint8_t first = map.weight.first;
#endif

    BorderShare operator()(const std::uint8_t* keys, std::size_t i) const {
        return map(keys[i]);
    }

#if HWY_TARGET != HWY_SCALAR
    template <class Order>
    HWY_INLINE HWY_ATTR Shares Vector(const std::uint8_t* from, Order order) const {
        const DU8 d;
        const VU8 keys = Dealt(order, hn::LoadU(d, from));
        const VU8 isB = sourceB.ReachedBy(keys);
        const VU8 isBorder = hn::AndNot(isB, border.ReachedBy(keys));
        return {LookUp<rows>(map.weight.row, first, keys), hn::AndNot(isBorder, hn::Set(d, 1)), isB};
    }
#endif
};

struct WideKeys {
    static constexpr PlaneUse kUse = {.index = 2, .bytesPer16 = 32, .columns = 2};
    BorderRamp ramp;

    BorderShare operator()(const std::uint8_t* keys, std::size_t i) const {
        return ramp(keys[2 * i] + 256U * keys[2 * i + 1]);
    }

#if HWY_TARGET != HWY_SCALAR
    template <class Order>
    HWY_INLINE HWY_ATTR Shares Vector(const std::uint8_t* keys, Order order) const {
        const DU8 d;
        alignas(64) std::uint8_t low[kVectorBytes], high[kVectorBytes], isB[kVectorBytes];
        for (std::size_t i = 0; i < kVectorBytes; i += hn::MaxLanes(DF64())) {
            Some(keys + 2 * i, low + i, high + i, isB + i);
        }
        return {Dealt(order, hn::Load(d, low)), Dealt(order, hn::Load(d, high)),
                Dealt(order, hn::Load(d, isB))};
    }

private:
    using DF64 = hn::ScalableTag<double>;
    using VF64 = hn::Vec<DF64>;

    /// BorderRamp, operation by operation.
    HWY_INLINE HWY_ATTR void Some(const std::uint8_t* keys, std::uint8_t* low, std::uint8_t* high,
                                  std::uint8_t* isB) const {
        const DF64 d;
        const hn::Rebind<std::int32_t, DF64> d32;
        const hn::Rebind<std::uint16_t, DF64> d16;
        const hn::Rebind<std::uint8_t, DF64> d8;
        const VF64 top = hn::Set(d, 255), none = hn::Zero(d);
        const auto put = [&](VF64 v, std::uint8_t* to)
                             HWY_ATTR { hn::StoreU(hn::DemoteTo(d8, hn::DemoteTo(d32, v)), d8, to); };
        const auto raw = hn::LoadU(d16, reinterpret_cast<const std::uint16_t*>(keys));
        const VF64 key = hn::PromoteTo(d, hn::PromoteTo(d32, raw));
        const VF64 depth =
            hn::Div(hn::Mul(hn::Mul(hn::Sub(key, hn::Set(d, ramp.threshold)), hn::Set(d, ramp.factor)), top),
                    hn::Set(d, ramp.total));
        const VF64 limited = hn::Min(hn::Max(depth, none), top);
        const auto isA = hn::Le(limited, hn::Set(d, ramp.end1));
        const auto isSource = hn::Or(isA, hn::Ge(limited, hn::Set(d, ramp.end2)));
        const VF64 part = hn::IfThenElse(isA, limited, hn::Sub(top, limited));
        const VF64 whole = hn::IfThenElse(isA, hn::Set(d, ramp.end1), hn::Set(d, 255 - ramp.end2));
        const VF64 weight = hn::Add(hn::Div(hn::Mul(top, part), whole), hn::Set(d, 0.5));
        // Nothing of nothing is no number, and counts as nothing.
        const auto counts = hn::And(isSource, hn::Gt(weight, none));
        put(hn::IfThenElseZero(counts, hn::Min(weight, top)), low);
        put(hn::IfThenElseZero(isSource, hn::Set(d, 1)), high);
        put(hn::IfThenElseZero(hn::AndNot(isA, isSource), top), isB);
    }
#endif
};

// ---- Pixels -----------------------------------------------------------------------------------------------

template <class Keys>
struct BorderPixels {
    using Place = simd::Place<3, 1>;
    static constexpr PlaneUse kSources[] = {PixelPlane(0), PixelPlane(1), Keys::kUse};
    static constexpr PlaneUse kDestinations[] = {PixelPlane(0)};
    Keys keys;
    BorderColour colour;

    void Unit(const Place& at, std::size_t x) const {
        const BorderShare share = keys(at.in[2][0], x);
        const std::uint8_t* source = at.in[share.isB ? 1 : 0][0] + 4 * x;
        std::uint8_t* out = at.out[0][0] + 4 * x;
        for (std::size_t i = 0; i < 4; ++i) {
            out[i] = Zan::UnderBorder(source[i], colour.byte[i], share.weight);
        }
    }

#if HWY_TARGET != HWY_SCALAR
    static constexpr std::size_t kStep = kVectorBytes;
    Places quarter[4] = {BytesOfPixels<0>(), BytesOfPixels<4>(), BytesOfPixels<8>(), BytesOfPixels<12>()};
    Places pixels[4] = {LanesOfPixels<0>(), LanesOfPixels<2>(), LanesOfPixels<4>(), LanesOfPixels<6>()};

    template <class Put>
    HWY_INLINE HWY_ATTR void Step(const Place& at, std::size_t x, Put put) const {
        const DU8 d;
        FetchStretch(at.in[2][0] + x, put);
        const Shares shares = keys.Vector(at.in[2][0] + x, DU32());
        const VI16 border = LanesOf(colour);
        if (HaveOneSource(shares)) {
            PassOn<4>(at, 4 * x, shares.isB, put);
            return;
        }
        const ShareLanes lanes(shares);
        const VU8 isB = shares.isB;
        const auto blend = [&](std::size_t i, VU8 chooseB, VI16 lower, VI16 upper) HWY_ATTR {
            const VU8 source = Choose(chooseB, hn::LoadU(d, at.in[0][0] + 4 * x + i * kVectorBytes),
                                      hn::LoadU(d, at.in[1][0] + 4 * x + i * kVectorBytes));
            return UnderBorder(source, border, lower, upper);
        };
        const VU8 made[4] = {blend(0, quarter[0](isB), pixels[0](lanes.lower), pixels[1](lanes.lower)),
                             blend(1, quarter[1](isB), pixels[2](lanes.lower), pixels[3](lanes.lower)),
                             blend(2, quarter[2](isB), pixels[0](lanes.upper), pixels[1](lanes.upper)),
                             blend(3, quarter[3](isB), pixels[2](lanes.upper), pixels[3](lanes.upper))};
        for (std::size_t i = 0; i < 4; ++i) {
            put(d, made[i], at.out[0][0] + 4 * x + i * kVectorBytes);
        }
    }
#endif
};

// ---- Pairs of 4:2:2 pixels --------------------------------------------------------------------------------

/// The first key of a pair is for Cb, Y0 and Cr, the second for Y1.
template <class Keys>
struct BorderPairs {
    using Place = simd::Place<3, 1>;
    static constexpr PlaneUse kSources[] = {PairPlane(0), PairPlane(1), Keys::kUse};
    static constexpr PlaneUse kDestinations[] = {PairPlane(0)};
    static constexpr std::size_t kUnit = 2;
    Keys keys;
    BorderColour colour;

    void Unit(const Place& at, std::size_t x) const {
        const BorderShare shares[2] = {keys(at.in[2][0], x), keys(at.in[2][0], x + 1)};
        std::uint8_t* out = at.out[0][0] + 2 * x;
        for (std::size_t i = 0; i < 4; ++i) {
            const BorderShare& share = shares[i / 3];
            const std::uint8_t* source = at.in[share.isB ? 1 : 0][0] + 2 * x;
            out[i] = Zan::UnderBorder(source[i], colour.byte[i], share.weight);
        }
    }

#if HWY_TARGET != HWY_SCALAR
    static constexpr std::size_t kStep = kVectorBytes;
    Places half[2] = {BytesOfPairs<0>(), BytesOfPairs<8>()};
    Places pairs[2] = {LanesOfPairs<0>(), LanesOfPairs<4>()};

    template <class Put>
    HWY_INLINE HWY_ATTR void Step(const Place& at, std::size_t x, Put put) const {
        const DU8 d;
        FetchStretch(at.in[2][0] + Keys::kUse.Bytes(x), put);
        const Shares shares = keys.Vector(at.in[2][0] + Keys::kUse.Bytes(x), DU64());
        const VI16 border = LanesOf(colour);
        if (HaveOneSource(shares)) {
            PassOn<2>(at, 2 * x, shares.isB, put);
            return;
        }
        const ShareLanes lanes(shares);
        const VU8 isB = shares.isB;
        const auto blend = [&](std::size_t i, VU8 chooseB, VI16 v) HWY_ATTR {
            const VU8 source = Choose(chooseB, hn::LoadU(d, at.in[0][0] + 2 * x + i * kVectorBytes),
                                      hn::LoadU(d, at.in[1][0] + 2 * x + i * kVectorBytes));
            return UnderBorder(source, border, pairs[0](v), pairs[1](v));
        };
        const VU8 made[2] = {blend(0, half[0](isB), lanes.lower), blend(1, half[1](isB), lanes.upper)};
        for (std::size_t i = 0; i < 2; ++i) {
            put(d, made[i], at.out[0][0] + 2 * x + i * kVectorBytes);
        }
    }
#endif
};

// ---- A plane of alpha -------------------------------------------------------------------------------------

template <class Keys>
struct BorderBytes {
    using Place = simd::Place<3, 1>;
    static constexpr PlaneUse kSources[] = {
        {.index = 0, .mayBeMissing = true}, {.index = 1, .mayBeMissing = true}, Keys::kUse};
    static constexpr PlaneUse kDestinations[] = {{.index = 0}};
    Keys keys;
    BorderColour colour;

    void Unit(const Place& at, std::size_t x) const {
        const BorderShare share = keys(at.in[2][0], x);
        const std::uint8_t* source = at.in[share.isB ? 1 : 0][0];
        at.out[0][0][x] =
            Zan::UnderBorder(source != nullptr ? source[x] : 255U, colour.byte[0], share.weight);
    }

#if HWY_TARGET != HWY_SCALAR
    static constexpr std::size_t kStep = kVectorBytes;

    template <class Put>
    HWY_INLINE HWY_ATTR void Step(const Place& at, std::size_t x, Put put) const {
        const DU8 d;
        const VU8 full = hn::Set(d, 255);
        const Shares shares = keys.Vector(at.in[2][0] + x, InOrder());
        const ShareLanes lanes(shares);
        const VU8 a = at.in[0][0] != nullptr ? hn::LoadU(d, at.in[0][0] + x) : full;
        const VU8 b = at.in[1][0] != nullptr ? hn::LoadU(d, at.in[1][0] + x) : full;
        put(d, UnderBorder(Choose(shares.isB, a, b), LanesOf(colour), lanes.lower, lanes.upper),
            at.out[0][0] + x);
    }
#endif
};

/// Walks a kernel with as many rows of the table as the border's edge takes.
template <template <class> class Kernel>
void WalkBorder(const KeyedJob& job, const BorderMap& map) {
    switch (map.weight.rows) {
        case 4:
            return Walk(Kernel<ByteKeys<4>>{{map}, map.colour}, job);
        case 8:
            return Walk(Kernel<ByteKeys<8>>{{map}, map.colour}, job);
        default:
            return Walk(Kernel<ByteKeys<16>>{{map}, map.colour}, job);
    }
}

void RunBorderPixels(const KeyedJob& job, const BorderMap& map) {
    WalkBorder<BorderPixels>(job, map);
}
void RunBorderPairs(const KeyedJob& job, const BorderMap& map) {
    WalkBorder<BorderPairs>(job, map);
}
void RunBorderBytes(const KeyedJob& job, const BorderMap& map) {
    WalkBorder<BorderBytes>(job, map);
}
void RunBorderPairsOfWideKeys(const KeyedJob& job, const BorderRamp& ramp, const BorderColour& colour) {
    Walk(BorderPairs<WideKeys>{{ramp}, colour}, job);
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace Zan {

TESSELU_KERNEL(BorderKernel, kBorderPixels, RunBorderPixels);
TESSELU_KERNEL(BorderKernel, kBorderPairs, RunBorderPairs);
TESSELU_KERNEL(BorderKernel, kBorderBytes, RunBorderBytes);
TESSELU_KERNEL(WideBorderKernel, kBorderPairsOfWideKeys, RunBorderPairsOfWideKeys);

}  // namespace Zan

#endif  // HWY_ONCE
