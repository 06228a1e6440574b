#include <TesselU/gradient/GradientGenerator.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

namespace {

using GradientGenerator::WgrGenerateGradient;
using GradientGenerator::WgrGradientData;

constexpr std::uint8_t kUntouched = 0xA5;

struct Buffer {
    Buffer(Zan::ULong32 width, Zan::ULong32 height) : samples(std::size_t{width} * height, kUntouched) {
        record.structSize = sizeof(record);
        record.width = width;
        record.height = height;
        record.pitch = static_cast<Zan::Long32>(width);
        record.bitsPerSample = 8;
        record.significantBits = 8;
        record.peakValue = 255;
        record.pixels = samples.data();
        record.aspectRatio = 1.0F;
        record.cellFraction = 0.25F;
    }

    std::vector<std::uint8_t> samples;
    WgrGradientData record{};
};

TEST(GradientSmoke, BarFallsFromPeak) {
    Buffer map(8, 8);
    ASSERT_EQ(WgrGenerateGradient(&map.record, 1), 0);
    const std::vector<std::uint8_t> row{255, 223, 191, 159, 128, 96, 64, 32};
    for (std::size_t y = 0; y < 8; ++y)
        EXPECT_EQ(std::vector<std::uint8_t>(map.samples.begin() + static_cast<std::ptrdiff_t>(8 * y),
                                            map.samples.begin() + static_cast<std::ptrdiff_t>(8 * y + 8)),
                  row);
}

TEST(GradientSmoke, EveryNumberIsDrawnOrRefused) {
    for (Zan::ULong32 number = 0; number <= 354; ++number) {
        const bool edge = (number >= 1 && number <= 8) || (number >= 21 && number <= 26) ||
                          (number >= 41 && number <= 48) || (number >= 61 && number <= 68) ||
                          (number >= 71 && number <= 74);
        Buffer map(33, 17);
        const int status = WgrGenerateGradient(&map.record, number);
        EXPECT_TRUE(status == 9 || status == 0) << number;
        EXPECT_TRUE(status == 0 || !edge) << number;
        EXPECT_EQ(map.samples != Buffer(33, 17).samples, status == 0) << number;

        Buffer asked(33, 17);
        asked.record.flags = 1;
        EXPECT_EQ(WgrGenerateGradient(&asked.record, number), status) << number;
        EXPECT_EQ(asked.samples, Buffer(33, 17).samples) << number;
    }
}

}  // namespace
