// Blends of two sources by alpha: B's own, or a key plane that is taken as it stands or mapped first.

#include "composite/kernels/Blend.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "composite/kernels/Blend.cpp"
#include "simd/Foreach.h"
// After it: these are compiled once per target.
#include "composite/kernels/Blend-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Zan {
namespace HWY_NAMESPACE {
namespace {

using namespace simd::HWY_NAMESPACE;
using simd::PlaneUse;

#if HWY_TARGET != HWY_SCALAR

/// KeyMap16 on every byte, in lanes that hold twice its numbers without a sign: the difference is one
/// saturated addition and one saturated subtraction, of which either is by nothing.
HWY_INLINE HWY_ATTR VU8 MapKeys(const KeyMap16& map, VU8 keys) {
    const DU8 d;
    const DU16 du;
    const int twice = 2 * map.threshold;
    const VU16 added = hn::Set(du, static_cast<std::uint16_t>(std::clamp(-twice, 0, 65535)));
    const VU16 taken = hn::Set(du, static_cast<std::uint16_t>(std::max(twice, 0)));
    const VU16 top = hn::Set(du, 65280);
    const VU16 gain = hn::Set(du, static_cast<std::uint16_t>(map.gain > 0 ? 2 * map.gain : 0));
    const auto alpha = [&](VU8 keyAbove8Bits) HWY_ATTR {
        const VU16 g = hn::BitCast(du, keyAbove8Bits);
        const VU16 x = hn::Min(hn::SaturatedSub(hn::SaturatedAdd(g, added), taken), top);
        // (x * gain) >> 14 as the high half of twice each.
        return hn::BitCast(DI16(), hn::Min(hn::MulHigh(x, gain), hn::Set(du, 255)));
    };
    const VU8 none = hn::Zero(d);
    return PackToBytes(alpha(hn::InterleaveLower(d, none, keys)), alpha(hn::InterleaveUpper(d, none, keys)));
}

/// KeyMap32 on every byte.
HWY_INLINE HWY_ATTR VU8 MapKeys(const KeyMap32& map, VU8 keys) {
    const DU8 d;
    const DU16 d16;
    const DU32 du;
    const DI32 di;
    const VI32 threshold = hn::Set(di, map.threshold);
    const VU32 gain = hn::Set(du, map.gain);
    // The minimum of 255 is left to the packing.
    const auto alpha = [&](VU16 keyAbove8Bits) HWY_ATTR {
        const VI32 x = hn::Max(hn::Sub(hn::BitCast(di, keyAbove8Bits), threshold), hn::Zero(di));
        const VU32 product = hn::Add(hn::Mul(hn::BitCast(du, x), gain), hn::Set(du, 32768));
        return hn::BitCast(di, hn::ShiftRight<16>(product));
    };
    const VU8 none = hn::Zero(d);
    const VU16 zero = hn::Zero(d16);
    const VU16 low = hn::BitCast(d16, hn::InterleaveLower(d, none, keys));
    const VU16 high = hn::BitCast(d16, hn::InterleaveUpper(d, none, keys));
    return PackToBytes(
        PackToShorts(alpha(hn::InterleaveLower(d16, low, zero)), alpha(hn::InterleaveUpper(d16, low, zero))),
        PackToShorts(alpha(hn::InterleaveLower(d16, high, zero)),
                     alpha(hn::InterleaveUpper(d16, high, zero))));
}

#endif  // HWY_TARGET

// ---- How a key byte becomes alpha -------------------------------------------------------------------------

/// `kHasEnds`: worth a look for vectors where one source alone counts. Without a mapping the blend is as fast
/// as memory is.
struct RawKey {
    std::uint8_t operator()(std::uint8_t key) const { return key; }
#if HWY_TARGET != HWY_SCALAR
    static constexpr bool kHasEnds = false;

    HWY_INLINE HWY_ATTR VU8 Vector(const std::uint8_t* keys) const {
        return hn::LoadU(DU8(), keys);
    }
#endif
};

template <class Map>
struct MappedKey {
    Map map;

    std::uint8_t operator()(std::uint8_t key) const { return map(key); }
#if HWY_TARGET != HWY_SCALAR
    static constexpr bool kHasEnds = true;

