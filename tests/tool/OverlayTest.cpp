#include <array>
#include <cmath>

#include "ProgramRun.h"

namespace tool::test {
namespace {

constexpr int kWidth = 48, kHeight = 32;
constexpr std::size_t kPixels = std::size_t{kWidth} * kHeight;

class OverlayTest : public ProgramTest {
protected:
    static Sample Flat(int value) {
        return [value](int, int, int) { return value; };
    }
    void WriteBack(const std::string& name, int frames, const std::string& scan = "Ip") const {
        WriteY4m(name, kWidth, kHeight, frames, Flat(52), Flat(100), Flat(150), scan, "25:1");
    }
    /// A picture of width x height in RGBA; `pixel` gives R, G, B, A.
    void WriteLogo(const std::string& name, int width, int height,
                   const std::function<std::array<int, 4>(int x, int y)>& pixel) const {
        std::ofstream file(directory / "logo.raw", std::ios::binary);
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x)
                for (const int sample : pixel(x, y))
                    file.put(static_cast<char>(sample));
        file.close();
        Ffmpeg("-f rawvideo -pix_fmt rgba -s " + std::to_string(width) + "x" + std::to_string(height) +
               " -i logo.raw " + name);
    }
    void WriteWhite(const std::string& name, int width, int height, int alpha = 255) const {
        WriteLogo(name, width, height, [alpha](int, int) { return std::array{255, 255, 255, alpha}; });
    }
    std::vector<int> Samples(const std::string& name, const std::string& format) const {
        Ffmpeg("-i " + name + " -f rawvideo -pix_fmt " + format + " samples.raw");
        std::vector<int> samples;
        for (const char byte : Contents(In("samples.raw")))
            samples.push_back(static_cast<unsigned char>(byte));
        return samples;
    }
    Y4mClip Made(const std::string& arguments, const std::string& out = "out.y4m") const {
        const Outcome outcome = Run("overlay " + arguments + " -o " + out);
        EXPECT_EQ(outcome.status, 0) << arguments << "\n" << outcome.err;
        return Y4mClip(Contents(In(out)));
    }
    /// Luma above 52, the background's, summed over a line, and where its middle lies.
    struct Weight {
        double sum = 0, x = 0;
    };
    static Weight WeightOf(const Y4mClip& clip, int frame, int y) {
        Weight weight;
        for (int x = 0; x < clip.width; ++x) {
            const double more = clip.Luma(frame, x, y) - 52;
            weight.sum += more;
            weight.x += more * x;
        }
        weight.x /= weight.sum;
        return weight;
    }
};

TEST_F(OverlayTest, PlacesHaveNames) {
    WriteBack("back.y4m", 1);
    WriteWhite("logo.png", 8, 6);
    const struct {
        const char* at;
        int x, y;
    } cases[] = {{"center", 20, 13},
                 {"top-left", 0, 0},
                 {"top", 20, 0},
                 {"top-right --margin 4", 36, 4},
                 {"left --margin 2", 2, 13},
                 {"right", 40, 13},
                 {"bottom-left --margin 2", 2, 24},
                 {"bottom", 20, 26},
                 {"bottom-right --margin=-2", 42, 28},
                 {"12,5", 12, 5},
                 {"-4,-2", -4, -2},
                 {"1000,0", 1000, 0}};
    for (const auto& [at, left, top] : cases) {
        SCOPED_TRACE(at);
        const Y4mClip out = Made(std::string("logo.png back.y4m --at=") + at);
        ASSERT_EQ(out.Frames(), 1);
        for (int y = 0; y < kHeight; ++y) {
            for (int x = 0; x < kWidth; ++x) {
                const bool isIn = x >= left && x < left + 8 && y >= top && y < top + 6;
                EXPECT_EQ(out.Luma(0, x, y), isIn ? 235 : 52) << x << " " << y;
                EXPECT_EQ(out.Cb(0, x, y), isIn ? 128 : 100);
            }
        }
    }
    EXPECT_EQ(Made("logo.png back.y4m").Luma(0, 20, 13), 235) << "it is in the middle when nothing is said";
}

// A white pixel at 12.25: three quarters stay, one goes to the right neighbour. Vertically the same.
TEST_F(OverlayTest, BetweenPixelsItIsInterpolated) {
    WriteBack("back.y4m", 1);
    WriteWhite("logo.png", 8, 6);
    const Y4mClip across = Made("logo.png back.y4m --at 12.25,5"),
                  down = Made("logo.png back.y4m --at 12,5.5");
    const auto mixed = [](double alpha) { return 52 + (235 - 52) * alpha; };
    EXPECT_NEAR(across.Luma(0, 12, 7), mixed(0.75), 1);
    EXPECT_EQ(across.Luma(0, 13, 7), 235);
    EXPECT_EQ(across.Luma(0, 19, 7), 235);
    EXPECT_NEAR(across.Luma(0, 20, 7), mixed(0.25), 1);
    EXPECT_EQ(across.Luma(0, 21, 7), 52);
    EXPECT_NEAR(down.Luma(0, 15, 5), mixed(0.5), 1);
    EXPECT_NEAR(down.Luma(0, 15, 11), mixed(0.5), 1);
    EXPECT_EQ(down.Luma(0, 15, 6), 235);
    EXPECT_EQ(down.Luma(0, 15, 12), 52);
    const Y4mClip whole = Made("logo.png back.y4m --at 12.25,5.5 --whole");
    EXPECT_EQ(whole.Luma(0, 12, 6), 235);
    EXPECT_EQ(whole.Luma(0, 12, 5), 52) << "halves go up";
    EXPECT_EQ(whole.Luma(0, 20, 7), 52);
    // Odd positions are whole pixels, too.
    const Y4mClip odd = Made("logo.png back.y4m --at 13,5");
    EXPECT_EQ(odd.Luma(0, 12, 7), 52);
    EXPECT_EQ(odd.Luma(0, 13, 7), 235);
    EXPECT_EQ(odd.Luma(0, 20, 7), 235);
    EXPECT_EQ(odd.Luma(0, 21, 7), 52);
}

TEST_F(OverlayTest, ItMovesEvenly) {
    WriteBack("back.y4m", 9);
    WriteWhite("logo.png", 8, 8);
    const Y4mClip out = Made("logo.png back.y4m --at 10,4 --to 11,4");
    ASSERT_EQ(out.Frames(), 9);
    const Weight first = WeightOf(out, 0, 8);
    EXPECT_NEAR(first.x, 13.5, 1e-9);
    for (int frame = 0; frame < 9; ++frame) {
        const Weight weight = WeightOf(out, frame, 8);
        EXPECT_NEAR(weight.x, 13.5 + frame / 8.0, 0.02) << frame;
        EXPECT_NEAR(weight.sum, first.sum, 2);
    }
    // A part of the run is a cut of it.
    Made("logo.png back.y4m --at 10,4 --to 11,4 --frames 3-5", "piece.y4m");
    const std::string whole = Contents(In("out.y4m")), piece = Contents(In("piece.y4m"));
    const std::size_t frame = 6 + 2 * kPixels;
    EXPECT_EQ(piece.substr(piece.find('\n') + 1), whole.substr(whole.find('\n') + 1 + 3 * frame, 3 * frame));
    // From a place with a name to another.
    const Y4mClip named = Made("logo.png back.y4m --at left --to right");
    EXPECT_NEAR(WeightOf(named, 0, 16).x, 3.5, 1e-9);
    EXPECT_NEAR(WeightOf(named, 4, 16).x, 23.5, 0.02);
    EXPECT_NEAR(WeightOf(named, 8, 16).x, 43.5, 1e-9);
}

// Of two fields the later one is half a frame further on its way.
TEST_F(OverlayTest, EveryFieldHasItsOwnPlace) {
    WriteWhite("logo.png", 8, 16);
    for (const bool isTop : {true, false}) {
        WriteBack("back.y4m", 5, isTop ? "It" : "Ib");
        const Y4mClip out = Made("logo.png back.y4m --at 10,8 --to 19,8");
        ASSERT_EQ(out.Frames(), 5);
        for (int frame = 0; frame < 5; ++frame) {
            for (int y = 8; y < 24; ++y) {
                const int field = 2 * frame + ((y % 2 == 0) == isTop ? 0 : 1);
                EXPECT_NEAR(WeightOf(out, frame, y).x, 13.5 + field, 0.02) << frame << " " << y;
            }
        }
    }
}

TEST_F(OverlayTest, APathHasKeyPositions) {
    WriteBack("back.y4m", 8);
    WriteWhite("logo.png", 8, 8);
    std::ofstream(In("path.txt")) << "# frame x y\n2 4 10\n\n4 8 10 # there\n5.5 20 10\n";
    const Y4mClip out = Made("logo.png back.y4m --path path.txt");
    const double expected[] = {4, 4, 4, 6, 8, 16, 20, 20};
    for (int frame = 0; frame < 8; ++frame) {
        EXPECT_NEAR(WeightOf(out, frame, 14).x, expected[frame] + 3.5, 0.02) << frame;
    }
    for (const auto& [text, named] : {std::pair{"1 2\n", "line 1"},
                                      {"0 1 1\n0 2 2\n", "line 2"},
                                      {"0 1 x\n", "line 1"},
                                      {"-1 1 1\n", "line 1"},
                                      {"# none\n", "no line"},
                                      {"0 1e9 1\n", "line 1"}}) {
        std::ofstream(In("path.txt")) << text;
        ExpectOneLine(Run("overlay logo.png back.y4m -o x.y4m --path path.txt"), 2, named);
    }
    ExpectOneLine(Run("overlay logo.png back.y4m -o x.y4m --path gone.txt"), 1, "gone.txt");
    EXPECT_FALSE(Exists("x.y4m"));
}

// 235 at alpha 128, between whole pixels or not, and whatever colour is behind alpha 0.
TEST_F(OverlayTest, AlphaCountsAndHiddenColoursDoNot) {
    WriteBack("back.y4m", 1);
    const auto write = [this](const std::string& name, int hidden) {
        WriteLogo(name, 9, 6, [hidden](int x, int) {
            return x < 4 ? std::array{255, 255, 255, 128} : std::array{hidden, 255 - hidden, hidden, 0};
        });
    };
    write("a.png", 0);
    write("b.png", 255);
    for (const char* at : {"12,5", "12.5,5", "13.375,5.25"}) {
        SCOPED_TRACE(at);
        const std::string place = std::string(" back.y4m --at ") + at;
        const Y4mClip a = Made("a.png" + place, "a.y4m"), b = Made("b.png" + place, "b.y4m");
        EXPECT_EQ(Contents(In("a.y4m")), Contents(In("b.y4m")));
        EXPECT_NEAR(a.Luma(0, 15, 8), 52 + (235 - 52) * 128 / 255.0, 1);
        EXPECT_EQ(a.Luma(0, 24, 8), 52);
        EXPECT_EQ(a.Cr(0, 24, 8), 150);
    }
    // Colours that were multiplied by alpha already: 128 of 255 is white at half strength.
    WriteLogo("shaped.png", 8, 6, [](int, int) { return std::array{128, 128, 128, 128}; });
    WriteWhite("straight.png", 8, 6, 128);
    const Y4mClip shaped = Made("shaped.png back.y4m --at 12,5 --shaped"),
                  straight = Made("straight.png back.y4m --at 12,5");
    EXPECT_NEAR(shaped.Luma(0, 15, 8), straight.Luma(0, 15, 8), 1);
    EXPECT_NEAR(shaped.Luma(0, 15, 8), 52 + (235 - 52) * 128 / 255.0, 1);
}

TEST_F(OverlayTest, OddWidthsKeepTheirLastColumn) {
    WriteBack("back.y4m", 1);
    WriteLogo("logo.png", 9, 5, [](int, int) { return std::array{250, 20, 30, 255}; });
    const Y4mClip out = Made("logo.png back.y4m --at 12,5");
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) {
            const bool isRow = y >= 5 && y < 10;
            EXPECT_EQ(out.Luma(0, x, y), isRow && x >= 12 && x < 21 ? out.Luma(0, 14, 7) : 52)
                << x << " " << y;
            EXPECT_EQ(out.Cr(0, x, y), isRow && x >= 12 && x < 22 ? out.Cr(0, 14, 7) : 150) << x << " " << y;
        }
    }
    // 16 + 0.257 * 250 + 0.504 * 20 + 0.098 * 30
    EXPECT_NEAR(out.Luma(0, 14, 7), 93.3, 1);
}

