#include <signal.h>

#include "ProgramRun.h"

namespace tool::test {
namespace {

/// What is there before a run, and what becomes of it.
class WholeFilesTest : public ProgramTest {
protected:
    void SetUp() override {
        ProgramTest::SetUp();
        WriteFlat("a.y4m", 4);
    }
    void Write(const std::string& name, const std::string& text) const { std::ofstream(In(name)) << text; }
    bool IsPng(const std::string& name) const {
        const std::string bytes = Contents(In(name));
        return bytes.size() > 20 && bytes.compare(1, 3, "PNG") == 0 &&
               bytes.compare(bytes.size() - 8, 4, "IEND") == 0;
    }
};

TEST_F(WholeFilesTest, ASequenceDoesNotOverwriteItsInputs) {
    ASSERT_EQ(Run("wipe a.y4m a.y4m -o p-%04d.png").status, 0);
    const std::string before = Contents(In("p-0002.png"));
    ExpectOneLine(Run("wipe p-%04d.png a.y4m -o p-%04d.png"), 2, "p-0000.png");
    ExpectOneLine(Run("wipe a.y4m p-0002.png -o p-%04d.png"), 2, "p-0002.png");
    ExpectOneLine(Run("wipe a.y4m p-0002.png -o ./p-%04d.png"), 2, "p-0002.png");
    std::filesystem::create_hard_link(In("p-0002.png"), In("other.png"));
    ExpectOneLine(Run("wipe a.y4m other.png -o p-%04d.png"), 2, "other.png");
    EXPECT_EQ(Contents(In("p-0002.png")), before);
    // Frames that this part of the run does not write are safe.
    EXPECT_EQ(Run("wipe a.y4m p-0002.png -o p-%04d.png --frames 0-1").status, 0);
    EXPECT_EQ(Contents(In("p-0002.png")), before);
}

TEST_F(WholeFilesTest, TheSheetIsNoPictureOfTheSequence) {
    ExpectOneLine(Run("wipe a.y4m a.y4m -o p-%d.png --sheet p-3.png"), 2, "--sheet p-3.png");
    ExpectOneLine(Run("wipe a.y4m a.y4m -o p-%d.png --sheet ./p-3.png"), 2, "--sheet ./p-3.png");
    EXPECT_FALSE(Exists("p-0.png"));
    EXPECT_EQ(Run("wipe a.y4m a.y4m -o p-%d.png --sheet p-4.png").status, 0);
}

TEST_F(WholeFilesTest, AFailedRunLeavesWhatWasThere) {
    for (const char* name : {"out.y4m", "out.mkv", "out.mp4", "sheet.png"}) {
        Write(name, "precious");
    }
    // A limit of some 16 KB stands for a full disk.
    for (const char* name : {"out.y4m", "out.mkv", "out.mp4"}) {
        SCOPED_TRACE(name);
        const Outcome outcome = Run(
            std::string("testcard --kind 2 --size 640x480 --sheet sheet.png -o ") + name, "ulimit -f 16;");
        ExpectOneLine(outcome, 1, name);
        EXPECT_EQ(Contents(In(name)), "precious");
        EXPECT_EQ(Contents(In("sheet.png")), "precious");
    }
}

TEST_F(WholeFilesTest, AnInterruptedRunLeavesWhatWasThere) {
    Write("out.mkv", "precious");
    Write("sheet.png", "precious");
    Background run(*this, {"testcard", "-o", "out.mkv", "--sheet", "sheet.png", "--length", "1000000",
                           "--size", "64x64"});
    ASSERT_TRUE(WaitFor([this] { return SizeOfUnfinished() > 0; }));
    run.Signal(SIGINT);
    EXPECT_EQ(run.Wait(), 128 + SIGINT);
    EXPECT_EQ(Contents(In("out.mkv")), "precious");
    EXPECT_EQ(Contents(In("sheet.png")), "precious");
    EXPECT_EQ(SizeOfUnfinished(), 0U);
}

TEST_F(WholeFilesTest, OfASequenceWholePicturesStay) {
    Write("p-000000.png", "old");
    Background run(*this, {"testcard", "-o", "p-%06d.png", "--length", "1000000", "--size", "64x64"});
    ASSERT_TRUE(WaitFor([this] { return Exists("p-000009.png"); }));
    run.Signal(SIGINT);
    EXPECT_EQ(run.Wait(), 128 + SIGINT);
    int pictures = 0;
    for (const auto& entry : std::filesystem::directory_iterator(directory)) {
        const std::string name = entry.path().filename().string();
        if (name.rfind("p-", 0) == 0) {
            EXPECT_TRUE(IsPng(name)) << name;
            ++pictures;
        }
    }
    EXPECT_GE(pictures, 10);
    EXPECT_EQ(SizeOfUnfinished(), 0U);
}

TEST_F(WholeFilesTest, AnOutputIsReplacedWithItsModeAndThroughItsLink) {
    Write("real.y4m", "old");
    std::filesystem::permissions(In("real.y4m"), std::filesystem::perms(0640));
    std::filesystem::create_symlink("real.y4m", directory / "link.y4m");
    ASSERT_EQ(Run("testcard -o link.y4m --size 16x16 --length 1").status, 0);
    EXPECT_TRUE(std::filesystem::is_symlink(directory / "link.y4m"));
    EXPECT_EQ(Contents(In("real.y4m")).rfind("YUV4MPEG2 ", 0), 0U);
    EXPECT_EQ(std::filesystem::status(In("real.y4m")).permissions(), std::filesystem::perms(0640));
}

TEST_F(WholeFilesTest, ANewFileHasTheModeOfAnyOther) {
    ASSERT_EQ(Run("testcard -o out.y4m --size 16x16 --length 1", "umask 027;").status, 0);
    EXPECT_EQ(std::filesystem::status(In("out.y4m")).permissions(), std::filesystem::perms(0640));
}

// The words of the system, whatever the kind.
TEST_F(WholeFilesTest, AFullDiskIsNamed) {
    for (const char* name : {"full.y4m", "full.mkv", "full-%d.png"}) {
        SCOPED_TRACE(name);
        std::filesystem::create_symlink("/dev/full",
                                        In(name == std::string("full-%d.png") ? "full-0.png" : name));
        ExpectOneLine(Run(std::string("testcard --size 64x64 -o ") + name), 1, "No space left on device");
    }
}

}  // namespace
}  // namespace tool::test
