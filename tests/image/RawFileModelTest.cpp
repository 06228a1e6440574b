// Raw files against what is told of them, byte by byte.

#include <TesselU/image/FileIO.h>
#include <TesselU/image/Image.h>
#include <TesselU/image/ImageImport.h>
#include <TesselU/image/ImageView.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>

#include "support/FencedMemory.h"

using namespace test_support;
using Zan::ULong32;

namespace {

/// A file of its own for every test, gone afterwards.
class RawFile {
public:
    RawFile()
        : path(std::filesystem::temp_directory_path() /
               ("tesselu-raw-" + std::to_string(Random()()) +
                ::testing::UnitTest::GetInstance()->current_test_info()->name())) {}
    ~RawFile() { std::filesystem::remove(path); }
    RawFile(const RawFile&) = delete;
    RawFile& operator=(const RawFile&) = delete;

    std::string Path() const { return path.string(); }
    bool Exists() const { return std::filesystem::exists(path); }
    Bytes Read() const {
        std::ifstream file(path, std::ios::binary);
        return Bytes(std::istreambuf_iterator<char>(file), {});
    }
    void Write(const Bytes& bytes) const {
        std::ofstream file(path, std::ios::binary);
        file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    }

private:
    std::filesystem::path path;
};

Bytes RandomBytes(std::size_t count) {
    Bytes bytes(count);
    FillRandom(bytes.data(), count);
    return bytes;
}

/// An image of RGB in memory that ends at a fence.
struct Picture {
    FencedMemory memory;
    Zan::Image image;
    Zan::ImageView view;

