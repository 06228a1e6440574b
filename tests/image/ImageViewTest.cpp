#include <TesselU/image/FieldHelpers.h>
#include <TesselU/image/Image.h>
#include <TesselU/image/ImageView.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

#include "image/Formats.h"

namespace Zan {
namespace {

using test::Alpha;
using test::Format;
using test::Planar;
using test::Rgb24;
using test::Rgb32;
using test::Uyvy;
using test::UyvyWithAlpha;

void ExpectRegion(const ImageView& view, Long32 left, Long32 top, Long32 width, Long32 height) {
    const Rectangle r = view.GetRegionOfInterest();
    EXPECT_EQ(r.getLeft(), left);
    EXPECT_EQ(r.getTop(), top);
    EXPECT_EQ(r.getWidth(), width);
    EXPECT_EQ(r.getHeight(), height);
}

// Where the first selected byte of `channel` lies, counted from the channel's memory.
std::ptrdiff_t OffsetOf(ImageView& view, ULong32 channel = 0) {
    return static_cast<unsigned char*>(view.GetMemoryPointer(channel)) -
           static_cast<unsigned char*>(view.GetImage()->GetMemoryPointer(channel));
}

ImageDescriptor Scanned(ImageDescriptor format, ScanStyleEnum scanStyle) {
    format.scanStyle = scanStyle;
    return format;
}

ImageDescriptor BottomUp(ImageDescriptor format) {
    format.origin = kBottomLeft;
    return format;
}

TEST(ImageView, OnNothing) {
    ImageView views[] = {ImageView(), ImageView(nullptr),
                         ImageView(nullptr, Rectangle(1, 2, 3, 4), kUpperField)};
    for (ImageView& view : views) {
        EXPECT_EQ(view.GetImage(), nullptr);
        EXPECT_EQ(view.GetWidth(), 0U);
        EXPECT_EQ(view.GetHeight(), 0U);
        EXPECT_EQ(view.GetPitch(0), 0);
        EXPECT_EQ(view.GetBytesPerLine(0), 0);
        EXPECT_EQ(view.GetMemoryPointer(0), nullptr);
        ExpectRegion(view, 0, 0, 0, 0);
    }
    EXPECT_EQ(ImageView(nullptr).GetFieldOfInterest(), kFrame);
}

TEST(ImageView, SetToNothingClearsTheRegion) {
    Image image(Rgb32(20, 10), 64);
    ImageView view(&image, Rectangle(1, 2, 3, 4), kUpperField);
    view.Set(nullptr);
    ExpectRegion(view, 0, 0, 0, 0);
    EXPECT_EQ(view.GetFieldOfInterest(), kFrame);
    EXPECT_EQ(view.GetImage(), nullptr);

    view.Set(&image, Rectangle(1, 2, 3, 4), kUpperField);
    view.Set(nullptr, Rectangle(5, 5, 5, 5), kLowerField);
    ExpectRegion(view, 0, 0, 0, 0);
    EXPECT_EQ(view.GetFieldOfInterest(), kUpperField) << "without an image the field is not stored";
}

TEST(ImageView, TakesTheWholeFrame) {
    Image image(Rgb32(20, 10), 64);
    ImageView view(&image);
    EXPECT_EQ(view.GetImage(), &image);
    ExpectRegion(view, 0, 0, 20, 10);
    EXPECT_EQ(view.GetFieldOfInterest(), kFrame);
    EXPECT_EQ(view.GetWidth(), 20U);
    EXPECT_EQ(view.GetHeight(), 10U);
    EXPECT_EQ(view.GetPitch(0), static_cast<Long32>(image.GetPitch(0)));
    EXPECT_EQ(view.GetBytesPerLine(3), static_cast<Long32>(image.GetPitch(3)));
    EXPECT_EQ(view.GetMemoryPointer(3), image.GetMemoryPointer(3));

    ImageView other(&image, Rectangle(1, 2, 3, 4), kUpperField);
    other.Set(&image);
    ExpectRegion(other, 0, 0, 20, 10);
    EXPECT_EQ(other.GetFieldOfInterest(), kFrame);
}

TEST(ImageView, FieldsLieInTheirOrder) {
    // Rectangle, field and pointer, nothing virtual.
    EXPECT_EQ(sizeof(ImageView), sizeof(void*) == 4 ? 24U : 32U);
}

TEST(ImageView, ClipsTheRegionToTheImage) {
    Image image(Rgb32(720, 486), 64);
    ImageView view(&image, Rectangle(10, 0, 2000, 486), kFrame);
    ExpectRegion(view, 10, 0, 710, 486);
    EXPECT_EQ(view.GetWidth(), 710U);
    view.SetRegionOfInterest(Rectangle(-10, -20, 100, 100), kLowerField);
    ExpectRegion(view, 0, 0, 90, 80);
    EXPECT_EQ(view.GetFieldOfInterest(), kLowerField);
    view.SetRegionOfInterest(Rectangle(700, 480, 100, 100), kFrame);
    ExpectRegion(view, 700, 480, 20, 6);
    view.SetRegionOfInterest(Rectangle(720, 486, 10, 10), kFrame);
    ExpectRegion(view, 720, 486, 0, 0);
    EXPECT_EQ(view.GetWidth(), 0U);
    EXPECT_EQ(view.GetHeight(), 0U);
    constexpr Long32 kMax = std::numeric_limits<Long32>::max();
    view.SetRegionOfInterest(Rectangle(5, 5, kMax, kMax), kFrame);
    ExpectRegion(view, 5, 5, 715, 481);
}

TEST(ImageView, PackedFourTwoTwoStartsOnAPixelPair) {
    const ImageDescriptor formats[] = {Uyvy(720, 486), UyvyWithAlpha(720, 486),
                                       Format(720, 486, kYCrCb, k422, kYCbYCr)};
    for (const ImageDescriptor& format : formats) {
        Image image(format, 64);
        ImageView view(&image, Rectangle(5, 0, 10, 10), kFrame);
        ExpectRegion(view, 4, 0, 10, 10);
        view.SetRegionOfInterest(Rectangle(6, 0, 11, 10), kFrame);
        ExpectRegion(view, 6, 0, 11, 10);
        // The width is that of the clipped region, whatever the left edge becomes.
        view.SetRegionOfInterest(Rectangle(715, 0, 100, 10), kFrame);
        ExpectRegion(view, 714, 0, 5, 10);
        // The edge comes from the request, clipped or not.
        view.SetRegionOfInterest(Rectangle(-3, 0, 100, 10), kFrame);
        ExpectRegion(view, -4, 0, 97, 10);
        view.SetRegionOfInterest(Rectangle(-4, -4, 100, 10), kFrame);
        ExpectRegion(view, -4, 0, 96, 6);
    }
}

TEST(ImageView, LeftEdgeOutsideIsAddressedAsItStands) {
    Image image(Uyvy(720, 486), 64);
    ImageView view(&image, Rectangle(-3, 1, 100, 10), kFrame);
    // Two bytes for each of the four columns, before the start of line 1.
    EXPECT_EQ(OffsetOf(view), static_cast<std::ptrdiff_t>(image.GetPitch(0)) - 8);
    view.SetRegionOfInterest(Rectangle(-3, 0, 100, 10), kFrame);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(image.GetMemoryPointer(0)) -
                  reinterpret_cast<std::uintptr_t>(view.GetMemoryPointer(0)),
              8U);
}

TEST(ImageView, OtherFormatsKeepAnOddLeft) {
    const ImageDescriptor formats[] = {
        Rgb24(720, 486),        Rgb32(720, 486),        Format(720, 486, kYCrCb, k444, kCbYCrA),
        Planar(720, 486, k422), Planar(720, 486, k420), Alpha(720, 486)};
    for (const ImageDescriptor& format : formats) {
        Image image(format, 64);
        ImageView view(&image, Rectangle(5, 0, 10, 10), kFrame);
        ExpectRegion(view, 5, 0, 10, 10);
        view.SetRegionOfInterest(Rectangle(-3, 0, 100, 10), kFrame);
        ExpectRegion(view, 0, 0, 97, 10);
    }
}

TEST(ImageView, SettingAFieldLeavesTheRegion) {
    Image image(Rgb32(20, 10), 64);
    ImageView view(&image, Rectangle(1, 2, 3, 4), kFrame);
    view.SetFieldOfInterest(kSecondField);
    EXPECT_EQ(view.GetFieldOfInterest(), kSecondField);
    ExpectRegion(view, 1, 2, 3, 4);
}

TEST(ImageView, HeightOfTheFieldsOfARegion) {
    Image image(Rgb32(8, 20), 64);
    EXPECT_EQ(ImageView(&image, Rectangle(0, 0, 8, 10), kUpperField).GetHeight(), 5U);
    EXPECT_EQ(ImageView(&image, Rectangle(0, 1, 8, 9), kUpperField).GetHeight(), 4U);
    EXPECT_EQ(ImageView(&image, Rectangle(0, 0, 8, 10), kLowerField).GetHeight(), 5U);
    EXPECT_EQ(ImageView(&image, Rectangle(0, 1, 8, 1), kUpperField).GetHeight(), 0U);
    EXPECT_EQ(ImageView(&image, Rectangle(0, 0, 8, 1), kLowerField).GetHeight(), 0U);
    EXPECT_EQ(ImageView(&image, Rectangle(0, 0, 0, 10), kFrame).GetHeight(), 0U) << "an empty region";
    EXPECT_EQ(ImageView(&image, Rectangle(0, 0, 0, 10), kUpperField).GetHeight(), 0U);
}

TEST(ImageView, HeightCountsTheLinesOfTheField) {
    for (const ScanStyleEnum scanStyle : {kProgressive, kUpperFieldFirst, kLowerFieldFirst}) {
        Image image(Scanned(Rgb32(8, 12), scanStyle), 64);
        for (const WhichFieldEnum field : {kFrame, kFirstField, kSecondField, kUpperField, kLowerField}) {
            for (Long32 top = 0; top < 6; ++top) {
                for (Long32 height = 0; height <= 6; ++height) {
                    ULong32 expected = 0;
                    for (Long32 line = top; line < top + height; ++line) {
                        const bool isUpper = line % 2 == 0;
                        const bool wantsUpper = field == kUpperField ||
                                                (scanStyle == kUpperFieldFirst && field == kFirstField) ||
                                                (scanStyle != kUpperFieldFirst && field == kSecondField);
                        expected += field == kFrame || isUpper == wantsUpper ? 1U : 0U;
                    }
                    EXPECT_EQ(ImageView(&image, Rectangle(0, top, 8, height), field).GetHeight(), expected)
                        << "scan " << scanStyle << " field " << field << " top " << top << " height "
                        << height;
                }
            }
        }
    }
}

TEST(ImageView, PitchFollowsOriginAndField) {
    Image image(Planar(64, 8, k420), 64, 16);
    ImageView view(&image);
    for (ULong32 channel = 0; channel < 3; ++channel) {
        const Long32 pitch = channel == 0 ? 64 : 32;
        image.SetOrigin(kTopLeft);
        view.SetFieldOfInterest(kFrame);
        EXPECT_EQ(view.GetPitch(channel), pitch);
        for (const WhichFieldEnum field : {kFirstField, kSecondField, kUpperField, kLowerField}) {
            view.SetFieldOfInterest(field);
            EXPECT_EQ(view.GetPitch(channel), 2 * pitch);
            EXPECT_EQ(view.GetBytesPerLine(channel), 2 * pitch);
        }
        image.SetOrigin(kBottomLeft);
        EXPECT_EQ(view.GetPitch(channel), -2 * pitch);
        view.SetFieldOfInterest(kFrame);
        EXPECT_EQ(view.GetPitch(channel), -pitch);
    }
    EXPECT_EQ(view.GetPitch(3), 0) << "a channel out of range has no pitch";
}

TEST(ImageView, NoPointerForAChannelOutOfRange) {
    Image image(Rgb24(8, 8), 64);
    ImageView view(&image);
    EXPECT_NE(view.GetMemoryPointer(2), nullptr);
    EXPECT_EQ(view.GetMemoryPointer(3), nullptr);
    EXPECT_EQ(view.GetMemoryPointer(0xFFFFFFFFU), nullptr);
    Image none(Format(8, 8, kColorSpace2, k4444, kBGRA), 64);
    ImageView onNone(&none);
    EXPECT_EQ(onNone.GetMemoryPointer(0), nullptr);
}

TEST(ImageView, NoPointerWithoutMemory) {
    for (ImageDescriptor format : {Rgb32(100, 10), BottomUp(Rgb32(100, 10))}) {
        Image image(format, 16, 32);
        ASSERT_EQ(image.GetMemoryPointer(0), nullptr);
        for (const WhichFieldEnum field : {kFrame, kUpperField, kLowerField}) {
            ImageView view(&image, Rectangle(5, 3, 10, 5), field);
            EXPECT_EQ(view.GetMemoryPointer(0), nullptr);
        }
    }
}

TEST(ImageView, OffsetOfThePackedFormats) {
    const struct {
        ImageDescriptor format;
        ULong32 channel;
        std::ptrdiff_t bytesPerPixel;
    } cases[] = {
        {Rgb32(64, 16), 0, 4},
        {Rgb32(64, 16), 3, 4},
        {Rgb32(64, 16, k16Bits), 1, 8},
        {Rgb32(64, 16, k32Bits), 1, 16},
        {Rgb24(64, 16), 2, 3},
        {Format(64, 16, kYCrCb, k4444, kYCbCrA), 0, 4},
        {Format(64, 16, kYCrCb, k444, kCbYCrA), 0, 3},
        {Uyvy(64, 16), 0, 2},
        {Uyvy(64, 16), 1, 2},
        {UyvyWithAlpha(64, 16), 0, 2},
        {UyvyWithAlpha(64, 16), 2, 2},
        {UyvyWithAlpha(64, 16), 3, 1},
        {Alpha(64, 16), 0, 1},
        {Alpha(64, 16, k16Bits), 0, 2},
        {Alpha(64, 16, k32Bits), 0, 4},
    };
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        SCOPED_TRACE(i);
        Image image(cases[i].format, 64);
        ImageView view(&image, Rectangle(6, 3, 20, 10), kFrame);
        const auto pitch = static_cast<std::ptrdiff_t>(image.GetPitch(cases[i].channel));
        EXPECT_EQ(OffsetOf(view, cases[i].channel), 6 * cases[i].bytesPerPixel + 3 * pitch);
    }
}