    HWY_INLINE HWY_ATTR VU8 Vector(const std::uint8_t* keys) const {
        return MapKeys(map, hn::LoadU(DU8(), keys));
    }
#endif
};

template <std::size_t rows>
struct TableKey {
    const KeyTable& table;
    std::uint8_t first = table.first;

    std::uint8_t operator()(std::uint8_t key) const { return table.entry[key]; }
#if HWY_TARGET != HWY_SCALAR
    static constexpr bool kHasEnds = true;

    HWY_INLINE HWY_ATTR VU8 Vector(const std::uint8_t* keys) const {
        return LookUp<rows>(table.row, first, hn::LoadU(DU8(), keys));
    }
#endif
};

// ---- Pixels -----------------------------------------------------------------------------------------------

void BlendPixel(const std::uint8_t* a, const std::uint8_t* b, std::uint8_t alpha, std::uint8_t* out) {
    for (std::size_t i = 0; i < 4; ++i) {
        out[i] = BlendByAlpha(a[i], b[i], alpha);
    }
}

struct ByOwnAlpha {
    using Place = simd::Place<2, 1>;
    static constexpr PlaneUse kSources[] = {PixelPlane(0), PixelPlane(1)};
    static constexpr PlaneUse kDestinations[] = {PixelPlane(0)};

    void Unit(const Place& at, std::size_t x) const {
        const std::uint8_t* b = at.in[1][0] + 4 * x;
        BlendPixel(at.in[0][0] + 4 * x, b, b[3], at.out[0][0] + 4 * x);
    }

#if HWY_TARGET != HWY_SCALAR
    static constexpr std::size_t kStep = kLineVectors * kVectorBytes / 4;

    template <class Put>
    HWY_INLINE HWY_ATTR void Step(const Place& at, std::size_t x, Put put) const {
        const DU8 d;
        alignas(16) static constexpr std::uint8_t kByte3[16] = {3,  3,  3,  3,  7,  7,  7,  7,
                                                                11, 11, 11, 11, 15, 15, 15, 15};
        PutLine(at.out[0][0] + 4 * x, put, [&](std::size_t i) HWY_ATTR {
            const VU8 a = hn::LoadU(d, at.in[0][0] + 4 * x + i * kVectorBytes);
            const VU8 b = hn::LoadU(d, at.in[1][0] + 4 * x + i * kVectorBytes);
            return BlendBytes(a, b, WeightsOf(hn::TableLookupBytes(b, InEveryBlock(kByte3))));
        });
    }
#endif
};

template <class Key>
struct ByKeyOfPixel {
    using Place = simd::Place<3, 1>;
    static constexpr PlaneUse kSources[] = {PixelPlane(0), PixelPlane(1), {.index = 2}};
    static constexpr PlaneUse kDestinations[] = {PixelPlane(0)};
    Key key;

    void Unit(const Place& at, std::size_t x) const {
        BlendPixel(at.in[0][0] + 4 * x, at.in[1][0] + 4 * x, key(at.in[2][0][x]), at.out[0][0] + 4 * x);
    }

#if HWY_TARGET != HWY_SCALAR
    static constexpr std::size_t kStep = kVectorBytes;
    ExtremeTest areExtreme;
    BlendConstants constants;
    WeightSpread first = SpreadToPixels<0>(), second = SpreadToPixels<4>();

    template <class Put>
    HWY_INLINE HWY_ATTR void Step(const Place& at, std::size_t x, Put put) const {
        const DU8 d;
        const DU32 d32;
        FetchStretch(at.in[2][0] + x, put);
        const VU8 alphas = key.Vector(at.in[2][0] + x);
        if (Key::kHasEnds && areExtreme(alphas) && AreAlike(alphas)) {
            PassOn<4>(at, 4 * x, alphas, put);
            return;
        }
        const Weights words = WeightsOf(hn::BitCast(d, DealToBlocks(d32, hn::BitCast(d32, alphas))));
        const auto blend = [&](std::size_t i, const Weights& weights) HWY_ATTR {
            return BlendBytes(hn::LoadU(d, at.in[0][0] + 4 * x + i * kVectorBytes),
                              hn::LoadU(d, at.in[1][0] + 4 * x + i * kVectorBytes), weights, constants);
        };
        const VU8 made[4] = {blend(0, first(words.lower)), blend(1, second(words.lower)),
                             blend(2, first(words.upper)), blend(3, second(words.upper))};
        for (std::size_t i = 0; i < 4; ++i) {
            put(d, made[i], at.out[0][0] + 4 * x + i * kVectorBytes);
        }
    }
#endif
};

// ---- Pairs of 4:2:2 pixels --------------------------------------------------------------------------------

/// The first key of a pair is for Cb, Y0 and Cr, the second for Y1.
template <class Key>
struct ByKeysOfPair {
    using Place = simd::Place<3, 1>;
    static constexpr PlaneUse kSources[] = {PairPlane(0), PairPlane(1), {.index = 2}};
    static constexpr PlaneUse kDestinations[] = {PairPlane(0)};
    static constexpr std::size_t kUnit = 2;
    Key key;

