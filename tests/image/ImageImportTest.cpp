#include <TesselU/image/ImageImport.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <vector>

#include "support/FencedMemory.h"
#include "support/ScratchFolder.h"

namespace {

using test_support::Bytes;
using Zan::ULong32;
using Words = std::vector<ULong32>;

class ImageImportTest : public ::testing::Test {
protected:
    static constexpr ULong32 kKept = 0xCAFEF00D;

    static Bytes Counting(std::size_t count) {
        Bytes bytes(count);
        for (std::size_t i = 0; i < count; ++i) {
            bytes[i] = static_cast<std::uint8_t>(i + 1);
        }
        return bytes;
    }

    test_support::ScratchFolder folder;
};

TEST_F(ImageImportTest, PixelsOfOneToFourBytesFillTheirWord) {
    const std::string path = folder.Write("in.raw", Counting(8));
    const Words expected[] = {{0x00010000, 0x00020000},
                              {0x00010200, 0x00030400},
                              {0x00010203, 0x00040506},
                              {0x04010203, 0x08050607}};
    for (ULong32 bytes = 1; bytes <= 4; ++bytes) {
        Words memory(2, kKept);
        EXPECT_TRUE(ImageImport::FileReadRaw(path.c_str(), 2, 1, bytes, memory.data(), 2, 1, 8));
        EXPECT_EQ(memory, expected[bytes - 1]) << bytes;
    }
}

TEST_F(ImageImportTest, WordsGiveTheirFirstBytes) {
    Words memory = {0x04010203, 0x14111213};
    const Bytes expected[] = {{1, 17}, {1, 2, 17, 18}, {1, 2, 3, 17, 18, 19}, {1, 2, 3, 4, 17, 18, 19, 20}};
    for (ULong32 bytes = 1; bytes <= 4; ++bytes) {
        EXPECT_TRUE(
            ImageImport::FileWriteRaw(folder.Path("out.raw").c_str(), 2, 1, bytes, memory.data(), 2, 1, 8));
        EXPECT_EQ(folder.Read("out.raw"), expected[bytes - 1]) << bytes;
    }
}

TEST_F(ImageImportTest, AWideFileSlidesThroughANarrowTarget) {
    // 100 by 100 pixels of four bytes: the number of the pixel, and two bytes that tell it apart.
    Bytes file;
    for (unsigned i = 0; i < 100 * 100; ++i) {
        file.insert(file.end(), {static_cast<std::uint8_t>(i >> 8), static_cast<std::uint8_t>(i), 7, 9});
    }
    const std::string path = folder.Write("in.raw", file);
    Words memory(50 * 100, kKept);
    EXPECT_TRUE(ImageImport::FileReadRaw(path.c_str(), 100, 100, 4, memory.data(), 50, 100, 200));
    for (unsigned y = 0; y < 100; ++y) {
        for (unsigned x = 0; x < 50; ++x) {
            const unsigned pixel = y * 50 + x;  // of the file
            EXPECT_EQ(memory[pixel], 0x09000007U | pixel >> 8 << 16 | (pixel & 0xFF) << 8);
        }
    }
}

TEST_F(ImageImportTest, TheSmallerOfFileAndMemoryCounts) {
    const std::string path = folder.Write("in.raw", Counting(4));
    Words memory(6, kKept);
    EXPECT_TRUE(ImageImport::FileReadRaw(path.c_str(), 2, 1, 1, memory.data(), 3, 2, 12));
    EXPECT_EQ(memory, (Words{0x00010000, 0x00020000, kKept, kKept, kKept, kKept}));
    EXPECT_TRUE(ImageImport::FileReadRaw(path.c_str(), 0xFFFFFFFF, 0xFFFFFFFF, 1, memory.data(), 1, 2, 12));
    EXPECT_EQ(memory, (Words{0x00010000, 0x00020000, kKept, 0x00020000, kKept, kKept}));
    EXPECT_TRUE(ImageImport::FileReadRaw(path.c_str(), 1, 1, 1, memory.data(), 0xFFFFFFFF, 0xFFFFFFFF, 12));
    EXPECT_TRUE(ImageImport::FileWriteRaw(folder.Path("out.raw").c_str(), 9, 1, 2, memory.data(), 2, 7, 8));
    EXPECT_EQ(folder.Read("out.raw"), (Bytes{1, 0, 2, 0}));
}

TEST_F(ImageImportTest, APitchCountsInWholeWords) {
    const std::string path = folder.Write("in.raw", Counting(4));
    Words memory(6, kKept);
    EXPECT_TRUE(ImageImport::FileReadRaw(path.c_str(), 2, 2, 1, memory.data(), 2, 2, 15));
    EXPECT_EQ(memory, (Words{0x00010000, 0x00020000, kKept, 0x00030000, 0x00040000, kKept}));
    EXPECT_TRUE(ImageImport::FileWriteRaw(folder.Path("out.raw").c_str(), 2, 2, 1, memory.data(), 2, 2, 13));
    EXPECT_EQ(folder.Read("out.raw"), Counting(4));
}

TEST_F(ImageImportTest, WhatAShortFileLacksIsZero) {
    const Bytes whole = Counting(3 * 2 * 3);
    for (std::size_t length = 0; length <= whole.size(); ++length) {
        Bytes expected(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length));
        const std::string path = folder.Write("cut.raw", expected);
        expected.resize(whole.size(), 0);
        Words memory(3 * 2, kKept);
        EXPECT_TRUE(ImageImport::FileReadRaw(path.c_str(), 3, 2, 3, memory.data(), 3, 2, 12));
        for (std::size_t i = 0; i < memory.size(); ++i) {
            EXPECT_EQ(memory[i], ULong32{expected[3 * i]} << 16 | ULong32{expected[3 * i + 1]} << 8 |
                                     ULong32{expected[3 * i + 2]});
        }
    }
}