TEST(ImageView, AddedAlphaPlaneIsAddressedByTheByte) {
    Image image(Uyvy(64, 16), 64);
    ChannelDescriptor alpha;
    alpha.SetAlpha(0.0F, 64, 16, kUpperFieldFirst, kInterleavedFields, 8);
    ASSERT_EQ(image.AddChannel(alpha, 64, 64), 3);
    ImageView view(&image, Rectangle(6, 3, 20, 10), kFrame);
    EXPECT_EQ(OffsetOf(view, 0), 12 + 3 * static_cast<std::ptrdiff_t>(image.GetPitch(0)));
    EXPECT_EQ(OffsetOf(view, 3), 6 + 3 * static_cast<std::ptrdiff_t>(image.GetPitch(3)));
}

TEST(ImageView, PlanarLeftEdgeIsNotDivided) {
    for (const AggregateChannelSamplingEnum sampling : {k422, k420, k411}) {
        SCOPED_TRACE(sampling);
        Image image(Planar(64, 16, sampling), 64);
        ImageView view(&image, Rectangle(9, 0, 20, 10), kFrame);
        for (ULong32 channel = 0; channel < 3; ++channel) {
            EXPECT_EQ(OffsetOf(view, channel), 9);
        }
    }
}

TEST(ImageView, TopIsHalvedWhereTheChannelIs) {
    Image image(Planar(64, 32, k420), 64);
    const auto pitch = [&image](ULong32 channel) {
        return static_cast<std::ptrdiff_t>(image.GetPitch(channel));
    };
    for (Long32 top = 0; top < 8; ++top) {
        ImageView view(&image, Rectangle(0, top, 64, 10), kFrame);
        EXPECT_EQ(OffsetOf(view, 0), top * pitch(0));
        EXPECT_EQ(OffsetOf(view, 1), top / 2 * pitch(1));
        EXPECT_EQ(OffsetOf(view, 2), top / 2 * pitch(2));
    }
    Image half(Planar(64, 32, k422), 64);
    ImageView view(&half, Rectangle(0, 7, 64, 10), kFrame);
    EXPECT_EQ(OffsetOf(view, 1), 7 * static_cast<std::ptrdiff_t>(half.GetPitch(1)));
}

