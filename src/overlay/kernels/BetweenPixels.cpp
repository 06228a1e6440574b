// Overlays between pixels: the foreground is interpolated, then blended as at whole pixels.

#include <array>

#include "overlay/kernels/Overlay.h"
#include "overlay/kernels/OverlayFormulas.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "overlay/kernels/BetweenPixels.cpp"
#include "simd/Foreach.h"
// After it: these are compiled once per target.
#include "composite/kernels/Blend-inl.h"
#include "simd/Walk-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Zan {
namespace HWY_NAMESPACE {
namespace {

/// What the foreground's colour is: multiplied by alpha, not so, or without alpha.
enum class Colour { kPremultiplied, kStraight, kOpaque };

/// Which axes have a fraction.
struct Across {
    static constexpr std::size_t kRows = 1;
    static constexpr bool kAcross = true;
};
struct Down {
    static constexpr std::size_t kRows = 2;
    static constexpr bool kAcross = false;
};
struct Both {
    static constexpr std::size_t kRows = 2;
    static constexpr bool kAcross = true;
};

/// A sample that has a weight.
struct Tap {
    const std::uint8_t* sample;
    const std::uint8_t* alpha;
    std::uint32_t weight;
};

/// The taps of a pixel's colour and alpha.
template <std::size_t taps>
struct Neighbours {
    Tap tap[taps];

    std::uint32_t Alphas() const {
        std::uint32_t sum = 0;
        for (const Tap& t : tap) {
            sum += t.weight * *t.alpha;
        }
        return sum;
    }
    /// Sample `i` of a pixel.
    template <Colour colour>
    unsigned Sample(std::size_t i, std::uint32_t alphas) const {
        std::uint32_t sum = 0;
        std::uint64_t straight = 0;
        for (const Tap& t : tap) {
            sum += t.weight * t.sample[i];
            straight += std::uint64_t{t.weight} * *t.alpha * t.sample[i];
        }
        return colour == Colour::kStraight ? StraightMean(straight, alphas) : WeightedMean(sum);
    }
};

// ---- RGB --------------------------------------------------------------------------------------------------

template <Colour colour, std::size_t backBytes, class Axes>
struct MovedPixels {
    using Place = simd::Place<4 + 4 * kColumns, 2>;
    static constexpr bool kOpaque = colour == Colour::kOpaque;
    static constexpr std::size_t kForeBytes = kOpaque ? 3 : 4;
    static constexpr std::size_t kAcross = Axes::kAcross ? 2 : 1, kTaps = kAcross * Axes::kRows;
    static constexpr auto kSources = [] {
        std::array<PlaneUse, kTaps + (kOpaque ? 0 : 1)> uses{};
        for (std::size_t i = 0; i < kTaps; ++i) {
            uses[i] = {.index = ForeOf(i / kAcross, i % kAcross), .bytesPer16 = 16 * kForeBytes};
        }
        if (!kOpaque) {
            uses[kTaps] = {.index = kBack, .bytesPer16 = 16 * backBytes};
        }
        return uses;
    }();
    static constexpr PlaneUse kDestinations[] = {{.index = kOut, .bytesPer16 = 16 * backBytes}};
    Fractions fractions;

    void Unit(const Place& at, std::size_t x) const {
        Neighbours<kTaps> near;
        for (std::size_t i = 0; i < kTaps; ++i) {
            const std::size_t row = i / kAcross, column = i % kAcross;
            const std::uint8_t* const pixel = at.in[ForeOf(row, column)][0] + kForeBytes * x;
            near.tap[i] = {pixel, pixel + (kOpaque ? 0 : 3),
                           Share(Axes::kRows == 2 ? fractions.y : 0, row) *
                               Share(Axes::kAcross ? fractions.x : 0, column)};
        }
        std::uint8_t made[4];
        std::uint8_t* const out = at.out[kOut][0] + backBytes * x;
        if constexpr (kOpaque) {
            for (std::size_t i = 0; i < 3; ++i) {
                made[i] = static_cast<std::uint8_t>(near.template Sample<colour>(i, 0));
            }
            made[3] = 255;
        } else {
            const std::uint8_t* const b = at.in[kBack][0] + backBytes * x;
            const std::uint32_t alphas = near.Alphas();
            const unsigned a = WeightedMean(alphas);
            const AlphaUnion both = backBytes == 4 ? AlphaUnion::Of(a, b[backBytes - 1]) : AlphaUnion{0, a};
            for (std::size_t i = 0; i < 3; ++i) {
                const unsigned f = near.template Sample<colour>(i, alphas);
                made[i] = colour == Colour::kPremultiplied ? PremultipliedOver(b[i], f, a)
                                                           : BlendByAlpha(b[i], f, both.weight);
            }
            made[3] = colour == Colour::kPremultiplied ? PremultipliedOver(b[backBytes - 1], a, a)
                                                       : static_cast<std::uint8_t>(both.alpha);
        }
        for (std::size_t i = 0; i < backBytes; ++i) {
            out[i] = made[i];
        }
    }

