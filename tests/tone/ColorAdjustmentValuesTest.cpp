// What the steps make of every sample and every pair of chroma samples, on every target, beside the same
// written down plainly.

#include <TesselU/convert/ConversionMatrix.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <random>

#include "simd/Targets.h"
#include "tone/Adjusting.h"
#include "tone/kernels/FixedTurn.h"

namespace {

using namespace tone_test;

struct Settings {
    double brightness = 0, contrast = 1, saturation = 1, hue = 0, gamma = 1;
};

void PrintTo(const Settings& s, std::ostream* out) {
    *out << "brightness " << s.brightness << " contrast " << s.contrast << " saturation " << s.saturation
         << " hue " << s.hue << " gamma " << s.gamma;
}

class Model {
public:
    Model(const Settings& settings, bool hasGamma) : s(settings), gamma(hasGamma ? s.gamma : 1) {
        const double radians = s.hue * 0.017453292500000002;
        cosine = std::cos(radians);
        sine = std::sin(radians);
    }

    int Luma(int y) const {
        if (s.contrast != 1) {
            y = Limited(std::trunc((y - 16) * s.contrast + 16));
        }
        if (s.brightness * 255 != 0) {
            y = Limited(y + std::trunc(s.brightness * 255));
        }
        if (gamma != 1) {
            y = static_cast<int>(
                std::clamp(std::pow(y * 0.00392156862745098, gamma) * 255 + 0.5, 0.0, 255.0));
        }
        return y;
    }

    void Chroma(int& cb, int& cr) const {
        if (cosine != 1) {
            const int u = cb - 128, v = cr - 128;
            cb = Limited(std::trunc(u * cosine + v * sine) + 128);
            cr = Limited(std::trunc(v * cosine - u * sine) + 128);
        }
        if (s.saturation != 1) {
            cb = Limited(std::trunc((cb - 128) * s.saturation + 128));
            cr = Limited(std::trunc((cr - 128) * s.saturation + 128));
        }
    }

private:
    static int Limited(double value) { return static_cast<int>(std::clamp(value, 0.0, 255.0)); }

    Settings s;
    double gamma, cosine, sine;
};

void ModelOfYCrCb(const Settings& settings, const Layout& layout, const Bytes& in, Bytes& out) {
    const bool pairs = layout.sampling == k422;
    const Model model(settings, pairs);
    const bool lumaFirst = layout.order != kCbYCrA;
    const std::size_t luma = lumaFirst ? 0 : 1, cb = lumaFirst ? 1 : 0, cr = lumaFirst && pairs ? 3 : 2;
    out = in;
    for (std::size_t i = 0; i < in.size(); i += 4) {
        int b = in[i + cb], r = in[i + cr];
        model.Chroma(b, r);
        out[i + cb] = static_cast<unsigned char>(b);
        out[i + cr] = static_cast<unsigned char>(r);
        out[i + luma] = static_cast<unsigned char>(model.Luma(in[i + luma]));
        if (pairs) {
            out[i + luma + 2] = static_cast<unsigned char>(model.Luma(in[i + luma + 2]));
        }
    }
}

/// Through matrices in double precision, truncated, with the five steps between.
class RgbModel {
public:
    explicit RgbModel(const Settings& settings) : model(settings, false) {
        MakeConversionMatrix(matrix[0], offset[0], kKindFullRGBToYCrCb);
        MakeConversionMatrix(matrix[1], offset[1], kKindYCrCbToFullRGB);
    }

    std::array<int, 3> operator()(std::array<int, 3> bgr) const {
        std::array<int, 3> c = Through(0, bgr);
        c[1] = model.Luma(c[1]);
        model.Chroma(c[0], c[2]);
        return Through(1, c);
    }

private:
    std::array<int, 3> Through(std::size_t k, const std::array<int, 3>& in) const {
        std::array<int, 3> out{};
        for (std::size_t i = 0; i < 3; ++i) {
            double sum = 0;
            for (std::size_t j = 3; j-- > 0;) {
                sum += matrix[k][i][j] * (in[j] + offset[k][0][j]);
            }
            out[i] = static_cast<int>(std::clamp(sum + offset[k][1][i], 0.0, 255.0));
        }
        return out;
    }

