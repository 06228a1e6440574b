#include <cmath>

#include "ProgramRun.h"

namespace tool::test {
namespace {

class CorrectTest : public ProgramTest {
protected:
    static Sample Flat(int value) {
        return [value](int, int, int) { return value; };
    }
    /// All values of luma, and all of chroma, however wide.
    void WriteValues(const std::string& name, int width = 32, const std::string& scan = "Ip") const {
        WriteY4m(
            name, width, 64, 1, [width](int x, int y, int) { return (y * width + x) % 256; },
            [width](int x, int y, int) { return (y * width / 2 + x) % 256; },
            [width](int x, int y, int) { return 255 - (y * width / 2 + x) % 256; }, scan);
    }
    using Curve = std::function<int(int)>;
    void ExpectCurves(const std::string& options, const Curve& luma, const Curve& chroma, int width = 32,
                      const std::string& scan = "Ip") const {
        SCOPED_TRACE(options + " at a width of " + std::to_string(width));
        WriteValues("values.y4m", width, scan);
        ASSERT_EQ(Run("correct values.y4m -o out.y4m " + options).status, 0);
        const Y4mClip before(Contents(In("values.y4m"))), after(Contents(In("out.y4m")));
        ASSERT_EQ(after.Frames(), 1);
        for (int y = 0; y < 64; ++y) {
            for (int x = 0; x < width; ++x) {
                EXPECT_EQ(after.Luma(0, x, y), luma(before.Luma(0, x, y))) << before.Luma(0, x, y);
                EXPECT_EQ(after.Cb(0, x, y), chroma(before.Cb(0, x, y))) << before.Cb(0, x, y);
                EXPECT_EQ(after.Cr(0, x, y), chroma(before.Cr(0, x, y))) << before.Cr(0, x, y);
            }
        }
    }
    /// What becomes of a picture of one colour.
    struct Colour {
        int y, cb, cr;
        bool operator==(const Colour&) const = default;
        friend void PrintTo(const Colour& colour, std::ostream* out) {
            *out << colour.y << " " << colour.cb << " " << colour.cr;
        }
    };
    Colour Corrected(const Colour& colour, const std::string& options) const {
        WriteY4m("flat.y4m", 32, 16, 1, Flat(colour.y), Flat(colour.cb), Flat(colour.cr));
        EXPECT_EQ(Run("correct flat.y4m -o out.y4m " + options).status, 0);
        const Y4mClip out(Contents(In("out.y4m")));
        return {out.Luma(0, 5, 5), out.Cb(0, 5, 5), out.Cr(0, 5, 5)};
    }
    static int Same(int v) { return v; }
    static int Limited(int v, int low, int high) { return std::clamp(v, low, high); }
};

TEST_F(CorrectTest, NothingToCorrectIsACopy) {
    ExpectCurves("", Same, Same);
    ExpectCurves("--brightness 0 --contrast 0 --hue 0 --saturation 0 --luma 0,0,0 --red 0,0,0", Same, Same);
    // Half of a step of the record is none.
    ExpectCurves("--brightness 0.0019", Same, Same);
}

// 0.1 is 25.5 steps, rounded away from zero. Lines of these widths begin at all kinds of addresses.
TEST_F(CorrectTest, PositiveBrightnessBrightensAtEveryAlignment) {
    const auto lighter = [](int v) { return std::min(255, v + 26); };
    const auto darker = [](int v) { return std::max(0, v - 26); };
    for (const int width : {8, 10, 12, 14, 16, 32, 34, 60, 64, 70}) {
        for (const char* scan : {"Ip", "It"}) {
            ExpectCurves("--brightness 0.1", lighter, Same, width, scan);
            ExpectCurves("--brightness -0.1", darker, Same, width, scan);
        }
    }
    // Beside a luma triple it is added in any case.
    EXPECT_EQ(Corrected({100, 128, 128}, "--brightness 0.1 --luma 0.1,0,0.1"), (Colour{152, 128, 128}));
    EXPECT_EQ(Corrected({100, 128, 128}, "--brightness -0.1 --luma 0.1,0,0.1"), (Colour{100, 128, 128}));
}

// Contrast 0.2 is 51: luma times 357 / 255, less 51.
TEST_F(CorrectTest, ContrastTurnsAboutTheMiddle) {
    EXPECT_EQ(Corrected({50, 90, 150}, "--contrast 0.2"), (Colour{19, 90, 150}));
    EXPECT_EQ(Corrected({200, 90, 150}, "--contrast 0.2"), (Colour{229, 90, 150}));
    EXPECT_EQ(Corrected({30, 90, 150}, "--contrast 0.2"), (Colour{0, 90, 150}));
    EXPECT_EQ(Corrected({200, 90, 150}, "--contrast 0.2 --brightness -0.2"), (Colour{178, 90, 150}));
    // All the contrast there is to take: luma times -255 / 255, plus 255.
    EXPECT_EQ(Corrected({60, 90, 150}, "--contrast -1"), (Colour{195, 90, 150}));
}

// GAMMA 0.2 is 51: an exponent of 1 / (51 / 50 + 1).
TEST_F(CorrectTest, LevelsOfLumaLiftBendAndGain) {
    const auto levels = [](int low, double exponent, int high) {
        const double slope = (high - low + 255) / 255.0;
        return [=](int v) {
            const int t = static_cast<int>(std::floor(v * slope + low + 0.5));
            return t < 0 ? 0 : static_cast<int>(std::pow(std::min(t, 255) / 256.0, exponent) * 256);
        };
    };
    ExpectCurves("--luma 0.1,0,0", levels(26, 1, 0), Same);
    ExpectCurves("--luma 0,0,-0.2", levels(0, 1, -51), Same);
    ExpectCurves("--luma 0,0.2,0", levels(0, 1 / (51 / 50.0 + 1), 0), Same);
    ExpectCurves("--luma -0.1,-0.4,0.3", levels(-26, 1 / (-102 / 260.0 + 1), 77), Same);
}

TEST_F(CorrectTest, HueTurnsByWholeDegrees) {
    // A quarter of a turn: Cb gets Cr, and Cr the opposite of Cb.
    EXPECT_EQ(Corrected({100, 100, 180}, "--hue 90"), (Colour{100, 180, 156}));
    EXPECT_EQ(Corrected({100, 100, 180}, "--hue -90"), (Colour{100, 76, 100}));
    EXPECT_EQ(Corrected({100, 100, 180}, "--hue 180"), (Colour{100, 156, 76}));
    EXPECT_EQ(Corrected({100, 100, 180}, "--hue -180"), (Colour{100, 156, 76}));
    for (const int degrees : {1, 2, 7, 44, 45, 46, 89, 133, 179}) {
        for (const int sign : {1, -1}) {
            const double angle = sign * degrees * 3.14159265358979323846 / 180;
            const auto product = [](double value) { return static_cast<int>(std::round(value)); };
            const Colour expected = {100,
                                     128 + product(-28 * std::cos(angle)) + product(52 * std::sin(angle)),
                                     128 + product(52 * std::cos(angle)) - product(-28 * std::sin(angle))};
            EXPECT_EQ(Corrected({100, 100, 180}, "--hue " + std::to_string(sign * degrees)), expected)
                << sign * degrees;
        }
    }
}

// -0.2 is -51: a gain of 204 / 255. 0.2 is 51, x = 0.3984375: (e^x - 1 + x) * 128 is 113, a gain of 368 /
// 255.
TEST_F(CorrectTest, SaturationIsAGainOfChroma) {
    const auto gain = [](double by) {
        return [by](int v) {
            const double chroma = std::max(-127, v - 128) * by;
            return 128 + static_cast<int>(std::clamp(std::round(chroma), -127.0, 127.0));
        };
    };
    ExpectCurves("--saturation -1", Same, [](int) { return 128; });
    ExpectCurves("--saturation -0.2", Same, gain(0.8));
    ExpectCurves("--saturation 0.2", Same, gain(368 / 255.0));
}

TEST_F(CorrectTest, LimitsComeLast) {
    ExpectCurves(
        "--legal", [](int v) { return Limited(v, 16, 235); }, [](int v) { return Limited(v, 16, 240); });
    ExpectCurves(
        "--studio", [](int v) { return Limited(v, 16, 235); }, [](int v) { return Limited(v, 16, 240); });
    ExpectCurves("--limit-chroma", Same, [](int v) { return Limited(v, 44, 212); });
    ExpectCurves(
        "--legal --limit-chroma", [](int v) { return Limited(v, 16, 235); },
        [](int v) { return Limited(v, 44, 212); });
    EXPECT_EQ(Corrected({200, 100, 180}, "--brightness 0.3 --saturation 1 --legal"), (Colour{235, 16, 240}));
}

// Studio levels of luma: black at 16 and white at 235 stay where they are, what lies beyond is cut off.
TEST_F(CorrectTest, StudioLevelsStandOnBlackAndWhite) {
    const auto bent = [](int y, double exponent) {
        return static_cast<int>(std::pow((y - 16) / 220.0, exponent) * 220 + 16);
    };
    const double exponent = 1 / (51 / 50.0 + 1);
    EXPECT_EQ(Corrected({16, 128, 128}, "--studio --luma 0,0.2,0"), (Colour{16, 128, 128}));
    EXPECT_EQ(Corrected({5, 128, 128}, "--studio --luma 0,0.2,0"), (Colour{16, 128, 128}));
    EXPECT_EQ(Corrected({100, 128, 128}, "--studio --luma 0,0.2,0"), (Colour{bent(100, exponent), 128, 128}));
    EXPECT_EQ(Corrected({250, 128, 128}, "--studio --luma 0,0.2,0"), (Colour{bent(235, exponent), 128, 128}));
}

// Grey 100 is R, G and B 100. GAIN -0.2 leaves 204 / 255 of them.
TEST_F(CorrectTest, LevelsOfColours) {
    // All three alike: grey stays grey.
    EXPECT_EQ(Corrected({100, 128, 128}, "--red 0,0,-0.2 --green 0,0,-0.2 --blue 0,0,-0.2"),
              (Colour{80, 128, 128}));
    // Red alone, 80: luma loses 0.298828 of 20, Cb gains 0.167969 of it, Cr loses half of it.
    EXPECT_EQ(Corrected({100, 128, 128}, "--red 0,0,-0.2"), (Colour{94, 131, 118}));
    EXPECT_EQ(Corrected({100, 128, 128}, "--green 0,0,-0.2"), (Colour{88, 135, 136}));
    EXPECT_EQ(Corrected({100, 128, 128}, "--blue 0,0,-0.2"), (Colour{98, 118, 130}));
    EXPECT_EQ(Corrected({100, 128, 128}, "--red 0,0,-0.2 --blue 0,0,-0.2"), (Colour{92, 121, 120}));
}

}  // namespace
}  // namespace tool::test
