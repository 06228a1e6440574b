#include <TesselU/filter/NoiseReduction.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "filter/kernels/AdaptiveFilter.h"
#include "filter/kernels/TemporalFilter.h"

namespace Zan {
namespace {

constexpr ULong32 kPixels = 0, kPairs = 2;

/// What is measured lies further than this from every edge.
constexpr ULong32 kMargin = 5;

std::uint8_t MeanLevel(const float (&history)[3][4], std::size_t i) noexcept {
    const double mean = (double{history[0][i]} + history[1][i] + history[2][i]) * 0.3333333333333333;
    return static_cast<std::uint8_t>((mean > 0 ? std::min(mean, 255.0) : 0.0) + 0.5);
}

Combine CombineOf(NoiseReduction::AlphaControlEnum control, bool sums) noexcept {
    switch (control) {
        case NoiseReduction::kAlphaMinimum:
            return Combine::kMinimum;
        case NoiseReduction::kAlphaMaximum:
            return Combine::kMaximum;
        case NoiseReduction::kAlphaWeightedSum:
            return sums ? Combine::kSum : Combine::kNot;
    }
    return Combine::kNot;
}

Plane PlaneOf(ULong32* first, ULong32 pitch) noexcept {
    return {reinterpret_cast<std::uint8_t*>(first), static_cast<std::ptrdiff_t>(pitch)};
}

}  // namespace

void NoiseReduction::AutomaticNoiseLevelAdjustment(bool enable) {
    automaticNoiseLevel = enable;
}

void NoiseReduction::SetBaseNoiseLevel(float* levels) {
    for (auto& row : noiseLevelHistory) {
        for (std::size_t i = 0; i < 3; ++i) {
            row[i] = levels[i] < 255.0F ? levels[i] : 0.0F;
        }
        row[3] = 0;
    }
}

void NoiseReduction::GetMeasuredNoiseLevel(float* levels) {
    std::copy(std::begin(measuredNoiseLevel), std::end(measuredNoiseLevel), levels);
}

Long32 NoiseReduction::DoFilterSSF(ULong32** frames, ULong32* dst, ULong32 width, ULong32 height,
                                   ULong32 srcPitch, ULong32 dstPitch, double* channelWeights,
                                   ULong32 windowWidth, ULong32 windowHeight, ULong32 windowFrames,
                                   AlphaControlEnum alphaControl, bool limitToNoiseLevel,
                                   double detailStrength, ULong32 pixelFormat, ULong32 implementation) {
    const bool arePairs = pixelFormat == kPairs, isSingle = arePairs && implementation == 3;
    Long32 status = kStatusOk;
    if ((pixelFormat != kPixels && !arePairs) || frames == nullptr || dst == nullptr) {
        status = -1;
    } else if (windowWidth % 2 == 0 || windowHeight % 2 == 0 || windowFrames % 2 == 0) {
        status = -2;
    } else if (arePairs && implementation > 3) {
        status = kStatusUnsupportedStyle;
    }

    if (status == kStatusOk) {
        const AdaptiveJob job = {frames,
                                 static_cast<std::ptrdiff_t>(srcPitch),
                                 PlaneOf(dst, dstPitch),
                                 width,
                                 height,
                                 windowWidth,
                                 windowHeight,
                                 windowFrames};
        AdaptiveSettings settings{};
        const bool sums = arePairs && implementation >= 2;
        settings.combine = CombineOf(alphaControl, sums);
        settings.strength = detailStrength;
        settings.limits = limitToNoiseLevel;
        // Channels that are told in another order than that of the bytes.
        const bool isLumaFirst = arePairs && !isSingle;
        const bool isSum = settings.combine == Combine::kSum;
        for (std::size_t i = 0; i < 3; ++i) {
            const std::size_t channel = isLumaFirst && i < 2 ? 1 - i : i;
            settings.levels[channel] = MeanLevel(noiseLevelHistory, i);
            settings.weights[channel] = channelWeights != nullptr ? channelWeights[i]
                                        : isSum                   ? (i == 0 ? 0.4 : 0.2)
                                                                  : 1.0;
        }
        if (width != 0 && height != 0) {
            (isSingle ? kAdaptPairsInSingle : arePairs ? kAdaptPairs : kAdaptPixels)(job, settings);
        }
        if (isSingle) {
            float measured[3] = {255, 255, 255};
            if (width > 2 * kMargin + 1 && height > 2 * kMargin + 1) {
                DeviationsAround(job, width - kMargin - 1, height - kMargin - 1, measured);
            }
            for (std::size_t i = 0; i < 3; ++i) {
                measuredNoiseLevel[i] = std::min(measured[i], 255.0F);
            }
        }
    }

    if (isSingle && automaticNoiseLevel) {
        for (std::size_t i = 0; i < 3; ++i) {
            noiseLevelHistory[2][i] = noiseLevelHistory[1][i];
            noiseLevelHistory[1][i] = noiseLevelHistory[0][i];
            noiseLevelHistory[0][i] = measuredNoiseLevel[i];
        }
    }
    return status;
}

Long32 NoiseReduction::DoFilterSAT(ULong32* previous, ULong32* current, ULong32* next, ULong32* dst,
                                   ULong32 width, ULong32 height, ULong32 srcPitch, ULong32 dstPitch,
                                   unsigned char lowThreshold, unsigned char highThreshold,
                                   double* frameWeights, double* channelWeights, ULong32) {
    if (previous == nullptr || current == nullptr || next == nullptr || dst == nullptr) {
        return -1;
    }
    TemporalFormula formula{};
    for (std::size_t i = 0; i < 3; ++i) {
        formula.frameWeights[i] = frameWeights != nullptr ? frameWeights[i] : 0.3333333333333333;
        formula.channelWeights[i] = channelWeights != nullptr ? channelWeights[i] : 1.0;
    }
    formula.lowThreshold = lowThreshold;
    formula.highThreshold = highThreshold;
    const std::size_t pairs = width / 2;
    kMixFrames({{PlaneOf(previous, srcPitch), PlaneOf(current, srcPitch), PlaneOf(next, srcPitch)},
                {PlaneOf(dst, dstPitch)},
                pairs,
                height,
                pairs},
               formula);
    return kStatusOk;
}

Long32 NoiseReduction::DoFilterPureMedian(ULong32*, ULong32*, ULong32, ULong32, ULong32, ULong32, ULong32,
                                          ULong32, ULong32) {
    return kStatusOk;
}

}  // namespace Zan
