#include <TesselU/image/Image.h>
#include <TesselU/image/ImageView.h>
#include <TesselU/tone/CubeLUT.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <clocale>
#include <cmath>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "simd/Targets.h"
#include "support/CountedAllocations.h"

namespace {

using namespace Zan;

struct Reading {
    Long32 status;
    ULong32 line;
    bool operator==(const Reading& other) const { return status == other.status && line == other.line; }
};

void PrintTo(const Reading& reading, std::ostream* out) {
    *out << reading.status << " in line " << reading.line;
}

Reading ReadInto(CubeLUT& table, const std::string& text) {
    // Memory that ends with the text, so that a sanitizer sees what is read beyond.
    const std::vector<char> exact(text.begin(), text.end());
    Reading reading{-1, 4711};
    reading.status = table.Read(exact.empty() ? "" : exact.data(), exact.size(), reading.line);
    return reading;
}

Reading Read(const std::string& text) {
    CubeLUT table;
    const Reading reading = ReadInto(table, text);
    EXPECT_EQ(table.GetSize() != 0, reading.status == 0) << text;
    return reading;
}

ULong32 Map(const LookUpTable3D& table, ULong32 colour) {
    ULong32 out = 0xA5A5A5A5U;
    EXPECT_EQ(table.Do(&colour, &out, 1, 1, 4, 4, 0), 0);
    return out;
}

const std::string kRows8 = "0 0 0\n1 0 0\n0 1 0\n1 1 0\n0 0 1\n1 0 1\n0 1 1\n1 1 1\n";

TEST(CubeReader, TakesTheLeastTables) {
    EXPECT_EQ(Read("LUT_1D_SIZE 2\n0 0 0\n1 1 1\n"), (Reading{0, 0}));
    EXPECT_EQ(Read("LUT_3D_SIZE 2\n" + kRows8), (Reading{0, 0}));
}

TEST(CubeReader, TellsWhatItRead) {
    CubeLUT table;
    EXPECT_EQ(table.GetDimensions(), 0U);
    EXPECT_EQ(table.GetSize(), 0U);
    EXPECT_STREQ(table.GetTitle(), "");
    ASSERT_EQ(ReadInto(table, "TITLE \"warm  evening\"\nLUT_3D_SIZE 2\n" + kRows8), (Reading{0, 0}));
    EXPECT_EQ(table.GetDimensions(), 3U);
    EXPECT_EQ(table.GetSize(), 2U);
    EXPECT_STREQ(table.GetTitle(), "warm  evening");
    ASSERT_EQ(ReadInto(table, "LUT_1D_SIZE 3\n0 0 0\n.5 .5 .5\n1 1 1"), (Reading{0, 0}));
    EXPECT_EQ(table.GetDimensions(), 1U);
    EXPECT_EQ(table.GetSize(), 3U);
    EXPECT_STREQ(table.GetTitle(), "");
}

TEST(CubeReader, KeepsTheTableWhenItRefuses) {
    CubeLUT table;
    ASSERT_EQ(ReadInto(table, "TITLE \"a\"\nLUT_1D_SIZE 2\n1 1 1\n0 0 0\n"), (Reading{0, 0}));
    EXPECT_EQ(ReadInto(table, "TITLE \"b\"\nLUT_1D_SIZE 2\n0 0 0\n"), (Reading{CubeLUT::kTooFewRows, 3}));
    EXPECT_STREQ(table.GetTitle(), "a");
    EXPECT_EQ(Map(table, 0), 0x00FFFFFFU);
}

TEST(CubeReader, PassesOverCommentsAndEmptyLines) {
    EXPECT_EQ(Read("# made by hand\n\n  \t\n#\nLUT_1D_SIZE 2\n # indented\n0 0 0\n\n#1 2 3\n1 1 1\n\n# end"),
              (Reading{0, 0}));
}

TEST(CubeReader, TakesBothEndsOfLinesAndAByteOrderMark) {
    EXPECT_EQ(Read("LUT_1D_SIZE 2\r\n\r\n0 0 0\r\n1 1 1\r\n"), (Reading{0, 0}));
    EXPECT_EQ(Read("\xEF\xBB\xBFLUT_1D_SIZE 2\n0 0 0\n1 1 1"), (Reading{0, 0}));
    EXPECT_EQ(Read("LUT_1D_SIZE 2\n0 0 0\r1 1 1\n"), (Reading{CubeLUT::kBadNumber, 2}));
}

TEST(CubeReader, TakesBlanksAndTabsBetweenWords) {
    EXPECT_EQ(Read("  LUT_1D_SIZE \t 2  \n\t0\t0 \t0 \n 1  1  1\t\n"), (Reading{0, 0}));
    EXPECT_EQ(Read("TITLE\t\"x\"  \nLUT_1D_SIZE 2\n0 0 0\n1 1 1\n"), (Reading{0, 0}));
}

TEST(CubeReader, TakesEveryWayToWriteANumber) {
    CubeLUT table;
    ASSERT_EQ(ReadInto(table, "LUT_1D_SIZE 2\n+1 1. 1e0\n-.0 0E+5 .5e-1\n"), (Reading{0, 0}));
    EXPECT_EQ(Map(table, 0), 0x00FFFFFFU);
    // 0.05 * 255 = 12.75
    EXPECT_EQ(Map(table, 0x00FFFFFFU), 13U);
}

TEST(CubeReader, RefusesWhatIsNoNumber) {
    for (const char* word :
         {"nan", "inf", "-inf", "0x1", "1,5",   "1e",     "1e+",     "--1",   "+-1",   "-+1",
          "-",   "+",   ".",    "1f",  "1.0.0", "3.5e38", "-3.5e38", "1e400", "\"1\"", "1_0"}) {
        const Reading reading = Read(std::string("LUT_1D_SIZE 2\n0 ") + word + " 0\n1 1 1\n");
        EXPECT_EQ(reading, (Reading{CubeLUT::kBadNumber, 2})) << word;
    }
    EXPECT_EQ(Read("LUT_1D_SIZE 2\n0 3.4e38 -3.4e38\n1 1 1\n"), (Reading{0, 0}));
}

TEST(CubeReader, RefusesRowsOfOtherLengths) {
    EXPECT_EQ(Read("LUT_1D_SIZE 2\n0 0\n1 1 1\n"), (Reading{CubeLUT::kBadNumber, 2}));
    EXPECT_EQ(Read("LUT_1D_SIZE 2\n0 0 0 0\n1 1 1\n"), (Reading{CubeLUT::kBadNumber, 2}));
    EXPECT_EQ(Read("LUT_1D_SIZE 2\n0 0 0 # black\n1 1 1\n"), (Reading{CubeLUT::kBadNumber, 2}));
}

TEST(CubeReader, RefusesUnknownLines) {
    EXPECT_EQ(Read("LUT_2D_SIZE 2\n"), (Reading{CubeLUT::kUnknownLine, 1}));
    EXPECT_EQ(Read("lut_1d_size 2\n"), (Reading{CubeLUT::kUnknownLine, 1}));
    EXPECT_EQ(Read("LUT_1D_SIZE 2\nnan nan nan\n"), (Reading{CubeLUT::kUnknownLine, 2}));
    EXPECT_EQ(Read("LUT_1D_SIZE 2\n0 0 0\n1 1 1\nend\n"), (Reading{CubeLUT::kUnknownLine, 4}));
    EXPECT_EQ(Read(std::string("LUT_1D_SIZE 2\n0 0 0\n1 1 1\n\0\n", 28)),
              (Reading{CubeLUT::kUnknownLine, 4}));
    EXPECT_EQ(Read("\x89PNG\r\n\x1A\n"), (Reading{CubeLUT::kUnknownLine, 1}));
}

TEST(CubeReader, RefusesSizesOutOfRange) {
    for (const char* size :
         {"LUT_1D_SIZE 0", "LUT_1D_SIZE 1", "LUT_1D_SIZE 65537", "LUT_3D_SIZE 1", "LUT_3D_SIZE 257",
          "LUT_3D_SIZE 4294967298", "LUT_3D_SIZE 99999999999999999999"}) {
        EXPECT_EQ(Read(std::string("\n") + size + "\n" + kRows8), (Reading{CubeLUT::kBadSize, 2})) << size;
    }
    for (const char* size : {"LUT_3D_SIZE", "LUT_3D_SIZE x", "LUT_3D_SIZE 2 2", "LUT_3D_SIZE 2.0",
                             "LUT_3D_SIZE -2", "LUT_3D_SIZE 2x"}) {
        EXPECT_EQ(Read(std::string(size) + "\n" + kRows8), (Reading{CubeLUT::kBadNumber, 1})) << size;
    }
}

TEST(CubeReader, TakesTheLargestSizes) {
    std::string text = "LUT_1D_SIZE 65536\n";
    for (int i = 0; i < 65536; ++i) {
        text += "0 0 0\n";
    }
    EXPECT_EQ(Read(text), (Reading{0, 0}));
    text += "0 0 0\n";
    EXPECT_EQ(Read(text), (Reading{CubeLUT::kTooManyRows, 65538}));
}

TEST(CubeReader, RefusesWhatComesTwice) {
    const std::string rows = "0 0 0\n1 1 1\n";
    EXPECT_EQ(Read("LUT_1D_SIZE 2\nLUT_1D_SIZE 2\n" + rows), (Reading{CubeLUT::kRepeated, 2}));
    EXPECT_EQ(Read("LUT_1D_SIZE 2\nLUT_3D_SIZE 2\n" + rows), (Reading{CubeLUT::kRepeated, 2}));
    EXPECT_EQ(Read("TITLE \"a\"\nTITLE \"a\"\n"), (Reading{CubeLUT::kRepeated, 2}));
    EXPECT_EQ(Read("DOMAIN_MIN 0 0 0\nDOMAIN_MIN 0 0 0\n"), (Reading{CubeLUT::kRepeated, 2}));
    EXPECT_EQ(Read("DOMAIN_MAX 1 1 1\nDOMAIN_MAX 1 1 1\n"), (Reading{CubeLUT::kRepeated, 2}));
    EXPECT_EQ(Read("DOMAIN_MIN 0 0 0\nLUT_1D_INPUT_RANGE 0 1\n"), (Reading{CubeLUT::kRepeated, 2}));
    EXPECT_EQ(Read("LUT_3D_INPUT_RANGE 0 1\nDOMAIN_MAX 1 1 1\n"), (Reading{CubeLUT::kRepeated, 2}));
}

TEST(CubeReader, RefusesWhatIsOutOfPlace) {
    EXPECT_EQ(Read("0 0 0\nLUT_1D_SIZE 2\n"), (Reading{CubeLUT::kOutOfPlace, 1}));
    for (const char* keyword :
         {"TITLE \"a\"", "DOMAIN_MIN 0 0 0", "DOMAIN_MAX 1 1 1", "LUT_1D_SIZE 2", "LUT_1D_INPUT_RANGE 0 1"}) {
        EXPECT_EQ(Read(std::string("LUT_1D_SIZE 2\n0 0 0\n") + keyword + "\n1 1 1\n"),
                  (Reading{CubeLUT::kOutOfPlace, 3}))
            << keyword;
    }
}

TEST(CubeReader, RefusesDomainsThatDoNotAscend) {
    const std::string table = "LUT_1D_SIZE 2\n0 0 0\n1 1 1\n";
    EXPECT_EQ(Read("DOMAIN_MIN 0 1 0\n" + table), (Reading{CubeLUT::kBadDomain, 3}));
    EXPECT_EQ(Read("DOMAIN_MAX 1 1 -1\n" + table), (Reading{CubeLUT::kBadDomain, 3}));
    EXPECT_EQ(Read("DOMAIN_MIN 2 2 2\nDOMAIN_MAX 3 2 3\n" + table), (Reading{CubeLUT::kBadDomain, 2}));
    EXPECT_EQ(Read("LUT_1D_INPUT_RANGE 1 1\n" + table), (Reading{CubeLUT::kBadDomain, 1}));
    EXPECT_EQ(Read("DOMAIN_MIN 0 0\n" + table), (Reading{CubeLUT::kBadNumber, 1}));
    EXPECT_EQ(Read("LUT_1D_INPUT_RANGE 0 1 2\n" + table), (Reading{CubeLUT::kBadNumber, 1}));
    EXPECT_EQ(Read("DOMAIN_MIN 2 2 2\nDOMAIN_MAX 3 3 3\n" + table), (Reading{0, 0}));
}

TEST(CubeReader, RefusesTitlesWithoutQuotationMarks) {
    for (const char* title :
         {"TITLE", "TITLE a", "TITLE \"a", "TITLE a\"", "TITLE \"", "TITLE \"a\"b\"", "TITLE \"\x1B[31m\""}) {
        EXPECT_EQ(Read(std::string(title) + "\n"), (Reading{CubeLUT::kBadTitle, 1})) << title;
    }
    EXPECT_EQ(Read("TITLE \"\"\nLUT_1D_SIZE 2\n0 0 0\n1 1 1\n"), (Reading{0, 0}));
}

TEST(CubeReader, RefusesTextThatEndsEarly) {
    EXPECT_EQ(Read(""), (Reading{CubeLUT::kNoSize, 0}));
    EXPECT_EQ(Read("\n\n"), (Reading{CubeLUT::kNoSize, 2}));
    EXPECT_EQ(Read("TITLE \"a\""), (Reading{CubeLUT::kNoSize, 1}));
    EXPECT_EQ(Read("LUT_3D_SIZE 256"), (Reading{CubeLUT::kTooFewRows, 1}));
    EXPECT_EQ(Read("LUT_3D_SIZE 2\n" + kRows8.substr(0, kRows8.size() - 7)),
              (Reading{CubeLUT::kTooFewRows, 8}));
    EXPECT_EQ(Read("LUT_3D_SIZE 2\n" + kRows8 + "1 1 1"), (Reading{CubeLUT::kTooManyRows, 10}));
}

TEST(CubeReader, RefusesNull) {
    CubeLUT table;
    ULong32 line = 4711;
    EXPECT_EQ(table.Read(nullptr, 100, line), CubeLUT::kNoText);
    EXPECT_EQ(line, 0U);
}

TEST(CubeReader, HasWordsForEveryStatus) {
    for (Long32 status = 0; status <= CubeLUT::kNoTableMemory; ++status) {
        ASSERT_NE(CubeLUT::ReadStatusText(status), nullptr);
        EXPECT_GT(std::strlen(CubeLUT::ReadStatusText(status)), 3U);
    }
    EXPECT_EQ(CubeLUT::ReadStatusText(-1), nullptr);
    EXPECT_EQ(CubeLUT::ReadStatusText(CubeLUT::kNoTableMemory + 1), nullptr);
}

TEST(CubeReader, DoesNotAskTheLocale) {
    const std::string before = std::setlocale(LC_NUMERIC, nullptr);
    // Where there is none with a comma nothing is lost.
    for (const char* name : {"de_DE.UTF-8", "de_DE", "fr_FR.UTF-8"}) {
        if (std::setlocale(LC_NUMERIC, name) != nullptr) {
            break;
        }
    }
    CubeLUT table;
    const Reading reading = ReadInto(table, "LUT_1D_SIZE 2\n0.5 0.5 0.5\n1 1 1\n");
    std::setlocale(LC_NUMERIC, before.c_str());
    EXPECT_EQ(reading, (Reading{0, 0}));
    EXPECT_EQ(Map(table, 0), 0x00808080U);
}

// ---- Colours ------------------------------------------------------------------------------------------

TEST(CubeLUT, IsTheIdentityUntilItIsRead) {
    EXPECT_EQ(Map(CubeLUT(), 0xFF123456U), 0x00123456U);
}

TEST(CubeLUT, ServesThroughItsBase) {
    CubeLUT cube;
    ASSERT_EQ(ReadInto(cube, "LUT_1D_SIZE 2\n1 1 1\n0 0 0\n"), (Reading{0, 0}));
    const LookUpTable3D& reference = cube;
    EXPECT_EQ(Map(reference, 0xFF102030U), 0x00EFDFCFU);
    const LookUpTable3D copy = cube;
    EXPECT_EQ(Map(copy, 0xFF102030U), 0x00EFDFCFU);
}

TEST(CubeLUT, CopiesKeepTheTable) {
    CubeLUT cube;
    ASSERT_EQ(ReadInto(cube, "LUT_1D_SIZE 2\n1 1 1\n0 0 0\n"), (Reading{0, 0}));
    const CubeLUT copy = cube;
    ASSERT_EQ(ReadInto(cube, "LUT_1D_SIZE 2\n0 0 0\n0 0 0\n"), (Reading{0, 0}));
    EXPECT_EQ(Map(copy, 0xFF102030U), 0x00EFDFCFU);
    EXPECT_EQ(Map(cube, 0xFF102030U), 0U);
}

TEST(CubeLUT, RedIsFastest) {
    CubeLUT cube;
    // Corners: what was red becomes green, green blue, and blue red.
    ASSERT_EQ(ReadInto(cube, "LUT_3D_SIZE 2\n0 0 0\n0 1 0\n0 0 1\n0 1 1\n1 0 0\n1 1 0\n1 0 1\n1 1 1\n"),
              (Reading{0, 0}));
    EXPECT_EQ(Map(cube, 0x00FF0000U), 0x0000FF00U);
    EXPECT_EQ(Map(cube, 0x0000FF00U), 0x000000FFU);
    EXPECT_EQ(Map(cube, 0x000000FFU), 0x00FF0000U);
    // Red 0x12, green 0x34, blue 0x56 become green, blue and red: the table is linear.
    EXPECT_EQ(Map(cube, 0x00123456U), 0x00561234U);
}

TEST(CubeLUT, CurvesBelongToTheirChannels) {
    CubeLUT cube;
    ASSERT_EQ(ReadInto(cube, "LUT_1D_SIZE 2\n0 0.5 1\n1 0.5 0\n"), (Reading{0, 0}));
    // Red as it was, green in the middle (127.5 upwards), blue turned around.
    EXPECT_EQ(Map(cube, 0x00406080U), 0x0040807FU);
}

TEST(CubeLUT, CurvesAreInterpolatedLinearly) {
    CubeLUT cube;
    ASSERT_EQ(ReadInto(cube, "LUT_1D_SIZE 3\n0 0 0\n1 1 1\n0 0 0\n"), (Reading{0, 0}));
    // Up to the middle at 127.5 with slope 2, then down: 2 * 127 = 254, 510 - 2 * 128 = 254.
    for (ULong32 v = 0; v < 256; ++v) {
        const ULong32 expected = v < 128 ? 2 * v : 510 - 2 * v;
        EXPECT_EQ(Map(cube, v * 0x010101U), expected * 0x010101U) << v;
    }
}

TEST(CubeLUT, StretchesItsDomain) {
    CubeLUT cube;
    ASSERT_EQ(ReadInto(cube, "DOMAIN_MIN 0.2 0.2 0.2\nDOMAIN_MAX 0.6 0.6 0.6\nLUT_1D_SIZE 2\n0 0 0\n1 1 1\n"),
              (Reading{0, 0}));
    // 0.2 is 51, 0.6 is 153: (v - 51) * 2.5, limited.
    EXPECT_EQ(Map(cube, 0x00000033U), 0U);
    EXPECT_EQ(Map(cube, 0x00000000U), 0U);
    EXPECT_EQ(Map(cube, 0x00000099U), 0x000000FFU);
    EXPECT_EQ(Map(cube, 0x000000FFU), 0x000000FFU);
    EXPECT_EQ(Map(cube, 0x00000035U), 5U);
    EXPECT_EQ(Map(cube, 0x00000065U), 125U);
}

TEST(CubeLUT, DomainsMayDifferByChannel) {
    CubeLUT cube;
    ASSERT_EQ(ReadInto(cube, "DOMAIN_MIN 0 -1 0.2\nDOMAIN_MAX 0.5 1 1.2\nLUT_3D_SIZE 2\n" + kRows8),
              (Reading{0, 0}));
    // Red twice, green a half from the middle on, blue less 51: 60 * 2, (60 + 255) / 2 upwards, 60 - 51.
    EXPECT_EQ(Map(cube, 0x003C3C3CU), 0x00789E09U);
}

TEST(CubeLUT, LimitsResults) {
    CubeLUT cube;
    ASSERT_EQ(ReadInto(cube, "LUT_1D_SIZE 2\n-1 -1 -1\n2 2 2\n"), (Reading{0, 0}));
    // -255 + 3 v
    for (ULong32 v = 0; v < 256; ++v) {
        const int expected = std::clamp(3 * static_cast<int>(v) - 255, 0, 255);
        EXPECT_EQ(Map(cube, v), static_cast<ULong32>(expected)) << v;
    }
    EXPECT_EQ(Map(cube, 0x00AA0055U), 0x00FF0000U);
}

TEST(CubeLUT, LatticesOfTheIdentityAreTheIdentity) {
    for (const int side : {2, 3, 5, 9, 16, 17, 32, 33, 64}) {
        std::string text = "LUT_3D_SIZE " + std::to_string(side) + "\n";
        std::vector<std::string> value;
        for (int i = 0; i < side; ++i) {
            value.push_back(std::to_string(static_cast<double>(i) / (side - 1)));
        }
        for (int b = 0; b < side; ++b) {
            for (int g = 0; g < side; ++g) {
                for (int r = 0; r < side; ++r) {
                    text += value[static_cast<std::size_t>(r)] + ' ' + value[static_cast<std::size_t>(g)] +
                            ' ' + value[static_cast<std::size_t>(b)] + '\n';
                }
            }
        }
        CubeLUT cube;
        ASSERT_EQ(ReadInto(cube, text), (Reading{0, 0}));
        std::mt19937 random(static_cast<unsigned>(side));
        std::vector<ULong32> in(5000), out(5000);
        for (ULong32& colour : in) {
            colour = static_cast<ULong32>(random()) & 0x00FFFFFFU;
        }
        in[0] = 0;
        in[1] = 0x00FFFFFFU;
        ASSERT_EQ(cube.Do(in.data(), out.data(), 5000, 1, 0, 0, 0), 0);
        EXPECT_EQ(in, out) << side;
    }
}

/// Tetrahedral interpolation in double precision, with nothing rounded but the table's own single precision.
class Lattice {
public:
    Lattice(std::mt19937& random, int newSide, double least, double most) : side(newSide) {
        std::uniform_real_distribution<double> value(least, most);
        for (int i = 0; i < side * side * side * 3; ++i) {
            values.push_back(static_cast<float>(value(random)));
        }
    }

