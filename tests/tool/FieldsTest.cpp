#include "ProgramRun.h"

namespace tool::test {
namespace {

class FieldsTest : public ProgramTest {
protected:
    /// A clip in 4:2:0 whose fields have luma and Cb of their own: upper field 200 and 90, lower 50 and 220.
    void WriteTwoFields(const std::string& name, int width, int height, const std::string& scan) const {
        std::ofstream file(directory / name, std::ios::binary);
        file << "YUV4MPEG2 W" << width << " H" << height << " F25:1 " << scan << " A1:1 C420mpeg2\n";
        for (int frame = 0; frame < 2; ++frame) {
            file << "FRAME\n";
            for (int y = 0; y < height; ++y) {
                file << std::string(static_cast<std::size_t>(width), y % 2 == 0 ? '\xC8' : '\x32');
            }
            for (const bool isCb : {true, false}) {
                for (int y = 0; y < (height + 1) / 2; ++y) {
                    const char sample = !isCb ? '\x80' : y % 2 == 0 ? '\x5A' : '\xDC';
                    file << std::string(static_cast<std::size_t>(width / 2), sample);
                }
            }
        }
    }

    static void ExpectTwoFields(const Y4mClip& clip) {
        for (int frame = 0; frame < clip.Frames(); ++frame) {
            for (int y = 0; y < clip.height; ++y) {
                EXPECT_EQ(clip.Luma(frame, 5, y), y % 2 == 0 ? 200 : 50) << y;
                EXPECT_EQ(clip.Cb(frame, 5, y), y % 2 == 0 ? 90 : 220) << y;
                EXPECT_EQ(clip.Cr(frame, 5, y), 128) << y;
            }
        }
    }

    /// A bright bar that moves 6 pixels from field to field, 25 frames a second of two fields each.
    void WriteMovingBar(const std::string& name) const {
        const auto grey = [](int, int, int) { return 128; };
        WriteY4m(
            name, 128, 32, 10,
            [](int x, int y, int frame) {
                const int left = 6 * (2 * frame + y % 2);
                return x >= left && x < left + 12 ? 200 : 50;
            },
            grey, grey, "It", "25:1");
    }

    /// Pixels that differ from the lines above and below, as fields do that were woven together.
    static int Combs(const Y4mClip& clip) {
        int combs = 0;
        for (int frame = 0; frame < clip.Frames(); ++frame) {
            for (int y = 1; y + 1 < clip.height; ++y) {
                for (int x = 0; x < clip.width; ++x) {
                    const int above = clip.Luma(frame, x, y) - clip.Luma(frame, x, y - 1);
                    const int below = clip.Luma(frame, x, y) - clip.Luma(frame, x, y + 1);
                    combs += std::abs(above) > 60 && std::abs(below) > 60 && (above > 0) == (below > 0);
                }
            }
        }
        return combs;
    }

