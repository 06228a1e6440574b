#include "ProgramRun.h"

namespace tool::test {
namespace {

constexpr int kWidth = 48, kHeight = 32;

/// In one direction at a time it reaches the other side once at most.
int Mirrored(int at, int size) {
    return at < 0 ? -at : at >= size ? 2 * size - 2 - at : at;
}

class BlurTest : public ProgramTest {
protected:
    void WriteNoise(const std::string& name, int frames, const std::string& scan = "Ip") const {
        const auto noise = [](int x, int y, int frame, int seed) {
            return 16 + (x * 73 + y * 151 + frame * 199 + x * y * 7 + seed) * 31 % 211;
        };
        WriteY4m(
            name, kWidth, kHeight, frames, [&](int x, int y, int f) { return noise(x, y, f, 0); },
            [&](int x, int y, int f) { return noise(x, y, f, 50); },
            [&](int x, int y, int f) { return noise(x, y, f, 90); }, scan);
    }
    Y4mClip Clip(const std::string& name) const { return Y4mClip(Contents(In(name))); }

    /// Luma is a mean over a box of rows `step` apart, to the nearest; halves may go either way.
    static void ExpectMeans(const Y4mClip& before, const Y4mClip& after, int frame, int boxWidth,
                            int boxHeight, int step) {
        const int rows = kHeight / step;
        for (int y = 0; y < kHeight; ++y) {
            for (int x = 0; x < kWidth; ++x) {
                int sum = 0;
                for (int j = -(boxHeight / 2); j <= boxHeight / 2; ++j) {
                    for (int i = -(boxWidth / 2); i <= boxWidth / 2; ++i) {
                        sum += before.Luma(frame, Mirrored(x + i, kWidth),
                                           Mirrored(y / step + j, rows) * step + y % step);
                    }
                }
                const int area = boxWidth * boxHeight, twice = 2 * after.Luma(frame, x, y) * area;
                ASSERT_LE(std::abs(twice - 2 * sum), area) << x << " " << y << " of frame " << frame;
            }
        }
    }
};

TEST_F(BlurTest, LumaIsTheMeanOfTheBox) {
    WriteNoise("a.y4m", 2);
    const struct {
        const char* size;
        int width, height;
    } kSizes[] = {{"5", 5, 5}, {"7x3", 7, 3},     {"1x9", 1, 9},
                  {"4", 5, 5}, {"4.4x5.6", 5, 7}, {"47x31", 47, 31}};
    for (const auto& [size, width, height] : kSizes) {
        SCOPED_TRACE(size);
        const Outcome made = Run(std::string("blur a.y4m -o b.y4m --size ") + size);
        ASSERT_EQ(made.status, 0) << made.err;
        ExpectMeans(Clip("a.y4m"), Clip("b.y4m"), 0, width, height, 1);
        ExpectMeans(Clip("a.y4m"), Clip("b.y4m"), 1, width, height, 1);
    }
}

TEST_F(BlurTest, FieldsAreBlurredApartWithHalfTheRows) {
    for (const char* scan : {"It", "Ib"}) {
        WriteNoise("a.y4m", 2, scan);
        ASSERT_EQ(Run("blur a.y4m -o b.y4m --size 7x10").status, 0);
        // Five rows of a field are ten of the frame.
        ExpectMeans(Clip("a.y4m"), Clip("b.y4m"), 0, 7, 5, 2);
        ExpectMeans(Clip("a.y4m"), Clip("b.y4m"), 1, 7, 5, 2);
    }
}

TEST_F(BlurTest, ASizeOfOneGivesEveryByteBack) {
    for (const char* scan : {"Ip", "It"}) {
        WriteNoise("a.y4m", 3, scan);
        ASSERT_EQ(Run("blur a.y4m -o b.y4m --size 1").status, 0);
        const Y4mClip before = Clip("a.y4m"), after = Clip("b.y4m");
        ASSERT_EQ(after.Frames(), 3);
        for (int frame = 0; frame < 3; ++frame) {
            for (int y = 0; y < kHeight; ++y) {
                for (int x = 0; x < kWidth; ++x) {
                    ASSERT_EQ(after.Luma(frame, x, y), before.Luma(frame, x, y));
                    ASSERT_EQ(after.Cb(frame, x, y), before.Cb(frame, x, y));
                    ASSERT_EQ(after.Cr(frame, x, y), before.Cr(frame, x, y));
                }
            }
        }
    }
}

TEST_F(BlurTest, TheBoxGrowsEvenlyTowardsItsLastSize) {
    WriteNoise("a.y4m", 5);
    ASSERT_EQ(Run("blur a.y4m -o b.y4m --size 1 --until 17x9").status, 0);
    const Y4mClip before = Clip("a.y4m"), after = Clip("b.y4m");
    // 1, 5, 9, 13, 17 wide and 1, 3, 5, 7, 9 high.
    for (int frame = 0; frame < 5; ++frame) {
        ExpectMeans(before, after, frame, 1 + 4 * frame, 1 + 2 * frame, 1);
    }
}

TEST_F(BlurTest, PassesAreRunsOneBehindTheOther) {
    WriteNoise("a.y4m", 1);
    ASSERT_EQ(Run("blur a.y4m -o twice.y4m --size 5 --passes 2").status, 0);
    ASSERT_EQ(Run("blur a.y4m -o once.y4m --size 5").status, 0);
    // Luma of the first pass is whole numbers in either.
    ExpectMeans(Clip("once.y4m"), Clip("twice.y4m"), 0, 5, 5, 1);
}

TEST_F(BlurTest, OnlyTheRegionChanges) {
    for (const char* scan : {"Ip", "It"}) {
        SCOPED_TRACE(scan);
        WriteNoise("a.y4m", 1, scan);
        ASSERT_EQ(Run("blur a.y4m -o all.y4m --size 5 --passes 1").status, 0);
        ASSERT_EQ(Run("blur a.y4m -o part.y4m --size 5 --region 10,7,20,9").status, 0);
        const Y4mClip before = Clip("a.y4m"), all = Clip("all.y4m"), part = Clip("part.y4m");
        for (int y = 0; y < kHeight; ++y) {
            for (int x = 0; x < kWidth; ++x) {
                const bool isInside = x >= 10 && x < 30 && y >= 7 && y < 16;
                ASSERT_EQ(part.Luma(0, x, y), (isInside ? all : before).Luma(0, x, y)) << x << " " << y;
            }
        }
    }
}

TEST_F(BlurTest, PartsAndThreadsMakeTheSamePictures) {
    WriteNoise("a.y4m", 7, "It");
    const std::string options = " --size 3 --until 11x15 --passes 2 --region 4,3,40,26";
    ASSERT_EQ(Run("blur a.y4m -o one.y4m --threads 1" + options).status, 0);
    const Y4mClip one = Clip("one.y4m");
    const std::string whole = Contents(In("one.y4m"));
    for (const char* threads : {"2", "3", "7"}) {
        ASSERT_EQ(Run(std::string("blur a.y4m -o b.y4m --threads ") + threads + options).status, 0);
        EXPECT_EQ(Contents(In("b.y4m")), whole) << threads;
    }
    std::string joined = one.header + "\n";
    for (const char* frames : {"0-0", "1-3", "4-4", "5-6"}) {
        ASSERT_EQ(Run(std::string("blur a.y4m -o b.y4m --frames ") + frames + options).status, 0);
        const std::string bytes = Contents(In("b.y4m"));
        joined += bytes.substr(bytes.find('\n') + 1);
    }
    EXPECT_EQ(joined, whole);
}

TEST_F(BlurTest, WhatIsTransparentTakesNoPartInColours) {
    // White inside of a disc, and a red that nobody shall see around it.
    Ffmpeg(
        "-f lavfi -i color=red:s=64x64 -vf \"format=rgba,geq=r=255:g='255*lt(hypot(X-32,Y-32),16)'"
        ":b='255*lt(hypot(X-32,Y-32),16)':a='255*lt(hypot(X-32,Y-32),16)'\" -frames:v 1 disc.png");
    ASSERT_EQ(Run("blur disc.png -o out-%d.png --size 9").status, 0);
    Ffmpeg("-i out-0.png -f rawvideo -pix_fmt rgba out.raw");
    const std::string pixels = Contents(In("out.raw"));
    ASSERT_EQ(pixels.size(), 64U * 64 * 4);
    bool hasPartial = false;
    for (std::size_t i = 0; i < pixels.size(); i += 4) {
        const auto sample = [&](std::size_t k) { return int{static_cast<unsigned char>(pixels[i + k])}; };
        // Where alpha is small, little is left of the precision of colours.
        if (sample(3) < 64) {
            continue;
        }
        hasPartial = hasPartial || sample(3) < 250;
        ASSERT_GE(sample(1), 235) << i / 4;
        ASSERT_GE(sample(2), 235) << i / 4;
    }
    EXPECT_TRUE(hasPartial);
}

TEST_F(BlurTest, RefusesWhatIsNoBox) {
    WriteNoise("a.y4m", 1);
    const struct {
        const char *options, *says;
    } kWrong[] = {{"", "--size"},
                  {"--size 0.5", "--size 0.5"},
                  {"--size x5", "--size x5"},
                  {"--size 5x", "--size 5x"},
                  {"--size nan", "--size nan"},
                  {"--size 5,5", "--size 5,5"},
                  {"--size 48", "smaller than the picture"},
                  {"--size 5x32", "smaller than the picture"},
                  {"--size 5 --until 60", "--until"},
                  {"--size 5 --region 1,2,3", "--region"},
                  {"--size 5 --region 1,2,0,4", "--region"},
                  {"--size 5 --region 40,2,9,4", "48x32"},
                  {"--size 5 --passes 0", "--passes"}};
    for (const auto& [options, says] : kWrong) {
        const Outcome made = Run(std::string("blur a.y4m -o b.y4m ") + options);
        EXPECT_EQ(made.status, 2) << options;
        EXPECT_NE(made.err.find(says), std::string::npos) << options << ": " << made.err;
        EXPECT_FALSE(Exists("b.y4m")) << options;
    }
}

}  // namespace
}  // namespace tool::test
