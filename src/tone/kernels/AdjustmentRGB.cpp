// The processing amplifier on RGB, which goes through both matrices, in one pass over all steps.

#include "tone/kernels/Adjustment.h"

#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "tone/kernels/AdjustmentRGB.cpp"
#include "simd/Foreach.h"
// After it: these are compiled once per target.
#include "simd/ByteTable-inl.h"
#include "tone/kernels/AdjustmentSteps-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Zan {
namespace HWY_NAMESPACE {
namespace {

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

TESSELU_KERNEL(AdjustmentKernel, kAdjustRGB32, RGB32);
TESSELU_KERNEL(AdjustmentKernel, kAdjustRGB24, RGB24);

}  // namespace Zan

#endif  // HWY_ONCE
