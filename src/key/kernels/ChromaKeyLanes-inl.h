// Keys of vectors of words, in every arithmetic of the chroma keyer.

#if defined(TESSELU_SRC_KEY_KERNELS_CHROMAKEYLANES_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef TESSELU_SRC_KEY_KERNELS_CHROMAKEYLANES_INL_H
#undef TESSELU_SRC_KEY_KERNELS_CHROMAKEYLANES_INL_H
#else
#define TESSELU_SRC_KEY_KERNELS_CHROMAKEYLANES_INL_H
#endif

#include "key/kernels/ChromaKeyFormulas.h"
#include "simd/Extra-inl.h"
#include "simd/Walk-inl.h"
#include "simd/Whole-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Zan {
namespace HWY_NAMESPACE {
namespace {

using namespace simd::HWY_NAMESPACE;

#if HWY_TARGET != HWY_SCALAR

// ---- Vectors of words -------------------------------------------------------------------------------------
//
// Words are taken apart into 16-bit lanes: Cb and Cr ("chroma"), and what lies between them ("luma": Y and
// alpha, or Y0 and Y1). The key of a word stands in both of its lanes.

using DF32 = hn::ScalableTag<float>;
using VF32 = hn::Vec<DF32>;

HWY_INLINE HWY_ATTR VI16 ChromaOf(VU8 words) {
    return hn::And(hn::BitCast(DI16(), words), hn::Set(DI16(), 0xFF));
}
HWY_INLINE HWY_ATTR VI16 LumaOf(VU8 words) {
    return hn::BitCast(DI16(), hn::ShiftRight<8>(hn::BitCast(DU16(), words)));
}
HWY_INLINE HWY_ATTR VU8 WordsOf(VI16 chroma, VI16 luma) {
    return hn::BitCast(DU8(), hn::Or(chroma, hn::ShiftLeft<8>(luma)));
}

/// Lanes of the two samples of a word in turn.
HWY_INLINE HWY_ATTR VI16 InTurn(int first, int second) {
    return hn::BitCast(DI16(), hn::Set(DU32(), static_cast<std::uint32_t>(second) << 16 |
                                                   (static_cast<std::uint32_t>(first) & 0xFFFFU)));
}

/// Lanes of two vectors that PackToShorts has brought together, each twice.
struct Doubled {
    HWY_INLINE HWY_ATTR explicit Doubled(VI16 packed)
        : of{hn::InterleaveLower(DI16(), packed, packed), hn::InterleaveUpper(DI16(), packed, packed)} {}
    VI16 of[2];
};

/// MixBy255 with weights and 255 less the weights.
HWY_INLINE HWY_ATTR VI16 MixLanesBy255(VI16 foreground, VI16 background, VI16 weight, VI16 rest) {
    const DU16 d;
    const VI16 t = hn::Add(hn::Mul(foreground, weight), hn::Mul(background, rest));
    // (u + (u >> 8)) >> 8 is (u * 257) >> 16.
    return hn::BitCast(DI16(), hn::MulHigh(hn::Add(hn::BitCast(d, t), hn::Set(d, 128)), hn::Set(d, 257)));
}

/// One byte a word or two, of four vectors of keys that PackToBytes has brought together.
template <std::size_t PixelsOfWord, class Put>
HWY_INLINE HWY_ATTR void PutKeys(VU8 first, VU8 second, std::uint8_t* to, Put put) {
    const DU8 d;
    if constexpr (PixelsOfWord == 2) {
        put(d, hn::BitCast(d, HalvesApart(hn::BitCast(DU64(), first))), to);
        put(d, hn::BitCast(d, HalvesApart(hn::BitCast(DU64(), second))), to + kVectorBytes);
    } else {
        const VU8 bytes = PackToBytes(ChromaOf(first), ChromaOf(second));
        put(d, hn::BitCast(d, GatherFromBlocks(DU32(), hn::BitCast(DU32(), bytes))), to);
    }
}

// ---- Keys of two vectors ----------------------------------------------------------------------------------
//
// In three steps, since much of a picture needs only the first or the first two:
//
//     Start(chroma, k)    k of the words; false where it is 0, which leaves chroma alone
//     Weigh(k, m)         the keys
//     Clean(k, chroma)    chroma without the backing's

/// SingleKey.
class SingleKeyLanes {
public:
    struct K {
        VF32 b, r, k;
    };
    /// Less m.
    struct M {
        VI16 minus;
    };