TEST(ImageView, BottomLeftFrameStartsOnTheLastLineMinusTop) {
    Image image(BottomUp(Rgb24(64, 16)), 64);
    const auto pitch = static_cast<std::ptrdiff_t>(image.GetPitch(0));
    ImageView whole(&image);
    EXPECT_EQ(OffsetOf(whole), 15 * pitch);
    EXPECT_EQ(whole.GetPitch(0), -pitch);
    ImageView part(&image, Rectangle(5, 4, 10, 10), kFrame);
    EXPECT_EQ(OffsetOf(part), (15 - 4) * pitch + 15);
}

TEST(ImageView, BottomLeftChromaOfFourTwoZero) {
    Image image(BottomUp(Planar(64, 16, k420)), 64);
    ImageView view(&image, Rectangle(0, 5, 64, 8), kFrame);
    EXPECT_EQ(OffsetOf(view, 0), (15 - 5) * static_cast<std::ptrdiff_t>(image.GetPitch(0)));
    EXPECT_EQ(OffsetOf(view, 1), (7 - 2) * static_cast<std::ptrdiff_t>(image.GetPitch(1)));
}

TEST(ImageView, OneLineImageStaysWhereItIs) {
    for (const ImageDescriptor& format : {Rgb32(64, 1), BottomUp(Rgb32(64, 1))}) {
        Image image(format, 64);
        ImageView view(&image);
        EXPECT_EQ(view.GetPitch(0), 0);
        EXPECT_EQ(OffsetOf(view), 0);
        EXPECT_EQ(view.GetHeight(), 1U);
    }
}

