#ifndef TESSELU_TESTS_KEY_TABLEKEYERS_H
#define TESSELU_TESTS_KEY_TABLEKEYERS_H

#include <gtest/gtest.h>

#include <limits>

// What LinearKeyer and LumaKeyer promise alike of their tables.

template <class Keyer>
void ExpectTable(const Keyer& keyer, int (*entry)(int)) {
    for (int i = 0; i < 256; ++i) {
        EXPECT_EQ(keyer.GetLUT(static_cast<unsigned char>(i)), entry(i)) << i;
    }
}

template <class Keyer>
void TablesOfSet() {
    Keyer keyer;
    ExpectTable(keyer, [](int i) { return i; });
    keyer.SetMMXonlyStyle(true);
    keyer.SetLUT(7, 200);
    EXPECT_EQ(keyer.GetLUT(7), 200);
    EXPECT_EQ(keyer.GetLUT(8), 8);

    // 127.5 + 0.5: one entry, and the first step takes all of it.
    EXPECT_EQ(keyer.Set(0.5, 0, 0, 1, 0, false), 0);
    ExpectTable(keyer, [](int i) { return i == 128 ? 255 : 0; });
    EXPECT_EQ(keyer.Set(0, 1, 0, 1, 0, false), 0);
    ExpectTable(keyer, [](int) { return 255; });

    // L = 128 and steps of a half, rounded: 128, 127.5 -> 128, 127 ...; from 128 down to 0 in 256 steps.
    EXPECT_EQ(keyer.Set(0.5, 0, 1, 0.5, 0, false), 0);
    EXPECT_EQ(keyer.GetLUT(128), 128);
    EXPECT_EQ(keyer.GetLUT(127), 128);
    EXPECT_EQ(keyer.GetLUT(126), 127);
    ExpectTable(keyer, [](int i) { return 128 - (i < 128 ? 128 - i : i - 128) / 2; });

    // A plateau from 51 to 153, and 51 more entries of slope on either side: L = 255, 52 steps.
    EXPECT_EQ(keyer.Set(0.4, 0.2, 0.2, 1, 0, false), 0);
    EXPECT_EQ(keyer.GetLUT(51), 255);
    EXPECT_EQ(keyer.GetLUT(153), 255);
    EXPECT_EQ(keyer.GetLUT(154), 250);  // 255 - 255/52 = 250.096
    EXPECT_EQ(keyer.GetLUT(50), 250);
    EXPECT_EQ(keyer.GetLUT(178), 132);  // 25 steps: 132.40
    EXPECT_EQ(keyer.GetLUT(180), 123);  // 27 steps: 122.60
    EXPECT_EQ(keyer.GetLUT(204), 5);    // one step is left: 4.90
    EXPECT_EQ(keyer.GetLUT(205), 0);
    EXPECT_EQ(keyer.GetLUT(255), 0);
    EXPECT_EQ(keyer.GetLUT(0), 5);

    // A level of 0 leaves a half, which is cut off on the plateau and less than a half beyond it.
    EXPECT_EQ(keyer.Set(0.5, 0.1, 1, 0, 0, false), 0);
    ExpectTable(keyer, [](int) { return 0; });
}

template <class Keyer>
void InversionAndOffset() {
    Keyer keyer;
    // First inverted, then moved by trunc(127.5 + 0.5).
    EXPECT_EQ(keyer.Set(0.5, 0, 0, 1, 0.5, true), 0);
    ExpectTable(keyer, [](int i) { return i == 128 ? 128 : 255; });
    EXPECT_EQ(keyer.Set(0.5, 0, 0, 1, -0.5, true), 0);
    ExpectTable(keyer, [](int i) { return i == 128 ? 0 : 127; });
    EXPECT_EQ(keyer.Set(0.5, 0, 0, 1, 1, false), 0);
    ExpectTable(keyer, [](int) { return 255; });
    EXPECT_EQ(keyer.Set(0.5, 0, 0, 1, -1, true), 0);
    ExpectTable(keyer, [](int) { return 0; });
    // 0.1 * 255 = 25.5 goes away from zero on both sides.
    EXPECT_EQ(keyer.Set(0.5, 0, 0, 1, 0.1, false), 0);
    EXPECT_EQ(keyer.GetLUT(0), 26);
    EXPECT_EQ(keyer.Set(0.5, 0, 0, 1, -0.1, false), 0);
    EXPECT_EQ(keyer.GetLUT(128), 229);
}

template <class Keyer>
void ArgumentsOutOfRange() {
    constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
    constexpr double kEndless = std::numeric_limits<double>::infinity();
    Keyer keyer;
    EXPECT_EQ(keyer.Set(2, 0, 0, 1, 0, false), -1);
    ExpectTable(keyer, [](int i) { return i == 255 ? 255 : 0; });
    EXPECT_EQ(keyer.Set(-0.001, 0, 0, 1, 0, false), -1);
    ExpectTable(keyer, [](int i) { return i == 0 ? 255 : 0; });
    EXPECT_EQ(keyer.Set(0.5, 1.5, 0, 1, 0, false), -2);
    ExpectTable(keyer, [](int) { return 255; });
    EXPECT_EQ(keyer.Set(0.5, 0, -1, 1, 0, false), -3);
    ExpectTable(keyer, [](int i) { return i == 128 ? 255 : 0; });
    EXPECT_EQ(keyer.Set(0.5, 1, 0, 3, 0, false), -4);
    ExpectTable(keyer, [](int) { return 255; });
    EXPECT_EQ(keyer.Set(0.5, 1, 0, 0, 1.5, false), -5);
    ExpectTable(keyer, [](int) { return 255; });
    // The last one wins, whatever stands before it.
    EXPECT_EQ(keyer.Set(2, 0, 0, 1, -3, false), -5);
    EXPECT_EQ(keyer.Set(2, 0, 0, -1, 0, false), -4);
    EXPECT_EQ(keyer.Set(2, 2, 2, 0, 0, false), -3);

    EXPECT_EQ(keyer.Set(kNone, 0, 0, 1, 0, false), -1);
    ExpectTable(keyer, [](int i) { return i == 0 ? 255 : 0; });
    EXPECT_EQ(keyer.Set(0.5, kNone, kEndless, 1, 0, false), -3);
    EXPECT_EQ(keyer.GetLUT(128), 255);
    EXPECT_EQ(keyer.GetLUT(127), 254);  // 256 steps
    EXPECT_EQ(keyer.Set(0.5, 1, 0, 1, kNone, false), -5);
    ExpectTable(keyer, [](int) { return 0; });
    EXPECT_EQ(keyer.Set(-kEndless, 0, 0, kEndless, 0, false), -4);
    EXPECT_EQ(keyer.GetLUT(0), 255);
}

#endif  // TESSELU_TESTS_KEY_TABLEKEYERS_H