    /// Of the row or column in hand, and of the one before it.
    static std::uint32_t Share(unsigned fraction, std::size_t before) {
        return before == 0 ? kWeightsOfAxis - fraction : fraction;
    }
};

// ---- 4:2:2 ------------------------------------------------------------------------------------------------

template <Colour colour, bool hasBackAlpha, class Axes>
struct MovedPairs {
    using Place = simd::Place<4 + 4 * kColumns, 2>;
    static constexpr bool kOpaque = colour == Colour::kOpaque;
    static constexpr std::size_t kAcross = Axes::kAcross ? kColumns : 1;
    static constexpr std::size_t kPlanes = kAcross * Axes::kRows;
    static constexpr std::size_t kTaps = (Axes::kAcross ? 2 : 1) * Axes::kRows;
    static constexpr auto kSources = [] {
        constexpr std::size_t kBackPlanes = kOpaque ? 0 : hasBackAlpha ? 2 : 1;
        std::array<PlaneUse, (kOpaque ? 1 : 2) * kPlanes + kBackPlanes> uses{};
        for (std::size_t i = 0; i < kPlanes; ++i) {
            uses[i] = PairPlane(ForeOf(i / kAcross, i % kAcross));
            if (!kOpaque) {
                uses[kPlanes + i] = {.index = ForeAlphaOf(i / kAcross, i % kAcross), .columns = 2};
            }
        }
        if (!kOpaque) {
            uses[2 * kPlanes] = PairPlane(kBack);
        }
        if (!kOpaque && hasBackAlpha) {
            uses[2 * kPlanes + kBackPlanes - 1] = {.index = kBackAlpha, .columns = 2};
        }
        return uses;
    }();
    static constexpr auto kDestinations = [] {
        std::array<PlaneUse, hasBackAlpha ? 2 : 1> uses{PairPlane(kOut)};
        if (hasBackAlpha) {
            uses[uses.size() - 1] = {.index = kOutAlpha, .columns = 2};
        }
        return uses;
    }();
    static constexpr std::size_t kUnit = 2;
    Fractions fractions;

    /// The taps of what lies in byte `byte` of a pair, with the alpha of pixel `pixel`.
    Neighbours<kTaps> Near(const Place& at, std::size_t x, std::size_t byte, std::size_t pixel,
                           bool isChroma) const {
        Neighbours<kTaps> near;
        for (std::size_t i = 0; i < kTaps; ++i) {
            const std::size_t row = i / (kTaps / Axes::kRows), before = i % (kTaps / Axes::kRows);
            std::size_t column = isChroma ? 2 * before : before + (fractions.isOdd ? 1 : 0);
            unsigned share = isChroma ? fractions.chroma : fractions.x;
            if (!Axes::kAcross) {
                column = share = 0;
            }
            near.tap[i] = {
                at.in[ForeOf(row, column)][0] + 2 * x + byte,
                kOpaque ? at.in[ForeOf(row, column)][0] : at.in[ForeAlphaOf(row, column)][0] + x + pixel,
                (row == 0 ? kWeightsOfAxis - YShare() : YShare()) *
                    (before == 0 ? kWeightsOfAxis - share : share)};
        }
        return near;
    }
    unsigned YShare() const { return Axes::kRows == 2 ? fractions.y : 0; }

    void Unit(const Place& at, std::size_t x) const {
        const Neighbours<kTaps> chroma = Near(at, x, 0, 0, true);
        const Neighbours<kTaps> luma[2] = {Near(at, x, 1, 0, false), Near(at, x, 3, 1, false)};
        std::uint8_t made[4], alphas[2] = {255, 255};
        if constexpr (kOpaque) {
            for (std::size_t k = 0; k < 2; ++k) {
                made[2 * k] = static_cast<std::uint8_t>(chroma.template Sample<colour>(2 * k, 0));
                made[2 * k + 1] = static_cast<std::uint8_t>(luma[k].template Sample<colour>(0, 0));
            }
        } else {
            const std::uint8_t* const b = at.in[kBack][0] + 2 * x;
            const std::uint8_t* const ab = hasBackAlpha ? at.in[kBackAlpha][0] + x : nullptr;
            const std::uint32_t chromaAlphas = chroma.Alphas();
            const unsigned ac = WeightedMean(chromaAlphas);
            for (std::size_t k = 0; k < 2; ++k) {
                const std::uint32_t lumaAlphas = luma[k].Alphas();
                const unsigned a = WeightedMean(lumaAlphas);
                made[2 * k] = Blended(b[2 * k], chroma.template Sample<colour>(2 * k, chromaAlphas), ac,
                                      ab != nullptr ? ab[0] : 0U, kChromaZero);
                made[2 * k + 1] = Blended(b[2 * k + 1], luma[k].template Sample<colour>(0, lumaAlphas), a,
                                          ab != nullptr ? ab[k] : 0U, kLumaZero);
                if (ab != nullptr) {
                    alphas[k] = colour == Colour::kPremultiplied
                                    ? PremultipliedOver(ab[k], a, a)
                                    : static_cast<std::uint8_t>(AlphaUnion::Of(a, ab[k]).alpha);
                }
            }
        }
        std::uint8_t* const out = at.out[kOut][0] + 2 * x;
        for (std::size_t i = 0; i < 4; ++i) {
            out[i] = made[i];
        }
        if constexpr (hasBackAlpha) {
            at.out[kOutAlpha][0][x] = alphas[0];
            at.out[kOutAlpha][0][x + 1] = alphas[1];
        }
    }

