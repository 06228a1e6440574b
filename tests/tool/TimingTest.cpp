#include "ProgramRun.h"

namespace tool::test {
namespace {

/// A hard bar from the left: from the second picture on, column 0 shows B at its time.
class TimingTest : public ProgramTest {
protected:
    std::vector<int> Shown(const std::string& arguments) const {
        const Outcome outcome = Run("wipe " + arguments + " -o out.y4m --pattern 1 --softness 0");
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        const Y4mClip clip(Contents(In("out.y4m")));
        std::vector<int> luma;
        for (int frame = 1; frame < clip.Frames(); ++frame) {
            luma.push_back(clip.Luma(frame, 0, 4));
        }
        return luma;
    }
};

TEST_F(TimingTest, AFasterClipIsNotSlowedDown) {
    WriteFlat("a.y4m", 20, 16, 32, 16, "Ip", "25:1");
    WriteFlat("b.y4m", 40, 60, 32, 16, "Ip", "50:1");
    const auto luma = Shown("a.y4m b.y4m");
    ASSERT_EQ(luma.size(), 19U);
    for (std::size_t i = 0; i < luma.size(); ++i) {
        EXPECT_EQ(luma[i], 60 + 2 * (static_cast<int>(i) + 1));
    }
}

TEST_F(TimingTest, ASlowerClipIsNotSpedUp) {
    WriteFlat("a.y4m", 40, 16, 32, 16, "Ip", "50:1");
    WriteFlat("b.y4m", 20, 60, 32, 16, "Ip", "25:1");
    const auto luma = Shown("a.y4m b.y4m");
    ASSERT_EQ(luma.size(), 39U);
    for (std::size_t i = 0; i < luma.size(); ++i) {
        EXPECT_EQ(luma[i], 60 + (static_cast<int>(i) + 1) / 2);
    }
}

// Frames 0 to 4 last 40 ms each, those after them 120 ms.
TEST_F(TimingTest, ARateThatChangesIsFollowedAndSaidOnce) {
    WriteFlat("steady.y4m", 10, 60, 32, 16, "Ip", "25:1");
    Ffmpeg(
        "-i steady.y4m -vf 'settb=1/1000,setpts=40*if(lt(N\\,5)\\,N\\,5+(N-5)*3)' -fps_mode vfr -c:v ffv1 "
        "b.mkv");
    WriteFlat("a.y4m", 30, 16, 32, 16, "Ip", "25:1");
    const Outcome outcome = Run("wipe a.y4m b.mkv -o out.y4m --pattern 1 --softness 0 --length 18");
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    const Y4mClip clip(Contents(In("out.y4m")));
    for (int frame = 1; frame < 18; ++frame) {
        EXPECT_EQ(clip.Luma(frame, 0, 4), 60 + (frame < 5 ? frame : 5 + (frame - 5) / 3)) << frame;
    }
    const std::string said = "b.mkv: its rate changes";
    const std::size_t first = outcome.err.find(said);
    ASSERT_NE(first, std::string::npos) << outcome.err;
    EXPECT_EQ(outcome.err.find(said, first + 1), std::string::npos) << outcome.err;
}

// A clip of 1.2 s lasts 1.2 s, however its frames lie.
TEST_F(TimingTest, AClipKeepsItsLength) {
    WriteFlat("steady.y4m", 30, 60, 32, 16, "Ip", "25:1");
    // Every second frame of the last twenty is missing.
    Ffmpeg("-i steady.y4m -vf 'select=lt(n\\,10)+mod(n\\,2)' -fps_mode vfr -c:v ffv1 b.mkv");
    Ffmpeg("-i steady.y4m -c:v mpeg4 -q 1 c.mp4");
    for (const char* clip : {"b.mkv", "c.mp4"}) {
        const Outcome outcome =
            Run(std::string("wipe ") + clip + " " + clip + " -o out.mkv --output-rate 25");
        EXPECT_EQ(outcome.out.rfind("30 frames of 32x16p at 25 a second\n", 0), 0U) << outcome.out;
    }
}

TEST_F(TimingTest, RatesOfInputsThatHaveNoneAndOfTheOutput) {
    WriteFlat("a.y4m", 12, 60, 32, 16, "Ip", "25:1");
    ASSERT_EQ(Run("wipe a.y4m a.y4m -o in-%03d.png").status, 0);
    EXPECT_NE(Run("wipe in-%03d.png in-%03d.png -o out.y4m").out.find("12 frames of 32x16p at 25 a"),
              std::string::npos);
    EXPECT_NE(
        Run("wipe in-%03d.png in-%03d.png -o out.y4m --rate 29.97").out.find("12 frames of 32x16p at 29.97"),
        std::string::npos);
    EXPECT_EQ(Contents(In("out.y4m")).find("YUV4MPEG2 W32 H16 F30000:1001 "), 0U);
    EXPECT_NE(
        Run("wipe in-%03d.png in-%03d.png -o out.y4m --output-rate 50").out.find("24 frames of 32x16p at 50"),
        std::string::npos);
}

}  // namespace
}  // namespace tool::test