TEST_F(ImageImportTest, LongRowsComeBackAsTheyWereAndNothingElseIsTouched) {
    for (const ULong32 width : {1U, 4095U, 4096U, 4097U, 9000U}) {
        test_support::FencedMemory first(std::size_t{width} * 4 * 3), second(std::size_t{width} * 4 * 3);
        const Bytes guard = second.Snapshot();
        const std::string path = folder.Path("round.raw");
        const auto words = [](test_support::FencedMemory& memory) {
            return reinterpret_cast<ULong32*>(memory.Data());
        };
        EXPECT_TRUE(ImageImport::FileWriteRaw(path.c_str(), width, 3, 4, words(first), width, 3, 4 * width));
        EXPECT_TRUE(ImageImport::FileReadRaw(path.c_str(), width, 3, 4, words(second), width, 3, 4 * width));
        EXPECT_EQ(std::memcmp(first.Data(), second.Data(), first.Length()), 0) << width;
        const Bytes after = second.Snapshot();
        const auto before = static_cast<std::ptrdiff_t>(second.GuardLength());
        EXPECT_TRUE(std::equal(guard.begin(), guard.begin() + before, after.begin()));
    }
}

TEST_F(ImageImportTest, RefusalsChangeNothing) {
    const std::string path = folder.Write("in.raw", Counting(64));
    Words memory(4, kKept);
    for (const ULong32 bytes : {0U, 5U, 0xFFFFFFFFU}) {
        EXPECT_FALSE(ImageImport::FileReadRaw(path.c_str(), 2, 2, bytes, memory.data(), 2, 2, 8));
        EXPECT_FALSE(ImageImport::FileWriteRaw(path.c_str(), 2, 2, bytes, memory.data(), 2, 2, 8));
    }
    EXPECT_EQ(folder.Read("in.raw"), Counting(64));
    folder.Write("file", {1});
    for (const std::string& name :
         {folder.Path("missing/x.raw"), folder.Path("file/x.raw"), folder.Folder()}) {
        EXPECT_FALSE(ImageImport::FileReadRaw(name.c_str(), 2, 2, 4, memory.data(), 2, 2, 8)) << name;
        EXPECT_FALSE(ImageImport::FileWriteRaw(name.c_str(), 2, 2, 4, memory.data(), 2, 2, 8)) << name;
    }
    EXPECT_FALSE(ImageImport::FileReadRaw(folder.Path("missing").c_str(), 2, 2, 4, memory.data(), 2, 2, 8));
    EXPECT_FALSE(ImageImport::FileReadRaw(nullptr, 2, 2, 4, memory.data(), 2, 2, 8));
    EXPECT_FALSE(ImageImport::FileWriteRaw(nullptr, 2, 2, 4, memory.data(), 2, 2, 8));
    EXPECT_FALSE(ImageImport::FileReadRaw(path.c_str(), 2, 2, 4, nullptr, 2, 2, 8));
    EXPECT_FALSE(ImageImport::FileWriteRaw(folder.Path("new.raw").c_str(), 2, 2, 4, nullptr, 2, 2, 8));
    EXPECT_FALSE(folder.Has("new.raw"));
    EXPECT_EQ(memory, Words(4, kKept));
}

TEST_F(ImageImportTest, AnOpenFileIsTrueWhateverBecomesOfIt) {
    if (!std::filesystem::exists("/dev/full")) {
        GTEST_SKIP() << "no device that is full";
    }
    Words memory(9000, kKept);
    EXPECT_TRUE(ImageImport::FileWriteRaw("/dev/full", 9000, 1, 4, memory.data(), 9000, 1, 0));
}

TEST_F(ImageImportTest, RowsOfNothingAreNone) {
    Words memory(1, kKept);
    const std::string path = folder.Write("in.raw", Counting(8));
    EXPECT_TRUE(ImageImport::FileReadRaw(path.c_str(), 0, 0xFFFFFFFF, 4, memory.data(), 1, 0xFFFFFFFF, 4));
    EXPECT_TRUE(ImageImport::FileWriteRaw(folder.Path("out.raw").c_str(), 1, 0xFFFFFFFF, 4, memory.data(), 0,
                                          0xFFFFFFFF, 4));
    EXPECT_TRUE(folder.Read("out.raw").empty());
    EXPECT_EQ(memory[0], kKept);
}

TEST_F(ImageImportTest, NoFileStaysOpen) {
    Words memory(1, kKept);
    const std::string path = folder.Path("a.raw");
    const std::ptrdiff_t before = test_support::OpenFiles();
    EXPECT_FALSE(ImageImport::FileReadRaw(folder.Folder().c_str(), 1, 1, 4, memory.data(), 1, 1, 4));
    EXPECT_TRUE(ImageImport::FileWriteRaw(path.c_str(), 1, 1, 4, memory.data(), 1, 1, 4));
    EXPECT_TRUE(ImageImport::FileReadRaw(path.c_str(), 1, 1, 4, memory.data(), 1, 1, 4));
    EXPECT_EQ(test_support::OpenFiles(), before);
    EXPECT_EQ(memory[0], kKept);
}

}  // namespace