    static std::uint8_t Blended(unsigned b, unsigned f, unsigned a, unsigned ab, int zero) {
        return colour == Colour::kPremultiplied ? OffsetPremultipliedOver(b, f, a, zero)
               : hasBackAlpha                   ? WeightedStep(b, f, AlphaUnion::Of(a, ab).weight)
                                                : OffsetBlend(b, f, a, zero);
    }
};

template <Colour colour, std::size_t backBytes>
void RunPixels(const MovedJob& job, const Fractions& fractions) {
    if (fractions.y == 0) {
        Walk(MovedPixels<colour, backBytes, Across>{fractions}, job);
    } else if (fractions.x == 0) {
        Walk(MovedPixels<colour, backBytes, Down>{fractions}, job);
    } else {
        Walk(MovedPixels<colour, backBytes, Both>{fractions}, job);
    }
}
template <Colour colour, bool hasBackAlpha>
void RunPairs(const MovedJob& job, const Fractions& fractions) {
    if (fractions.y == 0) {
        Walk(MovedPairs<colour, hasBackAlpha, Across>{fractions}, job);
    } else if (fractions.chroma == 0) {
        Walk(MovedPairs<colour, hasBackAlpha, Down>{fractions}, job);
    } else {
        Walk(MovedPairs<colour, hasBackAlpha, Both>{fractions}, job);
    }
}

void RunStraight24With32(const MovedJob& job, const Fractions& fractions) {
    RunPixels<Colour::kStraight, 3>(job, fractions);
}
void RunPremultiplied24With32(const MovedJob& job, const Fractions& fractions) {
    RunPixels<Colour::kPremultiplied, 3>(job, fractions);
}
void Run24With24(const MovedJob& job, const Fractions& fractions) {
    RunPixels<Colour::kOpaque, 3>(job, fractions);
}
void RunStraight32With32(const MovedJob& job, const Fractions& fractions) {
    RunPixels<Colour::kStraight, 4>(job, fractions);
}
void RunPremultiplied32With32(const MovedJob& job, const Fractions& fractions) {
    RunPixels<Colour::kPremultiplied, 4>(job, fractions);
}
void Run32With24(const MovedJob& job, const Fractions& fractions) {
    RunPixels<Colour::kOpaque, 4>(job, fractions);
}
void RunStraight16With24(const MovedJob& job, const Fractions& fractions) {
    RunPairs<Colour::kStraight, false>(job, fractions);
}
void RunPremultiplied16With24(const MovedJob& job, const Fractions& fractions) {
    RunPairs<Colour::kPremultiplied, false>(job, fractions);
}
void Run16With16(const MovedJob& job, const Fractions& fractions) {
    RunPairs<Colour::kOpaque, false>(job, fractions);
}
void RunStraight24With24(const MovedJob& job, const Fractions& fractions) {
    RunPairs<Colour::kStraight, true>(job, fractions);
}
void RunPremultiplied24With24(const MovedJob& job, const Fractions& fractions) {
    RunPairs<Colour::kPremultiplied, true>(job, fractions);
}
void Run24With16(const MovedJob& job, const Fractions& fractions) {
    RunPairs<Colour::kOpaque, true>(job, fractions);
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace Zan {

TESSELU_KERNEL(MovedKernel, kMovedStraight24With32, RunStraight24With32);
TESSELU_KERNEL(MovedKernel, kMovedPremultiplied24With32, RunPremultiplied24With32);
TESSELU_KERNEL(MovedKernel, kMoved24With24, Run24With24);
TESSELU_KERNEL(MovedKernel, kMovedStraight32With32, RunStraight32With32);
TESSELU_KERNEL(MovedKernel, kMovedPremultiplied32With32, RunPremultiplied32With32);
TESSELU_KERNEL(MovedKernel, kMoved32With24, Run32With24);
TESSELU_KERNEL(MovedKernel, kMovedStraight16With24, RunStraight16With24);
TESSELU_KERNEL(MovedKernel, kMovedPremultiplied16With24, RunPremultiplied16With24);
TESSELU_KERNEL(MovedKernel, kMoved16With16, Run16With16);
TESSELU_KERNEL(MovedKernel, kMovedStraight24With24, RunStraight24With24);
TESSELU_KERNEL(MovedKernel, kMovedPremultiplied24With24, RunPremultiplied24With24);
TESSELU_KERNEL(MovedKernel, kMoved24With16, Run24With16);

}  // namespace Zan

#endif  // HWY_ONCE