// Samples of 4:2:2 with alpha go in as they are, and what they cover is theirs.
TEST_F(OverlayTest, ClipsWithAlpha) {
    WriteBack("back.y4m", 4);
    const auto write = [this](const std::string& name, const std::string& format) {
        std::ofstream file(directory / "logo.raw", std::ios::binary);
        for (int frame = 0; frame < 2; ++frame) {
            for (int plane = 0; plane < 4; ++plane) {
                const int values[] = {200 - 40 * frame, 90, 170, 255};
                const bool isHalf = format == "yuva422p" && (plane == 1 || plane == 2);
                file << std::string(isHalf ? 32U : 64U, static_cast<char>(values[plane]));
            }
        }
        file.close();
        Ffmpeg("-f rawvideo -r 25 -s 8x8 -pix_fmt " + format + " -i logo.raw -c:v ffv1 " + name);
    };
    for (const char* format : {"yuva422p", "yuva444p"}) {
        SCOPED_TRACE(format);
        write("logo.mkv", format);
        const Y4mClip shortest = Made("logo.mkv back.y4m --at 4,4");
        EXPECT_EQ(shortest.Frames(), 2);
        const Y4mClip held = Made("logo.mkv back.y4m --at 4,4 --hold"),
                      looped = Made("logo.mkv back.y4m --at 4,4 --loop");
        ASSERT_EQ(held.Frames(), 4);
        ASSERT_EQ(looped.Frames(), 4);
        for (int frame = 0; frame < 4; ++frame) {
            EXPECT_EQ(held.Luma(frame, 6, 6), frame == 0 ? 200 : 160);
            EXPECT_EQ(looped.Luma(frame, 6, 6), frame % 2 == 0 ? 200 : 160);
            EXPECT_EQ(looped.Cb(frame, 6, 6), 90);
            EXPECT_EQ(looped.Cr(frame, 6, 6), 170);
            EXPECT_EQ(looped.Luma(frame, 14, 6), 52);
        }
        const Y4mClip piece = Made("logo.mkv back.y4m --at 4,4 --loop --frames 3-3");
        ASSERT_EQ(piece.Frames(), 1);
        EXPECT_EQ(piece.Luma(0, 6, 6), 160);
    }
    ExpectOneLine(Shell("cat logo.mkv | tesselu overlay - back.y4m -o x.y4m --loop"), 2, "--loop");
    EXPECT_EQ(Shell("cat logo.mkv | tesselu overlay - back.y4m -o x.y4m --hold").status, 0);
    // A clip without alpha covers all behind it.
    WriteFlat("small.y4m", 4, 90, 16, 8, "Ip", "25:1");
    const Y4mClip covered = Made("small.y4m back.y4m --at top-left");
    EXPECT_EQ(covered.Luma(3, 15, 7), 93);
    EXPECT_EQ(covered.Luma(3, 16, 7), 52);
    EXPECT_EQ(covered.Luma(3, 15, 8), 52);
}

