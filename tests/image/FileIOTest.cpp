#include <TesselU/image/FileIO.h>
#include <TesselU/image/Image.h>
#include <TesselU/image/ImageView.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>

#include "support/FencedMemory.h"
#include "support/ScratchFolder.h"

namespace Zan {
namespace {

using test_support::Bytes;

/// A picture of 32-bit words in memory that ends where its last row does.
class WordPicture {
public:
    WordPicture(ULong32 newWidth, ULong32 newHeight, ULong32 newPitch = 0, OriginEnum origin = kTopLeft)
        : width(newWidth),
          height(newHeight),
          pitch(newPitch != 0 ? newPitch : 4 * newWidth),
          memory(std::size_t{pitch} * height),
          image(memory.Data(), pitch,
                ImageDescriptor(width, height, kRGB, kProgressive, kNoFields, origin, 1.0F), 1, 1),
          view(&image) {}

    ULong32 At(ULong32 x, ULong32 y) {
        ULong32 word;
        std::memcpy(&word, memory.Data() + std::size_t{y} * (pitch & ~ULong32{3}) + std::size_t{x} * 4, 4);
        return word;
    }
    void Put(ULong32 x, ULong32 y, ULong32 word) {
        std::memcpy(memory.Data() + std::size_t{y} * (pitch & ~ULong32{3}) + std::size_t{x} * 4, &word, 4);
    }
    Bytes Snapshot() const { return memory.Snapshot(); }

