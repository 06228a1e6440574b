#include "ProgramRun.h"

namespace tool::test {
namespace {

class ScopeTest : public ProgramTest {
protected:
    /// The numbers of a list of JSON, of the component of that name.
    static std::vector<long> List(const std::string& json, const std::string& component,
                                  const std::string& list) {
        std::vector<long> numbers;
        std::size_t at = json.find("{\"name\":\"" + component + "\"");
        const std::string key = "\"" + list + "\":[";
        at = at == std::string::npos ? at : json.find(key, at);
        if (at == std::string::npos) {
            return numbers;
        }
        std::istringstream text(json.substr(at + key.size(), json.find(']', at) - at - key.size()));
        for (std::string number; std::getline(text, number, ',');) {
            numbers.push_back(std::stol(number));
        }
        return numbers;
    }
    /// A number beside the lists.
    static double Number(const std::string& json, const std::string& component, const std::string& name) {
        const std::size_t at = json.find("\"" + name + "\":", json.find("{\"name\":\"" + component + "\""));
        return at == std::string::npos ? -1 : std::stod(json.substr(at + name.size() + 3));
    }
    struct Shown {
        int width = 0, height = 0;
        std::string bytes;
        std::array<int, 3> At(int x, int y) const {
            std::array<int, 3> rgb{};
            for (std::size_t i = 0; i < 3; ++i) {
                rgb[i] =
                    static_cast<unsigned char>(bytes.at(3 * static_cast<std::size_t>(y * width + x) + i));
            }
            return rgb;
        }
        /// How many pixels have the colour.
        long Count(std::array<int, 3> colour) const {
            long count = 0;
            for (int y = 0; y < height; ++y) {
                for (int x = 0; x < width; ++x) {
                    count += At(x, y) == colour ? 1 : 0;
                }
            }
            return count;
        }
    };
    Shown Show(const std::string& name) const {
        Ffmpeg("-i " + name + " shown.ppm");
        const std::string file = Contents(In("shown.ppm"));
        Shown shown;
        int most = 0, header = 0;
        EXPECT_EQ(std::sscanf(file.c_str(), "P6 %d %d %d%n", &shown.width, &shown.height, &most, &header), 3);
        shown.bytes = file.substr(static_cast<std::size_t>(header) + 1);
        return shown;
    }

