// The whole chain of a colour correction, one pair of pixels at a time.

#include "tone/kernels/Correction.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "tone/kernels/CorrectionFormulas.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "tone/kernels/Correction.cpp"
#include "simd/Foreach.h"
// After it: these are compiled once per target.
#include "simd/ByteTable-inl.h"
#include "simd/Extra-inl.h"
#include "simd/Walk-inl.h"

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
    explicit PairLimits(const CorrectionSettings& set) : luma(set.lumaLimits), chroma(set.chromaLimits) {}

    HWY_INLINE HWY_ATTR VU8 operator()(VU8 v) const {
        return hn::Min(hn::Max(v, Bytes(chroma.low, luma.low)), Bytes(chroma.high, luma.high));
    }

private:
    static HWY_INLINE HWY_ATTR VU8 Bytes(std::uint8_t even, std::uint8_t odd) {
        return hn::BitCast(DU8(), hn::Set(DU16(), static_cast<std::uint16_t>(even | odd << 8)));
    }

    SampleLimits luma, chroma;
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

/// The whole part of numbers that fit.
HWY_INLINE HWY_ATTR VI32 Truncated(VF32 v) {
#if HWY_TARGET == HWY_AVX3
    return VI32{_mm512_cvttps_epi32(v.raw)};
#elif HWY_TARGET == HWY_AVX2
    return VI32{_mm256_cvttps_epi32(v.raw)};
#elif HWY_TARGET == HWY_SSSE3
    return VI32{_mm_cvttps_epi32(v.raw)};
#else
    return hn::ConvertTo(DI32(), v);
#endif
}

// The largest float below one half: added, it takes halves away from zero and nothing else with them.
constexpr float kAlmostHalf = 0.49999997F;

/// To the nearest whole number, halves away from zero; what is below 0 to 0 or below.
HWY_INLINE HWY_ATTR VI32 RoundedUpwards(VF32 v) {
    return Truncated(hn::Add(v, hn::Set(DF32(), kAlmostHalf)));
}
/// The same for either sign.
HWY_INLINE HWY_ATTR VI32 RoundedAway(VF32 v) {
    return Truncated(hn::Add(v, hn::CopySignToAbs(hn::Set(DF32(), kAlmostHalf), v)));
}

/// A colour's share of chroma, rounded, in both lanes of a pair: round(cb * a + cr * b). The factors are in
/// 1/2^20, in two parts: 16 bits hold sample * 128 and the upper part.
class ColourOffset {
public:
    constexpr ColourOffset(double cb, double cr) : cbFactor(Scaled(cb)), crFactor(Scaled(cr)) {}

    template <bool kFused>
    HWY_INLINE HWY_ATTR VI16 Of(VI16 chroma, VI16 chroma128) const {
        const VI32 half = hn::Set(DI32(), 1 << 19);
        const VI32 sum = AddMulAddPairs<kFused>(
            AddMulAddPairs<kFused>(half, chroma128, Alternating(cbFactor >> 7, crFactor >> 7)), chroma,
            Alternating(cbFactor & 127, crFactor & 127));
        alignas(16) static constexpr std::uint8_t kTwice[16] = {0, 1, 0, 1, 4,  5,  4,  5,
                                                                8, 9, 8, 9, 12, 13, 12, 13};
        return hn::TableLookupBytes(hn::BitCast(DI16(), hn::ShiftRight<20>(sum)),
                                    hn::BitCast(DI16(), InEveryBlock(kTwice)));
    }

private:
    static constexpr int Scaled(double factor) {
        return static_cast<int>(factor * (1 << 20) + (factor < 0 ? -0.5 : 0.5));
    }
    int cbFactor, crFactor;
};

constexpr ColourOffset kColourOffsets[3] = {
    {0.003714, 1.403591}, {-0.34355, -0.713068}, {1.773109, -0.002002}};

/// LevelOf in 16-bit lanes. `kIsUsual`: all are 0 ... 254.
template <bool kIsUsual, class Table>
HWY_INLINE HWY_ATTR VI16 Levelled(const Table& halves, VI16 x) {
    const DU8 d;
    const DU16 du;
    alignas(64) static constexpr std::int8_t kOnes[64] = {
        1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1,
        1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1};
    const VI8 ones = hn::Load(DI8(), kOnes);
    const VU16 magnitude = hn::BitCast(du, kIsUsual ? x : hn::Abs(x));
    const VU16 up = hn::AverageRound(magnitude, hn::Zero(du)), down = hn::ShiftRight<1>(magnitude);
    const VU8 places = hn::BitCast(d, hn::Or(down, hn::ShiftLeft<8>(up)));
    if constexpr (kIsUsual) {
        return MulAddPairs(halves.Lower(places), ones);
    }
    const VI16 level = MulAddPairs(halves(places), ones);
#if HWY_TARGET == HWY_AVX3
    return VI16{
        _mm512_mask_sub_epi16(level.raw, _mm512_movepi16_mask(x.raw), _mm512_setzero_si512(), level.raw)};
#else
    const VI16 sign = hn::BroadcastSignBit(x);
    return hn::Sub(hn::Xor(level, sign), sign);
#endif
}

/// Whether red, green and blue of all pixels are 0 ... 254, as they are but for the most saturated colours.
HWY_INLINE HWY_ATTR bool AreUsual(const VI16* colours) {
    const DU16 d;
    const auto of = [&](std::size_t i) HWY_ATTR { return hn::BitCast(d, colours[i]); };
    const VU16 greatest = hn::Max(hn::Max(of(0), of(1)), of(2));
#if HWY_TARGET == HWY_AVX3
    return _mm512_cmpgt_epu16_mask(greatest.raw, _mm512_set1_epi16(254)) == 0;
#else
    return hn::AllTrue(d, hn::Eq(hn::SaturatedSub(greatest, hn::Set(d, 254)), hn::Zero(d)));
#endif
}

