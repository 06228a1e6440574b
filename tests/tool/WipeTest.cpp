#include <algorithm>
#include <cmath>
#include <vector>

#include "ProgramRun.h"
#include "media/Reader.h"
#include "media/RgbConversion.h"

namespace tool::test {
namespace {

class WipeTest : public ProgramTest {
protected:
    static constexpr int kWidth = 16, kHeight = 8, kFrames = 6;

    static int LumaA(int x, int y, int frame) { return 16 + (x * 7 + y * 13 + frame * 31) % 220; }
    static int LumaB(int x, int y, int frame) { return 235 - (x * 11 + y * 5 + frame * 17) % 220; }
    static int CbA(int x, int y, int frame) { return 16 + (x * 29 + y * 3 + frame * 7) % 225; }
    static int CbB(int x, int y, int frame) { return 16 + (x * 5 + y * 19 + frame * 11) % 225; }
    static int CrA(int x, int y, int frame) { return 240 - (x * 17 + y * 7 + frame * 3) % 225; }
    static int CrB(int x, int y, int frame) { return 240 - (x * 3 + y * 23 + frame * 5) % 225; }

    void WriteClips() const {
        WriteY4m("a.y4m", kWidth, kHeight, kFrames, LumaA, CbA, CrA);
        WriteY4m("b.y4m", kWidth, kHeight, kFrames, LumaB, CbB, CrB);
    }

    /// Weight of B at column x of a left-to-right bar, in fixed point.
    static int Alpha(int x, double moment, double softness) {
        if (moment >= 1)
            return 255;
        const int key = static_cast<int>(255.0 * (kWidth - x) / kWidth + 0.5);
        const double threshold = std::min(1.0, -softness / 255 + (255 + softness) / 255 * (1 - moment));
        const auto t = static_cast<long>(threshold * 65280);
        const auto g = static_cast<long>(1 / (1 + softness) * 65280);
        return static_cast<int>(std::min(255L, (std::max(0L, (key << 8) - t) * g + 32768) >> 16));
    }
    static int Mix(int a, int b, int alpha) { return ((2 * ((255 - alpha) * a + alpha * b)) / 255 + 1) >> 1; }

    /// Line `y` of the wiped picture as Cb, Y, Cr, Y ..., out of frame `frame` of both clips.
    static std::vector<int> ExpectedLine(int y, int frame, double moment, double softness) {
        std::vector<int> line;
        for (int x = 0; x < kWidth; x += 2) {
            const int even = Alpha(x, moment, softness), odd = Alpha(x + 1, moment, softness);
            line.push_back(Mix(CbA(x / 2, y, frame), CbB(x / 2, y, frame), even));
            line.push_back(Mix(LumaA(x, y, frame), LumaB(x, y, frame), even));
            line.push_back(Mix(CrA(x / 2, y, frame), CrB(x / 2, y, frame), even));
            line.push_back(Mix(LumaA(x + 1, y, frame), LumaB(x + 1, y, frame), odd));
        }
        return line;
    }

    static std::vector<int> LineOf(const Zan::Image& picture, int y) {
        const std::uint8_t* line = Line(picture, static_cast<unsigned>(y));
        return {line, line + 2 * kWidth};
    }

    static PictureFormat Format() {
        PictureFormat format;
        format.width = kWidth;
        format.height = kHeight;
        format.rate = {50, 1};
        return format;
    }