    template <class At>
    static void Pair(const At& at, std::size_t x, std::uint8_t first, std::uint8_t second) {
        const std::uint8_t *a = at.in[0][0] + 2 * x, *b = at.in[1][0] + 2 * x;
        std::uint8_t* out = at.out[0][0] + 2 * x;
        for (std::size_t i = 0; i < 4; ++i) {
            out[i] = BlendByAlpha(a[i], b[i], i < 3 ? first : second);
        }
    }

    void Unit(const Place& at, std::size_t x) const {
        Pair(at, x, key(at.in[2][0][x]), key(at.in[2][0][x + 1]));
    }

#if HWY_TARGET != HWY_SCALAR
    static constexpr std::size_t kStep = kVectorBytes;

    ExtremeTest areExtreme;
    BlendConstants constants;
    WeightSpread spread = SpreadToPairs();

    /// `alphas` in the order of the pixels.
    template <class At, class Put>
    HWY_INLINE HWY_ATTR void Pairs(const At& at, std::size_t x, VU8 alphas, Put put) const {
        const DU8 d;
        const DU64 d64;
        if (Key::kHasEnds && areExtreme(alphas) && AreAlike(alphas)) {
            PassOn<2>(at, 2 * x, alphas, put);
            return;
        }
        const Weights words = WeightsOf(hn::BitCast(d, DealToBlocks(d64, hn::BitCast(d64, alphas))));
        const auto blend = [&](std::size_t i, const Weights& weights) HWY_ATTR {
            return BlendBytes(hn::LoadU(d, at.in[0][0] + 2 * x + i * kVectorBytes),
                              hn::LoadU(d, at.in[1][0] + 2 * x + i * kVectorBytes), weights, constants);
        };
        const VU8 made[2] = {blend(0, spread(words.lower)), blend(1, spread(words.upper))};
        for (std::size_t i = 0; i < 2; ++i) {
            put(d, made[i], at.out[0][0] + 2 * x + i * kVectorBytes);
        }
    }

    template <class Put>
    HWY_INLINE HWY_ATTR void Step(const Place& at, std::size_t x, Put put) const {
        FetchStretch(at.in[2][0] + x, put);
        Pairs(at, x, key.Vector(at.in[2][0] + x), put);
    }
#endif
};

/// The same, and the alpha planes in the same pass.
template <class Key>
struct ByKeysOfPairAndAlpha {
    using Place = simd::Place<5, 2>;
    static constexpr PlaneUse kSources[] = {PairPlane(0),
                                            PairPlane(1),
                                            {.index = 2},
                                            {.index = kAlphaA, .mayBeMissing = true},
                                            {.index = kAlphaB, .mayBeMissing = true}};
    static constexpr PlaneUse kDestinations[] = {PairPlane(0), {.index = kAlphaOut}};
    static constexpr std::size_t kUnit = 2;
    ByKeysOfPair<Key> colour;

    explicit ByKeysOfPairAndAlpha(Key key) : colour{key} {}

    void Alpha(const Place& at, std::size_t x, std::uint8_t alpha) const {
        const std::uint8_t *a = at.in[kAlphaA][0], *b = at.in[kAlphaB][0];
        at.out[kAlphaOut][0][x] = BlendByAlpha(a != nullptr ? a[x] : 255U, b != nullptr ? b[x] : 255U, alpha);
    }

    void Unit(const Place& at, std::size_t x) const {
        const std::uint8_t first = colour.key(at.in[2][0][x]), second = colour.key(at.in[2][0][x + 1]);
        ByKeysOfPair<Key>::Pair(at, x, first, second);
        Alpha(at, x, first);
        Alpha(at, x + 1, second);
    }

