// The vectors of every target against the formulas, and how chroma that only doubles can judge is found.

#include <TesselU/key/ChromaKeyerYUV.h>
#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <utility>
#include <vector>

#include "key/ChromaWords.h"
#include "key/kernels/ChromaKeyFormulas.h"
#include "simd/Targets.h"

using namespace Zan;
using namespace chroma_test;

namespace {

/// Settings of all kinds; the first ones are the corners of all ranges.
ChromaKeyerYUV AnyKeyer(unsigned number, std::mt19937& random) {
    const auto between = [&](double low, double high) {
        return std::uniform_real_distribution<double>(low, high)(random);
    };
    const bool isCorner = number < 32;
    unsigned bit = 0;
    const auto either = [&](double low, double high, double a, double b) {
        const bool isHigh = (number >> bit++ % 5 & 1) != 0;
        return isCorner ? isHigh ? high : low : between(a, b);
    };
    ChromaKeyerYUV keyer;
    const double hue = between(0, 360);
    keyer.SetHueAngle(number % 3 == 0 ? 45.0 * (number % 8) : hue);
    keyer.SetAcceptanceAngle(either(1, 179, 30, 179));
    keyer.SetSpillSuppressionGain(either(0, 256, 0, 2));
    keyer.SetKeyGain(either(0, 256, 0, 6));
    keyer.SetKeyOffset(either(-1, 1, -0.5, 0.5));
    keyer.SetSaturationMinimum(either(0, 0.25, 0, 0.2));
    const double angle = between(0, 360);
    keyer.SetSpillSuppressionAngle(number % 4 == 0 ? 90.0 * (number % 5) : angle);
    keyer.SetInvertKeyBeforePostProcessing(number % 7 > 3);
    keyer.SetInvertKeyAfterPostProcessing(number % 5 > 2);
    return keyer;
}

TEST(ChromaKeyerYUV, ChromaNearTheLeastSaturationIsFound) {
    constexpr double kDistance = 1e-6;
    std::mt19937 random(17);
    int found = 0;
    for (int number = 0; number < 400; ++number) {
        ChromaKeySettings settings;
        const double hue = number % 4 == 0 ? number % 8 * 0.7853981633974483
                                           : std::uniform_real_distribution<double>(0, 6.28)(random);
        settings.cosine = std::cos(hue);
        settings.sine = std::sin(hue);
        // That of some chroma, or a little off.
        const unsigned cb = random() % 256, cr = random() % 256;
        settings.leastSaturation = AlongHue(settings, cb, cr) + (number % 5 - 2) * 0.6e-6;
        bool isNear = false;
        for (unsigned i = 0; i < 65536; ++i) {
            const double x = AlongHue(settings, i / 256, i % 256);
            isNear = isNear || std::abs(x - settings.leastSaturation) <= kDistance;
        }
        EXPECT_EQ(HasChromaNearLeast(settings, kDistance), isNear) << number;
        found += isNear ? 1 : 0;
    }
    EXPECT_GT(found, 200);
    EXPECT_LT(found, 399);
}

TEST(ChromaKeyerYUV, VectorsGiveWhatTheFormulasGiveForEveryChroma) {
    std::mt19937 random(11);
    for (unsigned number = 0; number < 80; ++number) {
        const ChromaKeyerYUV keyer = AnyKeyer(number, random);
        for (const auto& [style, sampling] : {std::pair{kFlp, k4444}, std::pair{kFP, k4444},
                                              std::pair{kFlp, k422}, std::pair{kFlp_SIMD, k422}}) {
            std::vector<unsigned char> expected;
            for (std::size_t t = simd::kPortable; t < simd::kTargetCount; ++t) {
                const auto target = static_cast<simd::Target>(t);
                if (!simd::IsTargetAvailable(target)) {
                    continue;
                }
                const simd::ScopedTarget scoped(target);
                const auto made = AllChroma(keyer, style, sampling);
                if (expected.empty()) {
                    expected = made;
                }
                ASSERT_TRUE(made == expected)
                    << simd::TargetName(target) << ", style " << style << ", setting " << number;
            }
        }
    }
}

}  // namespace
