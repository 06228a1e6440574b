#include "composite/kernels/Blend.h"

#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "composite/kernels/Blend.cpp"
#include "simd/Foreach.h"
// After it: these are compiled once per target.
#include "simd/Extra-inl.h"
#include "simd/Walk-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Zan {
namespace HWY_NAMESPACE {

using namespace simd::HWY_NAMESPACE;

#if HWY_TARGET == HWY_SCALAR
constexpr std::size_t kVector = 1, kLineVectors = 1;
#else
constexpr std::size_t kVector = HWY_LANES(std::uint8_t);

/// x ^ 0x80: a byte as a signed number around 128, which the signed operand of a multiply-add can hold.
HWY_INLINE HWY_ATTR VI8 Centred(VU8 v) {
    return hn::BitCast(DI8(), hn::Xor(v, hn::Set(DU8(), 0x80)));
}

/// Div255Round for t - 32640, t being (255 - alpha) * a + alpha * b. With u = t + 128,
/// (u + (u >> 8)) >> 8 is (u * 257) >> 16.
HWY_INLINE HWY_ATTR VI16 Div255RoundCentred(VI16 v) {
    const DU16 d;
    const VU16 u = hn::Xor(hn::BitCast(d, v), hn::Set(d, 0x8000));
    return hn::BitCast(DI16(), hn::MulHigh(u, hn::Set(d, 257)));
}

/// The weights of the two sources for bytes that InterleaveLower and InterleaveUpper bring together: 255 less
/// alpha, alpha, and so on.
struct Weights {
    VU8 lower, upper;
};

HWY_INLINE HWY_ATTR Weights WeightsOf(VU8 alpha) {
    const DU8 d;
    const VU8 rest = hn::Not(alpha);
    return {hn::InterleaveLower(d, rest, alpha), hn::InterleaveUpper(d, rest, alpha)};
}

/// BlendByAlpha on every byte.
HWY_INLINE HWY_ATTR VU8 BlendBytes(VU8 a, VU8 b, const Weights& weights) {
    const DI8 di;
    const VI8 ca = Centred(a), cb = Centred(b);
    const VI16 low = MulAddPairs(weights.lower, hn::InterleaveLower(di, ca, cb));
    const VI16 high = MulAddPairs(weights.upper, hn::InterleaveUpper(di, ca, cb));
    return PackToBytes(Div255RoundCentred(low), Div255RoundCentred(high));
}

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

/// Weights of a vector of words out of keys: `words` holds 255 less alpha and alpha of each key as one 16-bit
/// lane, `first` is the lane of the vector's first key in every block.
template <std::size_t first>
HWY_INLINE HWY_ATTR Weights WeightsOfPixels(VU8 words) {
    // Each lane for the four bytes of a pixel.
    constexpr std::uint8_t f = 2 * first;
    alignas(16) static constexpr std::uint8_t kLower[16] = {
        f,     f + 1, f,     f + 1, f,     f + 1, f,     f + 1,  // pixel 0
        f + 2, f + 3, f + 2, f + 3, f + 2, f + 3, f + 2, f + 3};
    alignas(16) static constexpr std::uint8_t kUpper[16] = {
        f + 4, f + 5, f + 4, f + 5, f + 4, f + 5, f + 4, f + 5,  // pixel 2
        f + 6, f + 7, f + 6, f + 7, f + 6, f + 7, f + 6, f + 7};
    return {hn::TableLookupBytes(words, InEveryBlock(kLower)),
            hn::TableLookupBytes(words, InEveryBlock(kUpper))};
}

/// The same for pairs of 4:2:2 pixels, whose eight keys are all lanes of a block: the first key of a pair is
/// for three bytes, the second for the last.
HWY_INLINE HWY_ATTR Weights WeightsOfPairs(VU8 words) {
    alignas(16) static constexpr std::uint8_t kLower[16] = {0, 1, 0, 1, 0, 1, 2, 3, 4, 5, 4, 5, 4, 5, 6, 7};
    alignas(16) static constexpr std::uint8_t kUpper[16] = {8,  9,  8,  9,  8,  9,  10, 11,
                                                            12, 13, 12, 13, 12, 13, 14, 15};
    return {hn::TableLookupBytes(words, InEveryBlock(kLower)),
            hn::TableLookupBytes(words, InEveryBlock(kUpper))};
}

/// Deals groups of lanes out to the blocks: group i of n blocks' worth goes to block i % n. What belongs to
/// one vector of pixels then lies at one place in every block, and no later step crosses blocks.
template <class D>
HWY_INLINE HWY_ATTR hn::Vec<D> DealToBlocks(D d, hn::Vec<D> v) {
#if HWY_TARGET == HWY_SSSE3 || HWY_TARGET == HWY_NEON
    (void)d;
    return v;
#else
    using T = hn::TFromD<D>;
    constexpr std::size_t kLanes = HWY_LANES(T), kBlocks = kVector / 16, kOfBlock = kLanes / kBlocks;
    alignas(64) T from[kLanes];
    for (std::size_t i = 0; i < kLanes; ++i)
        from[i] = static_cast<T>(i % kOfBlock * kBlocks + i / kOfBlock);
    return hn::TableLookupLanes(v, hn::SetTableIndices(d, from));
#endif
}

/// The way back from DealToBlocks.
template <class D>
HWY_INLINE HWY_ATTR hn::Vec<D> GatherFromBlocks(D d, hn::Vec<D> v) {
#if HWY_TARGET == HWY_SSSE3 || HWY_TARGET == HWY_NEON
    (void)d;
    return v;
#else
    using T = hn::TFromD<D>;
    constexpr std::size_t kLanes = HWY_LANES(T), kBlocks = kVector / 16, kOfBlock = kLanes / kBlocks;
    alignas(64) T from[kLanes];
    for (std::size_t i = 0; i < kLanes; ++i)
        from[i] = static_cast<T>(i % kBlocks * kOfBlock + i / kBlocks);
    return hn::TableLookupLanes(v, hn::SetTableIndices(d, from));
#endif
}

/// Vectors that fill a cache line: a step writes no less, so that what goes around the cache leaves in whole
/// lines.
constexpr std::size_t kLineVectors = kVector < 64 ? 64 / kVector : 1;

/// Makes the vectors of a line by `make(index)`, then stores them one behind the other.
template <class Make, class Put>
HWY_INLINE HWY_ATTR void PutLine(std::uint8_t* out, Put put, Make&& make) {
    VU8 made[kLineVectors];
    for (std::size_t i = 0; i < kLineVectors; ++i)
        made[i] = make(i);
    for (std::size_t i = 0; i < kLineVectors; ++i)
        put(DU8(), made[i], out + i * kVector);
}

#endif  // HWY_TARGET

using Two = Pointers<2>;
using Three = Pointers<3>;

// ---- Dissolves -------------------------------------------------------------------------------------------

struct Of256 {
    using Layout = ByteLayout;
    static constexpr std::size_t kStep = kLineVectors * kVector;
    unsigned weight;

