#include <TesselU/gradient/GradientGenerator.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <filesystem>

#include "gradient/GradientCanvas.h"
#include "support/ScratchFolder.h"

namespace GradientGenerator {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Zan::Long32;
using Zan::ULong32;

class TgaFileTest : public ::testing::Test {
protected:
    Long32 Write(ULong32 pattern, ULong32 width, ULong32 height, ULong32 bytesPerSample) const {
        return writeGradientPatternToTGAfile(folder.Path("map.tga").c_str(), pattern, width, height,
                                             bytesPerSample);
    }
    Bytes File() const { return folder.Read("map.tga"); }

    test_support::ScratchFolder folder;
};

Bytes Part(const Bytes& file, std::size_t offset, std::size_t length) {
    const auto begin = file.begin() + static_cast<std::ptrdiff_t>(offset);
    return Bytes(begin, begin + static_cast<std::ptrdiff_t>(length));
}

/// The map by itself, with the settings of the file.
Bytes MapBytes(ULong32 pattern, unsigned width, unsigned height, unsigned bits) {
    GradientCanvas canvas(width, height, bits, bits == 8 ? 255 : 16320);
    canvas.record.significantBits = bits == 8 ? 8 : 14;
    const std::uint32_t aspect = 0x3FAAAAAB, cell = 0x3DAAAAAB;
    std::memcpy(&canvas.record.aspectRatio, &aspect, 4);
    std::memcpy(&canvas.record.cellFraction, &cell, 4);
    EXPECT_EQ(canvas.Draw(pattern), 0);
    Bytes bytes;
    for (const unsigned sample : canvas.Samples()) {
        bytes.push_back(static_cast<std::uint8_t>(sample));
        if (bits == 16) {
            bytes.push_back(static_cast<std::uint8_t>(sample >> 8));
        }
    }
    return bytes;
}

const Bytes kSignature = {'T', 'R', 'U', 'E', 'V', 'I', 'S', 'I', 'O',
                          'N', '-', 'X', 'F', 'I', 'L', 'E', '.', 0};

TEST_F(TgaFileTest, OneByteASampleIsHeaderPixelsFooter) {
    ASSERT_EQ(Write(41, 300, 20, 1), 0);
    const Bytes file = File();
    ASSERT_EQ(file.size(), 18U + 300 * 20 + 26);
    EXPECT_EQ(Part(file, 0, 18), (Bytes{0, 0, 3, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x2C, 0x01, 20, 0, 8, 0x20}));
    EXPECT_EQ(Part(file, 18, 300 * 20), MapBytes(41, 300, 20, 8));
    EXPECT_EQ(Part(file, 18 + 300 * 20, 8), Bytes(8, 0));
    EXPECT_EQ(Part(file, file.size() - 18, 18), kSignature);
}

TEST_F(TgaFileTest, TwoBytesASampleHaveAnExtensionArea) {
    ASSERT_EQ(Write(1, 16, 258, 2), 0);
    const Bytes file = File();
    const std::size_t pixels = 2 * 16 * 258;
    ASSERT_EQ(file.size(), 18 + pixels + 592 + 26);
    EXPECT_EQ(Part(file, 0, 18), (Bytes{0, 0, 0x23, 0, 0, 0, 0, 0, 0, 0, 0, 0, 16, 0, 0x02, 0x01, 16, 0x20}));
    EXPECT_EQ(Part(file, 18, pixels), MapBytes(1, 16, 258, 16));
    // A bar: 16320 * (16 - x) / 16, from the left.
    EXPECT_EQ(file[18] | file[19] << 8, 16320);
    EXPECT_EQ(file[18 + 30] | file[18 + 31] << 8, 16320 / 16);

    Bytes extension(592, 0);
    const auto put = [&extension](std::size_t offset, std::initializer_list<std::uint8_t> bytes) {
        std::copy(bytes.begin(), bytes.end(), extension.begin() + static_cast<std::ptrdiff_t>(offset));
    };
    put(0, {0x50, 0x02});
    put(0x1D5, {0x20});
    put(0x1EF, {0x30});
    put(0x1F4, {1, 0});
    put(0x1F6, {0x10, 0});
    put(0x1F8, {0x0E, 0x81});
    put(0x1FE, {1, 0});
    put(0x224, {0xFF, 0x3F, 0, 0});
    put(0x228, {0xFF, 0x3F, 0, 0});
    put(0x22C, {0xFF, 0x3F, 0, 0});
    EXPECT_EQ(Part(file, 18 + pixels, 592), extension);

    const std::size_t footer = 18 + pixels + 592;
    const std::size_t offset = 18 + pixels;  // of the byte after the pixels: 8274
    EXPECT_EQ(Part(file, footer, 8), (Bytes{static_cast<std::uint8_t>(offset),
                                            static_cast<std::uint8_t>(offset >> 8), 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(offset, 8274U);
    EXPECT_EQ(Part(file, footer + 8, 18), kSignature);
}

// A snake shows the cells, twelve over the height: 16 columns and 12 rows of 40 pixels.
TEST_F(TgaFileTest, CellsAreATwelfthOfTheHeight) {
    ASSERT_EQ(Write(301, 640, 480, 1), 0);
    const Bytes file = File();
    const auto sample = [&file](unsigned x, unsigned y) { return file[18 + y * 640 + x]; };
    std::vector<bool> isUsed(256, false);
    for (unsigned row = 0; row < 12; ++row) {
        for (unsigned column = 0; column < 16; ++column) {
            const std::uint8_t value = sample(column * 40, row * 40);
            EXPECT_FALSE(isUsed[value]) << row << " " << column;
            isUsed[value] = true;
            for (const unsigned x : {0U, 20U, 39U}) {
                for (const unsigned y : {0U, 20U, 39U}) {
                    EXPECT_EQ(sample(column * 40 + x, row * 40 + y), value) << row << " " << column;
                }
            }
        }
    }
}

TEST_F(TgaFileTest, WhatIsThereIsReplacedWhole) {
    folder.Write("map.tga", Bytes(5000, 1));
    ASSERT_EQ(Write(2, 8, 8, 1), 0);
    EXPECT_EQ(File().size(), 18U + 64 + 26);
}

TEST_F(TgaFileTest, RefusalsOfTheGeneratorMakeNoFile) {
    EXPECT_EQ(Write(1, 7, 100, 1), 5);
    EXPECT_EQ(Write(1, 100, 7, 2), 5);
    EXPECT_EQ(Write(1, 0, 0, 1), 5);
    EXPECT_EQ(Write(124, 100, 100, 1), 9);
    EXPECT_EQ(Write(0, 100, 100, 2), 9);
    EXPECT_EQ(Write(1, 100, 100, 0), 3);
    EXPECT_EQ(Write(1, 100, 100, 3), 3);
    EXPECT_EQ(Write(1, 7, 7, 0xFFFFFFFF), 3);
    EXPECT_FALSE(folder.Has("map.tga"));
    folder.Write("map.tga", {1, 2, 3});
    EXPECT_EQ(Write(1, 7, 100, 1), 5);
    EXPECT_EQ(File(), (Bytes{1, 2, 3}));
}

TEST_F(TgaFileTest, SizesThatAFileCannotTellMakeNone) {
    EXPECT_EQ(Write(1, 65536, 8, 1), 5);
    EXPECT_EQ(Write(1, 8, 65536, 2), 5);
    EXPECT_EQ(Write(124, 65536, 8, 1), 9);
    EXPECT_FALSE(folder.Has("map.tga"));
    ASSERT_EQ(Write(1, 65535, 8, 1), 0);
    EXPECT_EQ(File().size(), 18U + 65535 * 8 + 26);
    EXPECT_EQ(Part(File(), 12, 2), (Bytes{0xFF, 0xFF}));
}

TEST_F(TgaFileTest, NoMemoryIsToldAndMakesNoFile) {
    EXPECT_EQ(Write(1, 0xFFFFFFFF, 0xFFFFFFFF, 2), 11);
    EXPECT_EQ(Write(1, 0xFFFFFFFF, 0xFFFFFFFF, 1), 11);
    EXPECT_FALSE(folder.Has("map.tga"));
}

TEST_F(TgaFileTest, FilesThatCannotBeOpenedAreTold) {
    folder.Write("file", {1});
    for (const std::string& path :
         {folder.Path("missing/x.tga"), folder.Path("file/x.tga"), folder.Folder(), std::string()}) {
        for (const ULong32 bytes : {1U, 2U}) {
            EXPECT_EQ(writeGradientPatternToTGAfile(path.c_str(), 1, 16, 16, bytes), 10) << path;
        }
        // What is wrong with the pattern is told first.
        EXPECT_EQ(writeGradientPatternToTGAfile(path.c_str(), 124, 16, 16, 1), 9);
    }
    EXPECT_EQ(writeGradientPatternToTGAfile(nullptr, 1, 16, 16, 1), 10);
}

TEST_F(TgaFileTest, AFileThatIsNotWholeIsTold) {
    if (!std::filesystem::exists("/dev/full")) {
        GTEST_SKIP() << "no device that is full";
    }
    EXPECT_EQ(writeGradientPatternToTGAfile("/dev/full", 1, 16, 16, 1), 10);
    EXPECT_EQ(writeGradientPatternToTGAfile("/dev/full", 1, 640, 480, 2), 10);
}

TEST_F(TgaFileTest, NoFileStaysOpen) {
    const std::ptrdiff_t before = test_support::OpenFiles();
    ASSERT_EQ(Write(1, 8, 8, 1), 0);
    ASSERT_EQ(Write(1, 8, 8, 2), 0);
    ASSERT_EQ(Write(124, 8, 8, 1), 9);
    EXPECT_EQ(test_support::OpenFiles(), before);
}

}  // namespace
}  // namespace GradientGenerator
