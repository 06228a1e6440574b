#include <cmath>
#include <cstdint>

#include "ProgramRun.h"

namespace tool::test {
namespace {

constexpr int kWidth = 64, kHeight = 32;

class ConvertTest : public ProgramTest {
protected:
    using Bytes = std::vector<std::uint8_t>;

    Bytes Read(const std::string& name) const {
        const std::string text = Contents(In(name));
        return {text.begin(), text.end()};
    }
    void Write(const std::string& name, const Bytes& bytes) const {
        std::ofstream(directory / name, std::ios::binary)
            .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    }
    static Bytes Repeated(const Bytes& unit, std::size_t times) {
        Bytes bytes;
        for (std::size_t i = 0; i < times; ++i) {
            bytes.insert(bytes.end(), unit.begin(), unit.end());
        }
        return bytes;
    }
    /// Bytes without a pattern.
    static Bytes Noise(std::size_t count) {
        Bytes bytes(count);
        std::uint32_t state = 2;
        for (std::uint8_t& byte : bytes) {
            state = state * 1664525U + 1013904223U;
            byte = static_cast<std::uint8_t>(state >> 24);
        }
        return bytes;
    }
    Bytes Converted(const std::string& arguments) const {
        const Outcome outcome = Run("convert -q " + arguments + " -o out.raw");
        EXPECT_EQ(outcome.status, 0) << arguments << ": " << outcome.err;
        return Read("out.raw");
    }
    /// The first pixel of a flat picture of raw frames.
    Bytes Pixel(const Bytes& pixel, const std::string& from, const std::string& to, std::size_t bytes,
                const std::string& more = "") const {
        Write("flat.raw", Repeated(pixel, kPixels));
        Bytes made = Converted("flat.raw --size 64x32 --from " + from + " --to " + to +
                               (more.empty() ? "" : " " + more));
        made.resize(std::min(made.size(), bytes));
        return made;
    }
    static void ExpectNear(const Bytes& made, const std::vector<double>& expected, double tolerance) {
        ASSERT_EQ(made.size(), expected.size());
        for (std::size_t i = 0; i < made.size(); ++i) {
            EXPECT_NEAR(made[i], expected[i], tolerance) << i;
        }
    }