    HWY_ATTR explicit SingleKeyLanes(const ChromaKeySettings& s) : SingleKeyLanes(s, SingleKeyConstants(s)) {}

    HWY_INLINE HWY_ATTR bool Start(const VI16 (&chroma)[2], K (&k)[2]) const {
        for (std::size_t i = 0; i < 2; ++i) {
            const VI16 centred = hn::Sub(chroma[i], hn::Set(DI16(), 128));
            const VF32 x = Along(centred, k[i]);
            Across(centred, x, k[i]);
            if (hasLeast) {
                if (mayBeNearLeast && IsNearLeast(x)) [[unlikely]] {
                    k[i].k = SaturatedInDoubles(centred, k[i].k);
                } else {
                    k[i].k = hn::IfThenElseZero(hn::Ge(x, least), k[i].k);
                }
            }
        }
        return HasKey(k);
    }

    HWY_INLINE HWY_ATTR void Weigh(const K (&k)[2], M (&m)[2]) const {
        VI32 keys[2];
        for (std::size_t i = 0; i < 2; ++i) {
            keys[i] = WholePart(hn::Add(hn::Mul(k[i].k, minusGain), minusOffset));
        }
        const Doubled doubled(hn::Min(PackToShorts(keys[0], keys[1]), hn::Zero(DI16())));
        m[0].minus = doubled.of[0];
        m[1].minus = doubled.of[1];
    }
    static HWY_INLINE HWY_ATTR VI16 AnyOf(const M (&m)[2]) { return hn::Or(m[0].minus, m[1].minus); }

    HWY_INLINE HWY_ATTR void Clean(const K (&k)[2], VI16 (&chroma)[2]) const {
        const VF32 half = hn::Set(DF32(), 128.5F);
        VI16 cleaned[2];
        for (std::size_t i = 0; i < 2; ++i) {
            const VF32 cb = hn::Add(hn::Sub(k[i].b, hn::Mul(spillCb, k[i].k)), half);
            const VF32 cr = hn::Add(hn::Sub(k[i].r, hn::Mul(spillCr, k[i].k)), half);
            cleaned[i] = PackToShorts(WholePart(cb), WholePart(cr));
        }
        Interleave(PackToBytes(cleaned[0], cleaned[1]), chroma);
    }

    static HWY_INLINE HWY_ATTR VI16 Mix(VI16 foreground, VI16 background, M m) {
        return hn::Add(background, hn::MulFixedPoint15(hn::Sub(background, foreground), m.minus));
    }
    static HWY_INLINE HWY_ATTR VI16 Full(M m) { return hn::MulFixedPoint15(hn::Set(DI16(), -255), m.minus); }
    static HWY_INLINE HWY_ATTR VI16 Nearest(VI16 alpha, M m) {
        return hn::MulFixedPoint15(hn::Neg(alpha), m.minus);
    }
    static HWY_INLINE HWY_ATTR VI16 TruncatedKey(VI16 alpha, M m) {
        return hn::MulHigh(hn::Neg(hn::Add(alpha, alpha)), m.minus);
    }

protected:
    /// Takes chroma apart; gives what of it lies along the hue.
    HWY_INLINE HWY_ATTR VF32 Along(VI16 centred, K& k) const {
        k.b = hn::ConvertTo(DF32(), MulAddPairs(centred, InTurn(1, 0)));
        k.r = hn::ConvertTo(DF32(), hn::ShiftRight<16>(hn::BitCast(DI32(), centred)));
        return hn::Add(hn::Mul(cosine, k.b), hn::Mul(sine, k.r));
    }

