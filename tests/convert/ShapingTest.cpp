// Shaping and unshaping of pictures in place, and their marks.

#include <algorithm>
#include <functional>

#include "convert/ModelRuns.h"
#include "simd/Targets.h"

namespace {

using namespace Zan;
using namespace convert_test;

constexpr ProcessingStyleEnum kAllStyles[] = {
    kFlp, kFP, kInt_MMXorSIMD, kFlp_SIMD, kStyle4, kBestAvailable, kGeneralFormat};

enum class Operation { kShape, kUnshape };

Long32 Change(ColorSpaceConverter& converter, Operation operation, ImageView view,
              ProcessingStyleEnum style) {
    return operation == Operation::kShape ? converter.Shape(view, style) : converter.Unshape(view, style);
}

using ModelOperation = void (*)(const Side& before, const Side& picture, int width, int height);
ModelOperation ModelOf(Operation operation, ConverterFormat format) {
    const bool rgb = format == kFmtRGB32 || format == kFmtRGB32Shaped;
    return operation == Operation::kShape ? (rgb ? convert_model::ShapeRgb32 : convert_model::ShapePairs)
                                          : (rgb ? convert_model::UnshapeRgb32 : convert_model::UnshapePairs);
}

/// The scalar kernels are exact, and shaping is on every processor; unshaping with SSE2 may be one off.
int ToleranceOf(Operation operation, ProcessingStyleEnum style, CPUinstructionSetEnum set) {
    return operation == Operation::kUnshape && style != kFlp && style != kFP && set == kSSE2 ? 1 : 0;
}

void ExpectInPlace(Operation operation, ConvertedPicture& picture, ImageView view, ProcessingStyleEnum style,
                   CPUinstructionSetEnum set) {
    const int width = static_cast<int>(view.GetWidth()), height = static_cast<int>(view.GetHeight());
    Copy before(picture), expected = before, written = before;
    const Side side = SideOf(picture, view);
    const ModelOperation model = ModelOf(operation, picture.Shape().code);
    model(before.Moved(side), expected.Moved(side), width, height);
    model(before.Moved(side), written.Inverted().Moved(side), width, height);
    ColorSpaceConverter converter;
    ASSERT_EQ(Change(converter, operation, view, style), 0);
    ASSERT_EQ(expected.FirstDifference(ToleranceOf(operation, style, set), &written), "")
        << width << "x" << height << ", style " << style << ", instruction set " << set;
    ASSERT_EQ(picture.GetImage().GetPixelShaping(), operation == Operation::kShape ? kShaped : kUnshaped);
}

void ForEveryProcessor(const std::function<void(CPUinstructionSetEnum)>& body) {
    for (const CPUinstructionSetEnum set : {kMMX, kSSE_MMX, kSSE2}) {
        const ScopedInstructionSet believed(set);
        for (std::size_t t = 0; t < simd::kTargetCount; ++t) {
            const auto target = static_cast<simd::Target>(t);
            if (simd::IsTargetAvailable(target)) {
                const simd::ScopedTarget limited(target);
                SCOPED_TRACE(simd::TargetName(target));
                ASSERT_NO_FATAL_FAILURE(body(set));
            }
        }
    }
}

constexpr ConverterFormat kKinds[] = {kFmtRGB32, kFmtCbYCrY4};

// Every colour with every alpha: a colour a column, an alpha a line. To be unshaped, no sample is beyond what
// shaping gives, since a sample above its alpha has no defined result but in the scalar kernels.
void ExpectEverySample(Operation operation, ConverterFormat format, ProcessingStyleEnum style,
                       CPUinstructionSetEnum set) {
    ConvertedPicture picture(format, 512, 256);
    ImageView view(picture);
    const Side side = SideOf(picture, view);
    for (int y = 0; y < 256; ++y) {
        for (int x = 0; x < 512; ++x) {
            convert_model::Store(side, convert_model::kAlpha, x, y, y);
            for (std::size_t i = 0; i < 3; ++i) {
                const int shaped = format == kFmtRGB32
                                       ? convert_model::Shaped(x / 2, y)
                                       : convert_model::ShapedAround(i == 1 ? 16 : 128, x / 2, y);
                convert_model::Store(side, i, x, y, operation == Operation::kShape ? x / 2 : shaped);
            }
        }
    }
    ASSERT_NO_FATAL_FAILURE(ExpectInPlace(operation, picture, view, style, set));
}

TEST(Shaping, OfEverySampleWithEveryAlpha) {
    for (const ConverterFormat format : kKinds) {
        for (const Operation operation : {Operation::kShape, Operation::kUnshape}) {
            for (const ProcessingStyleEnum style : kAllStyles) {
                ASSERT_NO_FATAL_FAILURE(ExpectEverySample(operation, format, style, kSSE2));
            }
            ForEveryProcessor([&](CPUinstructionSetEnum set) {
                ASSERT_NO_FATAL_FAILURE(ExpectEverySample(operation, format, kInt_MMXorSIMD, set));
            });
        }
    }
}

// The scalar kernels also with colours that no shaped picture has.
TEST(Shaping, ScalarWrapsAndLimitsAnySample) {
    for (const ConverterFormat format : kKinds) {
        for (const ProcessingStyleEnum style : {kFlp, kFP}) {
            ConvertedPicture picture(format, 512, 256);
            ImageView view(picture);
            const Side side = SideOf(picture, view);
            for (int y = 0; y < 256; ++y) {
                for (int x = 0; x < 512; ++x) {
                    convert_model::Store(side, convert_model::kAlpha, x, y, y);
                    for (std::size_t i = 0; i < 3; ++i) {
                        convert_model::Store(side, i, x, y, x / 2);
                    }
                }
            }
            ASSERT_NO_FATAL_FAILURE(ExpectInPlace(Operation::kUnshape, picture, view, style, kSSE2));
        }
    }
}

// Sizes, parts, fields, origins; colours as shaping leaves them.
void ExpectSelection(Operation operation, ConverterFormat format, const Placement& placement,
                     Rectangle region, WhichFieldEnum field, ProcessingStyleEnum style,
                     CPUinstructionSetEnum set) {
    const auto width = static_cast<std::size_t>(region.getLeft() + region.getWidth());
    const auto height = static_cast<std::size_t>(region.getTop() + region.getHeight());
    ConvertedPicture picture(format, std::max<std::size_t>(width, 1), std::max<std::size_t>(height, 1),
                             placement);
    ImageView whole(picture);
    const Side side = SideOf(picture, whole);
    if (operation == Operation::kUnshape) {
        Copy random(picture);
        const Side from = random.Moved(side);
        ModelOf(Operation::kShape, format)(from, side, static_cast<int>(whole.GetWidth()),
                                           static_cast<int>(whole.GetHeight()));
    }
    ASSERT_NO_FATAL_FAILURE(ExpectInPlace(operation, picture, ImageView(picture, region, field), style, set));
}

TEST(Shaping, OfEverySizeAndPart) {
    ForEveryProcessor([](CPUinstructionSetEnum set) {
        std::size_t number = 0;
        const auto both = [&](Rectangle region, WhichFieldEnum field, bool bottomUp) {
            static constexpr unsigned kPaddings[] = {0, 4, 12, 64}, kSlacks[] = {0, 1, 4, 8, 36};
            ++number;
            const Placement placement = {kPaddings[number % 4], kSlacks[number % 5], bottomUp};
            for (const ConverterFormat format : kKinds) {
                for (const Operation operation : {Operation::kShape, Operation::kUnshape}) {
                    for (const ProcessingStyleEnum style : {kFlp, kInt_MMXorSIMD}) {
                        ASSERT_NO_FATAL_FAILURE(
                            ExpectSelection(operation, format, placement, region, field, style, set));
                    }
                }
            }
        };
        for (Long32 width = 1; width <= 67; ++width) {
            ASSERT_NO_FATAL_FAILURE(both({0, 0, width, 1 + width % 3}, kFrame, width % 4 == 0));
        }
        for (Long32 height = 0; height <= 7; ++height) {
            for (const Long32 width : {0, 5, 18, 130}) {
                ASSERT_NO_FATAL_FAILURE(both({0, 0, width, height}, kFrame, false));
                ASSERT_NO_FATAL_FAILURE(both({2, 1, width, height}, kUpperField, false));
                ASSERT_NO_FATAL_FAILURE(both({4, 0, width, height}, kLowerField, false));
            }
        }
    });
}

// ---- Marks and statuses ----------------------------------------------------------------------------------

TEST(ShapingMarks, PicturesWithoutVaryingAlphaKeepTheirSamples) {
    for (const ConverterFormat format : kKinds) {
        for (const ProcessingStyleEnum style : kAllStyles) {
            ConvertedPicture picture(format, 20, 4);
            Image& image = picture.GetImage();
            const Copy before(picture);
            ColorSpaceConverter converter;
            const auto expectUntouched = [&](Operation operation, AlphaDescriptionEnum alpha,
                                             ColorEnum color) {
                image.SetAlphaChannelDescription(alpha);
                image.SetColor(color);
                image.SetPixelShaping(operation == Operation::kShape ? kUnshaped : kShaped);
                EXPECT_EQ(Change(converter, operation, ImageView(picture), style), 0);
                EXPECT_EQ(image.GetPixelShaping(), operation == Operation::kShape ? kShaped : kUnshaped);
                EXPECT_EQ(before.FirstDifference(0, nullptr), "") << alpha << ", " << color;
            };
            expectUntouched(Operation::kShape, kAlphaOpaque, kFullColor);
            expectUntouched(Operation::kShape, kAlphaTransparent, kBlack);
            for (const ColorEnum color : {kFullColor, kBlack}) {
                expectUntouched(Operation::kUnshape, kAlphaOpaque, color);
                expectUntouched(Operation::kUnshape, kAlphaTransparent, color);
            }
        }
    }
}

// A picture that is transparent but not black is still to be multiplied.
TEST(ShapingMarks, TransparentColourIsShaped) {
    for (const ConverterFormat format : kKinds) {
        ConvertedPicture picture(format, 20, 4);
        picture.GetImage().SetAlphaChannelDescription(kAlphaTransparent);
        ExpectInPlace(Operation::kShape, picture, ImageView(picture), kBestAvailable, kSSE2);
    }
}

// Only alpha that is said to be opaque or transparent is not looked at.
TEST(ShapingMarks, AlphaThatIsNotDescribedIsUsed) {
    for (const ConverterFormat format : kKinds) {
        for (const Operation operation : {Operation::kShape, Operation::kUnshape}) {
            ConvertedPicture picture(format, 20, 4);
            ASSERT_EQ(picture.GetImage().SetAlphaChannelDescription(kNoAlpha), 0);
            picture.GetImage().SetPixelShaping(operation == Operation::kShape ? kUnshaped : kShaped);
            ASSERT_NO_FATAL_FAILURE(ExpectInPlace(operation, picture, ImageView(picture), kFlp, kSSE2));
        }
    }
}

TEST(ShapingMarks, OtherFormatsAreRefused) {
    for (const FormatShape& shape : AllFormats()) {
        const bool rgb = shape.space == kRGB && shape.sampling == k4444;
        if (rgb || shape.sampling == k4224) {
            continue;
        }
        ConvertedPicture picture(shape.code, 20, 4);
        picture.GetImage().SetPixelShaping(kShaped2);
        const Copy before(picture);
        ColorSpaceConverter converter;
        for (const ProcessingStyleEnum style : kAllStyles) {
            EXPECT_EQ(Change(converter, Operation::kShape, ImageView(picture), style), 4) << shape.code;
            EXPECT_EQ(Change(converter, Operation::kUnshape, ImageView(picture), style), 4) << shape.code;
        }
        EXPECT_EQ(picture.GetImage().GetPixelShaping(), kShaped2);
        EXPECT_EQ(before.FirstDifference(0, nullptr), "");
    }
}

// Levels and colour count for nothing.
TEST(ShapingMarks, AnyLevelsWillDo) {
    for (const ConverterFormat format : {kFmtRGB32Studio, kFmtRGB32StudioOpen, kFmtRGB32NarrowClamp}) {
        ConvertedPicture picture(format, 20, 4);
        ColorSpaceConverter converter;
        EXPECT_EQ(Change(converter, Operation::kShape, ImageView(picture), kInt_MMXorSIMD), 0);
        EXPECT_EQ(picture.GetImage().GetPixelShaping(), kShaped);
    }
    ConvertedPicture grey(kFmtCbYCrY4Mono, 20, 4);
    ColorSpaceConverter converter;
    EXPECT_EQ(Change(converter, Operation::kShape, ImageView(grey), kInt_MMXorSIMD), 0);
}

TEST(ShapingMarks, MissingMemoryIsRefused) {
    for (const ConverterFormat format : kKinds) {
        for (const ProcessingStyleEnum style : {kFlp, kBestAvailable}) {
            ConvertedPicture picture(format, 20, 4);
            picture.GetImage().GetImageDescriptor()->channels.back().memory =
                Tuk::RCPtr<AlignedMemoryBuffer>();
            if (format == kFmtRGB32) {
                picture.GetImage().GetImageDescriptor()->channels[0].memory =
                    Tuk::RCPtr<AlignedMemoryBuffer>();
            }
            const Copy before(picture);
            ColorSpaceConverter converter;
            EXPECT_EQ(Change(converter, Operation::kShape, ImageView(picture), style), 1);
            EXPECT_EQ(picture.GetImage().GetPixelShaping(), kUnshaped);
            EXPECT_EQ(Change(converter, Operation::kUnshape, ImageView(picture), style), 1);
            EXPECT_EQ(before.FirstDifference(0, nullptr), "");
        }
    }
}

// Where samples stay as they are the mark is all that changes, and nobody asks for memory.
TEST(ShapingMarks, SamplesThatStayNeedNoMemory) {
    for (const ConverterFormat format : kKinds) {
        for (const ProcessingStyleEnum style : {kFlp, kBestAvailable}) {
            ConvertedPicture picture(format, 20, 4);
            Image& image = picture.GetImage();
            for (ChannelDescriptor& channel : image.GetImageDescriptor()->channels) {
                channel.memory = Tuk::RCPtr<AlignedMemoryBuffer>();
            }
            ColorSpaceConverter converter;
            const auto change = [&](Operation operation, AlphaDescriptionEnum alpha, ColorEnum color) {
                EXPECT_EQ(image.SetAlphaChannelDescription(alpha), 0);
                image.SetColor(color);
                image.SetPixelShaping(operation == Operation::kShape ? kUnshaped : kShaped);
                return Change(converter, operation, ImageView(picture), style);
            };
            for (const ColorEnum color : {kFullColor, kBlack}) {
                EXPECT_EQ(change(Operation::kShape, kAlphaOpaque, color), 0);
                EXPECT_EQ(image.GetPixelShaping(), kShaped);
                for (const AlphaDescriptionEnum alpha : {kAlphaOpaque, kAlphaTransparent}) {
                    EXPECT_EQ(change(Operation::kUnshape, alpha, color), 0);
                    EXPECT_EQ(image.GetPixelShaping(), kUnshaped);
                }
            }
            EXPECT_EQ(change(Operation::kShape, kAlphaTransparent, kBlack), 0);
            EXPECT_EQ(image.GetPixelShaping(), kShaped);
            // Transparent colour is to be multiplied.
            EXPECT_EQ(change(Operation::kShape, kAlphaTransparent, kFullColor), 1);
            EXPECT_EQ(image.GetPixelShaping(), kUnshaped);
        }
    }
}

// ---- Worked by hand --------------------------------------------------------------------------------------

TEST(ShapingByHand, FullAlphaComesBackExactly) {
    for (const ConverterFormat format : kKinds) {
        for (const ProcessingStyleEnum style : {kFlp, kBestAvailable}) {
            ConvertedPicture picture(format, 512, 2);
            ImageView view(picture);
            const Side side = SideOf(picture, view);
            for (int x = 0; x < 512; ++x) {
                for (int y = 0; y < 2; ++y) {
                    for (std::size_t i = 0; i < 3; ++i) {
                        convert_model::Store(side, i, x, y, x / 2);
                    }
                    convert_model::Store(side, convert_model::kAlpha, x, y, 255);
                }
            }
            const Copy before(picture);
            ColorSpaceConverter converter;
            ASSERT_EQ(converter.Shape(view, style), 0);
            EXPECT_EQ(before.FirstDifference(0, nullptr), "");
            ASSERT_EQ(converter.Unshape(view, style), 0);
            EXPECT_EQ(before.FirstDifference(0, nullptr), "") << format << ", style " << style;
            EXPECT_EQ(picture.GetImage().GetPixelShaping(), kUnshaped);
        }
    }
}

TEST(ShapingByHand, NoAlphaLeavesBlack) {
    for (const ProcessingStyleEnum style : {kFlp, kBestAvailable}) {
        ConvertedPicture pixels(kFmtRGB32, 19, 1), pairs(kFmtCbYCrY4, 18, 1);
        for (std::size_t x = 0; x < 19; ++x) {
            pixels.At(0, 4 * x + 3, 0) = 0;
        }
        std::fill_n(&pairs.At(1, 0, 0), 18, Byte{0});
        ImageView pixelView(pixels), pairView(pairs);
        ColorSpaceConverter converter;
        ASSERT_EQ(converter.Unshape(pixelView, style), 0);
        ASSERT_EQ(converter.Unshape(pairView, style), 0);
        for (std::size_t i = 0; i < 76; ++i) {
            EXPECT_EQ(pixels.At(0, i, 0), 0) << i;
        }
        for (std::size_t i = 0; i < 36; ++i) {
            EXPECT_EQ(pairs.At(0, i, 0), i % 2 == 0 ? 128 : 16) << i;
        }
    }
}

TEST(ShapingByHand, ASampleAboveItsAlphaWraps) {
    // recip[100] is 668467; (200 * 668467 + 131072) >> 18 is 510, and 254 in eight bits.
    ConvertedPicture picture(kFmtRGB32, 3, 1);
    for (std::size_t x = 0; x < 3; ++x) {
        const Byte pixel[4] = {200, 50, 100, 100};
        std::copy_n(pixel, 4, &picture.At(0, 4 * x, 0));
    }
    ImageView view(picture);
    ColorSpaceConverter converter;
    ASSERT_EQ(converter.Unshape(view, kFlp), 0);
    for (std::size_t x = 0; x < 3; ++x) {
        // (50 * 668467 + 131072) >> 18: 127.5, a little less, and a half.
        EXPECT_EQ(Bytes(&picture.At(0, 4 * x, 0), &picture.At(0, 4 * x, 0) + 4), (Bytes{254, 127, 255, 100}));
    }
}

TEST(ShapingByHand, ChromaFollowsTheEvenPixel) {
    // Even alpha 128, odd 51. Cb: (228 - 128) * 128 / 255 = 50.2, Y0: 100 * 128 / 255 = 50.2, Cr: -100 * 128
    // / 255 = -50.2, Y1: 100 * 51 / 255 = 20.
    ConvertedPicture picture(kFmtCbYCrY4, 36, 1);
    for (std::size_t x = 0; x < 18; ++x) {
        const Byte pair[4] = {228, 116, 28, 116};
        std::copy_n(pair, 4, &picture.At(0, 4 * x, 0));
        picture.At(1, 2 * x, 0) = 128;
        picture.At(1, 2 * x + 1, 0) = 51;
    }
    ImageView view(picture);
    ColorSpaceConverter converter;
    for (const ProcessingStyleEnum style : {kFlp, kBestAvailable}) {
        ConvertedPicture copy(kFmtCbYCrY4, 36, 1);
        std::copy_n(&picture.At(0, 0, 0), 72, &copy.At(0, 0, 0));
        std::copy_n(&picture.At(1, 0, 0), 36, &copy.At(1, 0, 0));
        ImageView copied(copy);
        ASSERT_EQ(converter.Shape(copied, style), 0);
        for (std::size_t x = 0; x < 18; ++x) {
            EXPECT_EQ(Bytes(&copy.At(0, 4 * x, 0), &copy.At(0, 4 * x, 0) + 4), (Bytes{178, 66, 78, 36}));
        }
    }
}

}  // namespace
