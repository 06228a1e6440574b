// Conversions without a matrix: copies, the swap of luma and chroma, monochrome pictures.

#include "convert/KernelRuns.h"

namespace {

using namespace Zan;
using namespace convert_test;

// What a repack makes of a byte of the first plane. Alpha stays as it is.
using Repack = std::function<int(ConvertedPicture& source, std::size_t byte, std::size_t row)>;

int Swapped(ConvertedPicture& source, std::size_t byte, std::size_t row) {
    return source.At(0, byte ^ 1U, row);
}
// Cb, Y, Cr, Y: chroma is neutral.
int Monochrome(ConvertedPicture& source, std::size_t byte, std::size_t row) {
    return byte % 2 == 0 ? 128 : source.At(0, byte, row);
}

// Of whole pairs, and of an odd last column all but the place of the luma that it has not got.
Expectation PairsBy(const Repack& repack, const Size& size, std::size_t missingLuma) {
    return [&repack, size, missingLuma](ConvertedPicture& source, ExpectedPicture& expected) {
        const std::size_t pairs = (size.width + 1U) / 2;
        for (std::size_t y = 0; y < size.height; ++y) {
            for (std::size_t i = 0; i < 4 * pairs; ++i) {
                if (size.width % 2 == 0 || i != 4 * (pairs - 1) + missingLuma) {
                    expected.Set(0, i, y, repack(source, i, y));
                }
            }
            for (std::size_t x = 0; source.Planes() > 1 && x < size.width; ++x) {
                expected.Set(1, x, y, source.At(1, x, y));
            }
        }
    };
}

// ---- Swaps and monochrome --------------------------------------------------------------------------------

struct PairRepack {
    Conversion pair;
    Repack repack;
    std::size_t missingLuma;
};

const PairRepack kPairRepacks[] = {
    {{kFmtCbYCrY, kFmtYCbYCr}, Swapped, 2},
    {{kFmtYCbYCr, kFmtCbYCrY}, Swapped, 3},
    {{kFmtCbYCrY, kFmtCbYCrYMono}, Monochrome, 3},
    {{kFmtCbYCrYMono, kFmtCbYCrYMono}, Monochrome, 3},
    {{kFmtCbYCrY4, kFmtCbYCrY4Mono}, Monochrome, 3},
    {{kFmtCbYCrY4Shaped, kFmtCbYCrY4MonoShaped}, Monochrome, 3},
    {{kFmtCbYCrY4Mono, kFmtCbYCrY4Mono}, Monochrome, 3},
};

TEST(ConverterKernels, RepacksOfPairs) {
    for (const PairRepack& each : kPairRepacks) {
        ForEverySize([&](const Size& size, const Placement& placement, const RunsAs& run) {
            ExpectConversion(each.pair, size, placement, run, {},
                             PairsBy(each.repack, size, each.missingLuma));
        });
    }
}

// With an alpha plane beside the pairs, too: one pass or two, the bytes are the same.
TEST(ConverterKernels, RepacksOfPairsStreamedToAnyAddress) {
    for (const PairRepack& each : kPairRepacks) {
        ForEveryStreamedAddress([&](const Size& size, const Placement& placement, const RunsAs& run) {
            ExpectConversion(each.pair, size, placement, run, {},
                             PairsBy(each.repack, size, each.missingLuma));
        });
    }
}

TEST(ConverterKernels, SwapWorkedByHand) {
    // Five columns: the last pair gets its chroma and one luma.
    Bytes out = OneLine({kFmtCbYCrY, kFmtYCbYCr}, 5, Repeated({1, 2, 3, 4}, 3));
    EXPECT_EQ(out, (Bytes{2, 1, 4, 3, 2, 1, 4, 3, 2, 1, 0xEE, 3}));
    out = OneLine({kFmtYCbYCr, kFmtCbYCrY}, 5, Repeated({1, 2, 3, 4}, 3));
    EXPECT_EQ(out, (Bytes{2, 1, 4, 3, 2, 1, 4, 3, 2, 1, 4, 0xEE}));
    out = OneLine({kFmtCbYCrY, kFmtCbYCrYMono}, 5, Repeated({1, 2, 3, 4}, 3));
    EXPECT_EQ(out, (Bytes{128, 2, 128, 4, 128, 2, 128, 4, 128, 2, 128, 0xEE}));
}

TEST(ConverterKernels, SwapInPlaceTwiceIsNothing) {
    ForEveryRun([](const RunsAs&) {
        for (const unsigned width : {1U, 2U, 30U, 33U, 64U, 66U, 130U, 299U}) {
            // The other image has its lines where this one has them.
            ConvertedPicture picture(kFmtCbYCrY, width, 3, {8, 3, false});
            const ImageDescriptor other(picture.GetImage().GetWidth(), 3, kYCrCb, k422, kYCbYCr, kPacked,
                                        kProgressive, kNoFields, kTopLeft, 1.0F, kUnshaped);
            Image sameMemory(&picture.At(0, 0, 0), picture.GetImage().GetPitch(0), other, 1, 1);
            ExpectedPicture before(picture), swapped(picture);
            const unsigned whole = width / 2 * 2;
            for (std::size_t y = 0; y < 3; ++y) {
                for (std::size_t i = 0; i < std::size_t{2} * whole; ++i) {
                    swapped.Set(0, i, y, picture.At(0, i ^ 1U, y));
                }
            }
            const Rectangle region(0, 0, static_cast<Long32>(whole), 3);
            ImageView asCbYCrY(picture, region, kFrame), asYCbYCr(&sameMemory, region, kFrame);
            ColorSpaceConverter converter;
            ASSERT_EQ(converter.Do(asCbYCrY, asYCbYCr, kInt_MMXorSIMD, nullptr, nullptr), 0);
            ASSERT_EQ(swapped.FirstDifference(), "") << width;
            ASSERT_EQ(converter.Do(asYCbYCr, asCbYCrY, kInt_MMXorSIMD, nullptr, nullptr), 0);
            ASSERT_EQ(before.FirstDifference(), "") << width;
        }
    });
}

TEST(ConverterKernels, MonochromeInPlace) {
    ForEveryRun([](const RunsAs&) {
        for (const ConverterFormat format : {kFmtCbYCrYMono, kFmtCbYCrY4Mono}) {
            for (const unsigned width : {1U, 2U, 31U, 64U, 67U, 130U, 300U}) {
                ConvertedPicture picture(format, width, 3, {width % 5, 1, false});
                ExpectedPicture expected(picture);
                PairsBy(Monochrome, {width, 3}, 3)(picture, expected);
                ImageView view = picture.View(width, 3);
                ColorSpaceConverter converter;
                ASSERT_EQ(converter.Do(view, view, kInt_MMXorSIMD, nullptr, nullptr), 0);
                ASSERT_EQ(expected.FirstDifference(), "") << format << ", " << width;
            }
        }
    });
}

// ---- Copies ----------------------------------------------------------------------------------------------

struct Copy {
    ConverterFormat format;
    std::size_t columnBytes;  ///< of a column, or of half a pair
    bool inPairs;             ///< of an odd last column its luma and the chroma
};

constexpr Copy kCopies[] = {
    {kFmtRGB32, 4, false},        {kFmtCbYCrA, 4, false},          {kFmtRGB32NarrowClamp, 4, false},
    {kFmtRGB32Studio, 4, false},  {kFmtRGB32StudioOpen, 4, false}, {kFmtYCbCrA, 4, false},
    {kFmtRGB32Shaped, 4, false},  {kFmtCbYCrAShaped, 4, false},    {kFmtRGB24, 3, false},
    {kFmtAlpha8, 1, false},       {kFmtCbYCrY, 2, true},           {kFmtCbYCrY4, 2, true},
    {kFmtCbYCrY4Shaped, 2, true},
};

Expectation CopiedBy(const Copy& copy, const Size& size) {
    return [copy, size](ConvertedPicture& source, ExpectedPicture& expected) {
        const std::size_t rest = copy.inPairs && size.width % 2 != 0 ? 1 : 0;
        for (std::size_t y = 0; y < size.height; ++y) {
            for (std::size_t i = 0; i < copy.columnBytes * size.width + rest; ++i) {
                expected.Set(0, i, y, source.At(0, i, y));
            }
            for (std::size_t x = 0; source.Planes() > 1 && x < size.width; ++x) {
                expected.Set(1, x, y, source.At(1, x, y));
            }
        }
    };
}

TEST(ConverterKernels, Copies) {
    for (const Copy& copy : kCopies) {
        ForEverySize([&](const Size& size, const Placement& placement, const RunsAs& run) {
            ExpectConversion({copy.format, copy.format}, size, placement, run, {}, CopiedBy(copy, size));
        });
    }
}

TEST(ConverterKernels, CopiesStreamedToAnyAddress) {
    for (const Copy& copy : kCopies) {
        ForEveryStreamedAddress([&](const Size& size, const Placement& placement, const RunsAs& run) {
            ExpectConversion({copy.format, copy.format}, size, placement, run, {}, CopiedBy(copy, size));
        });
    }
}

TEST(ConverterKernels, CopiesLookAtNoMatrix) {
    const Matrix own = RandomMatrix(8000, 2000);
    ForEveryRun([&](const RunsAs& run) {
        const Copy& copy = kCopies[0];
        ExpectConversion({copy.format, copy.format}, {33, 2}, {}, run, Given::Both(own, 9),
                         CopiedBy(copy, {33, 2}));
    });
}

TEST(ConverterKernels, CopyOntoItselfChangesNothing) {
    ForEveryRun([](const RunsAs&) {
        for (const ConverterFormat format : {kFmtRGB32, kFmtCbYCrY, kFmtCbYCrY4, kFmtRGB24, kFmtAlpha8}) {
            ConvertedPicture picture(format, 50, 4, {4, 3, false});
            const ExpectedPicture before(picture);
            ImageView view(picture);
            ColorSpaceConverter converter;
            ASSERT_EQ(converter.Do(view, view, kInt_MMXorSIMD, nullptr, nullptr), 0);
            ASSERT_EQ(before.FirstDifference(), "") << format;
        }
    });
}

TEST(ConverterKernels, CopiesOf32BitWordsStepByWholeWords) {
    // Rows 43 and 46 bytes apart are walked 40 and 44 apart, since pitches count in words; backwards too.
    for (const bool bottomUp : {false, true}) {
        Bytes from(43 * 3), to(46 * 3);
        FillRandom(from.data(), from.size());
        Bytes expected = to;
        const ImageDescriptor format(10, 3, kRGB, k4444, kBGRA, kPacked, kProgressive, kNoFields,
                                     bottomUp ? kBottomLeft : kTopLeft, 1.0F, kUnshaped);
        Image source(from.data(), 43, format, 1, 1), destination(to.data(), 46, format, 1, 1);
        for (std::size_t y = 0; y < 3; ++y) {
            for (std::size_t i = 0; i < 40; ++i) {
                const std::size_t at = bottomUp ? 46 * 2 - 44 * y : 44 * y;
                expected[at + i] = from[(bottomUp ? 43 * 2 - 40 * y : 40 * y) + i];
            }
        }
        ImageView fromView(&source), toView(&destination);
        ColorSpaceConverter converter;
        ASSERT_EQ(converter.Do(fromView, toView, kInt_MMXorSIMD, nullptr, nullptr), 0);
        EXPECT_EQ(to, expected) << bottomUp;
    }
}

// ---- Nothing to do ---------------------------------------------------------------------------------------

TEST(ConverterKernels, NothingToConvertIsDone) {
    for (const Conversion& pair : {Conversion{kFmtCbYCrY, kFmtRGB32}, Conversion{kFmtRGB32, kFmtCbYCrY},
                                   Conversion{kFmtPlanar420, kFmtRGB32}, Conversion{kFmtCbYCrY, kFmtYCbYCr},
                                   Conversion{kFmtRGB32, kFmtRGB32}}) {
        ConvertedPicture source(pair.source, 16, 4), destination(pair.destination, 16, 4);
        const ExpectedPicture before(destination);
        for (const Rectangle& region :
             {Rectangle(0, 0, 0, 4), Rectangle(0, 0, 16, 0), Rectangle(0, 4, 16, 4)}) {
            ImageView from(source, region, kFrame), to(destination);
            ColorSpaceConverter converter;
            EXPECT_EQ(converter.Do(from, to, kInt_MMXorSIMD, nullptr, nullptr), 0);
            EXPECT_EQ(before.FirstDifference(), "");
        }
    }
}

}  // namespace