    /// k, whatever the saturation.
    HWY_INLINE HWY_ATTR void Across(VI16 centred, VF32 x, K& k) const {
        const DF32 d;
        const VF32 high = hn::ConvertTo(d, MulAddPairs(centred, acrossHigh));
        const VF32 low = hn::ConvertTo(d, MulAddPairs(centred, acrossLow));
        const VF32 z = hn::Add(high, hn::Mul(low, hn::Set(d, 1.0F / SingleKeyConstants::kLowUnit)));
        const VF32 inside = hn::Sub(x, hn::Mul(hn::Abs(z), slope));
        k.k = hn::Min(hn::Max(inside, hn::Zero(d)), hn::Set(d, 1.0F));
    }

    static HWY_INLINE HWY_ATTR bool HasKey(const K (&k)[2]) {
        // No k is negative.
        const VI32 bits = hn::BitCast(DI32(), hn::Or(k[0].k, k[1].k));
        return !hn::AllTrue(DI32(), hn::Eq(bits, hn::Zero(DI32())));
    }

    /// Whether single precision cannot tell if x is below the least saturation.
    HWY_INLINE HWY_ATTR bool IsNearLeast(VF32 x) const {
        return !hn::AllFalse(DF32(), hn::Le(hn::Abs(hn::Sub(x, least)), hn::Set(DF32(), kErrorOfK)));
    }

    HWY_NOINLINE HWY_ATTR VF32 SaturatedInDoubles(VI16 centred, VF32 k) const {
        alignas(64) std::int16_t chroma[HWY_LANES(std::int16_t)];
        alignas(64) float kept[HWY_LANES(float)];
        hn::Store(centred, DI16(), chroma);
        hn::Store(k, DF32(), kept);
        for (std::size_t i = 0; i < HWY_LANES(float); ++i) {
            const double x = AlongHue(settings, static_cast<unsigned>(chroma[2 * i] + 128),
                                      static_cast<unsigned>(chroma[2 * i + 1] + 128));
            kept[i] = x < settings.leastSaturation ? 0 : kept[i];
        }
        return hn::Load(DF32(), kept);
    }

    /// Cb and Cr of two vectors, four of each in turn in every block, back into lanes.
    static HWY_INLINE HWY_ATTR void Interleave(VU8 bytes, VI16 (&chroma)[2]) {
        constexpr std::uint8_t z = 0x80;
        alignas(16) static constexpr std::uint8_t kFrom[2][16] = {
            {0, z, 4, z, 1, z, 5, z, 2, z, 6, z, 3, z, 7, z},
            {8, z, 12, z, 9, z, 13, z, 10, z, 14, z, 11, z, 15, z}};
        for (std::size_t i = 0; i < 2; ++i) {
            chroma[i] = hn::BitCast(DI16(), hn::TableLookupBytesOr0(bytes, InEveryBlock(kFrom[i])));
        }
    }

    /// What single precision makes of k, and of chroma along the hue, is less than this off: 4.3 units of
    /// 2^-24 along the hue, 7.5 across it, 1 for the difference.
    static constexpr float kErrorOfK = 0x1p-20F;

    const ChromaKeySettings& settings;
    VF32 cosine, sine, slope, least, spillCb, spillCr, minusGain, minusOffset;
    VI16 acrossHigh, acrossLow;
    bool hasLeast, mayBeNearLeast;

private:
    HWY_ATTR SingleKeyLanes(const ChromaKeySettings& s, const SingleKeyConstants& c) : settings(s) {
        const DF32 d;
        cosine = hn::Set(d, c.cosine);
        sine = hn::Set(d, c.sine);
        slope = hn::Set(d, c.slope);
        least = hn::Set(d, static_cast<float>(s.leastSaturation));
        spillCb = hn::Set(d, c.spillCb);
        spillCr = hn::Set(d, c.spillCr);
        minusGain = hn::Set(d, -c.gain);
        minusOffset = hn::Set(d, -c.offset);
        acrossHigh = InTurn(-c.sineHigh, c.cosineHigh);
        acrossLow = InTurn(-c.sineLow, c.cosineLow);
        hasLeast = s.leastSaturation > 0;
        mayBeNearLeast = hasLeast && HasChromaNearLeast(s, static_cast<double>(kErrorOfK));
    }
};

/// FixedKey.
class FixedKeyLanes {
public:
    struct K {
        VI16 k;  ///< of both vectors, as PackToShorts brings them together; the second is not used
    };
    struct M {
        VI16 weight, rest;
    };