    void Unit(const Two& s, std::uint8_t* out) const { *out = DissolveOf256(*s[0], *s[1], weight); }

#if HWY_TARGET != HWY_SCALAR
    template <class Put>
    HWY_INLINE HWY_ATTR void Step(const Two& s, std::uint8_t* out, Put put) const {
        const DU8 d;
        const DI8 di;
        const VU8 weights =
            hn::BitCast(d, hn::Set(DU16(), static_cast<std::uint16_t>(weight | (256 - weight) << 8)));
        const VI16 centre = hn::Set(DI16(), 128);
        PutLine(out, put, [&](std::size_t i) HWY_ATTR {
            const VU8 a = hn::LoadU(d, s[0] + i * kVector), b = hn::LoadU(d, s[1] + i * kVector);
            // 256 is no byte: the two ends are copies.
            if (weight == 0 || weight >= 256)
                return weight == 0 ? b : a;
            const VI8 ca = Centred(a), cb = Centred(b);
            // The sums lie 32768 too low, and so their high bytes 128.
            const VI16 low = hn::Add(MulAddPairs(weights, hn::InterleaveLower(di, ca, cb)), centre);
            const VI16 high = hn::Add(MulAddPairs(weights, hn::InterleaveUpper(di, ca, cb)), centre);
            return PackToBytes(hn::Add(hn::ShiftRight<8>(low), centre),
                               hn::Add(hn::ShiftRight<8>(high), centre));
        });
    }
#endif
};

/// Both forms with weights of 255: t = w * a + (255 - w) * b + 128, then one of two last steps.
template <bool kTail>
struct Of255 {
    using Layout = ByteLayout;
    static constexpr std::size_t kStep = kLineVectors * kVector;
    unsigned weight;

