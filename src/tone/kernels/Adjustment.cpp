// The processing amplifier.

#include "tone/kernels/Adjustment.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "tone/kernels/Adjustment.cpp"
#include "simd/Foreach.h"
// After it: these are compiled once per target.
#include "simd/Walk-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Zan {
namespace HWY_NAMESPACE {
namespace {

using namespace simd::HWY_NAMESPACE;
using simd::PlaneUse;

/// The steps as kernels use them.
struct Steps {
    explicit Steps(const AdjustmentSettings& settings)
        : tables(settings), cosine(settings.cosine), sine(settings.sine), turns(settings.Turns()) {}

    /// Hue and saturation.
    Chroma operator()(Chroma in) const {
        if (turns) {
            in = TurnedChroma(in.cb - 128, in.cr - 128, cosine, sine);
        }
        return {tables.chroma[in.cb], tables.chroma[in.cr]};
    }

    AdjustmentTables tables;
    double cosine, sine;
    bool turns;
};

/// Two pixels that share their chroma.
template <bool LumaFirst>
struct AdjustPairs {
    using Place = simd::Place<1, 1>;
    static constexpr PlaneUse kSources[] = {{.index = 0, .bytesPer16 = 32, .columns = 2}};
    static constexpr PlaneUse kDestinations[] = {{.index = 0, .bytesPer16 = 32, .columns = 2}};
    static constexpr std::size_t kUnit = 2, kLuma = LumaFirst ? 0 : 1, kChroma = 1 - kLuma;

    void Unit(const Place& at, std::size_t x) const {
        const std::uint8_t* in = at.in[0][0] + 2 * x;
        std::uint8_t* out = at.out[0][0] + 2 * x;
        const Chroma chroma = steps({in[kChroma], in[kChroma + 2]});
        out[kLuma] = steps.tables.luma[in[kLuma]];
        out[kLuma + 2] = steps.tables.luma[in[kLuma + 2]];
        out[kChroma] = chroma.cb;
        out[kChroma + 2] = chroma.cr;
    }

    const Steps& steps;
};

/// A pixel and its alpha.
template <bool LumaFirst>
struct AdjustPixels {
    using Place = simd::Place<1, 1>;
    static constexpr PlaneUse kSources[] = {{.index = 0, .bytesPer16 = 64}};
    static constexpr PlaneUse kDestinations[] = {{.index = 0, .bytesPer16 = 64}};
    static constexpr std::size_t kLuma = LumaFirst ? 0 : 1, kCb = 1 - kLuma;

    void Unit(const Place& at, std::size_t x) const {
        const std::uint8_t* in = at.in[0][0] + 4 * x;
        std::uint8_t* out = at.out[0][0] + 4 * x;
        const Chroma chroma = steps({in[kCb], in[2]});
        out[kLuma] = steps.tables.luma[in[kLuma]];
        out[kCb] = chroma.cb;
        out[2] = chroma.cr;
        out[3] = in[3];
    }

    const Steps& steps;
};

/// B, G, R, and alpha where there are 4 bytes.
template <std::size_t Bytes>
struct AdjustRGB {
    using Place = simd::Place<1, 1>;
    static constexpr PlaneUse kSources[] = {{.index = 0, .bytesPer16 = 16 * Bytes}};
    static constexpr PlaneUse kDestinations[] = {{.index = 0, .bytesPer16 = 16 * Bytes}};

    void Unit(const Place& at, std::size_t x) const {
        const std::uint8_t* in = at.in[0][0] + Bytes * x;
        std::uint8_t* out = at.out[0][0] + Bytes * x;
        // Of RGB none of the three leaves 16...240.
        int sample[3];
        for (std::size_t i = 0; i < 3; ++i) {
            sample[i] = RowIn4096ths(kRgbToYCrCb[i], in[0], in[1], in[2]) + (i == 1 ? 16 : 128);
        }
        const Chroma chroma =
            steps({static_cast<std::uint8_t>(sample[0]), static_cast<std::uint8_t>(sample[2])});
        const int luma = steps.tables.luma[static_cast<std::size_t>(sample[1])];
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

template <class K>
void Adjust(const AdjustmentJob& job, const AdjustmentSettings& settings) {
    const Steps steps(settings);
    Walk(K{steps}, job);
}

void CbYCrY(const AdjustmentJob& job, const AdjustmentSettings& settings) {
    Adjust<AdjustPairs<false> >(job, settings);
}
void YCbYCr(const AdjustmentJob& job, const AdjustmentSettings& settings) {
    Adjust<AdjustPairs<true> >(job, settings);
}
void CbYCrA(const AdjustmentJob& job, const AdjustmentSettings& settings) {
    Adjust<AdjustPixels<false> >(job, settings);
}
void YCbCrA(const AdjustmentJob& job, const AdjustmentSettings& settings) {
    Adjust<AdjustPixels<true> >(job, settings);
}
void RGB32(const AdjustmentJob& job, const AdjustmentSettings& settings) {
    Adjust<AdjustRGB<4> >(job, settings);
}
void RGB24(const AdjustmentJob& job, const AdjustmentSettings& settings) {
    Adjust<AdjustRGB<3> >(job, settings);
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace Zan {

TESSELU_KERNEL(AdjustmentKernel, kAdjustCbYCrY, CbYCrY);
TESSELU_KERNEL(AdjustmentKernel, kAdjustYCbYCr, YCbYCr);
TESSELU_KERNEL(AdjustmentKernel, kAdjustCbYCrA, CbYCrA);
TESSELU_KERNEL(AdjustmentKernel, kAdjustYCbCrA, YCbCrA);
TESSELU_KERNEL(AdjustmentKernel, kAdjustRGB32, RGB32);
TESSELU_KERNEL(AdjustmentKernel, kAdjustRGB24, RGB24);

}  // namespace Zan

#endif  // HWY_ONCE
