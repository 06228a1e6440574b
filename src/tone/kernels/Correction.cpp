// The whole chain of a colour correction, one pair of pixels at a time.

#include "tone/kernels/Correction.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <type_traits>

#include "tone/kernels/CorrectionFormulas.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "tone/kernels/Correction.cpp"
#include "simd/Foreach.h"
// After it: these are compiled once per target.
#include "simd/ByteTable-inl.h"
#include "simd/Extra-inl.h"
#include "simd/Walk-inl.h"
#include "simd/Whole-inl.h"
#include "tone/kernels/ColourLevels-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Zan {
namespace HWY_NAMESPACE {
namespace {

using namespace simd::HWY_NAMESPACE;
using simd::PlaneUse;

/// What all forms have in common: the planes and the formula.
struct CorrectingPairs {
    using Place = simd::Place<1, 1>;
    static constexpr PlaneUse kSources[] = {{.index = 0, .bytesPer16 = 32, .columns = 2}};
    static constexpr PlaneUse kDestinations[] = {{.index = 0, .bytesPer16 = 32, .columns = 2}};
    static constexpr std::size_t kUnit = 2;

    explicit CorrectingPairs(const CorrectionSettings& settings) : set(settings) {}

    void Unit(const Place& at, std::size_t x) const {
        PixelPair pair;
        std::memcpy(&pair, at.in[0][0] + 2 * x, sizeof pair);
        CorrectPair(set, pair);
        std::memcpy(at.out[0][0] + 2 * x, &pair, sizeof pair);
    }

    CorrectionSettings set;
};

#if HWY_TARGET == HWY_SCALAR

void RunCorrect(const simd::Job<1, 1>& job, const CorrectionSettings& set) {
    Walk(CorrectingPairs(set), job);
}
void RunCorrectColours(const simd::Job<1, 1>& job, const CorrectionSettings& set) {
    Walk(CorrectingPairs(set), job);
}

#else

// ---- Samples ------------------------------------------------------------------------------------------

// Chroma of a vector of pairs is in 16-bit lanes, Cb and Cr in turn, signed around 0.

HWY_INLINE HWY_ATTR VI16 ChromaOf(VU8 v) {
    const DI16 d;
    return hn::Sub(hn::And(hn::BitCast(d, v), hn::Set(d, 0xFF)), hn::Set(d, 128));
}

/// Cb and Cr change places.
HWY_INLINE HWY_ATTR VI16 Swapped(VI16 chroma) {
    const DI16 d;
#if HWY_TARGET == HWY_AVX3
    return hn::BitCast(d, hn::RotateRight<16>(hn::BitCast(DU32(), chroma)));
#else
    alignas(16) static constexpr std::uint8_t kFrom[16] = {2,  3,  0, 1, 6,  7,  4,  5,
                                                           10, 11, 8, 9, 14, 15, 12, 13};
    return hn::TableLookupBytes(chroma, hn::BitCast(d, InEveryBlock(kFrom)));
#endif
}

/// One value for Cb, one for Cr.
HWY_INLINE HWY_ATTR VI16 Alternating(int cb, int cr) {
    const auto word = static_cast<std::uint32_t>(cb & 0xFFFF) | static_cast<std::uint32_t>(cr & 0xFFFF) << 16;
    return hn::BitCast(DI16(), hn::Set(DU32(), word));
}

/// Bytes of chroma from the even places, of luma from the odd ones.
HWY_INLINE HWY_ATTR VU8 MergeBytes(VU8 chroma, VU8 luma) {
    const DU16 d;
#if HWY_TARGET == HWY_AVX3
    return VU8{_mm512_mask_blend_epi8(0xAAAAAAAAAAAAAAAAU, chroma.raw, luma.raw)};
#else
    return hn::BitCast(DU8(), hn::Or(hn::And(hn::BitCast(d, chroma), hn::Set(d, 0xFF)),
                                     hn::And(hn::BitCast(d, luma), hn::Set(d, 0xFF00))));
#endif
}

/// Hue and saturation as factors of rounding products, which give the same as the tables.
class ChromaFactors {
public:
    explicit ChromaFactors(const CorrectionSettings& set) {
        if (set.rotation != nullptr) {
            cosine = set.rotation->cosineFactor;
            sine = set.rotation->sineFactor;
        }
        if (set.gain != nullptr) {
            gain = set.gain->factor;
            shift = set.gain->shift;
        }
    }

