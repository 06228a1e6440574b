// The processing amplifier on 4:2:2 and on 4:4:4:4, in one pass over all steps.

#include "tone/kernels/Adjustment.h"

#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "tone/kernels/AdjustmentYCrCb.cpp"
#include "simd/Foreach.h"
// After it: these are compiled once per target.
#include "simd/ByteTable-inl.h"
#include "simd/Walk-inl.h"
#include "tone/kernels/AdjustmentSteps-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Zan {
namespace HWY_NAMESPACE {
namespace {

/// Where the samples of Cb, Cr and luma lie in four bytes; `second` is the other luma, or alpha.
struct ByteOrder {
    explicit ByteOrder(bool isLumaFirst, bool hasAlpha)
        : cb(isLumaFirst ? 1 : 0), cr(isLumaFirst && !hasAlpha ? 3 : 2), luma(isLumaFirst ? 0 : 1) {
        second = static_cast<std::uint8_t>(6 - cb - cr - luma);
    }
    std::uint8_t cb, cr, luma, second;
};

/// Four bytes: a pixel and its alpha, or two pixels that share their chroma.
template <bool HasAlpha, class Steps>
struct YCrCbUnits {
    using Place = simd::Place<1, 1>;
    static constexpr std::size_t kUnit = HasAlpha ? 1 : 2;
    static constexpr PlaneUse kSources[] = {{.index = 0, .bytesPer16 = 64 / kUnit, .columns = kUnit}};
    static constexpr PlaneUse kDestinations[] = {kSources[0]};

    explicit YCrCbUnits(const Steps& s) : steps(s), order(s.settings.isLumaFirst, HasAlpha) {}

    void Unit(const Place& at, std::size_t x) const {
        const std::uint8_t* in = at.in[0][0] + 4 / kUnit * x;
        std::uint8_t* out = at.out[0][0] + 4 / kUnit * x;
        const ChromaSamples chroma = AdjustedChroma(steps, {in[order.cb], in[order.cr]});
        out[order.luma] = steps.Luma(in[order.luma]);
        out[order.second] = HasAlpha ? in[order.second] : steps.Luma(in[order.second]);
        out[order.cb] = chroma.cb;
        out[order.cr] = chroma.cr;
    }

    const Steps& steps;
    ByteOrder order;
};

/// All settings neutral.
template <bool HasAlpha>
struct YCrCbCopy : YCrCbUnits<HasAlpha, Steps> {
    using YCrCbUnits<HasAlpha, Steps>::YCrCbUnits;

    bool Row(const simd::Place<1, 1>& at, std::size_t columns) const {
        std::memmove(at.out[0][0], at.in[0][0], (HasAlpha ? 4 : 2) * columns);
        return true;
    }
};

#if HWY_TARGET != HWY_SCALAR

/// Steps of whole vectors, by `Form::Adjusted`.
template <bool HasAlpha, class Steps, class Form>
struct YCrCbVectors : YCrCbUnits<HasAlpha, Steps> {
    using Base = YCrCbUnits<HasAlpha, Steps>;
    using typename Base::Place;
    static constexpr std::size_t kBytes = 4 / Base::kUnit;  // a pixel
    static constexpr std::size_t kStep = kLineVectors * kVectorBytes / kBytes;

    using Base::Base;

    template <class Put>
    HWY_INLINE HWY_ATTR void Step(const Place& at, std::size_t x, Put put) const {
        const Form& form = static_cast<const Form&>(*this);
        PutLine(at.out[0][0] + kBytes * x, put, [&](std::size_t i) HWY_ATTR {
            return form.Adjusted(hn::LoadU(DU8(), at.in[0][0] + kBytes * x + i * kVectorBytes));
        });
    }

protected:
    /// `weight` at the two samples of luma or of chroma, for words of samples.
    static HWY_ATTR VI8 Weights(int weight, std::size_t a, std::size_t b) {
        std::uint8_t weights[4] = {};
        weights[a] = weights[b] = static_cast<std::uint8_t>(weight);
        return hn::BitCast(DI8(), InEveryWord(weights));
    }

    /// How bytes lie that have been packed from words of chroma, then of luma.
    HWY_ATTR VU8 Interleave() const {
        alignas(16) std::uint8_t from[16];
        for (std::size_t i = 0; i < 16; i += 4) {
            const auto first = static_cast<std::uint8_t>(i / 2);
            from[i + Base::order.cb] = first;
            from[i + Base::order.cr] = first + 1;
            from[i + Base::order.luma] = first + 8;
            from[i + Base::order.second] = first + 9;
        }
        return InEveryBlock(from);
    }

