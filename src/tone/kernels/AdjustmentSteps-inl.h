// The steps of the processing amplifier, by their formulas and in vectors.

#if defined(TESSELU_SRC_TONE_KERNELS_ADJUSTMENTSTEPS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef TESSELU_SRC_TONE_KERNELS_ADJUSTMENTSTEPS_INL_H
#undef TESSELU_SRC_TONE_KERNELS_ADJUSTMENTSTEPS_INL_H
#else
#define TESSELU_SRC_TONE_KERNELS_ADJUSTMENTSTEPS_INL_H
#endif

#include "convert/kernels/Packed-inl.h"
#include "tone/kernels/AdjustmentFormulas.h"
#include "tone/kernels/GainLine-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Zan {
namespace HWY_NAMESPACE {
namespace {

// ---- One sample at a time ---------------------------------------------------------------------------------

/// The steps on single samples, by their formulas.
struct Steps {
    explicit Steps(const AdjustmentSettings& s) : settings(s) {}

    std::uint8_t Luma(std::uint8_t luma) const { return AdjustedLuma(settings, luma); }
    std::uint8_t Saturated(std::uint8_t chroma) const { return Amplified(chroma, settings.saturation, 128); }

    const AdjustmentSettings& settings;
};

/// The same as tables.
struct StepTables {
    explicit StepTables(const AdjustmentSettings& s) : settings(s) {
        const GainTable contrast(s.contrast, 16), saturation(s.saturation, 128);
        for (std::size_t i = 0; i < 256; ++i) {
            luma[i] = static_cast<std::uint8_t>(std::clamp(contrast[i] + s.lift, 0, 255));
            chroma[i] = static_cast<std::uint8_t>(saturation[i]);
        }
        if (s.gamma != nullptr) {
            for (std::uint8_t& value : luma) {
                value = s.gamma[value];
            }
        }
    }

    std::uint8_t Luma(std::uint8_t y) const { return luma[y]; }
    std::uint8_t Saturated(std::uint8_t c) const { return chroma[c]; }

    const AdjustmentSettings& settings;
    std::uint8_t luma[256], chroma[256];
};

/// Hue and saturation.
template <class Steps>
HWY_INLINE ChromaSamples AdjustedChroma(const Steps& steps, ChromaSamples in) {
    const AdjustmentSettings& settings = steps.settings;
    if (settings.Turns()) {
        in = TurnedChroma(in.cb - 128, in.cr - 128, settings.cosine, settings.sine);
    }
    return {steps.Saturated(in.cb), steps.Saturated(in.cr)};
}

#if HWY_TARGET != HWY_SCALAR

// ---- Hue, on (Cb, Cr) pairs of 16-bit lanes ---------------------------------------------------------------

struct NoTurn {
    static constexpr bool kTurns = false, kIsSlow = false;
    [[maybe_unused]] static constexpr bool kFloors = false;
    static constexpr std::int16_t kScale = 1;

    explicit NoTurn(const AdjustmentSettings&) {}
    HWY_INLINE HWY_ATTR VI16 operator()(VI16 chroma) const { return chroma; }
    HWY_INLINE HWY_ATTR VI16 Floor(VI16 chroma) const { return chroma; }
};

/// FixedTurn, of chroma times 2.
template <bool Fused>
class TurnInFixedPoint {
public:
    static constexpr bool kTurns = true, kIsSlow = false;
    [[maybe_unused]] static constexpr bool kFloors = true;
    static constexpr std::int16_t kScale = 2;

    HWY_INLINE HWY_ATTR explicit TurnInFixedPoint(const AdjustmentSettings& settings) {
        const FixedTurn& turn = settings.turn;
        high[0] = WordPairs(turn.cosine.high, turn.sine.high);
        low[0] = WordPairs(turn.cosine.low, turn.sine.low);
        high[1] = WordPairs(turn.minusSine.high, turn.cosine.high);
        low[1] = WordPairs(turn.minusSine.low, turn.cosine.low);
    }

    HWY_INLINE HWY_ATTR VI16 operator()(VI16 twice) const {
        const VI16 floor = Floor(twice);
        return hn::Sub(floor, hn::ShiftRight<15>(floor));
    }

    /// What lacks the 1 that is added below 0.
    HWY_INLINE HWY_ATTR VI16 Floor(VI16 twice) const { return HighHalves(Sum(twice, 0), Sum(twice, 1)); }

private:
    /// With 16 bits of fraction, rounded down.
    HWY_INLINE HWY_ATTR VI32 Sum(VI16 twice, std::size_t i) const {
        return AddMulAddPairs<Fused>(hn::ShiftRight<15>(MulAddPairs(twice, low[i])), twice, high[i]);
    }