    HWY_ATTR explicit FixedKeyLanes(const ChromaKeySettings& settings) {
        const auto& s = settings.fixed;
        const auto word = [](int value)
                              HWY_ATTR { return hn::Set(DI16(), static_cast<std::int16_t>(value)); };
        along = InTurn(s.cosine, s.sine);
        across = InTurn(-s.sine, s.cosine);
        slope = hn::Set(DU16(), static_cast<std::uint16_t>(s.slope << 8));
        tooLittle = word(s.leastSaturation - 1);
        before = word(settings.invertBefore ? 255 : 0);
        after = word(settings.invertAfter ? 255 : 0);
        offset = word(s.offset);
        gain = hn::Set(DU16(), static_cast<std::uint16_t>(s.gain));
        spill = InTurn(s.spillCb, s.spillCr);
    }

    HWY_INLINE HWY_ATTR bool Start(const VI16 (&chroma)[2], K (&k)[2]) const {
        const DI16 d;
        const DU16 du;
        const VI16 none = hn::Zero(d), half = hn::Set(d, 128);
        const VI16 centred[2] = {hn::Sub(chroma[0], half), hn::Sub(chroma[1], half)};
        // 128 * (91 + 91) at most: sums of products fit 16 bits.
        const VI16 x = PackToShorts(MulAddPairs(centred[0], along), MulAddPairs(centred[1], along));
        const VI16 z =
            hn::Abs(PackToShorts(MulAddPairs(centred[0], across), MulAddPairs(centred[1], across)));
        const VI16 w = hn::BitCast(d, hn::MulHigh(hn::BitCast(du, hn::Add(z, z)), slope));
        const VI16 inside = hn::Max(hn::SaturatedSub(x, w), none);
        const VI16 rounded = hn::ShiftRight<6>(hn::Add(inside, hn::Set(d, 32)));
        k[0].k = hn::IfThenElseZero(hn::Gt(x, tooLittle), hn::Min(rounded, hn::Set(d, 255)));
        return !hn::AllTrue(d, hn::Eq(k[0].k, none));
    }

    HWY_INLINE HWY_ATTR void Weigh(const K (&k)[2], M (&m)[2]) const {
        const DI16 d;
        const VI16 most = hn::Set(d, 255);
        const VI16 p = hn::Max(hn::Add(hn::Xor(k[0].k, before), offset), hn::Zero(d));
        const VI16 gained = hn::Min(ShiftedProduct(hn::BitCast(DU16(), hn::ShiftLeft<7>(p))), most);
        const Doubled weights(hn::Xor(gained, after));
        for (std::size_t i = 0; i < 2; ++i) {
            m[i] = {weights.of[i], hn::Xor(weights.of[i], most)};
        }
    }
    static HWY_INLINE HWY_ATTR VI16 AnyOf(const M (&m)[2]) { return hn::Or(m[0].weight, m[1].weight); }

    HWY_INLINE HWY_ATTR void Clean(const K (&k)[2], VI16 (&chroma)[2]) const {
        const DI16 d;
        const Doubled keys(hn::ShiftLeft<7>(k[0].k));
        for (std::size_t i = 0; i < 2; ++i) {
            // (k * spill) >> 7
            const VI16 low =
                hn::BitCast(d, hn::ShiftRight<14>(hn::BitCast(DU16(), hn::Mul(keys.of[i], spill))));
            const VI16 taken = hn::Or(hn::ShiftLeft<2>(hn::MulHigh(keys.of[i], spill)), low);
            chroma[i] = hn::Min(hn::Max(hn::SaturatedSub(chroma[i], taken), hn::Zero(d)), hn::Set(d, 255));
        }
    }