TEST(ImageView, FieldStartsOnItsFirstLineAtOrBelowTop) {
    Image image(Rgb32(64, 16), 64);
    const auto q = static_cast<std::ptrdiff_t>(image.GetPitch(0));
    for (Long32 top = 0; top < 6; ++top) {
        SCOPED_TRACE(top);
        const std::ptrdiff_t nextEven = top + top % 2;
        const std::ptrdiff_t nextOdd = top + 1 - top % 2;
        ImageView upper(&image, Rectangle(3, top, 10, 8), kUpperField);
        EXPECT_EQ(OffsetOf(upper), 12 + nextEven * q);
        ImageView lower(&image, Rectangle(3, top, 10, 8), kLowerField);
        EXPECT_EQ(OffsetOf(lower), 12 + nextOdd * q);
        // The image was scanned with its upper field first.
        ImageView first(&image, Rectangle(3, top, 10, 8), kFirstField);
        EXPECT_EQ(first.GetMemoryPointer(0), upper.GetMemoryPointer(0));
        ImageView second(&image, Rectangle(3, top, 10, 8), kSecondField);
        EXPECT_EQ(second.GetMemoryPointer(0), lower.GetMemoryPointer(0));
    }
}

TEST(ImageView, LowerFieldLiesOneLineBelow) {
    Image image(Uyvy(720, 486), 64);
    ImageView frame(&image);
    ImageView lower(&image, Rectangle(0, 0, 720, 486), kLowerField);
    EXPECT_EQ(OffsetOf(lower) - OffsetOf(frame), static_cast<std::ptrdiff_t>(image.GetPitch(0)));
    EXPECT_EQ(lower.GetPitch(0), 2 * static_cast<Long32>(image.GetPitch(0)));
}

