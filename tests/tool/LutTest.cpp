#include <cmath>
#include <cstdlib>

#include "ProgramRun.h"

namespace tool::test {
namespace {

class LutTest : public ProgramTest {
protected:
    /// All 256 values of luma, and all of chroma, in 16 lines of 16.
    void WriteValues(const std::string& name) const {
        const auto luma = [](int x, int y, int) { return 16 * (y % 16) + x % 16; };
        const auto cb = [](int x, int y, int) { return 8 * (y % 32) + x; };
        const auto cr = [](int x, int y, int) { return 255 - (8 * (y % 32) + x); };
        WriteY4m(name, 16, 32, 1, luma, cb, cr);
    }
    /// Runs the command on all values, and compares every sample with what it
    /// should have become.
    using Curve = std::function<int(int)>;
    void ExpectCurves(const std::string& call, const Curve& luma, const Curve& cb, const Curve& cr) const {
        SCOPED_TRACE(call);
        WriteValues("values.y4m");
        ASSERT_EQ(Run("lut values.y4m -o out.y4m " + call).status, 0);
        const Y4mClip before(Contents(In("values.y4m"))), after(Contents(In("out.y4m")));
        ASSERT_EQ(after.Frames(), 1);
        for (int y = 0; y < 32; ++y) {
            for (int x = 0; x < 16; ++x) {
                EXPECT_EQ(after.Luma(0, x, y), luma(before.Luma(0, x, y))) << before.Luma(0, x, y);
                EXPECT_EQ(after.Cb(0, x, y), cb(before.Cb(0, x, y))) << before.Cb(0, x, y);
                EXPECT_EQ(after.Cr(0, x, y), cr(before.Cr(0, x, y))) << before.Cr(0, x, y);
            }
        }
    }
    static int Same(int v) { return v; }
    static int InvertedLuma(int v) { return std::max(0, 250 - v); }
    static int InvertedChroma(int v) { return std::min(255, 256 - v); }
    static Curve Posterised(double levels, int centre) {
        return [=](int v) {
            const double s = levels / 255;
            const double level = std::round(s * (v - centre));
            return std::clamp(static_cast<int>(std::round(level / s)) + centre, 0, 255);
        };
    }
    /// A function of 0 to 1 between two entries; below the first, as at its end.
    static Curve Between(int low, int high, const std::function<double(double)>& function) {
        return [=](int v) {
            if (v < low) {
                return high;
            }
            const double y = std::min(1.0, function((v - low) / static_cast<double>(high - low)));
            return low + static_cast<int>(y * (high - low) + 0.5);
        };
    }