    static HWY_INLINE HWY_ATTR VI16 Mix(VI16 foreground, VI16 background, M m) {
        return MixLanesBy255(foreground, background, m.weight, m.rest);
    }
    static HWY_INLINE HWY_ATTR VI16 Full(M m) { return m.weight; }

private:
    /// (p * gain) >> 7, of p times 128, where it is up to 255; else 256 or more.
    HWY_INLINE HWY_ATTR VI16 ShiftedProduct(VU16 p) const {
        const DU16 d;
        const VU16 high = hn::Min(hn::MulHigh(p, gain), hn::Set(d, 64));
        return hn::BitCast(DI16(), hn::Or(hn::ShiftLeft<2>(high), hn::ShiftRight<14>(hn::Mul(p, gain))));
    }

    VI16 along, across, tooLittle, before, after, offset, spill;
    VU16 slope, gain;
};

/// DoubleKey by single precision with a bound on its error: what comes out alike at both ends of it is what
/// doubles give. Bits of `doubt` are set where it does not: there `ExactWords` decides.
class DoubleKeyLanes : public SingleKeyLanes {
public:
    /// Less m, between two whole numbers.
    struct M {
        VI16 least, most;
    };

    HWY_ATTR explicit DoubleKeyLanes(const ChromaKeySettings& s) : SingleKeyLanes(s) {
        const DF32 d;
        const SingleKeyConstants c(s);
        constexpr double kUnit = 0x1p-24, kRounding = 4 * kUnit;  // of a constant, a product, a sum
        const double ofK = static_cast<double>(kErrorOfK) + kRounding;
        // What doubles lose by rounding is less than what is added by far.
        const double ofM = std::abs(c.gain) * ofK +
                           (std::abs(c.offset) + SingleKeyConstants::kUnitOfM) * kRounding + 0x1p-10;
        minusLeast = hn::Set(d, static_cast<float>(0.5 - c.offset - ofM - 1));
        minusMost = hn::Set(d, static_cast<float>(0.5 - c.offset + ofM));
        const auto ofChroma = [&](float spill) { return std::abs(spill) * ofK + 1024 * kUnit; };
        const double cb = ofChroma(c.spillCb), cr = ofChroma(c.spillCr);
        leastCb = hn::Set(d, static_cast<float>(128.5 - cb));
        mostCb = hn::Set(d, static_cast<float>(128.5 + cb));
        leastCr = hn::Set(d, static_cast<float>(128.5 - cr));
        mostCr = hn::Set(d, static_cast<float>(128.5 + cr));
    }

    HWY_INLINE HWY_ATTR bool Start(const VI16 (&chroma)[2], K (&k)[2], VI16 (&doubt)[2]) const {
        bool isInDoubt = false;
        for (std::size_t i = 0; i < 2; ++i) {
            const VI16 centred = hn::Sub(chroma[i], hn::Set(DI16(), 128));
            const VF32 x = Along(centred, k[i]);
            Across(centred, x, k[i]);
            doubt[i] = hn::Zero(DI16());
            if (hasLeast) {
                if (mayBeNearLeast && IsNearLeast(x)) [[unlikely]] {
                    doubt[i] = hn::Set(DI16(), -1);
                    isInDoubt = true;
                }
                k[i].k = hn::IfThenElseZero(hn::Ge(x, least), k[i].k);
            }
        }
        return HasKey(k) || isInDoubt;
    }