    /// 255 at luma, and at the second luma or alpha where asked for.
    HWY_ATTR VU8 LumaBytes(bool luma, bool second) const {
        std::uint8_t bytes[4] = {};
        bytes[Base::order.luma] = luma ? 255 : 0;
        bytes[Base::order.second] = second ? 255 : 0;
        return InEveryWord(bytes);
    }
};

/// Contrast as a line, and brightness.
class LumaLine {
public:
    HWY_ATTR LumaLine(const GainLine& contrast, const AdjustmentSettings& settings)
        : multiplier(contrast.multiplier), line(contrast) {
        const auto byte = [](int value) {
            return hn::Set(DU8(), static_cast<std::uint8_t>(std::clamp(value, 0, 255)));
        };
        raised = byte(settings.lift);
        lowered = byte(-settings.lift);
    }

    /// Of the bytes where `weights` has the multiplier, in words, not limited yet.
    HWY_INLINE HWY_ATTR VI16 Words(VU8 v, VI8 weights) const {
        return line(hn::BitCast(DU16(), MulAddPairs(v, weights)));
    }
    /// What is left to do with bytes.
    HWY_INLINE HWY_ATTR VU8 Lifted(VU8 bytes) const {
        return hn::SaturatedSub(hn::SaturatedAdd(bytes, raised), lowered);
    }
    void LiftOnly(VU8 bytes) {
        raised = hn::And(raised, bytes);
        lowered = hn::And(lowered, bytes);
    }

    int multiplier;

private:
    LineLanes line;
    VU8 raised, lowered;
};

/// All steps of luma as a table.
class LumaTable {
public:
    static constexpr int multiplier = 1;

    HWY_ATTR LumaTable(const GainLine&, const AdjustmentSettings& settings)
        : table(StepTables(settings).luma) {}

    HWY_INLINE HWY_ATTR VI16 Words(VU8 v, VI8 weights) const { return MulAddPairs(table(v), weights); }
    HWY_INLINE HWY_ATTR VU8 Lifted(VU8 bytes) const { return bytes; }
    void LiftOnly(VU8) {}

private:
    ByteTable table;
};

/// The gains of chroma, and mostly of luma, as lines.
template <bool HasAlpha, class Turn, class Luma>
class YCrCbByLines : public YCrCbVectors<HasAlpha, Steps, YCrCbByLines<HasAlpha, Turn, Luma> > {
    using Base = YCrCbVectors<HasAlpha, Steps, YCrCbByLines>;

public:
    static constexpr bool kStaysInCache = Turn::kIsSlow;

    HWY_ATTR YCrCbByLines(const Steps& s, const GainLine& contrast, const GainLine& saturation)
        : Base(s), turn(s.settings), luma(contrast, s.settings), chromaLine(saturation) {
        const DU16 du;
        const ByteOrder& at = Base::order;
        chromaWeights = Base::Weights(Turn::kTurns ? Turn::kScale : saturation.multiplier, at.cb, at.cr);
        lumaWeights = Base::Weights(luma.multiplier, at.luma, at.second);
        neutral = hn::Set(DI16(), 128 * Turn::kScale);
        chromaMultiplier = hn::Set(du, saturation.multiplier);
        if (Turn::kTurns) {
            // Chroma has lost its 128.
            chromaLine.start =
                hn::Set(du, static_cast<std::uint16_t>(saturation.start + 128U * saturation.multiplier));
        }
        luma.LiftOnly(Base::LumaBytes(true, true));
        alpha = Base::LumaBytes(false, true);
        interleave = Base::Interleave();
    }

    HWY_INLINE HWY_ATTR VU8 Adjusted(VU8 v) const {
        const DI16 d;
        VI16 chroma = MulAddPairs(v, chromaWeights);
        if constexpr (Turn::kTurns) {
            const VI16 turned = turn(hn::Sub(chroma, neutral));
            const VI16 limited = hn::Min(hn::Max(turned, hn::Set(d, -128)), hn::Set(d, 127));
            chroma = hn::BitCast(d, hn::Mul(hn::BitCast(DU16(), limited), chromaMultiplier));
        }
        const VU8 packed = PackToBytes(chromaLine(hn::BitCast(DU16(), chroma)), luma.Words(v, lumaWeights));
        const VU8 made = luma.Lifted(hn::TableLookupBytes(packed, interleave));
        return HasAlpha ? hn::IfVecThenElse(alpha, v, made) : made;
    }

private:
    Turn turn;
    Luma luma;
    LineLanes chromaLine;
    VI8 chromaWeights, lumaWeights;
    VI16 neutral;
    VU16 chromaMultiplier;
    VU8 alpha, interleave;
};

#endif  // HWY_TARGET

#if HWY_TARGET == HWY_AVX3

/// Everything but the turn as tables, which VBMI looks up.
template <bool HasAlpha, class Turn>
class YCrCbByTables : public YCrCbVectors<HasAlpha, StepTables, YCrCbByTables<HasAlpha, Turn> > {
    using Base = YCrCbVectors<HasAlpha, StepTables, YCrCbByTables>;

public:
    using Base::kBytes, Base::kStep;
    static constexpr bool kStaysInCache = Turn::kIsSlow;
    using typename Base::Place;
    static_assert(kLineVectors == 2);

