#include <cmath>
#include <numbers>

#include "ProgramRun.h"

namespace tool::test {
namespace {

struct Settings {
    double brightness = 0, contrast = 1, saturation = 1, hue = 0, gamma = 1;

    std::string Options() const {
        return " --brightness " + std::to_string(brightness) + " --contrast " + std::to_string(contrast) +
               " --saturation " + std::to_string(saturation) + " --hue " + std::to_string(hue) +
               (gamma != 1 ? " --gamma " + std::to_string(gamma) : "");
    }
};

int Clamp(double value) {
    return static_cast<int>(std::clamp(std::trunc(value), 0.0, 255.0));
}

int LumaOf(const Settings& settings, int y) {
    if (settings.contrast != 1) {
        y = Clamp((y - 16) * settings.contrast + 16);
    }
    y = Clamp(y + std::trunc(settings.brightness * 255));
    return settings.gamma == 1 ? y : Clamp(std::pow(y / 255.0, settings.gamma) * 255 + 0.5);
}

/// Cb and Cr.
std::pair<int, int> ChromaOf(const Settings& settings, int cb, int cr) {
    if (settings.hue != 0) {
        const double angle = settings.hue * std::numbers::pi / 180, u = cb - 128, v = cr - 128;
        cb = Clamp(std::trunc(u * std::cos(angle) + v * std::sin(angle)) + 128);
        cr = Clamp(std::trunc(v * std::cos(angle) - u * std::sin(angle)) + 128);
    }
    if (settings.saturation != 1) {
        cb = Clamp((cb - 128) * settings.saturation + 128);
        cr = Clamp((cr - 128) * settings.saturation + 128);
    }
    return {cb, cr};
}

class AdjustTest : public ProgramTest {
protected:
    void WriteValues(const std::string& name) const {
        WriteY4m(
            name, 32, 32, 1, [](int x, int y, int) { return (8 * y + x) % 256; },
            [](int x, int y, int) { return 16 * (y % 16) + x; },
            [](int x, int y, int) { return (37 * y + 5 * x) % 256; });
    }
    void ExpectAdjusted(const Settings& settings, const std::string& style = "") const {
        SCOPED_TRACE(settings.Options() + style);
        ASSERT_EQ(Run("adjust values.y4m -o out.y4m" + settings.Options() + style).status, 0);
        const Y4mClip before(Contents(In("values.y4m"))), after(Contents(In("out.y4m")));
        ASSERT_EQ(after.Frames(), 1);
        for (int y = 0; y < 32; ++y) {
            for (int x = 0; x < 32; ++x) {
                EXPECT_EQ(after.Luma(0, x, y), LumaOf(settings, before.Luma(0, x, y)));
                const auto [cb, cr] = ChromaOf(settings, before.Cb(0, x, y), before.Cr(0, x, y));
                EXPECT_EQ(after.Cb(0, x, y), cb) << before.Cb(0, x, y) << " " << before.Cr(0, x, y);
                EXPECT_EQ(after.Cr(0, x, y), cr) << before.Cb(0, x, y) << " " << before.Cr(0, x, y);
            }
        }
    }
};

TEST_F(AdjustTest, EveryControlAndAllTogether) {
    WriteValues("values.y4m");
    ExpectAdjusted({});
    ExpectAdjusted({.brightness = 0.5});
    ExpectAdjusted({.brightness = -0.2});
    ExpectAdjusted({.contrast = 1.3});
    ExpectAdjusted({.contrast = 0});
    ExpectAdjusted({.saturation = 0});
    ExpectAdjusted({.saturation = 2.5});
    ExpectAdjusted({.hue = 30});
    ExpectAdjusted({.hue = -117});
    ExpectAdjusted({.gamma = 0.45});
    ExpectAdjusted({.gamma = 2});
    ExpectAdjusted({.brightness = 0.1, .contrast = 0.8, .saturation = 1.4, .hue = 25, .gamma = 1.2});
}

TEST_F(AdjustTest, BothPathsMakeTheSamePictures) {
    WriteValues("values.y4m");
    ExpectAdjusted({.brightness = 0.1, .contrast = 0.8, .saturation = 1.4, .hue = 25}, " --style int");
    ExpectAdjusted({.brightness = 0.1, .contrast = 0.8, .saturation = 1.4, .hue = 25}, " --style flp");
    // An alpha plane beside the colours, too.
    Ffmpeg("-i values.y4m -vf \"format=rgba,geq=r='r(X,Y)':g='g(X,Y)':b='b(X,Y)':a='255-4*X'\" a.png");
    ASSERT_EQ(Run("adjust a.png -o int-%d.png --contrast 1.5 --hue 60 --style int").status, 0);
    ASSERT_EQ(Run("adjust a.png -o flp-%d.png --contrast 1.5 --hue 60 --style flp").status, 0);
    EXPECT_EQ(Contents(In("int-0.png")), Contents(In("flp-0.png")));
    EXPECT_EQ(Run("compare a.png flp-0.png -q --tolerance 255:255:255:0").status, 0) << "alpha stays";
    EXPECT_EQ(Run("compare a.png flp-0.png -q --tolerance 20:20:20:0").status, 1);
}

}  // namespace
}  // namespace tool::test
