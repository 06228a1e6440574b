#include <TesselU/convert/ConversionMatrix.h>
#include <TesselU/convert/ConverterFormat.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "convert/Pairs.h"

namespace {

using namespace Zan;

using Table = std::vector<std::vector<double>>;

struct Kind {
    int in4096ths[4][4];
    double before[4];
    double after[4];
};

constexpr Kind kIdentity = {
    {{4096, 0, 0, 0}, {0, 4096, 0, 0}, {0, 0, 4096, 0}, {0, 0, 0, 4096}}, {0, 0, 0, 0}, {0, 0, 0, 0}};
constexpr Kind kKinds[5] = {
    kIdentity,
    {{{7096, 4096, 0, 0}, {-1378, 4096, -2860, 0}, {0, 4096, 5614, 0}, {0, 0, 0, 4096}},
     {-128, -16, -128, 0},
     {16, 16, 16, 0}},
    {{{2095, -1388, -707, 0}, {467, 2404, 1225, 0}, {-341, -1754, 2095, 0}, {0, 0, 0, 4096}},
     {-16, -16, -16, 0},
     {128, 16, 128, 0}},
    {{{1799, -1192, -607, 0}, {401, 2065, 1052, 0}, {-293, -1506, 1799, 0}, {0, 0, 0, 4096}},
     {0, 0, 0, 0},
     {128, 16, 128, 0}},
    {{{8263, 4769, 0, 0}, {-1605, 4769, -3330, 0}, {0, 4769, 6537, 0}, {0, 0, 0, 4096}},
     {-128, -16, -128, 0},
     {0, 0, 0, 0}},
};

// Pairs by the kind of their default; every other pair is the identity.
using Pairs = std::vector<std::pair<int, std::set<int>>>;
const Pairs kPairsOfKind[5] = {
    {},
    {{1, {4, 5}}, {2, {4, 5}}, {6, {5}}, {8, {5}}, {9, {5}}, {11, {5}}, {12, {5}}, {16, {5}}, {17, {5}}},
    {{4, {1}}, {5, {1, 2, 9, 12, 16, 17}}},
    {{0, {1, 2, 6, 8, 9, 12, 16, 17}}, {3, {1}}, {10, {2, 11}}, {14, {2, 16, 17}}},
    {{1, {0, 3}},
     {2, {0, 10, 14}},
     {6, {0}},
     {8, {0}},
     {9, {0}},
     {11, {0, 10}},
     {16, {0, 14}},
     {17, {0, 10, 14}}},
};

int KindOf(int source, int destination) {
    for (int kind = 1; kind < 5; ++kind) {
        for (const auto& [from, to] : kPairsOfKind[kind]) {
            if (from == source && to.count(destination) != 0) {
                return kind;
            }
        }
    }
    return 0;
}

void ExpectKind(const Kind& kind, const double* matrix, const double* offsets) {
    for (std::size_t i = 0; i < 4; ++i) {
        for (std::size_t j = 0; j < 4; ++j) {
            EXPECT_EQ(matrix[4 * i + j], kind.in4096ths[i][j] / 4096.0) << i << ", " << j;
        }
        EXPECT_EQ(offsets[i], kind.before[i]) << i;
        EXPECT_EQ(offsets[4 + i], kind.after[i]) << i;
    }
}

void ExpectKind(const Kind& kind, const Table& matrix, const Table& offsets) {
    ASSERT_EQ(matrix.size(), 4U);
    ASSERT_EQ(offsets.size(), 2U);
    std::vector<double> flatMatrix, flatOffsets;
    for (const auto& row : matrix) {
        ASSERT_EQ(row.size(), 4U);
        flatMatrix.insert(flatMatrix.end(), row.begin(), row.end());
    }
    for (const auto& row : offsets) {
        ASSERT_EQ(row.size(), 4U);
        flatOffsets.insert(flatOffsets.end(), row.begin(), row.end());
    }
    ExpectKind(kind, flatMatrix.data(), flatOffsets.data());
}

TEST(ConversionMatrix, KindsHaveTheirNumbers) {
    EXPECT_EQ(int{kKindIdentity}, 0);
    EXPECT_EQ(int{kKindYCrCbToStudioRGB}, 1);
    EXPECT_EQ(int{kKindStudioRGBToYCrCb}, 2);
    EXPECT_EQ(int{kKindFullRGBToYCrCb}, 3);
    EXPECT_EQ(int{kKindYCrCbToFullRGB}, 4);
}

TEST(ConversionMatrix, EveryKindIn4096ths) {
    for (int kind = 0; kind < 5; ++kind) {
        SCOPED_TRACE(kind);
        Table matrix, offsets;
        MakeConversionMatrix(matrix, offsets, static_cast<ConversionKind>(kind));
        ExpectKind(kKinds[kind], matrix, offsets);
    }
}

// From the luma weights: the base matrices, scaled from the one range of levels to the other and rounded to
// the nearest 4096th, halves away from zero.
TEST(ConversionMatrix, EveryKindFromItsDerivation) {
    using Rows = std::array<std::array<double, 3>, 3>;
    const Rows toYCrCb = {{{0.5, -0.3312641083521445, -0.16873589164785555},
                           {0.114, 0.587, 0.299},
                           {-0.08131241084165479, -0.4186875891583452, 0.5}}};
    const Rows toRgb = {{{1.772, 1, 0}, {-0.3441136286201022, 1, -0.71413628620102}, {0, 1, 1.402}}};
    const double ycc[3] = {240 - 16, 235 - 16, 240 - 16};
    const double rangeOfRgb[5] = {0, 235 - 16, 235 - 16, 255, 255};
    for (int kind = 1; kind < 5; ++kind) {
        const bool leadsToRgb = kind == 1 || kind == 4;
        Table matrix, offsets;
        MakeConversionMatrix(matrix, offsets, static_cast<ConversionKind>(kind));
        for (std::size_t i = 0; i < 3; ++i) {
            for (std::size_t j = 0; j < 3; ++j) {
                const double entry = leadsToRgb ? toRgb[i][j] * rangeOfRgb[kind] / ycc[j]
                                                : toYCrCb[i][j] * ycc[i] / rangeOfRgb[kind];
                EXPECT_EQ(matrix[i][j] * 4096, std::round(entry * 4096)) << kind << ": " << i << ", " << j;
            }
        }
    }
}

TEST(ConversionMatrix, OtherKindsAreTheIdentity) {
    for (const int kind : {-1, 5, 6, 100, -2147483647}) {
        SCOPED_TRACE(kind);
        Table matrix, offsets;
        MakeConversionMatrix(matrix, offsets, static_cast<ConversionKind>(kind));
        ExpectKind(kIdentity, matrix, offsets);
    }
}

TEST(ConversionMatrix, TablesOfAnySizeAreReplaced) {
    Table matrix(7, std::vector<double>(9, 5.0)), offsets(1);
    MakeConversionMatrix(matrix, offsets, kKindYCrCbToFullRGB);
    ExpectKind(kKinds[4], matrix, offsets);
}

TEST(ConversionMatrix, NeutralStaysNeutral) {
    // Chroma rows sum to nothing, so grey has no chroma; and grey comes back as grey.
    for (const int kind : {2, 3}) {
        for (const std::size_t row : {0U, 2U}) {
            const auto& entries = kKinds[kind].in4096ths[row];
            EXPECT_EQ(entries[0] + entries[1] + entries[2], 0);
            Table matrix, offsets;
            MakeConversionMatrix(matrix, offsets, static_cast<ConversionKind>(kind));
            EXPECT_EQ(matrix[row][0] + matrix[row][1] + matrix[row][2], 0);
        }
    }
}

TEST(ConversionMatrix, DefaultOfEveryPair) {
    int withMatrix = 0;
    for (int source = 0; source <= 27; ++source) {
        for (int destination = 0; destination <= 27; ++destination) {
            SCOPED_TRACE(std::to_string(source) + " to " + std::to_string(destination));
            // Every value is written.
            double matrix[16], offsets[8];
            std::fill(std::begin(matrix), std::end(matrix), -77.0);
            std::fill(std::begin(offsets), std::end(offsets), -77.0);
            DefaultMatrixForFormats(matrix, offsets, static_cast<ULong32>(source),
                                    static_cast<ULong32>(destination));
            const int kind = KindOf(source, destination);
            withMatrix += kind != 0;
            ExpectKind(kKinds[kind], matrix, offsets);
        }
    }
    // Rows of kind 1: 2 + 2 + 7; of kind 2: 1 + 6; of kind 3: 8 + 1 + 2 + 3; of kind 4: 2 + 3 + 3 + 2 + 2
    // + 3.
    EXPECT_EQ(withMatrix, 11 + 7 + 14 + 15);
    double matrix[16], offsets[8];
    DefaultMatrixForFormats(matrix, offsets, kFmtUnknown, kFmtRGB32);
    ExpectKind(kIdentity, matrix, offsets);
    DefaultMatrixForFormats(matrix, offsets, kFmtRGB32, 0xFFFFFFFFU);
    ExpectKind(kIdentity, matrix, offsets);
}

TEST(ConversionMatrix, FloatPathHasThreePairsMore) {
    const std::set<std::pair<int, int>> additional = {{0, 13}, {0, 23}, {14, 23}};
    for (int source = 0; source < 26; ++source) {
        for (int destination = 0; destination < 26; ++destination) {
            const int expected =
                additional.count({source, destination}) != 0 ? 3 : KindOf(source, destination);
            const PairRecord* pair =
                FindPair(static_cast<ConverterFormat>(source), static_cast<ConverterFormat>(destination));
            EXPECT_EQ(pair != nullptr ? pair->floatKind : kKindIdentity,
                      static_cast<ConversionKind>(expected))
                << source << " to " << destination;
        }
    }
}

}  // namespace
