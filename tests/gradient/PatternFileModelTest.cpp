// The files of patterns, byte by byte.

#include <TesselU/gradient/GradientGenerator.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

using GradientGenerator::WgrGenerateGradient;
using GradientGenerator::WgrGradientData;
using GradientGenerator::writeGradientPatternToTGAfile;
using Zan::ULong32;

namespace {

using File = std::vector<unsigned char>;

class PatternFileModel : public ::testing::Test {
protected:
    void SetUp() override {
        folder =
            std::filesystem::temp_directory_path() /
            (std::string("tesselu-tga-") + ::testing::UnitTest::GetInstance()->current_test_info()->name() +
             std::to_string(std::rand()));
        std::filesystem::create_directory(folder);
        path = (folder / "pattern.tga").string();
    }
    void TearDown() override { std::filesystem::remove_all(folder); }

    Zan::Long32 Write(ULong32 pattern, ULong32 width, ULong32 height, ULong32 bytesPerSample) {
        return writeGradientPatternToTGAfile(path.data(), pattern, width, height, bytesPerSample);
    }
    File Read() const {
        std::ifstream file(path, std::ios::binary);
        return File(std::istreambuf_iterator<char>(file), {});
    }
    bool Exists() const { return std::filesystem::exists(path); }

    std::filesystem::path folder;
    std::string path;
};

void Put(File& file, std::size_t at, std::size_t bytes, unsigned value) {
    for (std::size_t i = 0; i < bytes; ++i) {
        file.at(at + i) = static_cast<unsigned char>(value >> (8 * i));
    }
}

// The samples as the generator draws them for 4:3 and twelve cells, in the byte order of the file.
File Pixels(ULong32 pattern, ULong32 width, ULong32 height, ULong32 bytes) {
    std::vector<std::uint16_t> memory(std::size_t{width} * height);
    WgrGradientData data{};
    data.structSize = 44;
    data.width = width;
    data.height = height;
    data.pitch = static_cast<Zan::Long32>(width * bytes);
    data.bitsPerSample = 8 * bytes;
    data.significantBits = bytes == 1 ? 8 : 14;
    data.peakValue = bytes == 1 ? 255 : 16320;
    data.pixels = memory.data();
    const std::uint32_t aspect = 0x3FAAAAABU, cell = 0x3DAAAAABU;
    std::memcpy(&data.aspectRatio, &aspect, 4);
    std::memcpy(&data.cellFraction, &cell, 4);
    EXPECT_EQ(WgrGenerateGradient(&data, pattern), 0);
    File file(std::size_t{width} * height * bytes);
    for (std::size_t i = 0; i < std::size_t{width} * height; ++i) {
        if (bytes == 1) {
            file[i] = reinterpret_cast<const unsigned char*>(memory.data())[i];
        } else {
            Put(file, 2 * i, 2, memory[i]);
        }
    }
    return file;
}

File Expected(ULong32 pattern, ULong32 width, ULong32 height, ULong32 bytes) {
    File file(18);
    Put(file, 2, 1, bytes == 1 ? 3 : 0x23);
    Put(file, 12, 2, width);
    Put(file, 14, 2, height);
    Put(file, 16, 1, 8 * bytes);
    Put(file, 17, 1, 0x20);
    const File pixels = Pixels(pattern, width, height, bytes);
    file.insert(file.end(), pixels.begin(), pixels.end());
    if (bytes == 2) {
        File area(592);
        Put(area, 0, 2, 592);
        Put(area, 0x1D5, 1, 0x20);
        Put(area, 0x1EF, 1, 0x30);
        Put(area, 0x1F4, 2, 1);
        Put(area, 0x1F6, 2, 0x0010);
        Put(area, 0x1F8, 2, 0x810E);
        Put(area, 0x1FE, 2, 1);
        Put(area, 0x224, 4, 0x3FFF);
        Put(area, 0x228, 4, 0x3FFF);
        Put(area, 0x22C, 4, 0x3FFF);
        file.insert(file.end(), area.begin(), area.end());
    }
    File footer(26);
    Put(footer, 0, 4, bytes == 2 ? static_cast<unsigned>(pixels.size()) + 18 : 0);
    std::memcpy(footer.data() + 8, "TRUEVISION-XFILE.", 17);
    file.insert(file.end(), footer.begin(), footer.end());
    return file;
}

TEST_F(PatternFileModel, EveryByte) {
    for (const ULong32 bytes : {1U, 2U}) {
        for (const ULong32 pattern : {1U, 8U, 48U, 74U}) {
            for (const auto& [width, height] : {std::pair{8U, 8U}, {41U, 31U}, {300U, 9U}, {64U, 300U}}) {
                ASSERT_EQ(Write(pattern, width, height, bytes), 0);
                const File file = Read();
                EXPECT_EQ(file.size(), 18 + bytes * width * height + (bytes == 2 ? 592 : 0) + 26);
                EXPECT_EQ(file, Expected(pattern, width, height, bytes))
                    << "pattern " << pattern << ", " << width << "x" << height << ", " << bytes << " bytes";
            }
        }
    }
}

TEST_F(PatternFileModel, RefusalsMakeNoFile) {
    EXPECT_EQ(Write(1, 7, 8, 1), 5);
    EXPECT_EQ(Write(1, 8, 7, 2), 5);
    EXPECT_EQ(Write(0, 16, 16, 1), 9);
    EXPECT_EQ(Write(354, 16, 16, 2), 9);
    EXPECT_EQ(Write(126, 16, 16, 1), 9);
    EXPECT_FALSE(Exists());
    // And leave one that is there.
    ASSERT_EQ(Write(1, 16, 16, 1), 0);
    const File before = Read();
    EXPECT_EQ(Write(9, 16, 16, 1), 9);
    EXPECT_EQ(before, Read());
}

TEST_F(PatternFileModel, FilesThatCannotBeOpened) {
    path = (folder / "no" / "such" / "folder.tga").string();
    EXPECT_EQ(Write(1, 16, 16, 1), 10);
    EXPECT_EQ(Write(1, 16, 16, 2), 10);
    path = folder.string();
    EXPECT_EQ(Write(1, 16, 16, 2), 10);
}

TEST_F(PatternFileModel, PicturesBeyondAllMemoryAreRefused) {
    // Whatever it is that refuses them: 11 without memory, or 5 for what such a file cannot hold.
    const Zan::Long32 status = Write(1, 0xFFFFFFFFU, 0xFFFFFFFFU, 2);
    EXPECT_TRUE(status == 11 || status == 5) << status;
    EXPECT_FALSE(Exists());
}

}  // namespace