    Model model;
    std::vector<std::vector<double>> matrix[2], offset[2];
};

const std::vector<Settings>& AllSettings() {
    static const std::vector<Settings> all = [] {
        std::vector<Settings> some;
        for (const double gain : {0.0, 0.001, 0.25, 0.5, 0.75, 0.999, 1.0000001, 1.1, 1.2, 1.5, 2.0, 3.3,
                                  10.0, 31.9, 64.0, 127.99609375}) {
            some.push_back({0, gain, 1, 0, 1});
            some.push_back({0.05, gain, gain, 0, 1});
        }
        for (const double hue :
             {1e-9, 1e-3, 0.1, 1.0, 29.9, 30.0, 45.0, 60.0, 77.7, 90.0, 120.0, 135.0, 179.0, 180.0}) {
            some.push_back({0, 1, 1, hue, 1});
            some.push_back({-0.1, 1.3, 1.4, -hue, 1});
        }
        for (const double gamma : {0.0, 0.45, 0.9, 1.1, 2.2, 30.0}) {
            some.push_back({0, 1, 1, 0, gamma});
            some.push_back({-0.03, 1.1, 0.9, 20, gamma});
        }
        std::mt19937 random(7);
        std::uniform_real_distribution<double> any(0, 1);
        for (int i = 0; i < 12; ++i) {
            some.push_back({any(random) * 2 - 1, any(random) * 2, any(random) * 3, any(random) * 360 - 180,
                            i % 3 == 0 ? any(random) * 2 : 1});
        }
        return some;
    }();
    return all;
}

ColorAdjustment Object(const Settings& s) {
    ColorAdjustment adjustment;
    adjustment.SetBrightness(s.brightness);
    adjustment.SetContrast(s.contrast);
    adjustment.SetSaturation(s.saturation);
    adjustment.SetHue(s.hue);
    adjustment.SetYgamma(s.gamma);
    return adjustment;
}

/// Runs on every target, by every path, and compares with what is expected.
void ExpectEverywhere(const Settings& settings, const Layout& layout, unsigned width, unsigned height,
                      const Bytes& in, const Bytes& expected) {
    ColorAdjustment adjustment = Object(settings);
    for (std::size_t target = 0; target < simd::kTargetCount; ++target) {
        if (!simd::IsTargetAvailable(static_cast<simd::Target>(target))) {
            continue;
        }
        const simd::ScopedTarget scope(static_cast<simd::Target>(target));
        for (const ProcessingStyleEnum style : {kFlp, kInt_MMXorSIMD}) {
            if (style == kInt_MMXorSIMD && !layout.hasIntegerPath) {
                continue;
            }
            Picture source(layout, width, height, in), destination(layout, width, height);
            ImageView from = source.View(), to = destination.View();
            ASSERT_EQ(adjustment.Do(from, to, style), 0);
            const auto at = std::mismatch(expected.begin(), expected.end(), destination.bytes.begin());
            ASSERT_EQ(at.first, expected.end())
                << layout.name << ", " << testing::PrintToString(settings) << ", "
                << simd::TargetName(static_cast<simd::Target>(target)) << ": byte "
                << at.first - expected.begin() << " is " << +*at.second << ", not " << +*at.first;
        }
    }
}

class ColorAdjustmentValues : public testing::TestWithParam<Layout> {};

/// All pairs of chroma samples, with all values of luma among them.
TEST_P(ColorAdjustmentValues, EverySample) {
    const Layout& layout = GetParam();
    const bool pairs = layout.sampling == k422, lumaFirst = layout.order != kCbYCrA;
    const std::size_t luma = lumaFirst ? 0 : 1, cb = lumaFirst ? 1 : 0, cr = lumaFirst && pairs ? 3 : 2;
    Bytes in(65536 * 4), expected;
    for (std::size_t i = 0; i < 65536; ++i) {
        in[4 * i + cb] = static_cast<unsigned char>(i);
        in[4 * i + cr] = static_cast<unsigned char>(i >> 8);
        in[4 * i + luma] = static_cast<unsigned char>(i + (i >> 8));
        in[4 * i + 6 - cb - cr - luma] = static_cast<unsigned char>(3 * i + (i >> 8));
    }
    for (const Settings& settings : AllSettings()) {
        ModelOfYCrCb(settings, layout, in, expected);
        ExpectEverywhere(settings, layout, pairs ? 512 : 256, 256, in, expected);
    }
}

/// Pictures whose lines are no whole number of steps.
TEST_P(ColorAdjustmentValues, SmallPictures) {
    const Layout& layout = GetParam();
    Bytes in(38 * 5 * layout.bytesPerPixel), expected;
    test_support::FillRandom(in.data(), in.size());
    for (const Settings& settings : AllSettings()) {
        ModelOfYCrCb(settings, layout, in, expected);
        ExpectEverywhere(settings, layout, 38, 5, in, expected);
    }
}

INSTANTIATE_TEST_SUITE_P(YCrCb, ColorAdjustmentValues,
                         testing::Values(kCbYCrY, kYCbYCrOrder, kCbYCrAPixels, kYCbCrAPixels),
                         [](const auto& layout) {
                             std::string name = layout.param.name;
                             name.erase(std::remove(name.begin(), name.end(), ' '), name.end());
                             return name;
                         });

/// A lattice of colours with all corners of the cube.
TEST(ColorAdjustmentValues, Rgb) {
    constexpr int step = 15;
    constexpr unsigned side = 255 / step + 1;
    for (const Settings& settings : AllSettings()) {
        const RgbModel model(settings);
        Bytes in32, in24, expected32, expected24;
        for (int b = 0; b < 256; b += step) {
            for (int g = 0; g < 256; g += step) {
                for (int r = 0; r < 256; r += step) {
                    const std::array<int, 3> bgr{b, g, r}, made = model(bgr);
                    for (std::size_t i = 0; i < 3; ++i) {
                        in32.push_back(static_cast<unsigned char>(bgr[i]));
                        in24.push_back(static_cast<unsigned char>(bgr[i]));
                        expected32.push_back(static_cast<unsigned char>(made[i]));
                        expected24.push_back(static_cast<unsigned char>(made[i]));
                    }
                    in32.push_back(static_cast<unsigned char>(b + 3 * g + 5 * r));
                    expected32.push_back(in32.back());
                }
            }
        }
        ExpectEverywhere(settings, kRgb32, side * side, side, in32, expected32);
        ExpectEverywhere(settings, kRgb24, side * side, side, in24, expected24);
    }
}

// ---- The turn in fixed point ------------------------------------------------------------------------------

bool EqualsDoubles(const FixedTurn& turn, double cosine, double sine) {
    for (int u = -128; u <= 128; ++u) {
        for (int v = -128; v <= 128; ++v) {
            if (turn(u, v) != static_cast<int>(u * cosine + v * sine)) {
                return false;
            }
        }
    }
    return true;
}

/// It says that it is exact where it is, and nowhere else.
TEST(FixedTurn, KnowsWhereItIsExact) {
    std::mt19937 random(11);
    std::uniform_real_distribution<double> any(-180, 180);
    int exact = 0, inexact = 0;
    const auto look = [&](double cosine, double sine) {
        const FixedTurn turn = FixedTurn::Of(cosine, sine);
        if (turn.isExact) {
            EXPECT_TRUE(EqualsDoubles(turn, cosine, sine)) << cosine << ", " << sine;
            ++exact;
        } else {
            ++inexact;
        }
    };
    for (int i = 0; i < 400; ++i) {
        const double radians = any(random) * 0.017453292500000002;
        look(std::cos(radians), std::sin(radians));
    }
    for (int degrees = -180; degrees <= 180; ++degrees) {
        look(std::cos(degrees * 0.017453292500000002), std::sin(degrees * 0.017453292500000002));
    }
    // Almost all angles are served.
    EXPECT_GT(exact, 700);
    // Angles that bring a sum to a whole number, or next to one.
    const int before = exact;
    for (const auto& [u, v, whole] : {std::array{3, 4, 1}, std::array{100, 37, 53}, std::array{128, 1, 64},
                                      std::array{77, -120, 20}, std::array{5, 12, -7}}) {
        const double length = std::hypot(u, v);
        const double angle = std::acos(whole / length) + std::atan2(v, u);
        for (double near = angle - 2e-15; near < angle + 2e-15; near += 4e-16) {
            look(std::cos(near), std::sin(near));
        }
        look(std::cos(angle + 1e-12), std::sin(angle + 1e-12));
        look(std::cos(angle - 1e-12), std::sin(angle - 1e-12));
    }
    look(0, 1);
    look(-1, 0);
    EXPECT_GT(inexact, 0);
    EXPECT_GT(exact, before);
}

}  // namespace
