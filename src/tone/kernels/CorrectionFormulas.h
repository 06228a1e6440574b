#ifndef TESSELU_SRC_TONE_KERNELS_CORRECTIONFORMULAS_H
#define TESSELU_SRC_TONE_KERNELS_CORRECTIONFORMULAS_H

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>

#include "tone/kernels/Correction.h"

namespace Zan {

/// Two pixels that share chroma, as they lie in memory.
struct PixelPair {
    std::uint8_t cb, y0, cr, y1;
};

/// To the nearest whole number, halves away from zero.
inline int Rounded(float x) {
    // The largest float below one half takes nothing but halves with it.
    return static_cast<int>(x + std::copysign(0.49999997F, x));
}

/// The product of signed chroma from the table of its magnitudes.
inline int ProductOf(const std::int16_t* products, int chroma) {
    return chroma < 0 ? -products[-chroma] : products[chroma];
}

inline void Rotate(const ChromaRotation& rotation, PixelPair& pair) {
    const int cb = pair.cb - 128, cr = pair.cr - 128;
    const int turnedCb = ProductOf(rotation.cosine, cb) + ProductOf(rotation.sine, cr);
    const int turnedCr = ProductOf(rotation.cosine, cr) - ProductOf(rotation.sine, cb);
    pair.cb = static_cast<std::uint8_t>(std::clamp(turnedCb, -127, 127) + 128);
    pair.cr = static_cast<std::uint8_t>(std::clamp(turnedCr, -127, 127) + 128);
}

struct Colour {
    int red, green, blue;
};

/// The entry for `x`, -511 ... 511, of the table that `halves` stand for.
inline int LevelOf(const std::uint8_t* halves, int x) {
    if (halves == nullptr) {
        return x;
    }
    const int magnitude = std::abs(x);
    const int level = halves[magnitude / 2] + halves[(magnitude + 1) / 2];
    return x < 0 ? -level : level;
}

inline std::uint8_t LumaOf(const Colour& colour) {
    const auto r = static_cast<float>(colour.red), g = static_cast<float>(colour.green),
               b = static_cast<float>(colour.blue);
    return static_cast<std::uint8_t>(
        std::clamp(Rounded(0.298828F * r + 0.587891F * g + 0.113281F * b), 0, 255));
}

/// Levels of red, green and blue. Not limited in between: red reaches from -180 to 435, green from -136 to
/// 391, blue from -228 to 483.
inline void CorrectColours(const std::uint8_t* const* halves, PixelPair& pair) {
    const auto cb = static_cast<float>(pair.cb - 128), cr = static_cast<float>(pair.cr - 128);
    const float red = 0.003714F * cb + 1.403591F * cr;
    const float green = -0.34355F * cb - 0.713068F * cr;
    const float blue = 1.773109F * cb - 0.002002F * cr;
    const auto corrected = [&](std::uint8_t y) {
        const auto luma = static_cast<float>(y);
        return Colour{LevelOf(halves[0], Rounded(luma + red)), LevelOf(halves[1], Rounded(luma + green)),
                      LevelOf(halves[2], Rounded(luma + blue))};
    };
    const Colour first = corrected(pair.y0), second = corrected(pair.y1);
    const auto r = static_cast<float>(first.red), g = static_cast<float>(first.green),
               b = static_cast<float>(first.blue);
    pair.y0 = LumaOf(first);
    pair.y1 = LumaOf(second);
    pair.cb = static_cast<std::uint8_t>(
        std::clamp(Rounded(0.5F * b - 0.332031F * g - 0.167969F * r), -128, 127) + 128);
    pair.cr = static_cast<std::uint8_t>(
        std::clamp(Rounded(0.5F * r - 0.417969F * g - 0.082031F * b), -128, 127) + 128);
}

inline std::uint8_t Limited(const SampleLimits& limits, std::uint8_t sample) {
    return std::clamp(sample, limits.low, limits.high);
}

/// A pair through all that is asked for.
inline void CorrectPair(const CorrectionSettings& set, PixelPair& pair) {
    if (set.luma != nullptr) {
        pair.y0 = set.luma[pair.y0];
        pair.y1 = set.luma[pair.y1];
    }
    if (set.rotation != nullptr) {
        Rotate(*set.rotation, pair);
    }
    if (set.gain != nullptr) {
        pair.cb = set.gain->table[pair.cb];
        pair.cr = set.gain->table[pair.cr];
    }
    if (set.colours[0] != nullptr || set.colours[1] != nullptr || set.colours[2] != nullptr) {
        CorrectColours(set.colours, pair);
    }
    pair.y0 = Limited(set.lumaLimits, pair.y0);
    pair.y1 = Limited(set.lumaLimits, pair.y1);
    pair.cb = Limited(set.chromaLimits, pair.cb);
    pair.cr = Limited(set.chromaLimits, pair.cr);
}

}  // namespace Zan

#endif  // TESSELU_SRC_TONE_KERNELS_CORRECTIONFORMULAS_H
