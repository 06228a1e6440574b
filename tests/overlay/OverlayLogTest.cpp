// The messages of the overlays, in a program of which their log is on.

#include <gtest/gtest.h>

#include <string>

#include "foundation/CapabilitySeam.h"
#include "overlay/Overlay.h"
#include "overlay/OverlayLog.h"
#include "overlay/OverlayStatus.h"
#include "overlay/Overlaying.h"

namespace {

using namespace overlay_test;

static_assert(kOverlayLogs);

/// What `run` writes to the standard error stream.
template <class Run>
std::string LogOf(const Run& run) {
    testing::internal::CaptureStderr();
    run();
    return testing::internal::GetCapturedStderr();
}

#define CENTRE_YUV "Mixup::COverlay::CenterYUV() "
#define RGB0 "Mixup::COverlay::RenderRGB0() "
#define YUV0 "Mixup::COverlay::RenderYUV0() "

// ---- Whole pixels -----------------------------------------------------------------------------------------

TEST(OverlayLog, TellsAFrameInPlace) {
    Picture fore(Kind::kRgb32, 4, 2, Picture::Setup{kShaped}), out(Kind::kRgb32, 8, 4);
    EXPECT_EQ(LogOf([&] { EXPECT_EQ(Do(fore, out, out), 0); }),
              "Mixup::COverlay::RenderFrame() called\n"
              "Mixup::COverlay::RenderRGB() rendering inplace\n" RGB0 "fore ROI (2,1),(6,3)\n" RGB0
              "back ROI (0,0),(8,4)\n" RGB0 "result ROI (2,1),(6,3)\n" RGB0
              "lines upper=1 middle=2 lower=1 total=4\n" RGB0 "pixel left =2 middle=4 right=2 total=8\n" RGB0
              "RGB0_32_32_PREMUL_SSE2\n");
}

/// The last line of the log of an overlay at whole pixels.
std::string KernelName(Kind back, Kind fore, ShapedEnum shaped) {
    Picture f(fore, 4, 2, Picture::Setup{shaped}), b(back, 4, 2);
    std::string text = LogOf([&] { EXPECT_EQ(Do(f, b, b), 0); });
    text.pop_back();
    return text.substr(text.rfind('\n') + 1);
}

TEST(OverlayLog, NamesKernelsByTheFlagsOfTheProcessor) {
    CPUfeatures& features = *CPUfeatures::Instance();
    const auto expect = [](const std::string& rgb, const std::string& yuv, const std::string& suffix) {
        EXPECT_EQ(KernelName(Kind::kRgb32, Kind::kRgb32, kUnshaped), RGB0 "RGB0_32_32_" + rgb);
        EXPECT_EQ(KernelName(Kind::kRgb32, Kind::kRgb32, kShaped), RGB0 "RGB0_32_32_PREMUL_" + rgb);
        EXPECT_EQ(KernelName(Kind::kRgb32, Kind::kRgb24, kUnshaped), RGB0 "RGB0_32_24_" + rgb);
        EXPECT_EQ(KernelName(Kind::kRgb24, Kind::kRgb32, kUnshaped), RGB0 "RGB0_24_32_" + suffix);
        EXPECT_EQ(KernelName(Kind::kRgb24, Kind::kRgb32, kShaped), RGB0 "RGB0_24_32_PREMUL_" + suffix);
        EXPECT_EQ(KernelName(Kind::kRgb24, Kind::kRgb24, kUnshaped), RGB0 "RGB0_24_24");
        EXPECT_EQ(KernelName(Kind::kPairs, Kind::kPairs, kUnshaped), YUV0 "YUV0_16_16");
        EXPECT_EQ(KernelName(Kind::kPairsAlpha, Kind::kPairs, kUnshaped), YUV0 "YUV0_24_16");
        EXPECT_EQ(KernelName(Kind::kPairs, Kind::kPairsAlpha, kUnshaped), YUV0 "YUV0_16_24_" + yuv);
        EXPECT_EQ(KernelName(Kind::kPairs, Kind::kPairsAlpha, kShaped), YUV0 "YUV0_16_24_PREMUL_" + yuv);
        EXPECT_EQ(KernelName(Kind::kPairsAlpha, Kind::kPairsAlpha, kUnshaped), YUV0 "YUV0_24_24_" + yuv);
        EXPECT_EQ(KernelName(Kind::kPairsAlpha, Kind::kPairsAlpha, kShaped), YUV0 "YUV0_24_24_PREMUL_" + yuv);
    };
    expect("SSE2", "SSE2", "SSE2");
    CapabilitySeam::UseSSE2(features, false);
    expect("MMX", "SSE", "C");
    CapabilitySeam::UseMMX(features, false);
    CapabilitySeam::UseSSE(features, false);
    expect("C", "C", "C");
    CapabilitySeam::UseSSE2(features, true);
    CapabilitySeam::UseMMX(features, true);
    CapabilitySeam::UseSSE(features, true);
}

TEST(OverlayLog, TellsWhatIsTurnedOverAndTheField) {
    Picture::Setup setup;
    setup.origin = kBottomLeft;
    Picture fore(Kind::kRgb24, 2, 2, setup), out(Kind::kRgb24, 4, 5, setup);
    ImageView f = fore.View(), b = out.View(), r = out.View(kLowerField);
    const std::string text = LogOf([&] { EXPECT_EQ(Mixup().Do(f, b, r, kBestAvailable), 0); });
    EXPECT_EQ(text,
              "**Mixup::COverlay::Render() Foreground.GetOrigin() == Kolt::kBottomLeft\n"
              "**Mixup::COverlay::Render() Background.GetOrigin() == Kolt::kBottomLeft\n"
              "**Mixup::COverlay::Render() Result.GetOrigin() == Kolt::kBottomLeft\n"
              "Mixup::COverlay::RenderField(Field=1) called\n"
              "Mixup::COverlay::RenderRGB() rendering inplace\n" RGB0 "fore ROI (1,1),(3,3)\n" RGB0
              "back ROI (0,0),(4,5)\n" RGB0 "result ROI (1,1),(3,3)\n" RGB0
              "lines upper=0 middle=1 lower=1 total=2\n" RGB0 "pixel left =1 middle=2 right=1 total=4\n" RGB0
              "RGB0_24_24\n");
}

TEST(OverlayLog, TellsRefusedDepths) {
    Picture fore(Kind::kPairs, 2, 2), back(Kind::kPairs, 4, 2), out(Kind::kPairsAlpha, 4, 2);
    EXPECT_EQ(LogOf([&] { EXPECT_EQ(Do(fore, back, out), 3); }),
              "Mixup::COverlay::RenderFrame() called\n"
              "Mixup::COverlay::RenderYUV() Position=(0.000000,0.000000)\n"
              "**" CENTRE_YUV
              "dst bitcount=24 != 16 src bitcount not supported\n"
              "***Mixup::COverlay::RenderYUV() centering background into result gave error 3\n");
}

TEST(OverlayLog, TellsAnEmptyDestination) {
    Picture fore(Kind::kRgb24, 2, 2), out(Kind::kRgb24, 4, 2);
    EXPECT_EQ(LogOf([&] { EXPECT_EQ(DoAt(fore, out, out, 10, 0, false), 0); }),
              "Mixup::COverlay::RenderFrame() called\n"
              "Mixup::COverlay::RenderRGB() destination is empty\n");
}

TEST(OverlayLog, TellsCentring) {
    Picture small(Kind::kRgb24, 2, 1), out(Kind::kRgb24, 5, 4);
#define CENTRE_RGB "Mixup::COverlay::CenterRGB() "
    EXPECT_EQ(LogOf([&] { EXPECT_EQ(Center(small, out), 0); }), CENTRE_RGB
              "src ROI (1,1),(3,2)\n" CENTRE_RGB "dst ROI (0,0),(5,4)\n" CENTRE_RGB
              "result ROI (1,1),(3,2)\n" CENTRE_RGB "lines upper=1 middle=1 lower=2 total=4\n" CENTRE_RGB
              "pixel left =1 middle=2 right=2 total=5\n");
    Picture pairs(Kind::kPairs, 2, 2), wide(Kind::kPairs, 8, 2);
    EXPECT_EQ(LogOf([&] { EXPECT_EQ(Center(pairs, wide), 0); }), CENTRE_YUV
              "result ROI (2,0),(4,2)\n" CENTRE_YUV "lines upper=0 middle=2 lower=0 total=2\n" CENTRE_YUV
              "pixel left =2 middle=2 right=4 total=8\n");
}

// ---- Between pixels ---------------------------------------------------------------------------------------

TEST(OverlayLog, TellsCoefficients) {
    Picture fore(Kind::kRgb32, 4, 2, Picture::Setup{kShaped}), back(Kind::kRgb32, 8, 4),
        out(Kind::kRgb32, 8, 4);
    EXPECT_EQ(LogOf([&] { EXPECT_EQ(DoAt(fore, back, out, -2.75, 0.5, true), 0); }),
              "Mixup::COverlay::RenderFrame() called\n"
              "Mixup::COverlay::RenderRGB(q=1) no copying background into temp buffer required\n"
              "Mixup::COverlay::RenderRGB1() Fore: (-1,1) skip lines=0 skip cols=1\n"
              "BackCoeff=(0.250,0.500)\n"
              "ForeCoeff=(0.750,0.500)\n"
              "Fraction=(0.250,0.500)\n"
              "Mixup::COverlay::RenderRGB1() Back: (0,0) skip lines=1 skip cols=0\n"
              "Mixup::COverlay::RenderRGB1() fraction=(0.250000,0.500000)\n" RGB0
              "lines upper=1 middle=3 lower=0 total=4\n" RGB0
              "pixel left =0 middle=4 right=4 total=8\n"
              "Mixup::COverlay::RenderRGB1() RGB1_HORIZVERT_32_32_PREMUL_SSE2\n");
}

TEST(OverlayLog, KeepsTheWrongPrefixesOfSomeKernels) {
    Picture fore(Kind::kPairsAlpha, 4, 2), out(Kind::kPairs, 8, 4);
    const auto name = [&](double x, double y) {
        std::string text = LogOf([&] { EXPECT_EQ(DoAt(fore, out, out, x, y, true), 0); });
        text.pop_back();
        return text.substr(text.rfind('\n') + 1);
    };
    EXPECT_EQ(name(0.5, 0.5), "Mixup::COverlay::RenderYUV0() YUV1_VERTHORIZ_16_24_SSE2");
    EXPECT_EQ(name(0.5, 0), "Mixup::COverlay::RenderYUV0() YUV1_HORIZ_16_24_SSE2");
    EXPECT_EQ(name(0, 0.5), "Mixup::COverlay::RenderYUV1() YUV1_VERT_16_24_SSE2");
    fore.Get().SetPixelShaping(kShaped);
    EXPECT_EQ(name(0.5, 0.5), "Mixup::COverlay::RenderYUV0() YUV1_VERTHORIZ_16_24_PREMUL_SSE2");
    EXPECT_EQ(name(0.5, 0), "Mixup::COverlay::RenderYUV0() YUV1_HORIZ_16_24_PREMUL_SSE2");
    EXPECT_EQ(name(0, 0.5), "Mixup::COverlay::RenderYUV1() YUV1_VERT_16_24_PREMUL_SSE2");
}

TEST(OverlayLog, TellsColumnsWithoutAPair) {
    Picture fore(Kind::kPairs, 4, 2), out(Kind::kPairs, 8, 4);
    const auto log = [&](int taken, int written) {
        ImageView f = fore.View(Rectangle(0, 0, taken, 2)), r = out.View(Rectangle(0, 0, written, 4));
        return LogOf([&] { EXPECT_EQ(Mixup().DoAt(f, r, r, 0.5, 0, true, kBestAvailable), 0); });
    };
    const std::string foreground = "Mixup::COverlay::RenderYUV1() foreground column skipped\n";
    const std::string background = "Mixup::COverlay::RenderYUV1() background column skipped\n";
    EXPECT_NE(log(3, 8).find(foreground), std::string::npos);
    EXPECT_EQ(log(4, 8).find("skipped"), std::string::npos);
    EXPECT_NE(log(4, 5).find(background), std::string::npos);
}

// ---- What no call of a host reaches -----------------------------------------------------------------------

/// A picture as overlays see it, alone on its own bounds.
COverlayImage Wrapped(Picture& picture) {
    COverlayImage image;
    FormatHeader header{};
    EXPECT_EQ(BuildFormatHeader(picture.Get(), header), 0);
    EXPECT_EQ(image.Wrap(picture.Get(), header), 0);
    image.bounds = image.region = {0, 0, picture.width, picture.height};
    return image;
}

std::string RenderBoth(Picture& fore, Picture& out, Long32 expected, std::uint32_t backSpace) {
    COverlayImage f = Wrapped(fore), b = Wrapped(out), r = Wrapped(out);
    b.header.compression = backSpace;
    COverlay overlay(*CPUfeatures::Instance());
    using Info = COverlayRenderInfo;
    const Info info(Info::kFieldCall, Info::kBoth, 0, r.header);
    return LogOf([&] { EXPECT_EQ(overlay.Render(info, r, f, b, 0, 0, false, false, 0), expected); });
}

bool Follow(const std::string& text, const std::string& first, const std::string& second) {
    const std::size_t at = text.find(first), then = text.find(second);
    return at != std::string::npos && then != std::string::npos && at < then;
}

TEST(OverlayLog, RendersBothFieldsInTheirOrder) {
    const std::string upper = "RenderField(Field=0) called\n", lower = "RenderField(Field=1) called\n";
    for (const ScanStyleEnum scan : {kUpperFieldFirst, kLowerFieldFirst}) {
        for (const OriginEnum origin : {kTopLeft, kBottomLeft}) {
            const Picture::Setup setup{kUnshaped, scan, kInterleavedFields, origin};
            Picture fore(Kind::kRgb24, 2, 4, setup), out(Kind::kRgb24, 2, 4, setup);
            const std::string text = RenderBoth(fore, out, 0, FormatHeader::kRgb);
            // Turned over, the other field is first.
            if ((scan == kUpperFieldFirst) == (origin == kTopLeft)) {
                EXPECT_TRUE(Follow(text, upper, lower)) << text;
            } else {
                EXPECT_TRUE(Follow(text, lower, upper)) << text;
            }
            EXPECT_EQ(out.bytes, fore.bytes);
        }
    }
    Picture fore(Kind::kRgb24, 2, 4), out(Kind::kRgb24, 2, 4);
    EXPECT_EQ(RenderBoth(fore, out, 0, FormatHeader::kRgb).find("Mixup::COverlay::RenderFrame() called\n"),
              0U);
    EXPECT_EQ(out.bytes, fore.bytes);
}

TEST(OverlayLog, RefusesAThirdColourSpaceOnce) {
    const Picture::Setup setup{kUnshaped, kUpperFieldFirst, kInterleavedFields};
    Picture fore(Kind::kRgb24, 2, 4, setup), out(Kind::kRgb24, 2, 4, setup);
    const Bytes before = out.bytes;
    // The second field is not tried.
    EXPECT_EQ(RenderBoth(fore, out, kOverlayUnknownFormat, 0xBEEF),
              "Mixup::COverlay::RenderField(Field=0) called\n"
              "**Mixup::COverlay::RenderField() Background.GetColorspace()=beef != BI_RGB,BI_YUV\n"
              "**Mixup::COverlay::RenderField() only RGB supported right now\n");
    Picture whole(Kind::kRgb24, 2, 4);
    EXPECT_EQ(RenderBoth(fore, whole, kOverlayUnknownFormat, 0xBEEF),
              "Mixup::COverlay::RenderFrame() called\n"
              "**Mixup::COverlay::RenderFrame() Background.GetColorspace()=beef != BI_RGB,BI_YUV\n"
              "**Mixup::COverlay::RenderFrame() only RGB supported right now\n");
    EXPECT_EQ(out.bytes, before);
}

TEST(OverlayLog, RefusesWhatIsNotPacked) {
    Picture fore(Kind::kPairs, 2, 2), out(Kind::kPairs, 2, 2);
    COverlay overlay(*CPUfeatures::Instance());
    const char* const texts[] = {"**Mixup::COverlay::Render() foreground colorspace is not YUV422 packed\n",
                                 "**Mixup::COverlay::Render() foreground colorspace is not YUV422 packed\n",
                                 "**Mixup::COverlay::Render() result colorspace is not YUV422 packed\n"};
    for (std::size_t i = 0; i < 3; ++i) {
        COverlayImage pictures[] = {Wrapped(fore), Wrapped(out), Wrapped(out)};
        pictures[i].header.reserved = 1;
        const COverlayRenderInfo info(0, 2, 0, pictures[2].header);
        EXPECT_EQ(LogOf([&] {
                      EXPECT_EQ(
                          overlay.Render(info, pictures[2], pictures[0], pictures[1], 0, 0, false, false, 0),
                          2);
                  }),
                  texts[i]);
    }
}

TEST(OverlayLog, CutsWhatIsTooLong) {
    const std::string text(3000, 'x');
    const std::string log = LogOf([&] { Log(kLogTrace, "%s", text.c_str()); });
    EXPECT_EQ(log, text.substr(0, kLogBytes - 1));
}

// ---- Records ----------------------------------------------------------------------------------------------

TEST(OverlayRecords, DescribePictures) {
    Picture picture(Kind::kPairsAlpha, 6, 2, Picture::Setup{kShaped, kLowerFieldFirst, kInterleavedFields});
    FormatHeader header{};
    ASSERT_EQ(BuildFormatHeader(picture.Get(), header), 0);
    EXPECT_EQ(header.size, 160U);
    EXPECT_EQ(header.width, 6U);
    EXPECT_EQ(header.height, 2U);
    EXPECT_EQ(header.planes, 2);
    EXPECT_EQ(header.bitCount, 24);
    const auto* const bytes = reinterpret_cast<const char*>(&header);
    EXPECT_EQ(std::string(bytes + 16, 4), "@YUV");
    EXPECT_EQ(header.alphaMode, 2U);
    EXPECT_EQ(header.fieldOrder, 32U);
    EXPECT_EQ(header.noFields, 0U);
    EXPECT_EQ(header.lineAlignment, picture.Get().GetLineAlignment(0));
    EXPECT_EQ(header.colorSpaceTag, 1U);
    EXPECT_EQ(header.bitsPerSample, 8U);
    EXPECT_EQ(header.sampling, 512U);
    EXPECT_TRUE(header.IsPacked422());
    header.lineAlignment = 0;
    EXPECT_EQ(header.LineAlignment(), 4U);
    picture.Get().SetPixelShaping(kShaped2);
    ASSERT_EQ(BuildFormatHeader(picture.Get(), header), 0);
    EXPECT_EQ(header.alphaMode, 0U);
}

TEST(OverlayRecords, AnswerForFields) {
    using Info = COverlayRenderInfo;
    const FormatHeader header{};
    EXPECT_TRUE(Info(0, 2, 0, header).IsFrame());
    EXPECT_FALSE(Info(0, 2, 0, header).IsBothFields());
    EXPECT_TRUE(Info(1, 2, 0, header).IsBothFields());
    EXPECT_TRUE(Info(1, 0, 1, header).IsUpperField());
    EXPECT_FALSE(Info(1, 1, 0, header).IsUpperField());
    EXPECT_EQ(Info(1, 0, 1, header).GetFieldsSwapped(), 1U);
}

TEST(OverlayRecords, IntersectRectanglesByTheirCentres) {
    const PositionRectangle a(EdgeRectangle{0, 0, 10, 5});
    EXPECT_EQ(a.x, 4.5);
    EXPECT_EQ(a.y, 2);
    PositionRectangle b(EdgeRectangle{10, 4, 14, 8});
    EXPECT_TRUE(a.Intersection(b).IsEmpty());
    b.x -= 0.25;
    // Both have a part of column 9.
    const PositionRectangle both = a.Intersection(b);
    EXPECT_FALSE(both.IsEmpty());
    EXPECT_EQ(both.width, 1);
    EXPECT_EQ(both.height, 1);
}

}  // namespace