template <class Table>
constexpr bool kHasFusedSums = false;
#if HWY_TARGET == HWY_AVX3
template <>
constexpr bool kHasFusedSums<PermutedByteTable> = true;
#endif

template <class Table>
struct CorrectingColours : CorrectingPairs {
    static constexpr bool kStaysInCache = true;
    static constexpr std::size_t kStep = kVectorBytes / 2;

    CorrectingColours(const CorrectionSettings& settings, const std::uint8_t* unchanged)
        : CorrectingPairs(settings),
          luma(settings.luma != nullptr ? settings.luma : unchanged),
          levels{Table(settings.colours[0] != nullptr ? settings.colours[0] : unchanged),
                 Table(settings.colours[1] != nullptr ? settings.colours[1] : unchanged),
                 Table(settings.colours[2] != nullptr ? settings.colours[2] : unchanged)},
          factors(settings),
          limits(settings),
          hasLuma(settings.luma != nullptr),
          hasChroma(settings.rotation != nullptr || settings.gain != nullptr),
          hasLevels{settings.colours[0] != nullptr, settings.colours[1] != nullptr,
                    settings.colours[2] != nullptr} {}

    template <class Put>
    HWY_INLINE HWY_ATTR void Step(const Place& at, std::size_t x, Put put) const {
        const DU8 d;
        const DI16 d16;
        const DI32 d32;
        const DF32 df;
        const VU8 in = hn::LoadU(d, at.in[0][0] + 2 * x);
        VI16 chroma = ChromaOf(in);
        if (hasChroma) {
            chroma = factors(chroma);
        }
        const VI16 y = hn::BitCast(d16, hn::ShiftRight<8>(hn::BitCast(DU16(), hasLuma ? luma(in) : in)));

        const VI16 chroma128 = hn::ShiftLeft<7>(chroma);
        VI16 colours[3];
        for (std::size_t i = 0; i < 3; ++i) {
            colours[i] = hn::Add(y, kColourOffsets[i].Of<kHasFusedSums<Table> >(chroma, chroma128));
        }
        VF32 even[3], odd[3];
        if (AreUsual(colours)) {
            for (std::size_t i = 0; i < 3; ++i) {
                const VI32 both =
                    hn::BitCast(d32, hasLevels[i] ? Levelled<true>(levels[i], colours[i]) : colours[i]);
                even[i] = hn::ConvertTo(df, hn::And(both, hn::Set(d32, 0xFFFF)));
                odd[i] = hn::ConvertTo(df, hn::ShiftRight<16>(both));
            }
        } else {
            for (std::size_t i = 0; i < 3; ++i) {
                const VI32 both =
                    hn::BitCast(d32, hasLevels[i] ? Levelled<false>(levels[i], colours[i]) : colours[i]);
                even[i] = hn::ConvertTo(df, hn::ShiftRight<16>(hn::ShiftLeft<16>(both)));
                odd[i] = hn::ConvertTo(df, hn::ShiftRight<16>(both));
            }
        }

        const auto lumaOf = [](const VF32* colour) HWY_ATTR {
            const DF32 f;
            return hn::Add(
                hn::Add(hn::Mul(hn::Set(f, 0.298828F), colour[0]), hn::Mul(hn::Set(f, 0.587891F), colour[1])),
                hn::Mul(hn::Set(f, 0.113281F), colour[2]));
        };
        // Halves are exact, so that a fused product changes nothing.
        const auto chromaOf = [](VF32 first, VF32 second, float b, VF32 third, float c) HWY_ATTR {
            const DF32 f;
            return hn::Sub(hn::MulSub(hn::Set(f, 0.5F), first, hn::Mul(hn::Set(f, b), second)),
                           hn::Mul(hn::Set(f, c), third));
        };
        const VF32 cb = chromaOf(even[2], even[1], 0.332031F, even[0], 0.167969F);
        const VF32 cr = chromaOf(even[0], even[1], 0.417969F, even[2], 0.082031F);
        const VI16 newChroma = hn::Add(PackToShorts(RoundedAway(cb), RoundedAway(cr)), hn::Set(d16, 128));
        const VI16 newLuma = PackToShorts(RoundedUpwards(lumaOf(even)), RoundedUpwards(lumaOf(odd)));
        // In each block Cb, Cr, Y0, Y1 of four pairs.
        alignas(16) static constexpr std::uint8_t kInPairs[16] = {0, 8,  4, 12, 1, 9,  5, 13,
                                                                  2, 10, 6, 14, 3, 11, 7, 15};
        const VU8 made = hn::TableLookupBytes(PackToBytes(newChroma, newLuma), InEveryBlock(kInPairs));
        put(d, limits(made), at.out[0][0] + 2 * x);
    }

    Table luma;
    Table levels[3];
    ChromaFactors factors;
    PairLimits limits;
    bool hasLuma, hasChroma, hasLevels[3];
};

void RunCorrectColours(const simd::Job<1, 1>& job, const CorrectionSettings& set) {
    std::uint8_t unchanged[256];
    for (std::size_t i = 0; i < 256; ++i) {
        unchanged[i] = static_cast<std::uint8_t>(i);
    }
    WithByteTables([&]<class Table>() HWY_ATTR { Walk(CorrectingColours<Table>(set, unchanged), job); });
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