    void Unit(const Two& s, std::uint8_t* out) const {
        *out = kTail ? DissolveOf255Tail(*s[0], *s[1], weight) : DissolveOf255(*s[0], *s[1], weight);
    }

#if HWY_TARGET != HWY_SCALAR
    template <class Put>
    HWY_INLINE HWY_ATTR void Step(const Two& s, std::uint8_t* out, Put put) const {
        const DU8 d;
        const DI8 di;
        const DU16 d16;
        const VU8 weights =
            hn::BitCast(d, hn::Set(d16, static_cast<std::uint16_t>(weight | (255 - weight) << 8)));
        const auto last = [](VI16 sum) HWY_ATTR {
            const DU16 du;
            if constexpr (kTail) {
                const VU16 t = hn::Xor(hn::BitCast(du, sum), hn::Set(du, 0x8000));
                return hn::BitCast(DI16(), hn::ShiftRight<8>(t));
            } else {
                return Div255RoundCentred(sum);
            }
        };
        PutLine(out, put, [&](std::size_t i) HWY_ATTR {
            const VI8 ca = Centred(hn::LoadU(d, s[0] + i * kVector)),
                      cb = Centred(hn::LoadU(d, s[1] + i * kVector));
            const VI16 low = MulAddPairs(weights, hn::InterleaveLower(di, ca, cb));
            const VI16 high = MulAddPairs(weights, hn::InterleaveUpper(di, ca, cb));
            return PackToBytes(last(low), last(high));
        });
    }
#endif
};

// ---- By alpha --------------------------------------------------------------------------------------------

struct ByOwnAlpha {
    using Layout = PixelLayout;
    static constexpr std::size_t kStep = kVector == 1 ? 1 : kLineVectors * kVector / 4;

    void Unit(const Two& s, std::uint8_t* out) const {
        const std::uint8_t alpha = s[1][3];
        for (int i = 0; i < 4; ++i)
            out[i] = BlendByAlpha(s[0][i], s[1][i], alpha);
    }

#if HWY_TARGET != HWY_SCALAR
    template <class Put>
    HWY_INLINE HWY_ATTR void Step(const Two& s, std::uint8_t* out, Put put) const {
        const DU8 d;
        alignas(16) static constexpr std::uint8_t kByte3[16] = {3,  3,  3,  3,  7,  7,  7,  7,
                                                                11, 11, 11, 11, 15, 15, 15, 15};
        PutLine(out, put, [&](std::size_t i) HWY_ATTR {
            const VU8 a = hn::LoadU(d, s[0] + i * kVector), b = hn::LoadU(d, s[1] + i * kVector);
            return BlendBytes(a, b, WeightsOf(hn::TableLookupBytes(b, InEveryBlock(kByte3))));
        });
    }
#endif
};

/// How a key byte becomes alpha.
struct AsItStands {
    std::uint8_t operator()(std::uint8_t key) const { return key; }
#if HWY_TARGET != HWY_SCALAR
    HWY_INLINE HWY_ATTR VU8 Vector(const std::uint8_t* keys) const {
        return hn::LoadU(DU8(), keys);
    }
#endif
};
template <class Map>
struct Mapped {
    Map map;
    std::uint8_t operator()(std::uint8_t key) const { return map(key); }
#if HWY_TARGET != HWY_SCALAR
    HWY_INLINE HWY_ATTR VU8 Vector(const std::uint8_t* keys) const {
        return MapKeys(map, hn::LoadU(DU8(), keys));
    }
#endif
};
struct Looked {
    const std::uint8_t* table;
    std::uint8_t operator()(std::uint8_t key) const { return table[key]; }
#if HWY_TARGET != HWY_SCALAR
    HWY_INLINE HWY_ATTR VU8 Vector(const std::uint8_t* keys) const {
        alignas(64) std::uint8_t alphas[kVector];
        for (std::size_t i = 0; i < kVector; ++i)
            alphas[i] = table[keys[i]];
        return hn::Load(DU8(), alphas);
    }
#endif
};

template <class KeyMap>
struct ByKeyOfPixel {
    using Layout = KeyedPixelLayout;
    static constexpr std::size_t kStep = kVector;
    KeyMap map;