// a + ab - a * ab / 255 with 128 over 128 is 192.
TEST_F(OverlayTest, ABackgroundKeepsItsAlpha) {
    WriteWhite("logo.png", 8, 6, 128);
    WriteLogo("back.png", 24, 16, [](int, int) { return std::array{0, 0, 0, 128}; });
    for (const char* out : {"out-%d.png", "out.mkv", "out.mov"}) {
        SCOPED_TRACE(out);
        ASSERT_EQ(Run(std::string("overlay logo.png back.png --at 8,5 -o ") + out).status, 0);
        const std::vector<int> rgba = Samples(out, "rgba");
        ASSERT_EQ(rgba.size(), std::size_t{24 * 16 * 4});
        const auto at = [&rgba](int x, int y, int i) {
            return rgba[static_cast<std::size_t>((y * 24 + x) * 4 + i)];
        };
        EXPECT_NEAR(at(10, 8, 3), 192, 1);  // libswscale takes one off
        EXPECT_EQ(at(2, 2, 3), 128);
        // 128 of the 192 are white.
        EXPECT_NEAR(at(10, 8, 0), 255 * 128 / 192.0, 3);
    }
    // From picture to picture colours stay in RGB, premultiplied or not.
    WriteLogo("red.png", 7, 5, [](int, int) { return std::array{250, 3, 1, 255}; });
    WriteLogo("half.png", 7, 5, [](int, int) { return std::array{125, 2, 1, 128}; });
    ASSERT_EQ(Run("overlay red.png back.png --at 3,3 -o out-%d.png").status, 0);
    EXPECT_EQ(Samples("out-%d.png", "rgba")[(4 * 24 + 5) * 4], 250);
    ASSERT_EQ(Run("overlay half.png back.png --at 3,3 --shaped -o out-%d.png").status, 0);
    const std::vector<int> rgba = Samples("out-%d.png", "rgba");
    EXPECT_EQ(rgba[(4 * 24 + 5) * 4 + 3], 192);
    EXPECT_NEAR(rgba[(4 * 24 + 5) * 4], 125 * 255 / 192.0, 1);
    Ffmpeg("-i back.png -pix_fmt rgb24 opaque.png");
    ASSERT_EQ(Run("overlay half.png opaque.png --at 3,3 --shaped -o out-%d.png").status, 0);
    EXPECT_EQ(Samples("out-%d.png", "rgba")[(4 * 24 + 5) * 4], 125);
}

