#include <array>
#include <cmath>

#include "ProgramRun.h"

namespace tool::test {
namespace {

/// What the commands with tables, adjustments and corrections have in common.
class ToneTest : public ProgramTest {
protected:
    /// Slopes and some noise, below black and above white, too.
    static int Noisy(int x, int y, int frame, int seed) {
        const unsigned noise =
            (static_cast<unsigned>(x) * 7919U + static_cast<unsigned>(y) * 104729U +
             static_cast<unsigned>(frame) * 1299709U + static_cast<unsigned>(seed) * 15485863U) *
            2654435761U;
        return (x * 5 + y * 3 + frame * 11 + seed * 40 + static_cast<int>(noise >> 28)) % 256;
    }
    void WriteClip(const std::string& name, int frames, const std::string& scan, int width = 48,
                   int height = 32) const {
        const auto component = [](int seed) {
            return [seed](int x, int y, int frame) { return Noisy(x, y, frame, seed); };
        };
        WriteY4m(name, width, height, frames, component(1), component(2), component(3), scan, "25:1");
    }
    /// Warmer, and with more contrast.
    void WriteCube(const std::string& name) const {
        std::ofstream file(In(name));
        file << "# a look\nTITLE \"look\"\nLUT_3D_SIZE 9\n";
        for (int b = 0; b < 9; ++b) {
            for (int g = 0; g < 9; ++g) {
                for (int r = 0; r < 9; ++r) {
                    file << std::pow(r / 8.0, 0.8) << ' ' << 0.1 * r / 8 + 0.9 * g / 8 << ' '
                         << std::pow(b / 8.0, 1.3) << '\n';
                }
            }
        }
    }
    /// The pictures of a file, without its header.
    std::string PicturesOf(const std::string& name) const {
        const std::string bytes = Contents(In(name));
        return bytes.substr(std::min(bytes.size(), bytes.find('\n')));
    }