    ULong32 width, height, pitch;
    test_support::FencedMemory memory;
    Image image;
    ImageView view;
};

class FileIOTest : public ::testing::Test {
protected:
    test_support::ScratchFolder folder;
};

/// 1, 2, 3 ...
Bytes Counting(std::size_t count) {
    Bytes bytes(count);
    for (std::size_t i = 0; i < count; ++i) {
        bytes[i] = static_cast<std::uint8_t>(i + 1);
    }
    return bytes;
}

TEST_F(FileIOTest, ThreeBytesAreRedGreenBlueAndFullAlpha) {
    WordPicture picture(2, 2);
    const std::string path = folder.Write("in.raw", Counting(12));
    EXPECT_TRUE(FileIO::ReadRaw(path.c_str(), 2, 2, 3, picture.view));
    EXPECT_EQ(picture.At(0, 0), 0xFF010203U);
    EXPECT_EQ(picture.At(1, 0), 0xFF040506U);
    EXPECT_EQ(picture.At(0, 1), 0xFF070809U);
    EXPECT_EQ(picture.At(1, 1), 0xFF0A0B0CU);
}

TEST_F(FileIOTest, FourBytesAreRedGreenBlueAlpha) {
    WordPicture picture(2, 1);
    const std::string path = folder.Write("in.raw", Counting(8));
    EXPECT_TRUE(FileIO::ReadRaw(path.c_str(), 2, 1, 4, picture.view));
    EXPECT_EQ(picture.At(0, 0), 0x04010203U);
    EXPECT_EQ(picture.At(1, 0), 0x08050607U);
}

TEST_F(FileIOTest, WritingIsTheMirror) {
    WordPicture picture(2, 1);
    picture.Put(0, 0, 0x04010203);
    picture.Put(1, 0, 0xFF0A0B0C);
    EXPECT_TRUE(FileIO::WriteRaw(folder.Path("4.raw").c_str(), 2, 1, 4, picture.view));
    EXPECT_EQ(folder.Read("4.raw"), (Bytes{1, 2, 3, 4, 10, 11, 12, 255}));
    EXPECT_TRUE(FileIO::WriteRaw(folder.Path("3.raw").c_str(), 2, 1, 3, picture.view));
    EXPECT_EQ(folder.Read("3.raw"), (Bytes{1, 2, 3, 10, 11, 12}));
}

TEST_F(FileIOTest, FourBytesComeBackAsTheyWere) {
    WordPicture first(37, 11, 37 * 4 + 12), second(37, 11);
    const std::string path = folder.Path("round.raw");
    EXPECT_TRUE(FileIO::WriteRaw(path.c_str(), 37, 11, 4, first.view));
    EXPECT_EQ(folder.Read("round.raw").size(), 37U * 11 * 4);
    EXPECT_TRUE(FileIO::ReadRaw(path.c_str(), 37, 11, 4, second.view));
    for (ULong32 y = 0; y < 11; ++y) {
        for (ULong32 x = 0; x < 37; ++x) {
            EXPECT_EQ(second.At(x, y), first.At(x, y));
        }
    }
}

TEST_F(FileIOTest, TheSmallerSizeCounts) {
    WordPicture picture(3, 2);
    const std::string path = folder.Write("in.raw", Counting(100));
    const ULong32 kept = picture.At(2, 0), below = picture.At(0, 1);
    EXPECT_TRUE(FileIO::ReadRaw(path.c_str(), 2, 1, 4, picture.view));
    EXPECT_EQ(picture.At(1, 0), 0x08050607U);
    EXPECT_EQ(picture.At(2, 0), kept);
    EXPECT_EQ(picture.At(0, 1), below);
    EXPECT_TRUE(FileIO::WriteRaw(folder.Path("small.raw").c_str(), 2, 1, 3, picture.view));
    EXPECT_EQ(folder.Read("small.raw"), (Bytes{1, 2, 3, 5, 6, 7}));
    EXPECT_TRUE(FileIO::WriteRaw(folder.Path("large.raw").c_str(), 0xFFFFFFFF, 0xFFFFFFFF, 3, picture.view));
    EXPECT_EQ(folder.Read("large.raw").size(), 3U * 2 * 3);
}

TEST_F(FileIOTest, WhatAFileHasBeyondTheImageIsTheStartOfItsNextRow) {
    WordPicture picture(2, 2);
    const std::string path = folder.Write("in.raw", Counting(5 * 2 * 3));
    EXPECT_TRUE(FileIO::ReadRaw(path.c_str(), 5, 2, 3, picture.view));
    EXPECT_EQ(picture.At(1, 0), 0xFF040506U);
    EXPECT_EQ(picture.At(0, 1), 0xFF070809U);
    EXPECT_EQ(picture.At(1, 1), 0xFF0A0B0CU);
}

TEST_F(FileIOTest, AShortFileLeavesWhatTheRowBeforeHeld) {
    WordPicture picture(2, 3);
    // One row and a half, and one byte more.
    const std::string path = folder.Write("in.raw", Counting(6 + 4));
    EXPECT_TRUE(FileIO::ReadRaw(path.c_str(), 2, 3, 3, picture.view));
    EXPECT_EQ(picture.At(0, 0), 0xFF010203U);
    EXPECT_EQ(picture.At(1, 0), 0xFF040506U);
    EXPECT_EQ(picture.At(0, 1), 0xFF070809U);
    EXPECT_EQ(picture.At(1, 1), 0xFF0A0506U);
    EXPECT_EQ(picture.At(0, 2), 0xFF070809U);
    EXPECT_EQ(picture.At(1, 2), 0xFF0A0506U);
}

TEST_F(FileIOTest, FilesCutAnywhereAreRead) {
    const Bytes whole = Counting(4 * 3 * 4);
    for (std::size_t length = 0; length <= whole.size(); ++length) {
        WordPicture picture(4, 3);
        const std::string path = folder.Write(
            "cut.raw", Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length)));
        EXPECT_TRUE(FileIO::ReadRaw(path.c_str(), 4, 3, 4, picture.view));
        // The bytes that there are, and under them those of the row above, or 0.
        Bytes row(16, 0);
        for (std::size_t y = 0; y < 3; ++y) {
            for (std::size_t i = 0; i < 16 && y * 16 + i < length; ++i) {
                row[i] = whole[y * 16 + i];
            }
            for (ULong32 x = 0; x < 4; ++x) {
                const std::uint8_t* p = row.data() + 4 * x;
                EXPECT_EQ(picture.At(x, static_cast<ULong32>(y)),
                          ULong32{p[3]} << 24 | ULong32{p[0]} << 16 | ULong32{p[1]} << 8 | ULong32{p[2]});
            }
        }
    }
}