    std::string Text() const {
        std::string text = "LUT_3D_SIZE " + std::to_string(side) + "\n";
        char row[100];
        for (std::size_t i = 0; i < values.size(); i += 3) {
            const int length = std::snprintf(row, sizeof row, "%.9g %.9g %.9g\n", double{values[i]},
                                             double{values[i + 1]}, double{values[i + 2]});
            text.append(row, static_cast<std::size_t>(length));
        }
        return text;
    }

    /// The exact result of a channel, 0 being red, unrounded.
    double At(ULong32 colour, int channel) const {
        struct Axis {
            double fraction;
            int step;
        };
        std::vector<Axis> axes;
        int at = 0;
        for (int i = 0; i < 3; ++i) {
            const int v = static_cast<int>(colour >> (16 - 8 * i) & 255U);
            const int step = i == 0 ? 1 : (i == 1 ? side : side * side);
            at += v * (side - 1) / 255 * step;
            axes.push_back({v * (side - 1) % 255 / 255.0, step});
        }
        std::stable_sort(axes.begin(), axes.end(),
                         [](const Axis& a, const Axis& b) { return a.fraction > b.fraction; });
        double sum = (1 - axes[0].fraction) * Value(at, channel);
        for (std::size_t i = 0; i < 3; ++i) {
            at += axes[i].step;
            const double weight = axes[i].fraction - (i < 2 ? axes[i + 1].fraction : 0.0);
            if (weight > 0) {
                sum += weight * Value(at, channel);
            }
        }
        return sum * 255;
    }

private:
    double Value(int at, int channel) const {
        return double{values.at(static_cast<std::size_t>(3 * at + channel))};
    }