    Y4mClip Clip(const std::string& name) const { return Y4mClip(Contents(In(name))); }
};

TEST_F(FieldsTest, ChromaOf420StaysInItsField) {
    WriteTwoFields("a.y4m", 32, 16, "It");
    ASSERT_EQ(Run("wipe a.y4m a.y4m -o out.y4m").status, 0);
    ASSERT_EQ(Clip("out.y4m").Frames(), 2);
    ExpectTwoFields(Clip("out.y4m"));
}

// 486 lines make 243 lines of chroma, 122 of one field and 121 of the other.
TEST_F(FieldsTest, OddLinesOfChromaStayInTheirFields) {
    WriteTwoFields("a.y4m", 32, 486, "Ib");
    ASSERT_EQ(Run("wipe a.y4m a.y4m -o same.y4m").status, 0);
    ExpectTwoFields(Clip("same.y4m"));
    ASSERT_EQ(Run("wipe a.y4m a.y4m -o scaled.y4m --size 32x288").status, 0);
    ASSERT_EQ(Clip("scaled.y4m").height, 288);
    ExpectTwoFields(Clip("scaled.y4m"));
}

TEST_F(FieldsTest, ProgressiveOutputOfFieldsIsNeverWoven) {
    WriteMovingBar("i.y4m");
    ASSERT_GT(Combs(Clip("i.y4m")), 1000) << "the clip shows what is tested";
    ASSERT_EQ(Run("wipe i.y4m i.y4m -o p.y4m --scan progressive").status, 0);
    const Y4mClip frames = Clip("p.y4m");
    EXPECT_NE(frames.header.find(" F25:1 Ip "), std::string::npos) << frames.header;
    EXPECT_EQ(frames.Frames(), 10);
    EXPECT_EQ(Combs(frames), 0);
    ASSERT_EQ(Run("wipe i.y4m i.y4m -o p50.y4m --scan progressive --output-rate 50").status, 0);
    const Y4mClip fields = Clip("p50.y4m");
    EXPECT_EQ(fields.Frames(), 20);
    EXPECT_EQ(Combs(fields), 0);
}

// Each picture of fifty a second shows the field of its time.
TEST_F(FieldsTest, EveryFieldMakesAFrameAtTwiceTheRate) {
    WriteMovingBar("i.y4m");
    ASSERT_EQ(Run("wipe i.y4m i.y4m -o p.y4m --scan progressive --output-rate 50").status, 0);
    const Y4mClip clip = Clip("p.y4m");
    ASSERT_EQ(clip.Frames(), 20);
    for (int field = 1; field < 18; ++field) {
        const int y = 16 + field % 2;  // a line that the field has
        EXPECT_EQ(clip.Luma(field, 6 * field + 6, y), 200) << field;
        EXPECT_EQ(clip.Luma(field, 6 * field - 1, y), 50) << field;
        EXPECT_EQ(clip.Luma(field, 6 * field + 13, y), 50) << field;
    }
}

// The lines of fields that were taken at other times than they are shown are made from whole pictures.
TEST_F(FieldsTest, FieldsOfAnotherRateDoNotComb) {
    WriteMovingBar("i.y4m");
    WriteFlat("a.y4m", 12, 16, 128, 32, "It", "30:1");
    // The bar of the wipe covers the picture from the left; at the end all of it shows the other clip.
    ASSERT_EQ(Run("wipe a.y4m i.y4m -o out.y4m --pattern 1 --softness 0").status, 0);
    const Y4mClip clip = Clip("out.y4m");
    EXPECT_NE(clip.header.find(" F30:1 It "), std::string::npos) << clip.header;
    const int last = clip.Frames() - 1;
    // Both fields show the bar, the later one further right.
    int left[2] = {128, 128};
    for (int parity = 0; parity < 2; ++parity) {
        for (int x = 127; x >= 0; --x) {
            if (clip.Luma(last, x, 16 + parity) > 125) {
                left[parity] = x;
            }
        }
    }
    EXPECT_LT(left[0], left[1]);
    EXPECT_LT(left[1], 128);
}

TEST_F(FieldsTest, TwentyFiveFramesBecomeTwentyFivePicturesOfTwoFields) {
    WriteFlat("a.y4m", 10, 40, 32, 16, "Ip", "25:1");
    ASSERT_EQ(Run("wipe a.y4m a.y4m -o out.y4m --scan tff").status, 0);
    const Y4mClip clip = Clip("out.y4m");
    EXPECT_NE(clip.header.find(" F25:1 It "), std::string::npos) << clip.header;
    ASSERT_EQ(clip.Frames(), 10);
    for (int frame = 0; frame < 10; ++frame) {
        EXPECT_EQ(clip.Luma(frame, 3, 4), 40 + frame);
        EXPECT_EQ(clip.Luma(frame, 3, 5), 40 + frame);
    }
}

}  // namespace
}  // namespace tool::test