TEST(ImageView, FieldsInTimeFollowTheScanStyle) {
    for (const ScanStyleEnum scanStyle : {kLowerFieldFirst, kProgressive}) {
        Image image(Scanned(Rgb32(64, 16), scanStyle), 64);
        ImageView first(&image, Rectangle(0, 0, 64, 16), kFirstField);
        EXPECT_EQ(OffsetOf(first), static_cast<std::ptrdiff_t>(image.GetPitch(0)));
        ImageView second(&image, Rectangle(0, 0, 64, 16), kSecondField);
        EXPECT_EQ(OffsetOf(second), 0);
    }
}

TEST(ImageView, FieldOfAHalvedChannelCountsItsOwnLines) {
    Image image(Planar(64, 32, k420), 64);
    const auto q = static_cast<std::ptrdiff_t>(image.GetPitch(1));
    for (Long32 top = 0; top < 8; ++top) {
        SCOPED_TRACE(top);
        const std::ptrdiff_t line = top / 2;
        ImageView upper(&image, Rectangle(0, top, 64, 16), kUpperField);
        EXPECT_EQ(OffsetOf(upper, 1), (line + line % 2) * q);
        ImageView lower(&image, Rectangle(0, top, 64, 16), kLowerField);
        EXPECT_EQ(OffsetOf(lower, 1), (line + 1 - line % 2) * q);
    }
}