    /// A ramp of luma from 16 to 239, a level for every column, with 8 lines of 240 in frame 1.
    void WriteRamp(const std::string& name, const std::string& scan = "Ip") const {
        WriteY4m(
            name, 224, 32, 2, [](int x, int y, int frame) { return frame == 1 && y < 8 ? 240 : 16 + x; },
            [](int x, int, int) { return x < 56 ? 100 : 241; }, [](int, int, int) { return 128; }, scan);
    }
    static constexpr std::array<int, 3> kIllegal = {255, 40, 40}, kLimit = {255, 176, 0};
};

TEST_F(ScopeTest, CountsTheSamplesThatAreThere) {
    WriteRamp("a.y4m");
    const Outcome run = Run("scope a.y4m -o a.png --yuv --json --frame 1");
    ASSERT_EQ(run.status, 0) << run.err;
    const std::vector<long> y = List(run.out, "Y", "counts"), cb = List(run.out, "Cb", "counts");
    ASSERT_EQ(y.size(), 256U);
    ASSERT_EQ(cb.size(), 256U);
    for (int level = 0; level < 256; ++level) {
        // 24 lines of the ramp, and 8 of white.
        const long ramp = level >= 16 && level < 240 ? 24 : 0;
        EXPECT_EQ(y[static_cast<std::size_t>(level)], ramp + (level == 240 ? 8 * 224 : 0)) << level;
        EXPECT_EQ(cb[static_cast<std::size_t>(level)], level == 100 || level == 241 ? 112 * 32 : 0);
    }
    EXPECT_EQ(List(run.out, "Cr", "counts").at(128), 224 * 32);
    EXPECT_EQ(Number(run.out, "Y", "low"), 16);
    EXPECT_EQ(Number(run.out, "Y", "high"), 235);
    EXPECT_EQ(Number(run.out, "Cb", "high"), 240);
    EXPECT_EQ(Number(run.out, "Y", "least"), 16);
    EXPECT_EQ(Number(run.out, "Y", "most"), 240);
    EXPECT_EQ(Number(run.out, "Y", "below"), 0);
    EXPECT_EQ(Number(run.out, "Y", "above"), 4 * 24 + 8 * 224);
    EXPECT_EQ(Number(run.out, "Cb", "above"), 112 * 32);
    EXPECT_NEAR(Number(run.out, "Cb", "mean"), 170.5, 1e-9);
    EXPECT_EQ(List(run.out, "A", "counts").size(), 0U);
    EXPECT_NE(run.out.find("\"frame\":1,\"width\":224,\"height\":32,\"kind\":\"histogram\""),
              std::string::npos);
}

// Frames are measured as they are stored, whether they are one picture or two fields.
TEST_F(ScopeTest, AnInterlacedFrameIsMeasuredWhole) {
    WriteRamp("p.y4m");
    WriteRamp("i.y4m", "It");
    const std::string progressive = Run("scope p.y4m -o p.png --yuv --json --kind waveform").out;
    EXPECT_EQ(Run("scope i.y4m -o i.png --yuv --json --kind waveform").out, progressive);
    EXPECT_EQ(Contents(In("i.png")), Contents(In("p.png")));
}

TEST_F(ScopeTest, AWaveformHasEveryColumn) {
    WriteRamp("a.y4m");
    const Outcome run = Run("scope a.y4m -o a.png --yuv --json --frame 1 --kind waveform");
    ASSERT_EQ(run.status, 0) << run.err;
    const std::vector<long> least = List(run.out, "Y", "columns_least"),
                            most = List(run.out, "Y", "columns_most"),
                            cb = List(run.out, "Cb", "columns_most");
    ASSERT_EQ(least.size(), 224U);
    ASSERT_EQ(most.size(), 224U);
    ASSERT_EQ(cb.size(), 224U);
    for (std::size_t x = 0; x < 224; ++x) {
        EXPECT_EQ(least[x], 16 + static_cast<long>(x));
        EXPECT_EQ(most[x], 240);
        EXPECT_EQ(cb[x], x < 112 ? 100 : 241);
    }
    EXPECT_EQ(List(run.out, "Y", "counts").at(240), 8 * 224);
    // Three panels of 224 columns and 256 levels, each 22 pixels of scale and a gap of 8 from the next.
    const Shown shown = Show("a.png");
    EXPECT_EQ(shown.width, 3 * (224 + 22 + 8) + 8);
    EXPECT_EQ(shown.height, 256 + 2 * 8);
    const auto level = [&](int panel, int x, int value) {
        return shown.At(8 + 22 + panel * (224 + 22 + 8) + x, 8 + 255 - value);
    };
    const std::array<int, 3> ground = {0, 0, 0};
    for (const int x : {70, 150}) {
        EXPECT_NE(level(0, x, 16 + x), ground);
        EXPECT_EQ(level(0, x, 16 + x + 2), ground);
        EXPECT_EQ(level(0, x, 16 + x - 2), ground);
    }
    // What is not legal is red.
    EXPECT_EQ(level(0, 100, 240), kIllegal);
    EXPECT_EQ(level(0, 100, 235), kLimit);
    EXPECT_EQ(level(0, 100, 16), kLimit);
    EXPECT_EQ(level(1, 200, 241), kIllegal);
    EXPECT_EQ(level(1, 200, 240), kLimit);
}

TEST_F(ScopeTest, AHistogramHasABarForEveryLevel) {
    WriteRamp("a.y4m");
    ASSERT_EQ(Run("scope a.y4m -o a.png --yuv --frame 1").status, 0);
    const Shown shown = Show("a.png");
    EXPECT_EQ(shown.width, 512 + 2 * 8);
    EXPECT_EQ(shown.height, 3 * (120 + 2 + 9 + 8) + 8);
    const auto bar = [&](int value, int up) { return shown.At(8 + 2 * value, 8 + 119 - up); };
    const std::array<int, 3> ground = {0, 0, 0}, luma = {224, 224, 224};
    // 24 of 1816 is 0.115 of the height, by the square root: 14 of 120 pixels.
    EXPECT_EQ(bar(100, 13), luma);
    EXPECT_EQ(bar(100, 14), ground);
    EXPECT_EQ(bar(14, 0), ground);
    EXPECT_EQ(bar(237, 13), kIllegal);
    EXPECT_EQ(bar(237, 14), ground);
    EXPECT_EQ(bar(240, 119), kIllegal);
    EXPECT_EQ(bar(16, 60), kLimit);
}

TEST_F(ScopeTest, RgbAndAlphaOfAPicture) {
    Ffmpeg("-f lavfi -i color=0xC86432@0x80:s=31x17,format=rgba -frames:v 1 a.png");
    const Outcome run = Run("scope a.png -o out.png --json");
    ASSERT_EQ(run.status, 0) << run.err;
    const struct {
        const char* name;
        std::size_t level;
    } components[] = {{"R", 0xC8}, {"G", 0x64}, {"B", 0x32}, {"A", 0x80}};
    for (const auto& [name, level] : components) {
        const std::vector<long> counts = List(run.out, name, "counts");
        ASSERT_EQ(counts.size(), 256U) << name;
        EXPECT_EQ(counts[level], 31 * 17) << name;
    }
    // And of a clip, by its matrix: white and black of video.
    WriteFlat("white.y4m", 1, 235);
    EXPECT_EQ(List(Run("scope white.y4m -o out.png --json").out, "G", "counts").at(254) +
                  List(Run("scope white.y4m -o out.png --json").out, "G", "counts").at(255),
              32 * 16);
    const Outcome text = Run("scope a.png -o out.png");
    EXPECT_NE(text.out.find("R  200 to 200, mean 200.00; below 0: 0.00 %, above 255: 0.00 %"),
              std::string::npos)
        << text.out;
}

TEST_F(ScopeTest, WrongCallsAreRefusedInOneLine) {
    WriteFlat("a.y4m", 3);
    Ffmpeg("-f lavfi -i color=red:s=16x16 -frames:v 1 a.png");
    ExpectOneLine(Run("scope a.y4m -o out.jpg"), 2, "-o out.jpg");
    ExpectOneLine(Run("scope a.y4m"), 2, "-o FILE.png is missing");
    ExpectOneLine(Run("scope a.y4m -o out.png --frame 3"), 2, "--frame 3");
    ExpectOneLine(Run("scope a.png -o out.png --frame 1"), 2, "--frame 1");
    ExpectOneLine(Run("scope a.png -o a.png"), 2, "a.png");
    ExpectOneLine(Run("scope a.y4m -o out.png --kind vector"), 2, "--kind vector");
    ExpectOneLine(Run("scope a.y4m -o out.png --size 16x16"), 2, "--size");
    ExpectOneLine(Run("scope missing.y4m -o out.png"), 1, "missing.y4m");
    EXPECT_FALSE(Exists("out.png"));
    EXPECT_EQ(Run("scope a.y4m -o out.png --frame 2").status, 0);
}

}  // namespace
}  // namespace tool::test
