#include <TesselU/gradient/GradientGenerator.h>

#include "ProgramRun.h"

namespace tool::test {
namespace {

using GradientGenerator::WgrGradientData;
using GradientGenerator::WgrMaskData;

class PatternTest : public ProgramTest {
protected:
    /// The samples of a picture, those of 16 bits with the low byte first.
    std::string SamplesOf(const std::string& name, int bits) const {
        Ffmpeg("-i " + name + " -f rawvideo -pix_fmt " + (bits == 8 ? "gray" : "gray16le") + " samples.raw");
        return Contents(In("samples.raw"));
    }

    static std::string Drawn(unsigned pattern, unsigned width, unsigned height, unsigned bits, unsigned peak,
                             float aspect, float cell) {
        std::string samples(std::size_t{width} * height * bits / 8, '\0');
        WgrGradientData record = {sizeof record, width, height, static_cast<Zan::Long32>(width * bits / 8),
                                  bits,          bits,  peak,   samples.data(),
                                  aspect,        cell,  0};
        EXPECT_EQ(GradientGenerator::WgrGenerateGradient(&record, pattern), 0);
        return samples;
    }
};

TEST_F(PatternTest, PngHoldsTheMapOfItsOwnShape) {
    ASSERT_EQ(Run("pattern 41 -o a.png").status, 0);
    EXPECT_EQ(SamplesOf("a.png", 8), Drawn(41, 640, 480, 8, 255, 640.0F / 480, 1.0F / 12));
    ASSERT_EQ(Run("pattern 71 -o b.png --size 90x32 --cells 5 --aspect 2.5").status, 0);
    EXPECT_EQ(SamplesOf("b.png", 8), Drawn(71, 90, 32, 8, 255, 2.5F, 0.2F));
}

TEST_F(PatternTest, PngOfSixteenBitsHasAllOfThem) {
    ASSERT_EQ(Run("pattern 48 -o a.png --bits 16 --size 100x60").status, 0);
    EXPECT_EQ(SamplesOf("a.png", 16), Drawn(48, 100, 60, 16, 65535, 100.0F / 60, 1.0F / 12));
}

TEST_F(PatternTest, TgaIsTheLibrarysOwn) {
    for (const int bits : {8, 16}) {
        const std::string option = " --bits " + std::to_string(bits);
        ASSERT_EQ(Run("pattern 45 -o a.tga --size 200x100" + option).status, 0);
        ASSERT_EQ(GradientGenerator::writeGradientPatternToTGAfile(In("own.tga").c_str(), 45, 200, 100,
                                                                   static_cast<unsigned>(bits / 8)),
                  0);
        const std::string own = Contents(In("own.tga"));
        EXPECT_GT(own.size(), 200U * 100 * static_cast<unsigned>(bits / 8));
        EXPECT_EQ(Contents(In("a.tga")), own) << bits;
        // The same layout where the program writes it.
        ASSERT_EQ(Run("pattern 45 -o b.tga --size 200x100 --cells 12" + option).status, 0);
        EXPECT_EQ(Contents(In("b.tga")), own) << bits;
        ASSERT_EQ(Run("pattern 45 -o c.tga --size 200x100 --aspect 2" + option).status, 0);
        EXPECT_EQ(Contents(In("c.tga")).size(), own.size());
        EXPECT_EQ(Contents(In("c.tga")).substr(0, 18), own.substr(0, 18));
        EXPECT_EQ(Contents(In("c.tga")).substr(18 + 200U * 100 * static_cast<unsigned>(bits / 8)),
                  own.substr(18 + 200U * 100 * static_cast<unsigned>(bits / 8)));
    }
    std::string samples(200 * 100 * 2, '\0');
    WgrGradientData record = {sizeof record,  200,  100,       400, 16, 14, 16320,
                              samples.data(), 2.0F, 1.0F / 12, 0};
    ASSERT_EQ(GradientGenerator::WgrGenerateGradient(&record, 45), 0);
    EXPECT_EQ(Contents(In("c.tga")).substr(18, samples.size()), samples);
}

TEST_F(PatternTest, WhatCannotBeDrawnIsNamed) {
    ExpectOneLine(Run("pattern 124 -o a.png"), 2, "pattern 124: no such pattern");
    ExpectOneLine(Run("pattern 409 -o a.png"), 2, "pattern 409");
    ExpectOneLine(Run("pattern 0x29 -o a.png"), 2, "pattern 0x29");
    ExpectOneLine(Run("pattern -o a.png"), 2, "CODE is missing");
    ExpectOneLine(Run("pattern 1"), 2, "-o FILE is missing");
    ExpectOneLine(Run("pattern 1 -o a.jpg"), 2, "-o a.jpg");
    ExpectOneLine(Run("pattern 1 -o a.png --bits 12"), 2, "--bits 12");
    ExpectOneLine(Run("pattern 1 -o a.png --size 7x100"), 2, "--size 7x100");
    ExpectOneLine(Run("pattern 1 -o a.png --aspect 0"), 2, "--aspect 0");
    ExpectOneLine(Run("pattern 1 -o none/a.png"), 1, "none/a.png: cannot be written");
    ExpectOneLine(Run("pattern 1 -o none/a.tga"), 1, "none/a.tga: cannot be written");
    EXPECT_TRUE(std::filesystem::is_empty(directory) || !Exists("a.png"));
}

TEST_F(PatternTest, WhatWasThereIsReplacedWhole) {
    std::ofstream(In("a.tga")) << std::string(100000, 'x');
    ASSERT_EQ(Run("pattern 1 -o a.tga --size 16x16").status, 0);
    EXPECT_EQ(Contents(In("a.tga")).size(), 18U + 256 + 26);
    std::ofstream(In("kept.tga")) << "before";
    EXPECT_EQ(Run("pattern 124 -o kept.tga").status, 2);
    EXPECT_EQ(Contents(In("kept.tga")), "before");
}

/// White on black, by rows.
TEST_F(PatternTest, MasksHoldTheirShapes) {
    ASSERT_EQ(Run("mask rectangle -o a.png --size 16x8 --points 12,6,4,2").status, 0);
    std::string samples = SamplesOf("a.png", 8);
    ASSERT_EQ(samples.size(), 128U);
    for (std::size_t y = 0; y < 8; ++y) {
        for (std::size_t x = 0; x < 16; ++x) {
            const bool isInside = x >= 4 && x < 12 && y >= 2 && y < 6;
            EXPECT_EQ(static_cast<unsigned char>(samples[y * 16 + x]), isInside ? 255 : 0) << x << " " << y;
        }
    }
    ASSERT_EQ(Run("mask half-plane -o b.png --size 16x8 --points 5,0,5,8").status, 0);
    samples = SamplesOf("b.png", 8);
    ASSERT_EQ(samples.size(), 128U);
    for (std::size_t i = 0; i < 128; ++i) {
        EXPECT_EQ(static_cast<unsigned char>(samples[i]), i % 16 >= 5 ? 255 : 0) << i;
    }
    ASSERT_EQ(Run("mask half-plane -o c.png --size 16x8 --points 0,2,16,2").status, 0);
    EXPECT_EQ(SamplesOf("c.png", 8), std::string(32, '\xFF') + std::string(96, '\0'));
    ASSERT_EQ(Run("mask half-plane -o c.png --size 16x8 --points 0,2,16,2 --bottom-up").status, 0);
    EXPECT_EQ(SamplesOf("c.png", 8), std::string(96, '\0') + std::string(32, '\xFF'));
    ASSERT_EQ(Run("mask ellipse -o d.png --size 16x8 --points 0,0,16,8").status, 0);
    samples = SamplesOf("d.png", 8);
    ASSERT_EQ(samples.size(), 128U);
    for (std::size_t y = 0; y < 8; ++y) {
        for (std::size_t x = 0; x < 16; ++x) {
            const double dx = (static_cast<double>(x) - 7.5) / 8, dy = (static_cast<double>(y) - 3.5) / 4;
            EXPECT_EQ(static_cast<unsigned char>(samples[y * 16 + x]), dx * dx + dy * dy < 1 ? 255 : 0);
        }
    }
}

TEST_F(PatternTest, MasksAreTheLibrarysWithAllTheirSettings) {
    ASSERT_EQ(Run("mask rectangle -o a.tga --bits 16 --size 40x30 --points 3.5,-4,33,27.25 --softness 0.5 "
                  "--softness-y 0.25")
                  .status,
              0);
    std::string samples(40 * 30 * 2, '\0');
    WgrMaskData record = {sizeof record, 40,    30,    80,     16,   14,   16320, samples.data(), 1, 0,
                          3.5F,          -4.0F, 33.0F, 27.25F, 0.5F, 0.25F};
    ASSERT_EQ(GradientGenerator::WgrGenerateMask(&record, 2), 0);
    const std::string file = Contents(In("a.tga"));
    ASSERT_EQ(file.size(), 18U + samples.size() + 592 + 26);
    EXPECT_EQ(file[2], 0x23);
    EXPECT_EQ(file.substr(18, samples.size()), samples);
    ASSERT_EQ(
        Run("mask rectangle -o b.tga --bits 16 --size 40x30 --points 3.5,-4,33,27.25 --softness 0.5").status,
        0);
    record.softnessY = 0.5F;
    samples.assign(samples.size(), '\0');
    ASSERT_EQ(GradientGenerator::WgrGenerateMask(&record, 2), 0);
    EXPECT_EQ(Contents(In("b.tga")).substr(18, samples.size()), samples);
}

TEST_F(PatternTest, MasksThatSayNothingAreRefused) {
    ExpectOneLine(Run("mask star -o a.png"), 2, "star: no such shape");
    ExpectOneLine(Run("mask -o a.png"), 2, "SHAPE is missing");
    for (const char* points :
         {"1,2,3", "1,2,3,4,5", "1,2,3,x", "1;2;3;4", "nan,0,1,1", "1e9,0,1,1", "1,2,3,"}) {
        ExpectOneLine(Run(std::string("mask ellipse -o a.png --points '") + points + "'"), 2,
                      std::string("--points ") + points);
    }
    ExpectOneLine(Run("mask ellipse -o a.png --bottom-up"), 2, "--bottom-up");
    ExpectOneLine(Run("mask ellipse -o a.png --softness 1.5"), 2, "--softness 1.5");
    EXPECT_FALSE(Exists("a.png"));
}

TEST_F(PatternTest, TheListComesAsJson) {
    const Outcome list = Run("patterns --json");
    EXPECT_EQ(list.status, 0);
    EXPECT_NE(
        list.out.find("{\"number\":41,\"kind\":\"edge\",\"family\":\"diagonal\",\"name\":\"diagonal, from "
                      "the top left\",\"drawn\":true}"),
        std::string::npos)
        << list.out;
    EXPECT_EQ(std::count(list.out.begin(), list.out.end(), '{'), 129);
}

}  // namespace
}  // namespace tool::test
