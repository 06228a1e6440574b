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
        format.rate = {50, 1};
        return format;
    }
    static int Luma(const Zan::Image& picture, unsigned x, unsigned y) { return Line(picture, y)[2 * x + 1]; }
};

TEST_F(ReaderTest, FramesComeInOrderAndTheLastOneStays) {
    WriteFlat("a.y4m", 3, 50);
    Reader reader(In("a.y4m"));
    EXPECT_FALSE(reader.IsStill());
    reader.SetTarget(Format(32, 16), 2.0);
    EXPECT_EQ(reader.Pictures(), 3);
    EXPECT_EQ(Luma(*reader.PictureAt(0, 0), 5, 5), 50);
    EXPECT_EQ(Luma(*reader.PictureAt(0, 0), 5, 5), 50);
    EXPECT_EQ(Luma(*reader.PictureAt(2, 0), 5, 5), 52);
    EXPECT_EQ(Luma(*reader.PictureAt(100, 0), 5, 5), 52);
}

TEST_F(ReaderTest, OneFrameIsAStill) {
    WriteFlat("a.y4m", 1);
    const Reader reader(In("a.y4m"));
    EXPECT_TRUE(reader.IsStill());
}

TEST_F(ReaderTest, FieldOrderIsThatOfTheFile) {
    WriteFlat("t.y4m", 3, 40, 32, 16, "It");
    WriteFlat("b.y4m", 3, 40, 32, 16, "Ib");
    EXPECT_EQ(Reader(In("t.y4m")).Timing().scan, Zan::kUpperFieldFirst);
    EXPECT_EQ(Reader(In("b.y4m")).Timing().scan, Zan::kLowerFieldFirst);
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
    const SharedPicture shown = reader.PictureAt(0, 0);
    const Zan::Image& picture = *shown;
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
    const SharedPicture shown = reader.PictureAt(0, 0);
    const Zan::Image& picture = *shown;
    for (unsigned y = 0; y < 16; ++y)
        EXPECT_EQ(Luma(picture, 9, y), y % 2 == 0 ? 200 : 50) << y;
}

// Turned a quarter clockwise, the left edge of a frame becomes the top of the picture.
TEST_F(ReaderTest, FramesAreTurnedAsTheirLabelSays) {
    const auto grey = [](int, int, int) { return 128; };
    WriteY4m(
        "a.y4m", 64, 32, 2, [](int x, int y, int) { return (x < 32 ? 60 : 180) + (y < 16 ? 0 : 20); }, grey,
        grey);
    if (Run("wipe a.y4m a.y4m -o a.mp4").status != 0)
        GTEST_SKIP() << "no encoder to make a clip with a label";
    std::string bytes = Contents(In("a.mp4"));
    // The matrix of the track header, as 16.16 numbers: unity on the diagonal.
    const std::string upright("\0\1\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\1\0\0\0\0\0\0", 24);
    const struct {
        const char* name;
        std::string matrix;
        unsigned width, height;
        int topLeft, topRight, bottomLeft, bottomRight;
    } cases[] = {
        {"quarter", std::string("\0\0\0\0\0\1\0\0\0\0\0\0\xff\xff\0\0\0\0\0\0\0\0\0\0", 24), 32, 64, 80, 60,
         200, 180},
        {"half", std::string("\xff\xff\0\0\0\0\0\0\0\0\0\0\0\0\0\0\xff\xff\0\0\0\0\0\0", 24), 64, 32, 200, 80,
         180, 60},
        {"three quarters", std::string("\0\0\0\0\xff\xff\0\0\0\0\0\0\0\1\0\0\0\0\0\0\0\0\0\0", 24), 32, 64,
         180, 200, 60, 80},
    };
    const std::size_t at = bytes.find(upright, bytes.find("tkhd"));
    ASSERT_NE(at, std::string::npos);
    for (const auto& turned : cases) {
        SCOPED_TRACE(turned.name);
        std::ofstream(In("t.mp4"), std::ios::binary)
            << std::string(bytes).replace(at, turned.matrix.size(), turned.matrix);
        Reader reader(In("t.mp4"));
        ASSERT_EQ(reader.Width(), turned.width);
        ASSERT_EQ(reader.Height(), turned.height);
        reader.SetTarget(Format(turned.width, turned.height), reader.Aspect());
        const SharedPicture shown = reader.PictureAt(0, 0);
        const Zan::Image& picture = *shown;
        constexpr int kCoding = 6;
        EXPECT_NEAR(Luma(picture, 4, 4), turned.topLeft, kCoding);
        EXPECT_NEAR(Luma(picture, turned.width - 5, 4), turned.topRight, kCoding);
        EXPECT_NEAR(Luma(picture, 4, turned.height - 5), turned.bottomLeft, kCoding);
        EXPECT_NEAR(Luma(picture, turned.width - 5, turned.height - 5), turned.bottomRight, kCoding);
    }
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
    const SharedPicture shown = reader.PictureAt(0, 0);
    const Zan::Image& picture = *shown;
    EXPECT_NEAR(Line(picture, 8)[400], 54, 1);
    EXPECT_NEAR(Line(picture, 8)[401], 145, 1);
    EXPECT_NEAR(Line(picture, 8)[402], 34, 1);
}

}  // namespace
}  // namespace tool::test
