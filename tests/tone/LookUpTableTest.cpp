#include <TesselU/image/Image.h>
#include <TesselU/image/ImageView.h>
#include <TesselU/tone/LookUpTable.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
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

// Below `low` the argument wraps: the top of the curve stands there.
TEST(LookUpTable, EntriesBelowLowAreBright) {
    LookUpTable tables(1, 256, 8);
    for (const TypeOfGamma type : {kGammaIdentity, kGammaVideoEncode, kGammaVideoEncodeOpenRange}) {
        tables.SetLUTtoGammaCorrect(0, type, 0.1, 1);
        for (ULong32 i = 0; i < 25; ++i) {
            EXPECT_EQ(tables.GetLUT(0, i), 255U);
        }
        EXPECT_EQ(tables.GetLUT(0, 25), 25U);
        EXPECT_EQ(tables.GetLUT(0, 255), 255U);
    }
}

// Above `high` as well, but no higher than `high` itself.
TEST(LookUpTable, EntriesAboveHighStayAtHigh) {
    LookUpTable tables(1, 256, 8);
    tables.SetLUTtoGammaCorrect(0, kGammaIdentity, 0, 0.5);
    // 0.5 * 255 is truncated to 127.
    for (ULong32 i = 0; i < 256; ++i) {
        EXPECT_EQ(tables.GetLUT(0, i), i < 127 ? i : 127U);
    }
}

double Half(double) {
    return 0.5;
}
double Negative(double x) {
    return -x;
}
double NotANumber(double) {
    return std::numeric_limits<double>::quiet_NaN();
}
double Itself(double x) {
    return x;
}

TEST(LookUpTable, FunctionsAreLimitedAndRounded) {
    LookUpTable tables(1, 16, 10);
    tables.SetLUTbyFunction(0, Half, 0, 1);
    EXPECT_EQ(tables.GetLUT(0, 3), 512U);  // 511.5 and a half, truncated
    tables.SetLUTbyFunction(0, Half, 0.25, 1);
    EXPECT_EQ(tables.GetLUT(0, 3), 639U);  // 255 + 384, the half of 1023 - 255
    tables.SetLUTbyFunction(0, Negative, 0.25, 1);
    EXPECT_EQ(tables.GetLUT(0, 15), 255U);
    tables.SetLUTbyFunction(0, NotANumber, 0.25, 1);
    EXPECT_EQ(tables.GetLUT(0, 15), 255U);
    tables.SetLUTbyFunction(0, nullptr, 0, 1);
    EXPECT_EQ(tables.GetLUT(0, 15), 255U);
}

// Any numbers are taken: all of it wraps or is limited.
TEST(LookUpTable, SpansOfAnyKind) {
    LookUpTable tables(1, 256, 8);
    // No span: 1 / 0 times 0 is not a number, times anything else infinite; the height is 0 as well.
    tables.SetLUTbyFunction(0, Itself, 0.5, 0.5);
    for (ULong32 i = 0; i < 256; ++i) {
        EXPECT_EQ(tables.GetLUT(0, i), 127U);
    }
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    const double odd[] = {0, -1, 2, 1e9, -1e9, 1e300, kInfinity, -kInfinity, std::nan("")};
    for (const double low : odd) {
        for (const double high : odd) {
            for (const ULong32 bits : {1U, 8U, 31U, 32U, 33U, 64U}) {
                LookUpTable wide(1, 3, bits);
                wide.SetLUTbyFunction(0, Itself, low, high);
                wide.SetLUTtoGammaCorrect(0, kGammaVideoDecode, low, high);
                if (bits < 32) {
                    EXPECT_LT(wide.GetLUT(0, 2), ULong32{1} << bits);
                }
            }
        }
    }
    // -1 * 255 counts as 2^32 - 255: the span is 510, entry 255 its end.
    tables.SetLUTbyFunction(0, Itself, -1, 1);
    EXPECT_EQ(tables.GetLUT(0, 0), 0U);  // 255/510 * 510 - 255
    EXPECT_EQ(tables.GetLUT(0, 255), 255U);
    EXPECT_EQ(tables.GetLUT(0, 100), 100U);
}