    HWY_INLINE HWY_ATTR VI16 operator()(VI16 chroma) const {
        const DI16 d;
        const VI16 low = hn::Set(d, -127), high = hn::Set(d, 127);
        const VI16 turned = hn::Add(hn::MulFixedPoint15(chroma, hn::Set(d, cosine)),
                                    hn::MulFixedPoint15(Swapped(chroma), Alternating(sine, -sine)));
        const VI16 limited = hn::Min(hn::Max(turned, low), high);
        const VI16 amplified = hn::MulFixedPoint15(hn::ShiftLeftSame(limited, shift), hn::Set(d, gain));
        return hn::Min(hn::Max(amplified, low), high);
    }

private:
    // In 1/32768; 32767 leaves chroma as it is.
    std::int16_t cosine = 32767, sine = 0, gain = 32767;
    int shift = 0;
};

/// Limits of the bytes of pairs.
class PairLimits {
public:
    explicit PairLimits(const CorrectionSettings& set)
        : low(Bytes(set.chromaLimits.low, set.lumaLimits.low)),
          high(Bytes(set.chromaLimits.high, set.lumaLimits.high)) {}

    HWY_INLINE HWY_ATTR VU8 operator()(VU8 v) const {
        const auto bytes = [](std::uint16_t pair)
                               HWY_ATTR { return hn::BitCast(DU8(), hn::Set(DU16(), pair)); };
        return hn::Min(hn::Max(v, bytes(low)), bytes(high));
    }

private:
    static constexpr std::uint16_t Bytes(std::uint8_t even, std::uint8_t odd) {
        return static_cast<std::uint16_t>(even | odd << 8);
    }

    std::uint16_t low, high;
};

// ---- Luma and chroma ----------------------------------------------------------------------------------

struct NoTable {
    static constexpr bool kStaysInCache = false;
    explicit NoTable(const std::uint8_t*) {}
};

template <class Table, bool kHasLuma, bool kHasChroma>
struct Correcting : CorrectingPairs {
    static constexpr bool kStaysInCache = Table::kStaysInCache;
    static constexpr std::size_t kStep = kLineVectors * kVectorBytes / 2;

    explicit Correcting(const CorrectionSettings& settings)
        : CorrectingPairs(settings), luma(settings.luma), factors(settings), limits(settings) {}

    template <class Put>
    HWY_INLINE HWY_ATTR void Step(const Place& at, std::size_t x, Put put) const {
        const DU8 d;
        VU8 made[kLineVectors];
        for (std::size_t i = 0; i < kLineVectors; ++i) {
            const VU8 v = hn::LoadU(d, at.in[0][0] + 2 * x + i * kVectorBytes);
            made[i] = v;
            if constexpr (kHasChroma) {
                const VI16 chroma = factors(ChromaOf(v));
                made[i] = hn::BitCast(d, hn::Add(chroma, hn::Set(DI16(), 128)));
            }
            if constexpr (kHasChroma || kHasLuma) {
                // Narrow tables pay for two vectors at a time.
                if constexpr (!kHasLuma) {
                    made[i] = MergeBytes(made[i], v);
                } else if constexpr (kVectorBytes == 64) {
                    made[i] = MergeBytes(made[i], luma(v));
                }
            }
        }
        if constexpr (kHasLuma && kVectorBytes != 64) {
            for (std::size_t i = 0; i < kLineVectors; i += 2) {
                const DI16 d16;
                const std::uint8_t* const in = at.in[0][0] + 2 * x + i * kVectorBytes;
                const auto high = [&](std::size_t k) HWY_ATTR {
                    return hn::BitCast(
                        d16, hn::ShiftRight<8>(hn::BitCast(DU16(), hn::LoadU(d, in + k * kVectorBytes))));
                };
                const VU8 found = luma(PackToBytes(high(0), high(1)));
                const auto low = [&](VU8 v)
                                     HWY_ATTR { return hn::And(hn::BitCast(d16, v), hn::Set(d16, 0xFF)); };
                const VU8 chroma = PackToBytes(low(made[i]), low(made[i + 1]));
                made[i] = hn::InterleaveLower(d, chroma, found);
                made[i + 1] = hn::InterleaveUpper(d, chroma, found);
            }
        }
        for (std::size_t i = 0; i < kLineVectors; ++i) {
            put(d, limits(made[i]), at.out[0][0] + 2 * x + i * kVectorBytes);
        }
    }