TEST_F(OverlayTest, WhatMakesNoSenseIsRefused) {
    WriteBack("back.y4m", 2);
    WriteWhite("logo.png", 8, 6);
    std::ofstream(In("path.txt")) << "0 1 1\n";
    const struct {
        const char *call, *named;
    } cases[] = {{"--at middle", "--at middle"},       {"--at 5", "--at 5"},
                 {"--at 5,nan", "--at 5,nan"},         {"--at 5,1e7", "--at 5,1e7"},
                 {"--at 5,5,5", "--at 5,5,5"},         {"--to 5", "--to 5"},
                 {"--at 5,5 --margin 3", "--margin"},  {"--path path.txt --at 5,5", "--at"},
                 {"--path path.txt --to 5,5", "--to"}, {"--hold --loop", "--hold and --loop"},
                 {"--kind tape", "--kind tape"}};
    for (const auto& [call, named] : cases) {
        SCOPED_TRACE(call);
        ExpectOneLine(Run(std::string("overlay logo.png back.y4m -o x.y4m ") + call), 2, named);
        EXPECT_FALSE(Exists("x.y4m"));
    }
    ExpectOneLine(Shell("cat back.y4m | tesselu overlay logo.png - -o x.y4m --to 5,5"), 2, "--length");
    ASSERT_EQ(Run("overlay logo.png back.y4m -o - --kind uyvy422 -q").status, 0);
    EXPECT_EQ(Contents(In(".out")).size(), 2 * 2 * kPixels);
}