    /// An odd last pixel has no pair: its colour stays as it was.
    void Tail(const Place& at, std::size_t x, std::size_t) const { Alpha(at, x, colour.key(at.in[2][0][x])); }

#if HWY_TARGET != HWY_SCALAR
    static constexpr std::size_t kStep = kVectorBytes;

    template <class Put>
    HWY_INLINE HWY_ATTR void Step(const Place& at, std::size_t x, Put put) const {
        const DU8 d;
        for (const std::size_t i : {std::size_t{2}, kAlphaA, kAlphaB}) {
            if (at.in[i][0] != nullptr) {
                FetchStretch(at.in[i][0] + x, put);
            }
        }
        const VU8 alphas = colour.key.Vector(at.in[2][0] + x);
        const VU8 full = hn::Set(d, 255);
        const VU8 a = at.in[kAlphaA][0] != nullptr ? hn::LoadU(d, at.in[kAlphaA][0] + x) : full;
        const VU8 b = at.in[kAlphaB][0] != nullptr ? hn::LoadU(d, at.in[kAlphaB][0] + x) : full;
        const VU8 blended = BlendBytes(a, b, WeightsOf(alphas), colour.constants);
        colour.Pairs(at, x, alphas, put);
        put(d, blended, at.out[kAlphaOut][0] + x);
    }
#endif
};

// ---- Kernels ----------------------------------------------------------------------------------------------

using Key16 = MappedKey<KeyMap16>;
using Key32 = MappedKey<KeyMap32>;

/// Walks a kernel with as many rows of the table as it has.
template <template <class> class Kernel, class Job>
void WalkByTable(const Job& job, const KeyTable& table) {
    switch (table.rows) {
        case 4:
            return Walk(Kernel<TableKey<4>>{TableKey<4>{table}}, job);
        case 8:
            return Walk(Kernel<TableKey<8>>{TableKey<8>{table}}, job);
        default:
            return Walk(Kernel<TableKey<16>>{TableKey<16>{table}}, job);
    }
}

void RunByOwnAlpha(const TwoSourceJob& job, const BlendSettings&) {
    Walk(ByOwnAlpha{}, job);
}
void RunByPlane(const KeyedJob& job, const BlendSettings&) {
    Walk(ByKeyOfPixel<RawKey>{}, job);
}
void RunPixels16(const KeyedJob& job, const BlendSettings& set) {
    Walk(ByKeyOfPixel<Key16>{Key16{set.map16}}, job);
}
void RunPixelsTable(const KeyedJob& job, const BlendSettings& set) {
    WalkByTable<ByKeyOfPixel>(job, *set.table);
}
void RunPairs32(const KeyedJob& job, const BlendSettings& set) {
    Walk(ByKeysOfPair<Key32>{Key32{set.map32}}, job);
}
void RunPairsTable(const KeyedJob& job, const BlendSettings& set) {
    WalkByTable<ByKeysOfPair>(job, *set.table);
}
void RunPairsAndAlpha32(const KeyedAlphaJob& job, const BlendSettings& set) {
    Walk(ByKeysOfPairAndAlpha<Key32>{Key32{set.map32}}, job);
}
void RunPairsAndAlphaTable(const KeyedAlphaJob& job, const BlendSettings& set) {
    WalkByTable<ByKeysOfPairAndAlpha>(job, *set.table);
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace Zan {

TESSELU_KERNEL(TwoSourceKernel, kBlendByOwnAlpha, RunByOwnAlpha);
TESSELU_KERNEL(KeyedKernel, kBlendByPlane, RunByPlane);
TESSELU_KERNEL(KeyedKernel, kWipePixels16, RunPixels16);
TESSELU_KERNEL(KeyedKernel, kWipePixelsTable, RunPixelsTable);
TESSELU_KERNEL(KeyedKernel, kWipePairs32, RunPairs32);
TESSELU_KERNEL(KeyedKernel, kWipePairsTable, RunPairsTable);
TESSELU_KERNEL(KeyedAlphaKernel, kWipePairsAndAlpha32, RunPairsAndAlpha32);
TESSELU_KERNEL(KeyedAlphaKernel, kWipePairsAndAlphaTable, RunPairsAndAlphaTable);

}  // namespace Zan

#endif  // HWY_ONCE
