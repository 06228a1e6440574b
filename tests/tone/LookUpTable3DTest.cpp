#include <TesselU/tone/LookUpTable3D.h>
#include <gtest/gtest.h>

#include <vector>

namespace {

using Zan::LookUpTable3D;
using Zan::ULong32;

constexpr ULong32 kUntouched = 0xA5A5A5A5U;

TEST(LookUpTable3D, ClearsTheTopByteAndKeepsTheColour) {
    std::vector<ULong32> in = {0xFF000000U, 0xFFFFFFFFU, 0x80123456U, 0x00654321U, 0x7F0000FFU};
    std::vector<ULong32> out(in.size(), kUntouched);
    EXPECT_EQ(LookUpTable3D().Do(in.data(), out.data(), 5, 1, 20, 20, 0), 0);
    EXPECT_EQ(out, (std::vector<ULong32>{0, 0x00FFFFFFU, 0x00123456U, 0x00654321U, 0x000000FFU}));
}

TEST(LookUpTable3D, KeepsEveryColour) {
    constexpr ULong32 kRow = 0x10000;
    std::vector<ULong32> in(kRow), out(kRow), expected(kRow);
    for (ULong32 high = 0; high < 256; ++high) {
        for (ULong32 low = 0; low < kRow; ++low) {
            expected[low] = high << 16 | low;
            in[low] = expected[low] | (low ^ high) << 24;
        }
        ASSERT_EQ(LookUpTable3D().Do(in.data(), out.data(), kRow, 1, 0, 0, 1), 0);
        ASSERT_EQ(out, expected) << high;
    }
}

TEST(LookUpTable3D, WorksInPlace) {
    std::vector<ULong32> pixels(37, 0xFF010203U);
    EXPECT_EQ(LookUpTable3D().Do(pixels.data(), pixels.data(), 37, 1, 0, 0, 2), 0);
    EXPECT_EQ(pixels, std::vector<ULong32>(37, 0x00010203U));
}

TEST(LookUpTable3D, IgnoresTheCodePath) {
    ULong32 in = 0xFF000001U;
    for (const unsigned path : {0U, 1U, 2U, 3U, 0xFFFFFFFFU}) {
        ULong32 out = kUntouched;
        EXPECT_EQ(LookUpTable3D().Do(&in, &out, 1, 1, 4, 4, path), 0);
        EXPECT_EQ(out, 1U);
    }
}

TEST(LookUpTable3D, RefusesNegativeSizes) {
    ULong32 in = 1, out = kUntouched;
    for (const ULong32 size : {0xFFFFFFFFU, 0x80000001U}) {
        EXPECT_EQ(LookUpTable3D().Do(&in, &out, size, 1, 4, 4, 0), -1);
        EXPECT_EQ(LookUpTable3D().Do(&in, &out, 1, size, 4, 4, 0), -1);
        EXPECT_EQ(LookUpTable3D().Do(&in, &out, 0, size, 4, 4, 0), -1);
        EXPECT_EQ(LookUpTable3D().Do(&in, &out, size, 0, 4, 4, 0), -1);
    }
    EXPECT_EQ(out, kUntouched);
}

TEST(LookUpTable3D, DoesNothingWithSizesOfNothing) {
    ULong32 in = 1, out = kUntouched;
    for (const ULong32 size : {0U, 0x80000000U}) {
        EXPECT_EQ(LookUpTable3D().Do(&in, &out, size, 1, 4, 4, 0), 0);
        EXPECT_EQ(LookUpTable3D().Do(&in, &out, 1, size, 4, 4, 0), 0);
        EXPECT_EQ(LookUpTable3D().Do(nullptr, nullptr, 1, size, 4, 4, 0), 0);
    }
    EXPECT_EQ(out, kUntouched);
}

TEST(LookUpTable3D, RefusesNull) {
    ULong32 pixel = 1;
    EXPECT_EQ(LookUpTable3D().Do(nullptr, &pixel, 1, 1, 4, 4, 0), 1);
    EXPECT_EQ(LookUpTable3D().Do(&pixel, nullptr, 1, 1, 4, 4, 0), 1);
    EXPECT_EQ(pixel, 1U);
    EXPECT_EQ(LookUpTable3D().Do(nullptr, nullptr, 0xFFFFFFFFU, 1, 4, 4, 0), -1);
}

TEST(LookUpTable3D, StepsByWholeWords) {
    // Pitches of 8 + 3 and 12 + 2 bytes are 8 and 12.
    std::vector<ULong32> in = {0xFF000001U, 0xFF000002U, 0xFF000003U, 0xFF000004U};
    std::vector<ULong32> out(6, kUntouched);
    EXPECT_EQ(LookUpTable3D().Do(in.data(), out.data(), 2, 2, 11, 14, 0), 0);
    EXPECT_EQ(out, (std::vector<ULong32>{1, 2, kUntouched, 3, 4, kUntouched}));
}

TEST(LookUpTable3D, StepsUpwards) {
    // -6 with its low bits cleared is -8.
    std::vector<ULong32> in = {0xFF000001U, 0xFF000002U, 0xFF000003U, 0xFF000004U};
    std::vector<ULong32> out(4, kUntouched);
    EXPECT_EQ(LookUpTable3D().Do(in.data() + 2, out.data(), 2, 2, static_cast<ULong32>(-6), 8, 0), 0);
    EXPECT_EQ(out, (std::vector<ULong32>{3, 4, 1, 2}));
}

TEST(LookUpTable3D, CopiesAreTablesAsWell) {
    LookUpTable3D table;
    LookUpTable3D copy(table);
    copy = table;
    ULong32 in = 0xFFABCDEFU, out = 0;
    EXPECT_EQ(copy.Do(&in, &out, 1, 1, 4, 4, 0), 0);
    EXPECT_EQ(out, 0x00ABCDEFU);
}

}  // namespace