TEST_F(FileIOTest, RegionAndFieldDoNotCount) {
    WordPicture picture(4, 4);
    const std::string path = folder.Write("in.raw", Counting(64));
    ImageView part(&picture.image, Rectangle(2, 2, 3, 3), kLowerField);
    EXPECT_TRUE(FileIO::ReadRaw(path.c_str(), 4, 4, 4, part));
    EXPECT_EQ(picture.At(0, 0), 0x04010203U);
    EXPECT_EQ(picture.At(3, 3), 0x403D3E3FU);
    EXPECT_TRUE(FileIO::WriteRaw(folder.Path("out.raw").c_str(), 4, 4, 4, part));
    EXPECT_EQ(folder.Read("out.raw"), Counting(64));
}

TEST_F(FileIOTest, RowsOfABottomLeftImageAreThoseOfTheMemory) {
    WordPicture picture(1, 2, 0, kBottomLeft);
    const std::string path = folder.Write("in.raw", Counting(8));
    EXPECT_TRUE(FileIO::ReadRaw(path.c_str(), 1, 2, 4, picture.view));
    EXPECT_EQ(picture.At(0, 0), 0x04010203U);
    EXPECT_EQ(picture.At(0, 1), 0x08050607U);
}

TEST_F(FileIOTest, PitchesLoseTheirLowTwoBits) {
    WordPicture picture(3, 3, 15);  // 12 by the words
    ASSERT_EQ(picture.image.GetPitch(0), 15U);
    const std::string path = folder.Write("in.raw", Counting(36));
    EXPECT_TRUE(FileIO::ReadRaw(path.c_str(), 3, 3, 4, picture.view));
    EXPECT_EQ(picture.At(0, 1), 0x100D0E0FU);
    EXPECT_EQ(picture.At(2, 2), 0x24212223U);
    EXPECT_TRUE(FileIO::WriteRaw(folder.Path("out.raw").c_str(), 3, 3, 4, picture.view));
    EXPECT_EQ(folder.Read("out.raw"), Counting(36));
}

TEST_F(FileIOTest, GapsBetweenRowsStay) {
    WordPicture picture(2, 2, 16);
    const ULong32 gap = picture.At(2, 0), end = picture.At(3, 1);
    const std::string path = folder.Write("in.raw", Counting(16));
    EXPECT_TRUE(FileIO::ReadRaw(path.c_str(), 2, 2, 4, picture.view));
    EXPECT_EQ(picture.At(2, 0), gap);
    EXPECT_EQ(picture.At(3, 1), end);
}

TEST_F(FileIOTest, OtherSizesOfAPixelAreRefused) {
    WordPicture picture(2, 2);
    const Bytes before = picture.Snapshot();
    const std::string path = folder.Write("in.raw", Counting(64));
    for (const ULong32 size : {0U, 1U, 2U, 5U, 0xFFFFFFFFU}) {
        EXPECT_FALSE(FileIO::ReadRaw(path.c_str(), 2, 2, size, picture.view)) << size;
        EXPECT_FALSE(FileIO::WriteRaw(path.c_str(), 2, 2, size, picture.view)) << size;
        EXPECT_FALSE(FileIO::WriteRaw(folder.Path("new.raw").c_str(), 2, 2, size, picture.view)) << size;
    }
    EXPECT_EQ(picture.Snapshot(), before);
    EXPECT_EQ(folder.Read("in.raw"), Counting(64)) << "what is refused is not emptied";
    EXPECT_FALSE(folder.Has("new.raw"));
}

TEST_F(FileIOTest, FilesThatCannotBeOpenedAreRefused) {
    WordPicture picture(2, 2);
    const Bytes before = picture.Snapshot();
    folder.Write("file", {1});
    for (const std::string& path : {folder.Path("missing.raw"), folder.Path("missing/x.raw"),
                                    folder.Path("file/x.raw"), folder.Folder(), std::string()}) {
        EXPECT_FALSE(FileIO::ReadRaw(path.c_str(), 2, 2, 4, picture.view)) << path;
    }
    for (const std::string& path :
         {folder.Path("missing/x.raw"), folder.Path("file/x.raw"), folder.Folder(), std::string()}) {
        EXPECT_FALSE(FileIO::WriteRaw(path.c_str(), 2, 2, 4, picture.view)) << path;
    }
    EXPECT_FALSE(FileIO::ReadRaw(nullptr, 2, 2, 4, picture.view));
    EXPECT_FALSE(FileIO::WriteRaw(nullptr, 2, 2, 4, picture.view));
    EXPECT_EQ(picture.Snapshot(), before);
}

