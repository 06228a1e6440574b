#include <cmath>
#include <tuple>

#include "ProgramRun.h"

namespace tool::test {
namespace {

constexpr int kWidth = 32, kHeight = 16;

/// IN is grey in its right half: Y 100, Cb and Cr 128. In its left half Cb is 240, 0.875 of full scale. With
/// a hue of 0 and a wedge of 90 degrees the key is 0.875 there, and 0 in the other half.
class KeyTest : public ProgramTest {
protected:
    static Sample Flat(int value) {
        return [value](int, int, int) { return value; };
    }
    void WriteStudio(const std::string& name = "in.y4m", int frames = 2, const std::string& scan = "Ip",
                     int side = 240) const {
        WriteY4m(
            name, kWidth, kHeight, frames, Flat(100),
            [side](int x, int, int) { return x < kWidth / 4 ? side : 128; }, Flat(128), scan, "25:1");
    }
    /// A green backing with some noise, in front of which a grey bar moves.
    void WriteScene(const std::string& name, int frames, const std::string& scan = "Ip") const {
        const auto isBar = [](int x, int frame) { return x >= 8 + 2 * frame && x < 24 + 2 * frame; };
        const auto chroma = [isBar](int backing) {
            return [isBar, backing](int x, int y, int frame) {
                return isBar(2 * x, frame) ? 128 : backing + (x * 7 + y * 5 + frame * 3) % 5 - 2;
            };
        };
        WriteY4m(
            name, 64, 48, frames,
            [isBar](int x, int y, int frame) { return isBar(x, frame) ? 150 : 110 + (x + y) % 8; },
            chroma(86), chroma(70), scan, "25:1");
    }
    static std::string Hue() { return " --hue 0 --acceptance 90 --spill 1 --spill-angle 0 "; }
    /// A picture of grey, white but for what `value` says.
    void WriteGrey(const std::string& name, const std::function<int(int x, int y)>& value) const {
        std::ofstream file(directory / "grey.pgm", std::ios::binary);
        file << "P5 " << kWidth << ' ' << kHeight << " 255\n";
        for (int y = 0; y < kHeight; ++y)
            for (int x = 0; x < kWidth; ++x)
                file.put(static_cast<char>(value(x, y)));
        file.close();
        Ffmpeg("-i grey.pgm -pix_fmt gray " + name);
    }
    /// Bytes of all frames in a pixel format.
    std::vector<int> Samples(const std::string& name, const std::string& format) const {
        Ffmpeg("-i " + name + " -f rawvideo -pix_fmt " + format + " samples.raw");
        std::vector<int> samples;
        for (const char byte : Contents(In("samples.raw")))
            samples.push_back(static_cast<unsigned char>(byte));
        return samples;
    }
    static std::size_t At(int x, int y) { return static_cast<std::size_t>(y * kWidth + x); }
    void Succeed(const std::string& arguments) const {
        const Outcome outcome = Run(arguments);
        ASSERT_EQ(outcome.status, 0) << arguments << "\n" << outcome.err;
    }
    static constexpr std::size_t kPixels = std::size_t{kWidth} * kHeight;
};

// k is 0.875, so the matte is 0.125: the background's share is 7 of 8.
TEST_F(KeyTest, TheBackingBecomesTheBackground) {
    WriteStudio();
    WriteY4m("back.y4m", kWidth, kHeight, 2, Flat(52), Flat(96), Flat(200), "Ip", "25:1");
    for (const char* rate : {"--422", "--444"}) {
        SCOPED_TRACE(rate);
        Succeed(std::string("key in.y4m -o out.mkv --background back.y4m --matte matte.y4m") + Hue() + rate);
        const bool isFull = std::string(rate) == "--444";
        const Outcome probed = Shell("ffprobe -v error -show_entries stream=pix_fmt -of csv=p=0 out.mkv");
        EXPECT_EQ(probed.out, isFull ? "yuv444p\n" : "yuv422p\n");
        const std::vector<int> out = Samples("out.mkv", "yuv444p"), matte = Samples("matte.y4m", "gray");
        ASSERT_EQ(out.size(), 2 * 3 * kPixels);
        ASSERT_EQ(matte.size(), 2 * kPixels);
        for (const int y : {0, 7, 15}) {
            // 52 * 7/8 + 100/8 = 58; the spill is gone: 96 * 7/8 + 128/8 = 100; 200 * 7/8 + 128/8 = 191.
            EXPECT_EQ(out[At(3, y)], 58);
            EXPECT_EQ(out[kPixels + At(3, y)], 100);
            EXPECT_EQ(out[2 * kPixels + At(3, y)], 191);
            EXPECT_EQ(matte[At(3, y)], 32);  // 31.875
            EXPECT_EQ(out[At(28, y)], 100);
            EXPECT_EQ(out[kPixels + At(28, y)], 128);
            EXPECT_EQ(matte[At(28, y)], 255);
            EXPECT_EQ(matte[kPixels + At(3, y)], 32);
        }
    }
}

TEST_F(KeyTest, TheForegroundHasTheMatteAsAlpha) {
    WriteStudio();
    Succeed("key in.y4m -o out.mkv --foreground fore.mov" + Hue());
    EXPECT_EQ(Samples("out.mkv", "yuva422p"), Samples("fore.mov", "yuva422p"))
        << "without a background the output is the foreground";
    const std::vector<int> fore = Samples("fore.mov", "yuva422p");
    ASSERT_EQ(fore.size(), 2 * 3 * kPixels);
    EXPECT_EQ(fore[At(3, 5)], 100);
    EXPECT_EQ(fore[kPixels + At(3, 5) / 2], 128) << "240 without its spill";
    EXPECT_EQ(fore[2 * kPixels + At(3, 5)], 32);
    EXPECT_EQ(fore[2 * kPixels + At(28, 5)], 255);
    // 16 + 84 * 32 / 255 = 26.5
    Succeed("key in.y4m -o out.y4m --foreground fore.mov --shaped" + Hue());
    EXPECT_NEAR(Samples("fore.mov", "yuva422p")[At(3, 5)], 26.5, 0.6);
    // On black, 16 * 7/8 + 100/8 = 26.5, halves up.
    const Y4mClip onBlack(Contents(In("out.y4m")));
    EXPECT_EQ(onBlack.Luma(0, 3, 5), 27);
    EXPECT_EQ(onBlack.Luma(0, 28, 5), 100);
    // Pictures: 1.164 * 84 is 98 of all colours.
    Succeed("key in.y4m -o out-%d.png" + Hue());
    const std::vector<int> png = Samples("out-%d.png", "rgba");
    EXPECT_NEAR(png[4 * At(3, 5)], 98, 1);
    EXPECT_NEAR(png[4 * At(3, 5) + 2], 98, 1);
    EXPECT_EQ(png[4 * At(3, 5) + 3], 32);
    Succeed("key in.y4m -o out-%d.png --444 --shaped" + Hue());
    const std::vector<int> shaped = Samples("out-%d.png", "rgba");
    EXPECT_NEAR(shaped[4 * At(3, 5)], 98 * 32 / 255.0, 1);
    EXPECT_EQ(shaped[4 * At(3, 5) + 3], 32);
    Succeed("key in.y4m -o out.mkv --444 --shaped" + Hue());
    const std::vector<int> planes = Samples("out.mkv", "yuva444p");
    EXPECT_NEAR(planes[At(3, 5)], 26.5, 0.6);
    EXPECT_EQ(planes[kPixels + At(3, 5)], 128);
    EXPECT_EQ(planes[3 * kPixels + At(3, 5)], 32);
}

TEST_F(KeyTest, SettingsMeanWhatTheySay) {
    WriteStudio();
    const auto matte = [this](const std::string& more) {
        Succeed("key in.y4m -o out.y4m --matte m.y4m --hue 0 " + more);
        return Samples("m.y4m", "gray")[At(3, 5)];
    };
    EXPECT_EQ(matte("--acceptance 90 --invert"), 223);  // 0.875 * 255 = 223.1
    // (0.875 - 0.25) / (0.75 - 0.25) is above 1, and (0.875 - 0.75) / 0.25 is a half.
    EXPECT_EQ(matte("--clip 0.75,0.25"), 0);
    EXPECT_EQ(matte("--clip 1,0.75"), 128);
    EXPECT_EQ(matte("--offset=-0.75 --gain 4"), 128);
    EXPECT_EQ(matte("--saturation 0.9"), 255);
    EXPECT_EQ(matte("--saturation 0.8"), 32);
}

// Points in one picture of two fields get what they get in a whole one.
TEST_F(KeyTest, TwoFieldsEqualTheFrame) {
    for (const char* scan : {"t", "b", "p"}) {
        WriteScene(std::string("in-") + scan + ".y4m", 3, std::string("I") + scan);
    }
    for (const char* more :
         {"--background 404040", "--background 404040 --style fp", "--background in-p.y4m --444",
          "--background 4080C0 --split 21", "--luma 0.6,0.05,0.1 --background 000000",
          "--luma 0.6,0.05,0.1 --split 30% --split-bottom"}) {
        SCOPED_TRACE(more);
        const auto made = [&](const char* scan) {
            Succeed(std::string("key in-") + scan + ".y4m -o out.mkv --matte m.mkv --foreground f.mkv " +
                    more);
            std::vector<int> all = Samples("out.mkv", "yuva444p");
            for (const char* side : {"m.mkv", "f.mkv"}) {
                const std::vector<int> samples = Samples(side, side[0] == 'm' ? "gray" : "yuva444p");
                all.insert(all.end(), samples.begin(), samples.end());
            }
            return all;
        };
        const std::vector<int> progressive = made("p");
        EXPECT_EQ(progressive.size(), std::size_t{3 * 64 * 48 * 9});
        EXPECT_EQ(made("t"), progressive);
        EXPECT_EQ(made("b"), progressive);
    }
}

// A player that took 0 to 255 for video levels would clip both ends of the matte.
TEST_F(KeyTest, AMatteSaysThatItHasTheFullRange) {
    WriteStudio();
    Succeed("key in.y4m -o out.mkv --matte m.mkv --foreground f.mkv" + Hue());
    Succeed("key in.y4m -o out.y4m --matte m.y4m" + Hue());
    const auto range = [this](const std::string& name) {
        return Shell("ffprobe -v error -show_entries stream=color_range -of csv=p=0 " + name).out;
    };
    EXPECT_EQ(range("m.mkv"), "pc\n");
    EXPECT_EQ(range("m.y4m"), "pc\n");
    EXPECT_EQ(range("out.mkv"), "tv\n");
    EXPECT_EQ(range("out.y4m"), "tv\n");
    EXPECT_EQ(range("f.mkv"), "tv\n");
    // 255 and 32 as luma at video levels: 16 + 219 * m / 255.
    for (const char* matte : {"m.mkv", "m.y4m"}) {
        Succeed(std::string("convert ") + matte + " -o levels.y4m --to yuv422p");
        const Y4mClip levels(Contents(In("levels.y4m")));
        ASSERT_EQ(levels.Frames(), 2);
        EXPECT_EQ(levels.Luma(0, 28, 3), 235);
        EXPECT_EQ(levels.Luma(0, 3, 3), 43);
    }
}

TEST_F(KeyTest, PiecesAreCutsOfTheWholeRun) {
    WriteScene("in.y4m", 9, "It");
    for (const char* more : {"--auto", "--auto --at 6", "--pick 60,40,3", "--color 20A030"}) {
        SCOPED_TRACE(more);
        const std::string call =
            std::string("key in.y4m -o out.y4m --matte m-%d.png --background 808080 ") + more;
        Succeed(call);
        const std::string whole = Contents(In("out.y4m"));
        std::string mattes[9];
        for (int i = 0; i < 9; ++i)
            mattes[i] = Contents(In("m-" + std::to_string(i) + ".png"));
        Succeed(call + " --frames 4-6");
        const std::size_t frame = (whole.size() - whole.find('\n') - 1) / 9;
        const std::string piece = Contents(In("out.y4m"));
        EXPECT_EQ(piece.substr(piece.find('\n') + 1),
                  whole.substr(whole.find('\n') + 1 + 4 * frame, 3 * frame));
        for (int i = 4; i < 7; ++i)
            EXPECT_EQ(Contents(In("m-" + std::to_string(i) + ".png")), mattes[i]) << i;
    }
}

TEST_F(KeyTest, WhatIsFoundCanBeTypedAgain) {
    WriteScene("in.y4m", 3);
    for (const char* more :
         {"", "--pick 60,40,3", "--color green", "--clip 0.8,0.2 --acceptance 100", "--spill 0.5"}) {
        SCOPED_TRACE(more);
        const Outcome first =
            Run(std::string("key in.y4m -o a.y4m --matte a-m.y4m --background 808080 ") + more);
        ASSERT_EQ(first.status, 0) << first.err;
        const std::string options = first.out.substr(0, first.out.find('\n'));
        ASSERT_EQ(options.rfind("--hue ", 0), 0U) << first.out;
        const Outcome second = Run("key in.y4m -o b.y4m --matte b-m.y4m --background 808080 " + options);
        ASSERT_EQ(second.status, 0) << second.err;
        EXPECT_EQ(Contents(In("a.y4m")), Contents(In("b.y4m")));
        EXPECT_EQ(Contents(In("a-m.y4m")), Contents(In("b-m.y4m")));
        EXPECT_EQ(second.out.find("--hue"), std::string::npos) << "nothing was found, all was told";
    }
    const Outcome json = Run("key in.y4m -o a.y4m --json");
    EXPECT_NE(json.out.find(",\"options\":\"--hue "), std::string::npos) << json.out;
}

// 86 and 70 are Cb and Cr of the backing.
TEST_F(KeyTest, TheBackingIsFound) {
    WriteScene("in.y4m", 4);
    for (const char* more : {"", "--auto --at 2", "--pick 60,40,3", "--pick 2,2"}) {
        SCOPED_TRACE(more);
        const Outcome outcome = Run(std::string("key in.y4m -o out.y4m --matte m.y4m ") + more);
        ASSERT_EQ(outcome.status, 0) << outcome.err;
        double hue = 0;
        ASSERT_EQ(std::sscanf(outcome.out.c_str(), "--hue %lf", &hue), 1) << outcome.out;
        EXPECT_NEAR(hue, 180 + std::atan(58.0 / 42) * 180 / 3.14159265, 1);
        const std::vector<int> matte = Samples("m.y4m", "gray");
        ASSERT_EQ(matte.size(), std::size_t{4 * 64 * 48});
        for (int frame = 0; frame < 4; ++frame) {
            for (int y = 0; y < 48; ++y) {
                for (int x = 0; x < 64; ++x) {
                    const int left = 8 + 2 * frame;
                    const int value = matte[static_cast<std::size_t>((frame * 48 + y) * 64 + x)];
                    if (x >= left && x < left + 16) {
                        EXPECT_EQ(value, 255) << x << " " << y;
                    } else {
                        EXPECT_LT(value, 40) << x << " " << y;
                    }
                }
            }
        }
    }
    // Through a pipe, of which the first frame is looked at.
    const Outcome piped = Shell("cat in.y4m | tesselu key - -o piped.y4m --matte piped-m.y4m");
    ASSERT_EQ(piped.status, 0) << piped.err;
    Succeed("key in.y4m -o out.y4m --matte m.y4m");
    EXPECT_EQ(Contents(In("piped-m.y4m")), Contents(In("m.y4m")));
    ExpectOneLine(Shell("cat in.y4m | tesselu key - -o x.y4m --at 1"), 2, "--at 1");
    ExpectOneLine(Run("key in.y4m -o x.y4m --at 4"), 2, "ends before it");
    WriteFlat("grey.y4m", 2);
    ExpectOneLine(Run("key grey.y4m -o x.y4m"), 2, "no colour along the border");
    ExpectOneLine(Run("key grey.y4m -o x.y4m --pick 5,5"), 2, "no colour at that place");
    ExpectOneLine(Run("key grey.y4m -o x.y4m --pick 32,5"), 2, "--pick");
}

TEST_F(KeyTest, AMaskHoldsOutWhatIsBlack) {
    WriteStudio();
    // The grey half of IN is in the matte in full.
    WriteGrey("mask.png", [](int x, int y) { return x < 16 ? 255 : y < 8 ? 0 : 128; });
    Ffmpeg("-i mask.png -pix_fmt rgb24 rgb.png");
    Ffmpeg(
        "-loop 1 -r 25 -i mask.png -frames:v 2 -vf scale=out_range=tv -pix_fmt yuv444p -c:v ffv1 mask.mkv");
    for (const char* mask : {"mask.png", "rgb.png", "mask.mkv"}) {
        SCOPED_TRACE(mask);
        Succeed("key in.y4m -o out.y4m --background 000000 --matte m.y4m --garbage " + std::string(mask) +
                Hue());
        const std::vector<int> matte = Samples("m.y4m", "gray");
        EXPECT_EQ(matte[At(3, 3)], 32);
        EXPECT_EQ(matte[At(28, 3)], 0);
        EXPECT_NEAR(matte[At(28, 12)], 128, mask == std::string("mask.mkv") ? 1 : 0);
        const Y4mClip out(Contents(In("out.y4m")));
        EXPECT_EQ(out.Luma(0, 28, 3), 16);
        EXPECT_NEAR(out.Luma(0, 28, 12), 16 + 84 * 128 / 255.0, 1);
    }
    // The alpha of IN is such a mask.
    Ffmpeg(
        "-i in.y4m -i mask.png -filter_complex "
        "\"[1]format=gray,loop=-1:1[m];[0]format=yuva422p[i];[i][m]alphamerge\" "
        "-frames:v 2 -pix_fmt yuva422p -c:v ffv1 in.mkv");
    Succeed("key in.mkv -o out.y4m --background 000000 --matte m.y4m" + Hue());
    const std::vector<int> matte = Samples("m.y4m", "gray");
    EXPECT_EQ(matte[At(28, 3)], 0);
    EXPECT_EQ(matte[At(28, 12)], 128);
    ExpectOneLine(Run("key in.mkv -o out.y4m --444" + Hue()), 2, "--444");
    ExpectOneLine(Run("key in.mkv -o out.y4m --style fp" + Hue()), 2, "--style fp");
}

// Luma of 51 is a fifth of 255.
TEST_F(KeyTest, ByBrightness) {
    WriteY4m(
        "in.y4m", kWidth, kHeight, 1, [](int x, int, int) { return 40 + 2 * x; }, Flat(90), Flat(200));
    const auto matte = [this](const std::string& more) {
        Succeed("key in.y4m -o out.y4m --background 000000 --matte m.y4m --luma " + more);
        return Samples("m.y4m", "gray");
    };
    const std::vector<int> hard = matte("0,0.2,0"), kept = matte("0,0.2,0 --invert");
    for (int x = 0; x < kWidth; ++x) {
        const bool isHole = 40 + 2 * x <= 51;
        EXPECT_EQ(hard[At(x, 4)], isHole ? 0 : 255) << x;
        EXPECT_EQ(kept[At(x, 4)], isHole ? 255 : 0) << x;
    }
    const Y4mClip out(Contents(In("out.y4m")));
    EXPECT_EQ(out.Luma(0, 2, 4), 44) << "colours stay";
    EXPECT_EQ(out.Cb(0, 2, 4), 90);
    EXPECT_EQ(out.Luma(0, 28, 4), 16);
    // A hole of half the strength, and everything a quarter weaker: 255 - 128 - 64.
    const std::vector<int> weak = matte("0,0.2,0,0.5,-0.25");
    EXPECT_EQ(weak[At(2, 4)], 63);
    EXPECT_EQ(weak[At(28, 4)], 191);
    // The key starts from the mask.
    WriteGrey("mask.png", [](int, int y) { return y < 8 ? 255 : 100; });
    const std::vector<int> masked = matte("0,0.2,0 --garbage mask.png");
    EXPECT_EQ(masked[At(28, 3)], 255);
    EXPECT_EQ(masked[At(28, 12)], 100);
    EXPECT_EQ(masked[At(2, 12)], 0);
    Succeed("key in.y4m -o out.mkv --luma 0,0.2,0");
    const std::vector<int> alpha = Samples("out.mkv", "yuva422p");
    EXPECT_EQ(alpha[2 * kPixels + At(2, 4)], 0);
    EXPECT_EQ(alpha[2 * kPixels + At(28, 4)], 255);
    EXPECT_EQ(alpha[At(2, 4)], 44);
}

// A hard edge before column 6, and boxes of five columns around each.
TEST_F(KeyTest, EdgesAreDrawnInAndSoftened) {
    for (const char* scan : {"Ip", "It"}) {
        WriteY4m(
            "in.y4m", kWidth, kHeight, 1, [](int x, int, int) { return 40 + 2 * x; }, Flat(90), Flat(200),
            scan, "25:1");
        const auto matte = [this](const std::string& more) {
            Succeed("key in.y4m -o out.y4m --background 000000 --matte m.y4m --luma 0,0.2,0 " + more);
            return Samples("m.y4m", "gray");
        };
        const std::vector<int> soft = matte("--feather 2"), drawnIn = matte("--choke 2");
        const int expectedSoft[] = {0, 0, 0, 0, 51, 102, 153, 204, 255, 255};
        // What is less than half covered goes; the rest is stretched: 0.6 becomes 0.2, 0.8 becomes 0.6.
        const int expectedIn[] = {0, 0, 0, 0, 0, 0, 51, 153, 255, 255};
        for (int x = 0; x < 10; ++x) {
            for (const int y : {0, 7, 15}) {
                EXPECT_NEAR(soft[At(x, y)], expectedSoft[x], 1) << x;
                EXPECT_NEAR(drawnIn[At(x, y)], expectedIn[x], 2) << x;
            }
        }
        const Y4mClip out(Contents(In("out.y4m")));
        EXPECT_EQ(out.Luma(0, 3, 5), 16);
        EXPECT_EQ(out.Luma(0, 12, 5), 64);
    }
    // Colours without spill are those of the matte as it was.
    WriteStudio();
    Succeed("key in.y4m -o out.mkv --choke 1 --feather 1" + Hue());
    const std::vector<int> out = Samples("out.mkv", "yuva422p");
    EXPECT_EQ(out[2 * kPixels + At(28, 5)], 255);
    EXPECT_EQ(out[2 * kPixels + At(3, 5)], 0) << "an eighth is less than a half";
    EXPECT_EQ(out[kPixels + At(3, 5) / 2], 128);
    ExpectOneLine(Run("key in.y4m -o x.y4m --feather 8" + Hue()), 2, "--feather");
    ExpectOneLine(Run("key in.y4m -o x.y4m --444 --choke 1" + Hue()), 2, "--444");
}

TEST_F(KeyTest, ASplitShowsTheMatte) {
    const struct {
        const char *scan, *more, *split;
        int first;  ///< line below the split
        bool isBelow;
    } cases[] = {
        {"Ip", "--background 000000", "5", 5, false},
        {"It", "--background 000000", "5 --split-bottom", 5, true},
        {"Ib", "--background 000000 --444", "25%", 4, false},
        {"It", "", "5", 5, false},
        {"Ip", "", "0", 0, false},
        {"It", "--luma 0.39,0.01,0", "25%", 4, false},
        {"Ip", "--luma 0.39,0.01,0 --background 000000", "5 --split-bottom", 5, true},
    };
    for (const auto& [scan, more, split, first, isBelow] : cases) {
        SCOPED_TRACE(std::string(scan) + " " + more + " " + split);
        WriteStudio("in.y4m", 1, scan);
        const std::string with = more;
        const bool isLuma = with.find("luma") != std::string::npos;
        const bool isMixed = with.find("background") != std::string::npos;
        Succeed("key in.y4m -o out.mkv --matte m.y4m --split " + std::string(split) + " " + with +
                (isLuma ? "" : Hue()));
        const std::vector<int> out = Samples("out.mkv", "yuv444p"), matte = Samples("m.y4m", "gray");
        for (int y = 0; y < kHeight; ++y) {
            EXPECT_EQ(matte[At(3, y)], isLuma ? 0 : 32) << "the matte itself is whole";
            if ((y >= first) != isBelow) {
                EXPECT_EQ(out[At(3, y)], matte[At(3, y)]) << y;
                EXPECT_EQ(out[kPixels + At(3, y)], 128);
                EXPECT_EQ(out[At(28, y)], isLuma ? 0 : 255);
            } else {
                // By luma all of IN is in the hole. On black, 16 * 7/8 + 100/8.
                EXPECT_EQ(out[At(3, y)], !isMixed ? 100 : isLuma ? 16 : 27) << y;
                EXPECT_EQ(out[At(28, y)], isMixed && isLuma ? 16 : 100) << y;
            }
        }
    }
}

// A still is keyed pixel by pixel: of columns that are blue and grey in turn each has a matte of its own.
TEST_F(KeyTest, StillsHaveFullChroma) {
    std::ofstream file(directory / "in.ppm", std::ios::binary);
    file << "P6 32 16 255\n";
    for (int i = 0; i < kWidth * kHeight; ++i)
        file << (i % 2 == 0 ? std::string("\x00\x00\xFF", 3) : std::string("\x80\x80\x80", 3));
    file.close();
    Ffmpeg("-i in.ppm in.png");
    Succeed("key in.png -o out-%d.png --matte m-%d.png --color 0000FF");
    EXPECT_FALSE(Exists("out-1.png"));
    const std::vector<int> matte = Samples("m-%d.png", "gray"), out = Samples("out-%d.png", "rgba");
    for (int x = 0; x < kWidth; ++x) {
        EXPECT_EQ(matte[At(x, 8)], x % 2 == 0 ? 0 : 255) << x;
        EXPECT_EQ(out[4 * At(x, 8) + 3], x % 2 == 0 ? 0 : 255);
        EXPECT_NEAR(out[4 * At(x, 8)], x % 2 == 0 ? out[4 * At(x, 8)] : 128, 1);
    }
    Succeed("key in.png -o out-%d.png --matte m-%d.png --color 0000FF --422");
    const std::vector<int> pairs = Samples("m-%d.png", "gray");
    EXPECT_EQ(pairs[At(8, 8)], pairs[At(9, 8)]);
    // What holds no 4:4:4 gets 4:2:2 of it.
    Succeed("key in.png -o - --to uyvy422 --color 0000FF --background FFFFFF --quiet");
    EXPECT_EQ(Contents(In(".out")).size(), 2 * kPixels);
}

TEST_F(KeyTest, ThePlaneShowsTheWedge) {
    WriteStudio();
    Succeed("key in.y4m -o out.y4m --plane plane.png" + Hue());
    Ffmpeg("-i plane.png -f rawvideo -pix_fmt rgb24 samples.raw");
    const std::string bytes = Contents(In("samples.raw"));
    ASSERT_EQ(bytes.size(), std::size_t{512 * 512 * 3});
    const auto sum = [&bytes](int x, int y) {
        int all = 0;
        for (int i = 0; i < 3; ++i)
            all += static_cast<unsigned char>(bytes[static_cast<std::size_t>((y * 512 + x) * 3 + i)]);
        return all;
    };
    // Cb is highest at the right, the wedge opens to it; what is opposite is dark, and so is what lies beyond
    // 45 degrees on either side.
    EXPECT_GT(sum(500, 262), 3 * sum(12, 262));
    EXPECT_GT(sum(500, 262), 350);
    EXPECT_LT(sum(350, 400), 150);
    EXPECT_LT(sum(350, 100), 150);
    ExpectOneLine(Run("key in.y4m -o x-%d.png --plane x-1.png" + Hue()), 2, "--plane x-1.png");
    ExpectOneLine(Run("key in.y4m -o x.mkv --matte x.mkv" + Hue()), 2, "--matte x.mkv");
    ExpectOneLine(Run("key in.y4m -o x.mkv --matte in.y4m" + Hue()), 2, "is also the input");
    ExpectOneLine(Run("key in.y4m -o - --matte - --to y4m" + Hue()), 2, "--matte -");
}

TEST_F(KeyTest, WhatMakesNoSenseIsRefused) {
    WriteStudio();
    WriteGrey("mask.png", [](int, int) { return 255; });
    const struct {
        const char *call, *named;
    } cases[] = {
        {"--color grass", "--color grass"},
        {"--color 12345", "--color 12345"},
        {"--color green --auto", "--color and --auto"},
        {"--pick 1,1 --hue 5", "--pick and --hue"},
        {"--pick 1", "--pick 1"},
        {"--pick 1,1.5", "--pick 1,1.5"},
        {"--hue 361", "--hue 361"},
        {"--hue 5 --at 1", "--at"},
        {"--color blue --at 1", "--at"},
        {"--acceptance 0", "--acceptance 0"},
        {"--clip 0.2,0.9", "--clip 0.2,0.9"},
        {"--clip 0.2", "--clip 0.2"},
        {"--clip 0.9,0.1 --gain 2", "--clip and --gain"},
        {"--444 --422", "--444 and --422"},
        {"--444 --garbage mask.png", "--garbage"},
        {"--style fp --garbage mask.png", "--garbage"},
        {"--luma 0.5", "--luma 0.5"},
        {"--luma 2,0,0", "--luma 2,0,0"},
        {"--luma=-0.5,0.1,0", "--luma -0.5"},
        {"--luma 0.5,0.1,0 --spill 1", "--spill"},
        {"--luma 0.5,0.1,0 --444", "--444"},
        {"--luma 0.5,0.1,0 --style flp", "--style"},
        {"--split x", "--split x"},
        {"--split 101%", "--split 101%"},
        {"--split 1.5", "--split 1.5"},
        {"--split-bottom", "--split-bottom"},
        {"--shaped --background 000000", "--shaped"},
        {"--foreground fore.mp4", "--foreground fore.mp4"},
        {"--foreground fore.y4m", "holds no alpha"},
        {"--matte matte.png", "--matte matte.png"},
        {"--matte matte.txt", "--matte matte.txt"},
        {"--plane plane.jpg", "--plane plane.jpg"},
    };
    for (const auto& [call, named] : cases) {
        SCOPED_TRACE(call);
        ExpectOneLine(Run(std::string("key in.y4m -o out.y4m ") + call), 2, named);
        EXPECT_FALSE(Exists("out.y4m"));
    }
    ExpectOneLine(Run("key in.y4m -o out.y4m --background nothing.mkv"), 1, "nothing.mkv");
    ExpectOneLine(Run("key in.y4m -o out.y4m --garbage nothing.png"), 1, "nothing.png");
}

}  // namespace
}  // namespace tool::test