    Picture(ULong32 width, ULong32 height, ULong32 pitch, Zan::OriginEnum origin = Zan::kTopLeft)
        : memory(std::size_t{pitch} * height),
          image(memory.Data(), pitch,
                Zan::ImageDescriptor(width, height, Zan::kRGB, Zan::kUpperFieldFirst, Zan::kInterleavedFields,
                                     origin, 1.0F),
                1, 1),
          view(&image) {}
};

// Sizes of the file and of the image, and bytes from one row of the image to the next: its pitch without the
// two low bits.
struct Sizes {
    ULong32 fileWidth, fileHeight, width, height, pitch;
    ULong32 Columns() const { return std::min(fileWidth, width); }
    ULong32 Rows() const { return std::min(fileHeight, height); }
    std::size_t Step() const { return pitch / 4 * 4; }
};
constexpr Sizes kSizes[] = {{8, 6, 8, 6, 32},  {8, 6, 8, 6, 47},   {5, 9, 8, 6, 36},
                            {20, 3, 8, 6, 32}, {20, 20, 8, 6, 34}, {1, 1, 8, 6, 32},
                            {9, 7, 1, 1, 4},   {0, 5, 8, 6, 32},   {5, 0, 8, 6, 32}};

TEST(RawFileModel, ImagesFromFiles) {
    for (const Sizes& s : kSizes) {
        for (const ULong32 bytesPerPixel : {3U, 4U}) {
            SCOPED_TRACE(::testing::Message() << s.fileWidth << "x" << s.fileHeight << " to " << s.width
                                              << "x" << s.height << ", " << bytesPerPixel << " bytes");
            const RawFile file;
            const Bytes content = RandomBytes(std::size_t{bytesPerPixel} * s.fileWidth * s.fileHeight);
            file.Write(content);
            Picture picture(s.width, s.height, s.pitch, s.pitch == 47 ? Zan::kBottomLeft : Zan::kTopLeft);
            // Neither region nor field count.
            picture.view.SetRegionOfInterest(Zan::Rectangle(1, 1, 2, 3), Zan::kFrame);
            Bytes expected = picture.memory.Snapshot();
            std::size_t next = 0;
            for (std::size_t y = 0; y < s.Rows(); ++y) {
                for (std::size_t x = 0; x < s.Columns(); ++x, next += bytesPerPixel) {
                    std::uint8_t* const to =
                        expected.data() + picture.memory.GuardLength() + y * s.Step() + 4 * x;
                    to[0] = content[next + 2];
                    to[1] = content[next + 1];
                    to[2] = content[next];
                    to[3] = bytesPerPixel == 3 ? std::uint8_t{255} : content[next + 3];
                }
            }
            EXPECT_TRUE(Zan::FileIO::ReadRaw(file.Path().c_str(), s.fileWidth, s.fileHeight, bytesPerPixel,
                                             picture.view));
            EXPECT_EQ(expected, picture.memory.Snapshot());
        }
    }
}

TEST(RawFileModel, FilesFromImages) {
    for (const Sizes& s : kSizes) {
        for (const ULong32 bytesPerPixel : {3U, 4U}) {
            SCOPED_TRACE(::testing::Message() << s.width << "x" << s.height << " to " << s.fileWidth << "x"
                                              << s.fileHeight << ", " << bytesPerPixel << " bytes");
            const RawFile file;
            file.Write(RandomBytes(5000));  // what was there goes
            Picture picture(s.width, s.height, s.pitch);
            picture.view = Zan::ImageView(&picture.image, Zan::Rectangle(0, 2, 3, 3), Zan::kLowerField);
            const Bytes before = picture.memory.Snapshot();
            Bytes expected;
            for (std::size_t y = 0; y < s.Rows(); ++y) {
                for (std::size_t x = 0; x < s.Columns(); ++x) {
                    const std::uint8_t* const from = picture.memory.Data() + y * s.Step() + 4 * x;
                    const std::uint8_t pixel[] = {from[2], from[1], from[0], from[3]};
                    expected.insert(expected.end(), pixel, pixel + bytesPerPixel);
                }
            }
            EXPECT_TRUE(Zan::FileIO::WriteRaw(file.Path().c_str(), s.fileWidth, s.fileHeight, bytesPerPixel,
                                              picture.view));
            EXPECT_EQ(expected, file.Read());
            EXPECT_EQ(before, picture.memory.Snapshot());
        }
    }
}

TEST(RawFileModel, RoundTripOfFourBytes) {
    const RawFile file;
    Picture picture(31, 7, 128), back(31, 7, 124);
    ASSERT_TRUE(Zan::FileIO::WriteRaw(file.Path().c_str(), 31, 7, 4, picture.view));
    ASSERT_TRUE(Zan::FileIO::ReadRaw(file.Path().c_str(), 31, 7, 4, back.view));
    for (std::size_t y = 0; y < 7; ++y) {
        EXPECT_TRUE(std::equal(back.memory.Data() + 124 * y, back.memory.Data() + 124 * (y + 1),
                               picture.memory.Data() + 128 * y));
    }
}

TEST(RawFileModel, RefusalsOfImages) {
    const RawFile file, none;
    file.Write(RandomBytes(100));
    const Bytes content = file.Read();
    Picture picture(4, 4, 16);
    const Bytes before = picture.memory.Snapshot();
    for (const ULong32 bytesPerPixel : {0U, 1U, 2U, 5U, 0xFFFFFFFFU}) {
        EXPECT_FALSE(Zan::FileIO::ReadRaw(file.Path().c_str(), 4, 4, bytesPerPixel, picture.view));
        EXPECT_FALSE(Zan::FileIO::WriteRaw(none.Path().c_str(), 4, 4, bytesPerPixel, picture.view));
    }
    EXPECT_FALSE(Zan::FileIO::ReadRaw(none.Path().c_str(), 4, 4, 4, picture.view));
    EXPECT_FALSE(Zan::FileIO::WriteRaw("/nowhere/at/all", 4, 4, 4, picture.view));
    Zan::ImageView nothing;
    nothing.Set(nullptr);
    EXPECT_FALSE(Zan::FileIO::ReadRaw(file.Path().c_str(), 4, 4, 4, nothing));
    EXPECT_EQ(before, picture.memory.Snapshot());
    EXPECT_EQ(content, file.Read());
    EXPECT_FALSE(none.Exists());
}

// What a file lacks is no error.
TEST(RawFileModel, ShortFiles) {
    for (const ULong32 bytesPerPixel : {3U, 4U}) {
        for (std::size_t length = 0; length < 8 * bytesPerPixel; ++length) {
            const RawFile file;
            const Bytes content = RandomBytes(length);
            file.Write(content);
            Picture picture(4, 2, 16);
            EXPECT_TRUE(Zan::FileIO::ReadRaw(file.Path().c_str(), 4, 2, bytesPerPixel, picture.view));
            for (std::size_t pixel = 0; pixel < length / bytesPerPixel; ++pixel) {
                const std::uint8_t* const word = picture.memory.Data() + 4 * pixel;
                for (std::size_t i = 0; i < 3; ++i) {
                    EXPECT_EQ(word[2 - i], content[pixel * bytesPerPixel + i]) << length;
                }
            }
            ULong32 words[8];
            EXPECT_TRUE(ImageImport::FileReadRaw(file.Path().c_str(), 4, 2, bytesPerPixel, words, 4, 2, 16));
            for (std::size_t pixel = 0; pixel < length / bytesPerPixel; ++pixel) {
                EXPECT_EQ(words[pixel] >> 16 & 0xFF, content[pixel * bytesPerPixel]) << length;
            }
        }
    }
}

/// Memory of words that ends at a fence.
struct Words {
    FencedMemory memory;
    explicit Words(std::size_t bytes) : memory(bytes) {}
    ULong32* First() { return reinterpret_cast<ULong32*>(memory.Data()); }
};

TEST(RawFileModel, PlainMemoryFromFiles) {
    for (const Sizes& s : kSizes) {
        for (const ULong32 bytesPerPixel : {1U, 2U, 3U, 4U}) {
            SCOPED_TRACE(::testing::Message() << s.fileWidth << "x" << s.fileHeight << " to " << s.width
                                              << "x" << s.height << ", " << bytesPerPixel << " bytes");
            const RawFile file;
            const Bytes content = RandomBytes(std::size_t{bytesPerPixel} * s.fileWidth * s.fileHeight);
            file.Write(content);
            Words words(s.Step() * s.height);
            Bytes expected = words.memory.Snapshot();
            // Positions outside of the memory are not skipped in the file: it slides.
            std::size_t next = 0;
            for (std::size_t y = 0; y < s.Rows(); ++y) {
                for (std::size_t x = 0; x < s.Columns(); ++x, next += bytesPerPixel) {
                    std::uint8_t pixel[4] = {};
                    std::copy_n(content.data() + next, bytesPerPixel, pixel);
                    std::uint8_t* const to =
                        expected.data() + words.memory.GuardLength() + y * s.Step() + 4 * x;
                    to[0] = pixel[2];
                    to[1] = pixel[1];
                    to[2] = pixel[0];
                    to[3] = pixel[3];
                }
            }
            EXPECT_TRUE(ImageImport::FileReadRaw(file.Path().c_str(), s.fileWidth, s.fileHeight,
                                                 bytesPerPixel, words.First(), s.width, s.height, s.pitch));
            EXPECT_EQ(expected, words.memory.Snapshot());
        }
    }
}

TEST(RawFileModel, FilesFromPlainMemory) {
    for (const Sizes& s : kSizes) {
        for (const ULong32 bytesPerPixel : {1U, 2U, 3U, 4U}) {
            const RawFile file;
            Words words(s.Step() * s.height);
            Bytes expected;
            for (std::size_t y = 0; y < s.Rows(); ++y) {
                for (std::size_t x = 0; x < s.Columns(); ++x) {
                    const std::uint8_t* const from = words.memory.Data() + y * s.Step() + 4 * x;
                    const std::uint8_t pixel[] = {from[2], from[1], from[0], from[3]};
                    expected.insert(expected.end(), pixel, pixel + bytesPerPixel);
                }
            }
            EXPECT_TRUE(ImageImport::FileWriteRaw(file.Path().c_str(), s.fileWidth, s.fileHeight,
                                                  bytesPerPixel, words.First(), s.width, s.height, s.pitch));
            EXPECT_EQ(expected, file.Read());
        }
    }
}

// Three bytes leave alpha at 255 in an image and at 0 in plain memory.
TEST(RawFileModel, AlphaOfThreeBytes) {
    const RawFile file;
    file.Write({1, 2, 3});
    Picture picture(1, 1, 4);
    ASSERT_TRUE(Zan::FileIO::ReadRaw(file.Path().c_str(), 1, 1, 3, picture.view));
    EXPECT_EQ(*reinterpret_cast<ULong32*>(picture.memory.Data()), 0xFF010203U);
    ULong32 word = 0x99999999U;
    ASSERT_TRUE(ImageImport::FileReadRaw(file.Path().c_str(), 1, 1, 3, &word, 1, 1, 4));
    EXPECT_EQ(word, 0x00010203U);
}

TEST(RawFileModel, RefusalsOfPlainMemory) {
    const RawFile none;
    ULong32 word = 5;
    EXPECT_FALSE(ImageImport::FileReadRaw(none.Path().c_str(), 1, 1, 4, &word, 1, 1, 4));
    EXPECT_FALSE(ImageImport::FileWriteRaw("/nowhere/at/all", 1, 1, 4, &word, 1, 1, 4));
    EXPECT_EQ(word, 5U);
}

}  // namespace
