#include "ProgramRun.h"

namespace tool::test {
namespace {

class LevelsTest : public ProgramTest {
protected:
    /// A JPEG file in grey, 64 by 64 pixels of one level that is 192 or more: only the first block has a
    /// coefficient, 8 * (level - 128) at a quantisation of 1, which is a number of ten bits.
    static std::string GreyJpeg(int level) {
        std::string file("\xFF\xD8", 2);
        file += std::string("\xFF\xDB\0\x43\0", 5) + std::string(64, '\1');
        file += std::string("\xFF\xC0\0\x0B\x08\0\x40\0\x40\1\1\x11\0", 13);
        // Codes for differences: 0 for none, 10 for ten bits. For the rest of a block: 0 for nothing more.
        file += std::string("\xFF\xC4\0\x15\0", 5) + std::string("\1\1", 2) + std::string(14, '\0') +
                std::string("\0\x0A", 2);
        file += std::string("\xFF\xC4\0\x14\x10", 5) + std::string("\1", 1) + std::string(15, '\0') +
                std::string("\0", 1);
        file += std::string("\xFF\xDA\0\x08\1\1\0\0\x3F\0", 10);
        std::string bits = "10";
        for (int bit = 9; bit >= 0; --bit) {
            bits += (8 * (level - 128) >> bit & 1) != 0 ? '1' : '0';
        }
        bits += "0";
        for (int block = 1; block < 64; ++block) {
            bits += "00";
        }
        while (bits.size() % 8 != 0) {
            bits += '1';
        }
        for (std::size_t i = 0; i < bits.size(); i += 8) {
            const char byte = static_cast<char>(std::stoi(bits.substr(i, 8), nullptr, 2));
            file += byte;
            if (byte == '\xFF') {
                file += '\0';
            }
        }
        return file + std::string("\xFF\xD9", 2);
    }

    void ExpectGrey(const std::string& name, int luma) const {
        SCOPED_TRACE(name);
        const Outcome outcome = Run("wipe " + name + " " + name + " -o out.y4m --length 1");
        ASSERT_EQ(outcome.status, 0) << outcome.err;
        const Y4mClip clip(Contents(In("out.y4m")));
        EXPECT_NEAR(clip.Luma(0, 9, 9), luma, 1);
        EXPECT_EQ(clip.Cb(0, 9, 9), 128);
        EXPECT_EQ(clip.Cr(0, 9, 9), 128);
    }