/// FNV-1a.
class Hash {
public:
    void Add(ULong32 value) {
        for (int i = 0; i < 4; ++i) {
            hash = (hash ^ ((value >> (8 * i)) & 0xFFU)) * 0x100000001B3U;
        }
    }
    std::uint64_t Value() const { return hash; }

private:
    std::uint64_t hash = 0xCBF29CE484222325U;
};

// The numbers are those of an independent program, with powers to 60 decimal digits; every machine must make
// the same tables.
TEST(LookUpTable, CurvesHaveTheSameBytesEverywhere) {
    struct {
        TypeOfGamma type;
        std::uint64_t hash;
    } const curves[] = {{kGammaVideoEncode, 0x47F8EB828B8C28DCU},
                        {kGammaVideoDecode, 0x05B61BC4E1173911U},
                        // Beyond 1 all curves end at the same limit.
                        {kGammaVideoEncodeOpenRange, 0x47F8EB828B8C28DCU},
                        {kGammaVideoDecodeOpenRange, 0x05B61BC4E1173911U}};
    struct {
        ULong32 entries, bits;
    } const sizes[] = {{256, 8}, {1024, 10}, {65536, 16}};
    struct {
        double low, high;
    } const ranges[] = {{0.0, 1.0}, {0.1, 1.0}, {0.0625, 0.92}, {0.25, 0.5}};
    for (const auto& curve : curves) {
        Hash hash;
        for (const auto& size : sizes) {
            LookUpTable tables(1, size.entries, size.bits);
            for (const auto& range : ranges) {
                tables.SetLUTtoGammaCorrect(0, curve.type, range.low, range.high);
                for (ULong32 i = 0; i < size.entries; ++i) {
                    hash.Add(tables.GetLUT(0, i));
                }
            }
        }
        EXPECT_EQ(hash.Value(), curve.hash) << curve.type;
    }
}

/// A 4:2:2 picture of bytes that rise by one, and its alpha where it has some.
struct Ramp {
    Image image;
    ImageView view{&image};

    explicit Ramp(AggregateChannelSamplingEnum sampling, ULong32 width = 16, ULong32 height = 2)
        : image(ImageDescriptor(width, height, kYCrCb, sampling, kCbYCrA, kPacked, kProgressive, kNoFields,
                                kTopLeft, 1.0F, kUnshaped),
                1, 1) {
        for (ULong32 i = 0; i < 2 * width * height; ++i) {
            Colour()[i] = static_cast<unsigned char>(i + 1);
        }
        for (ULong32 i = 0; sampling == k4224 && i < width * height; ++i) {
            Alpha()[i] = static_cast<unsigned char>(200 - i);
        }
    }
    unsigned char* Colour() { return static_cast<unsigned char*>(image.GetMemoryPointer(0)); }
    unsigned char* Alpha() { return static_cast<unsigned char*>(image.GetMemoryPointer(3)); }
};

/// Tables that add 10, 20, 30 ...
LookUpTable Adding(ULong32 count) {
    LookUpTable tables(count, 256, 8);
    for (ULong32 lut = 0; lut < count; ++lut) {
        for (ULong32 i = 0; i < 256; ++i) {
            tables.SetLUT(lut, i, i + 10 * (lut + 1));
        }
    }
    return tables;
}

TEST(LookUpTable, OddPixelsStay) {
    const LookUpTable tables = Adding(3);
    for (const Long32 width : {1, 2, 3}) {
        Ramp in(k422), out(k422);
        std::fill_n(out.Colour(), 64, static_cast<unsigned char>(0xEE));
        ImageView part(&out.image, Rectangle(0, 0, width, 1), kFrame);
        ASSERT_EQ(tables.Do(in.view, part, kFlp), 0);
        const unsigned char expected[] = {11, 22, 33, 24, 0xEE, 0xEE};
        for (std::size_t i = 0; i < 6; ++i) {
            EXPECT_EQ(out.Colour()[i], width == 1 ? 0xEE : expected[i]) << width << ", byte " << i;
        }
    }
}

