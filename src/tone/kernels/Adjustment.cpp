// The processing amplifier: a picture of any layout in one pass over all steps.

#include "tone/kernels/Adjustment.h"

#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "tone/kernels/Adjustment.cpp"
#include "simd/Foreach.h"
// After it: these are compiled once per target.
#include "convert/kernels/Packed-inl.h"
#include "simd/ByteTable-inl.h"
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

#endif  // HWY_TARGET

// ---- YCrCb ------------------------------------------------------------------------------------------------

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

// ---- RGB --------------------------------------------------------------------------------------------------

/// B, G, R, and alpha where there are 4 bytes.
template <std::size_t Bytes, class Steps>
struct RGBUnits {
    using Place = Rows;
    static constexpr PlaneUse kSources[] = {{.index = 0, .bytesPer16 = 16 * Bytes}};
    static constexpr PlaneUse kDestinations[] = {{.index = 0, .bytesPer16 = 16 * Bytes}};

    explicit RGBUnits(const Steps& s) : steps(s) {}

    void Unit(const Place& at, std::size_t x) const {
        const std::uint8_t* in = at.in[0][0] + Bytes * x;
        std::uint8_t* out = at.out[0][0] + Bytes * x;
        // Of RGB none of the three leaves 16...240.
        std::uint8_t sample[3];
        for (std::size_t i = 0; i < 3; ++i) {
            sample[i] = static_cast<std::uint8_t>(RowIn4096ths(kRgbToYCrCb[i], in[0], in[1], in[2]) +
                                                  (i == 1 ? 16 : 128));
        }
        const ChromaSamples chroma = AdjustedChroma(steps, {sample[0], sample[2]});
        const int luma = steps.Luma(sample[1]);
        for (std::size_t i = 0; i < 3; ++i) {
            const int c = RowIn4096ths(kYCrCbToRgb[i], chroma.cb - 128, luma - 16, chroma.cr - 128);
            out[i] = static_cast<std::uint8_t>(std::clamp(c, 0, 255));
        }
        if constexpr (Bytes == 4) {
            out[3] = in[3];
        }
    }

    const Steps& steps;
};

#if HWY_TARGET != HWY_SCALAR

/// Steps of pairs of vectors through both matrices; between them `Form::Adjust`.
template <std::size_t Bytes, class Steps, class Turn, bool Fused, class Form>
class RGBVectors : public RGBUnits<Bytes, Steps> {
    using Base = RGBUnits<Bytes, Steps>;
    using Reader = PixelsReader<Bytes, false>;
    using Writer = PixelsWriter<Bytes, false>;
    static constexpr std::size_t kPairs = Writer::kSteps;

public:
    using typename Base::Place;
    static constexpr std::size_t kStep = kPairs * kVectorPixels;
    static constexpr bool kStaysInCache = Turn::kIsSlow;

    HWY_ATTR explicit RGBVectors(const Steps& s) : Base(s), turn(s.settings) {
        for (std::size_t i = 0; i < 3; ++i) {
            // To 65536ths: times 16, of green in two halves.
            const auto& to = kRgbToYCrCb[i];
            toYCrCb[i] = WordPairs(16 * to[0], 16 * to[2]);
            green[i] = hn::Set(DI16(), static_cast<std::int16_t>(8 * to[1]));
            // Times 2, of samples times 8.
            const auto& from = kYCrCbToRgb[i];
            toRgb[i] = WordPairs(2 * from[0], 2 * from[2]);
        }
        lumaToRgb[0] = WordPairs(kLumaFactor, 0);
        lumaToRgb[1] = WordPairs(0, kLumaFactor);
    }

    template <class Put>
    HWY_INLINE HWY_ATTR void Step(const Place& at, std::size_t x, Put put) const {
        VU32 pixels[2 * kPairs];
        for (std::size_t i = 0; i < kPairs; ++i) {
            VU32 two[2];
            Reader().LoadPixels(at, 0, x + i * kVectorPixels, two);
            AdjustPixels(two);
            pixels[2 * i] = two[0];
            pixels[2 * i + 1] = two[1];
        }
        Writer().PutPixels(at, 0, x, pixels, put);
    }

protected:
    static constexpr std::int16_t kLumaFactor = 2 * kYCrCbToRgb[0][1];