    HWY_INLINE HWY_ATTR void Weigh(const K (&k)[2], M (&m)[2]) const {
        VI32 lower[2], upper[2];
        for (std::size_t i = 0; i < 2; ++i) {
            const VF32 gained = hn::Mul(k[i].k, minusGain);
            lower[i] = WholePart(hn::Add(gained, minusLeast));
            upper[i] = WholePart(hn::Add(gained, minusMost));
        }
        const VI16 none = hn::Zero(DI16());
        const Doubled least(hn::Min(PackToShorts(lower[0], lower[1]), none));
        const Doubled most(hn::Min(PackToShorts(upper[0], upper[1]), none));
        for (std::size_t i = 0; i < 2; ++i) {
            m[i] = {least.of[i], most.of[i]};
        }
    }
    /// The greater is 0 where the lesser is.
    static HWY_INLINE HWY_ATTR VI16 AnyOf(const M (&m)[2]) { return hn::Or(m[0].least, m[1].least); }

    HWY_INLINE HWY_ATTR void Clean(const K (&k)[2], VI16 (&chroma)[2], VI16 (&doubt)[2]) const {
        VI16 lower[2], upper[2];
        for (std::size_t i = 0; i < 2; ++i) {
            const VF32 cb = hn::Sub(k[i].b, hn::Mul(spillCb, k[i].k));
            const VF32 cr = hn::Sub(k[i].r, hn::Mul(spillCr, k[i].k));
            lower[i] = PackToShorts(WholePart(hn::Add(cb, leastCb)), WholePart(hn::Add(cr, leastCr)));
            upper[i] = PackToShorts(WholePart(hn::Add(cb, mostCb)), WholePart(hn::Add(cr, mostCr)));
        }
        VI16 both[2], other[2];
        Interleave(PackToBytes(lower[0], lower[1]), both);
        Interleave(PackToBytes(upper[0], upper[1]), other);
        for (std::size_t i = 0; i < 2; ++i) {
            chroma[i] = both[i];
            doubt[i] = hn::Or(doubt[i], hn::Xor(both[i], other[i]));
        }
    }

