// What is refused, in which order, and what a call leaves alone.

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "overlay/Overlaying.h"

namespace {

using namespace overlay_test;

constexpr auto kFormat = static_cast<Long32>(0x8000001FU);
constexpr auto kNotFound = static_cast<Long32>(0x8000000FU);
constexpr auto kUnknown = static_cast<Long32>(0x8000001CU);
constexpr auto kArgument = static_cast<Long32>(0x80000003U);

Image Planar() {
    return {ImageDescriptor(4, 4, kYCrCb, k420, kYCbCrPlanes, kPlanar, kProgressive, kNoFields, kTopLeft,
                            1.0F, kUnshaped),
            64U};
}
Image Deep() {
    return {ImageDescriptor(4, 4, kRGB, k4444, kBGRA, kPacked, kProgressive, kNoFields, kTopLeft, k16Bits,
                            1.0F, kUnshaped),
            64U};
}
Image Grey() {
    return {ImageDescriptor(4, 4, kAlphaOnly, k4444, kBGRA, kPacked, kProgressive, kNoFields, kTopLeft, 1.0F,
                            kUnshaped),
            64U};
}

/// Neither channels nor memory.
Image Nothing() {
    return {ImageDescriptor(4, 4, kColorSpace2, k4444, kBGRA, kPacked, kProgressive, kNoFields, kTopLeft,
                            1.0F, kUnshaped),
            64U};
}

Long32 DoViews(ImageView fore, ImageView back, ImageView result) {
    return Mixup().Do(fore, back, result, kBestAvailable);
}
Long32 CenterViews(ImageView source, ImageView result) {
    return Mixup().Center(source, result, kBestAvailable);
}

TEST(MixupRefusals, ComeInTheirOrder) {
    Picture rgb(Kind::kRgb32, 4, 4), pairs(Kind::kPairs, 4, 4);
    Image grey = Grey(), planar = Planar(), deep = Deep(), empty = Nothing();
    const ImageView none, g(&grey), p(&planar), d(&deep), e(&empty);
    const Bytes before = rgb.bytes;
    // Null before the colour space, in any place.
    EXPECT_EQ(DoViews(g, rgb.View(), none), 1);
    EXPECT_EQ(DoViews(none, g, rgb.View()), 1);
    EXPECT_EQ(DoViews(g, e, rgb.View()), 1);
    EXPECT_EQ(CenterViews(none, g), 1);
    // The colour space before the disagreement, that before the format.
    EXPECT_EQ(DoViews(pairs.View(), rgb.View(), g), 2);
    EXPECT_EQ(CenterViews(g, rgb.View()), 2);
    EXPECT_EQ(DoViews(rgb.View(), pairs.View(), d), 3);
    EXPECT_EQ(CenterViews(pairs.View(), d), 3);
    // The format before the field, that before the depths.
    EXPECT_EQ(DoViews(p, pairs.View(), pairs.View(kFirstField)), kFormat);
    EXPECT_EQ(DoViews(rgb.View(), d, rgb.View()), kFormat);
    EXPECT_EQ(DoViews(rgb.View(), rgb.View(), d), kFormat);
    EXPECT_EQ(CenterViews(p, pairs.View()), kFormat);
    Picture rgb24(Kind::kRgb24, 4, 4);
    EXPECT_EQ(DoViews(rgb.View(), rgb24.View(), rgb.View(kFirstField)), kUnknown);
    EXPECT_EQ(DoViews(rgb.View(), rgb24.View(), rgb.View(kSecondField)), kUnknown);
    EXPECT_EQ(CenterViews(rgb24.View(), rgb.View(kFirstField)), kUnknown);
    EXPECT_EQ(DoViews(rgb.View(), rgb24.View(), rgb.View()), 3);
    EXPECT_EQ(CenterViews(rgb24.View(), rgb.View()), 3);
    EXPECT_EQ(rgb.bytes, before);
}

TEST(MixupRefusals, TakeInterleavedFieldsOfAnInterlacedScanAlone) {
    Picture fine(Kind::kRgb32, 4, 4);
    Picture strange(Kind::kRgb32, 4, 4, Picture::Setup{kUnshaped, kProgressive, kInterleavedFields});
    Picture packed(Kind::kRgb32, 4, 4, Picture::Setup{kUnshaped, kUpperFieldFirst, kFieldPacking1});
    EXPECT_EQ(Do(fine, fine, strange), kFormat);
    EXPECT_EQ(Do(strange, fine, fine), kFormat);
    EXPECT_EQ(Center(fine, packed), kFormat);
}

TEST(MixupRefusals, AskForAnAlphaPlaneWithAPitch) {
    // One line has no pitch.
    Picture line(Kind::kPairsAlpha, 4, 1), lines(Kind::kPairsAlpha, 4, 2);
    EXPECT_EQ(Center(line, lines), kNotFound);
    EXPECT_EQ(Center(lines, line), kNotFound);
    EXPECT_EQ(Do(lines, line, lines), kNotFound);
    // A plane without memory.
    Picture lacking(Kind::kPairsAlpha, 4, 2);
    lacking.Get().GetImageDescriptor()->channels.at(3).memory = {};
    EXPECT_EQ(Center(lacking, lines), kNotFound);
    EXPECT_EQ(Center(lines, lacking), kNotFound);
    EXPECT_EQ(Do(lacking, lines, lines), kNotFound);
    // Before the field.
    EXPECT_EQ(DoViews(line.View(), lines.View(), lines.View(kFirstField)), kNotFound);
}

TEST(MixupRefusals, AskForAFinitePositionFirst) {
    ImageView none;
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    for (const double bad : {kInfinity, -kInfinity, std::nan("")}) {
        EXPECT_EQ(Mixup().DoAt(none, none, none, bad, 0, true, kBestAvailable), kArgument);
        EXPECT_EQ(Mixup().DoAt(none, none, none, 0, bad, false, kBestAvailable), kArgument);
    }
    EXPECT_EQ(Mixup().DoAt(none, none, none, 1e308, -1e308, true, kBestAvailable), 1);
}

TEST(MixupRefusals, DoNotReachAnEmptyOverlap) {
    Picture fore(Kind::kRgb32, 2, 2), back(Kind::kRgb24, 4, 4), out(Kind::kRgb32, 4, 4);
    const Bytes before = out.bytes;
    EXPECT_EQ(DoAt(fore, back, out, 9, 0, false), 0);
    EXPECT_EQ(out.bytes, before);
    EXPECT_EQ(DoAt(fore, back, out, 0, 0, false), 3);
    EXPECT_EQ(out.bytes, before);
}

TEST(Mixup, MarksTheResultAsShapedAsTheForeground) {
    Picture fore(Kind::kRgb32, 2, 2, Picture::Setup{kShaped}), wrong(Kind::kRgb24, 4, 4),
        out(Kind::kRgb32, 4, 4);
    // Also where rendering fails, though not where the call is refused.
    ImageView f = fore.View(), w = wrong.View(), field = out.View(kFirstField);
    EXPECT_EQ(Mixup().Do(f, w, field, kBestAvailable), kUnknown);
    EXPECT_EQ(out.Get().GetPixelShaping(), kUnshaped);
    EXPECT_EQ(Do(fore, wrong, out), 3);
    EXPECT_EQ(out.Get().GetPixelShaping(), kShaped);
    // A mark that blends nothing, or belongs to no alpha, is not handed on.
    for (const Kind kind : {Kind::kRgb32, Kind::kRgb24}) {
        Picture other(kind, 2, 2, Picture::Setup{kind == Kind::kRgb32 ? kShaped2 : kShaped});
        Picture plain(Kind::kRgb32, 4, 4);
        EXPECT_EQ(Do(other, plain, plain), 0);
        EXPECT_EQ(plain.Get().GetPixelShaping(), kUnshaped);
    }
    Picture centred(Kind::kRgb32, 4, 4);
    EXPECT_EQ(Center(fore, centred), 0);
    EXPECT_EQ(centred.Get().GetPixelShaping(), kShaped);
}

}  // namespace