class CenterTest : public OverlayTest {};

TEST_F(CenterTest, CutsAndSurrounds) {
    for (const char* scan : {"Ip", "It"}) {
        SCOPED_TRACE(scan);
        WriteY4m(
            "in.y4m", kWidth, kHeight, 2, [](int x, int y, int frame) { return 40 + 2 * x + y + frame; },
            [](int x, int, int) { return 60 + x; }, Flat(200), scan, "25:1");
        // 48 in 32: 8 columns go on either side. 32 lines in 40: 4 black ones above and below.
        ASSERT_EQ(Run("center in.y4m -o out.y4m --size 32x40").status, 0);
        const Y4mClip out(Contents(In("out.y4m")));
        ASSERT_EQ(out.Frames(), 2);
        for (int y = 0; y < 40; ++y) {
            for (int x = 0; x < 32; ++x) {
                const bool isIn = y >= 4 && y < 36;
                EXPECT_EQ(out.Luma(1, x, y), isIn ? 40 + 2 * (x + 8) + y - 4 + 1 : 16) << x << " " << y;
                EXPECT_EQ(out.Cb(1, x, y), isIn ? 60 + (x + 8) / 2 : 128);
            }
        }
    }
    EXPECT_EQ(Run("center in.y4m -o out.y4m").status, 2) << "a size is needed";
}

// 32 lines in 38 begin at line 3, which belongs to the other field; they begin at line 2 then.
TEST_F(CenterTest, FieldsStayFields) {
    for (const int lines : {38, 26}) {
        WriteY4m(
            "in.y4m", kWidth, kHeight, 2, [](int, int y, int) { return y % 2 == 0 ? 200 : 50; }, Flat(90),
            Flat(128), "It", "25:1");
        ASSERT_EQ(Run("center in.y4m -o out.y4m --size 48x" + std::to_string(lines)).status, 0);
        const Y4mClip out(Contents(In("out.y4m")));
        for (int y = 0; y < lines; ++y) {
            const bool isIn = lines == 26 || (y >= 2 && y < 34);
            EXPECT_EQ(out.Luma(0, 10, y), !isIn ? 16 : y % 2 == 0 ? 200 : 50) << y;
        }
    }
}

TEST_F(CenterTest, PicturesStayRgbAndWhatIsLeftOverIsTransparent) {
    WriteLogo("in.png", 9, 7, [](int x, int y) { return std::array{20 * x, 30 * y, 250, 100}; });
    ASSERT_EQ(Run("center in.png -o out-%d.png --size 20x10").status, 0);
    EXPECT_FALSE(Exists("out-1.png"));
    const std::vector<int> rgba = Samples("out-%d.png", "rgba");
    ASSERT_EQ(rgba.size(), std::size_t{20 * 10 * 4});
    for (int y = 0; y < 10; ++y) {
        for (int x = 0; x < 20; ++x) {
            // (20 - 9) / 2 and (10 - 7) / 2, rounded toward 0.
            const bool isIn = x >= 5 && x < 14 && y >= 1 && y < 8;
            const auto at = [&](int i) { return rgba[static_cast<std::size_t>((y * 20 + x) * 4 + i)]; };
            EXPECT_EQ(at(0), isIn ? 20 * (x - 5) : 0) << x << " " << y;
            EXPECT_EQ(at(1), isIn ? 30 * (y - 1) : 0);
            EXPECT_EQ(at(3), isIn ? 100 : 0);
        }
    }
}

}  // namespace
}  // namespace tool::test