TEST_F(FileIOTest, AFullDiskShows) {
    if (!std::filesystem::exists("/dev/full")) {
        GTEST_SKIP() << "no device that is full";
    }
    WordPicture small(2, 2), large(300, 300);
    EXPECT_FALSE(FileIO::WriteRaw("/dev/full", 2, 2, 4, small.view)) << "found by closing";
    EXPECT_FALSE(FileIO::WriteRaw("/dev/full", 300, 300, 4, large.view)) << "found by writing";
}

TEST_F(FileIOTest, ImagesWithoutWordsAreRefused) {
    const std::string path = folder.Write("in.raw", Counting(64));
    const auto refused = [&](const ImageDescriptor& format) {
        Image image(format, 64);
        ImageView view(&image);
        const auto* bytes = static_cast<const std::uint8_t*>(image.GetMemoryPointer(0));
        const ULong32 size = image.GetMemorySize(0);
        std::fill_n(static_cast<std::uint8_t*>(image.GetMemoryPointer(0)), size, std::uint8_t{9});
        const bool read = FileIO::ReadRaw(path.c_str(), 4, 4, 4, view);
        const bool written = FileIO::WriteRaw(folder.Path("out.raw").c_str(), 4, 4, 3, view);
        return !read && !written && std::count(bytes, bytes + size, 9) == static_cast<std::ptrdiff_t>(size);
    };
    EXPECT_TRUE(refused({4, 4, kRGB, k444, kBGRA, kPacked, kProgressive, kNoFields, kTopLeft, 1, kUnshaped}));
    EXPECT_TRUE(
        refused({4, 4, kYCrCb, k422, kCbYCrA, kPacked, kProgressive, kNoFields, kTopLeft, 1, kUnshaped}));
    EXPECT_TRUE(refused(
        {4, 4, kYCrCb, k420, kYCbCrPlanes, kPlanar, kProgressive, kNoFields, kTopLeft, 1, kUnshaped}));
    EXPECT_TRUE(refused({4, 4, kAlphaOnly, kProgressive, kNoFields, kTopLeft, 1}));
    EXPECT_TRUE(refused({4, 4, kRGB, kProgressive, kNoFields, kTopLeft, k16Bits, 1}));
    EXPECT_FALSE(folder.Has("out.raw"));
}

TEST_F(FileIOTest, ViewsWithoutMemoryAreRefused) {
    const std::string path = folder.Write("in.raw", Counting(64));
    ImageView nothing;
    EXPECT_FALSE(FileIO::ReadRaw(path.c_str(), 2, 2, 4, nothing));
    EXPECT_FALSE(FileIO::WriteRaw(folder.Path("out.raw").c_str(), 2, 2, 4, nothing));
    Image empty({2, 2, kRGB, kProgressive, kNoFields, kTopLeft, 1.0F}, 3, 2);  // no such alignment
    ImageView onEmpty(&empty);
    EXPECT_FALSE(FileIO::ReadRaw(path.c_str(), 2, 2, 4, onEmpty));
    EXPECT_FALSE(FileIO::WriteRaw(folder.Path("out.raw").c_str(), 2, 2, 4, onEmpty));
    EXPECT_FALSE(folder.Has("out.raw"));
}

