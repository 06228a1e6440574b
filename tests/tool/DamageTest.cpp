#include "ProgramRun.h"

namespace tool::test {
namespace {

class DamageTest : public ProgramTest {
protected:
    void Cut(const std::string& from, const std::string& to, double share) const {
        const std::string bytes = Contents(In(from));
        std::ofstream(In(to), std::ios::binary)
            << bytes.substr(0, static_cast<std::size_t>(static_cast<double>(bytes.size()) * share));
    }
    void Spoil(const std::string& from, const std::string& to, int bytesOf1000) const {
        std::string bytes = Contents(In(from));
        const std::size_t middle = bytes.size() / 2,
                          count = bytes.size() * static_cast<std::size_t>(bytesOf1000) / 1000;
        for (std::size_t i = middle; i < middle + count; ++i) {
            bytes[i] = static_cast<char>(bytes[i] ^ 0x5A);
        }
        std::ofstream(In(to), std::ios::binary) << bytes;
    }

    /// The clip is damaged: said in one line with a place, and no output; or passed over when asked.
    void ExpectDamage(const std::string& name) const {
        SCOPED_TRACE(name);
        const Outcome refused = Run("wipe good.y4m " + name + " -o out.y4m");
        ExpectOneLine(refused, 1, name + ": damaged after ");
        EXPECT_NE(refused.err.find(" s ("), std::string::npos) << refused.err;
        EXPECT_FALSE(Exists("out.y4m"));
        const Outcome kept = Run("wipe good.y4m " + name + " -o out.y4m --keep-going");
        EXPECT_EQ(kept.status, 0) << kept.err;
        EXPECT_NE(kept.err.find(name + ": damaged after "), std::string::npos) << kept.err;
        EXPECT_GE(Y4mClip(Contents(In("out.y4m"))).Frames(), 15);
        std::filesystem::remove(In("out.y4m"));
    }

    void SetUp() override {
        ProgramTest::SetUp();
        Ffmpeg("-f lavfi -i testsrc2=s=160x128:r=25 -frames:v 50 good.y4m");
    }
};

TEST_F(DamageTest, ClipsThatAreCutOff) {
    Ffmpeg("-i good.y4m -c:v mpeg4 -q 2 -movflags +faststart good.mp4");
    Ffmpeg("-i good.y4m -c:v ffv1 -level 3 -g 1 good.mkv");
    Ffmpeg("-i good.y4m -c:v mjpeg -q 2 good.avi");
    ASSERT_EQ(Run("wipe good.mp4 good.mkv -o whole.y4m --quiet").err, "");
    for (const char* kind : {".mp4", ".mkv", ".avi"}) {
        Cut(std::string("good") + kind, std::string("cut") + kind, 0.4);
        ExpectDamage(std::string("cut") + kind);
    }
}

TEST_F(DamageTest, PlainFramesThatEndInTheMiddle) {
    Ffmpeg("-i good.y4m -c:v rawvideo -pix_fmt yuv420p good.yuv");
    const Outcome whole = Run("wipe good.y4m good.yuv -o whole.y4m --raw yuv420p --size 160x128 --quiet");
    EXPECT_EQ(whole.status, 0) << whole.err;
    EXPECT_EQ(whole.err, "");
    // 20 frames and half of one.
    const std::size_t frame = 160 * 128 * 3 / 2;
    const std::string bytes = Contents(In("good.yuv"));
    std::ofstream(In("cut.yuv"), std::ios::binary) << bytes.substr(0, 20 * frame + frame / 2);
    ExpectOneLine(Run("wipe good.y4m cut.yuv -o cut.mkv --raw yuv420p --size 160x128"), 1,
                  "cut.yuv: damaged after 0.800 s (20 frames)");
    EXPECT_FALSE(Exists("cut.mkv"));
    Cut("good.y4m", "cut.y4m", 0.5);
    ExpectOneLine(Run("wipe cut.y4m good.y4m -o cut.mkv"), 1, "cut.y4m: damaged after ");
    EXPECT_FALSE(Exists("cut.mkv"));
}

TEST_F(DamageTest, ClipsWithWrongBits) {
    Ffmpeg("-i good.y4m -c:v mpeg2video -q 2 good.mpg");
    Ffmpeg("-i good.y4m -c:v ffv1 -level 3 -slicecrc 1 -g 1 good.mkv");
    for (const char* kind : {".mpg", ".mkv"}) {
        Spoil(std::string("good") + kind, std::string("bad") + kind, 20);
        ExpectDamage(std::string("bad") + kind);
    }
}

TEST_F(DamageTest, PicturesThatAreCutOff) {
    Ffmpeg("-i good.y4m -frames:v 1 good.png");
    Ffmpeg("-i good.y4m -frames:v 1 -q 2 good.jpg");
    for (const char* kind : {".png", ".jpg"}) {
        Cut(std::string("good") + kind, std::string("cut") + kind, 0.5);
        const Outcome refused = Run(std::string("wipe good.y4m cut") + kind + " -o out.y4m");
        ExpectOneLine(refused, 1, std::string("cut") + kind + ": ");
        EXPECT_FALSE(Exists("out.y4m"));
    }
}

// What lies behind the end of the run is nobody's concern.
TEST_F(DamageTest, DamageThatIsNotShownDoesNotMatter) {
    Ffmpeg("-i good.y4m -c:v ffv1 -level 3 -g 1 good.mkv");
    Cut("good.mkv", "cut.mkv", 0.5);
    EXPECT_EQ(Run("wipe good.y4m cut.mkv -o out.y4m --length 10").status, 0);
    EXPECT_EQ(Run("wipe good.y4m cut.mkv -o out.y4m --frames 0-9").status, 0);
}

// A clip that is shorter than it was asked to be is no damage, but it is not silent.
TEST_F(DamageTest, AClipThatEndsBeforeTheRunIsTold) {
    const Outcome longer = Run("wipe good.y4m good.y4m -o out.y4m --length 60 --json");
    EXPECT_EQ(longer.status, 0);
    EXPECT_NE(longer.err.find("good.y4m: ends after 50 frames"), std::string::npos) << longer.err;
    EXPECT_EQ(Run("wipe good.y4m good.y4m -o out.y4m --length 60 --quiet").err, "");
}

}  // namespace
}  // namespace tool::test
