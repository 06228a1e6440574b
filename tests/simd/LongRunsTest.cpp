#include "simd/LongRuns.h"

#include <TesselU/TesselU.h>
#include <gtest/gtest.h>

#include <vector>

#include "simd/Targets.h"
#include "support/Streaming.h"

namespace Zan {
namespace {

constexpr std::uint8_t kGuard = 0xA5;

TEST(LongRuns, PayOnlyForPicturesBeyondTheSecondLevelCache) {
    EXPECT_FALSE(simd::LongRunsPay(0));
    EXPECT_FALSE(simd::LongRunsPay((std::size_t{1} << 20) - 1));
    const simd::ScopedTarget formulas(simd::kPortable);
    EXPECT_FALSE(simd::LongRunsPay(std::size_t{1} << 30)) << "the formulas alone";
}

TEST(LongRuns, FillEveryLengthAtEveryAddress) {
    for (std::size_t offset = 0; offset < 9; ++offset) {
        for (std::size_t bytes = 0; bytes < 70; ++bytes) {
            std::vector<std::uint8_t> memory(96, kGuard);
            simd::FillLongRun(memory.data() + offset, bytes, 0x44332211U);
            for (std::size_t i = 0; i < memory.size(); ++i) {
                const bool inside = i >= offset && i < offset + bytes;
                ASSERT_EQ(memory[i], inside ? 0x11 * (1 + (i - offset) % 4) : kGuard)
                    << "offset " << offset << ", " << bytes << " bytes, byte " << i;
            }
        }
    }
}

TEST(LongRuns, CopyEveryLengthAtEveryAddress) {
    std::vector<std::uint8_t> source(320);
    for (std::size_t i = 0; i < source.size(); ++i) {
        source[i] = static_cast<std::uint8_t>(3 * i + 1);
    }
    for (const bool aroundCache : {false, true}) {
        for (std::size_t offset = 0; offset < 9; ++offset) {
            for (std::size_t bytes = 0; bytes < 270; ++bytes) {
                std::vector<std::uint8_t> memory(296, kGuard);
                simd::CopyLongRun(memory.data() + offset, source.data() + 2 * offset, bytes, aroundCache);
                for (std::size_t i = 0; i < memory.size(); ++i) {
                    const bool inside = i >= offset && i < offset + bytes;
                    ASSERT_EQ(memory[i], inside ? source[i + offset] : kGuard)
                        << "offset " << offset << ", " << bytes << " bytes, byte " << i
                        << (aroundCache ? ", around the cache" : "");
                }
            }
        }
    }
}

/// An image so large that long runs pay, on memory whose lines have padding.
struct LargeImage {
    static constexpr ULong32 kWidth = 1023, kHeight = 300, kPitch = 4 * kWidth + 12;

    LargeImage()
        : memory(std::size_t{kPitch} * kHeight, kGuard),
          image(memory.data(), kPitch,
                ImageDescriptor(kWidth, kHeight, kRGB, kProgressive, kNoFields, kTopLeft, 1.0F), 1, 1),
          view(&image) {
        static_assert(std::size_t{4} * kWidth * kHeight > std::size_t{1} << 20);
    }

    std::vector<std::uint8_t> memory;
    Image image;
    ImageView view;
};

void LargeFillKeepsThePadding() {
    LargeImage large;
    ZanCompositor compositor;
    ASSERT_EQ(compositor.Fill(large.view, 0x44332211U, 0xFFFFFFFFU, kBestAvailable), 0);
    for (std::size_t y = 0; y < LargeImage::kHeight; ++y) {
        for (std::size_t x = 0; x < LargeImage::kPitch; ++x) {
            ASSERT_EQ(large.memory[y * LargeImage::kPitch + x],
                      x < 4 * LargeImage::kWidth ? 0x11 * (1 + x % 4) : kGuard)
                << "line " << y << ", byte " << x;
        }
    }
}

void LargeCopyKeepsThePadding() {
    LargeImage source, destination;
    for (std::size_t i = 0; i < source.memory.size(); ++i) {
        source.memory[i] = static_cast<std::uint8_t>(i * 7 + i / 251);
    }
    ColorSpaceConverter converter;
    ASSERT_EQ(converter.Do(source.view, destination.view, kInt_MMXorSIMD, nullptr, nullptr), 0);
    for (std::size_t y = 0; y < LargeImage::kHeight; ++y) {
        for (std::size_t x = 0; x < LargeImage::kPitch; ++x) {
            ASSERT_EQ(destination.memory[y * LargeImage::kPitch + x],
                      x < 4 * LargeImage::kWidth ? source.memory[y * LargeImage::kPitch + x] : kGuard)
                << "line " << y << ", byte " << x;
        }
    }
}

TEST(LongRuns, LargePicturesKeepTheirPadding) {
    LargeFillKeepsThePadding();
    LargeCopyKeepsThePadding();
}

TEST(LongRuns, LargePicturesKeepTheirPaddingAroundTheCache) {
    const test_support::ScopedStreaming around(true);
    LargeFillKeepsThePadding();
    LargeCopyKeepsThePadding();
}

TEST(LongRuns, LargeCopyOntoItselfChangesNothing) {
    LargeImage large;
    for (std::size_t i = 0; i < large.memory.size(); ++i) {
        large.memory[i] = static_cast<std::uint8_t>(i * 5 + i / 253);
    }
    const std::vector<std::uint8_t> before = large.memory;
    ImageView other(&large.image);
    ColorSpaceConverter converter;
    ASSERT_EQ(converter.Do(large.view, other, kInt_MMXorSIMD, nullptr, nullptr), 0);
    EXPECT_EQ(large.memory, before);
}

}  // namespace
}  // namespace Zan