    HWY_ATTR explicit YCrCbByTables(const StepTables& s)
        : Base(s), turn(s.settings), lumaTable(s.luma), chromaTable(ChromaTable(s)) {
        chromaWeights = Base::Weights(Turn::kScale, Base::order.cb, Base::order.cr);
        neutral = hn::Set(DI16(), 128 * Turn::kScale);
        luma = Base::LumaBytes(true, !HasAlpha);
        alpha = Base::LumaBytes(false, true);
    }

    template <class Put>
    HWY_INLINE HWY_ATTR void Step(const Place& at, std::size_t x, Put put) const {
        const DU8 d;
        const std::uint8_t* in = at.in[0][0] + kBytes * x;
        const VU8 a = hn::LoadU(d, in), b = hn::LoadU(d, in + kVectorBytes);
        VU8 madeA, madeB;
        if constexpr (Turn::kTurns) {
            // Luma of both fills one vector: that of `b` lies where `a` has chroma. So does chroma.
            alignas(16) static constexpr std::uint8_t kSwap[16] = {1, 0, 3,  2,  5,  4,  7,  6,
                                                                   9, 8, 11, 10, 13, 12, 15, 14};
            const VU8 swap = InEveryBlock(kSwap);
            const VU8 lumas = lumaTable(hn::IfVecThenElse(luma, a, hn::TableLookupBytes(b, swap)));
            const VU8 chromas = chromaTable(hn::BitCast(d, PackToSignedBytes(Turned(a), Turned(b))));
            madeA = hn::IfVecThenElse(luma, lumas, hn::InterleaveLower(d, chromas, chromas));
            madeB = hn::IfVecThenElse(luma, hn::TableLookupBytes(lumas, swap),
                                      hn::InterleaveUpper(d, chromas, chromas));
        } else {
            madeA = hn::IfVecThenElse(luma, lumaTable(a), chromaTable(a));
            madeB = hn::IfVecThenElse(luma, lumaTable(b), chromaTable(b));
        }
        put(d, HasAlpha ? hn::IfVecThenElse(alpha, a, madeA) : madeA, at.out[0][0] + kBytes * x);
        put(d, HasAlpha ? hn::IfVecThenElse(alpha, b, madeB) : madeB,
            at.out[0][0] + kBytes * x + kVectorBytes);
    }

private:
    /// By signed bytes where chroma has been turned.
    struct ChromaTable {
        explicit ChromaTable(const StepTables& s) {
            for (std::size_t i = 0; i < 256; ++i) {
                entry[i] = s.chroma[Turn::kTurns ? i ^ 0x80 : i];
            }
        }
        operator const std::uint8_t*() const { return entry; }
        std::uint8_t entry[256];
    };

    HWY_INLINE HWY_ATTR VI16 Turned(VU8 v) const {
        return turn(hn::Sub(MulAddPairs(v, chromaWeights), neutral));
    }

    Turn turn;
    PermutedByteTable lumaTable, chromaTable;
    VI8 chromaWeights;
    VI16 neutral;
    VU8 luma, alpha;
};

#endif  // HWY_TARGET

// ---- Kernels ----------------------------------------------------------------------------------------------

template <bool HasAlpha>
HWY_ATTR void AdjustYCrCb(const AdjustmentJob& job, const AdjustmentSettings& settings) {
    if (settings.IsNeutral()) {
        Walk(YCrCbCopy<HasAlpha>(Steps(settings)), job);
        return;
    }
#if HWY_TARGET == HWY_AVX3
    if (simd::CurrentTarget() == simd::kAVX512DL) {
        const StepTables tables(settings);
        WithTurn<true>(settings,
                       [&]<class Turn>() HWY_ATTR { Walk(YCrCbByTables<HasAlpha, Turn>(tables), job); });
        return;
    }
#endif
#if HWY_TARGET != HWY_SCALAR
    const GainLines lines(settings);
    if (lines.AreExact()) {
        const Steps steps(settings);
        WithTurn<false>(settings, [&]<class Turn>() HWY_ATTR {
            if constexpr (!HasAlpha) {
                if (settings.gamma != nullptr) {
                    Walk(YCrCbByLines<false, Turn, LumaTable>(steps, lines.contrast, lines.saturation), job);
                    return;
                }
            }
            Walk(YCrCbByLines<HasAlpha, Turn, LumaLine>(steps, lines.contrast, lines.saturation), job);
        });
        return;
    }
#endif
    Walk(YCrCbUnits<HasAlpha, StepTables>(StepTables(settings)), job);
}

void Pairs(const AdjustmentJob& job, const AdjustmentSettings& settings) {
    AdjustYCrCb<false>(job, settings);
}
void Pixels(const AdjustmentJob& job, const AdjustmentSettings& settings) {
    AdjustYCrCb<true>(job, settings);
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace Zan {

TESSELU_KERNEL(AdjustmentKernel, kAdjustPairs, Pairs);
TESSELU_KERNEL(AdjustmentKernel, kAdjustPixels, Pixels);

}  // namespace Zan

#endif  // HWY_ONCE
