#ifndef TESSELU_BENCH_OURS_H
#define TESSELU_BENCH_OURS_H

#include <array>
#include <string>
#include <vector>

#include "Contest.h"
#include "Pictures.h"
#include "plain/Plain.h"

namespace bench {

/// Enters our operations, on the target that kernels run on when they are called.
void EnterOurs(Contests& contests, const Pictures& pictures);
/// Of them, tables, histograms and corrections.
void EnterTone(Contests& contests, const Pictures& pictures);
/// Of them, overlays.
void EnterOverlays(Contests& contests, const Pictures& pictures);
/// Of them, blurs, noise and what takes it away.
void EnterFilters(Contests& contests, const Pictures& pictures);
/// Of them, keyers.
void EnterKeys(Contests& contests, const Pictures& pictures);

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

/// Settings of the processing amplifier; the angle in degrees.
inline constexpr double kBrightness = 0.05, kContrast = 1.1, kSaturation = 1.2, kHue = 20;

/// Levels of the posterised channels.
inline constexpr double kLevels = 12;

/// The tables of an operation of 4:2:2 pairs that is one for each byte.
struct PairTables {
    std::uint8_t cb[256], y[256], cr[256], alpha[256];
};
PairTables TablesOf(Operation operation);

/// The chroma keyer: angles in degrees, the rest in full scale. The backing is a green of a studio.
inline constexpr double kKeyHue = 232, kKeyAcceptance = 100, kKeySaturation = 0.05, kKeyOffset = -0.05,
                        kKeyGain = 3, kKeySpillGain = 0.9;
/// The table of the keyers that have one.
void TableOfKeys(std::array<std::uint8_t, 256>& table);

/// Frames of the photograph as UYVY, each with noise of its own.
inline constexpr std::size_t kNoisyFrames = 9;
class NoisyFrames {
public:
    explicit NoisyFrames(const Pictures& pictures);
    std::vector<std::uint8_t*> Pointers();

private:
    std::vector<std::vector<std::uint8_t>> frames;
};
inline constexpr float kNoiseLevel = 6;
inline constexpr double kDetail = 0.9;
inline constexpr unsigned char kLowMotion = 12, kHighMotion = 40;
inline constexpr plain::Window kWindow119 = {1, 1, 9}, kWindow331 = {3, 3, 1}, kWindow333 = {3, 3, 3};

/// Noise: uniform to both sides, of a variance, and the share of wrong bits.
inline constexpr double kNoiseReach = 20, kNoiseVariance = 100, kNoiseErrors = 0.001;

/// A look of 33 colours a side, as the text of a .cube file.
inline constexpr int kCubeSide = 33;
std::string CubeText();

/// Every byte alike, so that `memset` can take part.
inline constexpr std::uint32_t kColour = 0xA1A1A1A1;

}  // namespace bench

#endif  // TESSELU_BENCH_OURS_H