    Table luma;
    ChromaFactors factors;
    PairLimits limits;
};

void RunCorrect(const simd::Job<1, 1>& job, const CorrectionSettings& set) {
    const bool hasChroma = set.rotation != nullptr || set.gain != nullptr;
    if (set.luma == nullptr) {
        if (hasChroma) {
            Walk(Correcting<NoTable, false, true>(set), job);
        } else {
            Walk(Correcting<NoTable, false, false>(set), job);
        }
        return;
    }
    WithByteTables([&]<class Table>() HWY_ATTR {
        if (hasChroma) {
            Walk(Correcting<Table, true, true>(set), job);
        } else {
            Walk(Correcting<Table, true, false>(set), job);
        }
    });
}

// ---- Colours ------------------------------------------------------------------------------------------

using DF32 = hn::ScalableTag<float>;
using VF32 = hn::Vec<DF32>;

// The largest float below one half: added, it takes halves away from zero and nothing else with them.
constexpr float kAlmostHalf = 0.49999997F;

/// To the nearest whole number, halves away from zero; what is below 0 to 0 or below.
HWY_INLINE HWY_ATTR VI32 RoundedUpwards(VF32 v) {
    return WholePart(hn::Add(v, hn::Set(DF32(), kAlmostHalf)));
}
/// The same for either sign.
HWY_INLINE HWY_ATTR VI32 RoundedAway(VF32 v) {
    return WholePart(hn::Add(v, hn::CopySignToAbs(hn::Set(DF32(), kAlmostHalf), v)));
}

/// A colour's share of chroma, rounded, in both lanes of a pair. For every Cb and Cr, fused or not, the
/// sums round to the same.
class ColourOffset {
public:
    constexpr ColourOffset(double ofCb, double ofCr)
        : cbFactor(static_cast<float>(ofCb)),
          crFactor(static_cast<float>(ofCr)),
          zero(static_cast<float>(-128 * (ofCb + ofCr))) {}

    HWY_INLINE HWY_ATTR VI16 Of(VF32 cb, VF32 cr) const {
        const DF32 d;
        const VF32 sum =
            hn::MulAdd(cb, hn::Set(d, cbFactor), hn::MulAdd(cr, hn::Set(d, crFactor), hn::Set(d, zero)));
        // 1.5 * 2^23 leaves a whole number in the low bits.
        const VF32 rounded = hn::Add(sum, hn::Set(d, 12582912.0F));
        alignas(16) static constexpr std::uint8_t kTwice[16] = {0, 1, 0, 1, 4,  5,  4,  5,
                                                                8, 9, 8, 9, 12, 13, 12, 13};
        return hn::TableLookupBytes(hn::BitCast(DI16(), rounded), hn::BitCast(DI16(), InEveryBlock(kTwice)));
    }

private:
    float cbFactor, crFactor, zero;
};

constexpr ColourOffset kColourOffsets[3] = {
    {0.003714, 1.403591}, {-0.34355, -0.713068}, {1.773109, -0.002002}};

/// Whether all of them are 0 ... 254, as red, green and blue are but for the most saturated colours.
template <std::size_t kCount>
HWY_INLINE HWY_ATTR bool AreUsual(const VI16 (&colours)[kCount], const ColourConstants& constants) {
    const DU16 d;
    VU16 greatest = hn::BitCast(d, colours[0]);
    for (std::size_t i = 1; i < kCount; ++i) {
        greatest = hn::Max(greatest, hn::BitCast(d, colours[i]));
    }
#if HWY_TARGET == HWY_AVX3
    return _mm512_cmpgt_epu16_mask(greatest.raw, _mm512_set1_epi16(254)) == 0;
#elif HWY_TARGET == HWY_AVX2
    const VU16 beyond = hn::SaturatedSub(greatest, hn::BitCast(d, InEveryBlock(constants.greatestUsual)));
    return _mm256_testz_si256(beyond.raw, beyond.raw) != 0;
#else
    return hn::AllTrue(
        d, hn::Eq(hn::SaturatedSub(greatest, hn::BitCast(d, InEveryBlock(constants.greatestUsual))),
                  hn::Zero(d)));
#endif
}

/// Red, green and blue of every other pixel.
struct ColourLanes {
    VF32 red, green, blue;