    /// Lattice of `side` points, of which `colour` makes another colour; red
    /// changes fastest.
    using Colour = std::array<double, 3>;
    void WriteCube(const std::string& name, int side, const std::function<Colour(Colour)>& colour) const {
        std::ofstream file(In(name));
        file << "LUT_3D_SIZE " << side << "\n";
        const double last = side - 1;
        for (int b = 0; b < side; ++b) {
            for (int g = 0; g < side; ++g) {
                for (int r = 0; r < side; ++r) {
                    const Colour to = colour({r / last, g / last, b / last});
                    char line[96];
                    std::snprintf(line, sizeof line, "%.6f %.6f %.6f\n", to[0], to[1], to[2]);
                    file << line;
                }
            }
        }
    }
    std::string Pixels(const std::string& name, const std::string& format = "rgb24") const {
        Ffmpeg("-i " + name + " -f rawvideo -pix_fmt " + format + " pixels.raw");
        return Contents(In("pixels.raw"));
    }
    /// The largest difference, and how many bytes differ.
    static std::pair<int, long> Difference(const std::string& a, const std::string& b) {
        std::pair<int, long> difference{a.size() == b.size() ? 0 : 256, 0};
        for (std::size_t i = 0; i < std::min(a.size(), b.size()); ++i) {
            const int each = std::abs(static_cast<unsigned char>(a[i]) - static_cast<unsigned char>(b[i]));
            difference.first = std::max(difference.first, each);
            difference.second += each != 0 ? 1 : 0;
        }
        return difference;
    }
};

TEST_F(LutTest, InvertMakesANegativeOfWhatIsNamed) {
    ExpectCurves("--invert", InvertedLuma, InvertedChroma, InvertedChroma);
    ExpectCurves("--invert=y,cb,cr", InvertedLuma, InvertedChroma, InvertedChroma);
    ExpectCurves("--invert y", InvertedLuma, Same, Same);
    ExpectCurves("--invert cr,cb", Same, InvertedChroma, InvertedChroma);
    ExpectCurves("--invert=cr", Same, Same, InvertedChroma);
}

// What follows is its value only where it can be nothing else.
TEST_F(LutTest, InvertMayStandBeforeAnInput) {
    WriteValues("values.y4m");
    ASSERT_EQ(Run("lut --invert values.y4m -o out.y4m").status, 0);
    EXPECT_EQ(Y4mClip(Contents(In("out.y4m"))).Luma(0, 0, 1), 250 - 16);
    ASSERT_EQ(Run("lut values.y4m -o out.y4m --invert").status, 0);
    ASSERT_EQ(Run("lut --invert cb values.y4m -o out.y4m").status, 0);
    EXPECT_EQ(Y4mClip(Contents(In("out.y4m"))).Luma(0, 0, 1), 16);
    ExpectOneLine(Run("lut --invert y --invert values.y4m -o out.y4m"), 2, "--invert: given twice");
}

TEST_F(LutTest, InvertTurnsAlphaRound) {
    Ffmpeg("-f lavfi -i color=0x808080@0x40:s=32x16,format=rgba -frames:v 1 a.png");
    ASSERT_EQ(Run("lut a.png -o out-%d.png --invert a").status, 0);
    const std::string pixels = Pixels("out-0.png", "rgba");
    EXPECT_EQ(static_cast<unsigned char>(pixels[3]), 255 - 0x40);
    // A quarter of the colours is what is kept of them.
    EXPECT_NEAR(static_cast<unsigned char>(pixels[0]), 0x80, 6);
}

TEST_F(LutTest, PosterizeLeavesLevelsAboutBlackAndGrey) {
    ExpectCurves("--posterize 4", Posterised(4, 16), Posterised(4, 128), Posterised(4, 128));
    ExpectCurves("--posterize 2.5,255,30", Posterised(2.5, 16), Same, Posterised(30, 128));
    // One level: black, and white beyond the middle.
    ExpectCurves(
        "--posterize 1,255,255", [](int v) { return v <= 143 ? 16 : 255; }, Same, Same);
}

TEST_F(LutTest, CurvesOfVideo) {
    const auto encode = [](double x) { return x < 0.018 ? 4.5 * x : 1.099 * std::pow(x, 0.45) - 0.099; };
    const auto decode = [](double x) {
        return x < 0.0812 ? x / 4.5 : std::pow((x + 0.099) / 1.099, 1 / 0.45);
    };
    ExpectCurves("--curve encode", Between(0, 255, encode), Same, Same);
    ExpectCurves("--curve decode", Between(0, 255, decode), Same, Same);
    // Beyond the end the curves are straight; 16 of 255 is 0.0627..., 235 is
    // 0.9215...
    const auto open = [&](double x) { return x > 1 ? x : encode(x); };
    ExpectCurves(
        "--curve encode --low 0.063 --high 0.922",
        [&](int v) { return v > 235 ? 235 : Between(16, 235, open)(v); }, Same, Same);
}

TEST_F(LutTest, GammaIsAPowerOfLuma) {
    ExpectCurves("--gamma 1", Same, Same, Same);
    for (const double gamma : {0.45, 2.2}) {
        const auto power = [gamma](double x) { return std::pow(x, gamma); };
        ExpectCurves("--gamma " + std::to_string(gamma), Between(0, 255, power), Same, Same);
        ExpectCurves("--gamma " + std::to_string(gamma) + " --low 0.063 --high 0.922",
                     Between(16, 235, power), Same, Same);
    }
}

// In RGB from file to file, so that no sample is rounded but by the table.
TEST_F(LutTest, ACubeIsThatOfLut3d) {
    Ffmpeg(
        "-f lavfi -i mandelbrot=s=320x240 -vf noise=alls=30 -frames:v 1 "
        "-pix_fmt rgb24 photo.png");
    WriteCube("look.cube", 17, [](Colour c) {
        return Colour{std::pow(c[0], 0.8) * 0.95 + 0.05 * c[2], 0.15 * c[0] + 0.8 * c[1] * c[1] + 0.05,
                      0.9 * c[2] + 0.1 * c[0] * c[1]};
    });
    Ffmpeg(
        "-i photo.png -vf format=rgb24,lut3d=file=look.cube:interp=tetrahedral "
        "-pix_fmt rgb24 theirs.png");
    ASSERT_EQ(Run("lut photo.png -o ours-%d.png --cube look.cube").status, 0);
    const std::string theirs = Pixels("theirs.png"), ours = Pixels("ours-0.png");
    ASSERT_EQ(ours.size(), 320U * 240 * 3);
    EXPECT_LE(Difference(ours, theirs).first, 1);
    EXPECT_GT(Difference(ours, Pixels("photo.png")).first, 20);
}

TEST_F(LutTest, AnIdenticalCubeChangesNoPixelOfAPng) {
    Ffmpeg(
        "-f lavfi -i mandelbrot=s=70x48,format=rgba -vf "
        "\"geq=r='r(X,Y)':g='g(X,Y)':b='b(X,Y)':a='X*3'\" "
        "-frames:v 1 alpha.png");
    WriteCube("same.cube", 2, [](Colour c) { return c; });
    ASSERT_EQ(Run("lut alpha.png -o out-%d.png --cube same.cube").status, 0);
    const std::string before = Pixels("alpha.png", "rgba");
    EXPECT_EQ(before.at(3 + 4 * 60), static_cast<char>(180));
    EXPECT_EQ(Pixels("out-0.png", "rgba"), before);
}

TEST_F(LutTest, ACubeOfOneDimension) {
    Ffmpeg("-f lavfi -i testsrc2=s=64x48 -frames:v 1 -pix_fmt rgb24 a.png");
    std::ofstream(In("curves.cube")) << "LUT_1D_SIZE 2\n1 0 0.5\n0 1 0.5\n";
    ASSERT_EQ(Run("lut a.png -o out-%d.png --cube curves.cube").status, 0);
    const std::string before = Pixels("a.png"), after = Pixels("out-0.png");
    for (std::size_t i = 0; i < before.size(); i += 3) {
        EXPECT_EQ(static_cast<unsigned char>(after[i]), 255 - static_cast<unsigned char>(before[i]));
        EXPECT_EQ(after[i + 1], before[i + 1]);
        EXPECT_EQ(static_cast<unsigned char>(after[i + 2]), 128);
    }
}

// White and black of video keep their places in a clip of 4:2:2, and colours go
// by its own matrix.
TEST_F(LutTest, ACubeOnAClip) {
    WriteCube("swap.cube", 2, [](Colour c) { return Colour{c[2], c[1], c[0]}; });
    // Red and blue in ITU-R BT.601, of 75 %.
    WriteY4m(
        "a.y4m", 32, 16, 2, [](int x, int, int) { return x < 16 ? 65 : 35; },
        [](int x, int, int) { return x < 8 ? 100 : 212; }, [](int x, int, int) { return x < 8 ? 212 : 114; },
        "It");
    ASSERT_EQ(Run("lut a.y4m -o out.y4m --cube swap.cube").status, 0);
    const Y4mClip out(Contents(In("out.y4m")));
    for (int y = 0; y < 16; ++y) {
        EXPECT_NEAR(out.Luma(1, 4, y), 35, 1);
        EXPECT_NEAR(out.Cb(1, 4, y), 212, 1);
        EXPECT_NEAR(out.Cr(1, 4, y), 114, 1);
        EXPECT_NEAR(out.Luma(1, 28, y), 65, 1);
        EXPECT_NEAR(out.Cb(1, 28, y), 100, 1);
        EXPECT_NEAR(out.Cr(1, 28, y), 212, 1);
    }
}

TEST_F(LutTest, ABadCubeIsNamedWithItsLine) {
    WriteValues("a.y4m");
    std::ofstream(In("short.cube")) << "LUT_3D_SIZE 2\n0 0 0\n1 0 0\n";
    std::ofstream(In("word.cube")) << "# look\nLUT_1D_SIZE 2\n0 0 0\n1 one 1\n";
    std::ofstream(In("empty.cube")) << "";
    ExpectOneLine(Run("lut a.y4m -o out.y4m --cube short.cube"), 1, "short.cube: line ");
    ExpectOneLine(Run("lut a.y4m -o out.y4m --cube word.cube"), 1, "word.cube: line 4: ");
    ExpectOneLine(Run("lut a.y4m -o out.y4m --cube empty.cube"), 1, "empty.cube: ");
    ExpectOneLine(Run("lut a.y4m -o out.y4m --cube missing.cube"), 1, "missing.cube: cannot be read");
    ExpectOneLine(Run("lut a.y4m -o out.y4m --cube ."), 1, "--cube .: ");
    EXPECT_FALSE(Exists("out.y4m"));
}

}  // namespace
}  // namespace tool::test