    static HWY_INLINE HWY_ATTR VI16 Mix(VI16 foreground, VI16 background, M m, VI16& doubt) {
        const VI16 difference = hn::Sub(background, foreground);
        const VI16 lower = hn::MulFixedPoint15(difference, m.least);
        doubt = hn::Or(doubt, hn::Xor(lower, hn::MulFixedPoint15(difference, m.most)));
        return hn::Add(background, lower);
    }

private:
    VF32 minusLeast, minusMost, leastCb, mostCb, leastCr, mostCr;
};

/// A vector of words, and the keys in both 16-bit lanes of each.
struct MadeWords {
    alignas(64) std::int32_t words[kVectorBytes / 4];
    alignas(64) std::int32_t keys[kVectorBytes / 4];
};

/// DoubleKey on a vector of words. `alpha` and `background` may be null.
template <std::size_t PixelsOfWord>
HWY_NOINLINE HWY_ATTR void ExactWords(const ChromaKeySettings& s, const std::uint8_t* words,
                                      const std::uint8_t* background, const std::uint8_t* alpha,
                                      MadeWords& made) {
    using D = hn::ScalableTag<double>;
    using D32 = hn::Rebind<std::int32_t, D>;
    using V = hn::Vec<D>;
    using V32 = hn::Vec<D32>;
    constexpr std::size_t kLanes = HWY_LANES(double);
    const D d;
    const D32 d32;
    const auto set = [&](double value) HWY_ATTR { return hn::Set(d, value); };
    const auto sample = [&](const std::uint8_t* from, std::size_t i) HWY_ATTR {
        alignas(64) std::int32_t lanes[kLanes];
        for (std::size_t j = 0; j < kLanes; ++j) {
            lanes[j] = from[4 * j + i];
        }
        return hn::Load(d32, lanes);
    };
    const auto toOne = [&](V v) HWY_ATTR { return hn::Min(hn::Max(v, hn::Zero(d)), set(1)); };
    const auto inverted = [&](V v) HWY_ATTR { return hn::Sub(set(1), v); };
    const auto mixBy255 = [&](V32 f, V32 b, V32 weight) HWY_ATTR {
        const V32 rest = hn::Sub(hn::Set(d32, 255), weight);
        const V32 t = hn::Add(hn::Add(hn::Mul(f, weight), hn::Mul(b, rest)), hn::Set(d32, 128));
        return hn::ShiftRight<8>(hn::Add(t, hn::ShiftRight<8>(t)));
    };
    for (std::size_t at = 0; at < kVectorBytes / 4; at += kLanes) {
        const auto chroma = [&](std::size_t i) HWY_ATTR {
            return hn::Mul(hn::Sub(hn::PromoteTo(d, sample(words + 4 * at, i)), set(128)), set(1.0 / 128));
        };
        const V b = chroma(0), r = chroma(2);
        const V x = hn::Add(hn::Mul(set(s.cosine), b), hn::Mul(set(s.sine), r));
        const V z = hn::Add(hn::Mul(set(-s.sine), b), hn::Mul(set(s.cosine), r));
        const V inside = toOne(hn::Sub(x, hn::Mul(hn::Abs(z), set(s.slope))));
        const V k = hn::IfThenElseZero(hn::Ge(x, set(s.leastSaturation)), inside);
        const V p = s.invertBefore ? inverted(k) : k;
        const V gained = toOne(hn::Mul(hn::Add(p, set(s.offset)), set(s.gain)));
        const V m = s.invertAfter ? inverted(gained) : gained;

        V32 keys[2];
        for (std::size_t i = 0; i < 2; ++i) {
            V scale = set(255);
            if (alpha != nullptr) {
                alignas(64) std::int32_t lanes[kLanes];
                for (std::size_t j = 0; j < kLanes; ++j) {
                    lanes[j] = alpha[2 * (at + j) + i];
                }
                scale = hn::PromoteTo(d, hn::Load(d32, lanes));
            }
            const V rounding = set(alpha != nullptr && s.showsKey ? 0 : 0.5);
            keys[i] = hn::DemoteTo(d32, hn::Add(hn::Mul(m, scale), rounding));
        }

        V32 out[4];
        const auto cleaned = [&](V c, double spill) HWY_ATTR {
            const V v = hn::Add(hn::Mul(hn::Sub(c, hn::Mul(set(spill), k)), set(128)), set(128.5));
            return hn::DemoteTo(d32, hn::Min(hn::Max(v, hn::Zero(d)), set(255)));
        };
        if (s.showsKey) {
            out[0] = out[2] = hn::Set(d32, 128);
            out[1] = keys[0];
            out[3] = PixelsOfWord == 2 ? keys[1] : sample(words + 4 * at, 3);
        } else {
            out[0] = cleaned(b, s.spillCb);
            out[1] = sample(words + 4 * at, 1);
            out[2] = cleaned(r, s.spillCr);
            out[3] = sample(words + 4 * at, 3);
            for (std::size_t i = 0; i < 4 && background != nullptr; ++i) {
                const V32 behind = sample(background + 4 * at, i);
                if (PixelsOfWord == 1 && i == 3) {
                    out[i] = hn::Set(d32, 255);
                } else if (alpha != nullptr) {
                    out[i] = mixBy255(out[i], behind, keys[i / 3]);
                } else {
                    const V rest = hn::Mul(hn::PromoteTo(d, behind), inverted(m));
                    out[i] = hn::DemoteTo(
                        d32, hn::Add(hn::Add(rest, set(0.5)), hn::Mul(hn::PromoteTo(d, out[i]), m)));
                }
            }
        }
        const V32 low = hn::Or(out[0], hn::ShiftLeft<8>(out[1]));
        const V32 high = hn::Or(hn::ShiftLeft<16>(out[2]), hn::ShiftLeft<24>(out[3]));
        hn::StoreU(hn::Or(low, high), d32, made.words + at);
        hn::StoreU(hn::Or(keys[0], hn::ShiftLeft<16>(keys[1])), d32, made.keys + at);
    }
}

#endif  // HWY_TARGET

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#endif  // include guard
