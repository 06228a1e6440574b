// Blends of plain memory whose rows lie anywhere, and whose destination lies on a source, against plain
// loops.

#include <TesselU/composite/ZanCompositor.h>

#include "simd/RowLayouts.h"
#include "support/Choices.h"

namespace {

using namespace rows_test;
using test_support::kSanitized;
using Planes = Operation::Planes;
using Pitches = Operation::Pitches;

ULong32* Words(std::uint8_t* plane) {
    return reinterpret_cast<ULong32*>(plane);
}

/// t / 255 to the nearest, halves upward.
std::uint8_t Blended(unsigned alpha, unsigned a, unsigned b) {
    return static_cast<std::uint8_t>((2 * ((255 - alpha) * a + alpha * b) / 255 + 1) / 2);
}

// ---- Cross dissolves ----------------------------------------------------------------------------------

constexpr double kFade = 0.37;

template <unsigned path>
Long32 RunDissolve(const Planes& p, const Pitches& pitch, ULong32 width, ULong32 height) {
    return Zan::ZanCompositor().CrossDissolve(Words(p[0]), Words(p[1]), Words(p[2]), width, height, pitch[0],
                                              pitch[1], pitch[2], kFade, path);
}

void DissolveInDoubles(const Planes& in, std::uint8_t* out, std::size_t width) {
    for (std::size_t i = 0; i < 4 * width; ++i) {
        out[i] = static_cast<std::uint8_t>(in[1][i] * (1 - kFade) + in[0][i] * kFade + 0.5);
    }
}

void DissolveIn256ths(const Planes& in, std::uint8_t* out, std::size_t width) {
    const auto weight = static_cast<unsigned>(kFade * 256 + 0.5);
    for (std::size_t i = 0; i < 4 * width; ++i) {
        out[i] = static_cast<std::uint8_t>((weight * in[0][i] + (256 - weight) * in[1][i] + 128) >> 8);
    }
}

/// Weights of 255; beyond the last whole block the second step of the division is missing.
template <std::size_t block>
void DissolveIn255ths(const Planes& in, std::uint8_t* out, std::size_t width) {
    const auto weight = static_cast<unsigned>(kFade * 255 + 0.5);
    for (std::size_t i = 0; i < 4 * width; ++i) {
        const unsigned t = weight * in[0][i] + (255 - weight) * in[1][i] + 128;
        out[i] = static_cast<std::uint8_t>((i / 4 < width / block * block ? t + (t >> 8) : t) >> 8);
    }
}

// ---- By alpha -----------------------------------------------------------------------------------------

Long32 RunTwoSources(const Planes& p, const Pitches& pitch, ULong32 width, ULong32 height) {
    return Zan::ZanCompositor().CompositeTwoSources(Words(p[0]), Words(p[1]), Words(p[2]), width, height,
                                                    pitch[0], pitch[1], pitch[2], 2);
}

void TwoSources(const Planes& in, std::uint8_t* out, std::size_t width) {
    for (std::size_t x = 0; x < width / 4 * 4; ++x) {
        const unsigned alpha = in[1][4 * x + 3];
        for (std::size_t i = 4 * x; i < 4 * x + 4; ++i) {
            out[i] = Blended(alpha, in[0][i], in[1][i]);
        }
    }
}

template <unsigned path>
Long32 RunAlpha(const Planes& p, const Pitches& pitch, ULong32 width, ULong32 height) {
    return Zan::ZanCompositor().CompositeTwoSrcAndAlpha(Words(p[0]), Words(p[1]), Words(p[2]), Words(p[3]),
                                                        width, height, pitch[0], pitch[1], pitch[2], pitch[3],
                                                        path);
}

template <std::size_t block>
void Alpha(const Planes& in, std::uint8_t* out, std::size_t width) {
    for (std::size_t x = 0; x < width / block * block; ++x) {
        for (std::size_t i = 4 * x; i < 4 * x + 4; ++i) {
            out[i] = Blended(in[2][x], in[0][i], in[1][i]);
        }
    }
}

constexpr double kThreshold = 0.3, kGain = 0.0125;

template <unsigned path>
Long32 RunGradient(const Planes& p, const Pitches& pitch, ULong32 width, ULong32 height) {
    return Zan::ZanCompositor().CompositeTwoSrcAndAlphaGradient(
        Words(p[0]), Words(p[1]), Words(p[2]), Words(p[3]), width, height, pitch[0], pitch[1], pitch[2],
        pitch[3], kThreshold, kGain, path);
}

void GradientInDoubles(const Planes& in, std::uint8_t* out, std::size_t width) {
    for (std::size_t x = 0; x < width; ++x) {
        const double d = std::max(in[2][x] - kThreshold * 255, 0.0);
        const auto alpha = static_cast<unsigned>(std::min(d * (kGain * 255), 255.0) + 0.5);
        for (std::size_t i = 4 * x; i < 4 * x + 4; ++i) {
            out[i] = Blended(alpha, in[0][i], in[1][i]);
        }
    }
}

void GradientInWords(const Planes& in, std::uint8_t* out, std::size_t width) {
    const int threshold = static_cast<int>(kThreshold * 32640), gain = static_cast<int>(kGain * 32640);
    for (std::size_t x = 0; x < width / 8 * 8; ++x) {
        const int above = std::clamp(in[2][x] * 128 - threshold, 0, 32640);
        const auto alpha = static_cast<unsigned>(std::min((above * gain) >> 14, 255));
        for (std::size_t i = 4 * x; i < 4 * x + 4; ++i) {
            out[i] = Blended(alpha, in[0][i], in[1][i]);
        }
    }
}

// ---- Differences and shifts ---------------------------------------------------------------------------

template <unsigned path>
Long32 RunDifferences(const Planes& p, const Pitches& pitch, ULong32 width, ULong32 height) {
    return Zan::ZanCompositor().SumOfAbsDiffs(Words(p[0]), Words(p[1]), p[2], width, height, pitch[0],
                                              pitch[1], pitch[2], path);
}

template <std::size_t block>
void Differences(const Planes& in, std::uint8_t* out, std::size_t width) {
    for (std::size_t x = 0; x < width / block * block; ++x) {
        int sum = 0;
        for (std::size_t i = 4 * x; i < 4 * x + 3; ++i) {
            sum += std::abs(in[0][i] - in[1][i]);
        }
        out[x] = static_cast<std::uint8_t>(std::min(sum, 255));
    }
}

Long32 RunSubPixel(const Planes& p, const Pitches& pitch, ULong32 width, ULong32 height) {
    return Zan::ZanCompositor().XSubPixelPosition(Words(p[0]), Words(p[1]), width, height, pitch[0], pitch[1],
                                                  0.6, 1);
}

void SubPixel(const Planes& in, std::uint8_t* out, std::size_t width) {
    const unsigned current = 2 * static_cast<unsigned>(0.6 * 256), next = 512 - current;
    for (std::size_t i = 0; i < 4 * width; ++i) {
        const unsigned beside = i + 4 < 4 * width ? in[0][i + 4] : 0;
        out[i] = static_cast<std::uint8_t>((((beside * next + in[0][i] * current) >> 8) + 1) >> 1);
    }
}

constexpr Steps kBytes = Steps::kBytes, kWords = Steps::kWholeWords, kLow = Steps::kLowBitsDropped;

const std::vector<Operation>& Blends() {
    static const std::vector<Operation> blends = {
        {"dissolve in doubles",
         Zan::kSSE2,
         {8, 8, 8},
         {kWords, kWords, kWords},
         1,
         RunDissolve<0>,
         DissolveInDoubles},
        {"dissolve in integers",
         Zan::kSSE2,
         {8, 8, 8},
         {kWords, kWords, kWords},
         1,
         RunDissolve<1>,
         DissolveIn256ths},
        {"dissolve by SSE2", Zan::kSSE2, {8, 8, 8}, {kLow, kLow, kLow}, 1, RunDissolve<2>, DissolveIn256ths},
        {"dissolve by SSE",
         Zan::kSSE_MMX,
         {8, 8, 8},
         {kWords, kWords, kWords},
         1,
         RunDissolve<2>,
         DissolveIn255ths<16>},
        {"dissolve by MMX",
         Zan::kMMX,
         {8, 8, 8},
         {kWords, kWords, kWords},
         1,
         RunDissolve<2>,
         DissolveIn255ths<8>},
        {"two sources", Zan::kSSE2, {8, 8, 8}, {kWords, kWords, kWords}, 4, RunTwoSources, TwoSources},
        {"alpha in integers",
         Zan::kSSE2,
         {8, 8, 2, 8},
         {kWords, kWords, kBytes, kWords},
         1,
         RunAlpha<1>,
         Alpha<1>},
        {"alpha by SSE",
         Zan::kSSE2,
         {8, 8, 2, 8},
         {kBytes, kBytes, kBytes, kBytes},
         1,
         RunAlpha<2>,
         Alpha<8>},
        {"gradient in doubles",
         Zan::kSSE2,
         {8, 8, 2, 8},
         {kBytes, kBytes, kBytes, kBytes},
         1,
         RunGradient<1>,
         GradientInDoubles},
        {"gradient by SSE",
         Zan::kSSE2,
         {8, 8, 2, 8},
         {kBytes, kBytes, kBytes, kBytes},
         1,
         RunGradient<2>,
         GradientInWords},
        {"differences",
         Zan::kSSE2,
         {8, 8, 2},
         {kWords, kWords, kBytes},
         1,
         RunDifferences<1>,
         Differences<1>},
        {"differences by SSE",
         Zan::kSSE2,
         {8, 8, 2},
         {kWords, kWords, kBytes},
         8,
         RunDifferences<2>,
         Differences<8>},
        {"sub-pixel position", Zan::kSSE2, {8, 8}, {kWords, kWords}, 1, RunSubPixel, SubPixel},
    };
    return blends;
}

constexpr unsigned kRuns = kSanitized ? 64 : 460;

TEST(BlendRows, AnyWidthAtAnyAddressAndPitch) {
    for (const Operation& blend : Blends()) {
        ASSERT_NO_FATAL_FAILURE(CheckApart(blend, kRuns));
    }
}

/// A destination of the size of a source on the same memory: on it, rows above or below it, or pixels
/// beside it. Its rows are made one after the other, each from the left to the right.
void CheckOnSources(const std::vector<Shift>& shifts) {
    const std::vector<unsigned>& widths = Widths();
    std::size_t number = RandomFrom<std::size_t>(0, 400);
    for (const Operation& blend : Blends()) {
        const std::size_t last = blend.Last();
        if (blend.bytesPerPair[last] != 8) {
            continue;
        }
        for (unsigned run = 0; run < kRuns / 8; ++run) {
            const Shift& shift = shifts[run % shifts.size()];
            Layout layout{std::max(blend.leastWidth, widths[++number % widths.size()]), 1 + run % 5, {}};
            const std::size_t room = RoomFor(shift, std::size_t{4} * layout.width);
            for (std::size_t i = 0; i <= last; ++i) {
                const std::size_t rowBytes = blend.RowBytes(i, layout.width);
                std::ptrdiff_t pitch = AnyPitch(rowBytes, blend.steps[i]);
                if (blend.bytesPerPair[i] == 8) {
                    pitch = pitch / 4 * 4;
                }
                layout.Add(rowBytes, pitch, (run * 5 + 7 * i) % 64, room);
            }
            for (std::size_t source = 0; source < last; ++source) {
                if (blend.bytesPerPair[source] == 8) {
                    ASSERT_NO_FATAL_FAILURE(CheckShifted(blend, source, layout, shift));
                }
            }
        }
    }
}

TEST(BlendRows, OnASource) {
    CheckOnSources({Shift{}});
}

TEST(BlendRows, RowsAboveOrBelowASource) {
    CheckOnSources(ByRows({1, -1, 2, -2, 3}));
}

TEST(BlendRows, LeftOfASource) {
    CheckOnSources(ByPixels({-1, -2, -3, -4, -7, -8, -15, -16, -17, -31, -33, -64, -100}));
}

// By a group or more: what a row has written it reads again further on.
TEST(BlendRows, RightOfASource) {
    CheckOnSources(ByPixels({16, 17, 23, 24, 31, 32, 33, 48, 63, 64, 65, 100, 127, 200, 255}));
}

TEST(BlendRows, FurtherLeftOrRightWithEveryRow) {
    CheckOnSources({{0, 0, -1}, {0, -100, -34}, {0, 16, 1}, {0, 17, 16}, {0, 200, -46}, {0, 20, 64}});
}

}  // namespace