    /// `firstLine` is the parity of the lines that come first in time.
    void ExpectFieldWipe(const std::string& output, int firstLine, double softness) const {
        Reader reader(In(output));
        PictureFormat format = Format();
        format.scan = firstLine == 0 ? Zan::kUpperFieldFirst : Zan::kLowerFieldFirst;
        format.rate = {25, 1};
        reader.SetTarget(format, 2.0);
        ASSERT_EQ(reader.Pictures(), kFrames / 2);
        for (int picture = 0; picture < kFrames / 2; ++picture) {
            const SharedPicture shown = reader.PictureAt(picture, 0);
            const Zan::Image& image = *shown;
            for (int y = 0; y < kHeight; ++y) {
                const int frame = 2 * picture + (y % 2 == firstLine ? 0 : 1);
                EXPECT_EQ(LineOf(image, y), ExpectedLine(y, frame, frame / (kFrames - 1.0), softness))
                    << "picture " << picture << " line " << y;
            }
        }
    }
};

TEST_F(WipeTest, LosslessOutputHoldsTheWipeBitByBit) {
    WriteClips();
    ASSERT_EQ(Run("wipe a.y4m b.y4m -o tff.mkv --pattern 1 --softness 40 --scan tff").status, 0);
    ExpectFieldWipe("tff.mkv", 0, 40);
    ASSERT_EQ(Run("wipe a.y4m b.y4m -o bff.mkv --pattern 1 --softness 3 --scan bff").status, 0);
    ExpectFieldWipe("bff.mkv", 1, 3);
    ASSERT_EQ(Run("wipe a.y4m b.y4m -o hard.y4m --pattern 1 --softness 0 --scan tff").status, 0);
    ExpectFieldWipe("hard.y4m", 0, 0);
}

TEST_F(WipeTest, ProgressiveOutputWipesFrames) {
    WriteClips();
    ASSERT_EQ(Run("wipe a.y4m b.y4m -o p.mkv --pattern 1 --softness 40 --scan progressive").status, 0);
    Reader reader(In("p.mkv"));
    reader.SetTarget(Format(), 2.0);
    ASSERT_EQ(reader.Pictures(), kFrames);
    for (int picture = 0; picture < kFrames; ++picture) {
        const SharedPicture shown = reader.PictureAt(picture, 0);
        const Zan::Image& image = *shown;
        for (int y = 0; y < kHeight; ++y)
            EXPECT_EQ(LineOf(image, y), ExpectedLine(y, picture, picture / (kFrames - 1.0), 40));
    }
}

/// What the three zones of a border make of a sample: A, a soft edge, the border, a soft edge, B.
struct BorderFormula {
    double toA, width, toB;