    static constexpr std::size_t kPixels = std::size_t{kWidth} * kHeight;
};

TEST_F(ConvertTest, EqualFormatsAreCopied) {
    const double bytesOfPixel[] = {4, 4, 2, 4, 4, 4, 1.5, 2, 1.5, 1.5, 3, 2, 2,
                                   4, 4, 4, 3, 3, 2, 3,   4, 3,   3,   4, 3, 1};
    for (int code = 0; code < 26; ++code) {
        const Bytes noise = Noise(static_cast<std::size_t>(bytesOfPixel[code] * kPixels) * 2);
        Write("in.raw", noise);
        const std::string name = std::to_string(code);
        EXPECT_EQ(Converted("in.raw --from " + name + " --size 64x32 --to " + name), noise) << code;
    }
}

TEST_F(ConvertTest, RepacksToTheByte) {
    const Bytes uyvy = Noise(2 * kPixels * 3);
    Write("in.raw", uyvy);
    const std::string in = "in.raw --from uyvy --size 64x32 --to ";
    Bytes swapped = uyvy;
    for (std::size_t i = 0; i < swapped.size(); i += 2) {
        std::swap(swapped[i], swapped[i + 1]);
    }
    EXPECT_EQ(Converted(in + "yuy2"), swapped);
    Bytes planes;
    for (std::size_t frame = 0; frame < 3; ++frame) {
        const std::size_t start = frame * 2 * kPixels;
        for (const auto& [offset, step] : {std::pair{1, 2}, {0, 4}, {2, 4}}) {
            for (std::size_t i = static_cast<std::size_t>(offset); i < 2 * kPixels;
                 i += static_cast<std::size_t>(step)) {
                planes.push_back(uyvy[start + i]);
            }
        }
    }
    EXPECT_EQ(Converted(in + "i422"), planes);
    // And back, from what one run writes to another.
    const Outcome outcome = Shell(
        "tesselu convert in.raw --from uyvy --size 64x32 -t i422 -o - | "
        "tesselu convert - --from i422 --size 64x32 -t uyvy -o - | cmp - in.raw");
    EXPECT_EQ(outcome.status, 0) << outcome.err;
}

TEST_F(ConvertTest, FramesOfOtherProgramsAreReadAndWritten) {
    Ffmpeg("-f lavfi -i testsrc2=s=64x32:r=25 -frames:v 3 -pix_fmt yuv422p -c:v ffv1 clip.mkv");
    for (const auto& [theirs, ours] :
         {std::pair{"uyvy422", "uyvy"}, {"yuyv422", "yuy2"}, {"yuv422p", "i422"}}) {
        Ffmpeg(std::string("-i clip.mkv -f rawvideo -pix_fmt ") + theirs + " theirs.raw");
        EXPECT_EQ(Converted(std::string("clip.mkv --to ") + ours), Read("theirs.raw")) << ours;
    }
    // Files that hold the samples, read by somebody else.
    for (const auto& [samples, file, theirs] : {std::tuple{"bgra", "out.mkv", "bgra"},
                                                {"bgr24", "out.mkv", "bgr24"},
                                                {"bgr24", "out-%d.png", "bgr24"},
                                                {"bgra", "out-%d.png", "bgra"},
                                                {"i420", "out.y4m", "yuv420p"},
                                                {"i420", "out.mkv", "yuv420p"},
                                                {"i411", "out.y4m", "yuv411p"},
                                                {"i422", "out.y4m", "yuv422p"},
                                                {"uyvy", "out.y4m", "uyvy422"},
                                                {"uyva", "out.mkv", "yuva422p"}}) {
        const std::string to = std::string(" --to ") + samples;
        const Outcome outcome = Run("convert clip.mkv -o " + std::string(file) + to);
        ASSERT_EQ(outcome.status, 0) << file << to << outcome.err;
        Ffmpeg(std::string("-i ") + file + " -f rawvideo -pix_fmt " + theirs + " theirs.raw");
        Bytes ours = Converted("clip.mkv" + to);
        if (std::string(samples) == "uyva") {
            ours = Converted("clip.mkv --to i422");
            const Bytes all = Read("theirs.raw");
            Bytes planes;
            for (std::size_t frame = 0; frame < 3; ++frame) {
                const auto at = all.begin() + static_cast<std::ptrdiff_t>(frame * 3 * kPixels);
                planes.insert(planes.end(), at, at + 2 * kPixels);
                EXPECT_EQ(Bytes(at + 2 * kPixels, at + 3 * kPixels), Bytes(kPixels, 255));
            }
            Write("theirs.raw", planes);
        }
        EXPECT_EQ(Read("theirs.raw"), ours) << file << to;
    }
    EXPECT_EQ(Contents(In("out.y4m")).substr(0, 12), "YUV4MPEG2 W6");
}

TEST_F(ConvertTest, MatricesAreThoseOfTheStandards) {
    struct Weights {
        const char* name;
        double red, blue;
    };
    for (const Weights& w :
         {Weights{"bt601", 0.299, 0.114}, {"bt709", 0.2126, 0.0722}, {"bt2020", 0.2627, 0.0593}}) {
        const std::string matrix = std::string("--matrix ") + w.name;
        // B, G, R, A.
        for (const Bytes& rgb : {Bytes{0, 0, 255, 9}, {255, 0, 0, 9}, {0, 255, 0, 9}, {200, 90, 30, 255}}) {
            const double b = rgb[0], g = rgb[1], r = rgb[2];
            const double luma = w.red * r + w.blue * b + (1 - w.red - w.blue) * g;
            const double y = 16 + luma * 219 / 255;
            const double cb = 128 + (b - luma) / (2 - 2 * w.blue) * 224 / 255;
            const double cr = 128 + (r - luma) / (2 - 2 * w.red) * 224 / 255;
            const Bytes made = Pixel(rgb, "bgra", "v408", 4, matrix);
            ExpectNear(made, {cb, y, cr, static_cast<double>(rgb[3])}, 1.05);
            // From the samples that were made, in the doubles of the standard.
            const double backLuma = (made[1] - 16.0) * 255 / 219;
            const double backBlue = backLuma + (made[0] - 128.0) * 255 / 224 * (2 - 2 * w.blue);
            const double backRed = backLuma + (made[2] - 128.0) * 255 / 224 * (2 - 2 * w.red);
            const double backGreen = (backLuma - w.red * backRed - w.blue * backBlue) / (1 - w.red - w.blue);
            const auto limited = [](double value) { return std::min(std::max(value, 0.0), 255.0); };
            ExpectNear(Pixel(made, "v408", "bgra", 4, matrix),
                       {limited(backBlue), limited(backGreen), limited(backRed), static_cast<double>(rgb[3])},
                       1.05);
        }
    }
    // High definition has the weights of its own where nothing is said.
    Write("hd.raw", Repeated({102, 63, 240, 255}, 1280 * 8));
    for (const std::string from : {"v408", "uyvy"}) {
        const std::string in = "hd.raw --from " + from + " --size 1280x8 --to bgra";
        EXPECT_EQ(Converted(in), Converted(in + " --matrix bt709"));
        EXPECT_NE(Converted(in), Converted(in + " --matrix bt601"));
    }
    // Everything else has BT.601.
    EXPECT_EQ(Pixel({0, 0, 255, 9}, "bgra", "v408", 4),
              Pixel({0, 0, 255, 9}, "bgra", "v408", 4, "--matrix bt601"));
}

TEST_F(ConvertTest, LabelsOfClipsChooseTheMatrix) {
    const std::string red = "-f lavfi -i color=c=red:s=64x32 -frames:v 1 ";
    for (const std::string space : {"bt709", "smpte170m", "bt2020nc"}) {
        Ffmpeg(red + "-vf scale=out_color_matrix=" + (space == "bt2020nc" ? "bt2020" : space) +
               ":out_range=tv,format=yuv444p -colorspace " + space + " -color_range tv -c:v ffv1 red.mkv");
        const Bytes bgra = Converted("red.mkv --to bgra");
        ASSERT_EQ(bgra.size(), 4 * kPixels) << "a still is a frame";
        ExpectNear({bgra.begin(), bgra.begin() + 4}, {0, 0, 254, 255}, 3);
    }
}

TEST_F(ConvertTest, MatricesComeFromFiles) {
    std::ofstream(directory / "swap.txt") << "0 0 1 0\n0 1 0 0\n1 0 0 0\n0 0 0 1\n";
    std::ofstream(directory / "shift.txt") << "1,0,0,0 0,1,0,0 0,0,1,0 0,0,0,1; -10 0 0 0 0 5 20 0\n";
    // The offsets that are usual: 128, 16 and 128 behind the matrix.
    ExpectNear(Pixel({10, 20, 30, 40}, "bgra", "v408", 4, "--matrix swap.txt"), {158, 36, 138, 40}, 1);
    ExpectNear(Pixel({10, 20, 30, 40}, "bgra", "v408", 4, "--matrix shift.txt"), {0, 25, 50, 40}, 1);
    std::ofstream(directory / "short.txt") << "1 0 0 0";
    std::ofstream(directory / "words.txt") << "1 0 0 zero";
    Write("in.raw", Noise(4 * kPixels));
    const std::string in = "convert in.raw --from bgra --size 64x32 -o x.raw --to v408 --matrix ";
    ExpectOneLine(Run(in + "short.txt"), 2, "4 numbers");
    ExpectOneLine(Run(in + "words.txt"), 2, "'zero' is no number");
    ExpectOneLine(Run(in + "gone.txt"), 2, "gone.txt");
    ExpectOneLine(Run("convert in.raw --from bgra --size 64x32 -o x.raw --to bgr24 --matrix swap.txt"), 2,
                  "has no matrix");
    ExpectOneLine(Run("convert in.raw --from i420 --size 64x32 -o x.raw --to uyvy --matrix swap.txt"), 2,
                  "has several");
    EXPECT_FALSE(Exists("x.raw"));
}

TEST_F(ConvertTest, AlphaIsKeptAndMade) {
    // Planes have none: it is full.
    Write("in.raw", Noise(kPixels * 3 / 2));
    for (const std::string from : {"i420", "i411"}) {
        const Bytes bgra = Converted("in.raw --from " + from + " --size 64x32 --to bgra");
        ASSERT_EQ(bgra.size(), 4 * kPixels);
        for (std::size_t i = 3; i < bgra.size(); i += 4) {
            ASSERT_EQ(bgra[i], 255) << from;
        }
    }
    const Bytes half = {10, 200, 90, 128};
    EXPECT_EQ(Pixel(half, "bgra", "bgra", 4), half);
    // c * 128 / 255, rounded.
    ExpectNear(Pixel(half, "bgra", "bgra-shaped", 4), {5, 100, 45, 128}, 0.5);
    ExpectNear(Pixel({5, 100, 45, 128}, "bgra-shaped", "bgra", 4), {10, 199, 90, 128}, 1);
    // In a plane behind the pairs.
    Write("flat.raw", Repeated(half, kPixels));
    const Bytes uyva = Converted("flat.raw --from bgra --size 64x32 --to uyva");
    ASSERT_EQ(uyva.size(), 3 * kPixels);
    EXPECT_EQ(Bytes(uyva.begin() + 2 * kPixels, uyva.end()), Bytes(kPixels, 128));
    // A picture with alpha goes in and out as it is.
    Ffmpeg("-f lavfi -i color=c=0x20C04080:s=64x32,format=rgba -frames:v 1 in.png");
    Ffmpeg("-i in.png -f rawvideo -pix_fmt bgra theirs.raw");
    EXPECT_EQ(Converted("in.png --to bgra"), Read("theirs.raw"));
    ASSERT_EQ(Run("convert in.png --to bgra -o out-%d.png").status, 0);
    Ffmpeg("-i out-0.png -f rawvideo -pix_fmt bgra ours.raw");
    EXPECT_EQ(Read("ours.raw"), Read("theirs.raw"));
}

TEST_F(ConvertTest, ThreadsMakeTheSamePictures) {
    Ffmpeg("-f lavfi -i testsrc2=s=80x486:r=25 -frames:v 2 -pix_fmt yuv422p -c:v ffv1 clip.mkv");
    for (const std::string to : {"uyvy", "bgra", "i420", "i420-interlaced", "i411", "grouped", "uyva"}) {
        const Bytes one = Converted("clip.mkv --to " + to);
        for (const std::string threads : {"2", "3", "4", "64"}) {
            EXPECT_EQ(Converted("clip.mkv --threads " + threads + " --to " + to), one) << to << threads;
        }
    }
}

TEST_F(ConvertTest, Refusals) {
    Write("in.raw", Noise(2 * kPixels));
    const std::string in = "convert in.raw --from uyvy --size 64x32 -o x.raw --to ";
    ExpectOneLine(Run(in + "nonsense"), 2, "--to nonsense: no such sample format");
    ExpectOneLine(Run(in + "gray8"), 2, "no way from uyvy to gray8");
    ExpectOneLine(Run(in + "bgra-studio"), 2, "no way from uyvy to bgra-studio");
    ExpectOneLine(Run(in + "gray8 --style best"), 2, "does not have uyvy to gray8");
    ExpectOneLine(Run(in + "bgra --style fp"), 2, "without --style there is a way");
    ExpectOneLine(Run(in + "uyva --style general"), 2, "--style general");
    ExpectOneLine(Run("convert in.raw --size 64x32 -o x.raw --to uyvy"), 2, "in.raw");
    ExpectOneLine(Run("convert in.raw --from uyvy -o x.raw --to uyvy"), 2, "--size");
    ExpectOneLine(Run("convert in.raw --from i411 --size 62x32 -o x.raw --to uyvy"), 2, "62");
    Write("narrow.raw", Noise(2 * 62 * 32));
    ExpectOneLine(Run("convert narrow.raw --from uyvy --size 62x32 -o x.raw --to i411"), 2, "multiple of 4");
    ExpectOneLine(Run("convert in.raw --from uyvy --size 64x32 -o x.mp4 --to bgra"), 2, "x.mp4");
    ExpectOneLine(Run("convert in.raw --from uyvy --size 64x32 -o x-%d.png --to uyvy"), 2, "x-%d.png");
    ExpectOneLine(Run("convert in.raw --from uyvy --size 64x32 -o in.raw --to bgra"), 2, "in.raw");
    ExpectOneLine(Run("convert in.raw --from uyvy --size 64x32 -o x.raw"), 2, "--to FORMAT is missing");
    EXPECT_FALSE(Exists("x.raw"));
    EXPECT_EQ(Read("in.raw"), Noise(2 * kPixels));
}

TEST_F(ConvertTest, DamageIsTold) {
    Write("in.raw", Noise(2 * kPixels + 100));
    ExpectOneLine(Run("convert in.raw --from uyvy --size 64x32 -o x.raw --to bgra"), 1, "in.raw: damaged");
    EXPECT_FALSE(Exists("x.raw"));
}

// ---- An interlaced clip ----

class InterlacedTest : public ConvertTest {
protected:
    void SetUp() override {
        ConvertTest::SetUp();
        // Fields of their own times, with motion and saturated colours.
        Ffmpeg(
            "-f lavfi -i testsrc2=s=720x486:r=50:d=0.12 -vf "
            "format=yuv422p,tinterlace=interleave_top,setfield=tff -r 25 -flags +ildct -c:v ffv1 clip.mkv");
        ASSERT_EQ(Run("convert clip.mkv -o clip.y4m --to i422").status, 0);
        original = Y4mClip(Contents(In("clip.y4m")));
        ASSERT_EQ(original.Frames(), 3);
        EXPECT_NE(original.header.find(" It "), std::string::npos);
    }

