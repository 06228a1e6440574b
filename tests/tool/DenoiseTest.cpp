#include <cmath>
#include <random>

#include "ProgramRun.h"

namespace tool::test {
namespace {

constexpr int kWidth = 64, kHeight = 48;

class DenoiseTest : public ProgramTest {
protected:
    static int Scene(int x, int y) {
        return 128 + static_cast<int>(60 * std::sin(x / 9.0) * std::cos(y / 11.0));
    }

    /// A soft picture that stands still, under noise.
    void WriteNoisy(const std::string& name, int frames, double luma, double chroma,
                    const std::string& scan = "Ip", int width = kWidth, int height = kHeight) const {
        std::mt19937 random(5);
        std::normal_distribution<double> normal(0, 1);
        const auto noisy = [&](int value, double deviation) {
            return std::clamp(static_cast<int>(std::lround(value + deviation * normal(random))), 0, 255);
        };
        WriteY4m(
            name, width, height, frames, [&](int x, int y, int) { return noisy(Scene(x, y), luma); },
            [&](int x, int y, int) { return noisy(Scene(y, x), chroma); },
            [&](int, int, int) { return noisy(128, chroma); }, scan);
    }
    Y4mClip Clip(const std::string& name) const { return Y4mClip(Contents(In(name))); }
    Y4mClip Made(const std::string& options, const std::string& in = "a.y4m") const {
        const Outcome made = Run("denoise " + in + " -o b.y4m " + options);
        EXPECT_EQ(made.status, 0) << options << ": " << made.err;
        return Clip("b.y4m");
    }
    /// Mean squared difference of luma from the scene.
    static double Error(const Y4mClip& clip, int frame) {
        double sum = 0;
        for (int y = 0; y < clip.height; ++y) {
            for (int x = 0; x < clip.width; ++x) {
                const double d = clip.Luma(frame, x, y) - Scene(x, y);
                sum += d * d;
            }
        }
        return sum / (clip.width * clip.height);
    }
};

TEST_F(DenoiseTest, ThreadsMakeTheSamePictures) {
    // 106 lines, and fields of 54: strips of unequal heights, and windows that reach over their edges.
    for (const char* scan : {"Ip", "It"}) {
        WriteNoisy("a.y4m", 4, 12, 7, scan, 66, scan == std::string("Ip") ? 106 : 108);
        for (const char* options : {"--window 3x3x3", "--window 1x15x1", "--window 5x9x1 --limit --level 9,5",
                                    "--window 1x1x9", "--method temporal", "--follow"}) {
            SCOPED_TRACE(std::string(scan) + " " + options);
            ASSERT_EQ(Run(std::string("denoise a.y4m -o one.y4m --threads 1 ") + options).status, 0);
            const std::string whole = Contents(In("one.y4m"));
            EXPECT_NE(whole, Contents(In("a.y4m")));
            for (const char* threads : {"2", "3", "64"}) {
                ASSERT_EQ(
                    Run(std::string("denoise a.y4m -o b.y4m --threads ") + threads + " " + options).status,
                    0);
                EXPECT_EQ(Contents(In("b.y4m")), whole) << threads;
            }
        }
    }
}

/// Everything looks like noise to so high a level: what comes out is the mean of the window.
TEST_F(DenoiseTest, TheWindowHasItsColumnsLinesAndPictures) {
    const struct {
        const char* window;
        int width, height, frames;
    } kWindows[] = {{"1x1x3", 1, 1, 3}, {"3x1x1", 3, 1, 1}, {"1x5x1", 1, 5, 1}, {"3x3x5", 3, 3, 5}};
    for (const char* scan : {"Ip", "It", "Ib"}) {
        WriteNoisy("a.y4m", 4, 20, 20, scan);
        const Y4mClip before = Clip("a.y4m");
        const int step = scan == std::string("Ip") ? 1 : 2;
        for (const auto& [window, width, height, frames] : kWindows) {
            SCOPED_TRACE(std::string(scan) + " " + window);
            const Y4mClip after = Made(std::string("--level 254 --window ") + window);
            ASSERT_EQ(after.Frames(), 4);
            for (int frame = 0; frame < 4; ++frame) {
                for (int y = 0; y < kHeight; ++y) {
                    for (int x = 0; x < kWidth; ++x) {
                        double sum = 0;
                        for (int t = -(frames / 2); t <= frames / 2; ++t) {
                            for (int j = -(height / 2); j <= height / 2; ++j) {
                                for (int i = -(width / 2); i <= width / 2; ++i) {
                                    const int line = std::clamp(y / step + j, 0, kHeight / step - 1);
                                    sum +=
                                        before.Luma(std::clamp(frame + t, 0, 3),
                                                    std::clamp(x + i, 0, kWidth - 1), line * step + y % step);
                                }
                            }
                        }
                        ASSERT_NEAR(after.Luma(frame, x, y), sum / (width * height * frames), 0.501)
                            << x << " " << y << " of " << frame;
                    }
                }
            }
        }
    }
}

TEST_F(DenoiseTest, TheLevelIsFoundAndSaid) {
    for (const double deviation : {3.0, 10.0, 20.0}) {
        WriteNoisy("a.y4m", 6, deviation, deviation / 2, "Ip", 320, 240);
        const Outcome made = Run("denoise a.y4m -o b.y4m");
        ASSERT_EQ(made.status, 0) << made.err;
        double luma = 0, chroma = 0;
        ASSERT_EQ(std::sscanf(made.out.c_str(), "--level %lf,%lf", &luma, &chroma), 2) << made.out;
        EXPECT_NEAR(luma, deviation, 0.1 * deviation);
        EXPECT_NEAR(chroma, deviation / 2, 0.1 * deviation);
        // Typed again it makes the same pictures, and another part of the run finds the same.
        const std::string whole = Contents(In("b.y4m"));
        Made(made.out.substr(0, made.out.find('\n')));
        EXPECT_EQ(Contents(In("b.y4m")), whole);
        const Outcome part = Run("denoise a.y4m -o b.y4m --frames 4-5");
        EXPECT_EQ(part.out.substr(0, part.out.find('\n')), made.out.substr(0, made.out.find('\n')));
    }
}

TEST_F(DenoiseTest, NoiseBecomesLess) {
    WriteNoisy("a.y4m", 5, 10, 10, "Ip", 320, 240);
    const double noisy = Error(Clip("a.y4m"), 2);
    // In decibels: 3 are half of the squared error.
    for (const auto& [options, decibels] :
         {std::pair{"", 6.0}, std::pair{"--strength light", 3.0}, std::pair{"--strength strong", 6.0},
          std::pair{"--window 3x3x1", 5.0}, std::pair{"--method temporal", 3.0}, std::pair{"--follow", 5.0},
          std::pair{"--limit", 3.0}}) {
        EXPECT_GT(10 * std::log10(noisy / Error(Made(options), 2)), decibels) << options;
    }
}

TEST_F(DenoiseTest, PartsOfARunAreThoseOfTheWhole) {
    for (const char* scan : {"Ip", "Ib"}) {
        WriteNoisy("a.y4m", 9, 8, 6, scan);
        for (const char* options :
             {"", "--window 1x1x9", "--method temporal", "--follow", "--follow --window 3x1x5"}) {
            SCOPED_TRACE(std::string(scan) + options);
            Made(options);
            const std::string whole = Contents(In("b.y4m"));
            std::string joined = whole.substr(0, whole.find('\n') + 1);
            for (const char* frames : {"0-0", "1-1", "2-2", "3-3", "4-6", "7-7", "8-8"}) {
                Made(std::string(options) + " --threads 2 --frames " + frames);
                const std::string bytes = Contents(In("b.y4m"));
                joined += bytes.substr(bytes.find('\n') + 1);
            }
            EXPECT_EQ(joined, whole);
        }
    }
}

TEST_F(DenoiseTest, PartsWithAlphaFollowTheSameNoise) {
    // Nearly transparent where noise is measured: multiplied with alpha it would be next to nothing.
    Ffmpeg(
        "-f lavfi -i color=gray:s=64x32:d=0.32:r=25 -vf \"format=rgba,geq=r='90+random(0)*80'"
        ":g='90+random(0)*80':b='90+random(0)*80':a='if(lt(X,50),255,20)'\" -c:v ffv1 -pix_fmt bgra a.mkv");
    const std::string follow = "denoise a.mkv --level 20 --follow --window 3x3x1 ";
    ASSERT_EQ(Run(follow + "-o whole-%d.png").status, 0);
    ASSERT_EQ(Run(follow + "-o part-%d.png --frames 5-6").status, 0);
    EXPECT_EQ(Contents(In("part-5.png")), Contents(In("whole-5.png")));
    EXPECT_EQ(Contents(In("part-6.png")), Contents(In("whole-6.png")));
}

TEST_F(DenoiseTest, APipeHasPicturesAroundToo) {
    WriteNoisy("a.y4m", 5, 8, 8);
    Made("--level 8");
    const std::string whole = Contents(In("b.y4m"));
    ASSERT_EQ(Shell("cat a.y4m | tesselu denoise - -o c.y4m --level 8").status, 0);
    EXPECT_EQ(Contents(In("c.y4m")), whole);
    ASSERT_EQ(Shell("cat a.y4m | tesselu denoise - -o c.y4m --level 8 --frames 2-").status, 0);
    const std::string part = Contents(In("c.y4m")), all = Contents(In("b.y4m"));
    const std::size_t frames = part.size() - part.find('\n') - 1;
    EXPECT_EQ(part.substr(part.find('\n') + 1), all.substr(all.size() - frames));
}

TEST_F(DenoiseTest, AlphaIsLeftAlone) {
    Ffmpeg(
        "-f lavfi -i color=gray:s=64x32 -vf \"format=rgba,geq=r='90+X':g='120+random(0)*20':b=80:a='4*X'\" "
        "-frames:v 1 a.png");
    ASSERT_EQ(Run("denoise a.png -o out-%d.png --level 8").status, 0);
    Ffmpeg("-i out-0.png -vf alphaextract -f rawvideo -pix_fmt gray out.raw");
    const std::string alpha = Contents(In("out.raw"));
    ASSERT_EQ(alpha.size(), 64U * 32);
    for (std::size_t i = 0; i < alpha.size(); ++i) {
        ASSERT_EQ(static_cast<unsigned char>(alpha[i]), 4 * (i % 64)) << i;
    }
}

TEST_F(DenoiseTest, RefusesWhatIsNoFilter) {
    WriteNoisy("a.y4m", 1, 5, 5);
    const struct {
        const char *options, *says;
    } kWrong[] = {{"--window 3x3", "--window"},
                  {"--window 2x3x3", "--window"},
                  {"--window 3x3x3x", "--window"},
                  {"--window 0x3x3", "--window"},
                  {"--window 15x15x3", "257"},
                  {"--window 17x1x1", "--window"},
                  {"--level", "--level"},
                  {"--level -1", "--level"},
                  {"--level 5,x", "--level"},
                  {"--level 300", "--level"},
                  {"--level nan", "--level"},
                  {"--strength huge", "--strength"},
                  {"--method median", "--method"},
                  {"--method temporal --follow", "--follow"},
                  {"--method temporal --limit", "--limit"},
                  {"--method temporal --window 3x3x3", "--window"}};
    for (const auto& [options, says] : kWrong) {
        const Outcome made = Run(std::string("denoise a.y4m -o c.y4m ") + options);
        EXPECT_EQ(made.status, 2) << options;
        EXPECT_NE(made.err.find(says), std::string::npos) << options << ": " << made.err;
        EXPECT_FALSE(Exists("c.y4m")) << options;
    }
}

}  // namespace
}  // namespace tool::test
