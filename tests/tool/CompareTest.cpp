#include "ProgramRun.h"

namespace tool::test {
namespace {

class CompareTest : public ProgramTest {
protected:
    static int Grey(int, int, int) { return 128; }

    /// Three frames of 16x8; sample (5, 3) of the second frame is `luma`, and chroma under it `cb`.
    void WriteClip(const std::string& name, int luma, int cb = 128, int frames = 3) const {
        WriteY4m(
            name, 16, 8, frames,
            [luma](int x, int y, int frame) { return frame == 1 && x == 5 && y == 3 ? luma : 100; },
            [cb](int x, int y, int frame) { return frame == 1 && x == 2 && y == 3 ? cb : 128; }, Grey);
    }
    void WritePicture(const std::string& name, const std::string& bytes, const std::string& format,
                      const std::string& size) const {
        std::ofstream(directory / "picture.raw", std::ios::binary) << bytes;
        Ffmpeg("-f rawvideo -pix_fmt " + format + " -s " + size + " -i picture.raw -frames:v 1 " + name);
    }
};

TEST_F(CompareTest, TellsWhatDiffersAndWhere) {
    WriteClip("a.y4m", 100);
    WriteClip("b.y4m", 103, 120);
    const Outcome outcome = Run("compare a.y4m b.y4m");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out,
              "3 frames of 16x8, samples of uyvy\n"
              "beyond the tolerance: 2 samples, in 1 frame\n"
              "largest differences: Cb +8 Y0 0 Cr 0 Y1 -3\n"
              "the first, as A/B:\n"
              "  frame 1, x 4, y 3: Cb 128/120 Y0 100 Cr 128 Y1 100/103\n"
              "not equal\n");
    EXPECT_EQ(outcome.err, "");
}

TEST_F(CompareTest, EqualClipsAreEqual) {
    WriteClip("a.y4m", 90);
    const Outcome outcome = Run("compare a.y4m a.y4m");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out,
              "3 frames of 16x8, samples of uyvy\n"
              "beyond the tolerance: 0 samples, in 0 frames\n"
              "largest differences: Cb 0 Y0 0 Cr 0 Y1 0\n"
              "equal within the tolerance\n");
}

TEST_F(CompareTest, ToleranceHasTwoDirectionsAndChannels) {
    WriteClip("a.y4m", 100);
    WriteClip("b.y4m", 103, 120);
    const auto status = [this](const std::string& tolerance) {
        return Run("compare a.y4m b.y4m --tolerance " + tolerance).status;
    };
    EXPECT_EQ(status("8"), 0);
    EXPECT_EQ(status("7"), 1);
    EXPECT_EQ(status("-3,+8"), 0);
    EXPECT_EQ(status("-2,+8"), 1);
    EXPECT_EQ(status("-3,+7"), 1);
    EXPECT_EQ(status("3,8"), 0);
    EXPECT_EQ(status("-0,+8:0:0:-3,+0"), 0);
    EXPECT_EQ(status("8:3:0:0"), 1);
    EXPECT_EQ(Run("compare b.y4m a.y4m --tolerance -8,+3").status, 0);
    // The largest differences are told whether they are allowed or not.
    const Outcome allowed = Run("compare a.y4m b.y4m --tolerance 9");
    EXPECT_NE(allowed.out.find("beyond the tolerance: 0 samples"), std::string::npos);
    EXPECT_NE(allowed.out.find("Cb +8 Y0 0 Cr 0 Y1 -3"), std::string::npos) << allowed.out;
}

TEST_F(CompareTest, CallsThatSayNothingAreRefused) {
    WriteClip("a.y4m", 100);
    for (const char* tolerance :
         {"x", "-1,", ",1", "1,2,3", "256", "-1,-1", "+1,+1", "1:2", "1:2:3:4:5", ":", "--1"}) {
        const Outcome outcome = Run(std::string("compare a.y4m a.y4m --tolerance '") + tolerance + "'");
        ExpectOneLine(outcome, 2, "--tolerance");
        EXPECT_EQ(outcome.out, "");
    }
    ExpectOneLine(Run("compare a.y4m"), 2, "B is missing");
    ExpectOneLine(Run("compare - -"), 2, "-: standard input");
    ExpectOneLine(Run("compare a.y4m a.y4m --difference d.jpg"), 2, "--difference d.jpg");
    ExpectOneLine(Run("compare a.y4m a.y4m --raw gray"), 2, "--size");
}