    /// Into the format, and back as planes.
    Y4mClip Through(const std::string& samples) const {
        EXPECT_EQ(Run("convert clip.mkv -o there.raw --to " + samples).status, 0) << samples;
        const Outcome back =
            Run("convert there.raw --from " + samples + " --size 720x486 --scan tff -o back.y4m --to i422");
        EXPECT_EQ(back.status, 0) << samples << back.err;
        return Y4mClip(Contents(In("back.y4m")));
    }

    struct Differences {
        double luma = 0, chroma = 0;  ///< on average, in code values
    };
    Differences From(const Y4mClip& made) const {
        Differences sums;
        for (int frame = 0; frame < original.Frames(); ++frame) {
            for (int y = 0; y < original.height; ++y) {
                for (int x = 0; x < original.width; ++x) {
                    sums.luma += std::abs(made.Luma(frame, x, y) - original.Luma(frame, x, y));
                    sums.chroma += std::abs(made.Cb(frame, x, y) - original.Cb(frame, x, y)) +
                                   std::abs(made.Cr(frame, x, y) - original.Cr(frame, x, y));
                }
            }
        }
        const double samples = 1.0 * original.Frames() * original.width * original.height;
        return {sums.luma / samples, sums.chroma / samples / 2};
    }

    Y4mClip original{""};
};

TEST_F(InterlacedTest, GoesThroughEveryFormatAndBack) {
    struct Way {
        const char* samples;
        double luma, chroma;  ///< the most that may be lost
    };
    // Nothing where samples only change places. RGB of eight bits rounds, and cuts off colours that it has
    // not. A quarter of the chroma goes with edges that are finer than it.
    const Way ways[] = {{"uyvy", 0, 0},
                        {"yuy2", 0, 0},
                        {"i422", 0, 0},
                        {"grouped", 0, 0},
                        {"uyva", 0, 0},
                        {"uyva-shaped", 0, 0},
                        {"v408", 0, 0},
                        {"v408-shaped", 0, 0},
                        {"ycbcra", 0, 0},
                        {"ycbcr24", 0, 0},
                        {"bgra", 1.5, 1.5},
                        {"bgr24", 1.5, 1.5},
                        {"bgra-shaped", 1.5, 1.5},
                        {"bgra-opaque", 1.5, 1.5},
                        {"bgra-studio-open", 1.5, 1.5},
                        {"iyu2", 1.5, 1.5},
                        {"i420", 2, 4},
                        {"i411", 2, 4}};
    for (const Way& way : ways) {
        const Y4mClip back = Through(way.samples);
        ASSERT_EQ(back.Frames(), original.Frames()) << way.samples;
        EXPECT_EQ(back.header.find(" It ") != std::string::npos, true) << way.samples;
        const Differences lost = From(back);
        EXPECT_LE(lost.luma, way.luma) << way.samples;
        EXPECT_LE(lost.chroma, way.chroma) << way.samples;
    }
}

TEST_F(InterlacedTest, ChromaOf420StaysInItsField) {
    // Upper fields with luma 150 and Cb 90, lower ones with 80 and 200.
    WriteY4m(
        "fields.y4m", kWidth, kHeight, 2, [](int, int y, int) { return y % 2 == 0 ? 150 : 80; },
        [](int, int y, int) { return y % 2 == 0 ? 90 : 200; }, [](int, int, int) { return 128; }, "It",
        "25:1");
    ASSERT_EQ(Run("convert fields.y4m -o there.raw --to i420").status, 0);
    const Bytes planes = Read("there.raw");
    ASSERT_EQ(planes.size(), kPixels * 3);
    for (int y = 0; y < kHeight / 2; ++y) {
        EXPECT_NEAR(planes[kPixels + static_cast<std::size_t>(y * kWidth / 2)], y % 2 == 0 ? 90 : 200, 2)
            << y;
    }
    ASSERT_EQ(Run("convert there.raw --from i420 --size 64x32 --scan tff -o back.y4m --to i422").status, 0);
    const Y4mClip back(Contents(In("back.y4m")));
    ASSERT_EQ(back.Frames(), 2);
    for (int y = 0; y < kHeight; ++y) {
        EXPECT_NEAR(back.Luma(1, 9, y), y % 2 == 0 ? 150 : 80, 2) << y;
        EXPECT_NEAR(back.Cb(1, 9, y), y % 2 == 0 ? 90 : 200, 3) << y;
    }
    // Progressive frames share chroma between neighbouring lines: the name of the layout follows the scan.
    ASSERT_EQ(Run("convert fields.y4m -o mixed.raw --to kFmtPlanar420").status, 0);
    EXPECT_NEAR(Read("mixed.raw")[kPixels], 145, 3);
}

TEST_F(InterlacedTest, FieldsOfOtherTimesAreWoven) {
    // One field later, in the other order: each picture takes a field of two frames.
    ASSERT_EQ(Run("convert clip.mkv -o later.y4m --to i422 --scan bff").status, 0);
    const Y4mClip later(Contents(In("later.y4m")));
    ASSERT_GE(later.Frames(), 2);
    for (int y = 0; y < 486; y += 5) {
        const int from = y % 2 == 0 ? 1 : 0;
        for (int x = 0; x < 720; x += 7) {
            ASSERT_EQ(later.Luma(0, x, y), original.Luma(from, x, y)) << x << ", " << y;
        }
    }
}

}  // namespace
}  // namespace tool::test
