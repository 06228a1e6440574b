#include <signal.h>

#include "ProgramRun.h"
#include "media/Reader.h"

namespace tool::test {
namespace {

using OutputTest = ProgramTest;

struct PngSize {
    unsigned width, height;
};

/// Width and height as they stand in the header of a PNG file, big-endian at bytes 16 and 20.
PngSize SizeOfPng(const std::string& bytes) {
    const auto number = [&bytes](std::size_t at) {
        unsigned value = 0;
        for (std::size_t i = 0; i < 4; ++i)
            value = value << 8 | static_cast<unsigned char>(bytes.at(at + i));
        return value;
    };
    return {number(16), number(20)};
}

/// Frames of a clip, taken as they are.
std::optional<long> PicturesOf(Reader& reader) {
    PictureFormat format;
    format.width = reader.Width();
    format.height = reader.Height();
    format.scan = reader.Timing().scan;
    format.rate = reader.Timing().rate;
    reader.SetTarget(format, reader.Aspect());
    return reader.Pictures();
}

TEST_F(OutputTest, Y4mHeaderSaysSizeRateAndScan) {
    WriteFlat("a.y4m", 4);
    WriteFlat("b.y4m", 4);
    ASSERT_EQ(Run("wipe a.y4m b.y4m -o t.y4m --scan tff").status, 0);
    ASSERT_EQ(Run("wipe a.y4m b.y4m -o b2.y4m --scan bff").status, 0);
    ASSERT_EQ(Run("wipe a.y4m b.y4m -o p.y4m").status, 0);
    // Sampling fields halves the rate of 50 frames a second.
    EXPECT_EQ(
        Contents(In("t.y4m")).rfind("YUV4MPEG2 W32 H16 F25:1 It A1:1 C422 XCOLORRANGE=LIMITED\nFRAME\n", 0),
        0U);
    EXPECT_EQ(
        Contents(In("b2.y4m")).rfind("YUV4MPEG2 W32 H16 F25:1 Ib A1:1 C422 XCOLORRANGE=LIMITED\nFRAME\n", 0),
        0U);
    EXPECT_EQ(
        Contents(In("p.y4m")).rfind("YUV4MPEG2 W32 H16 F50:1 Ip A1:1 C422 XCOLORRANGE=LIMITED\nFRAME\n", 0),
        0U);
    const std::size_t header =
        std::string("YUV4MPEG2 W32 H16 F25:1 It A1:1 C422 XCOLORRANGE=LIMITED\n").size();
    const std::size_t frame = std::string("FRAME\n").size() + 32 * 16 * 2;
    EXPECT_EQ(Contents(In("t.y4m")).size(), header + 2 * frame);
    EXPECT_EQ(Contents(In("p.y4m")).size(), header + 4 * frame);
}

TEST_F(OutputTest, SheetHasTwelveMomentsInFourColumns) {
    WriteFlat("a.y4m", 5);
    WriteFlat("wide.y4m", 13, 40, 640, 360);
    ASSERT_EQ(Run("wipe a.y4m a.y4m -o out.y4m --sheet small.png").status, 0);
    ASSERT_EQ(Run("wipe wide.y4m wide.y4m -o out.y4m --sheet wide.png").status, 0);
    // Cells of the picture's size, at most 320 wide, and 4 pixels around each.
    const PngSize small = SizeOfPng(Contents(In("small.png")));
    EXPECT_EQ(small.width, 4U * (32 + 4) + 4);
    EXPECT_EQ(small.height, 3U * (16 + 4) + 4);
    const PngSize wide = SizeOfPng(Contents(In("wide.png")));
    EXPECT_EQ(wide.width, 4U * (320 + 4) + 4);
    EXPECT_EQ(wide.height, 3U * (180 + 4) + 4);
}

TEST_F(OutputTest, PatternSheetIsAPicture) {
    ASSERT_EQ(Run("patterns --sheet p.png").status, 0);
    EXPECT_EQ(SizeOfPng(Contents(In("p.png"))).width, 8U * (128 + 6) + 6);
}

TEST_F(OutputTest, NumberedPicturesCountFromZero) {
    WriteFlat("a.y4m", 3);
    ASSERT_EQ(Run("wipe a.y4m a.y4m -o out-%03d.png").status, 0);
    for (const char* name : {"out-000.png", "out-001.png", "out-002.png"}) {
        ASSERT_TRUE(Exists(name)) << name;
        EXPECT_EQ(SizeOfPng(Contents(In(name))).width, 32U);
    }
    EXPECT_FALSE(Exists("out-003.png"));
}

TEST_F(OutputTest, MatroskaKeepsTheFieldOrder) {
    WriteFlat("a.y4m", 4);
    const struct {
        const char* name;
        Zan::ScanStyleEnum scan;
    } cases[] = {
        {"tff", Zan::kUpperFieldFirst}, {"bff", Zan::kLowerFieldFirst}, {"progressive", Zan::kProgressive}};
    for (const auto& [name, scan] : cases) {
        SCOPED_TRACE(name);
        ASSERT_EQ(Run(std::string("wipe a.y4m a.y4m -o out.mkv --scan ") + name).status, 0);
        Reader reader(In("out.mkv"));
        EXPECT_EQ(reader.Timing().scan, scan);
        EXPECT_EQ(PicturesOf(reader), scan == Zan::kProgressive ? 4 : 2);
    }
}

TEST_F(OutputTest, Mp4WhereThereIsAnEncoder) {
    WriteFlat("a.y4m", 4, 40, 64, 64);
    const Outcome outcome = Run("wipe a.y4m a.y4m -o out.mp4 --scan tff");
    if (outcome.status != 0) {
        ExpectOneLine(outcome, 1, "out.mp4");
        EXPECT_FALSE(Exists("out.mp4"));
        GTEST_SKIP() << "no encoder";
    }
    Reader reader(In("out.mp4"));
    EXPECT_EQ(reader.Timing().scan, Zan::kUpperFieldFirst);
    EXPECT_EQ(PicturesOf(reader), 2);
}

TEST_F(OutputTest, UnwritablePlacesAreNamed) {
    WriteFlat("a.y4m", 4);
    for (const char* name : {"no/out.y4m", "no/out.mkv", "no/out.mp4", "no/out-%d.png"})
        ExpectOneLine(Run(std::string("wipe a.y4m a.y4m -o ") + name), 1, "no/out");
    ExpectOneLine(Run("wipe a.y4m a.y4m -o out.mkv --sheet no/sheet.png"), 1, "no/sheet.png");
    EXPECT_FALSE(Exists("out.mkv"));
    ExpectOneLine(Run("patterns --sheet no/p.png"), 1, "no/p.png");
}

TEST_F(OutputTest, WhatCannotBeFinishedIsRemoved) {
    // A limit of some 16 KB stands for a full disk.
    for (const char* name : {"out.y4m", "out.mkv", "out-%d.png"}) {
        SCOPED_TRACE(name);
        const Outcome outcome =
            Run(std::string("testcard --kind 2 --size 640x480 -o ") + name, "ulimit -f 16;");
        ExpectOneLine(outcome, 1, "out");
    }
    for (const auto& entry : std::filesystem::directory_iterator(directory))
        EXPECT_EQ(entry.path().filename().string().rfind("out", 0), std::string::npos) << entry.path();
}

TEST_F(OutputTest, ADeviceIsNotRemoved) {
    std::filesystem::create_symlink("/dev/full", directory / "full.y4m");
    ExpectOneLine(Run("testcard -o full.y4m"), 1, "full.y4m");
    EXPECT_TRUE(std::filesystem::is_symlink(directory / "full.y4m"));
}

TEST_F(OutputTest, ASignalRemovesTheOutput) {
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        Background run(*this, {"testcard", "-o", "out.y4m", "--length", "1000000", "--size", "64x64"});
        ASSERT_TRUE(WaitFor([this] { return SizeOfUnfinished() > 0; }));
        run.Signal(number);
        EXPECT_EQ(run.Wait(), 128 + number);
        EXPECT_FALSE(Exists("out.y4m"));
        EXPECT_EQ(SizeOfUnfinished(), 0U);
        EXPECT_EQ(Contents(In(".err")), "tesselu: interrupted\n");
    }
}

}  // namespace
}  // namespace tool::test