    VI16 high[2], low[2];
};

/// Double precision, for angles that have no fixed point.
class TurnInDoubles {
public:
    static constexpr bool kTurns = true, kIsSlow = true;
    [[maybe_unused]] static constexpr bool kFloors = false;
    static constexpr std::int16_t kScale = 1;

    HWY_INLINE HWY_ATTR explicit TurnInDoubles(const AdjustmentSettings& settings)
        : cosine(hn::Set(d, settings.cosine)), sine(hn::Set(d, settings.sine)) {}

    HWY_INLINE HWY_ATTR VI16 operator()(VI16 chroma) const {
        const DI32 d32;
        const VI32 pairs = hn::BitCast(d32, chroma);
        const VI32 u = hn::ShiftRight<16>(hn::ShiftLeft<16>(pairs)), v = hn::ShiftRight<16>(pairs);
        const Turned lower = Turn(hn::LowerHalf(half, u), hn::LowerHalf(half, v));
        const Turned upper = Turn(hn::UpperHalf(half, u), hn::UpperHalf(half, v));
        const VI32 cr = hn::ShiftLeft<16>(hn::Combine(d32, upper.cr, lower.cr));
        return MergeEvenOdd(hn::BitCast(DI16(), hn::Combine(d32, upper.cb, lower.cb)),
                            hn::BitCast(DI16(), cr));
    }

    HWY_INLINE HWY_ATTR VI16 Floor(VI16 chroma) const { return operator()(chroma); }

private:
    using D = hn::ScalableTag<double>;
    using Half = hn::Half<DI32>;
    struct Turned {
        hn::Vec<Half> cb, cr;
    };

    HWY_INLINE HWY_ATTR Turned Turn(hn::Vec<Half> u32, hn::Vec<Half> v32) const {
        const hn::Vec<D> u = hn::PromoteTo(d, u32), v = hn::PromoteTo(d, v32);
        return {hn::DemoteTo(half, hn::Add(hn::Mul(u, cosine), hn::Mul(v, sine))),
                hn::DemoteTo(half, hn::Sub(hn::Mul(v, cosine), hn::Mul(u, sine)))};
    }

    static constexpr D d{};
    static constexpr Half half{};
    hn::Vec<D> cosine, sine;
};

// ---- Gains ------------------------------------------------------------------------------------------------

/// A line on samples in 16-bit lanes that have been multiplied.
struct LineLanes {
    HWY_INLINE HWY_ATTR explicit LineLanes(const GainLine& line)
        : start(hn::Set(DU16(), line.start)),
          slope(hn::Set(DU16(), line.slope)),
          below(hn::Set(DU16(), line.below)) {}

    /// Not limited.
    HWY_INLINE HWY_ATTR VI16 operator()(VU16 multiplied) const {
        return hn::BitCast(DI16(), hn::Sub(hn::MulHigh(hn::Add(multiplied, start), slope), below));
    }

    VU16 start, slope, below;
};

/// Four bytes in every 32 bits.
HWY_INLINE HWY_ATTR VU8 InEveryWord(const std::uint8_t (&bytes)[4]) {
    std::uint32_t word;
    std::memcpy(&word, bytes, 4);
    return hn::BitCast(DU8(), hn::Set(DU32(), word));
}

/// Calls `run<Turn>()` with the form of the turn that the hue has.
template <bool Fused, class Run>
HWY_INLINE HWY_ATTR void WithTurn(const AdjustmentSettings& settings, const Run& run) {
    if (!settings.Turns()) {
        run.template operator()<NoTurn>();
    } else if (settings.turn.isExact) {
        run.template operator()<TurnInFixedPoint<Fused> >();
    } else {
        run.template operator()<TurnInDoubles>();
    }
}

/// The lines of both gains.
struct GainLines {
    HWY_ATTR explicit GainLines(const AdjustmentSettings& settings)
        : contrast(GainLine::Through(GainTable(settings.contrast, 16), settings.contrast)),
          saturation(GainLine::Through(GainTable(settings.saturation, 128), settings.saturation)) {}

    bool AreExact() const { return contrast.isExact && saturation.isExact; }

    GainLine contrast, saturation;
};

#endif  // HWY_TARGET

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#endif  // include guard
