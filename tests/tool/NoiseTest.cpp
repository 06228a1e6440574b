#include <cmath>

#include "ProgramRun.h"

namespace tool::test {
namespace {

constexpr int kWidth = 192, kHeight = 96, kGrey = 128;

class NoiseTest : public ProgramTest {
protected:
    void WriteGrey(int frames, const std::string& scan = "Ip") const {
        const auto grey = [](int, int, int) { return kGrey; };
        WriteY4m("a.y4m", kWidth, kHeight, frames, grey, grey, grey, scan);
    }
    Y4mClip Made(const std::string& options) const {
        const Outcome made = Run("noise a.y4m -o b.y4m " + options);
        EXPECT_EQ(made.status, 0) << made.err;
        return Y4mClip(Contents(In("b.y4m")));
    }

    /// What was added to the luma of every `step`th line from `first` on.
    static std::vector<double> LumaOf(const Y4mClip& clip, int frame, int first = 0, int step = 1) {
        std::vector<double> values;
        for (int y = first; y < kHeight; y += step) {
            for (int x = 0; x < kWidth; ++x) {
                values.push_back(clip.Luma(frame, x, y) - kGrey);
            }
        }
        return values;
    }
    static double Mean(const std::vector<double>& values) {
        double sum = 0;
        for (const double value : values) {
            sum += value;
        }
        return sum / static_cast<double>(values.size());
    }
    static double Product(const std::vector<double>& a, const std::vector<double>& b) {
        double sum = 0;
        for (std::size_t i = 0; i < a.size(); ++i) {
            sum += a[i] * b[i];
        }
        return sum / static_cast<double>(a.size());
    }
    static double Correlation(const std::vector<double>& a, const std::vector<double>& b) {
        return (Product(a, b) - Mean(a) * Mean(b)) /
               std::sqrt((Product(a, a) - Mean(a) * Mean(a)) * (Product(b, b) - Mean(b) * Mean(b)));
    }
};

TEST_F(NoiseTest, GaussianHasItsDeviationAndUniformItsEnds) {
    WriteGrey(1);
    const std::vector<double> normal = LumaOf(Made("--gaussian 10"), 0);
    // Of 18,432 samples: three standard errors.
    EXPECT_NEAR(Mean(normal), 0, 0.23);
    EXPECT_NEAR(std::sqrt(Product(normal, normal)), 10, 0.16);
    const std::vector<double> even = LumaOf(Made("--uniform -20,30"), 0);
    EXPECT_EQ(*std::min_element(even.begin(), even.end()), -20);
    EXPECT_EQ(*std::max_element(even.begin(), even.end()), 30);
    EXPECT_NEAR(Mean(even), 5, 0.33);
}

TEST_F(NoiseTest, ChromaHasItToo) {
    WriteGrey(1);
    const Y4mClip made = Made("--uniform 10,10");
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) {
            ASSERT_EQ(made.Luma(0, x, y), kGrey + 10);
            ASSERT_EQ(made.Cb(0, x, y), kGrey + 10);
            ASSERT_EQ(made.Cr(0, x, y), kGrey + 10);
        }
    }
}

TEST_F(NoiseTest, AsManyBitsAreWrongAsWereAskedFor) {
    WriteGrey(1);
    const Y4mClip made = Made("--bit-errors 0.25");
    int wrong = 0;
    for (const double value : LumaOf(made, 0)) {
        for (int bits = static_cast<int>(value + kGrey) ^ kGrey; bits != 0; bits &= bits - 1) {
            ++wrong;
        }
    }
    // 0.25 of 147,456 bits, five standard deviations.
    EXPECT_NEAR(wrong, 36864 + 1, 5 * 166);
}

TEST_F(NoiseTest, EveryFieldHasItsOwn) {
    WriteGrey(4, "It");
    const Y4mClip made = Made("--gaussian 20");
    std::vector<std::vector<double>> fields;
    for (int frame = 0; frame < 4; ++frame) {
        fields.push_back(LumaOf(made, frame, 0, 2));
        fields.push_back(LumaOf(made, frame, 1, 2));
    }
    for (std::size_t i = 0; i < fields.size(); ++i) {
        for (std::size_t k = 0; k < i; ++k) {
            // Of 9,216 samples: three standard errors.
            EXPECT_LT(std::fabs(Correlation(fields[i], fields[k])), 0.032) << i << " " << k;
        }
    }
}

