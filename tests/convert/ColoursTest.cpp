// Saturated colours and greys through every pair with a matrix, by the formula in whole numbers; and from RGB
// to YCrCb and back.

#include <algorithm>
#include <string>

#include "convert/ModelRuns.h"

namespace {

using namespace Zan;
using namespace convert_test;
using namespace convert_model;

// ---- Every pair with a matrix ----------------------------------------------------------------------------

struct MatrixPair {
    Path path;
    int source, destination;
};

std::string NameOfPair(const MatrixPair& pair) {
    return std::string(NameOf(pair.path)) + '_' + NameOf(pair.source) + "_to_" + NameOf(pair.destination);
}

std::vector<MatrixPair> AllMatrixPairs() {
    std::vector<MatrixPair> all;
    for (const Path path : {Path::kInteger, Path::kFloat}) {
        for (const auto& [source, destination] : PairsOf(path)) {
            if (NeedsMatrix(source, destination)) {
                all.push_back({path, source, destination});
            }
        }
    }
    return all;
}

// The ends of a byte, black and white of video, and all greys.
std::vector<Pixel> ColoursOf(int format) {
    const std::vector<int> levels =
        IsRgb(format) ? std::vector<int>{0, 16, 235, 255} : std::vector<int>{0, 16, 128, 235, 240, 255};
    std::vector<Pixel> colours;
    for (const int first : levels) {
        for (const int second : levels) {
            for (const int third : levels) {
                colours.push_back({first, second, third, 255});
            }
        }
    }
    for (int grey = 0; grey < 256; ++grey) {
        colours.push_back(IsRgb(format) ? Pixel{grey, grey, grey, 255} : Pixel{128, grey, 128, 255});
    }
    return colours;
}

// Row after row in 4096ths, offsets before and after.
struct Kind {
    int m[3][3];
    int before[3], after[3];
};
constexpr Kind kKinds[5] = {
    {},
    {{{7096, 4096, 0}, {-1378, 4096, -2860}, {0, 4096, 5614}}, {-128, -16, -128}, {16, 16, 16}},
    {{{2095, -1388, -707}, {467, 2404, 1225}, {-341, -1754, 2095}}, {-16, -16, -16}, {128, 16, 128}},
    {{{1799, -1192, -607}, {401, 2065, 1052}, {-293, -1506, 1799}}, {0, 0, 0}, {128, 16, 128}},
    {{{8263, 4769, 0}, {-1605, 4769, -3330}, {0, 4769, 6537}}, {-128, -16, -128}, {0, 0, 0}},
};

int Within(int value) {
    return std::clamp(value, 0, 255);
}

// Sums of 4096ths, cut once: toward zero after they are limited. Sums of class A and B are cut downwards,
// which is the same: A in 16ths first, and limited to 16 bits there, which no colour reaches.
int CutOnce(const Kind& kind, std::size_t i, const Pixel& in) {
    int sum = kind.after[i] * 4096;
    for (std::size_t j = 0; j < 3; ++j) {
        sum += kind.m[i][j] * (in[j] + kind.before[j]);
    }
    return Within(sum >> 12);
}

// Class C cuts every product, in 16ths: 8192ths of 128ths are 2^-20, high halves 2^-4.
int CutThrice(const Kind& kind, std::size_t i, const Pixel& in) {
    int sum = kind.after[i] * 16;
    for (std::size_t j = 0; j < 3; ++j) {
        sum += (2 * kind.m[i][j] * 128 * (in[j] + kind.before[j])) >> 16;
    }
    return Within(sum >> 4);
}

class Colours : public testing::TestWithParam<MatrixPair> {};

// Each colour in four lines, of groups and of columns beyond them; alpha is full, so that shaping changes
// nothing.
TEST_P(Colours, AreThoseOfTheFormula) {
    const auto [path, from, to] = GetParam();
    const std::vector<Pixel> colours = ColoursOf(from);
    constexpr int kWidth = 22;
    const int height = 4 * static_cast<int>(colours.size());
    ConvertedPicture source(static_cast<ConverterFormat>(from), kWidth, static_cast<std::size_t>(height),
                            {16, 0, false});
    ConvertedPicture destination(static_cast<ConverterFormat>(to), kWidth, static_cast<std::size_t>(height),
                                 {16, 0, false});
    const auto rows = static_cast<std::size_t>(height);
    ImageView fromView = source.View(kWidth, rows), toView = destination.View(kWidth, rows);
    const Side in = SideOf(source, fromView), out = SideOf(destination, toView);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < kWidth; ++x) {
            for (std::size_t i = 0; i < (HasAlpha(from) ? 4U : 3U); ++i) {
                Store(in, i, x, y, colours[static_cast<std::size_t>(y / 4)][i]);
            }
        }
    }
    ColorSpaceConverter converter;
    ASSERT_EQ(
        converter.Do(fromView, toView, static_cast<ProcessingStyleEnum>(StyleOf(path)), nullptr, nullptr), 0);

    const int number = path == Path::kFloat ? KindInDoubles(from, to) : KindOf(from, to);
    ASSERT_NE(number, 0);
    const Kind& kind = kKinds[number];
    const int whole = kWidth / GroupOf(from, to, true) * GroupOf(from, to, true);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < kWidth; ++x) {
            Pixel colour = colours[static_cast<std::size_t>(y / 4)];
            if (IsPlusPair(from, to)) {
                colour = LimitedToStudio(colour);
            }
            const Pixel found = Load(out, x, y, 0);
            for (std::size_t i = 0; i < 3; ++i) {
                const bool inThrees = path == Path::kInteger && IsClassC(from, to) && x < whole;
                ASSERT_EQ(found[i], inThrees ? CutThrice(kind, i, colour) : CutOnce(kind, i, colour))
                    << "sample " << i << " in column " << x << " of " << colour[0] << ", " << colour[1]
                    << ", " << colour[2];
            }
            if (HasAlpha(to)) {
                // Planes leave the offset, which is 0; all else is full.
                ASSERT_EQ(found[3], OneOf(from, {6, 8, 9}) ? 0 : 255);
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Pairs, Colours, testing::ValuesIn(AllMatrixPairs()),
                         [](const auto& each) { return NameOfPair(each.param); });

// ---- To YCrCb and back -----------------------------------------------------------------------------------

// RGB at 52 levels a channel, two columns of each colour.
constexpr int kLevels = 52;
constexpr std::size_t kColumns = 2 * kLevels, kRows = kLevels * kLevels;

struct Errors {
    std::array<int, 3> least = {}, most = {};
};

Errors ErrorsOfRoundTrip(ConverterFormat between, ProcessingStyleEnum style) {
    ConvertedPicture picture(kFmtRGB32, kColumns, kRows), middle(between, kColumns, kRows),
        again(kFmtRGB32, kColumns, kRows);
    for (std::size_t y = 0; y < kRows; ++y) {
        for (std::size_t x = 0; x < kColumns; ++x) {
            const std::size_t levels[] = {x / 2, y % kLevels, y / kLevels, 51};
            for (std::size_t i = 0; i < 4; ++i) {
                picture.At(0, 4 * x + i, y) = static_cast<Byte>(5 * levels[i]);
            }
        }
    }
    ImageView from(picture), through(middle), to(again);
    ColorSpaceConverter converter;
    EXPECT_EQ(converter.Do(from, through, style, nullptr, nullptr), 0);
    EXPECT_EQ(converter.Do(through, to, style, nullptr, nullptr), 0);
    Errors errors;
    for (std::size_t y = 0; y < kRows; ++y) {
        for (std::size_t x = 0; x < kColumns; ++x) {
            for (std::size_t i = 0; i < 3; ++i) {
                const int error = again.At(0, 4 * x + i, y) - picture.At(0, 4 * x + i, y);
                errors.least[i] = std::min(errors.least[i], error);
                errors.most[i] = std::max(errors.most[i], error);
            }
        }
    }
    return errors;
}

// Y, Cb and Cr are cut downwards, so each is up to 1 too low; on the way back that counts 1.164 for
// luma, 2.017 for Cb in blue, 1.596 for Cr in red, and -0.392 and -0.813 for the two in green; then the
// result is cut, too.
//   blue:  above -(1.164 + 2.017 + 1) = -4.18    red: above -(1.164 + 1.596 + 1) = -3.76    both at most 0
//   green: above -(1.164 + 1) = -2.16 and below 0.392 + 0.813 = 1.21
// Coefficients of whole 4096ths bring up to 0.5 * 3 * 255 / 4096 = 0.09 into each of Y, Cb, Cr, thus 0.3 into
// blue, 0.26 into red and 0.22 into green, and 0.5 * (219 + 2 * 112) / 4096 = 0.05 on the way back. Whole
// numbers above -4.53, -4.07, -2.43 are from -4, -4, -2; those below 0.35, 0.31, 1.48 up to 0, 0, 1. Limits
// to a byte only bring a result nearer.
constexpr std::array<int, 3> kLeast = {-4, -2, -4}, kMost = {0, 1, 0};

void ExpectRoundTrip(const char* name, ConverterFormat between, ProcessingStyleEnum style) {
    const Errors errors = ErrorsOfRoundTrip(between, style);
    static constexpr std::array<const char*, 3> kSamples = {"blue", "green", "red"};
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_GE(errors.least[i], kLeast[i]) << kSamples[i];
        EXPECT_LE(errors.most[i], kMost[i]) << kSamples[i];
        const std::string range = std::to_string(errors.least[i]) + " to " + std::to_string(errors.most[i]);
        testing::Test::RecordProperty(std::string(name) + '_' + kSamples[i], range);
        std::printf("%s, %s: off by %s\n", name, kSamples[i], range.c_str());
    }
}

TEST(RoundTrips, ThroughFourSamplesAPixel) {
    ExpectRoundTrip("integer_4444", kFmtCbYCrA, kInt_MMXorSIMD);
    ExpectRoundTrip("doubles_4444", kFmtCbYCrA, kFlp);
}

// Pixels are equal in pairs, so that a chroma sample for two loses nothing more.
TEST(RoundTrips, ThroughPairs) {
    ExpectRoundTrip("integer_422", kFmtCbYCrY, kInt_MMXorSIMD);
    ExpectRoundTrip("doubles_422", kFmtCbYCrY, kFlp);
}

}  // namespace