    static constexpr std::array kCalls = {
        "lut --cube look.cube",
        "lut --curve encode",
        "lut --gamma 0.6 --low 0.06 --high 0.92",
        "lut --invert",
        "lut --posterize 7,30,30",
        "adjust --brightness 0.05 --contrast 1.2 --saturation 0.7 --hue 20 --gamma 0.8",
        "adjust --contrast 1.2 --hue -100 --style int",
        "correct --brightness 0.1 --contrast 0.1 --hue 30 --saturation 0.2 --legal",
        "correct --luma 0.05,0.2,-0.1 --studio --limit-chroma",
        "correct --red 0.1,0,0 --green 0,-0.2,0 --blue 0,0.3,0.1 --split",
    };
};

// Every operation works on points, so a picture of two fields gets what it gets as a whole.
TEST_F(ToneTest, TwoFieldsEqualTheFrame) {
    WriteCube("look.cube");
    WriteClip("fields-t.y4m", 2, "It");
    WriteClip("fields-b.y4m", 2, "Ib");
    WriteClip("frames.y4m", 2, "Ip");
    for (const char* call : kCalls) {
        SCOPED_TRACE(call);
        ASSERT_EQ(Run(std::string(call) + " frames.y4m -o p.y4m").status, 0);
        EXPECT_NE(PicturesOf("p.y4m"), PicturesOf("frames.y4m"));
        for (const char* scan : {"t", "b"}) {
            ASSERT_EQ(Run(std::string(call) + " fields-" + scan + ".y4m -o i.y4m").status, 0);
            EXPECT_EQ(PicturesOf("i.y4m"), PicturesOf("p.y4m")) << scan;
            EXPECT_NE(Contents(In("i.y4m")).find(std::string(" I") + scan), std::string::npos);
        }
    }
}

TEST_F(ToneTest, OneProcessEqualsSevenUnevenPieces) {
    WriteCube("look.cube");
    WriteClip("a.y4m", 23, "It");
    for (const char* call : kCalls) {
        SCOPED_TRACE(call);
        ASSERT_EQ(Run(std::string(call) + " a.y4m -o whole.y4m").status, 0);
        std::string pieces;
        for (const char* part : {"0-0", "1-5", "6-7", "8-15", "16-16", "17-21", "22-"}) {
            ASSERT_EQ(Run(std::string(call) + " a.y4m -o piece.y4m --frames " + part).status, 0);
            pieces += PicturesOf("piece.y4m").substr(1);
        }
        EXPECT_EQ("\n" + pieces, PicturesOf("whole.y4m"));
    }
}

TEST_F(ToneTest, SplitLeavesTheLeftHalfUntouched) {
    WriteCube("look.cube");
    WriteClip("a.y4m", 2, "It", 50);
    const Y4mClip before(Contents(In("a.y4m")));
    for (const char* call : kCalls) {
        SCOPED_TRACE(call);
        const std::string split = std::string(call).find("--split") == std::string::npos ? " --split" : "";
        ASSERT_EQ(Run(std::string(call) + split + " a.y4m -o split.y4m").status, 0);
        const Y4mClip after(Contents(In("split.y4m")));
        ASSERT_EQ(after.Frames(), 2);
        int changed = 0;
        for (int frame = 0; frame < 2; ++frame) {
            for (int y = 0; y < 32; ++y) {
                for (int x = 0; x < 50; ++x) {
                    const bool isSame = after.Luma(frame, x, y) == before.Luma(frame, x, y) &&
                                        after.Cb(frame, x, y) == before.Cb(frame, x, y) &&
                                        after.Cr(frame, x, y) == before.Cr(frame, x, y);
                    // 25 columns are 12 pairs.
                    if (x < 24) {
                        EXPECT_TRUE(isSame) << x << " " << y;
                    }
                    changed += isSame ? 0 : 1;
                }
            }
        }
        EXPECT_GT(changed, 1000);
    }
}

TEST_F(ToneTest, AStillMakesOnePicture) {
    WriteCube("look.cube");
    Ffmpeg("-f lavfi -i testsrc2=s=64x48 -frames:v 1 a.png");
    for (const char* call : kCalls) {
        SCOPED_TRACE(call);
        ASSERT_EQ(Run(std::string(call) + " a.png -o out-%d.png --sheet sheet.png").status, 0);
        EXPECT_TRUE(Exists("out-0.png"));
        EXPECT_TRUE(Exists("sheet.png"));
        EXPECT_FALSE(Exists("out-1.png"));
        ASSERT_EQ(Run(std::string(call) + " a.png -o three.y4m --length 3").status, 0);
        EXPECT_EQ(Y4mClip(Contents(In("three.y4m"))).Frames(), 3);
    }
}

// Colours are corrected as they are behind their alpha, which stays.
TEST_F(ToneTest, AlphaStaysAndColoursAreNotWeakenedByIt) {
    WriteCube("look.cube");
    Ffmpeg("-f lavfi -i color=0xC86432:s=32x16,format=rgb24 -frames:v 1 opaque.png");
    Ffmpeg("-f lavfi -i color=0xC86432@0x80:s=32x16,format=rgba -frames:v 1 half.png");
    const auto pixel = [this](const std::string& name) {
        Ffmpeg("-i " + name + " -f rawvideo -pix_fmt rgba pixels.raw");
        const std::string bytes = Contents(In("pixels.raw"));
        std::array<int, 4> samples{};
        for (std::size_t i = 0; i < 4; ++i) {
            samples[i] = static_cast<unsigned char>(bytes.at(4 * (32 * 8 + 20) + i));
        }
        return samples;
    };
    for (const char* call : kCalls) {
        SCOPED_TRACE(call);
        ASSERT_EQ(Run(std::string(call) + " opaque.png -o a-%d.png").status, 0);
        ASSERT_EQ(Run(std::string(call) + " half.png -o b-%d.png").status, 0);
        const std::array<int, 4> opaque = pixel("a-0.png"), half = pixel("b-0.png");
        EXPECT_EQ(opaque[3], 255);
        EXPECT_EQ(half[3], 128);
        // What is posterised may fall to either side of a step.
        const int within = std::string(call).find("posterize") != std::string::npos ? 40 : 8;
        for (std::size_t i = 0; i < 3; ++i) {
            EXPECT_NEAR(half[i], opaque[i], within) << i;
        }
    }
}

// What is transparent is black in an output that has no alpha, whatever becomes of colours.
TEST_F(ToneTest, WithoutAlphaInTheOutputTheTransparentIsBlack) {
    WriteCube("look.cube");
    Ffmpeg("-f lavfi -i color=0xC86432@0x00:s=32x16,format=rgba -frames:v 1 none.png");
    for (const char* call : kCalls) {
        if (std::string(call).find("--split") != std::string::npos) {
            continue;
        }
        SCOPED_TRACE(call);
        ASSERT_EQ(Run(std::string(call) + " none.png -o out.y4m").status, 0);
        const Y4mClip out(Contents(In("out.y4m")));
        EXPECT_EQ(out.Luma(0, 20, 8), 16);
        EXPECT_EQ(out.Cb(0, 20, 8), 128);
        EXPECT_EQ(out.Cr(0, 20, 8), 128);
    }
}

TEST_F(ToneTest, WhatAPathWouldIgnoreIsRefused) {
    WriteCube("look.cube");
    WriteClip("a.y4m", 1, "Ip");
    const struct {
        const char *call, *named;
    } cases[] = {
        {"lut", "a table is needed"},
        {"lut --cube look.cube --invert", "--cube and --invert"},
        {"lut --curve encode --gamma 2", "--curve and --gamma"},
        {"lut --invert --low 0.1", "--low"},
        {"lut --cube look.cube --high 0.9", "--high"},
        {"lut --posterize 8 --low 0.1", "--low"},
        {"lut --curve both", "--curve both"},
        {"lut --gamma 2 --low 0.5 --high 0.5", "--low, --high"},
        {"lut --gamma 2 --low 0.9 --high 0.1", "--low, --high"},
        {"lut --gamma 0", "--gamma 0"},
        {"lut --invert=y,u", "--invert u"},
        {"lut --invert=", "--invert: the value is empty"},
        {"lut --invert a", "a.y4m has no alpha"},
        {"lut --posterize 8,8", "--posterize 8,8"},
        {"lut --posterize 0.5", "--posterize 0.5"},
        {"lut --posterize 8,256,8", "--posterize 8,256,8"},
        {"lut --posterize 8,", "--posterize 8,"},
        {"lut --invert --style fp", "--style"},
        {"adjust --contrast 128", "--contrast 128"},
        {"adjust --contrast -1", "--contrast -1"},
        {"adjust --brightness 1.5", "--brightness 1.5"},
        {"adjust --saturation nan", "--saturation nan"},
        {"adjust --hue 181", "--hue 181"},
        {"adjust --style int --gamma 2", "--gamma"},
        {"adjust --style fp", "--style fp"},
        {"adjust --style flp-simd", "--style flp-simd"},
        {"correct --luma 0,0", "--luma 0,0"},
        {"correct --red 0,0,1.5", "--red 0,0,1.5"},
        {"correct --blue 0,0,0,0", "--blue 0,0,0,0"},
        {"correct --green a,b,c", "--green a,b,c"},
        {"correct --hue 0.5", "--hue 0.5"},
        {"correct --hue 181", "--hue 181"},
        {"correct --brightness -1.1", "--brightness -1.1"},
        {"correct --style fp", "--style"},
    };
    for (const auto& [call, named] : cases) {
        SCOPED_TRACE(call);
        ExpectOneLine(Run(std::string(call) + " a.y4m -o out.y4m"), 2, named);
        EXPECT_FALSE(Exists("out.y4m"));
    }
}

}  // namespace
}  // namespace tool::test