TEST_F(NoiseTest, SuccessivePicturesAreNotAlike) {
    const auto grey = [](int, int, int) { return kGrey; };
    WriteY4m("a.y4m", 720, 576, 5, grey, grey, grey);
    ASSERT_EQ(Run("noise a.y4m -o b.y4m --gaussian 20").status, 0);
    const Y4mClip made(Contents(In("b.y4m")));
    std::vector<std::vector<double>> frames(5);
    for (int frame = 0; frame < 5; ++frame) {
        for (int y = 0; y < 576; ++y) {
            for (int x = 0; x < 720; ++x) {
                frames[static_cast<std::size_t>(frame)].push_back(made.Luma(frame, x, y) - kGrey);
            }
        }
    }
    for (std::size_t i = 1; i < 5; ++i) {
        EXPECT_LT(std::fabs(Correlation(frames[i], frames[i - 1])), 0.01) << i;
    }
}

TEST_F(NoiseTest, StillNoiseAndSeeds) {
    WriteGrey(2);
    const Y4mClip still = Made("--gaussian 20 --still");
    EXPECT_EQ(LumaOf(still, 0), LumaOf(still, 1));
    const Y4mClip moving = Made("--gaussian 20"), again = Made("--gaussian 20 --seed 2"),
                  other = Made("--gaussian 20 --seed 3");
    EXPECT_NE(LumaOf(moving, 0), LumaOf(moving, 1));
    EXPECT_EQ(LumaOf(moving, 1), LumaOf(again, 1));
    EXPECT_LT(std::fabs(Correlation(LumaOf(moving, 0), LumaOf(other, 0))), 0.023);
}

TEST_F(NoiseTest, PartsOfARunAreThoseOfTheWhole) {
    WriteGrey(6, "Ib");
    Made("--gaussian 5 --threads 3");
    const std::string whole = Contents(In("b.y4m"));
    std::string joined = whole.substr(0, whole.find('\n') + 1);
    for (const char* frames : {"0-1", "2-2", "3-5"}) {
        Made(std::string("--gaussian 5 --frames ") + frames);
        const std::string bytes = Contents(In("b.y4m"));
        joined += bytes.substr(bytes.find('\n') + 1);
    }
    EXPECT_EQ(joined, whole);
}

TEST_F(NoiseTest, AlphaIsLeftAlone) {
    Ffmpeg(
        "-f lavfi -i color=gray:s=64x32 -vf \"format=rgba,geq=r=90:g=120:b=80:a='4*X'\" -frames:v 1 a.png");
    ASSERT_EQ(Run("noise a.png -o out-%d.png --gaussian 20").status, 0);
    Ffmpeg("-i out-0.png -vf alphaextract -f rawvideo -pix_fmt gray out.raw");
    const std::string alpha = Contents(In("out.raw"));
    ASSERT_EQ(alpha.size(), 64U * 32);
    for (std::size_t i = 0; i < alpha.size(); ++i) {
        ASSERT_EQ(static_cast<unsigned char>(alpha[i]), 4 * (i % 64)) << i;
    }
}

TEST_F(NoiseTest, RefusesWhatIsNoNoise) {
    WriteGrey(1);
    const struct {
        const char *options, *says;
    } kWrong[] = {{"", "--gaussian"},
                  {"--gaussian 5 --uniform 1,2", "one of"},
                  {"--gaussian -1", "--gaussian"},
                  {"--uniform 5", "--uniform"},
                  {"--uniform 5,4", "--uniform"},
                  {"--uniform -128,128", "--uniform"},
                  {"--bit-errors 1.5", "--bit-errors"},
                  {"--gaussian 5 --seed -1", "--seed"}};
    for (const auto& [options, says] : kWrong) {
        const Outcome made = Run(std::string("noise a.y4m -o c.y4m ") + options);
        EXPECT_EQ(made.status, 2) << options;
        EXPECT_NE(made.err.find(says), std::string::npos) << options << ": " << made.err;
        EXPECT_FALSE(Exists("c.y4m")) << options;
    }
}

}  // namespace
}  // namespace tool::test