    /// Not limited.
    HWY_INLINE HWY_ATTR VI32 Luma() const {
        const DF32 d;
        return RoundedUpwards(
            hn::Add(hn::Add(hn::Mul(hn::Set(d, 0.298828F), red), hn::Mul(hn::Set(d, 0.587891F), green)),
                    hn::Mul(hn::Set(d, 0.113281F), blue)));
    }
    HWY_INLINE HWY_ATTR VI32 Cb() const { return Difference(blue, green, 0.332031F, red, 0.167969F); }
    HWY_INLINE HWY_ATTR VI32 Cr() const { return Difference(red, green, 0.417969F, blue, 0.082031F); }

private:
    // Halves are exact, so that a fused product changes nothing.
    static HWY_INLINE HWY_ATTR VI32 Difference(VF32 first, VF32 second, float b, VF32 third, float c) {
        const DF32 d;
        return RoundedAway(hn::Sub(hn::MulSub(hn::Set(d, 0.5F), first, hn::Mul(hn::Set(d, b), second)),
                                   hn::Mul(hn::Set(d, c), third)));
    }
};

/// `kAlone`: all three colours have levels, which do not fall, and nothing goes before them.
template <class Table, bool kAlone>
struct CorrectingColours : CorrectingPairs {
    static constexpr bool kStaysInCache = true;
    static constexpr std::size_t kVectors = kColourVectors<Table>;
    static constexpr std::size_t kStep = kVectors * kVectorBytes / 2;

    CorrectingColours(const CorrectionSettings& settings, const std::uint8_t* unchanged)
        : CorrectingPairs(settings),
          luma(settings.luma != nullptr ? settings.luma : unchanged),
          levels{Table(HalvesOf(0, unchanged)), Table(HalvesOf(1, unchanged)), Table(HalvesOf(2, unchanged))},
#if HWY_TARGET == HWY_AVX2
          rising{Rising(HalvesOf(0, unchanged)), Rising(HalvesOf(1, unchanged)),
                 Rising(HalvesOf(2, unchanged))},
#endif
          factors(settings),
          limits(settings),
          hasLuma(settings.luma != nullptr),
          hasChroma(settings.rotation != nullptr || settings.gain != nullptr),
          hasLevels{settings.colours[0] != nullptr, settings.colours[1] != nullptr,
                    settings.colours[2] != nullptr} {
    }

    template <class Put>
    HWY_INLINE HWY_ATTR void Step(const Place& at, std::size_t x, Put put) const {
        // Red of all vectors, then green, then blue.
        VI16 colours[3 * kVectors];
        for (std::size_t i = 0; i < kVectors; ++i) {
            Divide(hn::LoadU(DU8(), at.in[0][0] + 2 * x + i * kVectorBytes), colours + i);
        }
        if (AreUsual(colours, constants)) {
            LevelUsualOf<0>(colours);
            LevelUsualOf<1>(colours);
            LevelUsualOf<2>(colours);
            Join<true>(at, 2 * x, colours, put);
        } else {
            LevelAnyOf<0>(colours);
            LevelAnyOf<1>(colours);
            LevelAnyOf<2>(colours);
            Join<false>(at, 2 * x, colours, put);
        }
    }

private:
    const std::uint8_t* HalvesOf(std::size_t colour, const std::uint8_t* unchanged) const {
        return set.colours[colour] != nullptr ? set.colours[colour] : unchanged;
    }

    /// Red, green and blue of a vector of pairs.
    HWY_INLINE HWY_ATTR void Divide(VU8 in, VI16* colours) const {
        const DI16 d;
        const DI32 d32;
        const DF32 df;
        VU8 pairs = in;
        if (!kAlone && hasChroma) {
            pairs = hn::BitCast(DU8(), hn::Add(factors(ChromaOf(in)), hn::Set(d, 128)));
        }
        constexpr std::uint8_t kNone = 0x80;
        alignas(16) static constexpr std::uint8_t kThird[16] = {
            2, kNone, kNone, kNone, 6, kNone, kNone, kNone, 10, kNone, kNone, kNone, 14, kNone, kNone, kNone};
        const VF32 cb = hn::ConvertTo(df, hn::And(hn::BitCast(d32, pairs), hn::Set(d32, 0xFF)));
        const VF32 cr =
            hn::ConvertTo(df, hn::BitCast(d32, hn::TableLookupBytesOr0(pairs, InEveryBlock(kThird))));
        const VI16 y =
            hn::BitCast(d, hn::ShiftRight<8>(hn::BitCast(DU16(), !kAlone && hasLuma ? luma(in) : in)));
        for (std::size_t i = 0; i < 3; ++i) {
            colours[i * kVectors] = hn::Add(y, kColourOffsets[i].Of(cb, cr));
        }
    }