    void Unit(const Three& s, std::uint8_t* out) const {
        const std::uint8_t alpha = map(*s[2]);
        for (int i = 0; i < 4; ++i)
            out[i] = BlendByAlpha(s[0][i], s[1][i], alpha);
    }

#if HWY_TARGET != HWY_SCALAR
    template <class Put>
    HWY_INLINE HWY_ATTR void Step(const Three& s, std::uint8_t* out, Put put) const {
        const DU8 d;
        const DU32 d32;
        const VU8 alphas = hn::BitCast(d, DealToBlocks(d32, hn::BitCast(d32, map.Vector(s[2]))));
        const Weights words = WeightsOf(alphas);
        const auto blend = [&](std::size_t i, const Weights& weights) HWY_ATTR {
            return BlendBytes(hn::LoadU(d, s[0] + i * kVector), hn::LoadU(d, s[1] + i * kVector), weights);
        };
        const VU8 made[4] = {
            blend(0, WeightsOfPixels<0>(words.lower)), blend(1, WeightsOfPixels<4>(words.lower)),
            blend(2, WeightsOfPixels<0>(words.upper)), blend(3, WeightsOfPixels<4>(words.upper))};
        for (std::size_t i = 0; i < 4; ++i)
            put(d, made[i], out + i * kVector);
    }
#endif
};

template <class KeyMap>
struct ByKeysOfPair {
    using Layout = KeyedPairLayout;
    static constexpr std::size_t kStep = kVector / 2 + (kVector == 1);
    KeyMap map;

    void Unit(const Three& s, std::uint8_t* out) const {
        const std::uint8_t first = map(s[2][0]), second = map(s[2][1]);
        for (int i = 0; i < 4; ++i)
            out[i] = BlendByAlpha(s[0][i], s[1][i], i < 3 ? first : second);
    }

#if HWY_TARGET != HWY_SCALAR
    template <class Put>
    HWY_INLINE HWY_ATTR void Step(const Three& s, std::uint8_t* out, Put put) const {
        const DU8 d;
        const DU64 d64;
        const VU8 alphas = hn::BitCast(d, DealToBlocks(d64, hn::BitCast(d64, map.Vector(s[2]))));
        const Weights words = WeightsOf(alphas);
        const auto blend = [&](std::size_t i, const Weights& weights) HWY_ATTR {
            return BlendBytes(hn::LoadU(d, s[0] + i * kVector), hn::LoadU(d, s[1] + i * kVector), weights);
        };
        const VU8 made[2] = {blend(0, WeightsOfPairs(words.lower)), blend(1, WeightsOfPairs(words.upper))};
        for (std::size_t i = 0; i < 2; ++i)
            put(d, made[i], out + i * kVector);
    }
#endif
};

template <class KeyMap>
struct ByKeyOfByte {
    using Layout = KeyedByteLayout;
    static constexpr std::size_t kStep = kLineVectors * kVector;
    KeyMap map;

    void Unit(const Three& s, std::uint8_t* out) const {
        *out = BlendByAlpha(s[0] != nullptr ? *s[0] : 255U, s[1] != nullptr ? *s[1] : 255U, map(*s[2]));
    }

#if HWY_TARGET != HWY_SCALAR
    template <class Put>
    HWY_INLINE HWY_ATTR void Step(const Three& s, std::uint8_t* out, Put put) const {
        const DU8 d;
        const VU8 full = hn::Set(d, 255);
        PutLine(out, put, [&](std::size_t i) HWY_ATTR {
            const VU8 a = s[0] != nullptr ? hn::LoadU(d, s[0] + i * kVector) : full;
            const VU8 b = s[1] != nullptr ? hn::LoadU(d, s[1] + i * kVector) : full;
            return BlendBytes(a, b, WeightsOf(map.Vector(s[2] + i * kVector)));
        });
    }
#endif
};

// ---- Difference ------------------------------------------------------------------------------------------

struct Difference {
    using Layout = DifferenceLayout;
    static constexpr std::size_t kStep = kLineVectors * kVector;