    int side;
    std::vector<float> values;
};

TEST(CubeLUT, InterpolatesWithinTetrahedraOnAllTargets) {
    std::mt19937 random(99);
    struct {
        int side;
        double least, most;
        double error;  // half a step of a value, of which there are 2^15, 2^14 or 2^10 from 0 to 1
    } const cases[] = {{2, 0, 1, 255.0 / 65536},  {4, 0, 1, 255.0 / 65536},    {17, -0.4, 1.4, 255.0 / 65536},
                       {33, 0, 1, 255.0 / 65536}, {7, -1.4, 2, 255.0 / 32768}, {33, -30, 30, 255.0 / 2048}};
    for (const auto& each : cases) {
        const Lattice model(random, each.side, each.least, each.most);
        CubeLUT cube;
        ASSERT_EQ(ReadInto(cube, model.Text()), (Reading{0, 0}));
        std::vector<ULong32> in(20011), out(in.size());
        for (ULong32& colour : in) {
            colour = static_cast<ULong32>(random());
            // Equal fractions, and the ends of the axes.
            if (random() % 4 == 0) {
                colour = (colour & 255U) * 0x00010101U;
            }
            if (random() % 4 == 0) {
                colour |= 0xFFU << 8 * (random() % 3);
            }
        }
        for (std::size_t target = 0; target < simd::kTargetCount; ++target) {
            if (!simd::IsTargetAvailable(static_cast<simd::Target>(target))) {
                continue;
            }
            const simd::ScopedTarget scoped(static_cast<simd::Target>(target));
            ASSERT_EQ(cube.Do(in.data(), out.data(), static_cast<ULong32>(in.size()), 1, 0, 0, 0), 0);
            for (std::size_t i = 0; i < in.size(); ++i) {
                ASSERT_EQ(out[i] >> 24, 0U);
                for (int channel = 0; channel < 3; ++channel) {
                    const double exact = std::clamp(model.At(in[i], channel), 0.0, 255.0);
                    const double got = out[i] >> (16 - 8 * channel) & 255U;
                    ASSERT_LE(std::abs(got - exact), 0.5 + each.error + 1e-9)
                        << each.side << " a side, colour " << std::hex << in[i] << ", channel " << channel;
                }
            }
        }
    }
}

TEST(CubeLUT, KeepsToItsFormula) {
    // Side 2: p = 64 v, so f = 64 v up to 254, and cell 1 at 255. Red 200, green 100, blue 50 of the corners
    // below: (16320 - 12800) e0 + (12800 - 6400) e1 + (6400 - 3200) e2 + 3200 e3.
    CubeLUT cube;
    ASSERT_EQ(
        ReadInto(cube,
                 "LUT_3D_SIZE 2\n0.1 0 0\n0.3 0 0\n0.9 0 0\n0.7 0 0\n0.8 0 0\n0.2 0 0\n0.6 0 0\n0.5 0 0\n"),
        (Reading{0, 0}));
    // e0 = 0.1 * 32768 = 3276.8, so 3277; red: 9830; red and green: 22938; all: 16384.
    // 3520 * 3277 + 6400 * 9830 + 3200 * 22938 + 3200 * 16384 = 200277440, and (that + 2^20) / 2^21
    // is 95.999.
    constexpr long kSum = 3520L * 3277 + 6400L * 9830 + 3200L * 22938 + 3200L * 16384;
    static_assert((kSum + (1L << 20)) >> 21 == 95);
    EXPECT_EQ(Map(cube, 0x00C86432U), 0x005F0000U);
}

// ---- Views --------------------------------------------------------------------------------------------

Image Picture(ULong32 width, ULong32 height, AggregateChannelSamplingEnum sampling,
              ColorSpaceEnum space = kRGB, OriginEnum origin = kTopLeft) {
    return Image(ImageDescriptor(width, height, space, sampling, space == kYCrCb ? kCbYCrA : kBGRA, kPacked,
                                 kProgressive, kNoFields, origin, 1.0F, kUnshaped),
                 64);
}

unsigned char* At(Image& image, ULong32 x, ULong32 y) {
    const std::size_t bytes = image.GetChannelSampling() == k4444 ? 4 : 3;
    return static_cast<unsigned char*>(image.GetMemoryPointer(0)) + std::size_t{y} * image.GetPitch(0) +
           bytes * x;
}

void FillWithNoise(Image& image, unsigned seed) {
    std::mt19937 random(seed);
    auto* const memory = static_cast<unsigned char*>(image.GetMemoryPointer(0));
    for (ULong32 i = 0; i < image.GetMemorySize(0); ++i) {
        memory[i] = static_cast<unsigned char>(random() >> 9);
    }
}

CubeLUT SomeTable() {
    std::mt19937 random(5);
    CubeLUT cube;
    EXPECT_EQ(ReadInto(cube, Lattice(random, 5, 0, 1).Text()), (Reading{0, 0}));
    return cube;
}

ULong32 ColourAt(Image& image, ULong32 x, ULong32 y) {
    const unsigned char* const pixel = At(image, x, y);
    return static_cast<ULong32>(pixel[0] | pixel[1] << 8 | pixel[2] << 16);
}

TEST(CubeLUT, MapsViewsAndKeepsAlpha) {
    const CubeLUT tables[] = {CubeLUT(), SomeTable()};
    for (const CubeLUT& cube : tables) {
        for (const AggregateChannelSamplingEnum sampling : {k4444, k444}) {
            Image in = Picture(45, 6, sampling), out = Picture(40, 9, sampling);
            FillWithNoise(in, 1);
            FillWithNoise(out, 2);
            Image before = Picture(40, 9, sampling);
            FillWithNoise(before, 2);
            ImageView source(&in), destination(&out);
            ASSERT_EQ(cube.Do(source, destination), 0);
            for (ULong32 y = 0; y < 9; ++y) {
                for (ULong32 x = 0; x < 40; ++x) {
                    const ULong32 expected = y < 6 ? Map(cube, ColourAt(in, x, y)) : ColourAt(before, x, y);
                    ASSERT_EQ(ColourAt(out, x, y), expected) << x << ", " << y;
                    if (sampling == k4444) {
                        ASSERT_EQ(At(out, x, y)[3], At(y < 6 ? in : before, x, y)[3]);
                    }
                }
            }
        }
    }
}

TEST(CubeLUT, MapsRegionsAndFieldsInPlace) {
    const CubeLUT cube = SomeTable();
    for (const OriginEnum origin : {kTopLeft, kBottomLeft}) {
        for (const AggregateChannelSamplingEnum sampling : {k4444, k444}) {
            Image image = Picture(30, 12, sampling, kRGB, origin);
            Image before = Picture(30, 12, sampling, kRGB, origin);
            FillWithNoise(image, 3);
            FillWithNoise(before, 3);
            const WhichFieldEnum field = origin == kTopLeft ? kLowerField : kFrame;
            ImageView view(&image, Rectangle(5, 2, 20, 6), field);
            ASSERT_EQ(cube.Do(view, view, kFlp), 0);
            for (ULong32 line = 0; line < 12; ++line) {
                // `line` counts from the top of the picture.
                const ULong32 y = origin == kTopLeft ? line : 11 - line;
                for (ULong32 x = 0; x < 30; ++x) {
                    const bool isSelected =
                        x >= 5 && x < 25 && line >= 2 && line < 8 && (field == kFrame || line % 2 == 1);
                    const ULong32 colour = ColourAt(before, x, y);
                    ASSERT_EQ(ColourAt(image, x, y), isSelected ? Map(cube, colour) : colour)
                        << x << ", " << y;
                }
            }
        }
    }
}

TEST(CubeLUT, RefusesOtherFormats) {
    const CubeLUT cube = SomeTable();
    Image rgb32 = Picture(8, 4, k4444), rgb24 = Picture(8, 4, k444);
    ImageDescriptor deepFormat = *rgb32.GetImageDescriptor();
    deepFormat.aggregateBits = k16Bits;
    Image others[] = {Picture(8, 4, k4444, kYCrCb),     Picture(8, 4, k444, kYCrCb),
                      Picture(8, 4, k422, kYCrCb),      Picture(8, 4, k4224, kYCrCb),
                      Picture(8, 4, k4444, kAlphaOnly), Image(deepFormat, 64)};
    for (Image& good : {std::ref(rgb32), std::ref(rgb24)}) {
        ImageView goodView(&good);
        for (Image& other : others) {
            ImageView otherView(&other);
            EXPECT_EQ(cube.Do(goodView, otherView), 4);
            EXPECT_EQ(cube.Do(otherView, goodView), 4);
            EXPECT_EQ(cube.Do(otherView, otherView), 4);
        }
    }
    ImageView view32(&rgb32), view24(&rgb24);
    EXPECT_EQ(cube.Do(view32, view24), 4);
    EXPECT_EQ(cube.Do(view24, view32), 4);
}

TEST(CubeLUT, RefusesViewsOnNothing) {
    const CubeLUT cube = SomeTable();
    Image image = Picture(8, 4, k4444);
    Image planar(ImageDescriptor(8, 4, kRGB, k4444, kBGRA, kPlanar, kProgressive, kNoFields, kTopLeft, 1.0F,
                                 kUnshaped),
                 64);
    ImageView view(&image), nothing, withoutMemory(&planar);
    EXPECT_EQ(cube.Do(nothing, view), 1);
    EXPECT_EQ(cube.Do(view, nothing), 1);
    EXPECT_EQ(cube.Do(view, withoutMemory), 4);
    Image bottomLeft = Picture(8, 4, k4444, kRGB, kBottomLeft);
    ImageView field(&bottomLeft, Rectangle(0, 0, 8, 4), kLowerField);
    EXPECT_EQ(cube.Do(field, view), 98);
    EXPECT_EQ(cube.Do(view, field), 98);
}

TEST(CubeLUT, MapsWithoutAllocating) {
    CubeLUT curves;
    ASSERT_EQ(ReadInto(curves, "LUT_1D_SIZE 2\n1 1 1\n0 0 0\n"), (Reading{0, 0}));
    const CubeLUT tables[] = {CubeLUT(), curves, SomeTable()};
    for (const AggregateChannelSamplingEnum sampling : {k4444, k444}) {
        Image image = Picture(300, 5, sampling);
        ImageView view(&image);
        for (const CubeLUT& table : tables) {
            const long before = test_support::Allocations();
            const Long32 status = table.Do(view, view);
            EXPECT_EQ(test_support::Allocations(), before);
            EXPECT_EQ(status, 0);
        }
    }
}

}  // namespace