TEST_F(CompareTest, WhatCannotBeComparedIsNoVerdict) {
    WriteClip("a.y4m", 100);
    WriteFlat("large.y4m", 3);
    WriteY4m("slow.y4m", 16, 8, 3, Grey, Grey, Grey, "Ip", "25:1");
    Ffmpeg("-i a.y4m -frames:v 1 a.png");
    std::ofstream(In("text.mp4")) << "no film\n";
    for (const auto& [call, part] : {std::pair("a.y4m large.y4m", "16x8 and 32x16 pixels"),
                                     {"a.y4m a.png", "samples of uyvy and of bgra"},
                                     {"a.y4m slow.y4m", "rates differ"},
                                     {"a.y4m none.y4m", "none.y4m"},
                                     {"text.mp4 a.y4m", "text.mp4"},
                                     {"a.y4m a.y4m --frames 1-3", "frames 0-2"},
                                     {"a.y4m a.y4m --frames 5-", "--frames"},
                                     {"a.y4m a.y4m --difference none/d.png", "none/d.png"}}) {
        const Outcome outcome = Run(std::string("compare ") + call);
        ExpectOneLine(outcome, 2, part);
        EXPECT_EQ(outcome.out, "") << call;
    }
}

TEST_F(CompareTest, FramesAndReportsAreLimited) {
    WriteClip("a.y4m", 100);
    WriteClip("b.y4m", 103);
    EXPECT_EQ(Run("compare a.y4m b.y4m --frames 0-0").status, 0);
    EXPECT_EQ(Run("compare a.y4m b.y4m --frames 2-").status, 0);
    EXPECT_EQ(Run("compare a.y4m b.y4m --frames 1-1").status, 1);
    EXPECT_EQ(Run("compare a.y4m b.y4m --report 0").out.find("the first"), std::string::npos);
    WriteY4m("c.y4m", 16, 8, 3, Grey, Grey, Grey);
    const std::string two = Run("compare a.y4m c.y4m --report 2").out;
    EXPECT_NE(two.find("  frame 0, x 0, y 0:"), std::string::npos);
    EXPECT_NE(two.find("  frame 0, x 2, y 0:"), std::string::npos);
    EXPECT_EQ(two.find("  frame 0, x 4, y 0:"), std::string::npos);
    const Outcome quiet = Run("compare a.y4m b.y4m --quiet");
    EXPECT_EQ(quiet.status, 1);
    EXPECT_EQ(quiet.out + quiet.err, "");
}

TEST_F(CompareTest, AClipThatGoesOnIsNotEqual) {
    WriteClip("a.y4m", 100);
    WriteClip("long.y4m", 100, 128, 4);
    const Outcome outcome = Run("compare a.y4m long.y4m");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.out.find("a.y4m ends 3 frames after"), std::string::npos) << outcome.out;
    EXPECT_EQ(Run("compare long.y4m a.y4m").status, 1);
    EXPECT_EQ(Run("compare a.y4m long.y4m --frames 0-2").status, 0);
    EXPECT_EQ(Run("compare - long.y4m --frames 0-2 <a.y4m").status, 0);
}

TEST_F(CompareTest, SamplesAreThoseOfTheFiles) {
    // Red differs by 2, alpha by 128, in pictures without loss.
    const std::string rgba = std::string(4 * 8 * 8 - 4, '\x40');
    WritePicture("a.png", rgba + std::string("\x10\x20\x30\xFF", 4), "rgba", "8x8");
    WritePicture("b.png", rgba + std::string("\x12\x20\x30\x7F", 4), "rgba", "8x8");
    const Outcome colours = Run("compare a.png b.png");
    EXPECT_EQ(colours.status, 1);
    EXPECT_NE(
        colours.out.find("1 frame of 8x8, samples of bgra\nbeyond the tolerance: 2 samples, in 1 frame\n"
                         "largest differences: B 0 G 0 R -2 A +128\n"),
        std::string::npos)
        << colours.out;
    EXPECT_NE(colours.out.find("  frame 0, x 7, y 7: B 48 G 32 R 16/18 A 255/127\n"), std::string::npos)
        << colours.out;

    // Planes of 4:2:0 and grey.
    std::string planar(16 * 8 * 3 / 2, '\x50');
    const auto writePlanar = [&](const std::string& name) {
        std::ofstream(directory / name, std::ios::binary) << planar;
    };
    writePlanar("a.yuv");
    planar[16 * 8 + 3 * 8 + 7] = '\x55';  // the last of Cb
    writePlanar("b.yuv");
    const Outcome planes = Run("compare a.yuv b.yuv --raw yuv420p --size 16x8");
    EXPECT_EQ(planes.status, 1);
    EXPECT_NE(planes.out.find("largest differences: Y 0 Cb -5 Cr 0\n"), std::string::npos) << planes.out;
    EXPECT_NE(planes.out.find("  frame 0, x 14, y 6: Cb 80/85\n"), std::string::npos) << planes.out;
    const Outcome grey = Run("compare a.yuv b.yuv --raw gray --size 16x12");
    EXPECT_EQ(grey.status, 1);
    EXPECT_NE(grey.out.find("  frame 0, x 15, y 9: grey 80/85\n"), std::string::npos) << grey.out;
}