    void Unit(const Two& s, std::uint8_t* out) const { *out = SumOfDifferences(s[0], s[1]); }

#if HWY_TARGET != HWY_SCALAR
    template <class Put>
    HWY_INLINE HWY_ATTR void Step(const Two& s, std::uint8_t* out, Put put) const {
        const DU8 d;
        const DU32 d32;
        const VU8 colour = hn::BitCast(d, hn::Set(d32, 0x00FFFFFFU));
        const VI8 one = hn::Set(DI8(), 1);
        const VI16 one16 = hn::Set(DI16(), 1);
        PutLine(out, put, [&](std::size_t i) HWY_ATTR {
            VI32 sum[4];
            for (std::size_t k = 0; k < 4; ++k) {
                const std::size_t at = (4 * i + k) * kVector;
                const VU8 a = hn::LoadU(d, s[0] + at), b = hn::LoadU(d, s[1] + at);
                const VU8 apart = hn::And(hn::Or(hn::SaturatedSub(a, b), hn::SaturatedSub(b, a)), colour);
                sum[k] = MulAddPairs(MulAddPairs(apart, one), one16);
            }
            const VU8 packed = PackToBytes(PackToShorts(sum[0], sum[1]), PackToShorts(sum[2], sum[3]));
            // Packing dealt the groups of four pixels out to the blocks; they go back into order.
            return hn::BitCast(d, GatherFromBlocks(d32, hn::BitCast(d32, packed)));
        });
    }
#endif
};

// ---- Kernels ---------------------------------------------------------------------------------------------

void RunDissolveOf256(const TwoSourceJob& job, const BlendSettings& set) {
    Walk(Of256{set.weight}, job);
}
void RunDissolveOf255(const TwoSourceJob& job, const BlendSettings& set) {
    Walk(Of255<false>{set.weight}, job);
}
void RunDissolveOf255Tail(const TwoSourceJob& job, const BlendSettings& set) {
    Walk(Of255<true>{set.weight}, job);
}
void RunByOwnAlpha(const TwoSourceJob& job, const BlendSettings&) {
    Walk(ByOwnAlpha{}, job);
}
void RunDifference(const TwoSourceJob& job, const BlendSettings&) {
    Walk(Difference{}, job);
}

void RunByPlane(const KeyedJob& job, const BlendSettings&) {
    Walk(ByKeyOfPixel<AsItStands>{{}}, job);
}
void RunPixels16(const KeyedJob& job, const BlendSettings& set) {
    Walk(ByKeyOfPixel<Mapped<KeyMap16>>{{set.map16}}, job);
}
void RunPixelsTable(const KeyedJob& job, const BlendSettings& set) {
    Walk(ByKeyOfPixel<Looked>{{set.table}}, job);
}
void RunPairs32(const KeyedJob& job, const BlendSettings& set) {
    Walk(ByKeysOfPair<Mapped<KeyMap32>>{{set.map32}}, job);
}
void RunPairsTable(const KeyedJob& job, const BlendSettings& set) {
    Walk(ByKeysOfPair<Looked>{{set.table}}, job);
}
void RunBytes32(const KeyedJob& job, const BlendSettings& set) {
    Walk(ByKeyOfByte<Mapped<KeyMap32>>{{set.map32}}, job);
}
void RunBytesTable(const KeyedJob& job, const BlendSettings& set) {
    Walk(ByKeyOfByte<Looked>{{set.table}}, job);
}

}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace Zan {

constexpr TwoSourceKernel kDissolveOf256 = TESSELU_KERNEL(RunDissolveOf256);
constexpr TwoSourceKernel kDissolveOf255 = TESSELU_KERNEL(RunDissolveOf255);
constexpr TwoSourceKernel kDissolveOf255Tail = TESSELU_KERNEL(RunDissolveOf255Tail);
constexpr TwoSourceKernel kBlendByOwnAlpha = TESSELU_KERNEL(RunByOwnAlpha);
constexpr TwoSourceKernel kSumOfDifferences = TESSELU_KERNEL(RunDifference);
constexpr KeyedKernel kBlendByPlane = TESSELU_KERNEL(RunByPlane);
constexpr KeyedKernel kWipePixels16 = TESSELU_KERNEL(RunPixels16);
constexpr KeyedKernel kWipePixelsTable = TESSELU_KERNEL(RunPixelsTable);
constexpr KeyedKernel kWipePairs32 = TESSELU_KERNEL(RunPairs32);
constexpr KeyedKernel kWipePairsTable = TESSELU_KERNEL(RunPairsTable);
constexpr KeyedKernel kWipeBytes32 = TESSELU_KERNEL(RunBytes32);
constexpr KeyedKernel kWipeBytesTable = TESSELU_KERNEL(RunBytesTable);

}  // namespace Zan

#endif  // HWY_ONCE