    int Mix(int a, int b, int border, int key, double left) const {
        const double sum = toA + width + toB;
        const double threshold = std::min(1.0, -sum / 255 + (255 + sum) / 255 * left);
        const double s1 = toA > 0 ? toA : 1.0 / 255, s2 = toB > 0 ? toB : 1.0 / 255;
        const double total = s1 + width + s2;
        const double e1 = 255 * s1 / total, e2 = 255 * (s1 + width) / total;
        const double d = std::clamp((key - 255 * threshold) * 255 / total, 0.0, 255.0);
        if (d <= e1) {
            const int m = std::min(255, static_cast<int>(255 * d / e1 + 0.5));
            return ((256 - m) * a + m * border + 128) >> 8;
        }
        if (d < e2) {
            return border;
        }
        const int m = std::min(255, static_cast<int>(255 * (255 - d) / (255 - e2) + 0.5));
        return ((256 - m) * b + m * border + 128) >> 8;
    }
};

TEST_F(WipeTest, ABorderLiesBetweenItsSoftEdges) {
    WriteClips();
    // B 160, G 64, R 240: 0.439*160 - (0.148*240 + 0.291*64) + 128.5 = 144.596 and so on.
    const int cb = 144, y = 126, cr = 198;
    const struct {
        const char* options;
        BorderFormula formula;
    } cases[] = {{"--border 60 --soft-in 40 --soft-out 12", {12, 60, 40}},
                 {"--border 33 --softness 20", {20, 33, 20}},
                 {"--border 100 --softness 0 --soft-in 3", {0, 100, 3}},
                 {"--border 0 --softness 0", {0, 0, 0}}};
    for (const auto& each : cases) {
        SCOPED_TRACE(each.options);
        ASSERT_EQ(
            Run(std::string("wipe a.y4m b.y4m -o out.y4m --pattern 1 --border-color F040A0 ") + each.options)
                .status,
            0);
        const Y4mClip out(Contents(In("out.y4m")));
        ASSERT_EQ(out.Frames(), kFrames);
        for (int frame = 0; frame < kFrames; ++frame) {
            const bool atEnd = frame == kFrames - 1;
            const double left = atEnd ? 1 : 1 - frame / (kFrames - 1.0);
            for (int row = 0; row < kHeight; ++row) {
                for (int x = 0; x < kWidth; ++x) {
                    const int key = static_cast<int>(255.0 * (kWidth - x) / kWidth + 0.5);
                    const int even = static_cast<int>(255.0 * (kWidth - x / 2 * 2) / kWidth + 0.5);
                    const auto mix = [&](int a, int b, int border, int k) {
                        return atEnd ? b : each.formula.Mix(a, b, border, k, left);
                    };
                    EXPECT_EQ(out.Luma(frame, x, row),
                              mix(LumaA(x, row, frame), LumaB(x, row, frame), y, key))
                        << frame << " " << x;
                    EXPECT_EQ(out.Cb(frame, x, row),
                              mix(CbA(x / 2, row, frame), CbB(x / 2, row, frame), cb, even));
                    EXPECT_EQ(out.Cr(frame, x, row),
                              mix(CrA(x / 2, row, frame), CrB(x / 2, row, frame), cr, even));
                }
            }
        }
    }
}

TEST_F(WipeTest, ABordersAlphaGoesIntoTheOutput) {
    const auto grey = [](const std::string& name, const std::string& alpha) {
        return "-f lavfi -i color=gray@" + alpha + ":s=64x16,format=rgba -frames:v 1 " + name;
    };
    Ffmpeg(grey("a.png", "1.0"));
    Ffmpeg(grey("b.png", "0.0"));
    ASSERT_EQ(Run("wipe a.png b.png -o out-%d.png --length 3 --pattern 1 --softness 0 --border 60 "
                  "--border-color FF000080")
                  .status,
              0);
    Ffmpeg("-i out-1.png -f rawvideo -pix_fmt rgba middle.raw");
    const std::string middle = Contents(In("middle.raw"));
    ASSERT_EQ(middle.size(), 64U * 16 * 4);
    const auto sample = [&](std::size_t x, std::size_t i) {
        return static_cast<unsigned char>(middle[4 * x + i]);
    };
    EXPECT_EQ(sample(0, 3), 0) << "B has come from the left";
    EXPECT_EQ(sample(63, 3), 255);
    EXPECT_EQ(sample(32, 3), 0x80);
    EXPECT_GE(sample(32, 0), 240) << "red as it was asked for, not darkened";
    EXPECT_LE(sample(32, 1), 12);
}

TEST_F(WipeTest, BordersThatSayNothingAreRefused) {
    WriteClips();
    for (const char* colour : {"FFF", "GG0000", "0xFF00", "FF00FF0", "FF00FF001", "-F0000"}) {
        ExpectOneLine(Run(std::string("wipe a.y4m b.y4m -o x.y4m --border 5 --border-color ") + colour), 2,
                      std::string("--border-color ") + colour);
    }
    ExpectOneLine(Run("wipe a.y4m b.y4m -o x.y4m --border-color FFFFFF"), 2, "--border-color");
    ExpectOneLine(Run("wipe a.y4m b.y4m -o x.y4m --soft-in 5"), 2, "--soft-in");
    ExpectOneLine(Run("wipe a.y4m b.y4m -o x.y4m --soft-out 5"), 2, "--soft-out");
    ExpectOneLine(Run("wipe a.y4m b.y4m -o x.y4m --border -1"), 2, "--border -1");
    EXPECT_FALSE(Exists("x.y4m"));
}

// The corners of the key, 0 and 255, are where a wipe may leave a trace of the other picture.
TEST_F(WipeTest, BeginsWithAAndEndsWithB) {
    WriteFlat("a.y4m", 5, 40, 64, 48);
    WriteFlat("b.y4m", 5, 200, 64, 48);
    for (const char* pattern : {"2", "7", "41", "45", "48", "74"})
        for (const char* style : {"flp", "fp", "int", "flp-simd", "best"}) {
            SCOPED_TRACE(std::string(pattern) + " " + style);
            ASSERT_EQ(Run(std::string("wipe a.y4m b.y4m -o out.y4m --softness 200 --pattern ") + pattern +
                          " --style " + style)
                          .status,
                      0);
            Reader reader(In("out.y4m"));
            PictureFormat format = Format();
            format.width = 64;
            format.height = 48;
            reader.SetTarget(format, 64.0 / 48);
            const SharedPicture first = reader.PictureAt(0, 0);
            for (unsigned y = 0; y < 48; ++y)
                for (unsigned x = 0; x < 64; ++x)
                    ASSERT_EQ(Line(*first, y)[2 * x + 1], 40) << x << " " << y;
            const SharedPicture last = reader.PictureAt(4, 0);
            for (unsigned y = 0; y < 48; ++y)
                for (unsigned x = 0; x < 64; ++x)
                    ASSERT_EQ(Line(*last, y)[2 * x + 1], 204) << x << " " << y;
        }
}

TEST_F(WipeTest, StillsLastAsLongAsTheOtherClip) {
    WriteFlat("still.y4m", 1, 40);
    WriteFlat("clip.y4m", 7, 60);
    EXPECT_EQ(Run("wipe still.y4m clip.y4m -o out.y4m").out.rfind("7 frames of 32x16p at 50 a second\n", 0),
              0U);
    EXPECT_EQ(Run("wipe clip.y4m still.y4m -o out.y4m --scan tff")
                  .out.rfind("3 frames of 32x16i at 25 a second\n", 0),
              0U);
    EXPECT_EQ(Run("wipe still.y4m still.y4m -o out.y4m").out.rfind("50 frames of 32x16p at 25 a second\n", 0),
              0U);
    EXPECT_EQ(Run("wipe clip.y4m still.y4m -o out.y4m --length 2").out.rfind("2 frames of ", 0), 0U);
}

TEST_F(WipeTest, SizeIsThatOfAUnlessGiven) {
    WriteFlat("a.y4m", 2, 40, 48, 32);
    WriteFlat("b.y4m", 2, 40, 96, 64);
    EXPECT_NE(Run("wipe a.y4m b.y4m -o out.y4m").out.find(" of 48x32p"), std::string::npos);
    EXPECT_NE(Run("wipe a.y4m b.y4m -o out.y4m --size 80x60").out.find(" of 80x60p"), std::string::npos);
}

TEST_F(WipeTest, ReportsTheLibrarysPart) {
    WriteFlat("a.y4m", 4);
    const Outcome video = Run("wipe a.y4m a.y4m -o out.y4m");
    EXPECT_NE(video.out.find("library: "), std::string::npos);
    EXPECT_NE(video.out.find(" times real time\n"), std::string::npos);
    EXPECT_EQ(video.out.find("conversion"), std::string::npos);
    EXPECT_NE(Run("wipe a.y4m a.y4m -o out-%d.png").out.find(", conversion to RGB "), std::string::npos);
}

TEST(RgbConversionTest, FollowsTheLumaWeights) {
    PictureFormat format;
    format.width = format.height = 8;
    const struct {
        LumaWeights weights;
        int cb, y, cr;
    } greens[] = {{LumaWeights::kBt601, 54, 145, 34}, {LumaWeights::kBt709, 42, 173, 26}};
    for (const auto& green : greens) {
        format.weights = green.weights;
        const ImagePtr picture = NewPicture(format);
        for (unsigned y = 0; y < 8; ++y)
            for (unsigned x = 0; x < 16; x += 4) {
                Line(*picture, y)[x] = static_cast<std::uint8_t>(green.cb);
                Line(*picture, y)[x + 1] = Line(*picture, y)[x + 3] = static_cast<std::uint8_t>(green.y);
                Line(*picture, y)[x + 2] = static_cast<std::uint8_t>(green.cr);
            }
        RgbConversion conversion(format);
        const Raster rgb = conversion.ToRaster(*picture);
        EXPECT_NEAR(rgb.At(3, 3)[0], 0, 2);
        EXPECT_NEAR(rgb.At(3, 3)[1], 255, 2);
        EXPECT_NEAR(rgb.At(3, 3)[2], 0, 2);
    }
}

}  // namespace
}  // namespace tool::test