TEST_F(CompareTest, FieldsAreComparedAsTheyAreStored) {
    const auto luma = [](int x, int y, int frame) { return 20 + (x * 7 + y * 31 + frame * 11) % 200; };
    WriteY4m("tff.y4m", 16, 8, 4, luma, Grey, Grey, "It", "25:1");
    WriteY4m("p.y4m", 16, 8, 4, luma, Grey, Grey, "Ip", "25:1");
    EXPECT_EQ(Run("compare tff.y4m p.y4m").status, 0);
    EXPECT_EQ(Run("compare tff.y4m tff.y4m").status, 0);
}

TEST_F(CompareTest, TheDifferencePictureShowsThem) {
    WriteClip("a.y4m", 100);
    WriteClip("b.y4m", 103, 120);
    EXPECT_EQ(Run("compare a.y4m b.y4m --difference d.png --tolerance -0,+8").status, 1);
    Ffmpeg("-i d.png -f rawvideo -pix_fmt rgb24 d.raw");
    std::string expected(16 * 8 * 3, '\0');
    for (int i = 0; i < 3; ++i) {
        expected[static_cast<std::size_t>((3 * 16 + 5) * 3 + i)] = 48;  // 16 * 3
    }
    EXPECT_EQ(Contents(In("d.raw")), expected);
    EXPECT_EQ(Run("compare a.y4m b.y4m --difference d.png").status, 1);
    Ffmpeg("-i d.png -f rawvideo -pix_fmt rgb24 d.raw");
    for (int i = 0; i < 6; ++i) {
        expected[static_cast<std::size_t>((3 * 16 + 4) * 3 + i)] = static_cast<char>(128);  // both share Cb
    }
    EXPECT_EQ(Contents(In("d.raw")), expected);
    // Equal: black, and in RGB each colour by itself.
    EXPECT_EQ(Run("compare a.y4m a.y4m --difference d.png").status, 0);
    Ffmpeg("-i d.png -f rawvideo -pix_fmt rgb24 d.raw");
    EXPECT_EQ(Contents(In("d.raw")), std::string(16 * 8 * 3, '\0'));
    WritePicture("a.png", std::string(8 * 8 * 3, '\x40'), "rgb24", "8x8");
    std::string other(8 * 8 * 3, '\x40');
    other[3 * 8 + 1] = '\x42';
    WritePicture("b.png", other, "rgb24", "8x8");
    EXPECT_EQ(Run("compare a.png b.png --difference d.png").status, 1);
    Ffmpeg("-i d.png -f rawvideo -pix_fmt rgb24 d.raw");
    std::string green(8 * 8 * 3, '\0');
    green[3 * 8 + 1] = 32;
    EXPECT_EQ(Contents(In("d.raw")), green);
    const std::string before = Contents(In("a.png"));
    ExpectOneLine(Run("compare a.png b.png --difference a.png"), 2, "a.png");
    EXPECT_EQ(Contents(In("a.png")), before);
}

TEST_F(CompareTest, HelpTellsItsOwnStatuses) {
    const std::string help = Run("compare --help").out;
    EXPECT_NE(help.find("the two are equal within the tolerance"), std::string::npos) << help;
    EXPECT_NE(help.find("they could not be compared"), std::string::npos) << help;
}

}  // namespace
}  // namespace tool::test