// Fills every line with its number and reads the selection back.
std::vector<int> LinesVisited(Image& image, ImageView& view) {
    auto* const memory = static_cast<unsigned char*>(image.GetMemoryPointer(0));
    for (ULong32 line = 0; line < image.GetHeight(); ++line) {
        memory[line * image.GetPitch(0)] = static_cast<unsigned char>(line);
    }
    std::vector<int> lines;
    const auto* row = static_cast<const unsigned char*>(view.GetMemoryPointer(0));
    for (ULong32 i = 0; i < view.GetHeight(); ++i) {
        lines.push_back(row[static_cast<std::ptrdiff_t>(i) * view.GetPitch(0)]);
    }
    return lines;
}

TEST(ImageView, WalksTheLinesOfAFieldInOrder) {
    Image image(Alpha(8, 9), 64);
    for (const WhichFieldEnum field : {kFrame, kUpperField, kLowerField}) {
        for (Long32 top = 0; top < 5; ++top) {
            for (Long32 height = 1; height <= 5 && top + height <= 9; ++height) {
                SCOPED_TRACE(testing::Message()
                             << "field " << field << " top " << top << " height " << height);
                std::vector<int> expected;
                for (int line = top; line < top + height; ++line) {
                    if (field == kFrame || (line % 2 == 0) == (field == kUpperField)) {
                        expected.push_back(line);
                    }
                }
                ImageView view(&image, Rectangle(0, top, 8, height), field);
                EXPECT_EQ(LinesVisited(image, view), expected);
            }
        }
    }
}

TEST(ImageView, WalksABottomLeftFrameUpwards) {
    Image image(BottomUp(Alpha(8, 6)), 64);
    ImageView whole(&image);
    EXPECT_EQ(LinesVisited(image, whole), (std::vector<int>{5, 4, 3, 2, 1, 0}));
    ImageView part(&image, Rectangle(0, 1, 8, 3), kFrame);
    EXPECT_EQ(LinesVisited(image, part), (std::vector<int>{4, 3, 2}));
}

TEST(ImageView, FieldOfABottomLeftImageLiesBeyondTheBuffer) {
    Image image(BottomUp(Alpha(8, 6)), 64);
    const auto q = static_cast<std::ptrdiff_t>(image.GetPitch(0));
    // base - (P - 1) * p with the doubled, negative p, then the signed single pitch times the line.
    ImageView upper(&image, Rectangle(0, 0, 8, 6), kUpperField);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(upper.GetMemoryPointer(0)) -
                  reinterpret_cast<std::uintptr_t>(image.GetMemoryPointer(0)),
              static_cast<std::uintptr_t>(10 * q));
    ImageView lower(&image, Rectangle(0, 0, 8, 6), kLowerField);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(lower.GetMemoryPointer(0)) -
                  reinterpret_cast<std::uintptr_t>(image.GetMemoryPointer(0)),
              static_cast<std::uintptr_t>(9 * q));
}

TEST(ImageView, CopiesArePlainValues) {
    Image image(Rgb32(20, 10), 64);
    ImageView view(&image, Rectangle(1, 2, 3, 4), kLowerField);
    ImageView copy(view);
    view.Set(nullptr);
    EXPECT_EQ(copy.GetImage(), &image);
    ExpectRegion(copy, 1, 2, 3, 4);
    EXPECT_EQ(copy.GetFieldOfInterest(), kLowerField);
}

TEST(ImageView, SeesTheOriginOfItsImageAsItIsNow) {
    Image image(Alpha(8, 6), 64);
    ImageView view(&image);
    image.SetOrigin(kBottomLeft);
    EXPECT_LT(view.GetPitch(0), 0);
    EXPECT_EQ(OffsetOf(view), 5 * static_cast<std::ptrdiff_t>(image.GetPitch(0)));
}

}  // namespace
}  // namespace Zan
