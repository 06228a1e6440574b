// Fields, origins, regions and shared memory: what different calls must have in common.

#include <gtest/gtest.h>

#include <cstring>

#include "overlay/Overlaying.h"
#include "support/CountedAllocations.h"

namespace {

using namespace overlay_test;

constexpr Kind kKinds[] = {Kind::kRgb32, Kind::kRgb24, Kind::kPairs, Kind::kPairsAlpha};

/// Calls `check(background, foreground, mark)` for all that go together.
template <class Check>
void ForAllKinds(const Check& check) {
    for (const Kind back : kKinds) {
        for (const Kind fore : kKinds) {
            for (const ShapedEnum shaped : {kUnshaped, kShaped}) {
                if (IsRgb(back) == IsRgb(fore)) {
                    check(back, fore, shaped);
                }
            }
        }
    }
}

struct Place {
    double x, y;
    bool subPixel;
};
constexpr Place kPlaces[] = {
    {0, 0, false}, {3, -2, false}, {0.375, 0, true}, {-4.5, 1.75, true}, {2, 7.5, true}};

Long32 At(ImageView fore, ImageView back, ImageView result, const Place& place) {
    return Mixup().DoAt(fore, back, result, place.x, place.y, place.subPixel, kBestAvailable);
}

TEST(MixupPlaces, TwoFieldsAreAFrame) {
    ForAllKinds([](Kind back, Kind fore, ShapedEnum shaped) {
        for (const bool hasFields : {false, true}) {
            for (const Place& place : kPlaces) {
                Picture::Setup setup{shaped};
                if (hasFields) {
                    setup.scan = kLowerFieldFirst;
                    setup.fields = kInterleavedFields;
                }
                Picture f(fore, 20, 11, setup), b(back, 30, 17), frame(back, 30, 17), fields(back, 30, 17);
                ASSERT_EQ(At(f.View(), b.View(), frame.View(), place), 0);
                ASSERT_EQ(At(f.View(), b.View(), fields.View(kUpperField), place), 0);
                ASSERT_EQ(At(f.View(), b.View(), fields.View(kLowerField), place), 0);
                EXPECT_EQ(fields.bytes, frame.bytes);
                EXPECT_EQ(fields.alpha, frame.alpha);
            }
        }
    });
}

TEST(MixupPlaces, OneFieldLeavesTheOtherLines) {
    Picture f(Kind::kRgb24, 2, 5), b(Kind::kRgb24, 2, 5), out(Kind::kRgb24, 2, 5);
    const Bytes before = out.bytes;
    ASSERT_EQ(At(f.View(), b.View(), out.View(kLowerField), {0, 0, false}), 0);
    for (std::size_t line = 0; line < 5; ++line) {
        EXPECT_EQ(
            std::memcmp(out.Pixel(0, line), line % 2 == 0 ? before.data() + 6 * line : f.Pixel(0, line), 6),
            0);
    }
}

TEST(MixupPlaces, InPlaceIsStraight) {
    ForAllKinds([](Kind back, Kind fore, ShapedEnum shaped) {
        for (const Place& place : kPlaces) {
            Picture f(fore, 20, 11, Picture::Setup{shaped}), b(back, 30, 17), out(back, 30, 17);
            Picture same(back, 30, 17, b.bytes, b.alpha);
            ASSERT_EQ(At(f.View(), b.View(), out.View(), place), 0);
            ASSERT_EQ(At(f.View(), same.View(), same.View(), place), 0);
            EXPECT_EQ(same.bytes, out.bytes);
            EXPECT_EQ(same.alpha, out.alpha);
        }
    });
}

/// The lines of a picture in the opposite order.
Bytes Mirrored(const Bytes& bytes, std::size_t line) {
    Bytes mirrored;
    for (std::size_t at = bytes.size(); at != 0; at -= line) {
        mirrored.insert(mirrored.end(), bytes.begin() + static_cast<std::ptrdiff_t>(at - line),
                        bytes.begin() + static_cast<std::ptrdiff_t>(at));
    }
    return mirrored;
}

TEST(MixupPlaces, ABottomLeftPictureIsItsMirroredMemory) {
    ForAllKinds([](Kind back, Kind fore, ShapedEnum shaped) {
        for (const Place& place : kPlaces) {
            for (const WhichFieldEnum field : {kFrame, kUpperField, kLowerField}) {
                Picture f(fore, 20, 10, Picture::Setup{shaped}), b(back, 30, 17), out(back, 30, 17);
                const auto turned = [](const Picture& picture, ShapedEnum mark) {
                    const std::size_t line = PixelBytes(picture.kind) * picture.width;
                    Picture::Setup setup{mark};
                    setup.origin = kBottomLeft;
                    return Picture(picture.kind, picture.width, picture.height, Mirrored(picture.bytes, line),
                                   Mirrored(picture.alpha, picture.width), setup);
                };
                Picture tf = turned(f, shaped), tb = turned(b, kUnshaped), to = turned(out, kUnshaped);
                ASSERT_EQ(At(f.View(), b.View(), out.View(field), place), 0);
                ASSERT_EQ(At(tf.View(), tb.View(), to.View(field), place), 0);
                EXPECT_EQ(Mirrored(to.bytes, PixelBytes(back) * 30), out.bytes);
                EXPECT_EQ(Mirrored(to.alpha, 30), out.alpha);
            }
        }
    });
}

TEST(MixupPlaces, OnlyTheRegionOfTheResultIsWritten) {
    Picture f(Kind::kRgb24, 6, 6, Bytes(108, 1)), b(Kind::kRgb24, 6, 6, Bytes(108, 2)),
        out(Kind::kRgb24, 6, 6, Bytes(108, 3));
    // Regions of background and result differ: black where the background is not taken.
    ASSERT_EQ(At(f.View(Rectangle(2, 2, 1, 1)), b.View(Rectangle(0, 0, 6, 3)),
                 out.View(Rectangle(1, 1, 4, 4)), {0, 0, false}),
              0);
    for (std::size_t y = 0; y < 6; ++y) {
        for (std::size_t x = 0; x < 6; ++x) {
            const bool isInside = x >= 1 && x < 5 && y >= 1 && y < 5;
            EXPECT_EQ(out.Pixel(x, y)[0], !isInside          ? 3
                                          : x == 2 && y == 2 ? 1
                                          : y < 3            ? 2
                                                             : 0)
                << x << ", " << y;
        }
    }
}

TEST(MixupPlaces, ALargerForegroundIsCut) {
    Picture f(Kind::kRgb24, 9, 3), b(Kind::kRgb24, 4, 1), out(Kind::kRgb24, 4, 1);
    ASSERT_EQ(Do(f, b, out), 0);
    EXPECT_EQ(std::memcmp(out.bytes.data(), f.Pixel(2, 1), 12), 0);
    Picture pairs(Kind::kPairs, 10, 3), pairBack(Kind::kPairs, 4, 1), pairOut(Kind::kPairs, 4, 1);
    ASSERT_EQ(Do(pairs, pairBack, pairOut), 0);
    // -3 is lowered to -4.
    EXPECT_EQ(std::memcmp(pairOut.bytes.data(), pairs.Pixel(4, 1), 8), 0);
}

TEST(MixupPlaces, AnOddMiddleKeepsItsLastPixel) {
    Picture f(Kind::kPairsAlpha, 6, 2, Bytes(24, 200), Bytes(12, 255));
    Picture b(Kind::kPairsAlpha, 6, 2, Bytes(24, 50), Bytes(12, 60)), out(Kind::kPairsAlpha, 6, 2);
    ASSERT_EQ(At(f.View(Rectangle(0, 0, 3, 2)), b.View(), out.View(), {0, 0, false}), 0);
    for (std::size_t x = 0; x < 6; ++x) {
        EXPECT_EQ(out.Pixel(x, 1)[0], x < 2 ? 200 : 50) << x;
        EXPECT_EQ(out.Pixel(x, 1)[1], x < 2 ? 200 : 50) << x;
        EXPECT_EQ(out.alpha[6 + x], x < 2 ? 255 : 60) << x;
    }
}

TEST(MixupPlaces, BlackIsLongerThanItsTable) {
    Picture source(Kind::kPairs, 2, 1), out(Kind::kPairs, 5002, 1);
    ImageView from = source.View(), to = out.View(Rectangle(0, 0, 4601, 1));
    const std::uint8_t last = out.bytes[2 * 4601];
    ASSERT_EQ(Mixup().Center(from, to, kBestAvailable), 0);
    for (std::size_t x = 0; x < 4601; ++x) {
        const bool isSource = x == 2500 || x == 2501;
        ASSERT_EQ(out.Pixel(x, 0)[0], isSource ? source.Pixel(x - 2500, 0)[0] : 128) << x;
        ASSERT_EQ(out.Pixel(x, 0)[1], isSource ? source.Pixel(x - 2500, 0)[1] : 16) << x;
    }
    EXPECT_EQ(out.bytes[2 * 4601], last);
}

TEST(MixupPlaces, ACallAllocatesNothing) {
    if (test_support::Allocations() < 0) {
        GTEST_SKIP() << "allocations are the sanitizer's";
    }
    ForAllKinds([](Kind back, Kind fore, ShapedEnum shaped) {
        Picture f(fore, 20, 11, Picture::Setup{shaped}), b(back, 40, 20), out(back, 30, 17);
        ImageView vf = f.View(), vb = b.View(), vo = out.View();
        Mixup mixup;
        mixup.Do(vf, vb, vo, kBestAvailable);
        const long before = test_support::Allocations();
        for (const Place& place : kPlaces) {
            mixup.DoAt(vf, vb, vo, place.x, place.y, place.subPixel, kBestAvailable);
            mixup.DoAt(vf, vo, vo, place.x, place.y, place.subPixel, kBestAvailable);
        }
        mixup.Center(vb, vo, kBestAvailable);
        EXPECT_EQ(test_support::Allocations(), before);
    });
}

TEST(MixupPlaces, UnitesAllPairsOfAlphas) {
    Bytes fore, back;
    for (unsigned i = 0; i < 65536; ++i) {
        fore.insert(fore.end(), {200, 0, 255, static_cast<std::uint8_t>(i & 255)});
        back.insert(back.end(), {10, 255, 0, static_cast<std::uint8_t>(i >> 8)});
    }
    Picture f(Kind::kRgb32, 256, 256, fore), b(Kind::kRgb32, 256, 256, back), out(Kind::kRgb32, 256, 256);
    ASSERT_EQ(Do(f, b, out), 0);
    const auto shifted = [](unsigned t) { return (t + 128 + ((t + 128) >> 8)) >> 8; };
    for (unsigned i = 0; i < 65536; ++i) {
        const unsigned a = i & 255, ab = i >> 8, alpha = a + ab - shifted(a * ab);
        const unsigned w = alpha > 0 ? a * 255 / alpha : 0;
        const std::uint8_t* const pixel = out.bytes.data() + std::size_t{4} * i;
        ASSERT_EQ(pixel[3], alpha) << a << " over " << ab;
        ASSERT_EQ(pixel[0], shifted((255 - w) * 10 + w * 200)) << a << " over " << ab;
        ASSERT_EQ(pixel[1], shifted((255 - w) * 255)) << a << " over " << ab;
        ASSERT_EQ(pixel[2], shifted(w * 255)) << a << " over " << ab;
    }
}

}  // namespace
