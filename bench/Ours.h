#ifndef TESSELU_BENCH_OURS_H
#define TESSELU_BENCH_OURS_H

#include "Contest.h"
#include "Pictures.h"

namespace bench {

/// Enters our operations, on the target that kernels run on when they are called.
void EnterOurs(Contests& contests, const Pictures& pictures);

// What all entrants of an operation have in common.

/// Weight of picture a in the dissolves, as a fraction and out of 256.
inline constexpr double kFade = 95.0 / 256;
inline constexpr int kFadeOf256 = 95;

/// The picture on top keeps its strength, as the libraries know it.
inline constexpr double kOverFade = 1;
inline constexpr unsigned kOverFadeOf256 = 256;

/// The wipes are half way, their edge is 32 code values wide.
inline constexpr double kPosition = 0.5, kSoftness = 32;
inline constexpr double kThreshold = -kSoftness / 255 + (255 + kSoftness) / 255 * kPosition;
inline constexpr double kGain = 1 / (1 + kSoftness);

/// The border lies in the middle of the edge, its own width in code values of the key.
inline constexpr double kBorderSoftness = 24, kBorderWidth = 16;
inline constexpr std::uint32_t kBorderColour = 0xFF3060C0;
/// The same as Cb, Y, Cr, Y.
inline constexpr std::uint32_t kBorderColourOfPairs = 0x606460B1;

/// Every byte alike, so that `memset` can take part.
inline constexpr std::uint32_t kColour = 0xA1A1A1A1;

}  // namespace bench

#endif  // TESSELU_BENCH_OURS_H
