#include <TesselU/convert/ColorSpaceConverterMT.h>
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <set>
#include <type_traits>

#include "convert/ConversionPlan.h"
#include "convert/ConversionStrips.h"
#include "convert/ConvertedPicture.h"
#include "convert/PackedPicture.h"
#include "simd/Lines.h"
#include "support/CountedAllocations.h"
#include "support/Threads.h"

namespace {

using namespace Zan;
using namespace convert_test;

static_assert(std::is_base_of_v<ColorSpaceConverter, ColorSpaceConverterMT>);
static_assert(!std::is_copy_constructible_v<ColorSpaceConverterMT>);

Long32 ConvertMT(ColorSpaceConverterMT& converter, ImageView from, ImageView to,
                 ProcessingStyleEnum style = kInt_MMXorSIMD) {
    return converter.Do(from, to, style, nullptr, nullptr);
}

struct Statuses {
    Long32 first = 0;
    bool areEqual = true;
};

/// What the strips give one after the other, each a region that starts where the last one ended.
Statuses ConvertStrips(unsigned workers, const ImageView& from, const ImageView& to,
                       ProcessingStyleEnum style) {
    const Rectangle source = from.GetRegionOfInterest(), destination = to.GetRegionOfInterest();
    const Long32 rows = std::min(source.getHeight(), destination.getHeight());
    const Long32 each = rows / static_cast<Long32>(workers);
    Statuses statuses;
    for (unsigned i = 0; i < workers; ++i) {
        const Long32 top = static_cast<Long32>(i) * each;
        const Long32 lines = i + 1 == workers ? rows - top : each;
        ImageView sourceStrip(from.GetImage(),
                              {source.getLeft(), source.getTop() + top, source.getWidth(), lines}, kFrame);
        ImageView destinationStrip(
            to.GetImage(), {destination.getLeft(), destination.getTop() + top, destination.getWidth(), lines},
            kFrame);
        ColorSpaceConverter converter;
        const Long32 status = converter.Do(sourceStrip, destinationStrip, style, nullptr, nullptr);
        statuses.first = i == 0 ? status : statuses.first;
        statuses.areEqual = statuses.areEqual && status == statuses.first;
    }
    return statuses;
}

/// Makes the bytes of two pictures of one format and size the same, those around them too.
void Equalise(ConvertedPicture& picture, ConvertedPicture& like) {
    for (std::size_t plane = 0; plane < picture.Planes(); ++plane) {
        FencedMemory &to = picture.PlaneMemory(plane), &from = like.PlaneMemory(plane);
        std::memcpy(to.Data() - to.GuardLength(), from.Data() - from.GuardLength(),
                    to.GuardLength() + to.Length());
    }
}

testing::AssertionResult SameBytes(const ConvertedPicture& a, const ConvertedPicture& b) {
    for (std::size_t plane = 0; plane < a.Planes(); ++plane) {
        const Bytes of = a.Memory(plane), other = b.Memory(plane);
        for (std::size_t i = 0; i < of.size(); ++i) {
            if (of[i] != other[i]) {
                return testing::AssertionFailure() << "plane " << plane << ", byte " << i << ": "
                                                   << int{of[i]} << " and " << int{other[i]};
            }
        }
    }
    return testing::AssertionSuccess();
}

// ---- Workers ----

TEST(ColorSpaceConverterMT, HasAWorkerForEachPhysicalProcessor) {
    // With the first thread a sanitizer starts one of its own.
    const ColorSpaceConverterMT first(1);
    const std::size_t before = ThreadsOfProcess().size();
    if (before == 0) {
        GTEST_SKIP() << "the system does not list threads";
    }
    const ColorSpaceConverterMT converter;
    const std::size_t physical = CPUcapabilities().GetNumberOfPhysicalProcessors();
    EXPECT_EQ(ThreadsOfProcess().size() - before, std::min<std::size_t>(physical, 64));
}

TEST(ColorSpaceConverterMT, HasAsManyWorkersAsAskedFor) {
    const ColorSpaceConverterMT first(1);
    const auto before = ThreadsOfProcess();
    if (before.empty()) {
        GTEST_SKIP() << "the system does not list threads";
    }
    // None counts as one; more than 64 are not waited for.
    for (const auto& [asked, had] :
         {std::pair{0U, 1U}, {1U, 1U}, {2U, 2U}, {63U, 63U}, {64U, 64U}, {65U, 64U}, {0xFFFFFFFFU, 64U}}) {
        {
            const ColorSpaceConverterMT converter(asked);
            EXPECT_EQ(ThreadsOfProcess().size() - before.size(), had) << asked;
        }
        // Right after construction all of them end.
        EXPECT_TRUE(ThreadsBecome(before)) << asked;
    }
}

TEST(ColorSpaceConverterMT, NeitherAllocatesNorStartsThreadsForAPicture) {
    ConvertedPicture from(kFmtCbYCrY, 64, 31), to(kFmtRGB32, 64, 31);
    ColorSpaceConverterMT converter(3);
    ImageView source(from), destination(to);
    Matrix16 matrix = kUnitMatrix;
    Offsets8 offsets = {-128, -16, -128, 0, 0, 0, 0, 7};
    const auto threads = ThreadsOfProcess();
    const long before = Allocations();
    Long32 worst = 0;
    for (int i = 0; i < 20; ++i) {
        for (const ProcessingStyleEnum style : {kInt_MMXorSIMD, kBestAvailable}) {
            worst = std::max(worst, converter.Do(source, destination, style, nullptr, nullptr));
            worst = std::max(worst, converter.Do(source, destination, style, matrix.data(), offsets.data()));
        }
    }
    EXPECT_EQ(Allocations(), before);
    EXPECT_EQ(worst, 0);
    EXPECT_EQ(ThreadsOfProcess(), threads);
    // What counts does count.
    const long after = Allocations();
    const auto allocated = std::make_unique<ColorSpaceConverter>();
    EXPECT_EQ(Allocations(), after < 0 ? after : after + 1);
}

// ---- Strips ----

/// Chroma tells where strips start: a grey picture whose chroma changes from line to line.
class Strips486 : public testing::Test {
protected:
    Strips486() : from(kFmtPlanar420, 16, 486), to(kFmtRGB32, 16, 486) {
        for (std::size_t y = 0; y < 486; ++y) {
            std::memset(&from.At(0, 0, y), 126, 16);
        }
        for (std::size_t y = 0; y < 243; ++y) {
            std::memset(&from.At(1, 0, y), 128, 8);
            // Each step of Cr by 16 is 25 code values of red.
            std::memset(&from.At(2, 0, y), static_cast<int>(64 + y % 8 * 16), 8);
        }
    }