    Turn turn;

private:
    HWY_INLINE HWY_ATTR void AdjustPixels(VU32 (&pixels)[2]) const {
        const DU16 du;
        const Form& form = static_cast<const Form&>(*this);
        VI32 lumas[2];
        VI16 chroma[2];
        for (std::size_t i = 0; i < 2; ++i) {
            alignas(16) static constexpr std::uint8_t kGreen[16] = {1, 0x80, 1, 0x80, 5,  0x80, 5,  0x80,
                                                                    9, 0x80, 9, 0x80, 13, 0x80, 13, 0x80};
            const VU16 v = hn::BitCast(du, pixels[i]);
            const VI16 br = hn::BitCast(DI16(), hn::And(v, hn::Set(du, 0xFF)));
            const VI16 gg = hn::BitCast(
                DI16(), hn::TableLookupBytesOr0(hn::BitCast(DU8(), pixels[i]), InEveryBlock(kGreen)));
            const auto row = [&](std::size_t j) HWY_ATTR {
                return AddMulAddPairs<Fused>(MulAddPairs(br, toYCrCb[j]), gg, green[j]);
            };
            lumas[i] = row(1);
            const VI16 uv = HighHalves(row(0), row(2));
            chroma[i] = Turn::kScale == 2 ? hn::Add(uv, uv) : uv;
        }
        // Without its 16, of both vectors in turn.
        VI16 luma = HighHalves(lumas[0], lumas[1]);
        form.Adjust(luma, chroma);
        for (std::size_t i = 0; i < 2; ++i) {
            const VI32 y = AddMulAddPairs<Fused>(form.lumaStart, luma, lumaToRgb[i]);
            const auto row = [&](std::size_t j)
                                 HWY_ATTR { return AddMulAddPairs<Fused>(y, chroma[i], toRgb[j]); };
            const VI16 br = HighHalves(row(0), row(2));
            const VI16 ga = HighHalves(row(1), hn::BitCast(DI32(), hn::ShiftRight<8>(pixels[i])));
            alignas(16) static constexpr std::uint8_t kInterleave[16] = {0, 8,  1, 9,  2, 10, 3, 11,
                                                                         4, 12, 5, 13, 6, 14, 7, 15};
            pixels[i] =
                hn::BitCast(DU32(), hn::TableLookupBytes(PackToBytes(br, ga), InEveryBlock(kInterleave)));
        }
    }

    VI16 toYCrCb[3], green[3], toRgb[3], lumaToRgb[2];
};

/// The gains as lines.
template <std::size_t Bytes, class Turn>
class RGBByLines : public RGBVectors<Bytes, Steps, Turn, false, RGBByLines<Bytes, Turn> > {
    using Base = RGBVectors<Bytes, Steps, Turn, false, RGBByLines>;

public:
    HWY_ATTR RGBByLines(const Steps& s, const GainLine& contrast, const GainLine& saturation)
        : Base(s), lumaStart(hn::Zero(DI32())), lumaLine(contrast), chromaLine(saturation) {
        const auto word = [](unsigned value) { return hn::Set(DU16(), static_cast<std::uint16_t>(value)); };
        const auto limit = [](int value) { return hn::Set(DI16(), static_cast<std::int16_t>(value)); };
        // Luma comes and goes without its 16, chroma without its 128. The lift moves the limits of contrast.
        const int lift = s.settings.lift;
        lumaMultiplier = word(contrast.multiplier);
        lumaLine.start = word(contrast.start + 16U * contrast.multiplier);
        lumaLine.below = word(contrast.below + 16U - static_cast<unsigned>(lift));
        lumaLeast = limit(std::clamp(lift, 0, 255) - 16);
        lumaMost = limit(std::clamp(255 + lift, 0, 255) - 16);
        chromaMultiplier = word(saturation.multiplier);
        chromaLine.start = word(saturation.start + 128U * saturation.multiplier);
        chromaLine.below = word(saturation.below + 128U);
    }

    /// Leaves samples times 8.
    HWY_INLINE HWY_ATTR void Adjust(VI16& luma, VI16 (&chroma)[2]) const {
        const DI16 d;
        const DU16 du;
        for (VI16& each : chroma) {
            // Of RGB no angle takes chroma beyond 8 bits.
            const VI16 turned = Base::turn(each);
            const VI16 gained = chromaLine(hn::Mul(hn::BitCast(du, turned), chromaMultiplier));
            each = hn::ShiftLeft<3>(hn::Min(hn::Max(gained, hn::Set(d, -128)), hn::Set(d, 127)));
        }
        const VI16 gained = lumaLine(hn::Mul(hn::BitCast(du, luma), lumaMultiplier));
        luma = hn::ShiftLeft<3>(hn::Min(hn::Max(gained, lumaLeast), lumaMost));
    }

    VI32 lumaStart;

private:
    LineLanes lumaLine, chromaLine;
    VU16 lumaMultiplier, chromaMultiplier;
    VI16 lumaLeast, lumaMost;
};