    template <std::size_t kColour>
    HWY_INLINE HWY_ATTR void LevelUsualOf(VI16* colours) const {
#if HWY_TARGET == HWY_AVX2
        if constexpr (kAlone) {
            rising[kColour](constants, colours + kColour * kVectors);
            return;
        }
#endif
        if (kAlone || hasLevels[kColour]) {
            LevelUsual(levels[kColour], set.colours[kColour], constants, colours + kColour * kVectors);
        }
    }
    template <std::size_t kColour>
    HWY_INLINE HWY_ATTR void LevelAnyOf(VI16* colours) const {
        if (kAlone || hasLevels[kColour]) {
            for (std::size_t i = 0; i < kVectors; ++i) {
                VI16& x = colours[kColour * kVectors + i];
                x = Levelled(levels[kColour], constants, x);
            }
        }
    }

    /// Writes pairs of levels, none of which is negative if they are usual.
    template <bool kAreUsual, class Put>
    HWY_INLINE HWY_ATTR void Join(const Place& at, std::size_t to, const VI16* colours, Put put) const {
        // In each block Cb, Cr, Y0, Y1 of four pairs.
        alignas(16) static constexpr std::uint8_t kInPairs[16] = {0, 8,  4, 12, 1, 9,  5, 13,
                                                                  2, 10, 6, 14, 3, 11, 7, 15};
        const DF32 d;
        for (std::size_t i = 0; i < kVectors; ++i) {
            const auto even = [&](std::size_t colour) HWY_ATTR {
                return hn::ConvertTo(d, EvenLanes<kAreUsual>(colours[colour * kVectors + i]));
            };
            const auto odd = [&](std::size_t colour) HWY_ATTR {
                return hn::ConvertTo(d,
                                     hn::ShiftRight<16>(hn::BitCast(DI32(), colours[colour * kVectors + i])));
            };
            const ColourLanes first{even(0), even(1), even(2)}, second{odd(0), odd(1), odd(2)};
            const VI16 chroma = hn::Add(PackToShorts(first.Cb(), first.Cr()),
                                        hn::BitCast(DI16(), InEveryBlock(constants.middle)));
            const VI16 newLuma = PackToShorts(first.Luma(), second.Luma());
            const VU8 made = hn::TableLookupBytes(PackToBytes(chroma, newLuma), InEveryBlock(kInPairs));
            put(DU8(), limits(made), at.out[0][0] + to + i * kVectorBytes);
        }
    }

    template <bool kAreUsual>
    static HWY_INLINE HWY_ATTR VI32 EvenLanes(VI16 v) {
        const DI32 d;
        if constexpr (!kAreUsual) {
            return hn::ShiftRight<16>(hn::ShiftLeft<16>(hn::BitCast(d, v)));
        }
#if HWY_TARGET == HWY_AVX2
        return hn::BitCast(d, MergeEvenOdd(v, hn::Zero(DI16())));
#else
        return hn::And(hn::BitCast(d, v), hn::Set(d, 0xFFFF));
#endif
    }

    Table luma;
    Table levels[3];
#if HWY_TARGET == HWY_AVX2
    using Rising = std::conditional_t<kAlone, RisingLevels, NoTable>;
    Rising rising[3];
#endif
    ColourConstants constants;
    ChromaFactors factors;
    PairLimits limits;
    bool hasLuma, hasChroma, hasLevels[3];
};

void RunCorrectColours(const simd::Job<1, 1>& job, const CorrectionSettings& set) {
    std::uint8_t unchanged[256];
    for (std::size_t i = 0; i < 256; ++i) {
        unchanged[i] = static_cast<std::uint8_t>(i);
    }
    bool areAlone = set.luma == nullptr && set.rotation == nullptr && set.gain == nullptr &&
                    std::count(set.colours, set.colours + 3, nullptr) == 0;
#if HWY_TARGET == HWY_AVX2
    areAlone = areAlone && std::all_of(set.colours, set.colours + 3, RisingLevels::Rise);
#endif
    WithByteTables([&]<class Table>() HWY_ATTR {
        if (areAlone) {
            Walk(CorrectingColours<Table, true>(set, unchanged), job);
        } else {
            Walk(CorrectingColours<Table, false>(set, unchanged), job);
        }
    });
}

#endif  // HWY_TARGET

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace Zan {

TESSELU_KERNEL(CorrectionKernel, kCorrect, RunCorrect);
TESSELU_KERNEL(CorrectionKernel, kCorrectColours, RunCorrectColours);

}  // namespace Zan

#endif  // HWY_ONCE