    /// RGBA pictures of 32 by 16 pixels: on the left `left`, on the right `right`.
    void WritePng(const std::string& name, const std::string& left, const std::string& right,
                  const std::string& format = "rgba") const {
        std::string pixels;
        for (int y = 0; y < 16; ++y) {
            for (int x = 0; x < 32; ++x) {
                pixels += x < 16 ? left : right;
            }
        }
        std::ofstream(In("pixels"), std::ios::binary) << pixels;
        Ffmpeg("-f rawvideo -pix_fmt " + format + " -s 32x16 -i pixels " + name);
    }
    /// The bytes of the first frame of a file in a pixel format.
    std::string Pixels(const std::string& name, const std::string& format) const {
        Ffmpeg("-i " + name + " -frames:v 1 -f rawvideo -pix_fmt " + format + " read");
        return Contents(In("read"));
    }
};

// 255 is white, 235 at video levels; 200 is 16 + 200 * 219 / 255.
TEST_F(LevelsTest, GreyPicturesHaveTheFullRange) {
    std::ofstream(In("white.jpg"), std::ios::binary) << GreyJpeg(255);
    std::ofstream(In("grey.jpg"), std::ios::binary) << GreyJpeg(200);
    ExpectGrey("white.jpg", 235);
    ExpectGrey("grey.jpg", 188);
    Ffmpeg("-f lavfi -i color=c=white:s=32x16 -frames:v 1 -pix_fmt gray white.png");
    Ffmpeg("-f lavfi -i color=c=white:s=32x16 -frames:v 1 -pix_fmt gray16be deep.png");
    Ffmpeg("-f lavfi -i color=c=white:s=32x16 -frames:v 1 -pix_fmt ya8 alpha.png");
    ExpectGrey("white.png", 235);
    ExpectGrey("deep.png", 235);
    ExpectGrey("alpha.png", 235);
}

TEST_F(LevelsTest, FullRangeVideoIsBroughtToVideoLevels) {
    Ffmpeg("-f lavfi -i color=c=white:s=32x16 -frames:v 2 -vf format=yuvj420p -c:v mjpeg -q 1 full.mkv");
    ExpectGrey("full.mkv", 235);
}

TEST_F(LevelsTest, Y4mSaysItsRange) {
    ASSERT_EQ(Run("testcard -o out.y4m --size 32x16 --length 1").status, 0);
    const std::string header = Y4mClip(Contents(In("out.y4m"))).header;
    EXPECT_NE(header.find(" XCOLORRANGE=LIMITED"), std::string::npos) << header;
    // And what others say is believed.
    std::string bytes = Contents(In("out.y4m"));
    const std::size_t at = bytes.find("LIMITED");
    std::ofstream(In("full.y4m"), std::ios::binary) << bytes.replace(at, 7, "FULL");
    ASSERT_EQ(Run("wipe full.y4m full.y4m -o video.y4m").status, 0);
    // The first bar of the card is 180.
    EXPECT_NEAR(Y4mClip(Contents(In("video.y4m"))).Luma(0, 1, 1), 16 + 180 * 219 / 255.0, 1);
}

// Red of no alpha is black where alpha cannot be kept, half of it half as bright: BT.601 luma of red is 81.
TEST_F(LevelsTest, WhatIsTransparentDoesNotShow) {
    WritePng("a.png", std::string("\xFF\0\0\0", 4), std::string("\xFF\0\0\x80", 4));
    for (const char* size : {"", " --size 64x32"}) {
        ASSERT_EQ(Run(std::string("wipe a.png a.png -o out.y4m --length 1") + size).status, 0);
        const Y4mClip clip(Contents(In("out.y4m")));
        EXPECT_EQ(clip.Luma(0, 4, 4), 16);
        EXPECT_EQ(clip.Cb(0, 4, 4), 128);
        EXPECT_EQ(clip.Cr(0, 4, 4), 128);
        EXPECT_NEAR(clip.Luma(0, clip.width - 4, 4), 16 + (81 - 16) * 128 / 255.0, 2);
        EXPECT_NEAR(clip.Cr(0, clip.width - 4, 4), 128 + (240 - 128) * 128 / 255.0, 2);
    }
}

TEST_F(LevelsTest, AlphaGoesThroughPicturesMatroskaAndRawFrames) {
    WritePng("a.png", std::string("\x20\x80\xE0\xFF", 4), std::string("\xE0\x40\x20\x80", 4));
    ASSERT_EQ(Run("wipe a.png a.png -o out-%d.png --length 1").status, 0);
    ASSERT_EQ(Run("wipe a.png a.png -o out.mkv --length 1").status, 0);
    ASSERT_EQ(Run("wipe a.png a.png -o out.raw --length 1 --to rgba").status, 0);
    // Another program's conversion to RGB may be off by one.
    const struct {
        std::string pixels;
        int tolerance;
    } pictures[] = {
        {Pixels("out-0.png", "rgba"), 0}, {Pixels("out.mkv", "rgba"), 1}, {Contents(In("out.raw")), 0}};
    for (const auto& [pixels, tolerance] : pictures) {
        ASSERT_EQ(pixels.size(), 32U * 16 * 4);
        const auto expect = [&, &bytes = pixels, off = tolerance](std::size_t x, int red, int green, int blue,
                                                                  int alpha) {
            const auto sample = [&](std::size_t i) {
                return static_cast<int>(static_cast<unsigned char>(bytes[(32 * 5 + x) * 4 + i]));
            };
            EXPECT_NEAR(sample(0), red, 5);
            EXPECT_NEAR(sample(1), green, 5);
            EXPECT_NEAR(sample(2), blue, 5);
            EXPECT_NEAR(sample(3), alpha, off);
        };
        expect(4, 0x20, 0x80, 0xE0, 255);
        expect(28, 0xE0, 0x40, 0x20, 128);
    }
    // A picture of 16 bits a sample.
    WritePng("deep.png", std::string("\x20\x20\x80\x80\xE0\xE0\xFF\xFF", 8),
             std::string("\xE0\xE0\x40\x40\x20\x20\x80\x80", 8), "rgba64be");
    ASSERT_EQ(Run("wipe deep.png deep.png -o deep.raw --length 1 --to rgba").status, 0);
    EXPECT_EQ(Contents(In("deep.raw")), Contents(In("out.raw")));
    // Through a clip and back.
    ASSERT_EQ(Run("wipe out.mkv out.mkv -o again.mkv").status, 0);
    EXPECT_EQ(Shell("ffprobe -v error -show_entries stream=pix_fmt -of csv=p=0 again.mkv").out, "yuva422p\n");
}

// Half way from what is opaque to what is not there: half of the colour, and half of alpha.
TEST_F(LevelsTest, AWipeMixesWithAlpha) {
    WritePng("a.png", std::string("\x20\x80\xE0\xFF", 4), std::string("\x20\x80\xE0\xFF", 4));
    WritePng("b.png", std::string("\xFF\xFF\xFF\0", 4), std::string("\xFF\xFF\xFF\0", 4));
    // An edge as wide as the picture: half way, the key of its middle is halfway through it.
    ASSERT_EQ(Run("wipe a.png b.png -o out.raw --to rgba --length 3 --softness 255 --pattern 1").status, 0);
    const std::string pixels = Contents(In("out.raw"));
    ASSERT_EQ(pixels.size(), 3U * 32 * 16 * 4);
    const auto sample = [&](std::size_t picture, std::size_t i) {
        return static_cast<int>(
            static_cast<unsigned char>(pixels[(picture * 32 * 16 + 32 * 5 + 16) * 4 + i]));
    };
    EXPECT_EQ(sample(0, 3), 255);
    EXPECT_NEAR(sample(1, 3), 128, 3);
    EXPECT_NEAR(sample(1, 0), 0x20, 6);
    EXPECT_NEAR(sample(1, 1), 0x80, 6);
    EXPECT_NEAR(sample(1, 2), 0xE0, 6);
    EXPECT_EQ(sample(2, 3), 0);
}

}  // namespace
}  // namespace tool::test