TEST(LookUpTable, AlphaTakesFourTablesAndTwoPlanes) {
    for (const ULong32 count : {0U, 2U, 3U, 4U, 5U}) {
        const LookUpTable tables = Adding(count);
        for (const bool hasAlpha : {true, false}) {
            Ramp in(hasAlpha ? k4224 : k422), out(k4224);
            std::fill_n(out.Alpha(), 32, static_cast<unsigned char>(0xEE));
            std::fill_n(out.Colour(), 64, static_cast<unsigned char>(0xEE));
            // An odd last alpha byte goes through the table, other than its colour.
            ImageView part(&out.image, Rectangle(0, 0, 7, 2), kFrame);
            ASSERT_EQ(tables.Do(in.view, part, kBestAvailable), 0);
            for (ULong32 i = 0; i < 32; ++i) {
                const bool changes = count == 4 && hasAlpha && i % 16 < 7;
                EXPECT_EQ(out.Alpha()[i], changes ? 240 - i : 0xEEU) << count << ", alpha " << i;
            }
            EXPECT_EQ(out.Colour()[0], count < 3 ? 0xEE : 11);
            EXPECT_EQ(out.Colour()[12], 0xEE);
        }
    }
}

// Wider entries count as the bytes that they are made of, and what a small table lacks is 0.
TEST(LookUpTable, TablesAreReadAsBytes) {
    LookUpTable words(3, 20, 16);
    words.SetLUT(0, 0, 0x4321);
    Ramp in(k422);
    in.Colour()[4] = 38;
    in.Colour()[5] = 40;
    ASSERT_EQ(words.Do(in.view, in.view, kFlp), 0);
    EXPECT_EQ(in.Colour()[0], 0x43);  // byte 1 of table 0
    EXPECT_EQ(in.Colour()[1], 1);     // byte 2 is the low one of entry 1
    EXPECT_EQ(in.Colour()[2], 0);
    EXPECT_EQ(in.Colour()[3], 2);
    EXPECT_EQ(in.Colour()[4], 19);
    EXPECT_EQ(in.Colour()[5], 0);  // beyond
    EXPECT_EQ(in.Colour()[63], 0);
}

// 2^32 bytes are more than a buffer holds.
TEST(LookUpTable, TablesWithoutMemory) {
    LookUpTable tables(3, 0x40000000U, 32);
    EXPECT_EQ(tables.GetNumberOfLUTs(), 3U);
    EXPECT_EQ(tables.GetNumberOfLUTentries(), 0x40000000U);
    tables.SetLUT(0, 0, 5);
    tables.SetLUTtoIdentity();
    tables.SetLUTtoGammaCorrect(0, kGammaVideoEncode, 0, 1);
    EXPECT_EQ(tables.GetLUT(0, 5), 0U);
    EXPECT_EQ(tables.GetPointerToLUT(0), nullptr);
    Ramp in(k422);
    EXPECT_EQ(tables.Do(in.view, in.view, kFlp), 1);
    EXPECT_EQ(in.Colour()[0], 1);
    auto* words = reinterpret_cast<ULong32*>(in.Colour());
    unsigned char alpha[16] = {7};
    EXPECT_EQ(tables.Do_ButUseComponentAndAlphaYCrCb4224(words, alpha, words, alpha, 16, 1, 32, 16, 32, 16),
              1);
    tables.Init(3, 0, 8);
    EXPECT_EQ(tables.GetLUT(0, 0), 0U);
    EXPECT_EQ(tables.Do(in.view, in.view, kFlp), 0);
    EXPECT_EQ(in.Colour()[0], 0);
}

