#include "media/Reader.h"

#include "Errors.h"
#include "ProgramRun.h"

namespace tool::test {
namespace {

class ReaderTest : public ProgramTest {
protected:
    static PictureFormat Format(unsigned width, unsigned height) {
        PictureFormat format;
        format.width = width;
        format.height = height;
        return format;
    }
    static int Luma(const Zan::Image& picture, unsigned x, unsigned y) { return Line(picture, y)[2 * x + 1]; }
};

TEST_F(ReaderTest, FramesComeInOrderAndTheLastOneStays) {
    WriteFlat("a.y4m", 3, 50);
    Reader reader(In("a.y4m"));
    EXPECT_EQ(reader.CountFrames(), 3);
    EXPECT_FALSE(reader.IsStill());
    reader.SetTarget(Format(32, 16), 2.0);
    EXPECT_EQ(Luma(reader.FrameAt(0), 5, 5), 50);
    EXPECT_EQ(Luma(reader.FrameAt(0), 5, 5), 50);
    EXPECT_EQ(Luma(reader.FrameAt(2), 5, 5), 52);
    EXPECT_EQ(Luma(reader.FrameAt(100), 5, 5), 52);
}

TEST_F(ReaderTest, OneFrameIsAStill) {
    WriteFlat("a.y4m", 1);
    const Reader reader(In("a.y4m"));
    EXPECT_TRUE(reader.IsStill());
    EXPECT_EQ(reader.CountFrames(), 1);
}

TEST_F(ReaderTest, FieldOrderIsThatOfTheFile) {
    WriteFlat("t.y4m", 3, 40, 32, 16, "It");
    WriteFlat("b.y4m", 3, 40, 32, 16, "Ib");
    EXPECT_EQ(Reader(In("t.y4m")).Scan(), Zan::kUpperFieldFirst);
    EXPECT_EQ(Reader(In("b.y4m")).Scan(), Zan::kLowerFieldFirst);
}

// A picture of another shape fills the wanted one and loses its sides.
TEST_F(ReaderTest, OtherShapesAreCroppedAboutTheirCentre) {
    const auto grey = [](int, int, int) { return 128; };
    // 64 by 16; of the middle 32 columns the left half is dark, the right half bright; white beyond.
    WriteY4m(
        "wide.y4m", 64, 16, 2, [](int x, int, int) { return x < 16 || x >= 48 ? 235
                                                            : x < 32          ? 40
                                                                              : 120; },
        grey, grey);
    Reader reader(In("wide.y4m"));
    reader.SetTarget(Format(32, 16), 2.0);
    Zan::Image& picture = reader.FrameAt(0);
    for (unsigned x = 0; x < 32; ++x)
        EXPECT_EQ(Luma(picture, x, 7), x < 16 ? 40 : 120) << x;
}

// Fields that lie far apart in time must not bleed into one another.
TEST_F(ReaderTest, InterlacedFramesAreScaledFieldByField) {
    const auto grey = [](int, int, int) { return 128; };
    WriteY4m(
        "i.y4m", 32, 32, 2, [](int, int y, int) { return y % 2 == 0 ? 200 : 50; }, grey, grey, "It");
    Reader reader(In("i.y4m"));
    PictureFormat format = Format(32, 16);
    format.scan = Zan::kUpperFieldFirst;
    reader.SetTarget(format, 1.0);
    Zan::Image& picture = reader.FrameAt(0);
    for (unsigned y = 0; y < 16; ++y)
        EXPECT_EQ(Luma(picture, 9, y), y % 2 == 0 ? 200 : 50) << y;
}

TEST_F(ReaderTest, MatricesAreBroughtTogether) {
    // Pure green: ITU-R BT.709 Y 173, Cb 42, Cr 26; ITU-R BT.601 Y 145, Cb 54, Cr 34. A large picture without
    // a label counts as BT.709.
    WriteY4m(
        "green.y4m", 1280, 16, 1, [](int, int, int) { return 173; }, [](int, int, int) { return 42; },
        [](int, int, int) { return 26; });
    Reader reader(In("green.y4m"));
    EXPECT_EQ(reader.Weights(), LumaWeights::kBt709);
    reader.SetTarget(Format(1280, 16), 80.0);
    Zan::Image& picture = reader.FrameAt(0);
    EXPECT_NEAR(Line(picture, 8)[400], 54, 1);
    EXPECT_NEAR(Line(picture, 8)[401], 145, 1);
    EXPECT_NEAR(Line(picture, 8)[402], 34, 1);
}

}  // namespace
}  // namespace tool::test
