#include <cmath>

#include "ProgramRun.h"

namespace tool::test {
namespace {

/// Dissolves, and pictures over pictures. Colours may come back from 4:2:2 at video levels a little off.
class MixTest : public ProgramTest {
protected:
    static Sample Flat(int value) {
        return [value](int, int, int) { return value; };
    }
    /// A with the weight `fade`, in 256ths.
    static int Mix(int a, int b, double fade) {
        const int w = static_cast<int>(fade * 256 + 0.5);
        return (w * a + (256 - w) * b + 128) >> 8;
    }

    /// A picture of one colour, R, G, B and A.
    void WriteColour(const std::string& name, const std::string& rgba, const std::string& size,
                     const std::string& format = "rgba") const {
        Ffmpeg("-f lavfi -i color=0x" + rgba.substr(0, 6) + "@0x" + rgba.substr(6) + ":s=" + size +
               ",format=" + format + " -frames:v 1 " + name);
    }
    struct Pixels {
        std::string bytes;
        int width;
        int At(int x, int y, int i) const {
            return static_cast<unsigned char>(bytes.at(static_cast<std::size_t>((y * width + x) * 4 + i)));
        }
    };
    Pixels Read(const std::string& name, int width) const {
        Ffmpeg("-i " + name + " -f rawvideo -pix_fmt rgba pixels.raw");
        return {Contents(In("pixels.raw")), width};
    }
    static void ExpectColour(const Pixels& pixels, int x, int y, std::array<int, 4> expected, int within) {
        for (int i = 0; i < 4; ++i) {
            EXPECT_NEAR(pixels.At(x, y, i), expected[static_cast<std::size_t>(i)], i < 3 ? within : 0)
                << "sample " << i << " at " << x << ", " << y;
        }
    }
};

TEST_F(MixTest, ADissolveGoesFromAToBEvenly) {
    WriteY4m("a.y4m", 16, 8, 5, Flat(41), Flat(90), Flat(200));
    WriteY4m("b.y4m", 16, 8, 5, Flat(200), Flat(160), Flat(30));
    ASSERT_EQ(Run("dissolve a.y4m b.y4m -o out.y4m").status, 0);
    const Y4mClip out(Contents(In("out.y4m")));
    ASSERT_EQ(out.Frames(), 5);
    for (int frame = 0; frame < 5; ++frame) {
        const double fade = 1 - frame / 4.0;
        for (const int x : {0, 7, 15}) {
            EXPECT_EQ(out.Luma(frame, x, 7), Mix(41, 200, fade));
            EXPECT_EQ(out.Cb(frame, x, 0), Mix(90, 160, fade));
            EXPECT_EQ(out.Cr(frame, x, 3), Mix(200, 30, fade));
        }
    }
    EXPECT_EQ(out.Luma(0, 0, 0), 41);
    EXPECT_EQ(out.Luma(1, 0, 0), 81);  // 80.75 and a half, cut off
    EXPECT_EQ(out.Luma(4, 0, 0), 200);
}

TEST_F(MixTest, EveryFieldOfADissolveHasItsOwnMoment) {
    WriteY4m("a.y4m", 16, 8, 6, Flat(20), Flat(128), Flat(128));
    WriteY4m("b.y4m", 16, 8, 6, Flat(220), Flat(128), Flat(128));
    ASSERT_EQ(Run("dissolve a.y4m b.y4m -o out.y4m --scan tff").status, 0);
    const Y4mClip out(Contents(In("out.y4m")));
    ASSERT_EQ(out.Frames(), 3);
    for (int frame = 0; frame < 3; ++frame) {
        for (int y = 0; y < 8; ++y) {
            EXPECT_EQ(out.Luma(frame, 5, y), Mix(20, 220, 1 - (2 * frame + y % 2) / 5.0))
                << frame << " " << y;
        }
    }
}

TEST_F(MixTest, ADissolveMixesAlphaToo) {
    WriteColour("a.png", "808080FF", "16x16");
    WriteColour("b.png", "80808000", "16x16");
    ASSERT_EQ(Run("dissolve a.png b.png -o out-%d.png --length 3").status, 0);
    const Pixels middle = Read("out-1.png", 16);
    EXPECT_EQ(middle.At(3, 3, 3), 128);
    EXPECT_NEAR(middle.At(3, 3, 0), 128, 2);
}

// With a width that is no multiple of a vector's.
TEST_F(MixTest, OverTakesAlphaTimesFade) {
    WriteColour("a.png", "C8643280", "70x48");
    WriteColour("b.png", "14283CFF", "70x48", "rgb24");
    // Alpha 128 in full, and 64 at half strength.
    ASSERT_EQ(Run("over a.png b.png -o full-%d.png").status, 0);
    EXPECT_FALSE(Exists("full-1.png")) << "two stills make one frame";
    const auto over = [](int a, int b, int alpha) { return (a * alpha + b * (255 - alpha) + 127) / 255; };
    const Pixels full = Read("full-0.png", 70);
    for (const int x : {0, 1, 33, 62, 63, 64, 69}) {
        ExpectColour(full, x, 20, {over(0xC8, 0x14, 128), over(0x64, 0x28, 128), over(0x32, 0x3C, 128), 255},
                     4);
    }
    ASSERT_EQ(Run("over a.png b.png -o half-%d.png --fade 0.5").status, 0);
    const Pixels half = Read("half-0.png", 70);
    for (const int x : {0, 1, 33, 62, 63, 64, 69}) {
        ExpectColour(half, x, 47, {over(0xC8, 0x14, 64), over(0x64, 0x28, 64), over(0x32, 0x3C, 64), 255}, 4);
    }
    for (const char* style : {"flp", "fp", "int", "flp-simd"}) {
        ASSERT_EQ(Run(std::string("over a.png b.png -o style-%d.png --fade 0.5 --style ") + style).status, 0);
        EXPECT_EQ(Read("style-0.png", 70).bytes, half.bytes) << style;
    }
}

TEST_F(MixTest, OverKeepsTheAlphaOfBoth) {
    WriteColour("a.png", "C8643280", "16x16");
    WriteColour("none.png", "00000000", "16x16");
    ASSERT_EQ(Run("over a.png none.png -o out-%d.png").status, 0);
    ExpectColour(Read("out-0.png", 16), 4, 4, {0xC8, 0x64, 0x32, 128}, 7);
    WriteColour("half.png", "C8643280", "16x16");
    ASSERT_EQ(Run("over a.png half.png -o out-%d.png").status, 0);
    // 128 + 127 * 128 / 255 = 191.7
    ExpectColour(Read("out-0.png", 16), 4, 4, {0xC8, 0x64, 0x32, 192}, 7);
    // Without alpha in the output what is transparent is black.
    ASSERT_EQ(Run("over a.png none.png -o out.y4m").status, 0);
    const Y4mClip black(Contents(In("out.y4m")));
    // R 100, G 50, B 25 at BT.601: 16 + 0.257 * 100 + 0.504 * 50 + 0.098 * 25 = 69.4
    EXPECT_NEAR(black.Luma(0, 5, 5), 69, 1);
}

TEST_F(MixTest, AFadeGoesEvenlyOverTheRun) {
    WriteColour("a.png", "FFFFFFFF", "16x16");
    WriteY4m("b.y4m", 32, 16, 5, Flat(16), Flat(128), Flat(128));
    ASSERT_EQ(Run("over a.png b.y4m -o out.y4m --fade 0 --fade-to 1").status, 0);
    const Y4mClip out(Contents(In("out.y4m")));
    ASSERT_EQ(out.Frames(), 5);
    EXPECT_EQ(out.width, 32) << "B gives the size";
    EXPECT_EQ(out.height, 16);
    for (int frame = 0; frame < 5; ++frame) {
        EXPECT_NEAR(out.Luma(frame, 9, 9), 16 + 219 * frame / 4.0, 1.5) << frame;
        EXPECT_NEAR(out.Cb(frame, 9, 9), 128, 1);
    }
    ExpectOneLine(Shell("cat b.y4m | tesselu over a.png - -o x.y4m --fade 0 --fade-to 1"), 2, "--length");
    EXPECT_EQ(Shell("cat b.y4m | tesselu over a.png - -o x.y4m --fade 0.5").status, 0);
    EXPECT_EQ(Y4mClip(Contents(In("x.y4m"))).Frames(), 5);
    ExpectOneLine(Run("over a.png b.y4m -o x.y4m --fade 2"), 2, "--fade 2");
}

TEST_F(MixTest, FieldsOfAnOverAreThoseOfTheirInput) {
    WriteColour("a.png", "00000000", "16x8");
    const auto luma = [](int, int y, int frame) { return 40 + 40 * (y % 2) + 10 * frame; };
    WriteY4m("b.y4m", 16, 8, 3, luma, Flat(128), Flat(128), "It", "25:1");
    ASSERT_EQ(Run("over a.png b.y4m -o out.y4m").status, 0);
    const Y4mClip out(Contents(In("out.y4m")));
    ASSERT_EQ(out.Frames(), 3);
    for (int frame = 0; frame < 3; ++frame) {
        for (int y = 0; y < 8; ++y) {
            EXPECT_NEAR(out.Luma(frame, 8, y), luma(0, y, frame), 1);
        }
    }
}

// Larger pictures take the weights of BT.709 on the way in and on the way out.
TEST_F(MixTest, OverKeepsTheColoursOfHighDefinition) {
    WriteColour("a.png", "00000000", "16x8");
    WriteY4m("b.y4m", 1280, 720, 2, Flat(90), Flat(100), Flat(180));
    ASSERT_EQ(Run("over a.png b.y4m -o out.y4m").status, 0);
    const Y4mClip out(Contents(In("out.y4m")));
    EXPECT_NEAR(out.Luma(1, 640, 360), 90, 1);
    EXPECT_NEAR(out.Cb(1, 640, 360), 100, 1);
    EXPECT_NEAR(out.Cr(1, 640, 360), 180, 1);
}

}  // namespace
}  // namespace tool::test