#if HWY_TARGET == HWY_AVX3

/// Everything between the matrices but the turn as tables, which VBMI looks up.
template <std::size_t Bytes, class Turn>
class RGBByTables : public RGBVectors<Bytes, StepTables, Turn, true, RGBByTables<Bytes, Turn> > {
    using Base = RGBVectors<Bytes, StepTables, Turn, true, RGBByTables>;

public:
    HWY_ATTR explicit RGBByTables(const StepTables& s) : RGBByTables(s, Tables(s)) {}

    HWY_INLINE HWY_ATTR void Adjust(VI16& luma, VI16 (&chroma)[2]) const {
        const DU8 d;
        const DI16 d16;
        const auto eighths = [&](VU8 above8Bits)
                                 HWY_ATTR { return hn::ShiftRight<5>(hn::BitCast(d16, above8Bits)); };
        const VU8 chromas = chromaTable(
            hn::BitCast(d, PackToSignedBytes(Base::turn.Floor(chroma[0]), Base::turn.Floor(chroma[1]))));
        chroma[0] = eighths(hn::InterleaveLower(d, hn::Zero(d), chromas));
        chroma[1] = eighths(hn::InterleaveUpper(d, hn::Zero(d), chromas));
        const VI16 lumas = hn::BitCast(d16, lumaTable(hn::BitCast(d, luma)));
        luma = eighths(hn::BitCast(d, hn::ShiftLeft<8>(lumas)));
    }

    VI32 lumaStart;

private:
    /// By luma without its 16 and by chroma without its 128, as the turn leaves it; results less 128.
    struct Tables {
        explicit Tables(const StepTables& s) {
            for (int i = 0; i < 256; ++i) {
                luma[i] = s.luma[std::min(i + 16, 255)] ^ 0x80;
                const int floor = i < 128 ? i : i - 256;
                chroma[i] = s.chroma[floor + (Turn::kFloors && floor < 0 ? 129 : 128)] ^ 0x80;
            }
        }
        std::uint8_t luma[256], chroma[256];
    };

    HWY_ATTR RGBByTables(const StepTables& s, const Tables& tables)
        : Base(s),
          lumaStart(hn::Set(DI32(), 112 * 8 * Base::kLumaFactor)),
          lumaTable(tables.luma),
          chromaTable(tables.chroma) {}

    PermutedByteTable lumaTable, chromaTable;
};

#endif

#endif  // HWY_TARGET

// ---- Kernels ----------------------------------------------------------------------------------------------

#if HWY_TARGET != HWY_SCALAR

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

template <std::size_t Bytes>
HWY_ATTR void AdjustRGB(const AdjustmentJob& job, const AdjustmentSettings& settings) {
#if HWY_TARGET == HWY_AVX3
    if (simd::CurrentTarget() == simd::kAVX512DL) {
        const StepTables tables(settings);
        WithTurn<true>(settings, [&]<class Turn>() HWY_ATTR { Walk(RGBByTables<Bytes, Turn>(tables), job); });
        return;
    }
#endif
#if HWY_TARGET != HWY_SCALAR
    const GainLines lines(settings);
    if (lines.AreExact()) {
        const Steps steps(settings);
        WithTurn<false>(settings, [&]<class Turn>() HWY_ATTR {
            Walk(RGBByLines<Bytes, Turn>(steps, lines.contrast, lines.saturation), job);
        });
        return;
    }
#endif
    Walk(RGBUnits<Bytes, StepTables>(StepTables(settings)), job);
}

void Pairs(const AdjustmentJob& job, const AdjustmentSettings& settings) {
    AdjustYCrCb<false>(job, settings);
}
void Pixels(const AdjustmentJob& job, const AdjustmentSettings& settings) {
    AdjustYCrCb<true>(job, settings);
}
void RGB32(const AdjustmentJob& job, const AdjustmentSettings& settings) {
    AdjustRGB<4>(job, settings);
}
void RGB24(const AdjustmentJob& job, const AdjustmentSettings& settings) {
    AdjustRGB<3>(job, settings);
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace Zan {

TESSELU_KERNEL(AdjustmentKernel, kAdjustPairs, Pairs);
TESSELU_KERNEL(AdjustmentKernel, kAdjustPixels, Pixels);
TESSELU_KERNEL(AdjustmentKernel, kAdjustRGB32, RGB32);
TESSELU_KERNEL(AdjustmentKernel, kAdjustRGB24, RGB24);

}  // namespace Zan

#endif  // HWY_ONCE