    /// The line of chroma, out of the eight that differ, that line `y` was made with.
    std::size_t ChromaOf(std::size_t y) {
        // Red is 128 + (Cr - 128) * 6537 / 4096, less than a step off on every path.
        const double cr = 128 + (to.At(0, 2, y) - 128.0) * 4096 / 6537;
        return static_cast<std::size_t>((cr - 64) / 16 + 0.5);
    }

    ConvertedPicture from, to;
};

TEST_F(Strips486, StartWhereTheyAreTold) {
    ColorSpaceConverterMT converter(4);
    ASSERT_EQ(ConvertMT(converter, ImageView(from), ImageView(to)), 0);
    // 121, 121, 121 and 123 lines from lines 0, 121, 242 and 363. A strip that starts on an odd line takes
    // its first two lines with the chroma of the line above, and so on.
    std::size_t first = 0;
    for (const std::size_t rows : {121U, 121U, 121U, 123U}) {
        for (std::size_t y = 0; y < rows; ++y) {
            ASSERT_EQ(ChromaOf(first + y), (first / 2 + y / 2) % 8) << "line " << first + y;
        }
        first += rows;
    }
}

TEST_F(Strips486, OfOneWorkerAreThePicture) {
    ColorSpaceConverterMT converter(1);
    ASSERT_EQ(ConvertMT(converter, ImageView(from), ImageView(to)), 0);
    for (std::size_t y = 0; y < 486; ++y) {
        ASSERT_EQ(ChromaOf(y), y / 2 % 8) << "line " << y;
    }
}

TEST_F(Strips486, OfFewerRowsThanWorkersAreAllOfTheLast) {
    ColorSpaceConverterMT converter(64);
    const ExpectedPicture untouched(to);
    ImageView source(from, {0, 7, 16, 5}, kFrame), destination(to, {0, 9, 16, 470}, kFrame);
    ASSERT_EQ(ConvertMT(converter, source, destination), 0);
    // One strip of five lines from line 7, with the chroma of lines 3, 3, 4, 4, 5.
    for (std::size_t y = 0; y < 5; ++y) {
        EXPECT_EQ(ChromaOf(9 + y), 3 + y / 2) << y;
    }
    ColorSpaceConverterMT few(4);
    EXPECT_EQ(ConvertMT(few, ImageView(from, {0, 0, 16, 0}, kFrame), ImageView(to)), 0);
    EXPECT_EQ(ConvertMT(few, ImageView(from), ImageView(to, {3, 3, 0, 0}, kFrame)), 0);
}

TEST(ColorSpaceConverterMT, ConvertsAllLinesWhateverTheField) {
    for (const ULong32 workers : {1U, 2U, 3U}) {
        for (const WhichFieldEnum field : {kUpperField, kLowerField, kFirstField, kSecondField}) {
            ColorSpaceConverterMT converter(workers);
            Packed from = Uyvy(16, 9), to = Rgb32(16, 9, 0x77);
            from.Fill({128, 235, 128, 235});
            EXPECT_EQ(ConvertMT(converter, from.View({0, 1, 16, 7}, field), to.View({0, 2, 16, 7}, field)),
                      0);
            for (unsigned y = 0; y < 9; ++y) {
                EXPECT_EQ(to.Pixel(15, y), y >= 2 ? (Bytes{254, 254, 254, 255}) : Bytes(4, 0x77)) << y;
            }
        }
    }
}

TEST(ColorSpaceConverterMT, FieldsOfBottomUpPicturesAreNoFieldsHere) {
    ColorSpaceConverterMT converter(2);
    Packed from = Uyvy(16, 6), to = Rgb32(16, 6, 0x77);
    from.Fill({128, 235, 128, 235});
    from.Get().SetOrigin(kBottomLeft);
    EXPECT_EQ(ConvertMT(converter, from.View({0, 0, 16, 6}, kUpperField), to.View()), 0);
    EXPECT_EQ(to.Pixel(15, 5), (Bytes{254, 254, 254, 255}));
}

TEST(ColorSpaceConverterMT, RegionsKeepTheirLeftAndWidth) {
    ColorSpaceConverterMT converter(3);
    Packed from = Uyvy(16, 8), to = Rgb32(16, 8, 0x77);
    from.Fill({128, 235, 128, 235});
    EXPECT_EQ(ConvertMT(converter, from.View(), to.View({3, 1, 9, 6})), 0);
    for (unsigned y = 0; y < 8; ++y) {
        for (unsigned x = 0; x < 16; ++x) {
            const bool inside = x >= 3 && x < 12 && y >= 1 && y < 7;
            // Columns beyond the last whole group have white at 254.98, too.
            EXPECT_EQ(to.Pixel(x, y), inside ? (Bytes{254, 254, 254, 255}) : Bytes(4, 0x77)) << x << "," << y;
        }
    }
}

/// All pairs: the same bytes as strip after strip, and nothing else written, from run to run.
class AllPairs : public testing::TestWithParam<ProcessingStyleEnum> {};

TEST_P(AllPairs, GiveWhatStripAfterStripGives) {
    constexpr std::size_t kWidth = 38, kHeight = 26;
    struct Cut {
        unsigned workers;
        Rectangle source, destination;
    };
    // The integer path has most pairs; the others show with some of the cuts that they are cut as well.
    static const std::vector<Cut> someCuts = {{2, {0, 0, 38, 26}, {0, 0, 38, 26}},
                                              {5, {0, 1, 37, 25}, {0, 3, 38, 23}}};
    static const std::vector<Cut> allCuts = {
        {1, {0, 0, 38, 26}, {0, 0, 38, 26}}, {2, {0, 0, 38, 26}, {0, 0, 38, 26}},
        {4, {0, 0, 38, 25}, {0, 0, 38, 26}}, {5, {0, 1, 37, 25}, {0, 3, 38, 23}},
        {3, {0, 3, 38, 19}, {0, 2, 35, 20}}, {7, {0, 2, 38, 24}, {0, 1, 38, 25}},
        {6, {0, 5, 38, 4}, {0, 4, 38, 4}},
    };
    const bool isInteger = GetParam() == kInt_MMXorSIMD;
    const std::vector<Cut>& cuts = isInteger ? allCuts : someCuts;
    std::vector<std::unique_ptr<ColorSpaceConverterMT>> converters;
    for (const Cut& cut : cuts) {
        converters.push_back(std::make_unique<ColorSpaceConverterMT>(cut.workers));
    }
    std::set<std::pair<int, int>> sharingChroma;
    for (const bool bottomUp : {false, true}) {
        if (bottomUp && !isInteger) {
            continue;
        }
        for (const FormatShape& sourceShape : AllFormats()) {
            ConvertedPicture from(sourceShape.code, kWidth, kHeight, {4, 4, bottomUp});
            for (const FormatShape& destinationShape : AllFormats()) {
                ConvertedPicture to(destinationShape.code, kWidth, kHeight, {8, 4, bottomUp});
                ConvertedPicture expected(destinationShape.code, kWidth, kHeight, {8, 4, bottomUp});
                Equalise(to, expected);
                for (std::size_t i = 0; i < cuts.size(); ++i) {
                    const Cut& cut = cuts[i];
                    ImageView source(from, cut.source, kFrame), destination(to, cut.destination, kFrame);
                    const Statuses expectedStatus = ConvertStrips(
                        cut.workers, source, ImageView(expected, cut.destination, kFrame), GetParam());
                    if (expectedStatus.first == 0 && destinationShape.sampling == k420) {
                        sharingChroma.emplace(sourceShape.code, destinationShape.code);
                    }
                    for (int run = 0; run < 2; ++run) {
                        ASSERT_EQ(ConvertMT(*converters[i], source, destination, GetParam()),
                                  expectedStatus.first);
                        if (!expectedStatus.areEqual) {
                            // The line that a refused strip was to write is nobody's.
                            Equalise(to, expected);
                        }
                        ASSERT_TRUE(SameBytes(to, expected))
                            << sourceShape.code << " to " << destinationShape.code << ", cut " << i
                            << (bottomUp ? ", bottom up" : "");
                    }
                }
            }
        }
    }
    if (isInteger) {
        EXPECT_EQ(sharingChroma, (std::set<std::pair<int, int>>{{kFmtRGB32, kFmtPlanar420},
                                                                {kFmtRGB32, kFmtPlanar420Interlaced},
                                                                {kFmtCbYCrY, kFmtPlanar420}}));
    }
}

INSTANTIATE_TEST_SUITE_P(Styles, AllPairs,
                         testing::Values(kInt_MMXorSIMD, kBestAvailable, kFlp, kFP, kFlp_SIMD,
                                         kGeneralFormat));

// ---- Chroma that two strips share ----

/// A kernel that puts 1 into every byte of its destination that it may write.
template <class Lines>
void MarkDestination(const ConversionJob& job) {
    for (const simd::PlaneUse& use : k420Planes) {
        const Plane& plane = job.planes.destination[use.index];
        const std::size_t rows = use.halfHeight ? Lines::Bands(job.planes.height) : job.planes.height;
        for (std::size_t row = 0; row < rows; ++row) {
            std::memset(plane.Row(row), 1, plane.Clip(use.RowBytes(job.planes.width), row));
        }
    }
}

template <class Lines>
constexpr ConversionKernel MarkingKernel(simd::KernelRecord* record) {
    constexpr ConversionKernel::Pointer kMark = MarkDestination<Lines>;
    return {{kMark, kMark, kMark, kMark, kMark, kMark}, record};
}

/// Lines of chroma that a strip writes of a picture with 12 of them, counted from the top.
std::vector<int> ChromaLinesOf(ConverterFormat format, Long32 top, std::size_t lines, bool isFollowed,
                               bool bottomUp) {
    static simd::KernelRecord record{"MarkDestination"};
    static const ConversionKernel progressive = MarkingKernel<simd::LinePairs>(&record),
                                  interlaced = MarkingKernel<simd::FieldLinePairs>(&record);
    Bytes luma(24 * 4), chroma(12 * 2);
    ConversionPlan plan;
    plan.job.source = kFmtRGB32;
    plan.job.destination = format;
    plan.kernel = format == kFmtPlanar420 ? &progressive : &interlaced;
    plan.job.planes.width = 4;
    plan.job.planes.height = lines;
    const auto planeOf = [&](Bytes& bytes, std::ptrdiff_t pitch, Long32 row) {
        const std::ptrdiff_t first =
            bottomUp ? static_cast<std::ptrdiff_t>(bytes.size()) - pitch * (row + 1) : pitch * row;
        return Plane{bytes.data() + first, bottomUp ? -pitch : pitch, bytes.data(),
                     bytes.data() + bytes.size()};
    };
    plan.job.planes.destination[0] = planeOf(luma, 4, top);
    plan.job.planes.destination[1] = plan.job.planes.destination[2] = planeOf(chroma, 2, top / 2);
    if (isFollowed && SharesLastChroma(plan, top, lines)) {
        RunButLastChroma(plan, lines);
    } else {
        Run(plan, 0, lines);
    }
    for (std::size_t y = 0; y < 24; ++y) {
        const bool inside = y >= static_cast<std::size_t>(top) && y < static_cast<std::size_t>(top) + lines;
        EXPECT_EQ(luma[4 * (bottomUp ? 23 - y : y)], inside ? 1 : 0) << y;
    }
    std::vector<int> written;
    for (std::size_t row = 0; row < 12; ++row) {
        const std::size_t at = 2 * (bottomUp ? 11 - row : row);
        EXPECT_EQ(chroma[at], chroma[at + 1]);
        if (chroma[at] != 0) {
            written.push_back(static_cast<int>(row));
        }
    }
    return written;
}

using ChromaRows = std::vector<int>;

TEST(SharedChroma, IsWrittenByTheLowerStrip) {
    for (const bool bottomUp : {false, true}) {
        // Of five lines from the top the last one shares chroma with the line below.
        EXPECT_EQ(ChromaLinesOf(kFmtPlanar420, 0, 5, true, bottomUp), (ChromaRows{0, 1}));
        EXPECT_EQ(ChromaLinesOf(kFmtPlanar420, 0, 5, false, bottomUp), (ChromaRows{0, 1, 2}));
        EXPECT_EQ(ChromaLinesOf(kFmtPlanar420, 0, 6, true, bottomUp), (ChromaRows{0, 1, 2}));
        // From line 5 it is lines 5 and 6, 7 and 8, 9 that go together.
        EXPECT_EQ(ChromaLinesOf(kFmtPlanar420, 5, 5, true, bottomUp), (ChromaRows{2, 3, 4}));
        EXPECT_EQ(ChromaLinesOf(kFmtPlanar420, 5, 4, true, bottomUp), (ChromaRows{2, 3}));
        EXPECT_EQ(ChromaLinesOf(kFmtPlanar420, 5, 6, true, bottomUp), (ChromaRows{2, 3, 4}));
        EXPECT_EQ(ChromaLinesOf(kFmtPlanar420, 0, 1, true, bottomUp), (ChromaRows{}));
        EXPECT_EQ(ChromaLinesOf(kFmtPlanar420, 4, 1, true, bottomUp), (ChromaRows{}));
        EXPECT_EQ(ChromaLinesOf(kFmtPlanar420, 5, 1, true, bottomUp), (ChromaRows{2}));
        EXPECT_EQ(ChromaLinesOf(kFmtPlanar420, 4, 0, true, bottomUp), (ChromaRows{}));
    }
}

TEST(SharedChroma, OfFieldsIsWrittenByTheLowerStrip) {
    for (const bool bottomUp : {false, true}) {
        const auto rows = [bottomUp](Long32 top, std::size_t lines) {
            return ChromaLinesOf(kFmtPlanar420Interlaced, top, lines, true, bottomUp);
        };
        // Chroma lines 0 and 1 are those of lines 0 and 2, 1 and 3.
        EXPECT_EQ(rows(0, 4), (ChromaRows{0, 1}));
        EXPECT_EQ(rows(0, 5), (ChromaRows{0, 1}));     // line 4 makes 2, as the strip from line 5 does
        EXPECT_EQ(rows(0, 6), (ChromaRows{0, 1, 2}));  // lines 4 and 5 make 2 and 3, the strip from 6 has 3
        EXPECT_EQ(rows(0, 7), (ChromaRows{0, 1, 2}));
        EXPECT_EQ(rows(0, 8), (ChromaRows{0, 1, 2, 3}));
        EXPECT_EQ(rows(0, 1), (ChromaRows{}));
        EXPECT_EQ(rows(0, 2), (ChromaRows{0}));
        EXPECT_EQ(rows(0, 3), (ChromaRows{0}));
        // From line 5 it is 5 and 7, 6 and 8 for chroma lines 2 and 3.
        EXPECT_EQ(rows(5, 4), (ChromaRows{2, 3}));
        EXPECT_EQ(rows(5, 5), (ChromaRows{2, 3, 4}));  // line 9 makes 4, the strip from line 10 starts at 5
        EXPECT_EQ(rows(5, 6), (ChromaRows{2, 3, 4}));  // lines 9 and 10 make 4 and 5, that from line 11 has 5
        EXPECT_EQ(rows(5, 7), (ChromaRows{2, 3, 4, 5}));
        EXPECT_EQ(rows(5, 1), (ChromaRows{2}));
        EXPECT_EQ(rows(5, 2), (ChromaRows{2}));
        EXPECT_EQ(rows(6, 6), (ChromaRows{3, 4, 5}));
    }
}

TEST(SharedChroma, HasOneWriterInEveryCut) {
    for (const ConverterFormat format : {kFmtPlanar420, kFmtPlanar420Interlaced}) {
        for (Long32 top = 0; top < 4; ++top) {
            for (std::size_t each = 1; each <= 6; ++each) {
                std::vector<int> writers(24);
                std::size_t at = static_cast<std::size_t>(top);
                for (int strip = 0; strip < 3; ++strip, at += each) {
                    for (const int row :
                         ChromaLinesOf(format, static_cast<Long32>(at), each, strip != 2, false)) {
                        ++writers[static_cast<std::size_t>(row)];
                    }
                }
                for (std::size_t row = static_cast<std::size_t>(top) / 2; row < at / 2; ++row) {
                    EXPECT_EQ(writers[row], 1) << format << ", " << top << ", " << each << ", " << row;
                }
                EXPECT_LE(*std::max_element(writers.begin(), writers.end()), 1);
            }
        }
    }
}

// ---- Settings and statuses ----

TEST(ColorSpaceConverterMT, SettingsAreThoseOfTheWorkers) {
    ColorSpaceConverterMT converter(3);
    Packed from = Uyvy(20, 9), to = Rgb32(20, 9);
    converter.SetAlphaChannel(77);
    EXPECT_EQ(ConvertMT(converter, from.View(), to.View()), 0);
    for (unsigned y = 0; y < 9; ++y) {
        EXPECT_EQ(to.Pixel(0, y)[3], 77) << y;
        EXPECT_EQ(to.Pixel(19, y)[3], 77) << y;
    }
    // The front has its own.
    ColorSpaceConverter& front = converter;
    EXPECT_EQ(Convert(front, from.View(), to.View()), 0);
    EXPECT_EQ(to.Pixel(0, 8)[3], 255);

    ConvertedPicture clamped(kFmtRGB32NarrowClamp, 8, 8), plus(kFmtCbYCrA, 8, 8);
    converter.SetPlusFunction(7);
    EXPECT_EQ(ConvertMT(converter, ImageView(clamped), ImageView(plus)), 5);
    EXPECT_NE(Convert(front, ImageView(clamped), ImageView(plus)), 5);
    converter.SetPlusFunction(6);
    EXPECT_NE(ConvertMT(converter, ImageView(clamped), ImageView(plus)), 5);

    const Bytes before = to.bytes;
    converter.SetMMXonlyStyle(true);
    converter.SetAlphaChannel(255);
    EXPECT_EQ(ConvertMT(converter, from.View(), to.View()), 0);
    EXPECT_EQ(to.bytes, before);
}

TEST(ColorSpaceConverterMT, MatrixAndOffsetsAreThoseOfTheFirstWorker) {
    ColorSpaceConverterMT converter(2);
    ConvertedPicture from(kFmtCbYCrY, 16, 4), to(kFmtRGB32, 16, 4);
    const auto matrixOf = [&] {
        Matrix16 matrix{};
        converter.GetMatrixCoef(matrix.data());
        return matrix;
    };
    const auto offsetsOf = [&] {
        Offsets8 offsets{};
        converter.GetOffset(offsets.data());
        return offsets;
    };
    EXPECT_EQ(matrixOf(), kUnitMatrix);
    EXPECT_EQ(offsetsOf(), Offsets8{});
    Matrix16 matrix = kUnitMatrix;
    matrix[1] = 0.25;
    Offsets8 offsets = {1, 2, 3, 4, 5, 6, 7, 8};
    ImageView source(from), destination(to);
    EXPECT_EQ(converter.Do(source, destination, kInt_MMXorSIMD, matrix.data(), offsets.data()), 0);
    EXPECT_EQ(matrixOf(), matrix);
    EXPECT_EQ(offsetsOf(), offsets);
    EXPECT_EQ(MatrixOf(converter), kUnitMatrix) << "the front has no part in it";
    EXPECT_EQ(OffsetsOf(converter), Offsets8{});
    // Defaults of the integer path are kept for the matrix only.
    EXPECT_EQ(ConvertMT(converter, source, destination), 0);
    EXPECT_EQ(matrixOf()[0], 8263.0 / 4096);
    EXPECT_EQ(offsetsOf(), offsets);
}

TEST(ColorSpaceConverterMT, StatusIsThatOfTheFirstStrip) {
    ColorSpaceConverterMT converter(2);
    Packed from = Uyvy(8, 4), to = Rgb32(8, 4, 0x77);
    EXPECT_EQ(ConvertMT(converter, ImageView(), to.View()), 1);
    EXPECT_EQ(ConvertMT(converter, from.View(), ImageView()), 1);
    EXPECT_EQ(ConvertMT(converter, from.View(), to.View(), kFlp_SIMD), 4);
    EXPECT_EQ(ConvertMT(converter, from.View({-2, 0, 8, 4}), to.View()), 98);
    EXPECT_EQ(to.bytes, Bytes(to.bytes.size(), 0x77));

    // A plane of alpha that ends after three lines will do for the first strip, and not for the second.
    const ImageDescriptor format(8, 4, kYCrCb, k4224, kCbYCrA, kPacked, kProgressive, kNoFields, kTopLeft,
                                 1.0F, kUnshaped);
    Image whole(format, 64U), lacking(format, 64U);
    lacking.GetImageDescriptor()->channels[3].memory =
        Tuk::RCPtr<AlignedMemoryBuffer>(new AlignedMemoryBuffer(8, 3, 64, 1, kNoAliasWorkAround));
    std::memset(whole.GetMemoryPointer(3), 9, whole.GetMemorySize(3));
    std::memset(lacking.GetMemoryPointer(3), 5, lacking.GetMemorySize(3));
    EXPECT_EQ(ConvertMT(converter, ImageView(&lacking), ImageView(&whole)), 0);
    const auto* alpha = static_cast<const unsigned char*>(whole.GetMemoryPointer(3));
    EXPECT_EQ(alpha[whole.GetPitch(3)], 5);
    EXPECT_EQ(alpha[2 * whole.GetPitch(3)], 9);
}

}  // namespace
