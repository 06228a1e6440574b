#include <TesselU/image/Image.h>
#include <TesselU/image/ImageView.h>
#include <TesselU/tone/LookUpTable.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>

using namespace Zan;

namespace {

TEST(LookUpTable, NewTablesAreIdentity) {
    const LookUpTable tables;
    EXPECT_EQ(tables.GetNumberOfLUTs(), 1U);
    EXPECT_EQ(tables.GetNumberOfLUTentries(), 256U);
    EXPECT_EQ(tables.GetNumberOfBitsPerEntry(), 8U);
    EXPECT_EQ(tables.GetNumberOfBytesPerEntry(), 1U);
    const unsigned char* table = tables.GetPointerToLUT(0);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(table) % 128, 0U);
    for (ULong32 i = 0; i < 256; ++i) {
        EXPECT_EQ(table[i], i);
        EXPECT_EQ(tables.GetLUT(0, i), i);
    }
}

TEST(LookUpTable, BitsBecomeBytes) {
    struct {
        ULong32 bits, stored, bytes;
    } const cases[] = {{0, 1, 1},   {1, 1, 1},   {8, 8, 1},   {9, 9, 2},   {10, 10, 2}, {16, 16, 2},
                       {17, 17, 4}, {24, 24, 4}, {25, 25, 4}, {32, 32, 4}, {33, 33, 5}};
    for (const auto& c : cases) {
        const LookUpTable tables(2, 300, c.bits);
        EXPECT_EQ(tables.GetNumberOfBitsPerEntry(), c.stored);
        EXPECT_EQ(tables.GetNumberOfBytesPerEntry(), c.bytes) << c.bits;
        EXPECT_EQ(tables.GetLUT(1, 299), c.bytes == 1 ? 299U - 256U : 299U) << c.bits;
    }
}

TEST(LookUpTable, EntriesAreTruncatedToTheirBytes) {
    LookUpTable bytes(1, 16, 8), words(1, 16, 12), longs(1, 16, 20);
    for (LookUpTable* tables : {&bytes, &words, &longs}) {
        tables->SetLUT(0, 3, 0x89ABCDEFU);
    }
    EXPECT_EQ(bytes.GetLUT(0, 3), 0xEFU);
    EXPECT_EQ(words.GetLUT(0, 3), 0xCDEFU);
    EXPECT_EQ(longs.GetLUT(0, 3), 0x89ABCDEFU);
    EXPECT_EQ(words.GetLUT(0, 2), 2U);
    EXPECT_EQ(words.GetLUT(0, 4), 4U);
    // Little-endian in memory.
    EXPECT_EQ(words.GetPointerToLUT(0)[6], 0xEFU);
    EXPECT_EQ(words.GetPointerToLUT(0)[7], 0xCDU);
}

TEST(LookUpTable, OutOfRangeIsLeftAlone) {
    LookUpTable tables(2, 16, 8);
    tables.SetLUT(2, 0, 99);
    tables.SetLUT(0, 16, 99);
    tables.SetLUT(0xFFFFFFFFU, 0xFFFFFFFFU, 99);
    tables.SetLUTtoIdentity(2);
    tables.SetLUTtoGammaCorrect(2, kGammaVideoEncode, 0, 1);
    EXPECT_EQ(tables.GetLUT(2, 0), 0U);
    EXPECT_EQ(tables.GetLUT(0, 16), 0U);
    EXPECT_EQ(tables.GetPointerToLUT(2), nullptr);
    for (ULong32 lut = 0; lut < 2; ++lut) {
        for (ULong32 i = 0; i < 16; ++i) {
            EXPECT_EQ(tables.GetLUT(lut, i), i);
        }
    }
}

TEST(LookUpTable, CopiesShareTheirTables) {
    auto first = std::make_unique<LookUpTable>(3, 256, 8);
    LookUpTable copy(*first), assigned(1, 4, 8);
    assigned = copy;
    first->SetLUT(1, 7, 200);
    EXPECT_EQ(copy.GetLUT(1, 7), 200U);
    EXPECT_EQ(assigned.GetLUT(1, 7), 200U);
    EXPECT_EQ(assigned.GetNumberOfLUTs(), 3U);
    first->Init(1, 16, 16);
    EXPECT_EQ(first->GetLUT(0, 7), 7U);
    first.reset();
    EXPECT_EQ(copy.GetPointerToLUT(1), assigned.GetPointerToLUT(1));
    EXPECT_EQ(assigned.GetLUT(1, 7), 200U);
}

TEST(LookUpTable, PlainReads) {
    const LookUpTable tables;
    unsigned char bytes[] = {1, 2, 250};
    unsigned short words[] = {1, 2, 65000};
    ULong32 longs[] = {1, 2, 0xFFFFFFFEU};
    EXPECT_EQ(tables.Do(bytes, 2), 250U);
    EXPECT_EQ(tables.Do(words, 2), 65000U);
    EXPECT_EQ(tables.Do(longs, 2), 0xFFFFFFFEU);
}

TEST(LookUpTable, IdentityCurveIsIdentity) {
    LookUpTable tables(3, 256, 8);
    for (const TypeOfGamma type :
         {kGammaIdentity, kGammaPower, static_cast<TypeOfGamma>(6), static_cast<TypeOfGamma>(-1)}) {
        tables.SetLUT(0, 9, 77);
        tables.SetLUTtoGammaCorrect(0, type, 0, 1);
        for (ULong32 i = 0; i < 256; ++i) {
            EXPECT_EQ(tables.GetLUT(0, i), i);
        }
    }
}

}  // namespace
