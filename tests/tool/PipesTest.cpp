#include "ProgramRun.h"

namespace tool::test {
namespace {

/// Standard streams, raw frames, sequences and parts of runs, with the ffmpeg program on the other side.
class PipesTest : public ProgramTest {
protected:
    void SetUp() override {
        ProgramTest::SetUp();
        Ffmpeg("-f lavfi -i testsrc2=s=96x64:r=25 -frames:v 12 -pix_fmt yuv422p -strict -1 a.y4m");
        Ffmpeg("-f lavfi -i testsrc=s=96x64:r=25 -frames:v 12 -pix_fmt yuv422p -strict -1 b.y4m");
    }
    /// The MD5 sum of all frames of a file in 4:2:2.
    std::string Frames(const std::string& input) const {
        const Outcome sum = Shell("ffmpeg -nostdin -v error " + input + " -pix_fmt yuv422p -f md5 -");
        EXPECT_EQ(sum.status, 0) << sum.err;
        EXPECT_EQ(sum.out.rfind("MD5=", 0), 0U);
        return sum.out;
    }
};

TEST_F(PipesTest, AProgramOnEitherSide) {
    ASSERT_EQ(Run("wipe a.y4m b.y4m -o direct.mkv").status, 0);
    const Outcome piped = Shell(
        "set -o pipefail; ffmpeg -nostdin -v error -i a.y4m -pix_fmt yuv422p -strict -1 -f yuv4mpegpipe - |"
        " tesselu wipe - b.y4m -o - --quiet | ffmpeg -v error -y -f yuv4mpegpipe -i - -c:v ffv1 piped.mkv");
    EXPECT_EQ(piped.status, 0) << piped.err;
    EXPECT_EQ(piped.err, "");
    EXPECT_EQ(Frames("-i piped.mkv"), Frames("-i direct.mkv"));
    const Outcome matroska = Shell(
        "set -o pipefail; ffmpeg -nostdin -v error -i a.y4m -c:v ffv1 -f matroska - |"
        " tesselu wipe - b.y4m -o - --to mkv --quiet | ffmpeg -v error -y -i - -c:v copy piped.mkv");
    EXPECT_EQ(matroska.status, 0) << matroska.err;
    EXPECT_EQ(Frames("-i piped.mkv"), Frames("-i direct.mkv"));
}

TEST_F(PipesTest, RawFramesOnEitherSide) {
    ASSERT_EQ(Run("wipe a.y4m b.y4m -o direct.mkv").status, 0);
    const Outcome piped = Shell(
        "set -o pipefail; ffmpeg -nostdin -v error -i a.y4m -f rawvideo -pix_fmt uyvy422 - |"
        " tesselu wipe - b.y4m -o - --raw uyvy422 --size 96x64 --to yuv422p --quiet >out.yuv");
    EXPECT_EQ(piped.status, 0) << piped.err;
    EXPECT_EQ(Frames("-f rawvideo -pix_fmt yuv422p -s 96x64 -i out.yuv"), Frames("-i direct.mkv"));
    // From a file by its name, at a rate of its own.
    const Outcome named =
        Run("wipe out.yuv out.yuv -o again.uyvy --raw yuv422p --size 96x64 --rate 30 --to uyvy422");
    EXPECT_EQ(named.out.rfind("12 frames of 96x64p at 30 a second\n", 0), 0U) << named.out << named.err;
    EXPECT_EQ(Frames("-f rawvideo -pix_fmt uyvy422 -s 96x64 -i again.uyvy"), Frames("-i direct.mkv"));
}

TEST_F(PipesTest, RawFramesInOtherFormats) {
    for (const char* format : {"yuv420p", "yuv444p", "rgb24", "bgra", "yuv422p10le", "nv12", "gray"}) {
        SCOPED_TRACE(format);
        const std::string words = std::string(" --raw ") + format + " --size 96x64 ";
        const Outcome out = Run(std::string("wipe a.y4m a.y4m -o out.raw --to ") + format);
        EXPECT_EQ(out.status, 0) << out.err;
        const Outcome back = Run("wipe out.raw out.raw -o back.y4m" + words);
        EXPECT_EQ(back.status, 0) << back.err;
        const Y4mClip before(Contents(In("a.y4m"))), after(Contents(In("back.y4m")));
        ASSERT_EQ(after.Frames(), 12);
        for (const int x : {3, 40, 90}) {
            for (const int y : {5, 33, 60}) {
                EXPECT_NEAR(after.Luma(11, x, y), before.Luma(11, x, y), 6) << x << " " << y;
            }
        }
    }
    ExpectOneLine(Run("wipe a.y4m a.y4m -o out.raw --to nonsense"), 2, "--to nonsense");
    ExpectOneLine(Run("wipe out.raw out.raw -o out.y4m"), 2, "out.raw: raw frames need --raw");
    ExpectOneLine(Run("wipe out.raw out.raw -o out.y4m --raw rgb24"), 2, "--raw rgb24: needs --size");
    ExpectOneLine(Run("wipe a.y4m a.y4m -o out.y4m --raw rgb24 --size 96x64"), 2, "no input is called");
}

TEST_F(PipesTest, ItsOwnSequenceIsAnInput) {
    ASSERT_EQ(Run("wipe a.y4m b.y4m -o p-%04d.png --frames 3-11").status, 0);
    EXPECT_TRUE(Exists("p-0003.png"));
    EXPECT_FALSE(Exists("p-0000.png"));
    const Outcome read = Run("wipe p-%04d.png p-%04d.png -o out.y4m");
    EXPECT_EQ(read.out.rfind("9 frames of 96x64p at 25 a second\n", 0), 0U) << read.err;
    std::filesystem::remove(In("p-0007.png"));
    ExpectOneLine(Run("wipe p-%04d.png a.y4m -o out.mkv"), 1, "p-0007.png: missing");
    ExpectOneLine(Run("wipe q-%04d.png a.y4m -o out.mkv"), 1, "q-%04d.png: no such files");
}

// Frames of a part are those of the whole, byte for byte: in raw frames, in pictures, in a clip.
TEST_F(PipesTest, SevenPartsAreTheWhole) {
    Ffmpeg(
        "-f lavfi -i testsrc2=s=96x64:r=50 -frames:v 80 -vf interlace=lowpass=0,format=yuv420p -c:v ffv1 "
        "i.mkv");
    const std::string wipe = "wipe i.mkv b.y4m --length 40 --softness 60 ";
    for (const char* scan : {"", "--scan progressive ", "--scan bff --output-rate 30 "}) {
        SCOPED_TRACE(scan);
        ASSERT_EQ(Run(wipe + scan + "-q -o whole.raw --to uyvy422").status, 0);
        std::string parts;
        for (const char* part : {"0-0", "1-4", "5-18", "19-20", "21-36", "37-38", "39-"}) {
            const Outcome outcome = Run(wipe + scan + "-q -o part.raw --to uyvy422 --frames " + part);
            ASSERT_EQ(outcome.status, 0) << outcome.err;
            parts += Contents(In("part.raw"));
        }
        const std::string whole = Contents(In("whole.raw"));
        ASSERT_EQ(whole.size(), 40U * 96 * 64 * 2);
        EXPECT_TRUE(parts == whole);
    }
    ASSERT_EQ(Run(wipe + "-q -o w-%02d.png").status, 0);
    ASSERT_EQ(Run(wipe + "-q -o p-%02d.png --frames 17-19").status, 0);
    EXPECT_FALSE(Exists("p-16.png"));
    EXPECT_FALSE(Exists("p-20.png"));
    for (const char* number : {"17", "18", "19"}) {
        EXPECT_TRUE(Contents(In(std::string("p-") + number + ".png")) ==
                    Contents(In(std::string("w-") + number + ".png")));
    }
    ASSERT_EQ(Run(wipe + "-q -o whole.mkv").status, 0);
    ASSERT_EQ(Run(wipe + "-q -o part.mkv --frames 5-9").status, 0);
    EXPECT_EQ(Frames("-i part.mkv"),
              Frames("-i whole.mkv -vf trim=start_frame=5:end_frame=10 -fps_mode passthrough"));
    ExpectOneLine(Run(wipe + "-o out.y4m --frames 38-40"), 2, "0-39");
    ExpectOneLine(Run(wipe + "-o out.y4m --frames 40-"), 2, "0-39");
}

TEST_F(PipesTest, NumbersOfThreadsDoNotChangeFrames) {
    ASSERT_EQ(Run("wipe a.y4m b.y4m -o one.mkv --threads 1").status, 0);
    ASSERT_EQ(Run("wipe a.y4m b.y4m -o four.mkv --threads 4").status, 0);
    EXPECT_EQ(Frames("-i one.mkv"), Frames("-i four.mkv"));
    ASSERT_EQ(Run("wipe a.y4m b.y4m -o one-%d.png --threads 1").status, 0);
    ASSERT_EQ(Run("wipe a.y4m b.y4m -o four-%d.png --threads 4").status, 0);
    for (int i = 0; i < 12; ++i) {
        const std::string number = std::to_string(i) + ".png";
        EXPECT_TRUE(Contents(In("one-" + number)) == Contents(In("four-" + number))) << i;
    }
}

// Opened once: what was read of a pipe is gone.
TEST_F(PipesTest, ANamedPipeIsAnInputAndAnOutput) {
    ASSERT_EQ(Run("wipe a.y4m b.y4m -o direct.y4m").status, 0);
    const Outcome outcome = Shell(
        "mkfifo in.fifo out.fifo && { cat a.y4m >in.fifo & cat out.fifo >piped.y4m & "
        "tesselu wipe in.fifo b.y4m -o out.fifo --to y4m --quiet; status=$?; wait; exit $status; }");
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_TRUE(Contents(In("piped.y4m")) == Contents(In("direct.y4m")));
    EXPECT_TRUE(std::filesystem::is_fifo(In("out.fifo")));
}

TEST_F(PipesTest, TheLengthOfAPipeMustBeTold) {
    ExpectOneLine(Shell("tesselu wipe - still.png -o out.y4m <a.y4m"), 1, "still.png");
    ASSERT_EQ(Run("wipe a.y4m a.y4m -o s-%d.png --length 1").status, 0);
    ExpectOneLine(Shell("tesselu wipe - s-0.png -o out.y4m <a.y4m"), 2, "--length");
    ExpectOneLine(Run("wipe - - -o out.y4m"), 2, "standard input");
    const Outcome told = Shell("cat a.y4m | tesselu wipe - s-0.png -o out.y4m --length 12 --json");
    EXPECT_EQ(told.status, 0) << told.err;
    EXPECT_EQ(told.err, "");
}

TEST_F(PipesTest, FiguresForScripts) {
    const Outcome file = Run("wipe a.y4m b.y4m -o out.y4m --json");
    EXPECT_EQ(std::count(file.out.begin(), file.out.end(), '\n'), 1);
    for (const char* figure :
         {"{\"command\":\"wipe\",\"frames\":12,\"width\":96,\"height\":64,", "\"rate\":\"25/1\"",
          "\"library_ms\":", "\"decode_ms\":", "\"encode_ms\":", "\"seconds\":"}) {
        EXPECT_NE(file.out.find(figure), std::string::npos) << figure;
    }
    // Where standard output is taken, figures and summary go to the error stream.
    const Outcome piped = Run("wipe a.y4m b.y4m -o - --json");
    EXPECT_EQ(piped.err.rfind("{\"command\"", 0), 0U) << piped.err;
    EXPECT_EQ(piped.out, Contents(In("out.y4m")));
    EXPECT_EQ(Run("wipe a.y4m b.y4m -o out.y4m --quiet").out, "");
}

TEST_F(PipesTest, AReaderThatGoesAwayIsAFailedWrite) {
    const Outcome outcome =
        Shell("tesselu testcard -o - --length 1000 | head -c 1000 >head; exit ${PIPESTATUS[0]}");
    ExpectOneLine(outcome, 1, "standard output: cannot be written");
}

}  // namespace
}  // namespace tool::test