// A record that says more than the memory holds.
TEST_F(FileIOTest, RowsThatLeaveTheMemoryAreRefused) {
    WordPicture picture(4, 4);
    const std::string path = folder.Write("in.raw", Counting(200));
    const Bytes before = picture.Snapshot();
    picture.image.GetImageDescriptor()->width = 5;
    EXPECT_FALSE(FileIO::ReadRaw(path.c_str(), 5, 4, 4, picture.view)) << "the last row does not fit";
    EXPECT_FALSE(FileIO::WriteRaw(folder.Path("out.raw").c_str(), 5, 4, 4, picture.view));
    picture.image.GetImageDescriptor()->width = 0xFFFFFFFF;
    EXPECT_FALSE(FileIO::ReadRaw(path.c_str(), 0xFFFFFFFF, 1, 4, picture.view));
    picture.image.GetImageDescriptor()->width = 4;
    picture.image.GetImageDescriptor()->height = 5;
    EXPECT_FALSE(FileIO::ReadRaw(path.c_str(), 4, 5, 4, picture.view));
    EXPECT_EQ(picture.Snapshot(), before);
    EXPECT_TRUE(FileIO::ReadRaw(path.c_str(), 4, 4, 4, picture.view));
}

TEST_F(FileIOTest, NothingIsReadAndWrittenWhole) {
    WordPicture picture(2, 2);
    const Bytes before = picture.Snapshot();
    const std::string path = folder.Write("in.raw", Counting(64));
    EXPECT_TRUE(FileIO::ReadRaw(path.c_str(), 0, 2, 4, picture.view));
    EXPECT_TRUE(FileIO::ReadRaw(path.c_str(), 2, 0, 3, picture.view));
    EXPECT_EQ(picture.Snapshot(), before);
    EXPECT_TRUE(FileIO::WriteRaw(folder.Path("out.raw").c_str(), 2, 0, 4, picture.view));
    EXPECT_TRUE(folder.Has("out.raw"));
    EXPECT_TRUE(folder.Read("out.raw").empty());
}

// Billions of rows, if they were walked.
TEST_F(FileIOTest, RowsOfNothingAreNone) {
    Image empty({0, 0xFFFFFFF0U, kRGB, kProgressive, kNoFields, kTopLeft, 1.0F}, 4, 4);
    ImageView none(&empty);
    const std::string path = folder.Write("in.raw", Counting(8));
    FileIO::ReadRaw(path.c_str(), 0xFFFFFFFF, 0xFFFFFFFF, 4, none);
    FileIO::WriteRaw(folder.Path("out.raw").c_str(), 0xFFFFFFFF, 0xFFFFFFFF, 4, none);
    EXPECT_TRUE(folder.Read("out.raw").empty());
    WordPicture picture(2, 2);
    picture.image.GetImageDescriptor()->width = 0xFFFFFFFF;
    EXPECT_TRUE(FileIO::ReadRaw(path.c_str(), 0xFFFFFFFF, 0, 4, picture.view)) << "no row of 16 gigabytes";
    picture.image.GetImageDescriptor()->width = 2;
    picture.image.GetImageDescriptor()->height = 0xFFFFFFFF;
    EXPECT_TRUE(FileIO::ReadRaw(path.c_str(), 0, 0xFFFFFFFF, 4, picture.view));
    EXPECT_TRUE(FileIO::WriteRaw(folder.Path("out.raw").c_str(), 0, 0xFFFFFFFF, 4, picture.view));
    EXPECT_TRUE(folder.Read("out.raw").empty());
}

TEST_F(FileIOTest, NoFileStaysOpen) {
    WordPicture picture(2, 2), broken(2, 2);
    broken.image.GetImageDescriptor()->height = 3;
    const std::string path = folder.Path("a.raw");
    const std::ptrdiff_t before = test_support::OpenFiles();
    EXPECT_FALSE(FileIO::ReadRaw(folder.Folder().c_str(), 2, 2, 4, picture.view));
    EXPECT_FALSE(FileIO::WriteRaw(path.c_str(), 2, 3, 4, broken.view));
    EXPECT_TRUE(FileIO::WriteRaw(path.c_str(), 2, 2, 4, picture.view));
    EXPECT_FALSE(FileIO::ReadRaw(path.c_str(), 2, 3, 4, broken.view));
    EXPECT_TRUE(FileIO::ReadRaw(path.c_str(), 2, 2, 3, picture.view));
    EXPECT_FALSE(FileIO::ReadRaw(path.c_str(), 2, 2, 5, picture.view));
    EXPECT_EQ(test_support::OpenFiles(), before);
}

}  // namespace
}  // namespace Zan