TEST(LookUpTable, ComponentAndAlphaByHand) {
    LookUpTable tables(3, 65536, 8);
    for (ULong32 lut = 0; lut < 3; ++lut) {
        for (ULong32 i = 0; i < 65536; ++i) {
            tables.SetLUT(lut, i, (i >> 8) + 3 * (i & 0xFFU) + lut);
        }
    }
    alignas(4) unsigned char colour[] = {10, 20, 30, 40, 50, 60, 70, 80};
    unsigned char alpha[] = {1, 2, 3, 4}, made[] = {0, 0, 0, 0};
    alignas(4) unsigned char out[8] = {};
    auto* const from = reinterpret_cast<ULong32*>(colour);
    auto* const to = reinterpret_cast<ULong32*>(out);
    ASSERT_EQ(tables.Do_ButUseComponentAndAlphaYCrCb4224(from, alpha, to, made, 3, 1, 8, 3, 8, 3), 0);
    const unsigned char expected[] = {13, 24, 35, 47, 0, 0, 0, 0};
    EXPECT_TRUE(std::equal(out, out + 8, expected));
    const unsigned char copied[] = {1, 2, 3, 0};
    EXPECT_TRUE(std::equal(made, made + 4, copied));

    EXPECT_EQ(tables.Do_ButUseComponentAndAlphaYCrCb4224(from, nullptr, to, made, 2, 1, 8, 3, 8, 3), 0);
    EXPECT_EQ(tables.Do_ButUseComponentAndAlphaYCrCb4224(from, alpha, to, nullptr, 2, 1, 8, 3, 8, 3), 0);
    EXPECT_EQ(tables.Do_ButUseComponentAndAlphaYCrCb4224(nullptr, alpha, to, made, 2, 1, 8, 3, 8, 3), 1);
    EXPECT_EQ(tables.Do_ButUseComponentAndAlphaYCrCb4224(from, alpha, nullptr, made, 2, 1, 8, 3, 8, 3), 1);
    EXPECT_TRUE(std::equal(out, out + 8, expected));

    // Upwards, and a table that ends with component 11.
    tables.Init(3, 11 * 256, 8);
    for (ULong32 i = 0; i < 11 * 256; ++i) {
        tables.SetLUT(0, i, 99);
    }
    ASSERT_EQ(tables.Do_ButUseComponentAndAlphaYCrCb4224(from + 1, alpha + 2, to + 1, made + 2, 2, 2, -4, -2,
                                                         -4, -2),
              0);
    const unsigned char upwards[] = {99, 0, 0, 0, 0, 0, 0, 0};
    EXPECT_TRUE(std::equal(out, out + 8, upwards));
    tables.Init(2, 65536, 8);
    EXPECT_EQ(tables.Do_ButUseComponentAndAlphaYCrCb4224(from, alpha, to, made, 2, 1, 8, 3, 8, 3), 0);
    EXPECT_TRUE(std::equal(out, out + 8, upwards));
}

// Where the tables change nothing nothing is looked up, and the bytes still arrive.
TEST(LookUpTable, IdentityCopies) {
    for (const bool lumaToo : {true, false}) {
        LookUpTable tables(4, 256, 8);
        if (!lumaToo) {
            tables.SetLUT(1, 2, 99);
        }
        Ramp in(k4224, 300), out(k4224, 300);
        std::fill_n(out.Alpha(), 600, static_cast<unsigned char>(0));
        std::fill_n(out.Colour(), 1200, static_cast<unsigned char>(0));
        ASSERT_EQ(tables.Do(in.view, out.view, kFlp), 0);
        for (ULong32 i = 0; i < 1200; ++i) {
            const ULong32 expected = i % 256 == 1 && !lumaToo ? 99 : (i + 1) % 256;
            ASSERT_EQ(out.Colour()[i], expected) << i;
        }
        EXPECT_TRUE(std::equal(in.Alpha(), in.Alpha() + 600, out.Alpha()));
    }
}

}  // namespace
